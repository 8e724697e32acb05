#include "support/root_ca_maker.h"

#include "nycert/certs/cert.h"
#include "nycert/keystore/ocsp_server.h"
#include "nycert/keystore/pk_objects.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/names/obdn.h"

void FreeRootCA::operator()(obRootCA* root) const { obFreePKobj(root); }

RootPtr RootFor(obCert& cert, const RootOptions& options) {
  const char* name = cert.Subject() ? cert.Subject()->GetStr() : "";
  RootPtr root(new obRootCA(name, &cert, 0, obCaType_Internal, 0, nullptr, 0, options.permitted, 0));
  if (options.ocsp) root->SetRevocationMethod(obCaRevocation_OCSP);
  if (options.ocspServer) {
    obPKObjects* servers = new obPKObjects();
    obOcspServer* server = new obOcspServer("responder", "http://127.0.0.1:1/ocsp", nullptr);
    servers->Add(server);
    obFreePKobj(server);
    root->SetOcspServers(servers);
    obFreePKobj(servers);
  }
  return root;
}
