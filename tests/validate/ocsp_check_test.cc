// The OCSP check of a chain through registered fetchers: synchronous and
// asynchronous completion, time-outs, responder order and the answer cache,
// against the openssl tool's responder on 127.0.0.1.
#include "nycert/validate/ocsp_check_internal.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "nycert/certs/cert.h"
#include "nycert/crl/validate_params.h"
#include "nycert/crl/validation_rc.h"
#include "nycert/platform/obd_env.h"
#include "nycert/validate/ocsp_cache.h"
#include "nycert/validate/ocsp_fetchers.h"
#include "support/ocsp_peer.h"

namespace {

// Fetchers over the test's HTTP client: one answers before it returns, the
// other from a thread of its own, which waits while held: an answer that
// came before the check returned would be given at once.
struct HttpFetchers {
  std::mutex mutex;
  std::condition_variable released;
  bool held = false;
  std::vector<std::thread> threads;
  int calls = 0;  // of the fetcher that answers in the call

  void Hold(bool hold) {
    {
      std::lock_guard<std::mutex> lock(mutex);
      held = hold;
    }
    released.notify_all();
  }

  void JoinAll() {
    std::vector<std::thread> running;
    {
      std::lock_guard<std::mutex> lock(mutex);
      running.swap(threads);
    }
    for (std::thread& t : running) t.join();
  }
};

void Post(HttpFetchers* fetchers, const std::string& url, const Bytes& request, long timeoutMs,
          obOCSP_FetchDoneCB done, void* ctx) {
  {
    std::unique_lock<std::mutex> lock(fetchers->mutex);
    fetchers->released.wait(lock, [fetchers] { return !fetchers->held; });
  }
  PostingFetcher(nullptr, url.c_str(), request.data(), static_cast<int>(request.size()), timeoutMs, done, ctx);
}

int InCallFetcher(void* opaque, const char* url, const unsigned char* request, int len, long timeoutMs,
                  obOCSP_FetchDoneCB done, void* ctx) {
  return PostingFetcher(&static_cast<HttpFetchers*>(opaque)->calls, url, request, len, timeoutMs, done, ctx);
}

int ThreadFetcher(void* opaque, const char* url, const unsigned char* request, int len, long timeoutMs,
                  obOCSP_FetchDoneCB done, void* ctx) {
  HttpFetchers* fetchers = static_cast<HttpFetchers*>(opaque);
  std::lock_guard<std::mutex> hold(fetchers->mutex);
  fetchers->threads.emplace_back(Post, fetchers, std::string(url), Bytes(request, request + len), timeoutMs, done,
                                 ctx);
  return 0;
}

int RefusingFetcher(void*, const char*, const unsigned char*, int, long, obOCSP_FetchDoneCB, void*) { return -1; }

// What the check's callback saw, and on which thread.
struct Outcome {
  int calls = 0;
  int rc = 1;
  int index = -2;
  std::thread::id thread;
};

void Record(void* context, int rc, int index) {
  Outcome* o = static_cast<Outcome*>(context);
  ++o->calls;
  o->rc = rc;
  o->index = index;
  o->thread = std::this_thread::get_id();
}

class OcspCheckTest : public ::testing::Test {
 protected:
  void SetUp() override { obOCSP_FlushCache(); }
  void TearDown() override {
    fetchers.JoinAll();
    obOCSP_free_fetchers();
    obOCSP_FlushCache();
    obd_env_destroy(env);
  }

