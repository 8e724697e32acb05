// The key object model: reference counting, the interface defaults, the
// generic asynchronous path and key comparison.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "nycert/keys/pkobj.h"
#include "nycert/keys/pubkey.h"
#include "nycert/platform/obd_env.h"
#include "support/test_support.h"

namespace {

using Lines = std::vector<std::string>;
using Bytes = std::vector<unsigned char>;

// A kind of key implementing only what the interface requires.
class BareKeyImp : public obPubKey_imp_vc {
 public:
  obAlgType algorithm() const override { return obAlg_None; }
  int OK() const override { return 1; }
  unsigned Flags() const override { return 0; }
  const char* ClassName() const override { return "BareKeyImp"; }
};

// A key whose public form is a given byte string and whose Encrypt
// complements each octet; it counts encryptions and reports its destruction.
class FakeKeyImp : public obPubKey_imp_vc {
 public:
  FakeKeyImp(Bytes publicForm, std::atomic<int>* destroyed) : public_(std::move(publicForm)), destroyed_(destroyed) {}
  ~FakeKeyImp() override {
    if (destroyed_) ++*destroyed_;
  }
  obAlgType algorithm() const override { return obAlg_RSA; }
  int OK() const override { return 1; }
  unsigned Flags() const override { return 7; }
  const char* ClassName() const override { return "FakeKeyImp"; }

  int Encrypt(obPKop_type, const unsigned char* in, int inLen, unsigned char* out, int) override {
    ++encryptions;
    for (int i = 0; i < inLen; ++i) out[i] = static_cast<unsigned char>(~in[i]);
    return inLen;
  }

  int Export(obPK_Format fmt, void* out, int outLen) override {
    int len = static_cast<int>(public_.size());
    if (fmt != obPK_Format_PublicDER) return obPK_RC_ExportFailed;
    if (!out) return len;
    if (failWrite || outLen < len) return obPK_RC_ExportFailed;
    std::memcpy(out, public_.data(), public_.size());
    return len;
  }

  std::atomic<int> encryptions{0};
  bool failWrite = false;

 private:
  Bytes public_;
  std::atomic<int>* destroyed_;
};

class TestKey : public obPubKey {
 public:
  explicit TestKey(obPubKey_imp_vc* imp) : obPubKey(imp) {}
};

TestKey* NewFakeKey(const Bytes& publicForm, std::atomic<int>* destroyed = nullptr) {
  return new TestKey(new FakeKeyImp(publicForm, destroyed));
}

FakeKeyImp* Fake(obPubKey* key) { return static_cast<FakeKeyImp*>(key->KeyImp()); }

// A plain object that can drop a reference without being destroyed.
class ProbeObj : public obPKobj {
 public:
  void DropWithoutFree() { DecRef(); }
};

// What a callback was handed.
struct CallbackRecord {
  int calls = 0, rc = 0, dataLen = -99;
  void* data = reinterpret_cast<void*>(1);
  const char* message = "unset";
};

void RecordCallback(void* cbContext, int rc, void* data, int dataLen, const char* message) {
  CallbackRecord* record = static_cast<CallbackRecord*>(cbContext);
  *record = CallbackRecord{record->calls + 1, rc, dataLen, data, message};
}

// The generic asynchronous path reports -1 without data once.
void ExpectGenericCallback(const CallbackRecord& record) {
  EXPECT_EQ(record.calls, 1);
  EXPECT_EQ(record.rc, -1);
  EXPECT_EQ(record.data, nullptr);
  EXPECT_EQ(record.dataLen, 0);
  EXPECT_EQ(record.message, nullptr);
}

const unsigned char kIn[4] = {0x00, 0x0F, 0xF0, 0xFF};

}  // namespace

