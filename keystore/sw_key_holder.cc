#include "nycert/keystore/sw_key_holder.h"

#include "nycert/keystore/certified_key.h"
#include "nycert/keystore/pk_objects.h"
#include "nycert/keystore/root_ca.h"

obSWKeyHolder_imp::obSWKeyHolder_imp() : cas_(new obPKObjects), keys_(new obPKObjects) {}

obSWKeyHolder_imp::~obSWKeyHolder_imp() {
  obFreePKobj(cas_);
  obFreePKobj(keys_);
}

obRootCA_iterator* obSWKeyHolder_imp::RootCAs() { return new obRootCA_iterator(cas_); }

int obSWKeyHolder_imp::AddCA(obRootCA* ca) {
  cas_->Add(ca);
  return 0;
}

int obSWKeyHolder_imp::RemoveCA(obRootCA* ca) { return cas_->Delete(ca); }

obCertKey_iterator* obSWKeyHolder_imp::CertKeys() { return new obCertKey_iterator(keys_); }

int obSWKeyHolder_imp::AddCertKey(obCertifiedKey* key) {
  keys_->Add(key);
  return 0;
}

int obSWKeyHolder_imp::RemoveCertKey(obCertifiedKey* key) { return keys_->Delete(key); }
