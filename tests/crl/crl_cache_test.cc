// The CRL cache: settings and their floors, the validity test at its
// boundaries, the fetcher table, pushing and looking up through memory and
// the database, the reasons a look-up gives, asynchronous fetches and
// prefetching, and many threads at once.
#include <gtest/gtest.h>

#include <dirent.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache.h"
#include "nycert/crl/crl_db.h"
#include "nycert/crl/file_db.h"
#include "nycert/keys/pkobj.h"
#include "nycert/names/general_name.h"
#include "nycert/platform/g_env.h"
#include "nycert/platform/obclock.h"
#include "support/cert_pki.h"
#include "support/crl_cache_sandbox.h"
#include "support/test_support.h"

namespace {

using CertPtr = SignedPtr<obCert>;
using CrlPtr = SignedPtr<obCRL>;

const char kDp[] = "http://127.0.0.1/ca.crl";

obGeneralName Uri(const std::string& text) {
  return obGeneralName(obGN_uniformResourceIdentifier, text.c_str(), static_cast<int>(text.size()));
}

// A CRL of the shared PKI valid from `from` to `to` (0: no nextUpdate),
// carrying an issuing distribution point for dp when dp is not empty.
CrlPtr Crl(long from, long to, const std::string& dp = "", std::vector<CrlExtensionValue> more = {}) {
  CrlOptions options;
  options.thisUpdate = from;
  options.nextUpdate = to;
  options.extensions = std::move(more);
  if (!dp.empty()) options.extensions.push_back(IssuingDpFor(dp));
  return Decoded<obCRL>(MakeCrl(SharedPki(), {}, options));
}

CrlPtr FreshCrl(const std::string& dp = kDp) { return Crl(kSandboxNow - 3600, kSandboxNow + 86400, dp); }

// The certificates of one test: with the distribution point, without any,
// and their issuer.
struct Certs {
  CertPtr withDp = CertForDp("with-dp", kDp);
  CertPtr noDp = CertForDp("no-dp", "");
  CertPtr ca = CaCert();
};
const Certs& TestCerts() {
  static Certs certs;
  return certs;
}

struct LookupResult {
  obFetch_stat stat;
  obValidationRC reason;
  CrlPtr crl;
};

LookupResult Lookup(obCert* cert, int useCache = 1, const ValidateParams* params = nullptr,
                    obFetchCRL_report report = nullptr, void* arg = nullptr, long* searchId = nullptr) {
  obCRL* crl = nullptr;
  obValidationRC reason = obValidationRC_OK;
  long id = 0;
  obFetch_stat stat = obFetchCRL_e_With_Reason(g_env_get(), &crl, searchId ? searchId : &id, cert, useCache,
                                               TestCerts().ca.get(), nullptr, params, report, arg, &reason);
  return {stat, reason, CrlPtr(crl)};
}

// A fetcher that answers with CRLs given as DER, at once or from a thread
// of its own after a delay, and counts its calls. Its threads log: a test
// that captures diagnostics declares the capture before its fetchers.
class TestFetcher {
 public:
  explicit TestFetcher(std::vector<Bytes> crls, int status = 0, int delayMs = -1)
      : crls_(std::move(crls)), status_(status), delayMs_(delayMs) {}
  ~TestFetcher() {
    for (std::thread& t : threads_) t.join();
  }

  void Register(unsigned kinds = 0) { ASSERT_EQ(obCRLCache_add_fetcher(Fetch, this, kinds), 0); }
  int Calls() const { return calls_.load(); }
  int LastFlags() const { return lastFlags_.load(); }

 private:
  static obFetcher_stat Fetch(void* opaque, obGeneralName*, int flags, obCRLFetchDone done, void* context) {
    TestFetcher* self = static_cast<TestFetcher*>(opaque);
    self->calls_++;
    self->lastFlags_ = flags;
    if (self->delayMs_ < 0) {
      self->Complete(done, context);
    } else {
      std::lock_guard<std::mutex> hold(self->mutex_);
      self->threads_.emplace_back([self, done, context] {
        std::this_thread::sleep_for(std::chrono::milliseconds(self->delayMs_));
        self->Complete(done, context);
      });
    }
    return obFetcher_Started;
  }

  void Complete(obCRLFetchDone done, void* context) const {
    if (status_ != 0) {
      done(nullptr, context, status_);
      return;
    }
    obCRLs list;
    for (const Bytes& der : crls_) list.Add(new obCRL(der.data(), static_cast<unsigned>(der.size())));
    done(&list, context, 0);
  }

