// The CRL cache's process-wide settings, its database functions and its
// statistics.
#include <atomic>

#include "nycert/crl/crl_cache_internal.h"
#include "nycert/crl/crl_db.h"

namespace {

const int kDefaultGrace = 600;
const unsigned kDefaultUses = 1;
const unsigned kDefaultIdle = 24;
const unsigned kMinTimeout = 60;

std::atomic<long> g_timeout{86400};
std::atomic<int> g_startGrace{kDefaultGrace};
std::atomic<int> g_endGrace{kDefaultGrace};
std::atomic<unsigned> g_minUses{kDefaultUses};
std::atomic<unsigned> g_idle{kDefaultIdle};
std::atomic<bool> g_perThread{false};

}  // namespace

long CrlCacheTimeout() { return g_timeout.load(std::memory_order_relaxed); }
int CrlStartGrace() { return g_startGrace.load(std::memory_order_relaxed); }
int CrlEndGrace() { return g_endGrace.load(std::memory_order_relaxed); }
bool CrlCachePerThread() { return g_perThread.load(std::memory_order_relaxed); }
unsigned CrlMinUses() { return g_minUses.load(std::memory_order_relaxed); }
unsigned CrlIdleWindow() { return g_idle.load(std::memory_order_relaxed); }

CrlCacheCounters& CrlCacheStats() {
  static CrlCacheCounters counters;
  return counters;
}

extern "C" {

void obCRLCache_SetTimeout(unsigned int seconds) {
  if (seconds < kMinTimeout) seconds = kMinTimeout;
  g_timeout.store(seconds, std::memory_order_relaxed);
  CrlMemSetTimeout(seconds);
  CRLCACHE_TRACE("obCRLCache_SetTimeout: %d", static_cast<int>(seconds));
}

void obCRLCache_SetGracePeriod(int start, int end) {
  g_startGrace.store(start, std::memory_order_relaxed);
  g_endGrace.store(end, std::memory_order_relaxed);
  CRLCACHE_TRACE("obCRLCache_SetGracePeriod: start = %d, end = %d", start, end);
}

void obCRLCache_SetCRLCacheUse(unsigned int uses, unsigned int idle) {
  g_minUses.store(uses, std::memory_order_relaxed);
  g_idle.store(idle, std::memory_order_relaxed);
}

int obCRLCache_GetDefaultGracePeriod() { return kDefaultGrace; }

void obCRLCache_GetDefaultCRLUse(unsigned int* uses, unsigned int* idle) {
  if (uses) *uses = kDefaultUses;
  if (idle) *idle = kDefaultIdle;
}

void obCRLCache_SetMultiThread(int perThread) { g_perThread.store(perThread != 0, std::memory_order_relaxed); }

int obCRLCache_set_dbpath(const char* path) { return CrlDB::InitPath(path); }

int obCRLCache_set_ndbpath(const char*) {
  CRLCACHE_TRACE("obCRLCache_set_ndbpath: Don't use this function use obCRLCache_set_dbpath istead");
  return -1;
}

int crl_db_garbage_collector() { return CrlDB::GarbageCollector(); }

int crl_ndb_cache_garbage_collector() {
  CRLCACHE_TRACE("crl_ndb_cache_garbage_collector: Don't use this function use crl_db_garbage_collector instead");
  return -1;
}

int remove_crl_cache_db() { return CrlDB::Destroy(); }

void obCRLCache_GetStats(obCRLCacheStats* stats) {
  if (!stats) return;
  CrlCacheCounters& c = CrlCacheStats();
  stats->searches = c.searches.load();
  stats->misses = c.misses.load();
  stats->asyncSearches = c.asyncSearches.load();
  stats->successfulAsyncFetch = c.successfulAsyncFetch.load();
  stats->prefetchAsyncSearches = c.prefetchAsyncSearches.load();
  stats->prefetchSuccessfulAsyncFetch = c.prefetchSuccessfulAsyncFetch.load();
}

}  // extern "C"
