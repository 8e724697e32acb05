#include "nycert/platform/mtmutex.h"

#include <map>
#include <mutex>
#include <string>

struct MtMutex {
  std::recursive_mutex lock;
  std::string name;
  bool named = false;
  int holders = 1;
};

namespace {

// Named mutexes by name. The registry's own lock guards the map and the holder counts.
struct Registry {
  std::mutex guard;
  std::map<std::string, MtMutex*> by_name;
};

Registry& GetRegistry() {
  static Registry* registry = new Registry;  // never destroyed: usable during exit
  return *registry;
}

}  // namespace

MtMutexHandle MtMutexCreateRecursive(const char* name) {
  if (!name) return new MtMutex;
  Registry& registry = GetRegistry();
  std::lock_guard<std::mutex> hold(registry.guard);
  auto found = registry.by_name.find(name);
  if (found != registry.by_name.end()) {
    ++found->second->holders;
    return found->second;
  }
  MtMutex* mutex = new MtMutex;
  mutex->name = name;
  mutex->named = true;
  registry.by_name.emplace(name, mutex);
  return mutex;
}

int MtMutexLock(MtMutexHandle mutex) {
  if (!mutex) return -1;
  mutex->lock.lock();
  return 0;
}

int MtMutexUnLock(MtMutexHandle mutex) {
  if (!mutex) return -1;
  mutex->lock.unlock();
  return 0;
}

void MtMutexDestroy(MtMutexHandle mutex) {
  if (!mutex) return;
  if (!mutex->named) {
    delete mutex;
    return;
  }
  Registry& registry = GetRegistry();
  std::lock_guard<std::mutex> hold(registry.guard);
  if (--mutex->holders > 0) return;
  registry.by_name.erase(mutex->name);
  delete mutex;
}
