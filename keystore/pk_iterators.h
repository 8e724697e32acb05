// Iterators over a collection of key-store objects: the root CAs and
// certified keys of a key holder, or the OCSP servers of a root CA.
//
//   for (std::unique_ptr<obRootCA_iterator> it(holder.RootCAs()); it->Curr(); it->Next()) ...
//
// An iterator holds a reference to its collection, so it stays usable when
// the holder goes first; the objects it hands out are lent. Empty entries
// are skipped.
#ifndef NYCERT_KEYSTORE_PK_ITERATORS_H_
#define NYCERT_KEYSTORE_PK_ITERATORS_H_

#include "nycert/platform/export.h"

class obCertifiedKey;
class obOcspServer;
class obPKObjects;
class obPKobj;
class obRootCA;

class NYCERT_EXPORT obPKObjects_iterator {
 public:
  // Walks objects from its first entry; null walks nothing.
  explicit obPKObjects_iterator(obPKObjects* objects);
  obPKObjects_iterator(const obPKObjects_iterator&) = delete;
  obPKObjects_iterator& operator=(const obPKObjects_iterator&) = delete;
  virtual ~obPKObjects_iterator();

  // Moves to the next object; past the end it stays there.
  void Next();

 protected:
  // The current object, or null at the end.
  obPKobj* CurrObject() const;

 private:
  void SkipEmpty();

  obPKObjects* objects_;
  int index_ = 0;
};

// The collection must hold only objects of the iterator's kind.
class NYCERT_EXPORT obRootCA_iterator : public obPKObjects_iterator {
 public:
  using obPKObjects_iterator::obPKObjects_iterator;
  obRootCA* Curr() const;
};

class NYCERT_EXPORT obCertKey_iterator : public obPKObjects_iterator {
 public:
  using obPKObjects_iterator::obPKObjects_iterator;
  obCertifiedKey* Curr() const;
};

class NYCERT_EXPORT obOCSP_iterator : public obPKObjects_iterator {
 public:
  using obPKObjects_iterator::obPKObjects_iterator;
  obOcspServer* Curr() const;
};

#endif  // NYCERT_KEYSTORE_PK_ITERATORS_H_
