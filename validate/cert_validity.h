// Whether one certificate may be used at a given time: its validity period
// widened by the start and end grace periods, and no critical extension the
// library does not handle.
#ifndef NYCERT_VALIDATE_CERT_VALIDITY_H_
#define NYCERT_VALIDATE_CERT_VALIDITY_H_

#include "nycert/crl/validate_params.h"
#include "nycert/crl/validation_rc.h"
#include "nycert/platform/export.h"

class obCert;

extern "C" {
// The process-wide start grace: how many seconds before its notBefore a
// certificate is accepted when the parameters leave it at -1. Logged.
NYCERT_EXPORT void obCertValidate_SetGracePeriod(int seconds);
// The start grace a process begins with (7200), whatever was set since.
NYCERT_EXPORT int obCertValidate_GetDefaultGracePeriod();
// The start grace in force now.
NYCERT_EXPORT int obCertValidate_GetGracePeriod();
}

// 0 when cert is usable at now, else -997 (an unhandled critical extension),
// -999 (not valid yet) or -998 (expired). The grace periods come from params:
// -1 means the process-wide start grace, and no end grace.
NYCERT_EXPORT obValidationRC obValidateCert(const obCert& cert, long now, const ValidateParams& params);

#endif  // NYCERT_VALIDATE_CERT_VALIDITY_H_