  std::vector<Bytes> crls_;
  int status_;
  int delayMs_;
  std::atomic<int> calls_{0};
  std::atomic<int> lastFlags_{-1};
  std::mutex mutex_;
  std::vector<std::thread> threads_;
};

// The paths of the regular files in dir.
std::vector<std::string> FilesIn(const std::string& dir) {
  std::vector<std::string> files;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* e = readdir(d)) {
      if (e->d_type == DT_REG) files.push_back(dir + "/" + e->d_name);
    }
    closedir(d);
  }
  return files;
}

Bytes DerOf(const obCRL& crl) { return Bytes(crl.GetBuf(), crl.GetBuf() + crl.BufLen()); }

// What a report callback saw.
struct Report {
  std::atomic<int> calls{0};
  std::atomic<int> result{0};
  std::atomic<long> id{0};
  static void Take(int result, obCert*, long id, void* arg) {
    Report* r = static_cast<Report*>(arg);
    r->result = result;
    r->id = id;
    r->calls++;
  }
};

// --- Settings ---------------------------------------------------------------

TEST(CrlCacheSettings, TimeoutHasAFloorOfSixtySecondsAndGovernsEntryLife) {
  CrlCacheSandbox sandbox;
  DiagCapture diag;
  obCRLCache_SetTimeout(10);
  EXPECT_TRUE(diag.Saw("obCRLCache_SetTimeout: 60"));
  CrlPtr crl = Crl(kSandboxNow - 3600, kSandboxNow + 86400);
  ASSERT_EQ(obCRLCache_Push(crl.get(), ValidateParams(), obCRLCacheDest_Memory), 0);
  ob_time_set_fixed(kSandboxNow + 59);
  EXPECT_EQ(Lookup(TestCerts().noDp.get(), 0).stat, obFetch_Found);
  ob_time_set_fixed(kSandboxNow + 60);
  EXPECT_EQ(Lookup(TestCerts().noDp.get(), 0).stat, obFetch_NoCRL) << "the entry outlived the 60-second floor";
}

TEST(CrlCacheSettings, DefaultsAndTheirLogLines) {
  CrlCacheSandbox sandbox;
  EXPECT_EQ(obCRLCache_GetDefaultGracePeriod(), 600);
  unsigned uses = 0, idle = 0;
  obCRLCache_GetDefaultCRLUse(&uses, &idle);
  EXPECT_EQ(uses, 1u);
  EXPECT_EQ(idle, 24u);
  DiagCapture diag;
  obCRLCache_SetGracePeriod(30, 40);
  EXPECT_TRUE(diag.Saw("obCRLCache_SetGracePeriod: start = 30, end = 40"));
  EXPECT_EQ(obCRLCache_set_ndbpath("/tmp"), -1);
  EXPECT_TRUE(diag.Saw("obCRLCache_set_ndbpath: Don't use this function use obCRLCache_set_dbpath istead"));
  EXPECT_EQ(crl_ndb_cache_garbage_collector(), -1);
  EXPECT_TRUE(diag.Saw("crl_ndb_cache_garbage_collector: Don't use this function use crl_db_garbage_collector instead"));
}

// --- The validity test ------------------------------------------------------

TEST(CrlValidity, EndGraceBoundaries) {
  CrlCacheSandbox sandbox;
  CrlPtr crl = Crl(kSandboxNow - 86400, kSandboxNow);
  ob_time_set_fixed(kSandboxNow + 599);
  EXPECT_EQ(obCRL_CRLisValid(crl.get(), nullptr), 0);
  ob_time_set_fixed(kSandboxNow + 600);
  EXPECT_EQ(obCRL_CRLisValid(crl.get(), nullptr), 0);
  ob_time_set_fixed(kSandboxNow + 601);
  EXPECT_EQ(obCRL_CRLisValid(crl.get(), nullptr), 1);
  // The parameters' own grace wins over the global one; -1 means the global.
  ValidateParams tight(1, 0, -1, -1, -1, 0, 1, 1);
  ob_time_set_fixed(kSandboxNow + 1);
  EXPECT_EQ(obCRL_CRLisValid(crl.get(), &tight), 1);
  obCRLCache_SetGracePeriod(600, 2000);
  ob_time_set_fixed(kSandboxNow + 1999);
  EXPECT_EQ(obCRL_CRLisValid(crl.get(), nullptr), 0);
  // Not checking nextUpdate accepts any age.
  ValidateParams noNext(1, 0, -1, -1, -1, -1, 1, 0);
  ob_time_set_fixed(kSandboxNow + 10 * 86400);
  EXPECT_EQ(obCRL_CRLisValid(crl.get(), &noNext), 0);
}

