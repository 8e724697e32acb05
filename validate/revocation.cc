#include "nycert/validate/revocation_internal.h"

#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/platform/obclock.h"
#include "nycert/validate/key_usage_check_internal.h"

namespace {

const char kMe[] = "obValidateRevocation_e";

void Passed(long* revocationValidUntil) {
  if (revocationValidUntil) *revocationValidUntil = ob_time_now() + kRevocationValidity;
}

// Certificate i against its issuer's CRL.
obValidationRC CheckOne(obRevocationWalk& walk, int i, int& index) {
  obCert* cert = walk.chain->Get(i);
  obCert* issuer = walk.chain->Get(i + 1);
  index = i;
  if (!cert || !issuer) return obValidationRC_BadInput;
  if (obLacksCriticalKeyUsage(*issuer, obKU_cRLSign)) {
    index = i + 1;
    return obValidationRC_WrongKeyUsage;
  }
  obCRL* crl = nullptr;
  long searchId = 0;
  obValidationRC reason = obValidationRC_CRLNotRetrieved;
  obFetch_stat stat = obFetchCRL_e_With_Reason(walk.env, &crl, &searchId, cert, 1, issuer, walk.root, walk.params,
                                               walk.crlReport, walk.reportArg, &reason);
  if (stat == obFetch_Pending) return obValidationRC_Async;
  if (stat != obFetch_Found || !crl) return reason < obValidationRC_Async ? reason : obValidationRC_CRLNotRetrieved;
  int revoked = crl->IsEntryExist(cert);
  obFreeSigned(crl);
  if (revoked) {
    OB_HERROR("%s: certificate %d is revoked", kMe, i);
    return obValidationRC_Revoked;
  }
  index = -1;
  return obValidationRC_OK;
}

}  // namespace

obValidationRC obValidateRevocation_e(obRevocationWalk& walk, int& index, long* revocationValidUntil) {
  const ValidateParams& params = *walk.params;
  if (!params.CRL_validation() && !params.OCSP_validation()) {
    Passed(revocationValidUntil);
    return obValidationRC_OK;
  }
  if (walk.root->RevocationMethod() == obCaRevocation_OCSP) {
    OB_HERROR("%s: validating using ocsp", kMe);
    return static_cast<obValidationRC>(obOCSP_getRevocationState(walk.env, walk.root, *walk.chain, index,
                                                                 walk.ocspReport, walk.reportArg,
                                                                 kRevocationTimeoutMs, params));
  }
  if (walk.next == -2) {
    OB_HERROR("%s: validating using crls", kMe);
    walk.next = walk.chain->Top() - 1;
  }
  for (; walk.next >= 0; --walk.next) {
    obValidationRC rc = CheckOne(walk, walk.next, index);
    if (rc != obValidationRC_OK) return rc;
  }
  Passed(revocationValidUntil);
  return obValidationRC_OK;
}
