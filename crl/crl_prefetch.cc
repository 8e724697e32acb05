// Prefetching: CRLs that certificates use are fetched again before they or
// their cache entries expire, so that validations keep finding them in
// memory.
//
// Each distribution point (and kind of CRL) with a cached CRL has a record
// holding what a fetch needs (the certificate and issuer that used it), a
// failure counter and whether a timer is pending. Timers run on the
// library's environment and hold a reference to their record; a record
// dropped meanwhile (by a flush) makes its timer do nothing.
#include <algorithm>
#include <map>
#include <memory>
#include <mutex>

#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache_internal.h"
#include "nycert/platform/g_env.h"
#include "nycert/platform/obclock.h"
#include "nycert/platform/obd_env.h"

namespace {

const char kMe[] = "obPreFetchCRL";
const int kMaxFailures = 10;
// Prefetching starts this long before the CRL or its cache entry expires.
const long kLeadSeconds = 300;
// The wait before a failed prefetch is tried again.
const long kRetrySeconds = 60;

struct Record {
  Record(const obGeneralName& d, obCRL_contents t, obCert* c, obCert* i, const ValidateParams& p)
      : dp(d), type(t), cert(c), issuer(i), params(p) {
    obSaveSigned(cert);
    obSaveSigned(issuer);
  }
  ~Record() {
    obFreeSigned(cert);
    obFreeSigned(issuer);
  }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;

  obGeneralName dp;
  obCRL_contents type;
  obCert* cert;
  obCert* issuer;
  ValidateParams params;
  int failures = 0;
  bool scheduled = false;
};
using RecordPtr = std::shared_ptr<Record>;

std::mutex g_mutex;  // guards g_records, the records' counters and marks, and the settings below
std::map<std::string, RecordPtr> g_records;
unsigned g_minUses = 0;
unsigned g_idle = 0;
bool g_settingsRead = false;

void ReadSettings() {
  g_minUses = CrlMinUses();
  g_idle = CrlIdleWindow();
  g_settingsRead = true;
}

std::string RecordKey(const obGeneralName& dp, obCRL_contents type) {
  const char* text = dp.GetStr();
  return std::string(text ? text : "") + '\0' + static_cast<char>('0' + type);
}

// Whether record is still the live record of its key; g_mutex is held.
bool IsLive(const RecordPtr& record) {
  auto it = g_records.find(RecordKey(record->dp, record->type));
  return it != g_records.end() && it->second == record;
}

void Drop(const RecordPtr& record) {
  if (IsLive(record)) g_records.erase(RecordKey(record->dp, record->type));
}

// Seconds until the next look at a CRL: before it or its cache entry expires.
long NextCheck(const obCRL& crl, long now) {
  long life = CrlCacheTimeout();
  if (crl.nextUpdate() > 0) life = std::min(life, crl.nextUpdate() - now);
  return life - kLeadSeconds;
}

void Fire(void* arg);
void DropTimer(void* arg) { delete static_cast<RecordPtr*>(arg); }

// Sets the record's timer; g_mutex is held.
void Schedule(const RecordPtr& record, long seconds) {
  record->scheduled = true;
  RecordPtr* held = new RecordPtr(record);
  if (T_event_sched_e(g_env_get(), Fire, held, seconds * 1000, DropTimer) != 0) {
    delete held;
    record->scheduled = false;
  }
}

// The outcome of a prefetch.
void Prefetched(const RecordPtr& record, int result) {
  std::lock_guard<std::mutex> hold(g_mutex);
  if (result == 1) {
    CRLCACHE_TRACE("%s: successfully prefetched crl.", kMe);
    record->failures = 0;
    return;
  }
  CRLCACHE_TRACE("%s: Failed to prefetch crl.", kMe);
  if (!IsLive(record) || record->scheduled) {
    CRLCACHE_TRACE("%s: dp already fetched (by another operation) Will not schedule it again.", kMe);
    return;
  }
  if (++record->failures > kMaxFailures) {
    CRLCACHE_TRACE("%s: prefetch failed %d times. Will stop trying.", kMe, record->failures);
    Drop(record);
    return;
  }
  CRLCACHE_TRACE("%s: Will try to prefetch again (%d time) in %d seconds.", kMe, record->failures,
                 static_cast<int>(kRetrySeconds));
  Schedule(record, kRetrySeconds);
}

void StartPrefetch(const RecordPtr& record) {
  CrlSearchRequest request;
  request.env = g_env_get();
  request.cert = record->cert;
  request.issuer = record->issuer;
  request.params = record->params;
  request.prefetch = true;
  request.finished = [record](int result, long) { Prefetched(record, result); };
  if (CrlStartSearch({&record->dp}, std::move(request), kMe) == 0) Prefetched(record, obValidationRC_CRLNotRetrieved);
}

// What a firing timer does with its record: fetch, wait again, or give up.
// g_mutex is held; true asks for a fetch.
bool Decide(const RecordPtr& record) {
  record->scheduled = false;
  obCRL* crl = CrlMemGet(record->dp, record->type);
  long now = ob_time_now();
  if (!crl) {
    if (record->failures > kMaxFailures) {
      CRLCACHE_TRACE("%s: The CRL is not in the cache. Did not succeed to retrieve this CRL %d times. Stop trying.",
                     kMe, record->failures);
      Drop(record);
      return false;
    }
    CRLCACHE_TRACE("%s: Will try to fetch CRL. %d/%d times.", kMe, record->failures, kMaxFailures);
    return true;
  }
  if (!g_settingsRead) ReadSettings();
  bool used = static_cast<unsigned>(crl->GetUsed()) >= g_minUses && now - crl->LastUsed() <= static_cast<long>(g_idle);
  long next = NextCheck(*crl, now);
  obFreeSigned(crl);
  if (used) return true;
  if (next > 0) {
    CRLCACHE_TRACE("%s: CRL was not used. Will check again when it (the CRL or the cache) will be expired (%d seconds).",
                   kMe, static_cast<int>(next));
    Schedule(record, next);
  } else {
    CRLCACHE_TRACE("%s: CRL was not used till the cache expiration. Will not prefetch the CRL.", kMe);
    Drop(record);
  }
  return false;
}

void Fire(void* arg) {
  std::unique_ptr<RecordPtr> held(static_cast<RecordPtr*>(arg));
  const RecordPtr& record = *held;
  bool fetch = false;
  {
    std::lock_guard<std::mutex> hold(g_mutex);
    if (!IsLive(record)) return;
    CRLCACHE_TRACE("\n\n%s: Entering for dp: %s", kMe, record->dp.GetStr());
    fetch = Decide(record);
  }
  if (fetch) StartPrefetch(record);
}

}  // namespace