TEST(CrlValidity, StartGraceBoundariesAndTheirLogLines) {
  CrlCacheSandbox sandbox;
  CrlPtr crl = Crl(kSandboxNow + 600, kSandboxNow + 86400);
  DiagCapture diag;
  EXPECT_EQ(obCRL_CRLisValid(crl.get(), nullptr), 0);
  EXPECT_TRUE(diag.Saw("obCRL_CRLisValid: CRL valid due to grace start period"));
  EXPECT_TRUE(diag.Saw("crl start grace period=600   crl end grace period=600"));
  ob_time_set_fixed(kSandboxNow - 1);
  diag.Clear();
  EXPECT_EQ(obCRL_CRLisValid(crl.get(), nullptr), -1);
  EXPECT_TRUE(diag.Saw("obCRL_CRLisValid: CRL is not yet valid"));
  ValidateParams noThis(1, 0, -1, -1, -1, -1, 0, 1);
  diag.Clear();
  EXPECT_EQ(obCRL_CRLisValid(crl.get(), &noThis), 0);
  EXPECT_TRUE(diag.Saw("obCRL_CRLisValid: NOT checking thisUpdate"));
}

TEST(CrlValidity, NoNextUpdateNeverExpires) {
  CrlCacheSandbox sandbox;
  CrlPtr crl = Crl(kSandboxNow - 3600, 0);
  ASSERT_TRUE(crl->OK()) << crl->Error().getstr();
  ASSERT_EQ(crl->nextUpdate(), 0);
  ob_time_set_fixed(kSandboxNow + 100L * 365 * 86400);
  EXPECT_EQ(obCRL_CRLisValid(crl.get(), nullptr), 0);
}

// --- The fetcher table ------------------------------------------------------

TEST(CrlCacheFetchers, TheEleventhIsRefusedAndFetchersRunInOrder) {
  CrlCacheSandbox sandbox;
  DiagCapture diag;
  std::vector<std::unique_ptr<TestFetcher>> fetchers;
  for (int i = 0; i < 11; ++i) fetchers.push_back(std::make_unique<TestFetcher>(std::vector<Bytes>{}, -5));
  for (int i = 0; i < 10; ++i) fetchers[i]->Register();
  EXPECT_EQ(obCRLCache_add_fetcher(nullptr, nullptr, 0), -1);
  EXPECT_NE(obCRLCache_add_fetcher(
                [](void*, obGeneralName*, int, obCRLFetchDone, void*) { return obFetcher_Failed; }, nullptr, 0),
            0);
  EXPECT_TRUE(diag.Saw("obCRLCache_add_fetcher:Internal error: exceeded maximum size of fetchers."));
  Report report;
  EXPECT_EQ(Lookup(TestCerts().withDp.get(), 1, nullptr, Report::Take, &report).stat, obFetch_Pending);
  ASSERT_TRUE(sandbox.RunUntil([&] { return report.calls > 0; }, 5000));
  for (int i = 0; i < 10; ++i) EXPECT_EQ(fetchers[i]->Calls(), 1) << i;
  EXPECT_EQ(report.result, obValidationRC_CRLNotRetrieved);
  EXPECT_TRUE(diag.Saw("Fetch failed (error -5), but we have 9 more ongoing fetch(es). Abandoning this fetch."));
  EXPECT_TRUE(diag.Saw("Fetch Failed (error -5), and this was the last fetch. This fetch will be processed."));
  obCRLCache_free_fetchers();
  EXPECT_EQ(Lookup(TestCerts().withDp.get()).stat, obFetch_NoCRL);
}

TEST(CrlCacheFetchers, KindsSelectWhichDistributionPointsAFetcherTakes) {
  CrlCacheSandbox sandbox;
  DiagCapture diag;
  TestFetcher dnOnly({});
  dnOnly.Register(1u << obGN_directoryName);
  LookupResult r = Lookup(TestCerts().withDp.get());
  EXPECT_EQ(r.stat, obFetch_NoCRL);
  EXPECT_EQ(r.reason, obValidationRC_CRLNotRetrieved);
  EXPECT_EQ(dnOnly.Calls(), 0);
  EXPECT_TRUE(diag.Saw("can't fetch DP of type 6"));
}

// --- Push and look-up ---------------------------------------------------------

