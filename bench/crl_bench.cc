// CRL decoding and revocation look-ups: obCRL construction (issuer, times,
// extensions and the serial table) beside OpenSSL's d2i_X509_CRL, and
// obCRL::IsEntryExist beside X509_CRL_get0_by_serial, over one CRL of
// 100,000 entries made once per run with OpenSSL's own API. Half the
// entries carry 16-octet random serials as public CAs issue them, the other
// half small sequential ones; every fourth carries a reason code. Built
// with mbedTLS, decoding is measured with mbedtls_x509_crl_parse_der too.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <ctime>
#include <vector>

#include "nycert/bench/alloc_count.h"
#include "nycert/crl/crl.h"

#ifdef NYCERT_BENCH_MBEDTLS
#include <mbedtls/x509_crl.h>
#endif

namespace {

using Der = std::vector<unsigned char>;

constexpr int kEntries = 100000;
constexpr int kProbes = 256;  // look-up targets, half of them listed
constexpr int kSmallSerialBase = 0x01000000;

ASN1_INTEGER* RandomSerial() {
  unsigned char octets[16];
  RAND_bytes(octets, sizeof octets);
  octets[0] &= 0x7F;
  BIGNUM* bn = BN_bin2bn(octets, sizeof octets, nullptr);
  ASN1_INTEGER* serial = BN_to_ASN1_INTEGER(bn, nullptr);
  BN_free(bn);
  return serial;
}

ASN1_INTEGER* SmallSerial(long value) {
  ASN1_INTEGER* serial = ASN1_INTEGER_new();
  ASN1_INTEGER_set(serial, value);
  return serial;
}

X509_REVOKED* Revoked(ASN1_INTEGER* serial, const ASN1_TIME* when, bool withReason) {
  X509_REVOKED* entry = X509_REVOKED_new();
  X509_REVOKED_set_serialNumber(entry, serial);
  X509_REVOKED_set_revocationDate(entry, const_cast<ASN1_TIME*>(when));
  if (withReason) {
    ASN1_ENUMERATED* reason = ASN1_ENUMERATED_new();
    ASN1_ENUMERATED_set(reason, CRL_REASON_KEY_COMPROMISE);
    X509_REVOKED_add1_ext_i2d(entry, NID_crl_reason, reason, 0, 0);
    ASN1_ENUMERATED_free(reason);
  }
  return entry;
}

X509* Certificate(const ASN1_INTEGER* serial, X509_NAME* issuer, EVP_PKEY* key) {
  X509* cert = X509_new();
  X509_set_version(cert, 2);
  X509_set_serialNumber(cert, const_cast<ASN1_INTEGER*>(serial));
  X509_set_issuer_name(cert, issuer);
  X509_set_subject_name(cert, issuer);
  X509_gmtime_adj(X509_getm_notBefore(cert), 0);
  X509_gmtime_adj(X509_getm_notAfter(cert), 86400);
  X509_set_pubkey(cert, key);
  X509_sign(cert, key, EVP_sha256());
  return cert;
}

template <class T, class Encode>
Der ToDer(T* object, Encode encode) {
  unsigned char* der = nullptr;
  int len = encode(object, &der);
  Der out(der, der + (len > 0 ? len : 0));
  OPENSSL_free(der);
  return out;
}

struct Fixture {
  Der crl;
  std::vector<Der> certs;              // kProbes certificates, the even ones revoked
  std::vector<int> ints;               // kProbes small serials, the even ones revoked
  std::vector<ASN1_INTEGER*> serials;  // the certificates' serials, then the ints

