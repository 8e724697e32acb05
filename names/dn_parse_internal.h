// Parsing the string form of a distinguished name into its ASN.1 tree.
#ifndef NYCERT_NAMES_DN_PARSE_INTERNAL_H_
#define NYCERT_NAMES_DN_PARSE_INTERNAL_H_

#include "nycert/asn1/modules/pkix1_explicit.h"

// Parses text into out. The text lists RDNs most specific first and the
// sequence holds them root first, so the text's first RDN becomes the last
// element; the assertions of one RDN keep their order. 0, or -1 (reported)
// with out unchanged.
int obDNParse(const char* text, obASN_RDNSequence& out);

#endif  // NYCERT_NAMES_DN_PARSE_INTERNAL_H_