TEST(CrlCacheLookup, PushedCrlsAreFiledUnderTheirDistributionPointOrIssuer) {
  CrlCacheSandbox sandbox;
  CrlPtr byIssuer = FreshCrl("");
  CrlPtr byDp = FreshCrl(kDp);
  ASSERT_EQ(obCRLCache_Push(byIssuer.get(), ValidateParams(), obCRLCacheDest_Memory), 0);
  // A certificate without distribution points finds the CRL under its issuer's DN...
  LookupResult r = Lookup(TestCerts().noDp.get());
  ASSERT_EQ(r.stat, obFetch_Found);
  EXPECT_EQ(r.crl.get(), byIssuer.get());
  // ...one with a distribution point only under that point.
  EXPECT_EQ(Lookup(TestCerts().withDp.get()).stat, obFetch_NoCRL);
  obCRLs list;
  obSaveSigned(byDp.get());
  list.Add(byDp.get());
  ASSERT_EQ(obCert_PushCRLs(list, ValidateParams(), obCRLCacheDest_Memory), 0);
  r = Lookup(TestCerts().withDp.get());
  ASSERT_EQ(r.stat, obFetch_Found);
  EXPECT_EQ(r.crl.get(), byDp.get());
  EXPECT_GE(byDp->GetUsed(), 1);
  // A CRL whose issuing distribution point names another place is not used.
  EXPECT_EQ(obCRLCache_Push(FreshCrl("http://elsewhere/x.crl").get(), ValidateParams(), 1), 0);
  obGeneralName dp = Uri(kDp);
  obCRLCache_DelFromCaches(&dp);
  EXPECT_EQ(Lookup(TestCerts().withDp.get()).stat, obFetch_NoCRL);
  EXPECT_EQ(obCRLCache_Push(nullptr, ValidateParams(), 1), -1);
}

TEST(CrlCacheLookup, InMultiThreadModeEachThreadHasItsOwnCaches) {
  CrlCacheSandbox sandbox;
  obCRLCache_SetMultiThread(1);
  CrlPtr crl = FreshCrl("");
  ASSERT_EQ(obCRLCache_Push(crl.get(), ValidateParams(), obCRLCacheDest_Memory), 0);
  obFetch_stat elsewhere = obFetch_Found;
  std::thread([&] { elsewhere = Lookup(TestCerts().noDp.get(), 0).stat; }).join();
  EXPECT_EQ(elsewhere, obFetch_NoCRL);
  EXPECT_EQ(Lookup(TestCerts().noDp.get(), 0).stat, obFetch_Found);
  // A flush reaches every thread's caches.
  obCRLCache_Flush();
  EXPECT_EQ(Lookup(TestCerts().noDp.get(), 0).stat, obFetch_NoCRL);
}

TEST(CrlCacheLookup, ReasonsForCrlsThatCannotServe) {
  CrlCacheSandbox sandbox;
  obCert* cert = TestCerts().noDp.get();
  EXPECT_EQ(Lookup(cert).reason, obValidationRC_CRLNotRetrieved);

  obCRLCache_Push(Crl(kSandboxNow - 86400, kSandboxNow - 601).get(), ValidateParams(), 1);
  EXPECT_EQ(Lookup(cert).reason, obValidationRC_CRLExpired);
  obCRLCache_Push(Crl(kSandboxNow - 86400, kSandboxNow - 599).get(), ValidateParams(), 1);
  EXPECT_EQ(Lookup(cert).stat, obFetch_Found) << "599 seconds past nextUpdate is within the end grace";

  obCRLCache_Push(Crl(kSandboxNow + 601, kSandboxNow + 86400).get(), ValidateParams(), 1);
  EXPECT_EQ(Lookup(cert).reason, obValidationRC_CRLNotYetValid);

  Bytes tampered = MakeCrl(SharedPki(), {});
  tampered[tampered.size() - 1] ^= 1;
  obCRLCache_Push(Decoded<obCRL>(tampered).get(), ValidateParams(), 1);
  DiagCapture diag;
  EXPECT_EQ(Lookup(cert).reason, obValidationRC_NoValidCRL);
  EXPECT_TRUE(diag.Saw("obCRL_good_for_cert: signature verification failed: -1"));

  CrlPtr critical = Crl(kSandboxNow - 3600, kSandboxNow + 86400, "", {{"1.2.3.4", true, Hex("05 00")}});
  ASSERT_TRUE(critical->OK());
  obCRLCache_Push(critical.get(), ValidateParams(), 1);
  diag.Clear();
  EXPECT_EQ(Lookup(cert).reason, obValidationRC_NoValidCRL);
  EXPECT_TRUE(diag.Saw("CRL contain unhandled extension"));

  // Without the issuer's certificate nothing can be verified.
  obCRLCache_Push(FreshCrl("").get(), ValidateParams(), 1);
  obCRL* crl = nullptr;
  obValidationRC reason = obValidationRC_OK;
  EXPECT_EQ(obFetchCRL_e_With_Reason(g_env_get(), &crl, nullptr, cert, 1, nullptr, nullptr, nullptr, nullptr,
                                     nullptr, &reason),
            obFetch_NoCRL);
  EXPECT_EQ(reason, obValidationRC_NoValidCRL);
  EXPECT_EQ(obFetchCRL_e_With_Reason(g_env_get(), nullptr, nullptr, cert, 1, nullptr, nullptr, nullptr, nullptr,
                                     nullptr, &reason),
            obFetch_NoCRL);
  EXPECT_EQ(reason, obValidationRC_BadInput);
}

