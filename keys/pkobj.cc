#include "nycert/keys/pkobj.h"

#include <atomic>

#include "nycert/buffers/diag.h"
#include "nycert/platform/mtmutex.h"

namespace {

// Named so that every part of the process asking for it shares one lock.
constexpr char kRefCountMutexName[] = "nycert.obPKobj.refcount";

std::atomic<MtMutexHandle> g_refCountMutex{nullptr};

}  // namespace

obPKobj_imp::~obPKobj_imp() {
  if (refCount_ != 0) OB_HERROR("obPKobj_imp::~obPKobj_imp: non zero refcount");
}

int obPKobj_imp::UseMutex() {
  if (g_refCountMutex.load(std::memory_order_acquire)) return 0;
  MtMutexHandle created = MtMutexCreateRecursive(kRefCountMutexName);
  if (!created) {
    OB_HERROR("%s: Failed to create Mutex", "obPKobj_imp::UseMutex");
    return -1;
  }
  // Two first callers may race: the loser gives back its hold on the shared mutex.
  MtMutexHandle expected = nullptr;
  if (!g_refCountMutex.compare_exchange_strong(expected, created, std::memory_order_acq_rel)) {
    MtMutexDestroy(created);
  }
  return 0;
}

int obPKobj_imp::UsingMutex() { return g_refCountMutex.load(std::memory_order_acquire) ? 1 : 0; }

int obPKobj_imp::Lock() {
  MtMutexHandle mutex = g_refCountMutex.load(std::memory_order_acquire);
  if (mutex && MtMutexLock(mutex) != 0) OB_HERROR("%s: Failed to Lock Mutex", "obPKobj_imp::Lock");
  return 0;
}

int obPKobj_imp::Unlock() {
  MtMutexHandle mutex = g_refCountMutex.load(std::memory_order_acquire);
  if (mutex && MtMutexUnLock(mutex) != 0) OB_HERROR("%s: Failed to Unlock Mutex", "obPKobj_imp::Unlock");
  return 0;
}

obPKobj::obPKobj() : imp_(new obPKobj_imp) {}

obPKobj::~obPKobj() { delete imp_; }

int obPKobj::Lock() { return obPKobj_imp::Lock(); }

int obPKobj::Unlock() { return obPKobj_imp::Unlock(); }

void obPKobj::IncRef() { imp_->IncRef(); }

int obPKobj::DecRef() { return imp_->DecRef(); }

void obSavePKobj(obPKobj* obj) {
  if (!obj) return;
  obPKobj::Lock();
  obj->IncRef();
  obPKobj::Unlock();
}

void obFreePKobj(obPKobj* obj) {
  if (!obj) return;
  obPKobj::Lock();
  int count = obj->DecRef();
  obPKobj::Unlock();
  if (count < 0) OB_HERROR("obFreePKobj: negative reference count %d", count);
  if (count <= 0) delete obj;
}
