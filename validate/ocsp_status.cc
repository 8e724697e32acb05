#include "nycert/validate/ocsp_status.h"

#include "nycert/buffers/diag.h"
#include "nycert/crl/validation_rc.h"
#include "nycert/keystore/ocsp_server.h"
#include "nycert/keystore/pk_objects.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/validate/ocsp_check_internal.h"

namespace {

// The root's OCSP servers in order or, when it names none, one entry that
// stands for the URL in each certificate's authority information access.
std::vector<obOcspResponder> Responders(const obRootCA& root) {
  std::vector<obOcspResponder> responders;
  if (const obPKObjects* servers = root.OcspServers()) {
    for (int i = 0; i < servers->Size(); ++i) {
      const obOcspServer* server = dynamic_cast<const obOcspServer*>(servers->Get(i));
      const char* url = server ? server->Url().getstr() : nullptr;
      if (url && *url) responders.push_back({url, server->Cert()});
    }
  }
  if (responders.empty()) responders.push_back({"", nullptr});
  return responders;
}

}  // namespace

int obOCSP_getRevocationState(obd_env* env, obRootCA* root, obCerts& chain, int& index,
                              obOCSP_RevocationCB callback, void* context, long timeoutMs,
                              const ValidateParams& params) {
  index = -1;
  if (!root) {
    OB_HERROR("obOCSP_getRevocationState: no root CA");
    return obValidationRC_BadInput;
  }
  return obOcspCheckChain(env, Responders(*root), chain, index, callback, context, timeoutMs, params);
}
