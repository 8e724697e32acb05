// Root CAs for validation tests: a trusted certificate with the settings a
// test wants (permitted names, OCSP).
#ifndef NYCERT_TESTS_SUPPORT_ROOT_CA_MAKER_H_
#define NYCERT_TESTS_SUPPORT_ROOT_CA_MAKER_H_

#include <memory>

class obCert;
class obGeneralNames;
class obRootCA;

struct FreeRootCA {
  void operator()(obRootCA* root) const;
};
using RootPtr = std::unique_ptr<obRootCA, FreeRootCA>;

struct RootOptions {
  const obGeneralNames* permitted = nullptr;  // copied by the root; null for none
  bool ocsp = false;                    // revocation by OCSP
  bool ocspServer = false;              // with one responder configured
};

// A root CA holding cert (which keeps its own reference).
RootPtr RootFor(obCert& cert, const RootOptions& options = {});

#endif  // NYCERT_TESTS_SUPPORT_ROOT_CA_MAKER_H_