TEST(CrlCacheLookup, SignatureCheckIsRememberedPerIssuerKey) {
  CrlCacheSandbox sandbox;
  CrlPtr crl = FreshCrl("");
  EXPECT_EQ(crl->VerifyWith(*TestCerts().ca), obVfy_OK);
  // An issuer with another key (an EC one) fails,
  // and asking again with the right key is answered anew.
  CertRequest ec;
  ec.subject = "/CN=ec issuer";
  ec.keyBits = 0;
  CertPtr other = Decoded<obCert>(SharedPki().Issue("ec-issuer", ec));
  EXPECT_NE(crl->VerifyWith(*other), obVfy_OK);
  EXPECT_EQ(crl->VerifyWith(*TestCerts().ca), obVfy_OK);
}

TEST(CrlCacheLookup, DatabaseBacksTheMemoryCache) {
  CrlCacheSandbox sandbox;
  CrlPtr crl = FreshCrl(kDp);
  ASSERT_EQ(obCRLCache_Push(crl.get(), ValidateParams(), obCRLCacheDest_Memory | obCRLCacheDest_Database), 0);
  obCRLCache_Flush();
  // useCache 0 keeps to memory, which the flush emptied.
  EXPECT_EQ(Lookup(TestCerts().withDp.get(), 0).stat, obFetch_NoCRL);
  DiagCapture diag;
  LookupResult r = Lookup(TestCerts().withDp.get());
  ASSERT_EQ(r.stat, obFetch_Found);
  EXPECT_EQ(DerOf(*r.crl), DerOf(*crl));
  EXPECT_TRUE(diag.Saw("Found the CRL in the FDB"));
  EXPECT_TRUE(diag.Saw("Bad URI, cannot find crl number in URI. URI: http://127.0.0.1/ca.crl"));
  // Now in memory again.
  EXPECT_EQ(Lookup(TestCerts().withDp.get(), 0).stat, obFetch_Found);

  obCRLCacheStats stats;
  obCRLCache_GetStats(&stats);
  EXPECT_EQ(stats.searches, 3);
  EXPECT_EQ(stats.misses, 1);
  diag.Clear();
  obCRLCache_Flush();
  EXPECT_TRUE(diag.Saw("crlcache searches: 3"));
  obCRLCache_GetStats(&stats);
  EXPECT_EQ(stats.searches, 0);
}

TEST(CrlCacheLookup, CorruptDatabaseRecordCountsAsMissingAndIsFetchedAgain) {
  CrlCacheSandbox sandbox;
  CrlPtr crl = FreshCrl(kDp);
  obGeneralName dp = Uri(kDp);
  ASSERT_EQ(CrlDB::Store(&dp, "", crl.get(), kSandboxNow + 86400), 0);
  // Cut the record short: the CRL's DER no longer ends where it says.
  std::vector<std::string> files = FilesIn(CrlDB::Directory());
  ASSERT_EQ(files.size(), 1u);
  std::string file = files[0];
  Bytes record = ReadBytes(file);
  ASSERT_GT(record.size(), 100u);
  record.resize(record.size() - 40);
  WriteBytes(file, record);
  EXPECT_EQ(Lookup(TestCerts().withDp.get(), 1).reason, obValidationRC_CRLNotRetrieved);

  TestFetcher fetcher({DerOf(*crl)}, 0, 5);
  fetcher.Register();
  Report report;
  ASSERT_EQ(Lookup(TestCerts().withDp.get(), 1, nullptr, Report::Take, &report).stat, obFetch_Pending);
  ASSERT_TRUE(sandbox.RunUntil([&] { return report.calls > 0; }, 5000));
  EXPECT_EQ(report.result, 1);
  obCRLCache_Flush();
  CrlPtr stored(CrlDB::Get(&dp, ""));
  ASSERT_TRUE(stored) << "the good CRL replaced the corrupt record";
  EXPECT_EQ(DerOf(*stored), DerOf(*crl));
}

