// Finding the CRL for a certificate: through the CRL cache from memory, and
// from the database with the memory cache cold, beside OpenSSL's look-up of
// a certificate's CRLs in an X509_STORE (X509_STORE_CTX_get1_crls) and
// beside reading and decoding the database record alone. The CA, the
// certificate (with one http distribution point) and a 100-entry CRL are
// made once per run with OpenSSL's API.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache.h"
#include "nycert/crl/crl_db.h"
#include "nycert/names/general_name.h"
#include "nycert/platform/g_env.h"

namespace {

using Der = std::vector<unsigned char>;

const char kDp[] = "http://crl.example.test/issuing-ca.crl";

X509_NAME* Name(const char* cn) {
  X509_NAME* name = X509_NAME_new();
  X509_NAME_add_entry_by_txt(name, "C", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>("US"), -1, -1, 0);
  X509_NAME_add_entry_by_txt(name, "O", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>("Example"), -1, -1, 0);
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(cn), -1, -1, 0);
  return name;
}

X509* Cert(X509_NAME* subject, X509_NAME* issuer, EVP_PKEY* subjectKey, EVP_PKEY* signer, long serial, bool ca) {
  X509* cert = X509_new();
  X509_set_version(cert, 2);
  ASN1_INTEGER_set(X509_get_serialNumber(cert), serial);
  X509_set_subject_name(cert, subject);
  X509_set_issuer_name(cert, issuer);
  X509_gmtime_adj(X509_getm_notBefore(cert), -3600);
  X509_gmtime_adj(X509_getm_notAfter(cert), 86400 * 365);
  X509_set_pubkey(cert, subjectKey);
  X509V3_CTX ctx;
  X509V3_set_ctx(&ctx, cert, cert, nullptr, nullptr, 0);
  const char* value = ca ? "critical,CA:TRUE" : "critical,CA:FALSE";
  X509_EXTENSION* bc = X509V3_EXT_conf_nid(nullptr, &ctx, NID_basic_constraints, value);
  X509_add_ext(cert, bc, -1);
  X509_EXTENSION_free(bc);
  if (!ca) {
    std::string uri = std::string("URI:") + kDp;
    X509_EXTENSION* dp = X509V3_EXT_conf_nid(nullptr, &ctx, NID_crl_distribution_points, uri.c_str());
    X509_add_ext(cert, dp, -1);
    X509_EXTENSION_free(dp);
  }
  X509_sign(cert, signer, EVP_sha256());
  return cert;
}

X509_CRL* Crl(X509_NAME* issuer, EVP_PKEY* key) {
  X509_CRL* crl = X509_CRL_new();
  X509_CRL_set_version(crl, X509_CRL_VERSION_2);
  X509_CRL_set_issuer_name(crl, issuer);
  ASN1_TIME* now = ASN1_TIME_set(nullptr, std::time(nullptr) - 3600);
  ASN1_TIME* next = ASN1_TIME_set(nullptr, std::time(nullptr) + 7 * 86400);
  X509_CRL_set1_lastUpdate(crl, now);
  X509_CRL_set1_nextUpdate(crl, next);
  for (long i = 0; i < 100; ++i) {
    X509_REVOKED* entry = X509_REVOKED_new();
    ASN1_INTEGER* serial = ASN1_INTEGER_new();
    ASN1_INTEGER_set(serial, 0x10000 + i);
    X509_REVOKED_set_serialNumber(entry, serial);
    X509_REVOKED_set_revocationDate(entry, now);
    X509_CRL_add0_revoked(crl, entry);
    ASN1_INTEGER_free(serial);
  }
  X509_CRL_sign(crl, key, EVP_sha256());
  ASN1_TIME_free(now);
  ASN1_TIME_free(next);
  return crl;
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
  X509* ca;
  X509* leaf;
  X509_CRL* crl;
  Der caDer, leafDer, crlDer;
  std::string dbDir;

  Fixture() {
    EVP_PKEY* caKey = EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", size_t{2048});
    EVP_PKEY* leafKey = EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", size_t{2048});
    X509_NAME* caName = Name("Example Issuing CA");
    X509_NAME* leafName = Name("www.example.test");
    ca = Cert(caName, caName, caKey, caKey, 1, true);
    leaf = Cert(leafName, caName, leafKey, caKey, 2, false);
    crl = Crl(caName, caKey);
    caDer = ToDer(ca, i2d_X509);
    leafDer = ToDer(leaf, i2d_X509);
    crlDer = ToDer(crl, i2d_X509_CRL);
    X509_NAME_free(caName);
    X509_NAME_free(leafName);
    EVP_PKEY_free(caKey);
    EVP_PKEY_free(leafKey);
    char dir[] = "/tmp/nycert-bench-crldb-XXXXXX";
    if (mkdtemp(dir)) dbDir = dir;
  }
};

