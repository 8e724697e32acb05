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
// complements each input octet. It counts its encryptions and reports its
// destruction.
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

  int Encrypt(obPKop_type, const unsigned char* in, int inLen, unsigned char* out, int outLen) override {
    ++encryptions;
    if (outLen < inLen) return obPK_RC_BufferTooSmall;
    for (int i = 0; i < inLen; ++i) out[i] = static_cast<unsigned char>(~in[i]);
    return inLen;
  }

  int Export(obPK_Format fmt, void* out, int outLen) override {
    int len = static_cast<int>(public_.size());
    if (fmt != obPK_Format_PublicDER) return obPK_RC_ExportFailed;
    if (!out) return len;
    if (failWrite) return obPK_RC_ExportFailed;
    if (outLen < len) return obPK_RC_BufferTooSmall;
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
  int calls = 0;
  void* context = nullptr;
  int rc = 0;
  void* data = reinterpret_cast<void*>(1);
  int dataLen = -99;
  const char* message = "unset";
};

void RecordCallback(void* cbContext, int rc, void* data, int dataLen, const char* message) {
  CallbackRecord* record = static_cast<CallbackRecord*>(cbContext);
  ++record->calls;
  record->context = cbContext;
  record->rc = rc;
  record->data = data;
  record->dataLen = dataLen;
  record->message = message;
}

void ExpectGenericCallback(const CallbackRecord& record) {
  EXPECT_EQ(record.calls, 1);
  EXPECT_EQ(record.context, &record);
  EXPECT_EQ(record.rc, -1);
  EXPECT_EQ(record.data, nullptr);
  EXPECT_EQ(record.dataLen, 0);
  EXPECT_EQ(record.message, nullptr);
}

const unsigned char kIn[4] = {0x00, 0x0F, 0xF0, 0xFF};

}  // namespace