TEST(PubKeyDefaults, UnimplementedOperationsNameTheKeyClass) {
  TestKey* key = new TestKey(new BareKeyImp);
  unsigned char out[8] = {0};
  std::pair<const char*, std::function<int()>> cases[] = {
      {"Encrypt", [&] { return key->Encrypt(obPKop_Raw, kIn, 4, out, 8); }},
      {"Decrypt", [&] { return key->Decrypt(obPKop_Raw, kIn, 4, out, 8); }},
      {"Sign", [&] { return key->Sign(obPKop_DigestInfo, ob_md_sha1, kIn, 4, out, 8); }},
      {"Verify", [&] { return key->Verify(obPKop_DigestInfo, ob_md_sha1, kIn, 4, out, 8); }},
      {"Derive", [&] { return key->Derive(obPKop_Raw, kIn, 4, out, 8); }},
      {"Export", [&] { return key->Export(obPK_Format_PublicDER, nullptr, 0); }},
      {"GetLen", [&] { return key->GetLen(obPK_Len_Bits); }},
      {"Verify", [&] { return obPubKey_Verify(key, obPKop_Raw, ob_md_md5, kIn, 4, out, 8); }},  // the flat forms
      {"Sign", [&] { return obPubKey_Sign(key, obPKop_Raw, ob_md_md5, kIn, 4, out, 8); }},
      {"Derive", [&] { return obPubKey_Derive(key, obPKop_Raw, kIn, 4, out, 8); }},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Gated(c.second, std::string(c.first) + " not implemeted for BareKeyImp"), obPK_RC_NotImplemented);
  }
  DiagCapture diag;
  key->Herror();
  EXPECT_EQ(diag.Lines(), Lines{"Herror not implemeted for BareKeyImp"});
  obFreePubKey(key);
}

TEST(PubKeyDefaults, QuietDefaultsAndForwarding) {
  DiagCapture diag;
  TestKey* key = NewFakeKey(Hex("30 00"));
  CallbackRecord record;
  // The implementation's own slots; the handle's SignA and DeriveA queue key tasks.
  EXPECT_EQ(key->KeyImp()->SignA(obPKop_Raw, ob_md_sha1, kIn, 4, RecordCallback, &record, nullptr), -1);
  EXPECT_EQ(key->KeyImp()->DeriveA(obPKop_Raw, kIn, 4, RecordCallback, &record, nullptr), -1);
  EXPECT_EQ(key->Remove(), 0);
  EXPECT_EQ(obPubKey_Export(key, obPK_Format_PublicDER, nullptr, 0), 2);  // forwarded to the key
  EXPECT_EQ(record.calls, 0);
  EXPECT_TRUE(diag.Lines().empty());
  obFreePubKey(key);
  EXPECT_EQ(Gated([] { return obPubKey_Sign(nullptr, obPKop_Raw, ob_md_sha1, kIn, 4, nullptr, 0); },
                  "obPubKey_Sign: NULL key"),
            -1);
  EXPECT_EQ(Gated([] { return obPubKey_Export(nullptr, obPK_Format_PublicDER, nullptr, 0); },
                  "obPubKey_Export: NULL key"),
            -1);
}

// Counts work alike with the process-wide mutex, which is made once.
TEST(PKobjRefCount, LastFreeDestroysAtZero) {
  DiagCapture diag;
  EXPECT_EQ(obPKobj::UseMutex(), 0);
  EXPECT_EQ(obPKobj_imp::UseMutex(), 0);
  EXPECT_EQ(obPKobj::UsingMutex(), 1);
  std::atomic<int> destroyed{0};
  TestKey* key = NewFakeKey(Hex("01"), &destroyed);
  obSavePubKey(key);
  obSavePKobj(key);
  EXPECT_EQ(key->RefCount(), 3);
  obFreePubKey(key);
  obFreePKobj(key);
  EXPECT_EQ(destroyed, 0);
  obFreePubKey(key);
  EXPECT_EQ(destroyed, 1);
  obFreePKobj(new obPKobj);
  obSavePKobj(nullptr);  // null is ignored
  obFreePKobj(nullptr);
  obSavePubKey(nullptr);
  obFreePubKey(nullptr);
  EXPECT_TRUE(diag.Lines().empty());
}

TEST(PKobjRefCount, MisusedCountsAreReportedAndStillDestroy) {
  auto freeAtZero = [] {
    ProbeObj* obj = new ProbeObj;
    obj->DropWithoutFree();
    obFreePKobj(obj);
    return 0;
  };
  Gated(freeAtZero, "obFreePKobj: negative reference count -1");
  DiagCapture diag;
  std::atomic<int> destroyed{0};
  TestKey* key = NewFakeKey(Hex("01"), &destroyed);
  obSavePubKey(key);
  delete key;
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(diag.Lines(), Lines{"obPKobj_imp::~obPKobj_imp: non zero refcount"});
}

// An environment and a fake key for one test.
class PubKeyAsync : public ::testing::Test {
 protected:
  ~PubKeyAsync() override {
    obFreePubKey(key);
    obd_env_destroy(env);
  }
  obd_env* env = obd_env_create();
  TestKey* key = NewFakeKey(Hex("01"));
  CallbackRecord record;
  unsigned char out[4] = {0};
};