void CrlCacheForCert(const obGeneralName& dp, obCRL* crl, obCert* cert, obCert* issuer,
                     const ValidateParams& params) {
  CrlMemPut(dp, crl);
  if (!CrlHaveFetchers() || !cert || !issuer) return;
  std::lock_guard<std::mutex> hold(g_mutex);
  std::string key = RecordKey(dp, crl->Type());
  RecordPtr& record = g_records[key];
  if (record && record->scheduled) {
    CRLCACHE_TRACE("%s: DP %s was already scheduled for prefetch.", kMe, dp.GetStr());
    return;
  }
  if (!record) record = std::make_shared<Record>(dp, crl->Type(), cert, issuer, params);
  long next = NextCheck(*crl, ob_time_now());
  if (next <= 0) {
    g_records.erase(key);
    return;
  }
  CRLCACHE_TRACE("%s: will prefetch %d CRLs", kMe, static_cast<int>(g_records.size()));
  Schedule(record, next);
}

void CrlPrefetchStopAll() {
  std::lock_guard<std::mutex> hold(g_mutex);
  g_records.clear();
}

extern "C" void obPreFetchCRLs_reconf() {
  std::lock_guard<std::mutex> hold(g_mutex);
  ReadSettings();
  CRLCACHE_TRACE("%s: uses = %u, idle = %u", "obPreFetchCRLs_reconf", g_minUses, g_idle);
}
