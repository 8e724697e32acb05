#include "nycert/platform/obcache.h"

#include <mutex>
#include <new>
#include <string>
#include <unordered_map>
#include <vector>

#include "nycert/platform/obclock.h"

namespace {

struct CacheEntry {
  void* value;
  long expires;
};

}  // namespace

struct Cache {
  size_t slots;
  long timeout;
  Cache_ref_fn hold;
  Cache_ref_fn release;
  std::mutex mutex;  // guards timeout and entries
  std::unordered_map<std::string, CacheEntry> entries;
};

namespace {

using Lock = std::lock_guard<std::mutex>;

std::string KeyOf(const void* key, size_t len) { return std::string(static_cast<const char*>(key), len); }

// Drops the entry that expires first; the cache is locked and not empty.
void EvictOne(Cache* cache) {
  auto first = cache->entries.begin();
  for (auto it = cache->entries.begin(); it != cache->entries.end(); ++it) {
    if (it->second.expires < first->second.expires) first = it;
  }
  cache->release(first->second.value);
  cache->entries.erase(first);
}

// Hands the cache's values to release outside the lock.
void ReleaseAll(Cache_ref_fn release, const std::vector<void*>& values) {
  for (void* value : values) release(value);
}

}  // namespace

extern "C" {

Cache* Cache_create(size_t slots, long timeoutSec, Cache_ref_fn hold, Cache_ref_fn release) {
  if (!hold || !release) return nullptr;
  Cache* cache = new (std::nothrow) Cache;
  if (!cache) return nullptr;
  cache->slots = slots < 1 ? 1 : slots;
  cache->timeout = timeoutSec < 1 ? 1 : timeoutSec;
  cache->hold = hold;
  cache->release = release;
  cache->entries.reserve(cache->slots);
  return cache;
}

void Cache_destroy(Cache* cache) {
  if (!cache) return;
  Cache_clear(cache);
  delete cache;
}

int Cache_put(Cache* cache, const void* key, size_t len, void* value) {
  if (!cache || !value || (!key && len > 0)) return -1;
  std::string k = KeyOf(key, len);
  cache->hold(value);
  void* replaced = nullptr;
  {
    Lock lock(cache->mutex);
    long expires = ob_time_now() + cache->timeout;
    auto it = cache->entries.find(k);
    if (it != cache->entries.end()) {
      replaced = it->second.value;
      it->second = {value, expires};
    } else {
      if (cache->entries.size() >= cache->slots) EvictOne(cache);
      cache->entries.emplace(std::move(k), CacheEntry{value, expires});
    }
  }
  if (replaced) cache->release(replaced);
  return 0;
}

void* Cache_get(Cache* cache, const void* key, size_t len) {
  if (!cache || (!key && len > 0)) return nullptr;
  std::string k = KeyOf(key, len);
  void* expired = nullptr;
  void* found = nullptr;
  {
    Lock lock(cache->mutex);
    auto it = cache->entries.find(k);
    if (it == cache->entries.end()) return nullptr;
    if (it->second.expires <= ob_time_now()) {
      expired = it->second.value;
      cache->entries.erase(it);
    } else {
      found = it->second.value;
      cache->hold(found);
    }
  }
  if (expired) cache->release(expired);
  return found;
}

int Cache_remove(Cache* cache, const void* key, size_t len) {
  if (!cache || (!key && len > 0)) return -1;
  void* removed = nullptr;
  {
    Lock lock(cache->mutex);
    auto it = cache->entries.find(KeyOf(key, len));
    if (it == cache->entries.end()) return -1;
    removed = it->second.value;
    cache->entries.erase(it);
  }
  cache->release(removed);
  return 0;
}

void Cache_clear(Cache* cache) {
  if (!cache) return;
  std::vector<void*> values;
  {
    Lock lock(cache->mutex);
    for (auto& entry : cache->entries) values.push_back(entry.second.value);
    cache->entries.clear();
  }
  ReleaseAll(cache->release, values);
}

size_t Cache_count(Cache* cache) {
  if (!cache) return 0;
  Lock lock(cache->mutex);
  return cache->entries.size();
}

void Cache_set_timeout(Cache* cache, long timeoutSec) {
  if (!cache) return;
  Lock lock(cache->mutex);
  cache->timeout = timeoutSec < 1 ? 1 : timeoutSec;
}

}  // extern "C"
