#include "nycert/validate/ocsp_status.h"

#include "nycert/buffers/diag.h"
#include "nycert/crl/validation_rc.h"
#include "nycert/keystore/pk_objects.h"
#include "nycert/keystore/root_ca.h"

namespace {

bool HasResponder(const obRootCA& root) {
  const obPKObjects* servers = root.OcspServers();
  return servers && servers->Count() > 0;
}

}  // namespace

int obOCSP_getRevocationState(obd_env*, obRootCA* root, obCerts&, int&, obOCSP_RevocationCB, void*, long,
                              const ValidateParams&) {
  if (!root) return obValidationRC_BadInput;
  OB_HERROR("obOCSP_getRevocationState: OCSP is not available");
  return HasResponder(*root) ? obValidationRC_OCSPConnect : obValidationRC_OCSPNoURL;
}
