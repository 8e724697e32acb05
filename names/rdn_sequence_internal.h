// Algorithms over the ASN.1 tree of a distinguished name:
//
//   RDNSequence ::= SEQUENCE OF RelativeDistinguishedName
//   RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
//
// The sequence runs from the root (first) to the most specific RDN (last).
#ifndef NYCERT_NAMES_RDN_SEQUENCE_INTERNAL_H_
#define NYCERT_NAMES_RDN_SEQUENCE_INTERNAL_H_

#include <string>

#include "nycert/asn1/modules/pkix1_explicit.h"

// Appends the string form: RDNs from the last to the first joined by ",",
// the assertions of one RDN in stored order joined by "+", each as keyword
// (or "OID." form), "=" and the printed value. 0, or -1 (reported) when a
// type or value cannot be printed.
int obRdnSequencePrint(const obASN_RDNSequence& name, std::string& out);

// Appends the printed value of one assertion: 0, or -1 (reported).
int obAttributeValuePrint(const obASN_AttributeTypeAndValue& assertion, std::string& out);

// The same number of assertions, each of a matched in b by type and value.
bool obRdnMatch(const obASN_RelativeDistinguishedName& a, const obASN_RelativeDistinguishedName& b);

// Walks both from the root while their RDNs match: true when ancestor runs
// out first or together, so ancestor is name itself or lies above it.
bool obRdnSequenceIsSub(const obASN_RDNSequence& name, const obASN_RDNSequence& ancestor);

// The first assertion of type, from the most specific RDN towards the root
// and in stored order within an RDN; null when there is none.
const obASN_AttributeTypeAndValue* obRdnSequenceFind(const obASN_RDNSequence& name, const obAsnOid& type);

// Whether rdn holds an assertion of type.
bool obRdnHolds(const obASN_RelativeDistinguishedName& rdn, const obAsnOid& type);

#endif  // NYCERT_NAMES_RDN_SEQUENCE_INTERNAL_H_
