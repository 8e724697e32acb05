// The pieces of the CRL cache that its files share: settings, the memory
// caches, the check a CRL must pass, asynchronous fetch searches and
// prefetching.
#ifndef NYCERT_CRL_CRL_CACHE_INTERNAL_H_
#define NYCERT_CRL_CRL_CACHE_INTERNAL_H_

#include <array>
#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "nycert/buffers/diag.h"
#include "nycert/crl/crl_cache.h"
#include "nycert/crl/issuing_dp.h"
#include "nycert/names/general_name.h"

#define CRLCACHE_TRACE(...) OB_TDERROR("CRLCache", 4, __VA_ARGS__)

// Settings (crl_cache_settings.cc).
long CrlCacheTimeout();
int CrlStartGrace();
int CrlEndGrace();
bool CrlCachePerThread();
unsigned CrlMinUses();
unsigned CrlIdleWindow();
// The statistics counters.
struct CrlCacheCounters {
  std::atomic<int> searches{0};
  std::atomic<int> misses{0};
  std::atomic<int> asyncSearches{0};
  std::atomic<int> successfulAsyncFetch{0};
  std::atomic<int> prefetchAsyncSearches{0};
  std::atomic<int> prefetchSuccessfulAsyncFetch{0};
};
CrlCacheCounters& CrlCacheStats();

// The memory caches of the calling thread, or the shared set
// (crl_mem_cache.cc). Get hands out a reference of the caller's own.
obCRL* CrlMemGet(const obGeneralName& dp, obCRL_contents type);
void CrlMemPut(const obGeneralName& dp, obCRL* crl);
// Changes the life of entries put from now on, in every thread's caches.
void CrlMemSetTimeout(long seconds);
// The kinds of CRL that cover a certificate, in the order they are tried.
std::array<obCRL_contents, 2> CrlKindsFor(int certIsCA);
// The database record suffix of a kind of CRL.
const char* CrlDBSuffix(obCRL_contents type);
// When a CRL stored now should leave the database.
long CrlDBExpiry(const obCRL& crl, const ValidateParams* params);

// Whether a CRL may serve cert (crl_check.cc): obValidationRC_OK, or the
// reason it may not (-986 when it is not a CRL for this certificate).
obValidationRC CrlCheckFor(obCRL& crl, obCert& cert, int certIsCA, obCert* issuer, const ValidateParams* params);
// Keeps the more telling of two failure reasons in *kept.
void CrlKeepReason(obValidationRC* kept, obValidationRC reason);
int CrlCertIsCA(const obCert& cert);

// What an asynchronous search is for (crl_fetch_search.cc).
struct CrlSearchRequest {
  obd_env* env = nullptr;
  obCert* cert = nullptr;    // the caller keeps its reference; the search takes its own
  obCert* issuer = nullptr;  // the same
  ValidateParams params;
  obValidationRC reason = obValidationRC_CRLNotRetrieved;  // the answer when no fetch gives a good CRL
  bool prefetch = false;
  // Run on env once: 1 when a good CRL was cached, else the reason; and the
  // search's id.
  std::function<void(int result, long searchId)> finished;
};
// Starts the registered fetchers for the distribution points: the search's
// id (above 0), or 0 when no fetch could start (nothing is reported then).
long CrlStartSearch(const std::vector<const obGeneralName*>& dps, CrlSearchRequest request, const char* me);
// Whether any fetcher is registered.
bool CrlHaveFetchers();

// Caching a CRL that a certificate uses (memory, and prefetching when
// fetchers exist): crl_prefetch.cc.
void CrlCacheForCert(const obGeneralName& dp, obCRL* crl, obCert* cert, obCert* issuer,
                     const ValidateParams& params);
// Drops every prefetch record; pending timers find nothing to do.
void CrlPrefetchStopAll();

// Empties the memory caches of every thread.
void CrlMemClearAll();

#endif  // NYCERT_CRL_CRL_CACHE_INTERNAL_H_
