// Locally configured name constraints: the directory names a root CA
// permits for the end-entity certificates of the chains it anchors.
#ifndef NYCERT_VALIDATE_NAME_CONSTRAINTS_H_
#define NYCERT_VALIDATE_NAME_CONSTRAINTS_H_

#include "nycert/crl/validation_rc.h"
#include "nycert/platform/export.h"

class obCert;
class obRootCA;

// 0 when cert's subject lies under one of the directory names root permits
// (the subject itself or a name below it), or when root has no list; -987
// when it lies under none, so that an empty list, or one without directory
// names, rejects every certificate; -1000 for a missing root, certificate or
// subject.
NYCERT_EXPORT obValidationRC obValidateNameConstraints(const obRootCA* root, const obCert* cert);

#endif  // NYCERT_VALIDATE_NAME_CONSTRAINTS_H_
