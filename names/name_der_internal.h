// A check of the DER of an X.509 Name in place, without building its tree:
//
//   Name ::= CHOICE { rdnSequence RDNSequence }
//   RDNSequence ::= SEQUENCE OF RelativeDistinguishedName
//   RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
//   AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value DirectoryString }
//
// It accepts what obASN_RDNSequence decodes except empty RDNs: names in DER,
// long-form and indefinite lengths, and values kept as received when they
// fail their string type's check are read in place; the forms it cannot
// read in place (strings in constructed segments) go to the tree decoder.
#ifndef NYCERT_NAMES_NAME_DER_INTERNAL_H_
#define NYCERT_NAMES_NAME_DER_INTERNAL_H_

#include <cstddef>

// The number of RDNs of the name that fills the len octets at der exactly,
// or -1 when they are not one. Allocates and reports nothing for the forms
// read in place.
int obNameDerCount(const unsigned char* der, size_t len);

#endif  // NYCERT_NAMES_NAME_DER_INTERNAL_H_
