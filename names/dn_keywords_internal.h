// The attribute keywords of the string form of distinguished names, and the
// "OID." form of attribute types that have none.
#ifndef NYCERT_NAMES_DN_KEYWORDS_INTERNAL_H_
#define NYCERT_NAMES_DN_KEYWORDS_INTERNAL_H_

#include "nycert/asn1/runtime/asn_oid.h"

struct obDNKeyword {
  const char* keyword;   // as printed
  const obAsnOid* type;  // the library's constant for the attribute type
};

// The table holds CN, C, ST, O, OU, L, T, serialNumber, STREET, DC, Email,
// UID and principalName, searched in that order.

// The row whose keyword equals name without regard to case, or null.
const obDNKeyword* obDNKeywordByName(const char* name);
// The first row whose type equals type, or null.
const obDNKeyword* obDNKeywordByType(const obAsnOid& type);

// The printed form of an attribute type: its keyword, or "OID." and its
// dotted form. The "OID." form is built in one static buffer of 256 octets
// shared by every caller, so it is valid until the next call and printing
// unknown types is not safe from several threads at once. Null (reported)
// when the dotted form does not fit.
const char* obDNTypeText(const obAsnOid& type);

// Reads the arcs after "OID.": decimal numbers separated by single dots, at
// most 11 of them, and nothing else. 0, or -1 (reported) with out unchanged.
int obNUM2OID(const char* text, obAsnOid& out);

// The attribute type a keyword names: a keyword of the table, or "OID." (in
// any case) and dotted arcs. 0, or -1 (reported).
int obDNTypeOfKeyword(const char* keyword, obAsnOid& out);

#endif  // NYCERT_NAMES_DN_KEYWORDS_INTERNAL_H_
