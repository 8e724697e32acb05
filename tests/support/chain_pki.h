// Certificate chains made with the openssl tool: roots, intermediates and
// end entities, each with a key of its own so that key identifiers tell the
// CAs apart.
#ifndef NYCERT_TESTS_SUPPORT_CHAIN_PKI_H_
#define NYCERT_TESTS_SUPPORT_CHAIN_PKI_H_

#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "support/cert_pki.h"

class obCert;
class obCerts;

// Which key identifiers a certificate carries.
enum class KeyIds {
  kBoth,          // subject key identifier, authority key identifier by key
  kNone,
  kIssuerSerial,  // authority key identifier by the issuer's issuer and serial only
};

// One certificate to make.
struct ChainCert {
  std::string subject;     // openssl form, "/O=Chain Test/CN=Root"
  std::string issuer;      // the name of a certificate made before; empty for self-signed
  int key = 1;             // index of the cached RSA-2048 key (certificates may share one)
  bool ca = true;
  KeyIds keyIds = KeyIds::kBoth;
  int days = 3650;
  std::string extra;       // more openssl extension lines
};

class ChainPki {
 public:
  // Works in dir, which exists.
  explicit ChainPki(const std::string& dir) : dir_(dir) {}

  // Makes the certificate called name, leaving name.pem and name.der in dir.
  const Bytes& Make(const std::string& name, const ChainCert& cert);
  // Reads the certificate called name, made before.
  void Load(const std::string& name);
  const Bytes& Der(const std::string& name) const { return certs_.at(name); }
  std::string PemPath(const std::string& name) const { return dir_ + "/" + name + ".pem"; }
  const std::string& dir() const { return dir_; }

 private:
  std::string dir_;
  std::map<std::string, Bytes> certs_;
  std::map<std::string, int> keys_;
  int serial_ = 100;
};

// The chains the tests share, made once for all test processes (under
// TestCacheDir) and read on first use:
//   root <- ca1 <- ca2 <- leaf          with key identifiers
//   nk-root <- nk-ca1 <- nk-ca2 <- nk-leaf   without any
//   other-root <- x-ca1                 x-ca1 is ca1 (same subject and key) cross-signed by other-root
//   stray                               a self-signed certificate unrelated to the others
//   root <- ca1 <- own                  the holder's own certificate beside ca2
//   root <- is-ca1                      its authority key identifier names root by issuer and serial
//   loop-a <- loop-b <- loop-a2         loop-a2 is loop-a issued by loop-b: loop-a2 and loop-b issue each other
//   ca2 <- upn-leaf                     with a user principal name among its alternative names
// "root-twin" has root's subject but a key of its own; leaf expires first
// (in 400 days).
const ChainPki& SharedChainPki();

// A PKCS#12 file that `openssl pkcs12 -export` makes at path from the key
// and certificate of the shared chains' holder with the certificates
// others, under password: whether the tool succeeded.
bool ExportChainPkcs12(const std::string& path, const std::string& holder, std::initializer_list<std::string> others,
                       const std::string& password);

// A certificate of the shared chains, by name.
SignedPtr<obCert> ChainCertificate(const std::string& name);
// Appends the shared chains' certificates called names to list.
void AddChainCerts(obCerts& list, std::initializer_list<std::string> names);
// The common names of the subjects in list up to its top, "-" for an empty slot.
std::vector<std::string> CommonNames(const obCerts& list);

#endif  // NYCERT_TESTS_SUPPORT_CHAIN_PKI_H_
