// Whether a CRL may serve a certificate: the validity test with its graces,
// and the checks every CRL passes before it is used, whatever its source.
#include "nycert/certs/basic_constraint.h"
#include "nycert/certs/print_text_internal.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache_internal.h"
#include "nycert/names/general_names.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obclock.h"

namespace {

// A grace from the parameters, where -1 stands for the global setting.
int Grace(int fromParams, int global) { return fromParams == -1 ? global : fromParams; }

void TraceTimes(const obCRL& crl, long now, int startGrace, int endGrace) {
  if (!obTopicOn(4)) return;
  CRLCACHE_TRACE("obCRL_CRLisValid:");
  CRLCACHE_TRACE("thisUpdate: %s Local Time", obLocalTimeText(crl.thisUpdate()).c_str());
  CRLCACHE_TRACE("nextUpdate: %s Local Time", obLocalTimeText(crl.nextUpdate()).c_str());
  CRLCACHE_TRACE("now:        %s Local Time", obLocalTimeText(now).c_str());
  CRLCACHE_TRACE("crl start grace period=%d   crl end grace period=%d", startGrace, endGrace);
}

}  // namespace

extern "C" int obCRL_CRLisValid(const obCRL* crl, const ValidateParams* params) {
  if (!crl) return 1;
  static const ValidateParams defaults;
  const ValidateParams& p = params ? *params : defaults;
  long now = ob_time_now();
  long startGrace = Grace(p.Crl_start_grace(), CrlStartGrace());
  long endGrace = Grace(p.Crl_end_grace(), CrlEndGrace());
  TraceTimes(*crl, now, static_cast<int>(startGrace), static_cast<int>(endGrace));
  long nextUpdate = crl->nextUpdate();
  if (p.Check_next_upd()) {
    CRLCACHE_TRACE("obCRL_CRLisValid: checking nextUpdate");
    if (nextUpdate > 0 && nextUpdate + endGrace < now) {
      CRLCACHE_TRACE("obCRL_CRLisValid: CRL is obsolete");
      return 1;
    }
    if (nextUpdate > 0 && nextUpdate < now) CRLCACHE_TRACE("obCRL_CRLisValid: CRL valid due to grace end period");
  } else {
    CRLCACHE_TRACE("obCRL_CRLisValid: NOT checking nextUpdate");
  }
  long thisUpdate = crl->thisUpdate();
  if (p.Check_this_upd()) {
    CRLCACHE_TRACE("obCRL_CRLisValid: checking thisUpdate");
    if (thisUpdate - startGrace > now) {
      CRLCACHE_TRACE("obCRL_CRLisValid: CRL is not yet valid");
      return -1;
    }
    if (thisUpdate > now) CRLCACHE_TRACE("obCRL_CRLisValid: CRL valid due to grace start period");
  } else {
    CRLCACHE_TRACE("obCRL_CRLisValid: NOT checking thisUpdate");
  }
  return 0;
}

int CrlCertIsCA(const obCert& cert) {
  const obBasicConstraint* constraint = cert.GetBasicConstraint();
  return constraint && constraint->IsCA() ? 1 : 0;
}

namespace {

// The checks that do not depend on the certificate: the issuer's signature,
// no unhandled critical extension, valid now.
obValidationRC CheckSigned(const obCRL& crl, obCert* issuer, const ValidateParams* params) {
  obVfy_status verified = issuer ? crl.VerifyWith(*issuer) : obVfy_BadSignature;
  if (verified != obVfy_OK) {
    CRLCACHE_TRACE("obCRL_good_for_cert: signature verification failed: %d", static_cast<int>(verified));
    return obValidationRC_NoValidCRL;
  }
  if (crl.UnhandledCritExt()) {
    CRLCACHE_TRACE("%s: CRL contain unhandled extension", "obCRL_good_for_cert");
    return obValidationRC_NoValidCRL;
  }
  switch (obCRL_CRLisValid(&crl, params)) {
    case 1:
      return obValidationRC_CRLExpired;
    case -1:
      return obValidationRC_CRLNotYetValid;
    default:
      return obValidationRC_OK;
  }
}

}  // namespace

obValidationRC CrlCheckFor(obCRL& crl, obCert& cert, int certIsCA, obCert* issuer, const ValidateParams* params) {
  if (!crl.OK() || !crl.DistPointMatches(cert, certIsCA)) return obValidationRC_CRLNotRetrieved;
  return CheckSigned(crl, issuer, params);
}

obValidationRC CrlCheckForDp(obCRL& crl, const obGeneralName& dp, obCert& issuer, const ValidateParams* params) {
  const obDN* crlIssuer = crl.Issuer();
  const obDN* subject = issuer.Subject();
  if (!crl.OK() || !crlIssuer || !subject || !crlIssuer->Equal(*subject)) return obValidationRC_CRLNotRetrieved;
  const obGeneralNames* names = crl.DistPoints();
  if (names && names->Count() > 0 && !names->Match(&dp)) return obValidationRC_CRLNotRetrieved;
  return CheckSigned(crl, &issuer, params);
}

void CrlKeepReason(obValidationRC* kept, obValidationRC reason) {
  if (*kept == obValidationRC_CRLNotRetrieved) *kept = reason;
}
