#include "nycert/keystore/ocsp_server.h"

#include <string>

#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/print_text_internal.h"
#include "nycert/platform/obset.h"
#include "nycert/platform/obstream.h"

obOcspServer_imp::obOcspServer_imp(const char* serverName, const char* serverUrl, obCert* signer)
    : name(serverName), url(serverUrl), cert(signer) {
  obSaveSigned(cert);
}

obOcspServer_imp::~obOcspServer_imp() { obFreeSigned(cert); }

obOcspServer::obOcspServer(const char* name, const char* url, obCert* cert)
    : obPKobj(new obOcspServer_imp(name, url, cert)), imp_(static_cast<obOcspServer_imp*>(Imp())) {}

obOcspServer::~obOcspServer() = default;

namespace {

// The attribute's value as text, or empty when it is absent or a nested set.
std::string TextValue(const obset& attributes, const char* name) {
  const ObBytes* value = attributes.GetValue(name);
  return value ? std::string(value->begin(), value->end()) : std::string();
}

}  // namespace

obOcspServer* obOcspServer::CreateObject(const obset* attributes) {
  std::string url = attributes ? TextValue(*attributes, "url") : std::string();
  if (url.empty()) {
    OB_HERROR("obOcspServer::CreateObject: no url");
    return nullptr;
  }
  obCert* cert = nullptr;
  if (const ObBytes* der = attributes->GetValue("cert")) {
    cert = obCert_Decode(der->data(), static_cast<int>(der->size()));
    if (!cert) {
      OB_HERROR("obOcspServer::CreateObject: the certificate does not decode");
      return nullptr;
    }
  }
  obOcspServer* server = new obOcspServer(TextValue(*attributes, "name").c_str(), url.c_str(), cert);
  obFreeSigned(cert);
  return server;
}

void obOcspServer::Sprint(ObStream* s, int indent) const {
  std::string tabs = obNameTabs(indent);
  s->Printf("%sOCSP server \"%s\": %s\n", tabs.c_str(), Name().getstr() ? Name().getstr() : "",
            Url().getstr() ? Url().getstr() : "");
  if (Cert()) obSprintNameLine(s, tabs + "\t", "Signer: ", Cert()->Subject());
}

void obOcspServer::Herror() const {
  obHerrorText([&](ObStream* s) { Sprint(s, 0); });
}
