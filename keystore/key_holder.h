// obKeyHolder: the store of trusted root CAs and of the holder's own
// certified keys that chain building, PKCS#12 files and enrollment work
// against.
//
// obKeyHolder_imp is the interface behind the handle. An implementation
// supplies storage and the two iterators (RootCAs, CertKeys) with the adds
// and removes; every lookup is implemented here once over the iterators.
// Searches walk from the first entry and answer the first match, lent: the
// holder keeps its reference, and a caller that keeps the object takes its
// own with obSavePKobj. In the searches, two absent values (null names,
// DNs or identifiers) are equal and one absent value equals nothing.
#ifndef NYCERT_KEYSTORE_KEY_HOLDER_H_
#define NYCERT_KEYSTORE_KEY_HOLDER_H_

#include "nycert/keystore/pk_iterators.h"
#include "nycert/platform/export.h"

class obCertifiedKey;
class obDN;
class obKeyHolder;
class obRootCA;

// A new, empty holder kept in memory; release it with delete.
NYCERT_EXPORT obKeyHolder* obKeyHolder_New();

class NYCERT_EXPORT obKeyHolder_imp {
 public:
  obKeyHolder_imp() = default;
  obKeyHolder_imp(const obKeyHolder_imp&) = delete;
  obKeyHolder_imp& operator=(const obKeyHolder_imp&) = delete;
  virtual ~obKeyHolder_imp();

  // A new iterator over the root CAs, for the caller to delete.
  virtual obRootCA_iterator* RootCAs() = 0;
  // Take a reference to the CA; removing releases it.
  virtual int AddCA(obRootCA* ca) = 0;
  virtual int RemoveCA(obRootCA* ca) = 0;
  virtual obRootCA* CAByName(const char* name);
  // By the CA certificate's subject.
  virtual obRootCA* CAByDN(const obDN* dn);
  virtual obRootCA* CAByID(const unsigned char* id, int idLen);
  // A new iterator over the certified keys, for the caller to delete.
  virtual obCertKey_iterator* CertKeys() = 0;
  virtual int AddCertKey(obCertifiedKey* key) = 0;
  virtual int RemoveCertKey(obCertifiedKey* key) = 0;
  virtual obCertifiedKey* CertKeyByName(const char* name);
  // By the subject of the key's own certificate.
  virtual obCertifiedKey* CertKeyByDN(const obDN* dn);
  // The first key whose chain holds a certificate with subject dn.
  virtual obCertifiedKey* CertKeyBySubCA(const obDN& dn);
  // The first key rooted at an internal or enrollment CA; else the last
  // key rooted at a CA of another type; else the last rooted at an external
  // CA; else null. Keys without a root are never chosen.
  virtual obCertifiedKey* CertKeyByDefault();
  // Adds every root CA of other, then every certified key, each with a new
  // reference; nothing is de-duplicated.
  virtual obKeyHolder_imp& operator+=(obKeyHolder_imp& other);
  // 1 when the holder has a certified key (root CA), else 0.
  virtual int HasKeys();
  virtual int HasRootCAs();
  // The first key whose root CA's DN equals dn.
  virtual obCertifiedKey* CertKeyByCADN(const obDN* dn);
  virtual obCertifiedKey* CertKeyByID(const unsigned char* id, int idLen);
  // One line per root CA and certified key on the diagnostic channel.
  virtual void Herror_Short();
};

class NYCERT_EXPORT obKeyHolder {
 public:
  obKeyHolder(const obKeyHolder&) = delete;
  ~obKeyHolder();
  // Replaces this holder's contents with references to other's objects.
  obKeyHolder& operator=(const obKeyHolder& other);
  obKeyHolder& operator+=(const obKeyHolder& other);

  obRootCA_iterator* RootCAs() { return imp_->RootCAs(); }
  int AddCA(obRootCA* ca) { return imp_->AddCA(ca); }
  int RemoveCA(obRootCA* ca) { return imp_->RemoveCA(ca); }
  obRootCA* CAByName(const char* name) { return imp_->CAByName(name); }
  obRootCA* CAByDN(const obDN* dn) { return imp_->CAByDN(dn); }
  obRootCA* CAByID(const unsigned char* id, int idLen) { return imp_->CAByID(id, idLen); }
  obCertKey_iterator* CertKeys() { return imp_->CertKeys(); }
  int AddCertKey(obCertifiedKey* key) { return imp_->AddCertKey(key); }
  int RemoveCertKey(obCertifiedKey* key) { return imp_->RemoveCertKey(key); }
  obCertifiedKey* CertKeyByName(const char* name) { return imp_->CertKeyByName(name); }
  obCertifiedKey* CertKeyByDN(const obDN* dn) { return imp_->CertKeyByDN(dn); }
  obCertifiedKey* CertKeyBySubCA(const obDN& dn) { return imp_->CertKeyBySubCA(dn); }
  obCertifiedKey* CertKeyByDefault() { return imp_->CertKeyByDefault(); }
  int HasKeys() { return imp_->HasKeys(); }
  int HasRootCAs() { return imp_->HasRootCAs(); }
  obCertifiedKey* CertKeyByCADN(const obDN* dn) { return imp_->CertKeyByCADN(dn); }
  obCertifiedKey* CertKeyByID(const unsigned char* id, int idLen) { return imp_->CertKeyByID(id, idLen); }
  void Herror_Short() { imp_->Herror_Short(); }

 protected:
  // Takes over imp.
  explicit obKeyHolder(obKeyHolder_imp* imp) : imp_(imp) {}

 private:
  friend obKeyHolder* obKeyHolder_New();

  obKeyHolder_imp* imp_;
};

// A new holder built from holder in normal form, or null when holder is
// null: CA entries that are a certified key's own certificate or an
// intermediate of a held CA are dropped, as are entries marked
// obPKPurpose_Transient, and each certified key gets the chain from its own
// certificate up to the first CA kept as a root, and that root. holder is
// not changed.
NYCERT_EXPORT obKeyHolder* obKeyHolder_Sort(obKeyHolder* holder);
// holder->CertKeyByName(name); null for a null holder.
NYCERT_EXPORT obCertifiedKey* obKeyHolder_CertKeyByName(obKeyHolder* holder, const char* name);

#endif  // NYCERT_KEYSTORE_KEY_HOLDER_H_
