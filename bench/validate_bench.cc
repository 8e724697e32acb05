// Validating a sorted three-certificate chain (RSA-2048, SHA-256) with
// revocation checked against CRLs already at hand, beside X509_verify_cert
// with the same root and CRLs and CRL checking for the whole chain. The
// floor of any validation is also measured: the two certificate signature
// checks it cannot avoid. The chain and CRLs are the test suite's
// crl_valid_root_names_its_crl case, validated at the suite's time.
#include <benchmark/benchmark.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include <cstdio>
#include <string>
#include <vector>

#include "nycert/buffers/pem.h"
#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/platform/obclock.h"
#include "nycert/validate/cert_val.h"

namespace {

const std::string kCase = std::string(NYCERT_TEST_DATA) + "/chains/crl_valid_root_names_its_crl";
// The suite's validation time, 2025-06-01 00:00:00 UTC.
constexpr long kSuiteTime = 1748736000;

std::string ReadText(const std::string& path) {
  std::string text;
  if (FILE* f = std::fopen(path.c_str(), "rb")) {
    char buf[4096];
    for (size_t n; (n = std::fread(buf, 1, sizeof buf, f)) > 0;) text.append(buf, n);
    std::fclose(f);
  }
  return text;
}

// The DER of every PEM block of a file.
std::vector<std::vector<unsigned char>> PemObjects(const std::string& path) {
  std::string text = ReadText(path);
  std::vector<std::vector<unsigned char>> out;
  unsigned offset = 0;
  obPemBlock block;
  while (obPem_Next(text.data(), static_cast<unsigned>(text.size()), offset, block) == 1)
    out.emplace_back(block.der.Data(), block.der.Data() + block.der.Len());
  return out;
}

struct NycertChain {
  NycertChain() {
    for (const auto& der : PemObjects(kCase + "/chain.pem"))
      chain.Add(new obCert(der.data(), static_cast<unsigned>(der.size())));
    for (const auto& der : PemObjects(kCase + "/crls.pem"))
      crls.Add(new obCRL(der.data(), static_cast<unsigned>(der.size())));
    obCert* top = chain.Get(chain.Top());
    root = new obRootCA(top->Subject()->GetStr(), top, 0, obCaType_Internal, 0, nullptr, 0, nullptr, 0);
  }
  ~NycertChain() { obFreePKobj(root); }
  obCerts chain;
  obCRLs crls;
  obRootCA* root;
};

void BM_ValidateNycert(benchmark::State& state) {
  ob_time_set_fixed(kSuiteTime);
  NycertChain c;
  ValidateParams params;
  obCert_PushCRLs(c.crls, params, obCRLCacheDest_Memory);
  long expiration = 0;
  int index = -1;
  for (auto _ : state) {
    int rc = obCert_ValCerts(c.root, c.chain, nullptr, &expiration, nullptr, params, nullptr, 0, &index, nullptr,
                             nullptr, obCheck_Path | obCheck_Signatures | obCheck_Revocation);
    if (rc != 0) state.SkipWithError("the chain does not validate");
  }
  obCRLCache_Flush();
  ob_time_set_fixed(0);
}

// The two certificate signature checks every validation of the chain makes.
void BM_TwoSignatureChecks(benchmark::State& state) {
  NycertChain c;
  obCert* ee = c.chain.Get(0);
  obCert* ica = c.chain.Get(1);
  obCert* root = c.chain.Get(2);
  for (auto _ : state) {
    if (ee->VerifySig(ica->PubKey()) != obVfy_OK || ica->VerifySig(root->PubKey()) != obVfy_OK)
      state.SkipWithError("a signature does not verify");
  }
}

template <class T, T* (*Read)(BIO*, T**, pem_password_cb*, void*)>
std::vector<T*> ReadPem(const std::string& path) {
  std::vector<T*> out;
  BIO* bio = BIO_new_file(path.c_str(), "r");
  while (T* object = Read(bio, nullptr, nullptr, nullptr)) out.push_back(object);
  BIO_free(bio);
  return out;
}

void BM_ValidateOpenssl(benchmark::State& state) {
  std::vector<X509*> certs = ReadPem<X509, PEM_read_bio_X509>(kCase + "/chain.pem");
  std::vector<X509_CRL*> crls = ReadPem<X509_CRL, PEM_read_bio_X509_CRL>(kCase + "/crls.pem");
  X509_STORE* store = X509_STORE_new();
  X509_STORE_add_cert(store, certs[2]);
  for (X509_CRL* crl : crls) X509_STORE_add_crl(store, crl);
  X509_STORE_set_flags(store, X509_V_FLAG_CRL_CHECK | X509_V_FLAG_CRL_CHECK_ALL);
  STACK_OF(X509)* untrusted = sk_X509_new_null();
  sk_X509_push(untrusted, certs[1]);
  X509_STORE_CTX* ctx = X509_STORE_CTX_new();
  for (auto _ : state) {
    X509_STORE_CTX_init(ctx, store, certs[0], untrusted);
    X509_STORE_CTX_set_time(ctx, 0, kSuiteTime);
    if (X509_verify_cert(ctx) != 1) state.SkipWithError("the chain does not validate");
    X509_STORE_CTX_cleanup(ctx);
  }
  X509_STORE_CTX_free(ctx);
  sk_X509_free(untrusted);
  X509_STORE_free(store);
  for (X509* cert : certs) X509_free(cert);
  for (X509_CRL* crl : crls) X509_CRL_free(crl);
}

const bool kRegistered = [] {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("validate/chain3_crl/nycert", BM_ValidateNycert);
  RegisterBenchmark("validate/chain3_crl/openssl", BM_ValidateOpenssl);
  RegisterBenchmark("validate/chain3_two_signatures/nycert", BM_TwoSignatureChecks);
  return true;
}();

}  // namespace
