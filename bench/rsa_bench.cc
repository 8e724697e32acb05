// RSA-2048 SHA-256 signing and verification through nySRSA, beside OpenSSL's
// own EVP_DigestSign / EVP_DigestVerify on the same key and message.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <vector>

#include "nycert/keys/nysrsa.h"
#include "nycert/keys/rsa_import.h"
#include "nycert/platform/nybcrypt.h"

namespace {

struct Fixture {
  EVP_PKEY* pkey = nullptr;
  obPubKey* key = nullptr;
  std::vector<unsigned char> message = std::vector<unsigned char>(1024, 0x5A);
  std::vector<unsigned char> signature;
  std::vector<unsigned char> spki;

  Fixture() {
    pkey = EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", static_cast<size_t>(2048));
    unsigned char* der = nullptr;
    int len = i2d_PrivateKey(pkey, &der);
    key = obImportRSAKey(obPK_Format_PrivateDER, der, len);
    OPENSSL_free(der);
    unsigned char* pub = nullptr;
    int pubLen = i2d_PUBKEY(pkey, &pub);
    spki.assign(pub, pub + pubLen);
    OPENSSL_free(pub);
    signature.resize(256);
    size_t sigLen = signature.size();
    EVP_MD_CTX* md = EVP_MD_CTX_new();
    EVP_DigestSignInit(md, nullptr, EVP_sha256(), nullptr, pkey);
    EVP_DigestSign(md, signature.data(), &sigLen, message.data(), message.size());
    EVP_MD_CTX_free(md);
  }
};

Fixture& Shared() {
  static Fixture fixture;
  return fixture;
}

// Making a public key from its SubjectPublicKeyInfo DER.
void BM_NycertImportPublic(benchmark::State& state) {
  const std::vector<unsigned char>& spki = Shared().spki;
  for (auto _ : state) {
    obPubKey* key = obImportRSAKey(obPK_Format_PublicDER, spki.data(), static_cast<int>(spki.size()));
    if (!key) state.SkipWithError("nycert import failed");
    obFreePubKey(key);
  }
}

void BM_OpenSslImportPublic(benchmark::State& state) {
  const std::vector<unsigned char>& spki = Shared().spki;
  for (auto _ : state) {
    const unsigned char* p = spki.data();
    EVP_PKEY* key = d2i_PUBKEY(nullptr, &p, static_cast<long>(spki.size()));
    if (!key) state.SkipWithError("openssl import failed");
    EVP_PKEY_free(key);
  }
}

void BM_NycertSign(benchmark::State& state) {
  Fixture& f = Shared();
  unsigned char digest[32], sig[256];
  for (auto _ : state) {
    ny_md_hashbuf(ob_md_sha256, f.message.data(), static_cast<unsigned>(f.message.size()), digest);
    int n = f.key->Sign(obPKop_DigestInfo, ob_md_sha256, digest, 32, sig, 256);
    benchmark::DoNotOptimize(n);
  }
}

void BM_OpenSslSign(benchmark::State& state) {
  Fixture& f = Shared();
  unsigned char sig[256];
  for (auto _ : state) {
    size_t len = sizeof sig;
    EVP_MD_CTX* md = EVP_MD_CTX_new();
    int ok = EVP_DigestSignInit(md, nullptr, EVP_sha256(), nullptr, f.pkey) == 1 &&
             EVP_DigestSign(md, sig, &len, f.message.data(), f.message.size()) == 1;
    EVP_MD_CTX_free(md);
    benchmark::DoNotOptimize(ok);
  }
}

void BM_NycertVerify(benchmark::State& state) {
  Fixture& f = Shared();
  unsigned char digest[32];
  for (auto _ : state) {
    ny_md_hashbuf(ob_md_sha256, f.message.data(), static_cast<unsigned>(f.message.size()), digest);
    int rc = f.key->Verify(obPKop_DigestInfo, ob_md_sha256, digest, 32, f.signature.data(), 256);
    if (rc != 0) state.SkipWithError("nycert verify failed");
    benchmark::DoNotOptimize(rc);
  }
}

void BM_OpenSslVerify(benchmark::State& state) {
  Fixture& f = Shared();
  for (auto _ : state) {
    EVP_MD_CTX* md = EVP_MD_CTX_new();
    int ok = EVP_DigestVerifyInit(md, nullptr, EVP_sha256(), nullptr, f.pkey) == 1 &&
             EVP_DigestVerify(md, f.signature.data(), f.signature.size(), f.message.data(), f.message.size()) == 1;
    EVP_MD_CTX_free(md);
    if (!ok) state.SkipWithError("openssl verify failed");
    benchmark::DoNotOptimize(ok);
  }
}

const bool kRegistered = [] {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("rsa/import_public2048/nycert", BM_NycertImportPublic);
  RegisterBenchmark("rsa/import_public2048/openssl", BM_OpenSslImportPublic);
  RegisterBenchmark("rsa/sign2048/nycert", BM_NycertSign);
  RegisterBenchmark("rsa/sign2048/openssl", BM_OpenSslSign);
  RegisterBenchmark("rsa/verify2048/nycert", BM_NycertVerify);
  RegisterBenchmark("rsa/verify2048/openssl", BM_OpenSslVerify);
  return true;
}();

}  // namespace
