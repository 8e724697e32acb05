// The texts of the validation result codes: a short one for logs and status
// lines, and a long one for the user that names the certificate's dates,
// extension or issuer where the code calls for them.
#ifndef NYCERT_VALIDATE_VALIDATION_TEXT_H_
#define NYCERT_VALIDATE_VALIDATION_TEXT_H_

#include "nycert/crl/validation_rc.h"
#include "nycert/platform/export.h"

class obCerts;

// The short text of code; "validation general error" for a code it does not know.
NYCERT_EXPORT const char* obValidationRC_GetString(int code);

// The long text of code for the certificate at index of chain (index -1 or
// an empty slot: the text without certificate details), written into buffer
// cut to size-1 characters and terminated. "Unknown problem. rc = <code> "
// for codes without a long text. 0, or -1 when buffer is null or size < 1.
NYCERT_EXPORT int obCert_ValErrToStr(obCerts& chain, int code, int index, char* buffer, int size);

#endif  // NYCERT_VALIDATE_VALIDATION_TEXT_H_
