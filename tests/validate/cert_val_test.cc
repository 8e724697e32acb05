// Whole validations: the message buffer, the stage mask and order, CRLs
// handed in, and the asynchronous forms, whose results must arrive on the
// environment's thread however the CRLs are fetched.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/g_env.h"
#include "nycert/platform/obclock.h"
#include "nycert/platform/obd_env.h"
#include "nycert/validate/cert_val.h"
#include "support/chain_files.h"
#include "support/crl_cache_sandbox.h"
#include "support/root_ca_maker.h"
#include "support/thread_fetcher.h"

namespace {

// One test chain with its CRLs and a root CA for its top certificate.
struct CaseChain {
  explicit CaseChain(const std::string& name) {
    LoadPemCerts(ChainCaseDir(name) + "/chain.pem", chain);
    LoadPemCrls(ChainCaseDir(name) + "/crls.pem", crls);
    root = RootFor(*chain.Get(chain.Top()));
  }
  obCerts chain;
  obCRLs crls;
  RootPtr root;
};

// What a validation callback got, and on which thread.
struct Outcome {
  std::atomic<bool> done{false};
  int rc = 1;
  std::string message;
  int index = -7;
  long expiration = 0;
  std::thread::id thread;

  static void Record(int rc, const char* message, int index, long expiration, void* context) {
    Outcome* o = static_cast<Outcome*>(context);
    o->rc = rc;
    o->message = message;
    o->index = index;
    o->expiration = expiration;
    o->thread = std::this_thread::get_id();
    o->done = true;
  }
};

class CertVal : public testing::Test {
 protected:
  void SetUp() override { ob_time_set_fixed(ChainSuiteTime()); }