  Fixture() {
    EVP_PKEY* key = EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", size_t{2048});
    X509_NAME* issuer = X509_NAME_new();
    X509_NAME_add_entry_by_txt(issuer, "C", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>("US"), -1, -1, 0);
    X509_NAME_add_entry_by_txt(issuer, "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>("Example Issuing CA R3"), -1, -1, 0);
    X509_CRL* list = X509_CRL_new();
    X509_CRL_set_version(list, X509_CRL_VERSION_2);
    X509_CRL_set_issuer_name(list, issuer);
    ASN1_TIME* now = ASN1_TIME_set(nullptr, std::time(nullptr));
    ASN1_TIME* next = ASN1_TIME_set(nullptr, std::time(nullptr) + 7 * 86400);
    X509_CRL_set1_lastUpdate(list, now);
    X509_CRL_set1_nextUpdate(list, next);

    for (int i = 0; i < kEntries; ++i) {
      bool small = i % 2 == 1;
      ASN1_INTEGER* serial = small ? SmallSerial(kSmallSerialBase + i) : RandomSerial();
      if (!small && i / 2 < kProbes / 2) certs.push_back(ProbeCert(serial, issuer, key));
      X509_CRL_add0_revoked(list, Revoked(serial, now, i % 4 == 0));
      ASN1_INTEGER_free(serial);
    }
    for (int i = 0; i < kProbes / 2; ++i) {
      ASN1_INTEGER* unlisted = RandomSerial();
      certs.push_back(ProbeCert(unlisted, issuer, key));
      ASN1_INTEGER_free(unlisted);
    }
    for (int i = 0; i < kProbes; ++i) {
      ints.push_back(kSmallSerialBase + (i % 2 == 0 ? 1 + 2 * (i * 97 % (kEntries / 2)) : kEntries + i));
      serials.push_back(SmallSerial(ints.back()));
    }
    X509_CRL_sign(list, key, EVP_sha256());
    crl = ToDer(list, i2d_X509_CRL);
    X509_CRL_free(list);
    ASN1_TIME_free(now);
    ASN1_TIME_free(next);
    X509_NAME_free(issuer);
    EVP_PKEY_free(key);
  }

  // A certificate with serial; its serial is kept for the OpenSSL look-ups.
  Der ProbeCert(const ASN1_INTEGER* serial, X509_NAME* issuer, EVP_PKEY* key) {
    X509* cert = Certificate(serial, issuer, key);
    Der der = ToDer(cert, i2d_X509);
    serials.push_back(ASN1_INTEGER_dup(serial));
    X509_free(cert);
    return der;
  }
};

const Fixture& Shared() {
  static const Fixture* fixture = new Fixture;
  return *fixture;
}

// Allocations are counted per CRL entry, beside the DER's own size per
// entry ("der"), which the decoded CRL keeps a copy of.
void BM_DecodeNycert(benchmark::State& state) {
  const Der& der = Shared().crl;
  CountedLoop(state, kEntries, [&] {
    obCRL* crl = new obCRL(der.data(), static_cast<unsigned>(der.size()));
    if (!crl->OK() || crl->GetSize() != kEntries) state.SkipWithError("the CRL does not decode");
    obFreeSigned(crl);
  });
  state.counters["der"] = static_cast<double>(der.size()) / kEntries;
}

void BM_DecodeOpenssl(benchmark::State& state) {
  const Der& der = Shared().crl;
  CountedLoop(state, kEntries, [&] {
    const unsigned char* p = der.data();
    X509_CRL* crl = d2i_X509_CRL(nullptr, &p, static_cast<long>(der.size()));
    if (!crl) state.SkipWithError("the CRL does not decode");
    X509_CRL_free(crl);
  });
}

#ifdef NYCERT_BENCH_MBEDTLS
// mbedtls_x509_crl_parse_der copies the DER and makes a linked list entry
// per revoked certificate.
void BM_DecodeMbedtls(benchmark::State& state) {
  const Der& der = Shared().crl;
  CountedLoop(state, kEntries, [&] {
    mbedtls_x509_crl crl;
    mbedtls_x509_crl_init(&crl);
    if (mbedtls_x509_crl_parse_der(&crl, der.data(), der.size()) != 0) state.SkipWithError("the CRL does not decode");
    mbedtls_x509_crl_free(&crl);
  });
}
#endif

// Look-ups cycle through the probes: by certificate, then by integer.
void BM_LookupNycert(benchmark::State& state) {
  const Fixture& f = Shared();
  obCRL* crl = new obCRL(f.crl.data(), static_cast<unsigned>(f.crl.size()));
  std::vector<obCert*> certs;
  for (const Der& der : f.certs) certs.push_back(new obCert(der.data(), static_cast<unsigned>(der.size())));
  size_t i = 0;
  int found = 0;
  for (auto _ : state) {
    found += crl->IsEntryExist(certs[i++ % certs.size()]);
  }
  benchmark::DoNotOptimize(found);
  if (found * 2 < static_cast<int>(state.iterations()) - 2) state.SkipWithError("revoked probes not found");
  for (obCert* cert : certs) obFreeSigned(cert);
  obFreeSigned(crl);
  state.SetItemsProcessed(state.iterations());
}

void BM_LookupIntNycert(benchmark::State& state) {
  const Fixture& f = Shared();
  obCRL* crl = new obCRL(f.crl.data(), static_cast<unsigned>(f.crl.size()));
  size_t i = 0;
  int found = 0;
  for (auto _ : state) {
    found += crl->IsEntryExist(f.ints[i++ % f.ints.size()]);
  }
  benchmark::DoNotOptimize(found);
  if (found * 2 < static_cast<int>(state.iterations()) - 2) state.SkipWithError("revoked probes not found");
  obFreeSigned(crl);
  state.SetItemsProcessed(state.iterations());
}

void BM_LookupOpenssl(benchmark::State& state) {
  const Fixture& f = Shared();
  const unsigned char* p = f.crl.data();
  X509_CRL* crl = d2i_X509_CRL(nullptr, &p, static_cast<long>(f.crl.size()));
  X509_REVOKED* entry = nullptr;
  X509_CRL_get0_by_serial(crl, &entry, f.serials[0]);  // the first look-up sorts the entries
  size_t i = 0;
  int found = 0;
  for (auto _ : state) {
    found += X509_CRL_get0_by_serial(crl, &entry, f.serials[i++ % f.serials.size()]) == 1;
  }
  benchmark::DoNotOptimize(found);
  if (found * 2 < static_cast<int>(state.iterations()) - 2) state.SkipWithError("revoked probes not found");
  X509_CRL_free(crl);
  state.SetItemsProcessed(state.iterations());
}

const bool kRegistered = [] {
  benchmark::RegisterBenchmark("crl/decode100k/nycert", BM_DecodeNycert)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("crl/decode100k/openssl", BM_DecodeOpenssl)->Unit(benchmark::kMillisecond);
#ifdef NYCERT_BENCH_MBEDTLS
  benchmark::RegisterBenchmark("crl/decode100k/mbedtls", BM_DecodeMbedtls)->Unit(benchmark::kMillisecond);
#endif
  benchmark::RegisterBenchmark("crl/lookup/nycert", BM_LookupNycert);
  benchmark::RegisterBenchmark("crl/lookup/nycert_int", BM_LookupIntNycert);
  benchmark::RegisterBenchmark("crl/lookup/openssl", BM_LookupOpenssl);
  return true;
}();

}  // namespace