const Fixture& Shared() {
  static const Fixture* fixture = new Fixture;
  return *fixture;
}

// The library's side: the certificates and the CRL decoded, the CRL filed
// under the distribution point in memory and the database.
struct NycertSide {
  obCert* ca;
  obCert* leaf;
  obCRL* crl;
  obGeneralName dp{obGN_uniformResourceIdentifier, kDp, static_cast<int>(sizeof kDp - 1)};

  NycertSide() {
    const Fixture& f = Shared();
    ca = new obCert(f.caDer.data(), static_cast<unsigned>(f.caDer.size()));
    leaf = new obCert(f.leafDer.data(), static_cast<unsigned>(f.leafDer.size()));
    crl = new obCRL(f.crlDer.data(), static_cast<unsigned>(f.crlDer.size()));
    obCRLCache_set_dbpath(f.dbDir.c_str());
    CrlDB::Store(&dp, "", crl, crl->nextUpdate());
  }
  ~NycertSide() {
    obCRLCache_Flush();
    remove_crl_cache_db();
    obFreeSigned(crl);
    obFreeSigned(leaf);
    obFreeSigned(ca);
  }

  bool Find(benchmark::State& state) {
    obCRL* found = nullptr;
    obValidationRC reason = obValidationRC_OK;
    obFetch_stat stat = obFetchCRL_e_With_Reason(g_env_get(), &found, nullptr, leaf, 1, ca, nullptr, nullptr,
                                                 nullptr, nullptr, &reason);
    if (stat != obFetch_Found) {
      state.SkipWithError("the CRL was not found");
      return false;
    }
    obFreeSigned(found);
    return true;
  }
};

void BM_FindMemoryNycert(benchmark::State& state) {
  NycertSide side;
  obCRLCache_Push(side.crl, ValidateParams(), obCRLCacheDest_Memory);
  for (auto _ : state) {
    if (!side.Find(state)) break;
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_FindDatabaseNycert(benchmark::State& state) {
  NycertSide side;
  for (auto _ : state) {
    obCRLCache_DelFromCaches(&side.dp);
    if (!side.Find(state)) break;
  }
  state.SetItemsProcessed(state.iterations());
}

// The part of a database hit that is reading the record and decoding the CRL.
void BM_ReadDecodeRecord(benchmark::State& state) {
  NycertSide side;
  for (auto _ : state) {
    obCRL* crl = CrlDB::Get(&side.dp, "");
    if (!crl) state.SkipWithError("no record");
    obFreeSigned(crl);
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_FindOpenssl(benchmark::State& state) {
  const Fixture& f = Shared();
  X509_STORE* store = X509_STORE_new();
  X509_STORE_add_cert(store, f.ca);
  X509_STORE_add_crl(store, f.crl);
  X509_STORE_CTX* ctx = X509_STORE_CTX_new();
  X509_STORE_CTX_init(ctx, store, f.leaf, nullptr);
  X509_NAME* issuer = X509_get_issuer_name(f.leaf);
  for (auto _ : state) {
    STACK_OF(X509_CRL)* crls = X509_STORE_CTX_get1_crls(ctx, issuer);
    if (!crls || sk_X509_CRL_num(crls) != 1) state.SkipWithError("the CRL was not found");
    sk_X509_CRL_pop_free(crls, X509_CRL_free);
  }
  X509_STORE_CTX_free(ctx);
  X509_STORE_free(store);
  state.SetItemsProcessed(state.iterations());
}

const bool kRegistered = [] {
  benchmark::RegisterBenchmark("crlcache/find_memory/nycert", BM_FindMemoryNycert);
  benchmark::RegisterBenchmark("crlcache/find_memory/openssl", BM_FindOpenssl);
  benchmark::RegisterBenchmark("crlcache/find_database/nycert", BM_FindDatabaseNycert)->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("crlcache/read_decode_record/nycert", BM_ReadDecodeRecord)
      ->Unit(benchmark::kMicrosecond);
  return true;
}();

}  // namespace
