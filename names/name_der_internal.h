// A check of the DER of an X.509 Name in place, without building its tree:
//
//   Name ::= CHOICE { rdnSequence RDNSequence }
//   RDNSequence ::= SEQUENCE OF RelativeDistinguishedName
//   RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
//   AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value DirectoryString }
//
// Whatever it accepts decodes into obASN_RDNSequence. It is stricter than
// that decoder: it refuses BER forms (indefinite lengths, constructed
// strings) and empty RDNs. Like the rest of certificate decoding it takes
// definite lengths in a longer form than needed.
#ifndef NYCERT_NAMES_NAME_DER_INTERNAL_H_
#define NYCERT_NAMES_NAME_DER_INTERNAL_H_

#include <cstddef>

// The number of RDNs of the name that fills the len octets at der exactly,
// or -1 when they are not one. Allocates nothing and reports nothing.
int obNameDerCount(const unsigned char* der, size_t len);

#endif  // NYCERT_NAMES_NAME_DER_INTERNAL_H_
