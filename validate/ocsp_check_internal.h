// The OCSP revocation check of a chain, over a list of responders: the
// engine behind obOCSP_getRevocationState.
#ifndef NYCERT_VALIDATE_OCSP_CHECK_INTERNAL_H_
#define NYCERT_VALIDATE_OCSP_CHECK_INTERNAL_H_

#include <string>
#include <vector>

struct obd_env;
class ValidateParams;
class obCert;
class obCerts;

// One responder: its URL (empty: the URL in each certificate's authority
// information access) and the responder certificate configured for it (lent
// for the call; null when none is).
struct obOcspResponder {
  std::string url;
  obCert* certificate = nullptr;
};

typedef void (*obOcspCheckCB)(void* context, int rc, int index);

// Checks each certificate of chain from the one below the top down to the
// end entity: from the answer cache, else by a request to the responders in
// order, moving to the next one only when a fetch fails. The first failure
// ends the check with index naming the certificate.
//
// 0 when every certificate is good, else an obValidationRC. With an
// environment and a callback the check returns -1 when it has to wait for
// a fetch and later calls callback(context, rc, index) on env; without
// them it waits itself. Either way it gives up after timeoutMs with -989.
int obOcspCheckChain(obd_env* env, const std::vector<obOcspResponder>& responders, obCerts& chain, int& index,
                     obOcspCheckCB callback, void* context, long timeoutMs, const ValidateParams& params);

#endif  // NYCERT_VALIDATE_OCSP_CHECK_INTERNAL_H_
