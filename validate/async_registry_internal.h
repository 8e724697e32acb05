// The asynchronous operations still waiting, by number. Reports, time-outs
// and drop handlers carry the number, not the object: the first of them to
// end the operation removes it, and those that come later find nothing.
#ifndef NYCERT_VALIDATE_ASYNC_REGISTRY_INTERNAL_H_
#define NYCERT_VALIDATE_ASYNC_REGISTRY_INTERNAL_H_

#include <map>
#include <memory>
#include <mutex>

template <class T>
class obAsyncRegistry {
 public:
  long Add(const std::shared_ptr<T>& op) {
    std::lock_guard<std::mutex> hold(mutex_);
    long id = nextId_++;
    ops_[id] = op;
    return id;
  }
  std::shared_ptr<T> Find(long id) {
    std::lock_guard<std::mutex> hold(mutex_);
    auto it = ops_.find(id);
    return it == ops_.end() ? nullptr : it->second;
  }
  void Remove(long id) {
    std::lock_guard<std::mutex> hold(mutex_);
    ops_.erase(id);
  }

  static void* AsArg(long id) { return reinterpret_cast<void*>(id); }
  static long FromArg(void* arg) { return reinterpret_cast<long>(arg); }

 private:
  std::mutex mutex_;
  std::map<long, std::shared_ptr<T>> ops_;
  long nextId_ = 1;
};

#endif  // NYCERT_VALIDATE_ASYNC_REGISTRY_INTERNAL_H_
