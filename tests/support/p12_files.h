// A certified key for the PKCS #12 tests, made once with the openssl tool:
// a leaf certificate issued by the shared test CA, its key, and the DER
// forms a PKCS #12 reader must give back.
#ifndef NYCERT_TESTS_SUPPORT_P12_FILES_H_
#define NYCERT_TESTS_SUPPORT_P12_FILES_H_

#include <string>

#include "support/cert_pki.h"

struct P12TestFiles {
  std::string dir;
  Bytes keyDer;   // the leaf key as a PrivateKeyInfo
  Bytes certDer;  // the leaf certificate
  Bytes caDer;    // the CA certificate

  // Exports leaf, key and CA with `openssl pkcs12 -export <args>` into
  // dir/name: whether the tool succeeded.
  bool Export(const std::string& name, const std::string& args) const;
  std::string File(const std::string& name) const { return dir + "/" + name; }
};

const P12TestFiles& SharedP12Files();

#endif  // NYCERT_TESTS_SUPPORT_P12_FILES_H_
