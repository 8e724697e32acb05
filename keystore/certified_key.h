// obCertifiedKey: one of the holder's own keys with its certificate chain and
// the root CA the chain is anchored at.
#ifndef NYCERT_KEYSTORE_CERTIFIED_KEY_H_
#define NYCERT_KEYSTORE_CERTIFIED_KEY_H_

#include "nycert/certs/cert.h"
#include "nycert/keystore/pk_named_obj.h"

class obPubKey;
class obRootCA;

class NYCERT_EXPORT obCertifiedKey_imp : public obPKNamedObj_imp {
 public:
  // Copies chain (its certificates in order, empty slots left out) and takes
  // its own references to root and key; any of them may be null.
  obCertifiedKey_imp(const char* name, const obCerts* chain, obRootCA* root, obPubKey* key, int purpose,
                     const unsigned char* id, int idLen);
  ~obCertifiedKey_imp() override;

  // The subject of the key's own certificate (chain entry 0); null when the
  // chain is empty.
  obDN* DN() const override;
  void Sprint(ObStream* s, int indent) const override;

  obCerts chain;
  obRootCA* root;
  obPubKey* key;
};

class NYCERT_EXPORT obCertifiedKey : public obPKNamedObj {
 public:
  // purpose is the purpose word. References and copies as by obCertifiedKey_imp.
  obCertifiedKey(const char* name, const obCerts* chain, obRootCA* root, obPubKey* key, int purpose,
                 const unsigned char* id, int idLen);
  // Takes over imp.
  explicit obCertifiedKey(obCertifiedKey_imp* imp);
  ~obCertifiedKey() override;

  // In chain order: entry 0 is the key's own certificate.
  obCerts& Chain() { return imp_->chain; }
  const obCerts& Chain() const { return imp_->chain; }
  // Lent; null when the chain is anchored at no held root.
  obRootCA* Root() { return imp_->root; }
  const obRootCA* Root() const { return imp_->root; }
  // The private key, lent.
  obPubKey* PubKey() const { return imp_->key; }

 private:
  obCertifiedKey_imp* imp_;
};

#endif  // NYCERT_KEYSTORE_CERTIFIED_KEY_H_
