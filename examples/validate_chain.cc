// Validates a certificate chain against trusted roots and CRLs given as
// files: sorts the chain, anchors it at a held root, and checks the path,
// the signatures, name constraints and revocation.
//
//   validate_chain ROOTS CRLS CHAIN [AT]
//
// AT, seconds since 1970, validates at that moment instead of now.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "example_files.h"
#include "nycert/platform/obclock.h"
#include "nycert/validate/cert_val.h"
#include "nycert/validate/chain_fix.h"
#include "nycert/validate/chain_sort.h"
#include "nycert/validate/validation_text.h"

int main(int argc, char** argv) {
  if (argc != 4 && argc != 5) {
    std::fprintf(stderr, "usage: %s ROOTS CRLS CHAIN [AT]\n", argv[0]);
    return 2;
  }
  if (argc == 5) ob_time_set_fixed(std::atol(argv[4]));
  obCerts roots, chain;
  obCRLs crls;
  if (!ReadCertificates(argv[1], roots) || !ReadCrls(argv[2], crls) || !ReadCertificates(argv[3], chain)) {
    std::fprintf(stderr, "cannot read the roots, the CRLs or the chain\n");
    return 2;
  }
  std::unique_ptr<obKeyHolder> holder(obKeyHolder_New());
  TrustRoots(roots, *holder);

  // Chain order from the end entity up, ended with the holder's root.
  obRootCA* root = obCerts_Sort(&chain, &chain) == 0 ? obCert_FixChain(&chain, holder.get()) : nullptr;
  if (!root) {
    std::printf("no trusted root anchors the chain\n");
    return 1;
  }
  for (int i = 0; i < chain.Count(); ++i) std::printf("chain[%d]: %s\n", i, chain.Get(i)->Subject()->GetStr());

  // Without a callback the validation runs to its end here; the CRLs given
  // go into the CRL cache, where revocation checks find them.
  char message[512];
  int index = -1;
  long expiration = 0;
  int rc = obCert_ValCerts(root, chain, &crls, &expiration, nullptr, ValidateParams(), message, sizeof message, &index,
                           nullptr, nullptr, obCheck_All);
  std::printf("verdict: %s\n", obValidationRC_GetString(rc));
  if (rc != obValidationRC_OK) std::printf("reason:  %s\nat:      certificate %d\n", message, index);
  return rc == obValidationRC_OK ? 0 : 1;
}
