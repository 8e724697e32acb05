#include "nycert/keys/key_task.h"

#include <openssl/bn.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "nycert/keys/dh_groups.h"
#include "nycert/keys/key_task_mngmnt.h"
#include "nycert/keys/nysdh.h"
#include "nycert/keys/rsa_import.h"
#include "nycert/platform/cpu_count.h"
#include "nycert/platform/obd_env.h"
#include "support/test_support.h"

namespace {

using Bytes = std::vector<unsigned char>;

struct KeyFree {
  void operator()(obPubKey* key) const { obFreePubKey(key); }
};
using Key = std::unique_ptr<obPubKey, KeyFree>;

struct EnvFree {
  void operator()(obd_env* env) const { obd_env_destroy(env); }
};
using Env = std::unique_ptr<obd_env, EnvFree>;

obPubKey* SigningKey() {
  static Key key = [] {
    Bytes pem = ReadBytes(CachedKey(2048));
    return Key(obImportRSAKeyPEM(reinterpret_cast<const char*>(pem.data()), static_cast<unsigned>(pem.size())));
  }();
  return key.get();
}

// Each case sets the configuration sources it needs and leaves none behind.
class KeyTaskConfig : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("NYCERT_REGISTRY", registryFile_.c_str(), 1);
    unsetenv("KEYTASK_MT");
  }
  void TearDown() override {
    KeyTaskMngmnt_term();
    unsetenv("NYCERT_REGISTRY");
    unsetenv("KEYTASK_MT");
    ob_num_processors_set_fixed(0);
  }
  void Registry(const std::string& value) {
    WriteBytes(registryFile_, Bytes(value.begin(), value.end()));
  }
  void Threads(int n) { setenv("KEYTASK_MT", std::to_string(n).c_str(), 1); }

  TempDir dir_;
  std::string registryFile_ = dir_.File("registry");
};

const char kSection[] = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Nyvara\\Encryption]\n";

TEST_F(KeyTaskConfig, RegistryNumberWinsOverTheEnvironment) {
  Registry(std::string("# workers\n") + kSection + "\"NumberOfThreads\"=dword:00000003\n");
  Threads(7);
  DiagCapture diag;
  EXPECT_EQ(GetNumOfThreads(), 3);
  EXPECT_TRUE(diag.Saw("GetNumOfThreads: found the thread flag in the registry. flag = 3."));
  EXPECT_TRUE(diag.Saw("GetNumOfThreads: Will create 3 threads (due to the thread flag)."));
}

TEST_F(KeyTaskConfig, RegistryStringIsIgnoredAndTheEnvironmentConsulted) {
  Registry(std::string(kSection) + "\"NumberOfThreads\"=\"3\"\n");
  Threads(5);
  DiagCapture diag;
  EXPECT_EQ(GetNumOfThreads(), 5);
  EXPECT_TRUE(diag.Saw("GetNumOfThreads: found the thread flag in the environment. flag = 5."));
}

TEST_F(KeyTaskConfig, ValueUnderAnotherKeyIsNotRead) {
  Registry("[HKEY_LOCAL_MACHINE\\SOFTWARE\\Other]\n\"NumberOfThreads\"=dword:00000003\n");
  ob_num_processors_set_fixed(1);
  EXPECT_EQ(GetNumOfThreads(), 0);
}

TEST_F(KeyTaskConfig, ZeroOrNegativeFlagMeansNoThreads) {
  for (const char* flag : {"0", "-2"}) {
    setenv("KEYTASK_MT", flag, 1);
    ob_num_processors_set_fixed(8);
    DiagCapture diag;
    EXPECT_EQ(GetNumOfThreads(), 0) << flag;
    EXPECT_TRUE(diag.Saw("GetNumOfThreads: thread flag is zero, all key operations will be done in the main thread."));
  }
}

TEST_F(KeyTaskConfig, EmptyFlagCountsAsUnsetAndProcessorsDecide) {
  setenv("KEYTASK_MT", "", 1);
  ob_num_processors_set_fixed(4);
  DiagCapture diag;
  EXPECT_EQ(GetNumOfThreads(), 3);
  EXPECT_TRUE(diag.Saw("GetNumOfThreads: More then one CPU / PKCS#11 modules, will create 3 working threads."));
  ob_num_processors_set_fixed(-1);  // the system cannot tell: one processor
  EXPECT_EQ(GetNumOfThreads(), 0);
}

