// The CRL cache: how path validation gets a currently valid CRL for each
// certificate.
//
// CRLs are looked for in the memory caches, then in the CRL database on disk
// (CrlDB), then fetched through the fetchers the application registers. A
// CRL from any source is used for a certificate only when its signature
// verifies with the key of the certificate's issuer, it has no unhandled
// critical extension, its issuing distribution point matches the
// certificate, and it is valid now within the grace periods. CRLs that are
// in use are fetched again before they expire (prefetching).
//
// The names a certificate's CRL is looked up under are the full names of its
// cRLDistributionPoints, in order; a certificate without that extension is
// looked up under its issuer's DN as a directoryName. A CRL is filed under
// every full name of its issuing distribution point, or under its issuer's
// DN when it has none, and under the kind of certificates it covers
// (obCRL::Type()).
//
// The memory caches are made on first use, 256 entries living the cache
// time-out each. In multi-thread mode (obCRLCache_SetMultiThread) every
// thread has caches of its own; otherwise one locked set serves the process.
// Fetchers run only for searches on the library's environment (g_env_get()):
// their completions, from whatever thread, are judged and reported there.
// Prefetch timers run there too.
//
// Trace lines go to the topic "CRLCache" at level 4.
#ifndef NYCERT_CRL_CRL_CACHE_H_
#define NYCERT_CRL_CRL_CACHE_H_

#include "nycert/crl/validate_params.h"
#include "nycert/crl/validation_rc.h"
#include "nycert/platform/export.h"

class obCRL;
class obCRLs;
class obCert;
class obGeneralName;
class obRootCA;
struct obd_env;

// What a look-up gives.
enum obFetch_stat : int {
  obFetch_NoCRL = 0,    // no usable CRL; the reason says why
  obFetch_Found = 1,    // a CRL is handed back
  obFetch_Pending = 3,  // fetches run; the report callback gives the outcome
};

// What a fetcher answers when it is started.
enum obFetcher_stat : int {
  obFetcher_Started = 0,      // it calls the completion callback exactly once
  obFetcher_Unsupported = 1,  // it cannot fetch this distribution point
  obFetcher_Failed = -1,      // it could not start; no callback follows
};

// The completion of a fetch: the CRLs fetched (lent for the call; null on
// failure), the context the fetcher was given, and 0 or a negative error.
// Callable from any thread, once per started fetch; answers 0.
typedef int (*obCRLFetchDone)(obCRLs* crls, void* context, int status);
// A fetcher: its opaque pointer, the distribution point (lent for the call:
// copy what is kept), the flags below, the completion and its context.
typedef obFetcher_stat (*obCRLFetcher)(void* opaque, obGeneralName* dp, int flags, obCRLFetchDone done,
                                       void* context);
// Fetch flags.
enum obCRLFetchFlags : int {
  obCRLFetch_Prefetch = 1,  // refreshing a cached CRL, not answering a validation
};

// The report of a pending look-up, run on the look-up's environment: 1 when
// a CRL was fetched (it is then in the memory cache, and a new look-up finds
// it), else the negative obValidationRC reason; the certificate, the search
// id given by the look-up, and the caller's pointer.
typedef void (*obFetchCRL_report)(int result, obCert* cert, long searchId, void* arg);

// Where obCRLCache_Push puts a CRL: bits of the destination argument. Every
// pushed CRL goes to the memory cache; the database bit also stores it on disk.
enum obCRLCacheDest : int {
  obCRLCacheDest_Memory = 1,
  obCRLCacheDest_Database = 2,
};

// The statistics block (obCRLCache_Flush prints and clears it).
struct obCRLCacheStats {
  int searches;
  int misses;
  int asyncSearches;
  int successfulAsyncFetch;
  int prefetchAsyncSearches;
  int prefetchSuccessfulAsyncFetch;
};

