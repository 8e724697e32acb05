// RSA-2048 signatures through the key-task pool with 1, 2 and 4 workers,
// beside synchronous signing by nycert and by OpenSSL. Each iteration signs
// a batch of 32 digests; the pool rows count until the last callback has run
// on the event loop, in wall-clock time.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "nycert/keys/key_task_mngmnt.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keys/rsa_import.h"
#include "nycert/platform/obd_env.h"

namespace {

constexpr int kBatch = 32;

struct Fixture {
  EVP_PKEY* pkey = nullptr;
  obPubKey* key = nullptr;
  unsigned char digest[32];

  Fixture() {
    pkey = EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", static_cast<size_t>(2048));
    unsigned char* der = nullptr;
    int len = i2d_PrivateKey(pkey, &der);
    key = obImportRSAKey(obPK_Format_PrivateDER, der, len);
    OPENSSL_free(der);
    for (int i = 0; i < 32; ++i) digest[i] = static_cast<unsigned char>(i);
  }
};

Fixture& Shared() {
  static Fixture fixture;
  return fixture;
}

// The completions of one batch: all of them, so that the loop below always
// ends, and those that brought a whole signature.
struct Batch {
  int done = 0;
  int signatures = 0;
};

void CountSignature(void* context, int, void*, int signatureLen, const char*) {
  Batch* batch = static_cast<Batch*>(context);
  ++batch->done;
  if (signatureLen == 256) ++batch->signatures;
}

void PoolSign(benchmark::State& state, int workers) {
  Fixture& f = Shared();
  setenv("KEYTASK_MT", std::to_string(workers).c_str(), 1);
  obd_env* env = obd_env_create();
  KeyTaskMngmnt_init(env);
  for (auto _ : state) {
    Batch batch;
    for (int i = 0; i < kBatch; ++i)
      f.key->SignA(obPKop_DigestInfo, ob_md_sha256, f.digest, 32, CountSignature, &batch, env);
    while (batch.done < kBatch) obd_env_run_once(env, 100);
    if (batch.signatures != kBatch) state.SkipWithError("a signature failed");
  }
  KeyTaskMngmnt_term();
  obd_env_destroy(env);
  unsetenv("KEYTASK_MT");
  state.SetItemsProcessed(state.iterations() * kBatch);
}

void BM_SyncSign(benchmark::State& state) {
  Fixture& f = Shared();
  unsigned char sig[256];
  for (auto _ : state) {
    for (int i = 0; i < kBatch; ++i)
      benchmark::DoNotOptimize(f.key->Sign(obPKop_DigestInfo, ob_md_sha256, f.digest, 32, sig, 256));
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}

void BM_OpenSslSign(benchmark::State& state) {
  Fixture& f = Shared();
  unsigned char sig[256];
  for (auto _ : state) {
    for (int i = 0; i < kBatch; ++i) {
      EVP_PKEY_CTX* ctx = EVP_PKEY_CTX_new(f.pkey, nullptr);
      size_t len = sizeof sig;
      int ok = EVP_PKEY_sign_init(ctx) == 1 && EVP_PKEY_CTX_set_signature_md(ctx, EVP_sha256()) == 1 &&
               EVP_PKEY_sign(ctx, sig, &len, f.digest, 32) == 1;
      EVP_PKEY_CTX_free(ctx);
      benchmark::DoNotOptimize(ok);
    }
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}

const bool kRegistered = [] {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("keytask/sign2048x32/nycert", BM_SyncSign)->UseRealTime();
  RegisterBenchmark("keytask/sign2048x32/openssl", BM_OpenSslSign)->UseRealTime();
  for (int workers : {1, 2, 4}) {
    std::string name = "keytask/sign2048x32/nycert_pool" + std::to_string(workers);
    RegisterBenchmark(name.c_str(), [workers](benchmark::State& state) { PoolSign(state, workers); })->UseRealTime();
  }
  return true;
}();

}  // namespace
