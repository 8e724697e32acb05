// The memory caches of the CRL cache and what puts CRLs into them: pushing,
// deleting a distribution point, flushing.
#include <algorithm>
#include <memory>
#include <mutex>

#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache_internal.h"
#include "nycert/crl/crl_db.h"
#include "nycert/names/general_names.h"
#include "nycert/platform/obcache.h"
#include "nycert/platform/obclock.h"

namespace {

const size_t kCacheSlots = 256;
const obCRL_contents kAllKinds[] = {obCRL_AllCerts, obCRL_ARL, obCRL_UserCerts};

void HoldCrl(void* value) { obSaveSigned(static_cast<obCRL*>(value)); }
void ReleaseCrl(void* value) { obFreeSigned(static_cast<obCRL*>(value)); }

Cache* NewCache() { return Cache_create(kCacheSlots, CrlCacheTimeout(), HoldCrl, ReleaseCrl); }

// Every cache made, so that flushing and deleting reach the caches of all
// threads.
std::mutex g_mutex;  // guards g_caches and g_shared's creation
std::vector<Cache*> g_caches;
std::atomic<Cache*> g_shared{nullptr};

Cache* Register(Cache* cache) {
  if (cache) g_caches.push_back(cache);
  return cache;
}

// The caches of one thread in multi-thread mode, destroyed with the thread.
struct ThreadCache {
  Cache* cache = nullptr;
  ~ThreadCache() {
    if (!cache) return;
    {
      std::lock_guard<std::mutex> hold(g_mutex);
      g_caches.erase(std::remove(g_caches.begin(), g_caches.end(), cache), g_caches.end());
    }
    Cache_destroy(cache);
  }
};
thread_local ThreadCache t_cache;

Cache* SharedCache() {
  Cache* cache = g_shared.load(std::memory_order_acquire);
  if (cache) return cache;
  std::lock_guard<std::mutex> hold(g_mutex);
  if (!g_shared.load(std::memory_order_relaxed)) g_shared.store(Register(NewCache()), std::memory_order_release);
  return g_shared.load(std::memory_order_relaxed);
}

Cache* CurrentCache() {
  if (!CrlCachePerThread()) return SharedCache();
  if (!t_cache.cache) {
    std::lock_guard<std::mutex> hold(g_mutex);
    t_cache.cache = Register(NewCache());
  }
  return t_cache.cache;
}

// The key of a distribution point's CRL of one kind: its text, a NUL, and
// the kind as a digit.
std::string MemKey(const obGeneralName& dp, obCRL_contents type) {
  const char* text = dp.GetStr();
  std::string key = text ? text : "";
  key += '\0';
  key += static_cast<char>('0' + type);
  return key;
}

// Runs op on every cache made so far.
template <class Op>
void ForEachCache(Op op) {
  std::lock_guard<std::mutex> hold(g_mutex);
  for (Cache* cache : g_caches) op(cache);
}

// The names a CRL is filed under: its issuing distribution point's full
// names, or its issuer's DN.
std::vector<obGeneralName> FilingNames(const obCRL& crl) {
  std::vector<obGeneralName> names;
  const obGeneralNames* full = crl.DistPoints();
  for (int i = 0; full && i < full->Count(); ++i) {
    if (full->Get(i)) names.push_back(*full->Get(i));
  }
  if (names.empty() && crl.Issuer()) names.emplace_back(*crl.Issuer());
  return names;
}

void PrintStats(const obCRLCacheStats& s) {
  CRLCACHE_TRACE("\n\nCRLCache statistics:\n------------------");
  CRLCACHE_TRACE("crlcache searches: %d", s.searches);
  CRLCACHE_TRACE("crlcache misses: %d", s.misses);
  CRLCACHE_TRACE("crlcache async_searches: %d", s.asyncSearches);
  CRLCACHE_TRACE("crlcache successful_async_fetch: %d", s.successfulAsyncFetch);
  CRLCACHE_TRACE("preFetch async_searches: %d", s.prefetchAsyncSearches);
  CRLCACHE_TRACE("preFetch successful_async_fetch: %d\n\n", s.prefetchSuccessfulAsyncFetch);
}

}  // namespace

obCRL* CrlMemGet(const obGeneralName& dp, obCRL_contents type) {
  std::string key = MemKey(dp, type);
  return static_cast<obCRL*>(Cache_get(CurrentCache(), key.data(), key.size()));
}

void CrlMemPut(const obGeneralName& dp, obCRL* crl) {
  std::string key = MemKey(dp, crl->Type());
  Cache_put(CurrentCache(), key.data(), key.size(), crl);
}

void CrlMemClearAll() { ForEachCache(Cache_clear); }

void CrlMemSetTimeout(long seconds) {
  ForEachCache([seconds](Cache* cache) { Cache_set_timeout(cache, seconds); });
}

std::array<obCRL_contents, 2> CrlKindsFor(int certIsCA) {
  return {obCRL_AllCerts, certIsCA ? obCRL_ARL : obCRL_UserCerts};
}

const char* CrlDBSuffix(obCRL_contents type) {
  switch (type) {
    case obCRL_ARL:
      return "#ARL";
    case obCRL_UserCerts:
      return "#user";
    default:
      return "";
  }
}

long CrlDBExpiry(const obCRL& crl, const ValidateParams* params) {
  if (crl.nextUpdate() <= 0) return ob_time_now() + CrlCacheTimeout();
  int grace = params ? params->Crl_end_grace() : -1;
  return crl.nextUpdate() + (grace == -1 ? CrlEndGrace() : grace);
}

extern "C" {

int obCRLCache_Push(obCRL* crl, const ValidateParams& params, int destination) {
  static const char me[] = "obCRLCache_Push";
  if (!crl || !crl->OK()) {
    CRLCACHE_TRACE("%s: bad crl", me);
    return -1;
  }
  int rc = 0;
  for (const obGeneralName& name : FilingNames(*crl)) {
    CRLCACHE_TRACE("%s: push crl of dp: %s", me, name.GetStr());
    CrlMemPut(name, crl);
    if ((destination & obCRLCacheDest_Database) &&
        CrlDB::Store(&name, CrlDBSuffix(crl->Type()), crl, CrlDBExpiry(*crl, &params)) != 0)
      rc = -1;
  }
  return rc;
}

int obCert_PushCRLs(obCRLs& crls, const ValidateParams& params, int destination) {
  int rc = 0;
  for (int i = 0; i < crls.Size(); ++i) {
    if (crls.Get(i) && obCRLCache_Push(crls.Get(i), params, destination) != 0) rc = -1;
  }
  return rc;
}

void obCRLCache_DelFromCaches(const obGeneralName* dp) {
  if (!dp) return;
  CRLCACHE_TRACE("%s: Delete dp: %s", "obCRLCache_DelFromCaches", dp->GetStr());
  for (obCRL_contents type : kAllKinds) {
    std::string key = MemKey(*dp, type);
    ForEachCache([&key](Cache* cache) { Cache_remove(cache, key.data(), key.size()); });
  }
}

void obCRLCache_Flush() {
  CrlPrefetchStopAll();
  CrlMemClearAll();
  obCRLCacheStats stats;
  obCRLCache_GetStats(&stats);
  PrintStats(stats);
  CrlCacheCounters& c = CrlCacheStats();
  for (std::atomic<int>* counter : {&c.searches, &c.misses, &c.asyncSearches, &c.successfulAsyncFetch,
                                    &c.prefetchAsyncSearches, &c.prefetchSuccessfulAsyncFetch})
    counter->store(0);
}

}  // extern "C"