extern "C" {

// Global settings; see the file comment for their effect.
// Life of a memory-cache entry in seconds (default 86400, at least 60).
NYCERT_EXPORT void obCRLCache_SetTimeout(unsigned int seconds);
// Tolerances before thisUpdate and after nextUpdate (default 600 each).
NYCERT_EXPORT void obCRLCache_SetGracePeriod(int start, int end);
// A cached CRL is prefetched only when used at least uses times and last
// used at most idle seconds before its timer fires (defaults 1 and 24). The
// prefetcher reads these at its first timer and on obPreFetchCRLs_reconf.
NYCERT_EXPORT void obCRLCache_SetCRLCacheUse(unsigned int uses, unsigned int idle);
NYCERT_EXPORT int obCRLCache_GetDefaultGracePeriod();
NYCERT_EXPORT void obCRLCache_GetDefaultCRLUse(unsigned int* uses, unsigned int* idle);
// 1: each thread keeps memory caches of its own; 0 (default): one shared set.
NYCERT_EXPORT void obCRLCache_SetMultiThread(int perThread);

// The CRL database's directory: 0, or -1.
NYCERT_EXPORT int obCRLCache_set_dbpath(const char* path);
NYCERT_EXPORT int obCRLCache_set_ndbpath(const char* path);  // obsolete: -1
// Removes the database's expired records: their count, or -1.
NYCERT_EXPORT int crl_db_garbage_collector();
NYCERT_EXPORT int crl_ndb_cache_garbage_collector();  // obsolete: -1
// Removes the database: 0, or -1.
NYCERT_EXPORT int remove_crl_cache_db();

// Appends a fetcher for the general-name kinds whose bits (1 << obGNtype)
// are set in kinds (0: every kind): 0, or -1 when ten are registered already
// or fetch is null. Since completions come from other threads, it turns on
// the locking of reference counts (obPKobj::UseMutex).
NYCERT_EXPORT int obCRLCache_add_fetcher(obCRLFetcher fetch, void* opaque, unsigned int kinds);
NYCERT_EXPORT void obCRLCache_free_fetchers();

// Puts crl (the caller keeps its reference) into the memory cache, and with
// obCRLCacheDest_Database in destination into the database too: 0, or -1
// for a null or undecoded CRL. The parameters give the graces of the
// database record's expiry.
NYCERT_EXPORT int obCRLCache_Push(obCRL* crl, const ValidateParams& params, int destination);
// Push for every CRL of the list: 0, or -1 when one failed.
NYCERT_EXPORT int obCert_PushCRLs(obCRLs& crls, const ValidateParams& params, int destination);
// Drops the memory-cache entries of a distribution point (every kind).
NYCERT_EXPORT void obCRLCache_DelFromCaches(const obGeneralName* dp);
// Empties the memory caches, stops prefetching, prints the statistics and
// clears them.
NYCERT_EXPORT void obCRLCache_Flush();
NYCERT_EXPORT void obCRLCache_GetStats(obCRLCacheStats* stats);
// Makes the prefetcher read the use settings again.
NYCERT_EXPORT void obPreFetchCRLs_reconf();

// CRL validity now within the graces: 0 valid, 1 expired, -1 not yet valid.
// Null parameters check both times with the global graces.
NYCERT_EXPORT int obCRL_CRLisValid(const obCRL* crl, const ValidateParams* params);

// Finds the CRL for cert, whose issuer certificate (needed: its key checks
// the CRL) is issuer. useCache 0 skips the database, so that only CRLs
// pushed or fetched by this process count. root is passed on, never looked
// into. obFetch_Found hands back *crl with a reference for the caller;
// obFetch_Pending sets *searchId and reports on env later (on g_env for
// obFetchCRL); obFetch_NoCRL sets *reason (obFetchCRL_e_With_Reason) to
// -986 when no CRL was found, -990 when those found fail their signature
// check or carry an unhandled critical extension, -984 / -985 when they are
// expired / not yet valid. A pending search sets it to obValidationRC_Async.
NYCERT_EXPORT obFetch_stat obFetchCRL(obCRL** crl, long* searchId, obCert* cert, int useCache, obCert* issuer,
                                      obRootCA* root, const ValidateParams* params, obFetchCRL_report report,
                                      void* arg);
NYCERT_EXPORT obFetch_stat obFetchCRL_e(obd_env* env, obCRL** crl, long* searchId, obCert* cert, int useCache,
                                        obCert* issuer, obRootCA* root, const ValidateParams* params,
                                        obFetchCRL_report report, void* arg);
NYCERT_EXPORT obFetch_stat obFetchCRL_e_With_Reason(obd_env* env, obCRL** crl, long* searchId, obCert* cert,
                                                    int useCache, obCert* issuer, obRootCA* root,
                                                    const ValidateParams* params, obFetchCRL_report report,
                                                    void* arg, obValidationRC* reason);

// Fetches the CRL of one distribution point of issuer's into the memory
// cache and the database, through the registered fetchers, with no
// certificate at hand: a CRL is taken when issuer's key verifies it, its
// issuer is issuer's subject, its issuing distribution point (if it names
// any) names dp, and it is valid now. obFetch_Pending reports on env (which
// must be the library's) with a null certificate; obFetch_NoCRL gives the
// reason.
NYCERT_EXPORT obFetch_stat obCRLCache_FetchDP(obd_env* env, const obGeneralName* dp, obCert* issuer,
                                              const ValidateParams* params, obFetchCRL_report report, void* arg,
                                              obValidationRC* reason);

}  // extern "C"

#endif  // NYCERT_CRL_CRL_CACHE_H_
