// Recursive mutexes of the OS support layer.
//
// A mutex created with a name is shared: every creation with that name gives
// the same mutex, kept until the last holder destroys it. A null name gives a
// private mutex.
#ifndef NYCERT_PLATFORM_MTMUTEX_H_
#define NYCERT_PLATFORM_MTMUTEX_H_

#include "nycert/platform/export.h"

struct MtMutex;
typedef MtMutex* MtMutexHandle;

// Returns the mutex, or null only when allocation fails.
NYCERT_EXPORT MtMutexHandle MtMutexCreateRecursive(const char* name);
// Both return 0, or -1 for a null handle.
NYCERT_EXPORT int MtMutexLock(MtMutexHandle mutex);
NYCERT_EXPORT int MtMutexUnLock(MtMutexHandle mutex);
// Drops one creation's hold; the mutex is freed when none remain.
NYCERT_EXPORT void MtMutexDestroy(MtMutexHandle mutex);

#endif  // NYCERT_PLATFORM_MTMUTEX_H_
