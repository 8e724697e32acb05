// OCSP beside OpenSSL on the same response: checking one basic response
// about one certificate, signed by the certificate's RSA-2048 CA, from its
// DER (decoding, the signer, the signature, the certificate's entry and
// status). The CA, the certificate and the response are made once per run
// with OpenSSL's API.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/ocsp.h>
#include <openssl/x509.h>

#include <vector>

#include "nycert/certs/cert.h"
#include "nycert/crl/validate_params.h"
#include "nycert/validate/ocsp_request.h"
#include "nycert/validate/ocsp_response.h"

namespace {

using Der = std::vector<unsigned char>;

X509* NewCert(const char* cn, X509_NAME* issuer, EVP_PKEY* key, EVP_PKEY* signer, long serial) {
  X509* cert = X509_new();
  X509_set_version(cert, 2);
  ASN1_INTEGER_set(X509_get_serialNumber(cert), serial);
  X509_NAME* name = X509_NAME_new();
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>(cn), -1, -1, 0);
  X509_set_subject_name(cert, name);
  X509_set_issuer_name(cert, issuer ? issuer : name);
  X509_NAME_free(name);
  X509_gmtime_adj(X509_getm_notBefore(cert), -3600);
  X509_gmtime_adj(X509_getm_notAfter(cert), 365L * 86400);
  X509_set_pubkey(cert, key);
  X509_sign(cert, signer, EVP_sha256());
  return cert;
}

template <class T, int (*i2d)(const T*, unsigned char**)>
Der ToDer(const T* value) {
  unsigned char* der = nullptr;
  int len = i2d(value, &der);
  Der out(der, der + (len > 0 ? len : 0));
  OPENSSL_free(der);
  return out;
}

// A CA, a certificate it issued, and the CA's good answer about it, valid
// for a day, without a nonce.
struct Fixture {
  EVP_PKEY* caKey = EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", size_t{2048});
  EVP_PKEY* key = EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", size_t{2048});
  X509* ca = NewCert("Example OCSP CA", nullptr, caKey, caKey, 1);
  X509* cert = NewCert("www.example.com", X509_get_subject_name(ca), key, caKey, 0x1001);
  Der caDer = ToDer<X509, i2d_X509>(ca);
  Der certDer = ToDer<X509, i2d_X509>(cert);
  Der response;

  Fixture() {
    OCSP_BASICRESP* basic = OCSP_BASICRESP_new();
    OCSP_CERTID* id = OCSP_cert_to_id(EVP_sha1(), cert, ca);
    ASN1_TIME* now = X509_gmtime_adj(nullptr, 0);
    ASN1_TIME* next = X509_gmtime_adj(nullptr, 86400);
    OCSP_basic_add1_status(basic, id, V_OCSP_CERTSTATUS_GOOD, 0, nullptr, now, next);
    OCSP_basic_sign(basic, ca, caKey, EVP_sha256(), nullptr, OCSP_NOCERTS);
    OCSP_RESPONSE* whole = OCSP_response_create(OCSP_RESPONSE_STATUS_SUCCESSFUL, basic);
    response = ToDer<OCSP_RESPONSE, i2d_OCSP_RESPONSE>(whole);
    OCSP_RESPONSE_free(whole);
    OCSP_BASICRESP_free(basic);
    OCSP_CERTID_free(id);
    ASN1_TIME_free(now);
    ASN1_TIME_free(next);
  }
};

const Fixture& Shared() {
  static const Fixture* fixture = new Fixture;
  return *fixture;
}

void BM_CheckNycert(benchmark::State& state) {
  const Fixture& f = Shared();
  obCert* ca = new obCert(f.caDer.data(), static_cast<unsigned>(f.caDer.size()));
  obCert* cert = new obCert(f.certDer.data(), static_cast<unsigned>(f.certDer.size()));
  obOcspRequest request;
  ValidateParams params;
  long nextUpdate = 0;
  if (request.Build(*cert, *ca) != 0) state.SkipWithError("the request does not build");
  for (auto _ : state) {
    if (obOCSP_CheckResponse(f.response.data(), static_cast<int>(f.response.size()), request, *ca, nullptr, params,
                             nextUpdate) != 0) {
      state.SkipWithError("the response is not good");
      break;
    }
  }
  obFreeSigned(cert);
  obFreeSigned(ca);
}

// The same work through OpenSSL: decoding the response, OCSP_basic_verify
// with the CA trusted, and OCSP_resp_find_status for the certificate.
void BM_CheckOpenssl(benchmark::State& state) {
  const Fixture& f = Shared();
  X509_STORE* store = X509_STORE_new();
  X509_STORE_add_cert(store, f.ca);
  STACK_OF(X509)* certs = sk_X509_new_null();
  sk_X509_push(certs, f.ca);
  OCSP_CERTID* id = OCSP_cert_to_id(EVP_sha1(), f.cert, f.ca);
  for (auto _ : state) {
    const unsigned char* p = f.response.data();
    OCSP_RESPONSE* whole = d2i_OCSP_RESPONSE(nullptr, &p, static_cast<long>(f.response.size()));
    OCSP_BASICRESP* basic = whole ? OCSP_response_get1_basic(whole) : nullptr;
    int status = -1, reason = 0;
    ASN1_GENERALIZEDTIME *revoked = nullptr, *thisUpdate = nullptr, *nextUpdate = nullptr;
    bool good = basic && OCSP_basic_verify(basic, certs, store, 0) == 1 &&
                OCSP_resp_find_status(basic, id, &status, &reason, &revoked, &thisUpdate, &nextUpdate) == 1 &&
                status == V_OCSP_CERTSTATUS_GOOD;
    OCSP_BASICRESP_free(basic);
    OCSP_RESPONSE_free(whole);
    if (!good) {
      state.SkipWithError("the response is not good");
      break;
    }
  }
  OCSP_CERTID_free(id);
  sk_X509_free(certs);
  X509_STORE_free(store);
}

const bool kRegistered = [] {
  benchmark::RegisterBenchmark("ocsp/check/nycert", BM_CheckNycert);
  benchmark::RegisterBenchmark("ocsp/check/openssl", BM_CheckOpenssl);
  return true;
}();

}  // namespace
