// The fetcher table and asynchronous fetch searches.
//
// A search is a reference-counted record shared by the fetches it started:
// the starter holds one reference and every started fetch one more. A
// fetcher's completion, on whatever thread, copies the CRLs and posts them to
// the search's environment, where completions are judged one at a time in
// arrival order; the search is freed when its last reference goes, whatever
// the order of completions, drops and flushes.
#include <atomic>
#include <climits>
#include <memory>
#include <mutex>

#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache_internal.h"
#include "nycert/crl/crl_db.h"
#include "nycert/keys/pkobj.h"
#include "nycert/platform/obd_env.h"

namespace {

const size_t kMaxFetchers = 10;

struct Fetcher {
  obCRLFetcher fetch;
  void* opaque;
  unsigned kinds;
};

std::mutex g_fetchersMutex;  // guards g_fetchers
std::vector<Fetcher> g_fetchers;
std::atomic<long> g_nextSearchId{1};

std::vector<Fetcher> Fetchers() {
  std::lock_guard<std::mutex> hold(g_fetchersMutex);
  return g_fetchers;
}

bool Fetches(const Fetcher& fetcher, obGNtype type) { return fetcher.kinds == 0 || (fetcher.kinds >> type & 1u); }

struct Search {
  explicit Search(CrlSearchRequest r) : request(std::move(r)) {
    obSaveSigned(request.cert);
    obSaveSigned(request.issuer);
  }
  ~Search() {
    obFreeSigned(request.cert);
    obFreeSigned(request.issuer);
  }

  std::atomic<int> refs{1};
  long id = g_nextSearchId.fetch_add(1);
  CrlSearchRequest request;
  const char* me = "";
  std::mutex mutex;  // held while fetches start and while a completion is judged
  int ongoing = 0;
  bool answered = false;
  bool reported = false;
};

void Release(Search* search) {
  int left = search->refs.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (left < 0) CRLCACHE_TRACE("%s: Warning. negative reference count", search->me);
  if (left == 0) delete search;
}

// One started fetch: the completion's context.
struct FetchCall {
  Search* search;
  obGeneralName dp;
};

// A completion on its way to the search's environment.
struct Completion {
  FetchCall* call;
  std::unique_ptr<obCRLs> crls;
  int status;
};

void FreeCompletion(void* arg) {
  Completion* completion = static_cast<Completion*>(arg);
  Release(completion->call->search);
  delete completion->call;
  delete completion;
}

constexpr int kNoReport = INT_MIN;

// Marks the search reported and gives the result to report, or kNoReport
// when it was reported before; the search is locked.
int Finish(Search* search, int result) {
  if (search->reported) return kNoReport;
  search->reported = true;
  return result;
}

// Caches the first CRL of crls that passes every check: whether one did.
bool TakeGoodCrl(Search* search, const obGeneralName& dp, obCRLs& crls) {
  CrlSearchRequest& r = search->request;
  int isCA = r.cert ? CrlCertIsCA(*r.cert) : 0;
  for (int i = 0; i < crls.Size(); ++i) {
    obCRL* crl = crls.Get(i);
    if (!crl) continue;
    obValidationRC check = r.cert ? CrlCheckFor(*crl, *r.cert, isCA, r.issuer, &r.params)
                                  : CrlCheckForDp(*crl, dp, *r.issuer, &r.params);
    if (check == obValidationRC_CRLExpired || check == obValidationRC_CRLNotYetValid)
      CRLCACHE_TRACE("obFetchCRL_cb: crl not valid now");
    if (check != obValidationRC_OK) {
      CrlKeepReason(&r.reason, check);
      continue;
    }
    CRLCACHE_TRACE("%s: Good CRL, successful fetch.", search->me);
    CrlCacheForCert(dp, crl, r.cert, r.issuer, r.params);
    CRLCACHE_TRACE("%s: Put CRL in the FDB file.", search->me);
    CrlDB::Store(&dp, CrlDBSuffix(crl->Type()), crl, CrlDBExpiry(*crl, &r.params));
    return true;
  }
  CRLCACHE_TRACE("%s: No crl matched", search->me);
  return false;
}

void Judge(void* arg) {
  Completion* c = static_cast<Completion*>(arg);
  Search* search = c->call->search;
  const char* me = search->me;
  int report = kNoReport;
  {
    std::lock_guard<std::mutex> hold(search->mutex);
    --search->ongoing;
    bool fetched = c->status == 0 && c->crls;
    if (fetched && search->answered) {
      CRLCACHE_TRACE("%s: fetch was successful, but already have a good answer. Abandoning this fetch.", me);
    } else if (fetched) {
      CRLCACHE_TRACE("%s: first successful fetch. This fetch will be processed.", me);
      if (TakeGoodCrl(search, c->call->dp, *c->crls)) {
        search->answered = true;
        CrlCacheCounters& stats = CrlCacheStats();
        (search->request.prefetch ? stats.prefetchSuccessfulAsyncFetch : stats.successfulAsyncFetch)++;
        report = Finish(search, 1);
      } else if (search->ongoing == 0) {
        report = Finish(search, search->request.reason);
      }
    } else if (search->answered) {
      CRLCACHE_TRACE("%s: Fetch failed (error %d), but we already got a good answer. Abandoning this fetch.", me,
                     c->status);
    } else if (search->ongoing > 0) {
      CRLCACHE_TRACE("%s: Fetch failed (error %d), but we have %d more ongoing fetch(es). Abandoning this fetch.", me,
                     c->status, search->ongoing);
    } else {
      CRLCACHE_TRACE("%s: Fetch Failed (error %d), and this was the last fetch. This fetch will be processed.", me,
                     c->status);
      report = Finish(search, search->request.reason);
    }
  }
  // Reported unlocked: the report may start new searches or end a validation
  // that holds locks of its own.
  if (report != kNoReport && search->request.finished) search->request.finished(report, search->id);
  FreeCompletion(c);
}

// The completion callback handed to fetchers.
int OnFetched(obCRLs* crls, void* context, int status) {
  FetchCall* call = static_cast<FetchCall*>(context);
  Completion* completion = new Completion{call, crls ? std::make_unique<obCRLs>(*crls) : nullptr, status};
  if (T_event_sched_e(call->search->request.env, Judge, completion, 0, FreeCompletion) != 0)
    FreeCompletion(completion);
  return 0;
}

// Starts every fetcher that takes dp's kind: how many started.
int StartFetches(Search* search, const std::vector<Fetcher>& fetchers, const obGeneralName& dp) {
  int started = 0;
  bool tried = false;  // a fetcher took the kind, whether it started or failed
  int flags = search->request.prefetch ? obCRLFetch_Prefetch : 0;
  for (const Fetcher& fetcher : fetchers) {
    if (!Fetches(fetcher, dp.GetType())) continue;
    FetchCall* call = new FetchCall{search, dp};
    search->refs.fetch_add(1, std::memory_order_relaxed);
    ++search->ongoing;
    obFetcher_stat rc = fetcher.fetch(fetcher.opaque, &call->dp, flags, OnFetched, call);
    tried = tried || rc != obFetcher_Unsupported;
    if (rc == obFetcher_Started) {
      ++started;
      continue;
    }
    --search->ongoing;
    Release(search);
    delete call;
  }
  if (!tried) CRLCACHE_TRACE("%s: can't fetch DP of type %d", search->me, static_cast<int>(dp.GetType()));
  return started;
}

}  // namespace

