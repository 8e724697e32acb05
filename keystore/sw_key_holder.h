// obSWKeyHolder_imp: the key holder kept in memory, one object collection
// for root CAs and one for certified keys.
#ifndef NYCERT_KEYSTORE_SW_KEY_HOLDER_H_
#define NYCERT_KEYSTORE_SW_KEY_HOLDER_H_

#include "nycert/keystore/key_holder.h"

class obPKObjects;

class NYCERT_EXPORT obSWKeyHolder_imp : public obKeyHolder_imp {
 public:
  obSWKeyHolder_imp();
  ~obSWKeyHolder_imp() override;

  obRootCA_iterator* RootCAs() override;
  // 0 whatever the collection answers: a null CA is ignored.
  int AddCA(obRootCA* ca) override;
  // 0, or -1 when ca is null or not held.
  int RemoveCA(obRootCA* ca) override;
  obCertKey_iterator* CertKeys() override;
  int AddCertKey(obCertifiedKey* key) override;
  int RemoveCertKey(obCertifiedKey* key) override;

 private:
  obPKObjects* cas_;
  obPKObjects* keys_;
};

#endif  // NYCERT_KEYSTORE_SW_KEY_HOLDER_H_
