// PKCS #12 files as OpenSSL 3 writes them by default (PBES2 with
// PBKDF2-HMAC-SHA256 and AES-256-CBC, 2048 iterations, an HMAC-SHA256 MAC):
// reading one back with its key and certificate, and writing one, beside
// PKCS12_parse and PKCS12_create on the same key and certificate.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/pkcs12.h>
#include <openssl/x509.h>

#include <vector>

#include "nycert/keystore/pfx_decode.h"
#include "nycert/keystore/pfx_encode.h"

namespace {

constexpr char kPassword[] = "bench-Pass";

struct Fixture {
  EVP_PKEY* pkey = nullptr;
  X509* cert = nullptr;
  std::vector<unsigned char> pfx;
  obP12Contents contents;

  Fixture() {
    pkey = EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", static_cast<size_t>(2048));
    cert = X509_new();
    X509_set_version(cert, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(cert), 1);
    X509_gmtime_adj(X509_getm_notBefore(cert), 0);
    X509_gmtime_adj(X509_getm_notAfter(cert), 86400);
    X509_NAME* name = X509_get_subject_name(cert);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("bench"), -1, -1, 0);
    X509_set_issuer_name(cert, name);
    X509_set_pubkey(cert, pkey);
    X509_sign(cert, pkey, EVP_sha256());
    PKCS12* p12 = PKCS12_create(kPassword, "bench", pkey, cert, nullptr, 0, 0, 0, 0, 0);
    unsigned char* der = nullptr;
    int len = i2d_PKCS12(p12, &der);
    pfx.assign(der, der + len);
    OPENSSL_free(der);
    PKCS12_free(p12);
    obString why;
    obP12_Decode(pfx.data(), pfx.size(), kPassword, contents, why);
  }
};

Fixture& Shared() {
  static Fixture fixture;
  return fixture;
}

void BM_NycertImport(benchmark::State& state) {
  const std::vector<unsigned char>& pfx = Shared().pfx;
  for (auto _ : state) {
    obP12Contents contents;
    obString why;
    if (obP12_Decode(pfx.data(), pfx.size(), kPassword, contents, why) < 0) state.SkipWithError("nycert import failed");
  }
}

void BM_OpenSslImport(benchmark::State& state) {
  const std::vector<unsigned char>& pfx = Shared().pfx;
  for (auto _ : state) {
    const unsigned char* p = pfx.data();
    PKCS12* p12 = d2i_PKCS12(nullptr, &p, static_cast<long>(pfx.size()));
    EVP_PKEY* key = nullptr;
    X509* cert = nullptr;
    if (!p12 || !PKCS12_parse(p12, kPassword, &key, &cert, nullptr)) state.SkipWithError("openssl import failed");
    EVP_PKEY_free(key);
    X509_free(cert);
    PKCS12_free(p12);
  }
}

void BM_NycertExport(benchmark::State& state) {
  const obP12Contents& contents = Shared().contents;
  for (auto _ : state) {
    nyBinBuf out;
    obString why;
    if (obP12_Encode(contents, kPassword, obP12WriteOptions(), out, why) < 0) state.SkipWithError("nycert export failed");
  }
}

void BM_OpenSslExport(benchmark::State& state) {
  Fixture& f = Shared();
  for (auto _ : state) {
    PKCS12* p12 = PKCS12_create(kPassword, "bench", f.pkey, f.cert, nullptr, 0, 0, 0, 0, 0);
    unsigned char* der = nullptr;
    if (!p12 || i2d_PKCS12(p12, &der) <= 0) state.SkipWithError("openssl export failed");
    OPENSSL_free(der);
    PKCS12_free(p12);
  }
}

const bool kRegistered = [] {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("p12/import_default/nycert", BM_NycertImport);
  RegisterBenchmark("p12/import_default/openssl", BM_OpenSslImport);
  RegisterBenchmark("p12/export_default/nycert", BM_NycertExport);
  RegisterBenchmark("p12/export_default/openssl", BM_OpenSslExport);
  return true;
}();

}  // namespace