  // chain = [der, CA]
  obCerts Chain(const Bytes& der) {
    obCerts chain;
    chain.Add(new obCert(der.data(), static_cast<unsigned>(der.size())));
    chain.Add(new obCert(pki.pki.CaDer().data(), static_cast<unsigned>(pki.pki.CaDer().size())));
    return chain;
  }
  int CheckSync(const Bytes& der, const std::vector<obOcspResponder>& responders, long timeoutMs = 5000) {
    obCerts chain = Chain(der);
    index = -2;
    return obOcspCheckChain(nullptr, responders, chain, index, nullptr, nullptr, timeoutMs, ValidateParams());
  }
  // Starts an asynchronous check and runs the environment until its callback.
  int CheckAsync(const Bytes& der, const std::vector<obOcspResponder>& responders, long timeoutMs) {
    obCerts chain = Chain(der);
    fetchers.Hold(true);
    int rc = obOcspCheckChain(env, responders, chain, index, Record, &outcome, timeoutMs, ValidateParams());
    fetchers.Hold(false);
    auto give_up = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs + 5000);
    while (rc == -1 && outcome.calls == 0 && std::chrono::steady_clock::now() < give_up)
      obd_env_run_once(env, 50);
    return rc;
  }

  const OcspPki& pki = SharedOcspPki();
  HttpFetchers fetchers;
  obd_env* env = obd_env_create();
  Outcome outcome;
  int index = -2;
};

TEST_F(OcspCheckTest, FetchedBeforeTheFetcherReturnsAnswersAtOnce) {
  auto server = pki.Responder(pki.CaSigner() + " -nmin 5");
  ASSERT_EQ(obOCSP_add_fetcher(InCallFetcher, &fetchers), 0);
  std::vector<obOcspResponder> responders{{server->Url(), nullptr}};
  obCerts empty;
  EXPECT_EQ(obOcspCheckChain(env, responders, empty, index, Record, &outcome, 1000, ValidateParams()), 0)
      << "an empty chain has nothing to check";
  obCerts chain = Chain(pki.revoked);
  EXPECT_EQ(obOcspCheckChain(env, responders, chain, index, Record, &outcome, 5000, ValidateParams()),
            obValidationRC_Revoked);
  EXPECT_EQ(index, 0);
  EXPECT_EQ(CheckSync(pki.good, responders), 0);
  EXPECT_EQ(index, -1);
  EXPECT_EQ(CheckSync(pki.unknown, responders), obValidationRC_OCSPStatusUnknown);
  EXPECT_EQ(outcome.calls, 0) << "answers given at once never reach the callback";
}

TEST_F(OcspCheckTest, AsynchronousAnswersArriveOnTheEnvironment) {
  auto server = pki.Responder(pki.Signer("ocsp_delegate"));
  ASSERT_EQ(obOCSP_add_fetcher(ThreadFetcher, &fetchers), 0);
  std::vector<obOcspResponder> responders{{server->Url(), nullptr}};
  ASSERT_EQ(CheckAsync(pki.revoked, responders, 5000), -1);
  EXPECT_EQ(outcome.calls, 1);
  EXPECT_EQ(outcome.rc, obValidationRC_Revoked);
  EXPECT_EQ(outcome.index, 0);
  EXPECT_EQ(outcome.thread, std::this_thread::get_id());
  outcome = Outcome();
  ASSERT_EQ(CheckAsync(pki.good, responders, 5000), -1);
  EXPECT_EQ(outcome.rc, 0);
  EXPECT_EQ(outcome.index, -1);
}

