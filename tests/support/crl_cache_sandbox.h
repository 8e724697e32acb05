// A clean CRL cache for one test: its database in a fresh directory, the
// clock fixed, the library's environment fresh, and everything the cache
// keeps (memory, prefetching, fetchers, settings) reset on both ends.
#ifndef NYCERT_TESTS_SUPPORT_CRL_CACHE_SANDBOX_H_
#define NYCERT_TESTS_SUPPORT_CRL_CACHE_SANDBOX_H_

#include <functional>
#include <string>

#include "support/cert_pki.h"
#include "support/test_support.h"

class obCert;
class obCRL;
struct obd_env;

// The time the sandbox fixes the clock at: an hour after the thisUpdate that
// MakeCrl writes by default.
constexpr long kSandboxNow = 1700000000 + 3600;

class CrlCacheSandbox {
 public:
  CrlCacheSandbox();
  ~CrlCacheSandbox();
  CrlCacheSandbox(const CrlCacheSandbox&) = delete;
  CrlCacheSandbox& operator=(const CrlCacheSandbox&) = delete;

  const TempDir& dir() const { return dir_; }
  obd_env* env() const { return env_; }
  // Runs the library's environment until done() or timeoutMs passed: done().
  bool RunUntil(const std::function<bool()>& done, long timeoutMs);

 private:
  TempDir dir_;
  obd_env* env_;
};

// A certificate of the shared PKI for distribution point uri ("" for none).
SignedPtr<obCert> CertForDp(const std::string& name, const std::string& uri);
// The shared PKI's CA certificate.
SignedPtr<obCert> CaCert();
// An issuing distribution point extension naming uri as its full name.
CrlExtensionValue IssuingDpFor(const std::string& uri);

#endif  // NYCERT_TESTS_SUPPORT_CRL_CACHE_SANDBOX_H_
