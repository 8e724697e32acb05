// obPKobj: the reference-counted base of key and key-store objects.
//
// A new object holds one reference. obSavePKobj takes another and obFreePKobj
// drops one, destroying the object when none remain. The counts are plain
// integers guarded by one process-wide recursive mutex, which exists only
// once some caller has asked for it with UseMutex: single-threaded programs
// pay no locking cost. Call UseMutex before objects are shared between
// threads; it cannot be undone.
#ifndef NYCERT_KEYS_PKOBJ_H_
#define NYCERT_KEYS_PKOBJ_H_

#include "nycert/platform/export.h"

class NYCERT_EXPORT obPKobj_imp {
 public:
  obPKobj_imp() = default;
  obPKobj_imp(const obPKobj_imp&) = default;
  obPKobj_imp& operator=(const obPKobj_imp&) = default;
  // Reports an object deleted while its count is not zero.
  virtual ~obPKobj_imp();

  // Creates the process-wide mutex once: 0, or -1 when it cannot be made.
  static int UseMutex();
  // 1 once the mutex exists, else 0.
  static int UsingMutex();

  // The current count, read without the lock: exact only while no other
  // thread takes or drops references.
  int RefCount() const { return refCount_; }

 protected:
  // Both return 0 whatever happens; a failure is reported. Without the mutex
  // they do nothing.
  static int Lock();
  static int Unlock();

  void IncRef() { ++refCount_; }
  int DecRef() { return --refCount_; }

 private:
  friend class obPKobj;

  int refCount_ = 1;
};

// The handle owns its implementation: destroying the handle deletes it.
class NYCERT_EXPORT obPKobj {
 public:
  obPKobj();
  obPKobj(const obPKobj&) = default;
  obPKobj& operator=(const obPKobj&) = default;
  virtual ~obPKobj();

  static int UseMutex() { return obPKobj_imp::UseMutex(); }
  static int UsingMutex() { return obPKobj_imp::UsingMutex(); }
  obPKobj_imp* Imp() const { return imp_; }
  int RefCount() const { return imp_->RefCount(); }

 protected:
  explicit obPKobj(obPKobj_imp* imp) : imp_(imp) {}
  static int Lock();
  static int Unlock();
  void IncRef();
  int DecRef();

 private:
  friend void obSavePKobj(obPKobj* obj);
  friend void obFreePKobj(obPKobj* obj);

  obPKobj_imp* imp_;
};

// Take and drop a reference; null is ignored.
NYCERT_EXPORT void obSavePKobj(obPKobj* obj);
NYCERT_EXPORT void obFreePKobj(obPKobj* obj);

#endif  // NYCERT_KEYS_PKOBJ_H_
