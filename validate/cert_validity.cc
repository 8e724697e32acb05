#include "nycert/validate/cert_validity.h"

#include <atomic>

#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/print_text_internal.h"
#include "nycert/names/obdn.h"

namespace {

constexpr int kDefaultStartGrace = 7200;
std::atomic<int> g_startGrace{kDefaultStartGrace};

void LogTimes(const obCert& cert, long now, int startGrace, int endGrace) {
  if (!obDiagOn()) return;
  const char* subject = cert.Subject() ? cert.Subject()->GetStr() : nullptr;
  herror_func(0, 0, "obValidateCert: subject: %s", subject ? subject : "<none>");
  herror_func(0, 0, "notBefore: %s Local Time", obLocalTimeText(cert.notBefore()).c_str());
  herror_func(0, 0, "notAfter: %s Local Time", obLocalTimeText(cert.notAfter()).c_str());
  herror_func(0, 0, "now:        %s Local Time", obLocalTimeText(now).c_str());
  herror_func(0, 0, "cert start grace period=%d   cert end grace period=%d", startGrace, endGrace);
}

}  // namespace

void obCertValidate_SetGracePeriod(int seconds) {
  g_startGrace.store(seconds, std::memory_order_relaxed);
  OB_HERROR("obCertValidate_SetGracePeriod: %d", seconds);
}

int obCertValidate_GetDefaultGracePeriod() { return kDefaultStartGrace; }

int obCertValidate_GetGracePeriod() { return g_startGrace.load(std::memory_order_relaxed); }

obValidationRC obValidateCert(const obCert& cert, long now, const ValidateParams& params) {
  int startGrace = params.Cert_start_grace() != -1 ? params.Cert_start_grace() : obCertValidate_GetGracePeriod();
  int endGrace = params.Cert_end_grace() != -1 ? params.Cert_end_grace() : 0;
  LogTimes(cert, now, startGrace, endGrace);
  if (cert.UnhandledCritExt()) {
    OB_HERROR("obValidateCert: there are unhandled critical extension");
    return obValidationRC_UnhandledCriticalExt;
  }
  if (cert.notBefore() > now) {
    if (cert.notBefore() - startGrace > now) {
      OB_HERROR("obValidateCert: certificate is not valid yet");
      return obValidationRC_NotYetValid;
    }
    OB_HERROR("obValidateCert: certificate valid due to grace start period");
  }
  if (cert.notAfter() < now) {
    if (cert.notAfter() + endGrace < now) {
      OB_HERROR("obValidateCert: certificate is obsolete");
      return obValidationRC_Expired;
    }
    OB_HERROR("obValidateCert: certificate valid due to grace end period");
  }
  return obValidationRC_OK;
}
