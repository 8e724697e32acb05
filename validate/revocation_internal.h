// The revocation stage of chain validation: OCSP when the root CA asks for
// it, else a CRL for every certificate below the root, from the top down.
// A CRL that must be fetched leaves the walk pending; it resumes where it
// stopped once the fetch has reported.
#ifndef NYCERT_VALIDATE_REVOCATION_INTERNAL_H_
#define NYCERT_VALIDATE_REVOCATION_INTERNAL_H_

#include "nycert/crl/crl_cache.h"
#include "nycert/crl/validate_params.h"
#include "nycert/crl/validation_rc.h"
#include "nycert/validate/ocsp_status.h"

class obCerts;
class obRootCA;
struct obd_env;

// How long a validation waits for revocation answers.
constexpr long kRevocationTimeoutMs = 60000;
// How long a successful revocation check holds.
constexpr long kRevocationValidity = 86400;

struct obRevocationWalk {
  obd_env* env = nullptr;
  obRootCA* root = nullptr;
  obCerts* chain = nullptr;
  const ValidateParams* params = nullptr;
  // The certificate to check next; -2 before the walk starts.
  int next = -2;
  // Where pending CRL fetches and a pending OCSP check report, or null to
  // let fetches run without waiting for them.
  obFetchCRL_report crlReport = nullptr;
  obOCSP_RevocationCB ocspReport = nullptr;
  void* reportArg = nullptr;
};

// Runs the walk on from walk.next: 0 with revocationValidUntil (when given)
// set, a failure with index naming the certificate at fault, or -1 when an
// answer is awaited for certificate walk.next.
obValidationRC obValidateRevocation_e(obRevocationWalk& walk, int& index, long* revocationValidUntil);

#endif  // NYCERT_VALIDATE_REVOCATION_INTERNAL_H_
