// Turning a peer's bag of certificates into a chain anchored at a held root,
// against key holders of 10, 1,000 and 10,000 roots:
//   chain/sort_fix4_rootsN/nycert   sorting a shuffled bag of four (an end
//       entity and three intermediates) and repairing it, which ends it with
//       the holder's copy of the root that issued its top;
//   chain/issuer_rootsN/...        the issuer look-up that repair rests on,
//       for the top intermediate: the holder's search by subject beside
//       X509_STORE_CTX_get1_issuer over an X509_STORE of the same roots.
// The certificates are made at start-up with OpenSSL's API. The root that
// anchors the chain is held last; the others share one RSA-1024 key and
// differ in name and key identifier (their signatures are never checked).
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "nycert/certs/cert.h"
#include "nycert/keystore/key_holder.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/validate/chain_fix.h"
#include "nycert/validate/chain_sort.h"

namespace {

constexpr int kMostRoots = 10000;

X509_NAME* Name(const std::string& cn) {
  X509_NAME* name = X509_NAME_new();
  X509_NAME_add_entry_by_txt(name, "O", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("Nycert Bench"), -1, -1,
                             0);
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>(cn.c_str()), -1, -1, 0);
  return name;
}

void AddExtension(X509* cert, X509V3_CTX* ctx, int nid, const std::string& value) {
  X509_EXTENSION* ext = X509V3_EXT_conf_nid(nullptr, ctx, nid, value.c_str());
  X509_add_ext(cert, ext, -1);
  X509_EXTENSION_free(ext);
}

// A CA certificate (an end entity's without isCA) for key, issued by issuer
// with issuerKey (self-signed when issuer is null). keyId is the subject key
// identifier in hex, or empty for the key's hash.
X509* MakeCert(const std::string& cn, EVP_PKEY* key, X509* issuer, EVP_PKEY* issuerKey, bool isCA, long serial,
               const std::string& keyId = "") {
  X509* cert = X509_new();
  X509_set_version(cert, X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(cert), serial);
  X509_NAME* subject = Name(cn);
  X509_set_subject_name(cert, subject);
  X509_set_issuer_name(cert, issuer ? X509_get_subject_name(issuer) : subject);
  X509_NAME_free(subject);
  X509_gmtime_adj(X509_getm_notBefore(cert), -3600);
  X509_gmtime_adj(X509_getm_notAfter(cert), 3650L * 86400);
  X509_set_pubkey(cert, key);
  X509V3_CTX ctx;
  X509V3_set_ctx(&ctx, issuer ? issuer : cert, cert, nullptr, nullptr, 0);
  AddExtension(cert, &ctx, NID_basic_constraints, isCA ? "critical,CA:TRUE" : "critical,CA:FALSE");
  AddExtension(cert, &ctx, NID_key_usage, isCA ? "critical,keyCertSign,cRLSign" : "critical,digitalSignature");
  AddExtension(cert, &ctx, NID_subject_key_identifier, keyId.empty() ? "hash" : keyId);
  if (issuer) AddExtension(cert, &ctx, NID_authority_key_identifier, "keyid:always");
  X509_sign(cert, issuerKey ? issuerKey : key, EVP_sha256());
  return cert;
}

// Twenty octets of hex naming decoy root i.
std::string DecoyKeyId(int i) {
  char hex[64];
  std::snprintf(hex, sizeof hex, "DE:C0:%02X:%02X:00:00:00:00:00:00:00:00:00:00:00:00:00:00:00:00", (i >> 8) & 0xff,
                i & 0xff);
  return hex;
}

obCert* ToNycert(X509* cert) {
  unsigned char* der = nullptr;
  int len = i2d_X509(cert, &der);
  obCert* out = new obCert(der, static_cast<unsigned>(len));
  OPENSSL_free(der);
  return out;
}

