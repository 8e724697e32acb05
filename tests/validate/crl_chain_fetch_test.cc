// Gathering a chain's CRLs: from the cache, missing, waiting for fetchers,
// and the asynchronous form's delivery on the environment.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache.h"
#include "nycert/platform/obclock.h"
#include "nycert/validate/crl_chain_fetch.h"
#include "support/chain_files.h"
#include "support/crl_cache_sandbox.h"
#include "support/thread_fetcher.h"

namespace {

struct Gathered {
  std::atomic<bool> done{false};
  int rc = 1;
  int crls = -1;
  int index = -7;
  std::thread::id thread;

  static void Record(int rc, obCRLs* crls, int index, void* context) {
    Gathered* g = static_cast<Gathered*>(context);
    g->rc = rc;
    g->crls = crls ? crls->Count() : -1;
    g->index = index;
    g->thread = std::this_thread::get_id();
    g->done = true;
  }
};

class CrlChainFetch : public testing::Test {
 protected:
  void SetUp() override {
    ob_time_set_fixed(ChainSuiteTime());
    LoadPemCerts(ChainCaseDir("crl_valid_three_level") + "/chain.pem", chain_);
    LoadPemCrls(ChainCaseDir("crl_valid_three_level") + "/crls.pem", crls_);
  }

  CrlCacheSandbox sandbox_;
  obCerts chain_;
  obCRLs crls_;
};

TEST_F(CrlChainFetch, CachedCrlsAreGatheredFromTheTopDown) {
  ASSERT_EQ(0, obCert_PushCRLs(crls_, ValidateParams(), obCRLCacheDest_Memory));
  obCRLs out;
  int index = 5;
  EXPECT_EQ(0, obFetchCRLChain(nullptr, chain_, out, 0, index, ValidateParams()));
  EXPECT_EQ(-1, index);
  ASSERT_EQ(2, out.Count());
  EXPECT_TRUE(*out.Get(0)->Issuer() == *chain_.Get(2)->Subject());
  EXPECT_TRUE(*out.Get(1)->Issuer() == *chain_.Get(1)->Subject());
}

TEST_F(CrlChainFetch, MissingCrlNamesTheCertificate) {
  obCRLs out;
  int index = 5;
  EXPECT_EQ(-986, obFetchCRLChain_no_grace(nullptr, chain_, out, 1, index));
  EXPECT_EQ(1, index);
}

TEST_F(CrlChainFetch, StartedFetchesAnswerAsyncUntilTheyAreDone) {
  ThreadFetcher fetcher(crls_);
  obCRLs out;
  int index = 5;
  EXPECT_EQ(-1, obFetchCRLChain(nullptr, chain_, out, 1, index, ValidateParams()));
  EXPECT_EQ(1, index);
  EXPECT_TRUE(sandbox_.RunUntil(
      [&] {
        obCRLs again;
        return obFetchCRLChain(nullptr, chain_, again, 1, index, ValidateParams()) == 0;
      },
      5000));
}

TEST_F(CrlChainFetch, AsyncFormDeliversOnTheEnvironmentAfterTheFetches) {
  ThreadFetcher fetcher(crls_);
  Gathered gathered;
  EXPECT_EQ(-1, obFetchCRLChainA(nullptr, chain_, 1, ValidateParams(), Gathered::Record, &gathered, 10));
  EXPECT_FALSE(gathered.done);
  ASSERT_TRUE(sandbox_.RunUntil([&] { return gathered.done.load(); }, 5000));
  EXPECT_EQ(0, gathered.rc);
  EXPECT_EQ(2, gathered.crls);
  EXPECT_EQ(std::this_thread::get_id(), gathered.thread);
  EXPECT_NE(fetcher.FetchThread(), gathered.thread);
}

TEST_F(CrlChainFetch, AsyncFormReportsAFailedFetch) {
  ThreadFetcher failing(crls_, -5);
  Gathered gathered;
  EXPECT_EQ(-1, obFetchCRLChainA(nullptr, chain_, 1, ValidateParams(), Gathered::Record, &gathered, 0));
  ASSERT_TRUE(sandbox_.RunUntil([&] { return gathered.done.load(); }, 5000));
  EXPECT_EQ(-986, gathered.rc);
  EXPECT_EQ(1, gathered.index);
  EXPECT_EQ(-1000, obFetchCRLChainA(nullptr, chain_, 1, ValidateParams(), nullptr, nullptr, 0));
}

}  // namespace
