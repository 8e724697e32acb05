// Flat functions over distinguished names, most of them on string forms.
#ifndef NYCERT_NAMES_OBDN_FLAT_H_
#define NYCERT_NAMES_OBDN_FLAT_H_

#include "nycert/names/obdn.h"
#include "nycert/platform/export.h"

// Parses both and compares the names: 1 when equal; 0 when not, when either
// pointer is null or either string fails to parse.
NYCERT_EXPORT int obDN_cmp_strings(const char* a, const char* b);
// Parses both: 1 when suffix names dn itself or one of its ancestors (dn's
// string ends with suffix's RDNs), else 0; -1 when either pointer is null.
NYCERT_EXPORT int obDN_contains_suffix(const char* dn, const char* suffix);
// 1 when str parses and prints back to a non-empty string, else 0.
NYCERT_EXPORT int obDN_IsLegalDN(const char* str);

// The string form of dn; null when dn is null or has none.
NYCERT_EXPORT const char* obDN_GetStr(const obDN* dn);
// A new name decoded from DER, or null (reported); release with obDN_Free.
NYCERT_EXPORT obDN* obDN_DER_Decode(const unsigned char* der, int len);
// Releases a name made by these functions; null is ignored.
NYCERT_EXPORT void obDN_Free(obDN* dn);

// The common name or organisational unit of a name given as a string,
// copied to dst: 0, or -1 as for obDN::GetRDN (or when dn does not parse).
NYCERT_EXPORT int obDN_CN_from_string(const char* dn, char* dst, int size);
NYCERT_EXPORT int obDN_OU_from_string(const char* dn, char* dst, int size);

// The string form of dn with cn as its most specific RDN, replacing a
// common-name RDN that stood there: 0, or -1 (reported).
NYCERT_EXPORT int obDN_add_CN(const char* dn, const char* cn, char* dst, int size);
// The string form of dn without its most specific RDN when that holds a
// common name (dn unchanged otherwise): 0, or -1 (reported).
NYCERT_EXPORT int obDN_remove_CN(const char* dn, char* dst, int size);

#endif  // NYCERT_NAMES_OBDN_FLAT_H_