TEST_F(OcspCheckTest, SilentResponderEndsInTheTimeout) {
  SilentServer silent;
  std::vector<obOcspResponder> responders{{silent.Url(), nullptr}};
  ASSERT_EQ(obOCSP_add_fetcher(ThreadFetcher, &fetchers), 0);
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(CheckSync(pki.good, responders, 300), obValidationRC_Timeout);
  ASSERT_EQ(CheckAsync(pki.good, responders, 300), -1);
  EXPECT_EQ(outcome.calls, 1);
  EXPECT_EQ(outcome.rc, obValidationRC_Timeout);
  EXPECT_EQ(outcome.index, 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  // The late completions of the fetches that timed out are ignored.
  fetchers.JoinAll();
  obd_env_run_once(env, 0);
  EXPECT_EQ(outcome.calls, 1);
}

TEST_F(OcspCheckTest, RespondersAreTriedInOrderUntilAFetchSucceeds) {
  auto server = pki.Responder(pki.CaSigner());
  std::vector<obOcspResponder> none;
  EXPECT_EQ(CheckSync(pki.good, none), obValidationRC_OCSPNoURL);
  std::vector<obOcspResponder> aiaOnly{{"", nullptr}};
  EXPECT_EQ(CheckSync(pki.good, aiaOnly), obValidationRC_OCSPNoURL) << "the certificate names no responder";
  // Nothing listens on port 1.
  std::vector<obOcspResponder> responders{{"http://127.0.0.1:1/", nullptr}, {server->Url(), nullptr}};
  EXPECT_EQ(CheckSync(pki.good, responders), obValidationRC_OCSPConnect) << "no fetcher registered";
  ASSERT_EQ(obOCSP_add_fetcher(RefusingFetcher, nullptr), 0);
  ASSERT_EQ(obOCSP_add_fetcher(InCallFetcher, &fetchers), 0);
  EXPECT_EQ(CheckSync(pki.revoked, responders), obValidationRC_Revoked);
  EXPECT_EQ(fetchers.calls, 2);
  std::vector<obOcspResponder> allDead{{"http://127.0.0.1:1/", nullptr}};
  EXPECT_EQ(CheckSync(pki.good, allDead), obValidationRC_OCSPConnect);
}

TEST_F(OcspCheckTest, TheResponderInTheCertificateServesWhenNoneIsConfigured) {
  auto server = pki.Responder(pki.CaSigner());
  CertRequest request;
  request.subject = "/CN=ocsp aia";
  request.serial = "0x5001";  // good in the database
  request.keyBits = 1024;
  request.extensions = "authorityInfoAccess=OCSP;URI:" + server->Url();
  Bytes withAia = pki.pki.Issue("ocsp_aia", request);
  ASSERT_EQ(obOCSP_add_fetcher(InCallFetcher, &fetchers), 0);
  std::vector<obOcspResponder> aiaOnly{{"", nullptr}};
  EXPECT_EQ(CheckSync(withAia, aiaOnly), 0);
}

TEST_F(OcspCheckTest, AnswersAreCachedUntilTheirNextUpdate) {
  ASSERT_EQ(obOCSP_add_fetcher(InCallFetcher, &fetchers), 0);
  std::vector<obOcspResponder> responders;
  {
    auto server = pki.Responder(pki.CaSigner() + " -nmin 5");
    responders.push_back({server->Url(), nullptr});
    EXPECT_EQ(CheckSync(pki.revoked, responders), obValidationRC_Revoked);
    EXPECT_EQ(CheckSync(pki.good, responders), 0);
  }
  // The responder is gone: the cached answers stand.
  EXPECT_EQ(CheckSync(pki.revoked, responders), obValidationRC_Revoked);
  EXPECT_EQ(CheckSync(pki.good, responders), 0);
  EXPECT_EQ(fetchers.calls, 2);
  obOCSP_FlushCache();
  EXPECT_EQ(CheckSync(pki.good, responders), obValidationRC_OCSPConnect);
  // An answer without nextUpdate is not kept.
  auto fresh = pki.Responder(pki.CaSigner());
  responders[0].url = fresh->Url();
  EXPECT_EQ(CheckSync(pki.good, responders), 0);
  fresh.reset();
  EXPECT_EQ(CheckSync(pki.good, responders), obValidationRC_OCSPConnect);
}

TEST(OcspFetchers, TheTableHoldsTen) {
  for (int i = 0; i < 10; ++i) EXPECT_EQ(obOCSP_add_fetcher(RefusingFetcher, nullptr), 0);
  EXPECT_EQ(obOCSP_add_fetcher(RefusingFetcher, nullptr), -1);
  EXPECT_EQ(obOCSP_add_fetcher(nullptr, nullptr), -1);
  obOCSP_free_fetchers();
  EXPECT_EQ(obOCSP_add_fetcher(RefusingFetcher, nullptr), 0);
  obOCSP_free_fetchers();
}

}  // namespace
