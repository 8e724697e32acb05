// Shared by the key-store tests: owned references and small makers.
#ifndef NYCERT_TESTS_KEYSTORE_KEYSTORE_TEST_UTIL_H_
#define NYCERT_TESTS_KEYSTORE_KEYSTORE_TEST_UTIL_H_

#include <memory>
#include <string>

#include "nycert/certs/cert.h"
#include "nycert/keys/pkobj.h"
#include "nycert/keystore/certified_key.h"
#include "nycert/keystore/root_ca.h"
#include "support/chain_pki.h"

// Owns one reference to a key-store object.
struct FreePKobj {
  void operator()(obPKobj* obj) const { obFreePKobj(obj); }
};
template <class T>
using PKPtr = std::unique_ptr<T, FreePKobj>;

// A root CA over cert (which may be null) with the given name, type and identifier.
inline PKPtr<obRootCA> MakeRoot(const char* name, obCert* cert, ObCaType type = obCaType_Unknown,
                                const std::string& id = "") {
  return PKPtr<obRootCA>(new obRootCA(name, cert, 0, type, 0, reinterpret_cast<const unsigned char*>(id.data()),
                                      static_cast<int>(id.size()), nullptr, 0));
}

// A certified key without a private key, over chain (which may be null).
inline PKPtr<obCertifiedKey> MakeKey(const char* name, const obCerts* chain, obRootCA* root,
                                     const std::string& id = "") {
  return PKPtr<obCertifiedKey>(new obCertifiedKey(name, chain, root, nullptr, 0,
                                                  reinterpret_cast<const unsigned char*>(id.data()),
                                                  static_cast<int>(id.size())));
}

#endif  // NYCERT_TESTS_KEYSTORE_KEYSTORE_TEST_UTIL_H_
