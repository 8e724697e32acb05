#include "nycert/validate/validate_path.h"

#include "nycert/buffers/diag.h"
#include "nycert/certs/basic_constraint.h"
#include "nycert/certs/cert.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obclock.h"
#include "nycert/validate/cert_validity.h"
#include "nycert/validate/key_usage_check_internal.h"

namespace {

// The certificate in slot i when it is there and decoded, else null.
obCert* Usable(const obCerts& chain, int i) {
  obCert* cert = chain.Get(i);
  return cert && cert->OK() ? cert : nullptr;
}

bool SameName(const obDN* a, const obDN* b) { return a && b && *a == *b; }

// The checks one issuer makes on the certificate below it, at index i.
obValidationRC CheckIssued(const obCert& issuer, const obCert& subject, int i, int& index) {
  if (obLacksCriticalKeyUsage(issuer, obKU_keyCertSign)) {
    index = i + 1;
    return obValidationRC_WrongKeyUsage;
  }
  if (const obBasicConstraint* constraint = issuer.GetBasicConstraint()) {
    if (!constraint->IsCA()) {
      index = i;
      return obValidationRC_IssuerNotCA;
    }
    if (constraint->PathLen() >= 0 && constraint->PathLen() < i) {
      index = i + 1;
      return obValidationRC_PathLenExceeded;
    }
  }
  if (!SameName(subject.Issuer(), issuer.Subject())) {
    index = i;
    return obValidationRC_ChainInconsistent;
  }
  return obValidationRC_OK;
}

}  // namespace

obValidationRC obValidatePath(obCerts& chain, int& index, long& expiration, const ValidateParams& params) {
  index = -1;
  int top = chain.Top();
  if (top < 0) return obValidationRC_BadInput;
  long now = ob_time_now();
  const obCert* root = Usable(chain, top);
  if (!root) {
    index = top;
    return obValidationRC_BadInput;
  }
  obValidationRC rc = obValidateCert(*root, now, params);
  if (rc != obValidationRC_OK) {
    index = top;
    return rc;
  }
  expiration = root->notAfter();
  for (int i = top - 1; i >= 0; --i) {
    const obCert* issuer = Usable(chain, i + 1);
    const obCert* subject = Usable(chain, i);
    if (!subject) {
      index = i;
      return obValidationRC_BadInput;
    }
    if ((rc = obValidateCert(*subject, now, params)) != obValidationRC_OK) {
      index = i;
      return rc;
    }
    if ((rc = CheckIssued(*issuer, *subject, i, index)) != obValidationRC_OK) return rc;
    if (subject->notAfter() < expiration) expiration = subject->notAfter();
  }
  return obValidationRC_OK;
}

obValidationRC obValidatePath(obCerts& chain, int& index, long& expiration) {
  return obValidatePath(chain, index, expiration, ValidateParams());
}

obValidationRC obValidateSignatures(obCerts& chain, int& index) {
  index = -1;
  for (int i = chain.Top() - 1; i >= 0; --i) {
    obCert* issuer = Usable(chain, i + 1);
    obCert* subject = Usable(chain, i);
    if (!issuer || !subject) {
      index = issuer ? i : i + 1;
      return obValidationRC_BadInput;
    }
    if (subject->VerifySig(issuer->PubKey()) != obVfy_OK) {
      OB_HERROR("obValidateSignatures: certificate %d is badly signed", i);
      index = i;
      return obValidationRC_BadSignature;
    }
  }
  return obValidationRC_OK;
}