bool CrlHaveFetchers() {
  std::lock_guard<std::mutex> hold(g_fetchersMutex);
  return !g_fetchers.empty();
}

long CrlStartSearch(const std::vector<const obGeneralName*>& dps, CrlSearchRequest request, const char* me) {
  if (!request.env || (!request.cert && !request.issuer)) return 0;
  std::vector<Fetcher> fetchers = Fetchers();
  Search* search = new Search(std::move(request));
  search->me = me;
  long id = search->id;
  int started = 0;
  {
    std::lock_guard<std::mutex> hold(search->mutex);
    for (const obGeneralName* dp : dps) started += StartFetches(search, fetchers, *dp);
    if (started > 0) {
      CrlCacheCounters& stats = CrlCacheStats();
      (search->request.prefetch ? stats.prefetchAsyncSearches : stats.asyncSearches)++;
    }
  }
  Release(search);
  return started > 0 ? id : 0;
}

extern "C" {

int obCRLCache_add_fetcher(obCRLFetcher fetch, void* opaque, unsigned int kinds) {
  if (!fetch) return -1;
  std::lock_guard<std::mutex> hold(g_fetchersMutex);
  if (g_fetchers.size() >= kMaxFetchers) {
    CRLCACHE_TRACE("obCRLCache_add_fetcher:Internal error: exceeded maximum size of fetchers.");
    return -1;
  }
  g_fetchers.push_back({fetch, opaque, kinds});
  // Completions hand CRLs over from fetcher threads: reference counts must
  // be locked from now on (a failure to make the lock is reported there).
  obPKobj::UseMutex();
  return 0;
}

void obCRLCache_free_fetchers() {
  std::lock_guard<std::mutex> hold(g_fetchersMutex);
  g_fetchers.clear();
  g_fetchers.shrink_to_fit();
}

}  // extern "C"
