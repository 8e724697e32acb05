// Putting a bag of certificates into chain order: index 0 the end entity,
// each next index the issuer of the one before, the top the highest CA.
#ifndef NYCERT_VALIDATE_CHAIN_SORT_H_
#define NYCERT_VALIDATE_CHAIN_SORT_H_

#include "nycert/platform/export.h"

class obCerts;

// Sorts src into dst (which may be src) from its end entity: the first
// certificate that issues none of the others, or the only one. 0, or -1
// (reported) when a list is missing, src is empty or every certificate
// issues another.
NYCERT_EXPORT int obCerts_Sort(const obCerts* src, obCerts* dst);
// Puts into dst (which may be src) the certificate at index first of src,
// then its issuer, then that one's issuer, as far as src reaches;
// certificates not reached are left out. 0, or -1 when a list is missing or
// index first is empty.
NYCERT_EXPORT int obCerts_SortWithFirst(const obCerts* src, int first, obCerts* dst);

#endif  // NYCERT_VALIDATE_CHAIN_SORT_H_
