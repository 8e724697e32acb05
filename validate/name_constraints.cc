#include "nycert/validate/name_constraints.h"

#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/names/general_names.h"
#include "nycert/names/obdn.h"

obValidationRC obValidateNameConstraints(const obRootCA* root, const obCert* cert) {
  if (!root) {
    OB_HERROR("obValidateNameConstraints: no rootca");
    return obValidationRC_BadInput;
  }
  const obGeneralNames* permitted = root->NameConstraints();
  if (!permitted) {
    OB_HERROR("obValidateNameConstraints: rootCA without name constraints");
    return obValidationRC_OK;
  }
  const obDN* subject = cert ? cert->Subject() : nullptr;
  if (!subject) {
    OB_HERROR("obValidateNameConstraints: cert without subject");
    return obValidationRC_BadInput;
  }
  for (int i = 0; i < permitted->Count(); ++i) {
    const obGeneralName* name = permitted->Get(i);
    const obDN* allowed = name ? name->GetDN() : nullptr;
    if (allowed && subject->IsSub(*allowed)) return obValidationRC_OK;
  }
  if (obDiagOn() && subject->GetStr())
    herror_func(0, 0, "obValidateNameConstraints: %s doesn't conform to name constraints", subject->GetStr());
  return obValidationRC_NameConstraints;
}
