// PKCS#10 requests with an RSA-2048 key: making and signing one (SHA-256,
// a subject of three names, one alternative name) beside X509_REQ_sign, and
// decoding and verifying one beside d2i_X509_REQ plus X509_REQ_verify.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <vector>

#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/certs/ext_gn.h"
#include "nycert/certs/extensions_list.h"
#include "nycert/enroll/cert_template.h"
#include "nycert/enroll/pkcs10.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keys/rsa_import.h"
#include "nycert/names/general_name.h"
#include "nycert/names/general_names.h"
#include "nycert/names/obdn.h"

namespace {

struct Fixture {
  EVP_PKEY* pkey = nullptr;
  obPubKey* key = nullptr;
  obDN subject{"CN=device.example.com,O=Example Inc,C=US"};
  obExtensionsList extensions;
  nyBinBuf request;

  Fixture() {
    pkey = EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", static_cast<size_t>(2048));
    unsigned char* der = nullptr;
    int len = i2d_PrivateKey(pkey, &der);
    key = obImportRSAKey(obPK_Format_PrivateDER, der, len);
    OPENSSL_free(der);
    obGeneralNames names;
    names.Add(new obGeneralName(obGN_dNSName, "device.example.com", 18));
    extensions.Add(obASN_id_ce_subjectAltName, 0, new obExtGN(names));
    obEncode_full_pkcs10_with_password(*key, subject, request, &extensions, nullptr, ob_md_sha256);
  }
};

Fixture& Shared() {
  static Fixture fixture;
  return fixture;
}

void BM_NycertMakeRequest(benchmark::State& state) {
  Fixture& f = Shared();
  for (auto _ : state) {
    nyBinBuf out;
    if (obEncode_full_pkcs10_with_password(*f.key, f.subject, out, &f.extensions, nullptr, ob_md_sha256) != 0)
      state.SkipWithError("nycert request failed");
    benchmark::DoNotOptimize(out.Data());
  }
}

void BM_OpenSslMakeRequest(benchmark::State& state) {
  Fixture& f = Shared();
  for (auto _ : state) {
    X509_REQ* req = X509_REQ_new();
    X509_REQ_set_version(req, 0);
    X509_NAME* name = X509_REQ_get_subject_name(req);
    X509_NAME_add_entry_by_txt(name, "C", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("US"), -1, -1, 0);
    X509_NAME_add_entry_by_txt(name, "O", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("Example Inc"), -1, -1,
                               0);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>("device.example.com"), -1, -1, 0);
    X509_REQ_set_pubkey(req, f.pkey);
    STACK_OF(X509_EXTENSION)* exts = sk_X509_EXTENSION_new_null();
    sk_X509_EXTENSION_push(exts, X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name,
                                                     "DNS:device.example.com"));
    X509_REQ_add_extensions(req, exts);
    sk_X509_EXTENSION_pop_free(exts, X509_EXTENSION_free);
    if (X509_REQ_sign(req, f.pkey, EVP_sha256()) <= 0) state.SkipWithError("openssl request failed");
    unsigned char* der = nullptr;
    int len = i2d_X509_REQ(req, &der);
    benchmark::DoNotOptimize(len);
    OPENSSL_free(der);
    X509_REQ_free(req);
  }
}

void BM_NycertVerifyRequest(benchmark::State& state) {
  Fixture& f = Shared();
  for (auto _ : state) {
    obCertTemplate t;
    if (obDecode_full_pkcs10_with_password(f.request, t, nullptr) != 0) state.SkipWithError("nycert verify failed");
  }
}

void BM_OpenSslVerifyRequest(benchmark::State& state) {
  Fixture& f = Shared();
  for (auto _ : state) {
    const unsigned char* p = f.request.Data();
    X509_REQ* req = d2i_X509_REQ(nullptr, &p, static_cast<long>(f.request.Len()));
    EVP_PKEY* pub = req ? X509_REQ_get0_pubkey(req) : nullptr;
    if (!pub || X509_REQ_verify(req, pub) != 1) state.SkipWithError("openssl verify failed");
    X509_REQ_free(req);
  }
}

const bool kRegistered = [] {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("pkcs10/make_sign2048/nycert", BM_NycertMakeRequest);
  RegisterBenchmark("pkcs10/make_sign2048/openssl", BM_OpenSslMakeRequest);
  RegisterBenchmark("pkcs10/decode_verify2048/nycert", BM_NycertVerifyRequest);
  RegisterBenchmark("pkcs10/decode_verify2048/openssl", BM_OpenSslVerifyRequest);
  return true;
}();

}  // namespace