TEST(PubKeyDefaults, UnimplementedOperationsNameTheKeyClass) {
  TestKey* bare = new TestKey(new BareKeyImp);
  TestKey& key = *bare;
  unsigned char out[8] = {0};
  struct Case {
    const char* message;
    std::function<int()> op;
  } cases[] = {
      {"Encrypt not implemeted for BareKeyImp", [&] { return key.Encrypt(obPKop_Raw, kIn, 4, out, 8); }},
      {"Decrypt not implemeted for BareKeyImp", [&] { return key.Decrypt(obPKop_Raw, kIn, 4, out, 8); }},
      {"Sign not implemeted for BareKeyImp", [&] { return key.Sign(obPKop_DigestInfo, ob_md_sha1, kIn, 4, out, 8); }},
      {"Verify not implemeted for BareKeyImp",
       [&] { return key.Verify(obPKop_DigestInfo, ob_md_sha1, kIn, 4, out, 8); }},
      {"Derive not implemeted for BareKeyImp", [&] { return key.Derive(obPKop_Raw, kIn, 4, out, 8); }},
      {"Export not implemeted for BareKeyImp", [&] { return key.Export(obPK_Format_PublicDER, nullptr, 0); }},
      {"GetLen not implemeted for BareKeyImp", [&] { return key.GetLen(obPK_Len_Bits); }},
      {"Sign not implemeted for BareKeyImp",
       [&] { return obPubKey_Sign(&key, obPKop_Raw, ob_md_md5, kIn, 4, out, 8); }},
      {"Verify not implemeted for BareKeyImp",
       [&] { return obPubKey_Verify(&key, obPKop_Raw, ob_md_md5, kIn, 4, out, 8); }},
      {"Derive not implemeted for BareKeyImp", [&] { return obPubKey_Derive(&key, obPKop_Raw, kIn, 4, out, 8); }},
      {"Export not implemeted for BareKeyImp",
       [&] { return obPubKey_Export(&key, obPK_Format_PrivateDER, out, 8); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    EXPECT_EQ(Gated(c.op, c.message), obPK_RC_NotImplemented);
  }
  DiagCapture diag;
  key.Herror();
  EXPECT_EQ(diag.Lines(), Lines{"Herror not implemeted for BareKeyImp"});
  obFreePubKey(bare);
}

TEST(PubKeyDefaults, QuietDefaultsAndForwarding) {
  DiagCapture diag;
  TestKey* key = NewFakeKey(Hex("30 00"));
  CallbackRecord record;
  EXPECT_EQ(key->SignA(obPKop_Raw, ob_md_sha1, kIn, 4, RecordCallback, &record, nullptr), -1);
  EXPECT_EQ(key->DeriveA(obPKop_Raw, kIn, 4, RecordCallback, &record, nullptr), -1);
  EXPECT_EQ(key->ID(), nullptr);
  EXPECT_EQ(key->IdLen(), 0);
  EXPECT_EQ(key->Remove(), 0);
  unsigned char out[4];
  EXPECT_EQ(key->Encrypt(obPKop_Raw, kIn, 4, out, 4), 4);
  EXPECT_EQ(ToHex(out, 4), "FF F0 0F 00");
  EXPECT_EQ(key->Encrypt(obPKop_Raw, kIn, 4, out, 3), obPK_RC_BufferTooSmall);
  EXPECT_EQ(obPubKey_Export(key, obPK_Format_PublicDER, nullptr, 0), 2);
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
  EXPECT_EQ(key->RefCount(), 1);
  obSavePubKey(key);
  obSavePKobj(key);
  EXPECT_EQ(key->RefCount(), 3);
  obFreePubKey(key);
  obFreePKobj(key);
  EXPECT_EQ(key->RefCount(), 1);
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

TEST(PKobjRefCount, FreeAtCountZeroReportsAndStillDestroys) {
  DiagCapture diag;
  ProbeObj* obj = new ProbeObj;
  obj->DropWithoutFree();
  EXPECT_EQ(obj->RefCount(), 0);
  obFreePKobj(obj);
  EXPECT_EQ(diag.Lines(),
            (Lines{"obFreePKobj: negative reference count -1", "obPKobj_imp::~obPKobj_imp: non zero refcount"}));
  DiagCapture shut(false);
  obj = new ProbeObj;
  obj->DropWithoutFree();
  obFreePKobj(obj);
  EXPECT_TRUE(shut.Lines().empty());
}

TEST(PKobjRefCount, DeletingAReferencedObjectIsReported) {
  std::atomic<int> destroyed{0};
  TestKey* key = NewFakeKey(Hex("01"), &destroyed);
  obSavePubKey(key);
  DiagCapture diag;
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
};

TEST_F(PubKeyAsync, EncryptARunsEncryptAndCallsBackLaterOnTheLoop) {
  CallbackRecord record;
  unsigned char out[4] = {0};
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
  CallbackRecord decrypted, verified;
  unsigned char out[4];
  {
    DiagCapture diag;
    EXPECT_EQ(bare->DecryptA(obPKop_Raw, kIn, 4, out, 4, RecordCallback, &decrypted, env), 0);
    EXPECT_EQ(bare->VerifyA(obPKop_Raw, ob_md_sha1, kIn, 4, kIn, 4, RecordCallback, &verified, env), 0);
    EXPECT_EQ(diag.Lines(), (Lines{"Decrypt not implemeted for BareKeyImp", "Verify not implemeted for BareKeyImp"}));
  }
  EXPECT_EQ(obd_env_run_once(env, 1000) + obd_env_run_once(env, 0), 2);
  ExpectGenericCallback(decrypted);
  ExpectGenericCallback(verified);
  obFreePubKey(bare);
}

TEST_F(PubKeyAsync, MissingCallbackRefusesBeforeRunningTheOperation) {
  unsigned char out[4];
  struct Case {
    const char* message;
    std::function<int()> op;
  } cases[] = {
      {"obPubKey_imp::EncryptA: No callback given",
       [&] { return key->EncryptA(obPKop_Raw, kIn, 4, out, 4, nullptr, nullptr, env); }},
      {"obPubKey_imp::DecryptA: No callback given",
       [&] { return key->DecryptA(obPKop_Raw, kIn, 4, out, 4, nullptr, nullptr, env); }},
      {"obPubKey_imp::VerifyA: No callback given",
       [&] { return key->VerifyA(obPKop_Raw, ob_md_md5, kIn, 4, kIn, 4, nullptr, nullptr, env); }},
  };
  for (const Case& c : cases) EXPECT_EQ(Gated(c.op, c.message), obPK_RC_NoCallback);
  EXPECT_EQ(Fake(key)->encryptions, 0);
  EXPECT_EQ(obd_env_run_once(env, 0), 0);
}

TEST_F(PubKeyAsync, PendingCallbacksOfADestroyedEnvironmentAreFreed) {
  CallbackRecord record;
  unsigned char out[4];
  EXPECT_EQ(key->EncryptA(obPKop_Raw, kIn, 4, out, 4, RecordCallback, &record, env), 0);
  obd_env_destroy(env);  // the leak checker sees whether the pending record was deleted
  env = nullptr;
  EXPECT_EQ(record.calls, 0);
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
  EXPECT_EQ(Gated([&] { return obPubKey_Equal(a, a); }), 1);
  EXPECT_EQ(Gated([&] { return obPubKey_Equal(a, same); }), 1);
  EXPECT_EQ(Gated([&] { return obPubKey_Equal(a, other); }, "obPubKey_Equal: Different keys."), 0);
  EXPECT_EQ(Gated([&] { return obPubKey_Equal(a, longer); }, "obPubKey_Equal: Different keys (length)."), 0);
  EXPECT_EQ(Gated([&] { return obPubKey_Equal(empty, empty); }, "obPubKey_Equal: Cannot export key."), 0);
  EXPECT_EQ(Gated([&] { return obPubKey_Equal(a, bare); }, "obPubKey_Equal: Cannot export key."), 0);
  EXPECT_EQ(Gated([&] { return obPubKey_Equal(nullptr, a); }, "obPubKey_Equal: bad input."), 0);
  EXPECT_EQ(Gated([&] { return obPubKey_Equal(a, nullptr); }, "obPubKey_Equal: bad input."), 0);
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
  std::atomic<int> callbacks{0};
  std::atomic<int> wrongResults{0};
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
