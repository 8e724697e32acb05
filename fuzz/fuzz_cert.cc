// Certificate construction and printing at every detail level on arbitrary
// input: nothing may crash or leak, and a certificate that decodes must have
// names whose trees build, since the names are validated without building
// them. The extensions it handled must re-encode stably: composed, read back
// and composed again, they give the same DER.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/extensions_list.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obstream.h"

namespace {

// Extensions whose objects make: a malformed one that was not critical is
// listed, its object made on first use, and then null.
int MadeCount(const obExtensionsList& list) {
  int made = 0;
  for (int i = 0; i < list.Count(); ++i) made += list.At(i) != nullptr;
  return made;
}

void CheckExtensionsRoundTrip(const obExtensionsList& list) {
  obASN_Extensions composed, recomposed;
  nyBinBuf first, second;
  if (list.Compose(composed) != 0 || obAsnEncode(composed, first) != 0) return;
  obExtensionsList again;
  obAsnOid unhandled;
  if (again.Set(composed, unhandled) != 0 || again.Count() != MadeCount(list)) abort();
  if (again.Compose(recomposed) != 0 || obAsnEncode(recomposed, second) != 0 || first.Len() != second.Len() ||
      std::memcmp(first.Data(), second.Data(), first.Len()) != 0)
    abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  obCert* cert = new obCert(data, static_cast<unsigned>(size));
  if (cert->OK() && (!cert->Issuer()->GetName() || !cert->Subject()->GetName())) abort();
  ObStream text;
  for (int details = obCertHerror_Names; details <= obCertHerror_All; ++details)
    cert->Sprint(&text, static_cast<obCertHerrorDetails>(details), 1);
  if (cert->OK()) {
    cert->PubKey();
    CheckExtensionsRoundTrip(cert->Extensions());
  }
  obFreeSigned(cert);
  return 0;
}