TEST_F(PubKeyAsync, EncryptARunsEncryptAndCallsBackLaterOnTheLoop) {
  EXPECT_EQ(key->EncryptA(obPKop_Raw, kIn, 4, out, 4, RecordCallback, &record, env), 0);
  EXPECT_EQ(Fake(key)->encryptions, 1);
  EXPECT_EQ(ToHex(out, 4), "FF F0 0F 00");
  EXPECT_EQ(record.calls, 0);  // not on the caller's stack
  EXPECT_EQ(obd_env_run_once(env, 1000), 1);
  ExpectGenericCallback(record);
  EXPECT_EQ(obd_env_run_once(env, 0), 0);
}

TEST_F(PubKeyAsync, DecryptAndVerifyReportMinusOneEvenWhenTheKeyCannot) {
  TestKey* bare = new TestKey(new BareKeyImp);
  CallbackRecord verified;
  {
    DiagCapture diag;
    EXPECT_EQ(bare->DecryptA(obPKop_Raw, kIn, 4, out, 4, RecordCallback, &record, env), 0);
    EXPECT_EQ(bare->VerifyA(obPKop_Raw, ob_md_sha1, kIn, 4, kIn, 4, RecordCallback, &verified, env), 0);
    EXPECT_EQ(diag.Lines(), (Lines{"Decrypt not implemeted for BareKeyImp", "Verify not implemeted for BareKeyImp"}));
  }
  EXPECT_EQ(obd_env_run_once(env, 1000) + obd_env_run_once(env, 0), 2);
  ExpectGenericCallback(record);
  ExpectGenericCallback(verified);
  obFreePubKey(bare);
}

TEST_F(PubKeyAsync, MissingCallbackRefusesBeforeRunningTheOperation) {
  std::pair<const char*, std::function<int()>> cases[] = {
      {"EncryptA", [&] { return key->EncryptA(obPKop_Raw, kIn, 4, out, 4, nullptr, nullptr, env); }},
      {"DecryptA", [&] { return key->DecryptA(obPKop_Raw, kIn, 4, out, 4, nullptr, nullptr, env); }},
      {"VerifyA", [&] { return key->VerifyA(obPKop_Raw, ob_md_md5, kIn, 4, kIn, 4, nullptr, nullptr, env); }},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Gated(c.second, std::string("obPubKey_imp::") + c.first + ": No callback given"), obPK_RC_NoCallback);
  }
  EXPECT_EQ(Fake(key)->encryptions, 0);
  EXPECT_EQ(obd_env_run_once(env, 0), 0);
}

TEST_F(PubKeyAsync, PendingCallbacksOfADestroyedEnvironmentAreFreed) {
  EXPECT_EQ(key->EncryptA(obPKop_Raw, kIn, 4, out, 4, RecordCallback, &record, env), 0);
  obd_env_destroy(env);  // the leak checker sees whether the pending record was deleted
  env = nullptr;
  EXPECT_EQ(Gated([&] { return key->EncryptA(obPKop_Raw, kIn, 4, out, 4, RecordCallback, &record, nullptr); },
                  "obPubKey_imp::EncryptA: Failed to schedule callback"),
            -1);
  EXPECT_EQ(record.calls, 0);
}

TEST(PubKeyAsyncDispatch, WithoutCallbackReportsAndFrees) {
  EXPECT_EQ(Gated(
                [] {
                  obPubKeyCallCB_tmp(nullptr);
                  obPubKeyCallCB_tmp(new obPubKeyCBInfo{nullptr, nullptr});
                  return 0;
                },
                "obPubKeyCallCB_tmp: Error: Missing CBInfo or CB"),
            0);
  CallbackRecord record;
  obPubKeyCallCB_tmp(new obPubKeyCBInfo{RecordCallback, &record});
  ExpectGenericCallback(record);
}

TEST(PubKeyEqual, ComparesThePublicForms) {
  TestKey* a = NewFakeKey(Hex("30 03 02 01 05"));
  TestKey* same = NewFakeKey(Hex("30 03 02 01 05"));
  TestKey* other = NewFakeKey(Hex("30 03 02 01 06"));
  TestKey* longer = NewFakeKey(Hex("30 04 02 02 00 80"));
  TestKey* empty = NewFakeKey(Bytes());
  TestKey* bare = new TestKey(new BareKeyImp);
  struct Case {
    obPubKey *x, *y;
    int equal;
    const char* message;
  } cases[] = {{a, a, 1, ""},
               {a, same, 1, ""},
               {a, other, 0, "obPubKey_Equal: Different keys."},
               {a, longer, 0, "obPubKey_Equal: Different keys (length)."},
               {empty, empty, 0, "obPubKey_Equal: Cannot export key."},
               {a, bare, 0, "obPubKey_Equal: Cannot export key."},
               {nullptr, a, 0, "obPubKey_Equal: bad input."},
               {a, nullptr, 0, "obPubKey_Equal: bad input."}};
  for (const Case& c : cases) EXPECT_EQ(Gated([&] { return obPubKey_Equal(c.x, c.y); }, c.message), c.equal);
  Fake(same)->failWrite = true;
  EXPECT_EQ(Gated([&] { return obPubKey_Equal(a, same); }, "obPubKey_Equal: Internal error."), 0);
  for (TestKey* key : {a, same, other, longer, empty, bare}) obFreePubKey(key);
}

