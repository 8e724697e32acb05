#include "nycert/validate/ocsp_cache_internal.h"

#include <mutex>
#include <string>
#include <unordered_map>

#include "nycert/platform/obclock.h"

namespace {

// Enough for the chains of a busy client; when full, expired answers go
// first, and everything if none has expired.
constexpr size_t kMaxEntries = 4096;

struct Answer {
  int rc;
  long nextUpdate;
};

struct Cache {
  std::mutex mutex;
  std::unordered_map<std::string, Answer> answers;
};

Cache& TheCache() {
  static Cache* cache = new Cache;
  return *cache;
}

std::string Key(const unsigned char* certId, unsigned len) {
  return std::string(reinterpret_cast<const char*>(certId), len);
}

void MakeRoom(std::unordered_map<std::string, Answer>& answers, long now) {
  for (auto it = answers.begin(); it != answers.end();) {
    it = it->second.nextUpdate < now ? answers.erase(it) : std::next(it);
  }
  if (answers.size() >= kMaxEntries) answers.clear();
}

}  // namespace

void obOCSP_FlushCache() {
  Cache& cache = TheCache();
  std::lock_guard<std::mutex> hold(cache.mutex);
  cache.answers.clear();
}

void obOcspCache_Put(const unsigned char* certId, unsigned certIdLen, int rc, long nextUpdate) {
  long now = ob_time_now();
  if (nextUpdate <= now) return;
  Cache& cache = TheCache();
  std::lock_guard<std::mutex> hold(cache.mutex);
  if (cache.answers.size() >= kMaxEntries) MakeRoom(cache.answers, now);
  cache.answers[Key(certId, certIdLen)] = {rc, nextUpdate};
}

bool obOcspCache_Get(const unsigned char* certId, unsigned certIdLen, int& rc) {
  Cache& cache = TheCache();
  std::lock_guard<std::mutex> hold(cache.mutex);
  auto it = cache.answers.find(Key(certId, certIdLen));
  if (it == cache.answers.end()) return false;
  if (it->second.nextUpdate < ob_time_now()) {
    cache.answers.erase(it);
    return false;
  }
  rc = it->second.rc;
  return true;
}