// --- Asynchronous fetches ---------------------------------------------------

TEST(CrlCacheFetch, CompletionFromAnotherThreadIsJudgedAndReportedOnTheEnvironment) {
  CrlCacheSandbox sandbox;
  DiagCapture diag;
  CrlPtr stale = Crl(kSandboxNow - 86400, kSandboxNow - 3600, kDp);
  CrlPtr good = FreshCrl(kDp);
  // The first CRL handed back that passes is used: the stale one is skipped.
  TestFetcher fetcher({DerOf(*stale), DerOf(*good)}, 0, 20);
  fetcher.Register(1u << obGN_uniformResourceIdentifier);
  Report report;
  long id = 0;
  LookupResult r = Lookup(TestCerts().withDp.get(), 1, nullptr, Report::Take, &report, &id);
  ASSERT_EQ(r.stat, obFetch_Pending);
  EXPECT_EQ(r.reason, obValidationRC_Async);
  EXPECT_GT(id, 0);
  EXPECT_EQ(fetcher.LastFlags(), 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(60));
  EXPECT_EQ(report.calls, 0) << "reported before the environment ran";
  ASSERT_TRUE(sandbox.RunUntil([&] { return report.calls > 0; }, 5000));
  EXPECT_EQ(report.result, 1);
  EXPECT_EQ(report.id, id);
  EXPECT_TRUE(diag.Saw("first successful fetch. This fetch will be processed."));
  EXPECT_TRUE(diag.Saw("obFetchCRL_cb: crl not valid now"));
  EXPECT_TRUE(diag.Saw("Good CRL, successful fetch."));
  r = Lookup(TestCerts().withDp.get(), 0);
  ASSERT_EQ(r.stat, obFetch_Found);
  EXPECT_EQ(DerOf(*r.crl), DerOf(*good));
  obGeneralName dp = Uri(kDp);
  CrlPtr stored(CrlDB::Get(&dp, ""));
  ASSERT_TRUE(stored);
  EXPECT_EQ(DerOf(*stored), DerOf(*good));
  obCRLCacheStats stats;
  obCRLCache_GetStats(&stats);
  EXPECT_EQ(stats.asyncSearches, 1);
  EXPECT_EQ(stats.successfulAsyncFetch, 1);
}

TEST(CrlCacheFetch, FailuresGiveTheMostTellingReasonAndStoreNothing) {
  CrlCacheSandbox sandbox;
  DiagCapture diag;
  CrlPtr expired = Crl(kSandboxNow - 86400, kSandboxNow - 3600, kDp);
  TestFetcher fetcher({DerOf(*expired)}, 0, 1);
  fetcher.Register();
  TestFetcher failing({}, -7, 30);
  failing.Register();
  Report report;
  ASSERT_EQ(Lookup(TestCerts().withDp.get(), 1, nullptr, Report::Take, &report).stat, obFetch_Pending);
  ASSERT_TRUE(sandbox.RunUntil([&] { return report.calls > 0; }, 5000));
  EXPECT_EQ(report.result, obValidationRC_CRLExpired);
  EXPECT_TRUE(diag.Saw("No crl matched"));
  obGeneralName dp = Uri(kDp);
  EXPECT_FALSE(CrlPtr(CrlDB::Get(&dp, "")));
  EXPECT_EQ(Lookup(TestCerts().withDp.get(), 0, nullptr, nullptr).stat, obFetch_Pending);
}

TEST(CrlCacheFetch, AGoodAnswerEndsTheSearchAndLaterOnesAreAbandoned) {
  CrlCacheSandbox sandbox;
  DiagCapture diag;
  CrlPtr good = FreshCrl(kDp);
  TestFetcher fast({DerOf(*good)}, 0, 1);
  TestFetcher slowGood({DerOf(*good)}, 0, 40);
  TestFetcher slowBad({}, -3, 80);
  fast.Register();
  slowGood.Register();
  slowBad.Register();
  Report report;
  ASSERT_EQ(Lookup(TestCerts().withDp.get(), 1, nullptr, Report::Take, &report).stat, obFetch_Pending);
  ASSERT_TRUE(sandbox.RunUntil([&] { return diag.Saw("but we already got a good answer"); }, 5000));
  EXPECT_EQ(report.calls, 1);
  EXPECT_EQ(report.result, 1);
  EXPECT_TRUE(diag.Saw("fetch was successful, but already have a good answer. Abandoning this fetch."));
}

