// Validating a chain anchored at a root CA: the selected stages in their
// fixed order (path, signatures, name constraints, revocation), the first
// fault ending the validation, with a result text for the user.
#ifndef NYCERT_VALIDATE_CERT_VAL_H_
#define NYCERT_VALIDATE_CERT_VAL_H_

#include "nycert/crl/validate_params.h"
#include "nycert/crl/validation_rc.h"
#include "nycert/platform/export.h"

class obCRLs;
class obCerts;
class obRootCA;
struct obd_env;

// The stages of the checks mask.
enum obValidationChecks : int {
  obCheck_Path = 1,        // validity, key usage, basic constraints, name chaining
  obCheck_Signatures = 2,
  obCheck_Revocation = 4,
  obCheck_NameConstraints = 8,
  obCheck_All = 15,
};

// The result of a validation that went asynchronous: the code, the long
// text with the subject of the certificate at fault (empty on success), its
// index (-1 when none), the earliest notAfter of the chain, and the caller's
// context. Runs on the environment the validation was started with.
typedef void (*obCert_ValCB)(int rc, const char* message, int index, long expiration, void* context);

// The state of an asynchronous validation between its scheduled steps. The
// CRL cache and the event environment carry it as an obValidationStat_opaque:
// a number that a late report, after the validation ended, no longer finds.
struct obValidationStat;
typedef long obValidationStat_opaque;

// Validates chain (in chain order, see obValidatePath) against root for the
// stages of checks. CRLs given are first pushed into the CRL cache. The
// result is 0, a failure with *index naming the certificate at fault, or -1
// when a CRL is being fetched: with a callback the outcome then comes
// through it on env within a minute (-989 after that), without one the
// caller may validate again later. message (of messageSize octets) receives
// the long text of a failure followed by the faulty certificate's subject,
// cut and always terminated; it is left empty for 0 and -1. expiration
// receives the earliest notAfter, revocationValidUntil how long a passed
// revocation check holds; both and index may be null.
NYCERT_EXPORT int obCert_ValCerts_e(obd_env* env, obRootCA* root, obCerts& chain, obCRLs* crls, long* expiration,
                                    long* revocationValidUntil, const ValidateParams& params, char* message,
                                    int messageSize, int* index, obCert_ValCB callback, void* context, int checks);
// The same on the library's environment.
NYCERT_EXPORT int obCert_ValCerts(obRootCA* root, obCerts& chain, obCRLs* crls, long* expiration,
                                  long* revocationValidUntil, const ValidateParams& params, char* message,
                                  int messageSize, int* index, obCert_ValCB callback, void* context, int checks);

// The asynchronous form: the outcome always comes through callback (which
// is required: -1000 without one) on env, never before this returns. The
// result is -1 when the validation waits for a CRL, else the code the
// callback will get.
NYCERT_EXPORT int obCert_ValCertsA_e(obd_env* env, obRootCA* root, obCerts& chain, obCRLs* crls, long& expiration,
                                     const ValidateParams& params, obCert_ValCB callback, void* context, int checks);
NYCERT_EXPORT int obCert_ValCertsA(obRootCA* root, obCerts& chain, obCRLs* crls, long& expiration,
                                   const ValidateParams& params, obCert_ValCB callback, void* context, int checks);

#endif  // NYCERT_VALIDATE_CERT_VAL_H_
