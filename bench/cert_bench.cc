// Certificates beside OpenSSL on the same inputs: decoding (obCert
// construction, the full decode with names, extensions and the key check,
// beside d2i_X509) over a corpus of typical server certificates and one of
// large certificates; checking a certificate's signature; and encoding a
// decoded certificate back to DER. The corpora are made once per run with
// OpenSSL's own API, all issued by one RSA-2048 CA. Built with mbedTLS,
// decoding is measured with mbedtls_x509_crt_parse_der too.
#include <benchmark/benchmark.h>
#include <openssl/bio.h>
#include <openssl/conf.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <string>
#include <utility>
#include <vector>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/bench/alloc_count.h"
#include "nycert/certs/cert.h"

#ifdef NYCERT_BENCH_MBEDTLS
#include <mbedtls/x509_crt.h>
#endif

namespace {

using Der = std::vector<unsigned char>;
using Corpus = std::vector<Der>;
using Entries = std::vector<std::pair<const char*, std::string>>;

// What the certificates of one corpus look like.
struct Profile {
  int count;
  int keyBits;           // of the subject keys
  int keys;              // distinct subject keys, used in turn
  int altNames;          // DNS names in subjectAltName
  Entries extraSubject;  // subject attributes besides C, ST, L, O and CN
  const char* distributionPoints;
  const char* policies;  // "@polN" names a section of PolicySections()
};

// Typical RSA-2048 server certificates, about 1.2 KB, as public CAs issue them.
const Profile kTypical = {300, 2048, 3, 2, {}, "URI:http://crl.example.com/ca.crl", "2.23.140.1.2.1"};

// Large certificates, about 5 KB: an RSA-4096 key, a long subject, 100 DNS
// names, four CRL distribution points and four policies with CPS pointers.
const Profile kLarge = {
    40,
    4096,
    2,
    100,
    {{"street", "1 Market Street, Suite 3600"},
     {"postalCode", "94105"},
     {"OU", "Platform Engineering"},
     {"OU", "Web Services Division"},
     {"OU", "Certificate Operations Team"},
     {"serialNumber", "C0806592"},
     {"emailAddress", "pki-admin@example.com"}},
    "URI:http://crl1.example.com/issuing-ca.crl,URI:http://crl2.example.com/issuing-ca.crl,"
    "URI:http://crl.example.net/pki/issuing-ca.crl,URI:http://backup.example.org/crl/issuing-ca.crl",
    "@pol1,@pol2,@pol3,@pol4"};

const char* const kCommonExtensions[][2] = {
    {"basicConstraints", "critical,CA:FALSE"},
    {"keyUsage", "critical,digitalSignature,keyEncipherment"},
    {"extendedKeyUsage", "serverAuth,clientAuth"},
    {"subjectKeyIdentifier", "hash"},
    {"authorityKeyIdentifier", "keyid"},
    {"authorityInfoAccess", "OCSP;URI:http://ocsp.example.com,caIssuers;URI:http://ca.example.com/ca.crt"},
};

// Four policies, each with two CPS URIs.
std::string PolicySections() {
  std::string text;
  for (int k = 1; k <= 4; ++k) {
    std::string n = std::to_string(k);
    text += "[pol" + n + "]\npolicyIdentifier = 1.3.6.1.4.1.55555.1." + n +
            "\nCPS.1 = https://pki.example.com/cps/policy-" + n +
            ".html\nCPS.2 = https://repository.example.com/legal/cps-v" + n + ".pdf\n";
  }
  return text;
}

CONF* LoadConf(const std::string& text) {
  CONF* conf = NCONF_new(nullptr);
  BIO* in = BIO_new_mem_buf(text.data(), static_cast<int>(text.size()));
  NCONF_load_bio(conf, in, nullptr);
  BIO_free(in);
  return conf;
}

X509_NAME* Name(const Entries& entries) {
  X509_NAME* name = X509_NAME_new();
  for (const auto& entry : entries) {
    X509_NAME_add_entry_by_txt(name, entry.first, MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(entry.second.c_str()), -1, -1, 0);
  }
  return name;
}

X509_NAME* Subject(const Profile& profile, int i, const std::string& host) {
  Entries entries = {
      {"C", "US"}, {"ST", "California"}, {"L", "San Francisco"}, {"O", "Example Org " + std::to_string(i % 17)}};
  entries.insert(entries.end(), profile.extraSubject.begin(), profile.extraSubject.end());
  entries.emplace_back("CN", host);
  return Name(entries);
}

// host, then count - 1 names under it.
std::string AltNames(const std::string& host, int count) {
  std::string names = "DNS:" + host;
  for (int k = 1; k < count; ++k) names += ",DNS:alt" + std::to_string(k) + "." + host;
  return names;
}

void AddExtension(X509* cert, X509V3_CTX* ctx, CONF* conf, const char* name, const std::string& value) {
  X509_EXTENSION* ext = X509V3_EXT_nconf(conf, ctx, name, value.c_str());
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

X509* FromDer(const Der& der) {
  const unsigned char* p = der.data();
  return d2i_X509(nullptr, &p, static_cast<long>(der.size()));
}

// The CA that issues every corpus certificate.
struct Issuer {
  EVP_PKEY* key = EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", size_t{2048});
  X509_NAME* name = Name({{"C", "US"}, {"O", "Example Trust Services"}, {"CN", "Example Issuing CA R3"}});
  X509* cert = NewCert(name, name, key);
  Der der;

  Issuer() {
    X509V3_CTX ctx;
    X509V3_set_ctx(&ctx, cert, cert, nullptr, nullptr, 0);
    AddExtension(cert, &ctx, nullptr, "basicConstraints", "critical,CA:TRUE");
    AddExtension(cert, &ctx, nullptr, "keyUsage", "critical,keyCertSign,cRLSign");
    AddExtension(cert, &ctx, nullptr, "subjectKeyIdentifier", "hash");
    X509_sign(cert, key, EVP_sha256());
    der = ToDer(cert);
  }
};

const Issuer& CA() {
  static const Issuer* ca = new Issuer;
  return *ca;
}

X509* Issue(const Issuer& ca, const Profile& profile, int i, EVP_PKEY* key, CONF* conf) {
  std::string host = "host" + std::to_string(i) + ".example.com";
  X509_NAME* subject = Subject(profile, i, host);
  X509* cert = NewCert(subject, ca.name, key);
  X509_NAME_free(subject);
  X509V3_CTX ctx;
  X509V3_set_ctx(&ctx, ca.cert, cert, nullptr, nullptr, 0);
  X509V3_set_nconf(&ctx, conf);
  for (const auto& ext : kCommonExtensions) AddExtension(cert, &ctx, conf, ext[0], ext[1]);
  AddExtension(cert, &ctx, conf, "crlDistributionPoints", profile.distributionPoints);
  AddExtension(cert, &ctx, conf, "certificatePolicies", profile.policies);
  AddExtension(cert, &ctx, conf, "subjectAltName", AltNames(host, profile.altNames));
  X509_sign(cert, ca.key, EVP_sha256());
  return cert;
}

Corpus MakeCorpus(const Profile& profile) {
  std::vector<EVP_PKEY*> keys;
  for (int k = 0; k < profile.keys; ++k)
    keys.push_back(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", static_cast<size_t>(profile.keyBits)));
  CONF* conf = LoadConf(PolicySections());
  Corpus corpus;
  for (int i = 0; i < profile.count; ++i) {
    X509* cert = Issue(CA(), profile, i, keys[i % profile.keys], conf);
    corpus.push_back(ToDer(cert));
    X509_free(cert);
  }
  NCONF_free(conf);
  for (EVP_PKEY* key : keys) EVP_PKEY_free(key);
  return corpus;
}

const Corpus& Typical() {
  static const Corpus corpus = MakeCorpus(kTypical);
  return corpus;
}

const Corpus& Large() {
  static const Corpus corpus = MakeCorpus(kLarge);
  return corpus;
}

using CorpusOf = const Corpus& (*)();

// withKey adds making the subject key, which d2i_X509 always does and
// obCert does on the first PubKey().
void BM_DecodeNycert(benchmark::State& state, CorpusOf corpusOf, bool withKey) {
  const Corpus& corpus = corpusOf();
  size_t i = 0;
  CountedLoop(state, 1, [&] {
    const Der& der = corpus[i++ % corpus.size()];
    obCert* cert = new obCert(der.data(), static_cast<unsigned>(der.size()));
    if (!cert->OK() || (withKey && !cert->PubKey())) state.SkipWithError("a corpus certificate does not decode");
    obFreeSigned(cert);
  });
}

void BM_DecodeOpenssl(benchmark::State& state, CorpusOf corpusOf) {
  const Corpus& corpus = corpusOf();
  size_t i = 0;
  CountedLoop(state, 1, [&] {
    X509* cert = FromDer(corpus[i++ % corpus.size()]);
    if (!cert) state.SkipWithError("a corpus certificate does not decode");
    X509_free(cert);
  });
}

#ifdef NYCERT_BENCH_MBEDTLS
// mbedtls_x509_crt_parse_der copies the DER and reads the names, the
// extensions it knows and the subject key, which it always makes.
void BM_DecodeMbedtls(benchmark::State& state, CorpusOf corpusOf) {
  const Corpus& corpus = corpusOf();
  size_t i = 0;
  CountedLoop(state, 1, [&] {
    const Der& der = corpus[i++ % corpus.size()];
    mbedtls_x509_crt cert;
    mbedtls_x509_crt_init(&cert);
    if (mbedtls_x509_crt_parse_der(&cert, der.data(), der.size()) != 0)
      state.SkipWithError("a corpus certificate does not decode");
    mbedtls_x509_crt_free(&cert);
  });
}
#endif

// Checking one certificate's signature (SHA-256, RSA-2048) with the CA's
// key; the certificate and the key are decoded beforehand.
void BM_VerifyNycert(benchmark::State& state) {
  const Der& der = Typical()[0];
  obCert* cert = new obCert(der.data(), static_cast<unsigned>(der.size()));
  obCert* ca = new obCert(CA().der.data(), static_cast<unsigned>(CA().der.size()));
  obPubKey* key = ca->PubKey();
  for (auto _ : state)
    if (cert->VerifySig(key) != obVfy_OK) state.SkipWithError("the signature does not verify");
  obFreeSigned(cert);
  obFreeSigned(ca);
}

void BM_VerifyOpenssl(benchmark::State& state) {
  X509* cert = FromDer(Typical()[0]);
  X509* ca = FromDer(CA().der);
  EVP_PKEY* key = X509_get0_pubkey(ca);
  for (auto _ : state)
    if (X509_verify(cert, key) != 1) state.SkipWithError("the signature does not verify");
  X509_free(cert);
  X509_free(ca);
}

// The generated value tree to DER: a measuring pass for the size, then the
// real pass into out. The size, or -1.
long EncodeNycert(const obASN_Certificate& cert, Der& out) {
  obAsnWriteBuf measure(nullptr, 0);
  int size = cert.BEnc(measure);
  if (size <= 0 || static_cast<size_t>(size) > out.size()) return -1;
  obAsnWriteBuf writer(out.data(), static_cast<unsigned long>(size));
  return cert.BEnc(writer);
}

// OpenSSL keeps the to-be-signed part's encoding from decoding and i2d_X509
// alone would copy it. i2d_re_X509_tbs drops that copy and measures the part
// afresh from the values; i2d_X509 then writes the whole certificate, the
// to-be-signed part encoded again from the values (its names still from the
// encoding each name keeps). out must hold the result.
long EncodeOpenssl(X509* cert, Der& out) {
  if (i2d_re_X509_tbs(cert, nullptr) <= 0) return -1;
  unsigned char* p = out.data();
  return i2d_X509(cert, &p);
}

// Whether encode(value, out) reproduces der; out is sized to hold it.
template <class Value, class Encode>
bool RoundTrips(Value& value, Encode encode, const Der& der, Der& out) {
  out.assign(der.size(), 0);
  return encode(value, out) == static_cast<long>(der.size()) && out == der;
}

// Encoding one decoded typical certificate, which must come out unchanged.
void BM_EncodeNycert(benchmark::State& state) {
  const Der& der = Typical()[0];
  obASN_Certificate cert;
  Der out;
  if (obAsnDecode(cert, der.data(), der.size()) < 0 || !RoundTrips(cert, EncodeNycert, der, out))
    state.SkipWithError("the certificate does not re-encode to its DER");
  for (auto _ : state) benchmark::DoNotOptimize(EncodeNycert(cert, out));
}

void BM_EncodeOpenssl(benchmark::State& state) {
  const Der& der = Typical()[0];
  X509* cert = FromDer(der);
  Der out;
  if (!cert || i2d_re_X509_tbs(cert, nullptr) <= 0 || i2d_X509(cert, nullptr) != static_cast<int>(der.size()) ||
      !RoundTrips(cert, EncodeOpenssl, der, out))
    state.SkipWithError("the certificate does not re-encode to its DER");
  for (auto _ : state) benchmark::DoNotOptimize(EncodeOpenssl(cert, out));
  X509_free(cert);
}

const bool kRegistered = [] {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("cert/decode/nycert", BM_DecodeNycert, &Typical, false);
  RegisterBenchmark("cert/decode/openssl", BM_DecodeOpenssl, &Typical);
  RegisterBenchmark("cert/decode_with_key/nycert", BM_DecodeNycert, &Typical, true);
  RegisterBenchmark("cert/decode_with_key/openssl", BM_DecodeOpenssl, &Typical);
  RegisterBenchmark("cert/decode_large/nycert", BM_DecodeNycert, &Large, false);
  RegisterBenchmark("cert/decode_large/openssl", BM_DecodeOpenssl, &Large);
#ifdef NYCERT_BENCH_MBEDTLS
  RegisterBenchmark("cert/decode/mbedtls", BM_DecodeMbedtls, &Typical);
  RegisterBenchmark("cert/decode_with_key/mbedtls", BM_DecodeMbedtls, &Typical);
  RegisterBenchmark("cert/decode_large/mbedtls", BM_DecodeMbedtls, &Large);
#endif
  RegisterBenchmark("cert/verify/nycert", BM_VerifyNycert);
  RegisterBenchmark("cert/verify/openssl", BM_VerifyOpenssl);
  RegisterBenchmark("cert/encode/nycert", BM_EncodeNycert);
  RegisterBenchmark("cert/encode/openssl", BM_EncodeOpenssl);
  return true;
}();

}  // namespace