TEST_F(KeyTaskConfig, OneProcessorCreatesNoPool) {
  ob_num_processors_set_fixed(1);
  Env env(obd_env_create());
  DiagCapture diag;
  EXPECT_EQ(KeyTaskMngmnt_init(env.get()), 0);
  EXPECT_TRUE(diag.Saw("GetNumOfThreads: Does not create threads only one CPU."));
  EXPECT_TRUE(diag.Saw(
      "KeyTaskMngmnt_init: Will not create working threads. All keys operations will be done synchronically."));
  EXPECT_EQ(KeyTaskMngmnt_disabled(), 1);
}

TEST_F(KeyTaskConfig, ReconfStartsResizesAndStopsThePool) {
  Env env(obd_env_create());
  Threads(0);
  ASSERT_EQ(KeyTaskMngmnt_init(env.get()), 0);
  EXPECT_EQ(KeyTaskMngmnt_disabled(), 1);
  Threads(2);
  EXPECT_EQ(KeyTaskMngmnt_reconf(), 0);
  EXPECT_EQ(KeyTaskMngmnt_disabled(), 0);
  Threads(1);
  EXPECT_EQ(KeyTaskMngmnt_reconf(), 0);
  EXPECT_EQ(KeyTaskMngmnt_disabled(), 0);
  Threads(0);
  EXPECT_EQ(KeyTaskMngmnt_reconf(), 0);
  EXPECT_EQ(KeyTaskMngmnt_disabled(), 1);
}

TEST(KeyTaskStatus, Texts) {
  EXPECT_STREQ(KeyTask_StatusText(1), "TASK_INSERTED_TO_QUEUE");
  EXPECT_STREQ(KeyTask_StatusText(0), "TASK_SUCCESS");
  EXPECT_STREQ(KeyTask_StatusText(-1000), "TASK_QUEUING_ERROR");
  EXPECT_STREQ(KeyTask_StatusText(-996), "TASK_CREATION_ERROR");
  EXPECT_STREQ(KeyTask_StatusText(-994), "TASK_SIGNING_ERROR");
  EXPECT_STREQ(KeyTask_StatusText(-992), "TASK_GENERAL_ERROR");
  EXPECT_STREQ(KeyTask_StatusText(-991), "Unknown Error");
  EXPECT_STREQ(KeyTask_StatusText(2), "Unknown Error");
}

// What one callback received, and on which thread.
struct Delivery {
  int rc = 1;
  Bytes data;
  std::string message;
  std::thread::id thread;
  obPubKey* key = nullptr;
};

struct Recorder {
  std::mutex mutex;
  std::vector<Delivery> deliveries;

  static void Callback(void* context, int rc, void* data, int dataLen, const char* message) {
    Recorder* self = static_cast<Recorder*>(context);
    Delivery d;
    d.rc = rc;
    if (rc == 0 && dataLen == static_cast<int>(sizeof(obPubKey*)) && data && self->expectKey) {
      d.key = static_cast<obPubKey*>(data);
    } else if (data) {
      d.data.assign(static_cast<unsigned char*>(data), static_cast<unsigned char*>(data) + dataLen);
    }
    d.message = message ? message : "";
    d.thread = std::this_thread::get_id();
    std::lock_guard<std::mutex> hold(self->mutex);
    self->deliveries.push_back(std::move(d));
  }
  size_t Count() {
    std::lock_guard<std::mutex> hold(mutex);
    return deliveries.size();
  }
  bool expectKey = false;
};

// Runs env's loop until count deliveries arrived or ten seconds passed.
void RunUntil(obd_env* env, Recorder& rec, size_t count) {
  for (int i = 0; i < 1000 && rec.Count() < count; ++i) obd_env_run_once(env, 10);
}

bool Verifies(const Bytes& data, const Bytes& sig) {
  return SigningKey()->Verify(obPKop_DigestInfo, ob_md_sha256, data.data(), static_cast<int>(data.size()),
                              sig.data(), static_cast<int>(sig.size())) == 0;
}

