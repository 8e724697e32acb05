// Certificate decoding: obCert construction (the full decode with names,
// extensions and the key check) beside OpenSSL's d2i_X509, over the same
// corpus of typical RSA-2048 server certificates. The corpus is made once per
// run with OpenSSL's own API: a CA and 300 certificates it issues, each with
// its own names and serial and the extensions public CAs write.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <string>
#include <vector>

#include "nycert/certs/cert.h"

namespace {

using Der = std::vector<unsigned char>;

constexpr int kCorpusSize = 300;
constexpr int kKeys = 4;

const char* const kServerExtensions[][2] = {
    {"basicConstraints", "critical,CA:FALSE"},
    {"keyUsage", "critical,digitalSignature,keyEncipherment"},
    {"extendedKeyUsage", "serverAuth,clientAuth"},
    {"subjectKeyIdentifier", "hash"},
    {"authorityKeyIdentifier", "keyid"},
    {"crlDistributionPoints", "URI:http://crl.example.com/ca.crl"},
    {"authorityInfoAccess", "OCSP;URI:http://ocsp.example.com,caIssuers;URI:http://ca.example.com/ca.crt"},
    {"certificatePolicies", "2.23.140.1.2.1"},
};

X509_NAME* Name(const std::vector<std::pair<const char*, std::string>>& entries) {
  X509_NAME* name = X509_NAME_new();
  for (const auto& entry : entries) {
    X509_NAME_add_entry_by_txt(name, entry.first, MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(entry.second.c_str()), -1, -1, 0);
  }
  return name;
}

void AddExtension(X509* cert, X509V3_CTX* ctx, const char* name, const std::string& value) {
  X509_EXTENSION* ext = X509V3_EXT_conf(nullptr, ctx, name, value.c_str());
  X509_add_ext(cert, ext, -1);
  X509_EXTENSION_free(ext);
}

X509* NewCert(X509_NAME* subject, X509_NAME* issuer, EVP_PKEY* key) {
  X509* cert = X509_new();
  X509_set_version(cert, 2);
  unsigned char serial[16];
  RAND_bytes(serial, sizeof serial);
  serial[0] &= 0x7F;
  BIGNUM* bn = BN_bin2bn(serial, sizeof serial, nullptr);
  BN_to_ASN1_INTEGER(bn, X509_get_serialNumber(cert));
  BN_free(bn);
  X509_set_subject_name(cert, subject);
  X509_set_issuer_name(cert, issuer);
  X509_gmtime_adj(X509_getm_notBefore(cert), 0);
  X509_gmtime_adj(X509_getm_notAfter(cert), 398L * 86400);
  X509_set_pubkey(cert, key);
  return cert;
}

Der ToDer(X509* cert) {
  unsigned char* der = nullptr;
  int len = i2d_X509(cert, &der);
  Der out(der, der + len);
  OPENSSL_free(der);
  return out;
}

std::vector<Der> MakeCorpus() {
  std::vector<EVP_PKEY*> keys;
  for (int i = 0; i < kKeys; ++i) keys.push_back(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", size_t{2048}));
  X509_NAME* caName = Name({{"C", "US"}, {"O", "Example Trust Services"}, {"CN", "Example Issuing CA R3"}});
  X509* ca = NewCert(caName, caName, keys[0]);
  X509V3_CTX ctx;
  X509V3_set_ctx(&ctx, ca, ca, nullptr, nullptr, 0);
  AddExtension(ca, &ctx, "subjectKeyIdentifier", "hash");
  X509_sign(ca, keys[0], EVP_sha256());

  std::vector<Der> corpus;
  for (int i = 0; i < kCorpusSize; ++i) {
    std::string host = "host" + std::to_string(i) + ".example.com";
    X509_NAME* subject = Name({{"C", "US"}, {"ST", "California"}, {"L", "San Francisco"},
                               {"O", "Example Org " + std::to_string(i % 17)}, {"CN", host}});
    X509* cert = NewCert(subject, caName, keys[1 + i % (kKeys - 1)]);
    X509V3_set_ctx(&ctx, ca, cert, nullptr, nullptr, 0);
    for (const auto& ext : kServerExtensions) AddExtension(cert, &ctx, ext[0], ext[1]);
    AddExtension(cert, &ctx, "subjectAltName", "DNS:" + host + ",DNS:www." + host);
    X509_sign(cert, keys[0], EVP_sha256());
    corpus.push_back(ToDer(cert));
    X509_free(cert);
    X509_NAME_free(subject);
  }
  X509_free(ca);
  X509_NAME_free(caName);
  for (EVP_PKEY* key : keys) EVP_PKEY_free(key);
  return corpus;
}

const std::vector<Der>& Corpus() {
  static const std::vector<Der> corpus = MakeCorpus();
  return corpus;
}

void BM_DecodeNycert(benchmark::State& state) {
  const std::vector<Der>& corpus = Corpus();
  size_t i = 0;
  for (auto _ : state) {
    const Der& der = corpus[i++ % corpus.size()];
    obCert* cert = new obCert(der.data(), static_cast<unsigned>(der.size()));
    if (!cert->OK()) state.SkipWithError("a corpus certificate does not decode");
    obFreeSigned(cert);
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_DecodeOpenssl(benchmark::State& state) {
  const std::vector<Der>& corpus = Corpus();
  size_t i = 0;
  for (auto _ : state) {
    const Der& der = corpus[i++ % corpus.size()];
    const unsigned char* p = der.data();
    X509* cert = d2i_X509(nullptr, &p, static_cast<long>(der.size()));
    if (!cert) state.SkipWithError("a corpus certificate does not decode");
    X509_free(cert);
  }
  state.SetItemsProcessed(state.iterations());
}

const bool kRegistered = [] {
  benchmark::RegisterBenchmark("cert/decode/nycert", BM_DecodeNycert);
  benchmark::RegisterBenchmark("cert/decode/openssl", BM_DecodeOpenssl);
  return true;
}();

}  // namespace
