#include "nycert/keystore/certified_key.h"

#include "nycert/certs/print_text_internal.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/platform/obstream.h"

obCertifiedKey_imp::obCertifiedKey_imp(const char* name, const obCerts* certs, obRootCA* anchor, obPubKey* privateKey,
                                       int purpose, const unsigned char* id, int idLen)
    : obPKNamedObj_imp(name, purpose, id, idLen),
      chain(certs ? *certs : obCerts()),
      root(anchor),
      key(privateKey) {
  obSavePKobj(root);
  obSavePKobj(key);
}

obCertifiedKey_imp::~obCertifiedKey_imp() {
  obFreePKobj(root);
  obFreePKobj(key);
}

obDN* obCertifiedKey_imp::DN() const {
  obCert* own = chain.Get(0);
  return own ? own->Subject() : nullptr;
}

void obCertifiedKey_imp::Sprint(ObStream* s, int indent) const {
  SprintHeader(s, "certified key", indent);
  std::string tabs = obNameTabs(indent + 1);
  s->Printf("%schain of %d, root %s%s\n", tabs.c_str(), chain.Count(),
            root ? (root->Name() ? root->Name() : "<no name>") : "<none>", key ? "" : ", no key");
}

obCertifiedKey::obCertifiedKey(const char* name, const obCerts* chain, obRootCA* root, obPubKey* key, int purpose,
                               const unsigned char* id, int idLen)
    : obCertifiedKey(new obCertifiedKey_imp(name, chain, root, key, purpose, id, idLen)) {}

obCertifiedKey::obCertifiedKey(obCertifiedKey_imp* imp) : obPKNamedObj(imp), imp_(imp) {}

obCertifiedKey::~obCertifiedKey() = default;
