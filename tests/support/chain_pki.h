// Certificate chains made with the openssl tool: roots, intermediates and
// end entities, each with a key of its own so that key identifiers tell the
// CAs apart.
#ifndef NYCERT_TESTS_SUPPORT_CHAIN_PKI_H_
#define NYCERT_TESTS_SUPPORT_CHAIN_PKI_H_

#include <map>
#include <string>

#include "support/cert_pki.h"

class obCert;

// One certificate to make.
struct ChainCert {
  std::string subject;     // openssl form, "/O=Chain Test/CN=Root"
  std::string issuer;      // the name of a certificate made before; empty for self-signed
  int key = 1;             // index of the cached RSA-2048 key (certificates may share one)
  bool ca = true;
  bool keyIds = true;      // subject and authority key identifiers, or neither
};

class ChainPki {
 public:
  // Works in dir, which exists.
  explicit ChainPki(const std::string& dir) : dir_(dir) {}

  // Makes the certificate called name, leaving name.pem and name.der in dir.
  const Bytes& Make(const std::string& name, const ChainCert& spec);
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
// "root-twin" has root's subject but a key of its own.
const ChainPki& SharedChainPki();

#endif  // NYCERT_TESTS_SUPPORT_CHAIN_PKI_H_