TEST(CrlCacheFetch, FetchersRunOnlyOnTheLibrarysEnvironment) {
  CrlCacheSandbox sandbox;
  DiagCapture diag;
  TestFetcher fetcher({});
  fetcher.Register();
  obd_env* other = obd_env_create();
  obCRL* crl = nullptr;
  obValidationRC reason = obValidationRC_OK;
  EXPECT_EQ(obFetchCRL_e_With_Reason(other, &crl, nullptr, TestCerts().withDp.get(), 1, TestCerts().ca.get(),
                                     nullptr, nullptr, nullptr, nullptr, &reason),
            obFetch_NoCRL);
  EXPECT_TRUE(diag.Saw("OBD_ENV is not g_env, can't use fetchers"));
  EXPECT_EQ(fetcher.Calls(), 0);
  obd_env_destroy(other);
  // obFetchCRL itself uses the library's environment.
  EXPECT_EQ(obFetchCRL(&crl, nullptr, TestCerts().withDp.get(), 1, TestCerts().ca.get(), nullptr, nullptr, nullptr,
                       nullptr),
            obFetch_Pending);
  ASSERT_TRUE(sandbox.RunUntil([&] { return diag.Saw("No crl matched"); }, 5000));
}

TEST(CrlCacheFetch, CompletionsAfterTheEnvironmentIsGoneAreDropped) {
  TestFetcher fetcher({}, 0, 50);
  {
    CrlCacheSandbox sandbox;
    fetcher.Register();
    Report report;
    ASSERT_EQ(Lookup(TestCerts().withDp.get(), 1, nullptr, Report::Take, &report).stat, obFetch_Pending);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(report.calls, 0);
  }
  // The sandbox destroyed the environment with the completion queued: its
  // drop handler freed the search (the leak checker of the sanitizer build
  // watches this).
}

// --- Prefetching --------------------------------------------------------------

TEST(CrlCachePrefetch, AUsedCrlIsFetchedAgainBeforeItExpires) {
  CrlCacheSandbox sandbox;
  DiagCapture diag;
  // nextUpdate 301 seconds away: the timer is due in one second.
  CrlPtr soon = Crl(kSandboxNow - 3600, kSandboxNow + 301, kDp);
  CrlPtr later = FreshCrl(kDp);
  TestFetcher first({DerOf(*soon)}, 0, 1);
  first.Register();
  Report report;
  ASSERT_EQ(Lookup(TestCerts().withDp.get(), 1, nullptr, Report::Take, &report).stat, obFetch_Pending);
  ASSERT_TRUE(sandbox.RunUntil([&] { return report.calls > 0; }, 5000));
  EXPECT_TRUE(diag.Saw("obPreFetchCRL: will prefetch 1 CRLs"));
  ASSERT_EQ(Lookup(TestCerts().withDp.get(), 0).stat, obFetch_Found);  // a use
  obCRLCache_free_fetchers();
  TestFetcher second({DerOf(*later)}, 0, 1);
  second.Register();
  ASSERT_TRUE(sandbox.RunUntil([&] { return diag.Saw("successfully prefetched crl."); }, 5000));
  EXPECT_TRUE(diag.Saw("obPreFetchCRL: Entering for dp: http://127.0.0.1/ca.crl"));
  EXPECT_EQ(second.LastFlags(), obCRLFetch_Prefetch);
  LookupResult r = Lookup(TestCerts().withDp.get(), 0);
  ASSERT_EQ(r.stat, obFetch_Found);
  EXPECT_EQ(DerOf(*r.crl), DerOf(*later));
  obCRLCacheStats stats;
  obCRLCache_GetStats(&stats);
  EXPECT_EQ(stats.prefetchAsyncSearches, 1);
  EXPECT_EQ(stats.prefetchSuccessfulAsyncFetch, 1);
}

