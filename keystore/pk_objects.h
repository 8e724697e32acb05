// obPKObjects: the collection the key holder keeps its root CAs and certified
// keys in, and a root CA its OCSP responders.
//
// An array of reference-counted key-store objects with a capacity; empty
// entries are null. Add fills the first empty entry and grows the array by
// five entries when there is none; Delete moves the last object into the
// hole it leaves, so the entries stay dense but their order changes. The
// collection holds one reference to each object and is itself reference
// counted: make it with new and release it with obFreePKobj.
#ifndef NYCERT_KEYSTORE_PK_OBJECTS_H_
#define NYCERT_KEYSTORE_PK_OBJECTS_H_

#include "nycert/keys/pkobj.h"
#include "nycert/platform/export.h"

class ObStream;

class NYCERT_EXPORT obPKObjects_imp : public obPKobj_imp {
 public:
  obPKObjects_imp() = default;
  obPKObjects_imp(const obPKObjects_imp&) = delete;
  obPKObjects_imp& operator=(const obPKObjects_imp&) = delete;
  // Releases every object still held.
  ~obPKObjects_imp() override;

  obPKobj** entries = nullptr;
  int capacity = 0;
};

class NYCERT_EXPORT obPKObjects : public obPKobj {
 public:
  obPKObjects();
  obPKObjects(const obPKObjects&) = delete;
  obPKObjects& operator=(const obPKObjects&) = delete;
  ~obPKObjects() override;

  // Takes a reference to obj and puts it in the first empty entry: 0, or -1
  // for null.
  virtual int Add(obPKobj* obj);
  // Releases the collection's reference to obj (found by identity) and fills
  // its entry with the last object: 0, or -1 when obj is null or absent.
  virtual int Delete(obPKobj* obj);
  // The object at index, lent; null for an empty entry or an index out of range.
  virtual obPKobj* Get(int index) const;
  // 1 when index names an entry (0 <= index < capacity), else 0.
  virtual int IsInRange(int index) const;

  // The number of entries, empty ones included, and of objects held.
  int Size() const { return imp_->capacity; }
  int Count() const;

  void Herror(const char* title) const;
  void Sprint(ObStream* s, const char* title, int indent) const;

 private:
  explicit obPKObjects(obPKObjects_imp* imp);

  obPKObjects_imp* imp_;
};

#endif  // NYCERT_KEYSTORE_PK_OBJECTS_H_
