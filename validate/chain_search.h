// Issuer and subordinate searches in a list of certificates.
//
// Lists may have empty slots; the searches skip them and answer a slot
// index, or -1 when nothing matches. They never report.
#ifndef NYCERT_VALIDATE_CHAIN_SEARCH_H_
#define NYCERT_VALIDATE_CHAIN_SEARCH_H_

#include "nycert/platform/export.h"

class obCert;
class obCerts;
class obExtKeyID;

// The issuer of cert in list. A certificate with an authority key
// identifier is matched by key only (obCerts_FindCertWithSubjectKId), even
// when that fails, unless the environment variable DONT_USE_AUTHKID is set
// (to anything, read at every call); otherwise by name: the first
// certificate whose subject equals cert's issuer.
NYCERT_EXPORT int obCerts_FindIssuer(const obCerts* list, const obCert* cert);
// The first certificate of list issued by cert, by name only. A self-issued
// certificate is its own subordinate.
NYCERT_EXPORT int obCerts_FindSubordinate(const obCerts* list, const obCert* cert);
// The first well-formed certificate of list that authorityKeyId names: by
// its subject key identifier when the extension carries a key identifier,
// else by its issuer and serial number (-1 when the extension lacks either).
NYCERT_EXPORT int obCerts_FindCertWithSubjectKId(const obCerts* list, const obExtKeyID* authorityKeyId);

#endif  // NYCERT_VALIDATE_CHAIN_SEARCH_H_
