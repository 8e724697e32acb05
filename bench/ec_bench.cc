// Certificates with elliptic-curve keys beside OpenSSL on the same inputs:
// checking the signature of a self-signed ECDSA P-256 (SHA-256) and Ed25519
// certificate (obCert::VerifySig beside X509_verify), and decoding the P-256
// certificate with its key built (obCert and PubKey beside d2i_X509). The
// certificates are made once per run with OpenSSL's own API.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <vector>

#include "nycert/bench/alloc_count.h"
#include "nycert/certs/cert.h"
#include "nycert/keys/pubkey.h"

namespace {

using Der = std::vector<unsigned char>;

// A self-signed certificate for key (taken over), signed over md (null for
// Ed25519).
Der SelfSigned(EVP_PKEY* key, const EVP_MD* md) {
  Der der;
  X509* cert = X509_new();
  X509_NAME* name = X509_get_subject_name(cert);
  bool ok = key && X509_set_version(cert, X509_VERSION_3) == 1 &&
            ASN1_INTEGER_set(X509_get_serialNumber(cert), 0x1001) == 1 &&
            X509_gmtime_adj(X509_getm_notBefore(cert), 0) && X509_gmtime_adj(X509_getm_notAfter(cert), 86400) &&
            X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                                       reinterpret_cast<const unsigned char*>("EC bench root"), -1, -1, 0) == 1 &&
            X509_set_issuer_name(cert, name) == 1 && X509_set_pubkey(cert, key) == 1 && X509_sign(cert, key, md) > 0;
  int len = ok ? i2d_X509(cert, nullptr) : 0;
  if (len > 0) {
    der.resize(static_cast<size_t>(len));
    unsigned char* p = der.data();
    i2d_X509(cert, &p);
  }
  X509_free(cert);
  EVP_PKEY_free(key);
  return der;
}

const Der& P256() {
  static const Der der = SelfSigned(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"), EVP_sha256());
  return der;
}

const Der& Ed25519() {
  static const Der der = SelfSigned(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"), nullptr);
  return der;
}

using DerOf = const Der& (*)();

X509* FromDer(const Der& der) {
  const unsigned char* p = der.data();
  return d2i_X509(nullptr, &p, static_cast<long>(der.size()));
}

// The certificate's signature checked with its own key, decoded beforehand.
void BM_VerifyNycert(benchmark::State& state, DerOf derOf) {
  const Der& der = derOf();
  obCert* cert = new obCert(der.data(), static_cast<unsigned>(der.size()));
  obPubKey* key = cert->PubKey();
  for (auto _ : state)
    if (cert->VerifySig(key) != obVfy_OK) state.SkipWithError("the signature does not verify");
  obFreeSigned(cert);
}

void BM_VerifyOpenssl(benchmark::State& state, DerOf derOf) {
  X509* cert = FromDer(derOf());
  EVP_PKEY* key = cert ? X509_get0_pubkey(cert) : nullptr;
  for (auto _ : state)
    if (X509_verify(cert, key) != 1) state.SkipWithError("the signature does not verify");
  X509_free(cert);
}

// Decoding with the subject key built, which d2i_X509 always does.
void BM_DecodeNycert(benchmark::State& state) {
  const Der& der = P256();
  CountedLoop(state, 1, [&] {
    obCert* cert = new obCert(der.data(), static_cast<unsigned>(der.size()));
    if (!cert->OK() || !cert->PubKey()) state.SkipWithError("the certificate does not decode");
    obFreeSigned(cert);
  });
}

void BM_DecodeOpenssl(benchmark::State& state) {
  const Der& der = P256();
  CountedLoop(state, 1, [&] {
    X509* cert = FromDer(der);
    if (!cert) state.SkipWithError("the certificate does not decode");
    X509_free(cert);
  });
}

const bool kRegistered = [] {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("ec/verify_p256/nycert", BM_VerifyNycert, &P256);
  RegisterBenchmark("ec/verify_p256/openssl", BM_VerifyOpenssl, &P256);
  RegisterBenchmark("ec/verify_ed25519/nycert", BM_VerifyNycert, &Ed25519);
  RegisterBenchmark("ec/verify_ed25519/openssl", BM_VerifyOpenssl, &Ed25519);
  RegisterBenchmark("ec/decode_p256_with_key/nycert", BM_DecodeNycert);
  RegisterBenchmark("ec/decode_p256_with_key/openssl", BM_DecodeOpenssl);
  return true;
}();

}  // namespace