TEST_F(KeyTaskConfig, WithoutAPoolTasksRunHereAndCallBackOnTheLoop) {
  Threads(0);
  Env env(obd_env_create());
  ASSERT_EQ(KeyTaskMngmnt_init(env.get()), 0);
  Recorder rec;
  Bytes digest(32, 0x5a);
  int id = SigningKey()->SignA(obPKop_DigestInfo, ob_md_sha256, digest.data(), 32, Recorder::Callback, &rec,
                               env.get());
  EXPECT_GT(id, 0);
  EXPECT_EQ(rec.Count(), 0u);  // never on the caller's stack
  RunUntil(env.get(), rec, 1);
  ASSERT_EQ(rec.Count(), 1u);
  EXPECT_EQ(rec.deliveries[0].rc, 0);
  EXPECT_TRUE(Verifies(digest, rec.deliveries[0].data));
  EXPECT_EQ(KeyTask_LiveCount(), 0);
}

TEST_F(KeyTaskConfig, RefusalsAndWorkerFailures) {
  Threads(0);
  Env env(obd_env_create());
  ASSERT_EQ(KeyTaskMngmnt_init(env.get()), 0);
  Bytes digest(32, 1);
  int live = KeyTask_LiveCount();
  EXPECT_EQ(Gated([&] {
              return SigningKey()->SignA(obPKop_DigestInfo, ob_md_sha256, digest.data(), 32, nullptr, nullptr,
                                         env.get());
            },
                  "obPubKey::SignA: No callback given"),
            -1000);
  EXPECT_EQ(KeyTask_LiveCount(), live);
  Recorder rec;
  {
    DiagCapture diag;
    EXPECT_EQ(SigningKey()->SignA(obPKop_DigestInfo, ob_md_sha256, digest.data(), 32, Recorder::Callback, &rec,
                                  nullptr),
              TASK_NOT_INITIALIZED);
    EXPECT_TRUE(diag.Saw("KeyTask_QueueRequest: The key operation cannot be done."));
  }
  EXPECT_EQ(KeyTask_LiveCount(), live);

  // A DH key cannot sign; a task without a group cannot make a key.
  Key dh(obPubKey_NewDH(obDhParams(*obDhFindBuiltinGroup("skip512"))));
  ASSERT_TRUE(dh);
  EXPECT_GT(dh->SignA(obPKop_DigestInfo, ob_md_sha256, digest.data(), 32, Recorder::Callback, &rec, env.get()), 0);
  EXPECT_GT(obDhNewKeyA(nullptr, Recorder::Callback, &rec, env.get()), 0);
  Bytes tooLong(65, 7);
  EXPECT_EQ(Gated([&] { return dh->DeriveA(obPKop_DigestInfo, tooLong.data(), 65, Recorder::Callback, &rec, env.get()); },
                  "obPubKey::DeriveA: Illegal key len (65)."),
            obPK_RC_LengthMismatch);
  Bytes one{1};
  EXPECT_GT(dh->DeriveA(obPKop_DigestInfo, one.data(), 1, Recorder::Callback, &rec, env.get()), 0);
  RunUntil(env.get(), rec, 3);
  ASSERT_EQ(rec.Count(), 3u);
  EXPECT_EQ(rec.deliveries[0].rc, TASK_SIGNING_ERROR);
  EXPECT_EQ(rec.deliveries[0].message, "Error while signing witn RSA private key.");
  EXPECT_EQ(rec.deliveries[1].rc, TASK_BAD_INPUT);
  EXPECT_EQ(rec.deliveries[1].message, "Cannot complete computing new DH key. Bad input, no DH group");
  EXPECT_EQ(rec.deliveries[2].rc, TASK_DERIVING_ERROR);
  EXPECT_EQ(rec.deliveries[2].message, "Error while deriving dh key.");
  EXPECT_EQ(KeyTask_LiveCount(), live);
}