  CrlCacheSandbox sandbox_;
};

int Validate(CaseChain& c, obCRLs* crls, char* message, int size, int* index, int checks = obCheck_All,
             const ValidateParams& params = ValidateParams(), long* revocationValidUntil = nullptr) {
  long expiration = 0;
  return obCert_ValCerts(c.root.get(), c.chain, crls, &expiration, revocationValidUntil, params, message, size,
                         index, nullptr, nullptr, checks);
}

TEST_F(CertVal, MessageHoldsTheLongTextAndTheSubjectOnlyForFailures) {
  CaseChain revoked("crl_ee_revoked");
  char message[256] = "stale";
  int index = 0;
  EXPECT_EQ(-991, Validate(revoked, &revoked.crls, message, sizeof message, &index));
  EXPECT_STREQ("Certificate is revoked. CN=host.suite.test,OU=Hosts,O=ChainSuite,C=US", message);
  EXPECT_EQ(0, index);

  CaseChain good("crl_valid_three_level");
  std::strcpy(message, "stale");
  EXPECT_EQ(0, Validate(good, &good.crls, message, sizeof message, &index));
  EXPECT_STREQ("", message);
  EXPECT_EQ(-1, index);
}

TEST_F(CertVal, MessageIsCutToItsSizeAndTerminated) {
  CaseChain revoked("crl_ee_revoked");
  char message[12];
  std::memset(message, 'x', sizeof message);
  EXPECT_EQ(-991, Validate(revoked, &revoked.crls, message, 10, nullptr));
  EXPECT_STREQ("Certifica", message);
  EXPECT_EQ('x', message[10]);
  EXPECT_EQ(-991, Validate(revoked, &revoked.crls, message, 1, nullptr));
  EXPECT_STREQ("", message);
  EXPECT_EQ(-991, Validate(revoked, &revoked.crls, nullptr, 0, nullptr));
}

TEST_F(CertVal, WithoutRootNothingRuns) {
  CaseChain good("crl_valid_three_level");
  char message[16] = "stale";
  long expiration = 0;
  EXPECT_EQ(-1000, obCert_ValCerts(nullptr, good.chain, nullptr, &expiration, nullptr, ValidateParams(), message,
                                   sizeof message, nullptr, nullptr, nullptr, obCheck_All));
  EXPECT_STREQ("", message);
}

TEST_F(CertVal, StagesRunInTheirFixedOrderAndOnlyWhenSelected) {
  CaseChain revoked("crl_ee_revoked");
  int index = 5;
  // Revocation alone finds what the path stage would not.
  EXPECT_EQ(0, Validate(revoked, &revoked.crls, nullptr, 0, &index, obCheck_Path | obCheck_Signatures));
  EXPECT_EQ(-991, Validate(revoked, nullptr, nullptr, 0, &index, obCheck_Revocation));
  // An earlier stage's fault hides a later one: the expired end entity is
  // reported, not the missing CRL.
  CaseChain expired("ee_one_second_after_not_after_expired");
  EXPECT_EQ(-998, Validate(expired, nullptr, nullptr, 0, &index));
  EXPECT_EQ(-986, Validate(expired, nullptr, nullptr, 0, &index, obCheck_Revocation));
}

TEST_F(CertVal, RevocationOffPassesAndSaysHowLongItHolds) {
  CaseChain good("crl_valid_three_level");
  ValidateParams off;
  off.Set_crl_validation(0);
  long until = 0;
  int index = 0;
  EXPECT_EQ(0, Validate(good, nullptr, nullptr, 0, &index, obCheck_All, off, &until));
  EXPECT_EQ(ChainSuiteTime() + 86400, until);
  EXPECT_EQ(-986, Validate(good, nullptr, nullptr, 0, &index));
  EXPECT_EQ(0, Validate(good, &good.crls, nullptr, 0, &index, obCheck_All, ValidateParams(), &until));
}

TEST_F(CertVal, WithoutCallbackAPendingFetchAnswersAsync) {
  CaseChain good("crl_valid_three_level");
  ThreadFetcher fetcher(good.crls);
  int index = 0;
  EXPECT_EQ(-1, Validate(good, nullptr, nullptr, 0, &index));
  EXPECT_EQ(1, index);
  // The fetch fills the cache; validating again finds every CRL.
  sandbox_.RunUntil([&] { return Validate(good, nullptr, nullptr, 0, &index) != -1; }, 5000);
  EXPECT_EQ(0, Validate(good, nullptr, nullptr, 0, &index));
}

TEST_F(CertVal, AsyncFormDeliversEvenAnImmediateResultThroughTheEnvironment) {
  CaseChain revoked("crl_ee_revoked");
  Outcome outcome;
  long expiration = 0;
  EXPECT_EQ(-991, obCert_ValCertsA_e(sandbox_.env(), revoked.root.get(), revoked.chain, &revoked.crls, expiration,
                                     ValidateParams(), Outcome::Record, &outcome, obCheck_All));
  EXPECT_FALSE(outcome.done);
  ASSERT_TRUE(sandbox_.RunUntil([&] { return outcome.done.load(); }, 2000));
  EXPECT_EQ(-991, outcome.rc);
  EXPECT_EQ(0, outcome.index);
  EXPECT_EQ(revoked.chain.Get(0)->notAfter(), outcome.expiration);
  EXPECT_EQ(0u, outcome.message.find("Certificate is revoked. CN=host.suite.test"));
  EXPECT_EQ(-1000, obCert_ValCertsA_e(sandbox_.env(), revoked.root.get(), revoked.chain, nullptr, expiration,
                                      ValidateParams(), nullptr, nullptr, obCheck_All));
}

TEST_F(CertVal, PendingValidationDroppedWithItsEnvironment) {
  CaseChain good("crl_valid_three_level");
  obd_env* env = obd_env_create();
  obd_env* previous = g_env_set(env);
  Outcome outcome;
  {
    ThreadFetcher fetcher(good.crls);
    long expiration = 0;
    EXPECT_EQ(-1, obCert_ValCertsA_e(env, good.root.get(), good.chain, nullptr, expiration, ValidateParams(),
                                     Outcome::Record, &outcome, obCheck_All));
  }
  g_env_set(previous);
  obd_env_destroy(env);
  EXPECT_FALSE(outcome.done);
}

// An application's loop as a list: events are kept until the test runs them.
struct HeldEvents {
  struct Event {
    obd_event_fn fn;
    void* arg;
    long delayMs;
  };
  static int Hook(void* context, obd_event_fn fn, void* arg, long delayMs) {
    HeldEvents* held = static_cast<HeldEvents*>(context);
    std::lock_guard<std::mutex> hold(held->mutex);
    held->events.push_back({fn, arg, delayMs});
    return 0;
  }
  // Runs, in order, the held events whose delay is delayMs (all for -1).
  void Run(long delayMs) {
    std::vector<Event> due;
    {
      std::lock_guard<std::mutex> hold(mutex);
      for (auto it = events.begin(); it != events.end();) {
        if (delayMs < 0 || it->delayMs == delayMs) {
          due.push_back(*it);
          it = events.erase(it);
        } else {
          ++it;
        }
      }
    }
    for (const Event& e : due) e.fn(e.arg);
  }
  std::mutex mutex;
  std::vector<Event> events;
};

TEST_F(CertVal, NoRevocationAnswerWithinAMinuteTimesOutAndLateReportsAreIgnored) {
  CaseChain good("crl_valid_three_level");
  HeldEvents held;
  obd_env* env = obd_env_create_hooked(HeldEvents::Hook, &held);
  obd_env* previous = g_env_set(env);
  Outcome outcome;
  {
    ThreadFetcher fetcher(good.crls);
    long expiration = 0;
    EXPECT_EQ(-1, obCert_ValCertsA_e(env, good.root.get(), good.chain, nullptr, expiration, ValidateParams(),
                                     Outcome::Record, &outcome, obCheck_All));
  }
  held.Run(60000);
  ASSERT_TRUE(outcome.done);
  EXPECT_EQ(-989, outcome.rc);
  EXPECT_EQ(1, outcome.index);
  EXPECT_EQ(0u, outcome.message.find("Validation timed out. CN=Suite Intermediate"));
  outcome.done = false;
  held.Run(-1);
  EXPECT_FALSE(outcome.done);
  // The late CRL was cached and its prefetch timer set; a flush ends prefetching,
  // and running the held timer then frees it.
  obCRLCache_Flush();
  held.Run(-1);
  g_env_set(previous);
  obd_env_destroy(env);
}

class CertValThreadStress : public CertVal {};

// The fetcher completes on its own threads; every result still comes on the
// thread that runs the environment, after the call returned.
TEST_F(CertValThreadStress, CallbacksRunOnTheEnvironmentThread) {
  for (const char* name : {"crl_valid_three_level", "crl_ee_revoked", "crl_ica_revoked"}) {
    obCRLCache_Flush();
    obCRLCache_free_fetchers();
    CaseChain c(name);
    ThreadFetcher fetcher(c.crls);
    Outcome outcome;
    long expiration = 0;
    EXPECT_EQ(-1, obCert_ValCertsA(c.root.get(), c.chain, nullptr, expiration, ValidateParams(), Outcome::Record,
                                   &outcome, obCheck_All))
        << name;
    EXPECT_FALSE(outcome.done);
    ASSERT_TRUE(sandbox_.RunUntil([&] { return outcome.done.load(); }, 5000)) << name;
    EXPECT_EQ(std::this_thread::get_id(), outcome.thread) << name;
    EXPECT_NE(fetcher.FetchThread(), outcome.thread) << name;
    EXPECT_NE(std::thread::id(), fetcher.FetchThread()) << name;
    int expected = std::string(name) == "crl_valid_three_level" ? 0 : -991;
    EXPECT_EQ(expected, outcome.rc) << name;
    EXPECT_EQ(std::string(name) == "crl_ica_revoked" ? 1 : expected ? 0 : -1, outcome.index) << name;
  }
}

}  // namespace
