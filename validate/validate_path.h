// The path and signature stages of chain validation, on a chain in chain
// order: index 0 the end entity, each index i+1 the issuer of index i, the
// top index the root.
#ifndef NYCERT_VALIDATE_VALIDATE_PATH_H_
#define NYCERT_VALIDATE_VALIDATE_PATH_H_

#include "nycert/crl/validate_params.h"
#include "nycert/crl/validation_rc.h"
#include "nycert/platform/export.h"

class obCerts;

// Validity periods, issuers' key usage and basic constraints, path lengths
// and name chaining, from the top down. index names the certificate at
// fault (-1 when none): the subordinate for -996 and -994, the issuer for
// -992 and -995. expiration receives the earliest notAfter of the chain.
// An issuer without basicConstraints counts as a CA, and a keyUsage
// extension that is not critical is not looked at.
NYCERT_EXPORT obValidationRC obValidatePath(obCerts& chain, int& index, long& expiration,
                                            const ValidateParams& params);
// The same with default parameters.
NYCERT_EXPORT obValidationRC obValidatePath(obCerts& chain, int& index, long& expiration);

// Every certificate's signature under its issuer's key, from the top down:
// 0, or -993 with index naming the badly signed certificate. The top
// certificate's own signature is not checked.
NYCERT_EXPORT obValidationRC obValidateSignatures(obCerts& chain, int& index);

#endif  // NYCERT_VALIDATE_VALIDATE_PATH_H_