// Signatures queued from several threads at once: every one arrives, on the
// loop's thread, and verifies.
void SignFromThreads(int workers) {
  setenv("KEYTASK_MT", std::to_string(workers).c_str(), 1);
  Env env(obd_env_create());
  ASSERT_EQ(KeyTaskMngmnt_init(env.get()), 0);
  ASSERT_EQ(KeyTaskMngmnt_disabled(), 0);
  const int kThreads = 4, kEach = 6;
  Recorder rec;
  std::vector<Bytes> digests;
  for (int i = 0; i < kThreads * kEach; ++i) digests.push_back(Bytes(32, static_cast<unsigned char>(i)));
  std::atomic<int> queued{0};
  RunTogether(kThreads, [&](int t) {
    for (int i = 0; i < kEach; ++i) {
      const Bytes& d = digests[static_cast<size_t>(t * kEach + i)];
      if (SigningKey()->SignA(obPKop_DigestInfo, ob_md_sha256, d.data(), 32, Recorder::Callback, &rec, env.get()) >
          0)
        ++queued;
    }
  });
  EXPECT_EQ(queued.load(), kThreads * kEach);
  RunUntil(env.get(), rec, static_cast<size_t>(kThreads * kEach));
  ASSERT_EQ(rec.Count(), static_cast<size_t>(kThreads * kEach));
  int verified = 0;
  for (const Delivery& d : rec.deliveries) {
    EXPECT_EQ(d.thread, std::this_thread::get_id());
    EXPECT_EQ(d.rc, 0);
    for (const Bytes& digest : digests) verified += d.data.size() == 256 && Verifies(digest, d.data);
  }
  EXPECT_EQ(verified, kThreads * kEach);
  KeyTaskMngmnt_term();
  EXPECT_EQ(KeyTask_LiveCount(), 0);
}

TEST_F(KeyTaskConfig, ThreadStressSignaturesWithOneWorker) { SignFromThreads(1); }

TEST_F(KeyTaskConfig, ThreadStressSignaturesWithThreeWorkers) { SignFromThreads(3); }

TEST_F(KeyTaskConfig, ThreadStressDeriveAndNewKeysThroughThePool) {
  Threads(2);
  Env env(obd_env_create());
  ASSERT_EQ(KeyTaskMngmnt_init(env.get()), 0);
  obDhParams group(*obDhFindBuiltinGroup("isakmp1024"));
  Recorder keys;
  keys.expectKey = true;
  ASSERT_GT(obDhNewKeyA(&group, Recorder::Callback, &keys, env.get()), 0);
  ASSERT_GT(obDhNewKeyA(&group, Recorder::Callback, &keys, env.get()), 0);
  RunUntil(env.get(), keys, 2);
  ASSERT_EQ(keys.Count(), 2u);
  Key a(keys.deliveries[0].key), b(keys.deliveries[1].key);
  ASSERT_TRUE(a && b);
  EXPECT_EQ(keys.deliveries[0].thread, std::this_thread::get_id());
  nySDH_imp* bImp = static_cast<nySDH_imp*>(b->KeyImp());
  BIGNUM* pub = bImp->Public();
  Bytes peer(128);
  BN_bn2binpad(pub, peer.data(), 128);
  BN_free(pub);
  Recorder secrets;
  ASSERT_GT(a->DeriveA(obPKop_DigestInfo, peer.data(), 128, Recorder::Callback, &secrets, env.get()), 0);
  RunUntil(env.get(), secrets, 1);
  ASSERT_EQ(secrets.Count(), 1u);
  Bytes expected(128);
  ASSERT_EQ(a->Derive(obPKop_DigestInfo, peer.data(), 128, expected.data(), 128), 128);
  EXPECT_EQ(secrets.deliveries[0].data, expected);
}

// The environment goes away with tasks queued, running and delivered but not
// yet run: each task is either called back or freed, none twice, none leaked.
TEST_F(KeyTaskConfig, ThreadStressEnvironmentDestroyedWithTasksInFlight) {
  Threads(2);
  obd_env* env = obd_env_create();
  ASSERT_EQ(KeyTaskMngmnt_init(env), 0);
  Recorder rec;
  const int kTasks = 40;
  Bytes digest(32, 9);
  for (int i = 0; i < kTasks; ++i)
    ASSERT_GT(SigningKey()->SignA(obPKop_DigestInfo, ob_md_sha256, digest.data(), 32, Recorder::Callback, &rec, env),
              0);
  obd_env_run_once(env, 5);
  KeyTaskMngmnt_term();
  size_t before = rec.Count();
  obd_env_run_once(env, 0);  // some cancelled ones are called back
  obd_env_destroy(env);
  EXPECT_LE(rec.Count(), static_cast<size_t>(kTasks));
  EXPECT_GE(rec.Count(), before);
  EXPECT_EQ(KeyTask_LiveCount(), 0);
  for (const Delivery& d : rec.deliveries) EXPECT_TRUE(d.rc == 0 || d.rc == TASK_GENERAL_ERROR) << d.rc;
}

}  // namespace