TEST(CrlCachePrefetch, UnusedCrlIsLeftToExpireAndFailuresAreRetried) {
  CrlCacheSandbox sandbox;
  DiagCapture diag;
  CrlPtr soon = Crl(kSandboxNow - 3600, kSandboxNow + 301, kDp);
  TestFetcher first({DerOf(*soon)}, 0, 1);
  first.Register();
  Report report;
  ASSERT_EQ(Lookup(TestCerts().withDp.get(), 1, nullptr, Report::Take, &report).stat, obFetch_Pending);
  ASSERT_TRUE(sandbox.RunUntil([&] { return report.calls > 0; }, 5000));
  // Never used: at the timer the next check would come too late.
  ob_time_set_fixed(kSandboxNow + 2);
  ASSERT_TRUE(sandbox.RunUntil([&] { return diag.Saw("Will not prefetch the CRL."); }, 5000));
  EXPECT_EQ(first.Calls(), 1);

  // Used, but every prefetch fails: it is retried.
  ob_time_set_fixed(kSandboxNow);
  obCRLCache_Flush();
  ASSERT_EQ(Lookup(TestCerts().withDp.get(), 1, nullptr, Report::Take, &report).stat, obFetch_Found)
      << "the database kept the fetched CRL";
  obCRLCache_free_fetchers();
  TestFetcher failing({}, -2, 1);
  failing.Register();
  ASSERT_EQ(Lookup(TestCerts().withDp.get(), 0).stat, obFetch_Found);
  ASSERT_TRUE(sandbox.RunUntil([&] { return diag.Saw("Will try to prefetch again (1 time) in 60 seconds."); }, 5000));
  EXPECT_TRUE(diag.Saw("obPreFetchCRL: Failed to prefetch crl."));
}

// --- Many threads -------------------------------------------------------------

TEST(CrlCacheThreadStress, LookupsWhileCompletionsArriveAndTimersFire) {
  CrlCacheSandbox sandbox;
  obPKobj::UseMutex();
  CrlPtr soon = Crl(kSandboxNow - 3600, kSandboxNow + 301, kDp);
  TestFetcher fetcher({DerOf(*soon)}, 0, 1);
  fetcher.Register();
  obCRLCache_Push(FreshCrl("").get(), ValidateParams(), obCRLCacheDest_Memory);
  std::atomic<bool> stop{false};
  std::atomic<int> reports{0};
  std::thread loop([&] {
    while (!stop) obd_env_run_once(sandbox.env(), 5);
  });
  const obFetchCRL_report count = [](int, obCert*, long, void* arg) { ++*static_cast<std::atomic<int>*>(arg); };
  std::atomic<int> found{0}, pending{0};
  RunTogether(4, [&](int t) {
    for (int i = 0; i < 200; ++i) {
      obCert* cert = (i + t) % 2 ? TestCerts().withDp.get() : TestCerts().noDp.get();
      LookupResult r = Lookup(cert, 1, nullptr, count, &reports);
      if (r.stat == obFetch_Found) found++;
      if (r.stat == obFetch_Pending) pending++;
      if (i % 50 == 25 && t == 0) {
        obGeneralName dp = Uri(kDp);
        obCRLCache_DelFromCaches(&dp);
      }
    }
  });
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (reports < pending && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  // Let a prefetch timer fire, then flush while the loop runs.
  std::this_thread::sleep_for(std::chrono::milliseconds(1200));
  obCRLCache_Flush();
  stop = true;
  loop.join();
  EXPECT_EQ(reports.load(), pending.load());
  EXPECT_GE(found.load(), 400) << "the certificate without distribution points always finds the pushed CRL";
}

}  // namespace

namespace {

TEST(CrlDbThreadStress, PathChangesAndDestroyWhileOthersReadAndWrite) {
  CrlCacheSandbox sandbox;
  TempDir second;
  CrlPtr crl = FreshCrl(kDp);
  obGeneralName dp = Uri(kDp);
  std::atomic<int> got{0};
  RunTogether(4, [&](int t) {
    for (int i = 0; i < 150; ++i) {
      if (t == 0) {
        if (i % 3 == 2) {
          CrlDB::Destroy();
        } else {
          CrlDB::InitPath(i % 2 ? second.path().c_str() : sandbox.dir().path().c_str());
        }
        continue;
      }
      CrlDB::Store(&dp, "", crl.get(), kSandboxNow + 86400);
      if (CrlPtr read = CrlPtr(CrlDB::Get(&dp, ""))) {
        EXPECT_EQ(DerOf(*read), DerOf(*crl));
        got++;
      }
    }
  });
  EXPECT_GT(got.load(), 0);
}

}  // namespace