// The chain root <- ca1 <- ca2 <- ca3 <- leaf and kMostRoots - 1 other roots,
// as OpenSSL and nycert objects.
struct ChainFixture {
  ChainFixture() {
    EVP_PKEY* keys[5];
    for (EVP_PKEY*& key : keys) key = EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", static_cast<size_t>(2048));
    root = MakeCert("Chain Root", keys[0], nullptr, nullptr, true, 1);
    X509* ca1 = MakeCert("Chain CA 1", keys[1], root, keys[0], true, 2);
    X509* ca2 = MakeCert("Chain CA 2", keys[2], ca1, keys[1], true, 3);
    X509* ca3 = MakeCert("Chain CA 3", keys[3], ca2, keys[2], true, 4);
    X509* leaf = MakeCert("leaf.bench.example", keys[4], ca3, keys[3], false, 5);
    top = ca1;
    for (X509* cert : {ca2, leaf, ca1, ca3}) bag.Add(ToNycert(cert));
    nycertTop = bag.Get(2);
    EVP_PKEY* shared = EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", static_cast<size_t>(1024));
    for (int i = 1; i < kMostRoots; ++i) {
      char cn[32];
      std::snprintf(cn, sizeof cn, "Bench Root %05d", i);
      decoys.push_back(MakeCert(cn, shared, nullptr, nullptr, true, 1000 + i, DecoyKeyId(i)));
    }
    EVP_PKEY_free(shared);
    for (EVP_PKEY* key : keys) EVP_PKEY_free(key);
    for (X509* cert : {ca2, ca3, leaf}) X509_free(cert);
  }

  X509* root;
  X509* top;
  std::vector<X509*> decoys;
  obCerts bag;
  obCert* nycertTop;
};

ChainFixture& Shared() {
  static ChainFixture* fixture = new ChainFixture;
  return *fixture;
}

// A holder of count roots, the chain's own last; made once per count.
obKeyHolder& Holder(int count) {
  static std::map<int, std::unique_ptr<obKeyHolder>> holders;
  std::unique_ptr<obKeyHolder>& holder = holders[count];
  if (holder) return *holder;
  ChainFixture& f = Shared();
  holder.reset(obKeyHolder_New());
  auto add = [&](X509* cert, int i) {
    obCert* decoded = ToNycert(cert);
    std::string name = "root " + std::to_string(i);
    obRootCA* ca = new obRootCA(name.c_str(), decoded, 0, obCaType_External, 0, nullptr, 0, nullptr, 0);
    obCert_Free(decoded);
    holder->AddCA(ca);
    obFreePKobj(ca);
  };
  for (int i = 0; i < count - 1; ++i) add(f.decoys[static_cast<size_t>(i)], i);
  add(f.root, count - 1);
  return *holder;
}

// The same roots in an X509_STORE; made once per count.
X509_STORE* Store(int count) {
  static std::map<int, X509_STORE*> stores;
  X509_STORE*& store = stores[count];
  if (store) return store;
  ChainFixture& f = Shared();
  store = X509_STORE_new();
  for (int i = 0; i < count - 1; ++i) X509_STORE_add_cert(store, f.decoys[static_cast<size_t>(i)]);
  X509_STORE_add_cert(store, f.root);
  return store;
}

void SortFix(benchmark::State& state, int roots) {
  ChainFixture& f = Shared();
  obKeyHolder& holder = Holder(roots);
  obCerts chain;
  for (auto _ : state) {
    obCerts_Sort(&f.bag, &chain);
    if (!obCert_FixChain(&chain, &holder) || chain.Count() != 5) state.SkipWithError("the chain is not anchored");
  }
}

void IssuerNycert(benchmark::State& state, int roots) {
  ChainFixture& f = Shared();
  obKeyHolder& holder = Holder(roots);
  for (auto _ : state) {
    if (!holder.CAByDN(f.nycertTop->Issuer())) state.SkipWithError("the issuer is not found");
  }
}

void IssuerOpenssl(benchmark::State& state, int roots) {
  ChainFixture& f = Shared();
  X509_STORE_CTX* ctx = X509_STORE_CTX_new();
  X509_STORE_CTX_init(ctx, Store(roots), f.top, nullptr);
  for (auto _ : state) {
    X509* issuer = nullptr;
    if (X509_STORE_CTX_get1_issuer(&issuer, ctx, f.top) != 1) state.SkipWithError("the issuer is not found");
    X509_free(issuer);
  }
  X509_STORE_CTX_free(ctx);
}

const bool kRegistered = [] {
  using benchmark::RegisterBenchmark;
  for (int roots : {10, 1000, kMostRoots}) {
    std::string n = std::to_string(roots);
    RegisterBenchmark(("chain/sort_fix4_roots" + n + "/nycert").c_str(),
                      [roots](benchmark::State& state) { SortFix(state, roots); });
    RegisterBenchmark(("chain/issuer_roots" + n + "/nycert").c_str(),
                      [roots](benchmark::State& state) { IssuerNycert(state, roots); });
    RegisterBenchmark(("chain/issuer_roots" + n + "/openssl").c_str(),
                      [roots](benchmark::State& state) { IssuerOpenssl(state, roots); });
  }
  return true;
}();

}  // namespace
