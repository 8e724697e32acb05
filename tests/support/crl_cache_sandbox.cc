#include "support/crl_cache_sandbox.h"

#include <chrono>

#include "nycert/certs/cert.h"
#include "nycert/crl/crl_cache.h"
#include "nycert/platform/g_env.h"
#include "nycert/platform/obclock.h"
#include "nycert/platform/obd_env.h"

namespace {

void ResetCache() {
  obCRLCache_Flush();
  obCRLCache_free_fetchers();
  obCRLCache_SetTimeout(86400);
  obCRLCache_SetGracePeriod(600, 600);
  obCRLCache_SetCRLCacheUse(1, 24);
  obPreFetchCRLs_reconf();
  obCRLCache_SetMultiThread(0);
}

}  // namespace

CrlCacheSandbox::CrlCacheSandbox() : env_(obd_env_create()) {
  ResetCache();
  ob_time_set_fixed(kSandboxNow);
  obCRLCache_set_dbpath(dir_.path().c_str());
  obd_env* previous = g_env_set(env_);
  if (previous) obd_env_destroy(previous);
}

CrlCacheSandbox::~CrlCacheSandbox() {
  ResetCache();
  obCRLCache_set_dbpath(nullptr);
  ob_time_set_fixed(0);
  g_env_set(nullptr);
  obd_env_destroy(env_);
}

bool CrlCacheSandbox::RunUntil(const std::function<bool()>& done, long timeoutMs) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (!done() && std::chrono::steady_clock::now() < deadline) obd_env_run_once(env_, 20);
  return done();
}

SignedPtr<obCert> CertForDp(const std::string& name, const std::string& uri) {
  CertRequest request;
  request.subject = "/C=US/O=Example Inc/CN=" + name;
  if (!uri.empty()) request.extensions = "crlDistributionPoints=URI:" + uri;
  return Decoded<obCert>(SharedPki().Issue(name, request));
}

SignedPtr<obCert> CaCert() { return Decoded<obCert>(SharedPki().CaDer()); }

CrlExtensionValue IssuingDpFor(const std::string& uri) {
  // IssuingDistributionPoint { distributionPoint [0] { fullName [0] { [6] uri } } }
  return {"2.5.29.28", true, Tlv(0x30, Tlv(0xA0, Tlv(0xA0, Tlv(0x86, Text(uri)))))};
}