// Run under ThreadSanitizer: the counts are guarded by the process-wide mutex only.
TEST(ThreadStressPKobj, ConcurrentSavesAndFreesKeepCountsExact) {
  constexpr int kThreads = 8, kKeys = 4, kRounds = 4000;
  ASSERT_EQ(obPKobj::UseMutex(), 0);
  std::atomic<int> destroyed{0};
  std::vector<TestKey*> keys;
  for (int k = 0; k < kKeys; ++k) keys.push_back(NewFakeKey(Bytes(1, static_cast<unsigned char>(k)), &destroyed));
  RunTogether(kThreads, [&](int t) {
    for (int i = 0; i < kRounds; ++i) {
      TestKey* key = keys[(i + t) % kKeys];
      int held = 1 + (i % 3);
      for (int h = 0; h < held; ++h) obSavePubKey(key);
      for (int h = 0; h < held; ++h) obFreePubKey(key);
    }
  });
  for (TestKey* key : keys) EXPECT_EQ(key->RefCount(), 1);
  EXPECT_EQ(destroyed, 0);
  for (TestKey* key : keys) obFreePubKey(key);
  EXPECT_EQ(destroyed, kKeys);
}

TEST(ThreadStressPKobj, LastReferenceDroppedOnAnyThreadDestroysOnce) {
  constexpr int kThreads = 8, kKeys = 16, kRounds = 500;
  ASSERT_EQ(obPKobj::UseMutex(), 0);
  std::atomic<int> destroyed{0};
  std::vector<TestKey*> keys;
  for (int k = 0; k < kKeys; ++k) {
    TestKey* key = NewFakeKey(Bytes(2, static_cast<unsigned char>(k)), &destroyed);
    for (int t = 1; t < kThreads; ++t) obSavePubKey(key);  // one reference per thread
    keys.push_back(key);
  }
  RunTogether(kThreads, [&](int t) {
    for (int i = 0; i < kRounds; ++i) {
      TestKey* key = keys[(i * 7 + t) % kKeys];
      obSavePubKey(key);
      EXPECT_EQ(key->OK(), 1);
      obFreePubKey(key);
    }
    for (int k = 0; k < kKeys; ++k) obFreePubKey(keys[(k + t) % kKeys]);
  });
  EXPECT_EQ(destroyed, kKeys);
}

namespace {

struct AsyncTally {
  std::atomic<int> callbacks{0}, wrongResults{0};
  int expected = 0;
  obd_env* env = nullptr;
};

void CountCallback(void* cbContext, int rc, void* data, int dataLen, const char*) {
  AsyncTally* tally = static_cast<AsyncTally*>(cbContext);
  if (rc != -1 || data || dataLen) ++tally->wrongResults;
  if (++tally->callbacks == tally->expected) obd_env_stop(tally->env);
}

}  // namespace

TEST(ThreadStressPKobj, GenericAsyncCallbacksFromManyThreads) {
  constexpr int kThreads = 8, kCalls = 200;
  ASSERT_EQ(obPKobj::UseMutex(), 0);
  AsyncTally tally;
  tally.expected = kThreads * kCalls;
  tally.env = obd_env_create();
  TestKey* key = NewFakeKey(Hex("01"));
  std::thread loop([&] { obd_env_run(tally.env); });
  RunTogether(kThreads, [&](int) {
    unsigned char out[4];
    for (int i = 0; i < kCalls; ++i) {
      obSavePubKey(key);
      EXPECT_EQ(key->EncryptA(obPKop_Raw, kIn, 4, out, 4, CountCallback, &tally, tally.env), 0);
      obFreePubKey(key);
    }
  });
  loop.join();
  EXPECT_EQ(tally.callbacks, tally.expected);
  EXPECT_EQ(tally.wrongResults, 0);
  EXPECT_EQ(Fake(key)->encryptions, tally.expected);
  EXPECT_EQ(key->RefCount(), 1);
  obFreePubKey(key);
  obd_env_destroy(tally.env);
}
