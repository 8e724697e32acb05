#include "nycert/keystore/pk_iterators.h"

#include "nycert/keystore/certified_key.h"
#include "nycert/keystore/ocsp_server.h"
#include "nycert/keystore/pk_objects.h"
#include "nycert/keystore/root_ca.h"

obPKObjects_iterator::obPKObjects_iterator(obPKObjects* objects) : objects_(objects) {
  obSavePKobj(objects_);
  SkipEmpty();
}

obPKObjects_iterator::~obPKObjects_iterator() { obFreePKobj(objects_); }

void obPKObjects_iterator::Next() {
  if (objects_ && objects_->IsInRange(index_)) ++index_;
  SkipEmpty();
}

obPKobj* obPKObjects_iterator::CurrObject() const { return objects_ ? objects_->Get(index_) : nullptr; }

void obPKObjects_iterator::SkipEmpty() {
  while (objects_ && objects_->IsInRange(index_) && !objects_->Get(index_)) ++index_;
}

obRootCA* obRootCA_iterator::Curr() const { return static_cast<obRootCA*>(CurrObject()); }

obCertifiedKey* obCertKey_iterator::Curr() const { return static_cast<obCertifiedKey*>(CurrObject()); }

obOcspServer* obOCSP_iterator::Curr() const { return static_cast<obOcspServer*>(CurrObject()); }
