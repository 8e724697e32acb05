// General names inside extension values: checking them where they are met
// and turning them into obGeneralName objects.
#ifndef NYCERT_CERTS_EXT_NAMES_INTERNAL_H_
#define NYCERT_CERTS_EXT_NAMES_INTERNAL_H_

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/names/general_names.h"

// The tags of the GeneralName choices: [1], [2] and [6] hold text, [7]
// octets, [4] a Name.
constexpr obAsnTag kGNother = 0xA0;
constexpr obAsnTag kGNrfc822 = 0x81;
constexpr obAsnTag kGNdns = 0x82;
constexpr obAsnTag kGNx400 = 0xA3;
constexpr obAsnTag kGNdirectory = 0xA4;
constexpr obAsnTag kGNediParty = 0xA5;
constexpr obAsnTag kGNuri = 0x86;
constexpr obAsnTag kGNip = 0x87;
constexpr obAsnTag kGNregistered = 0x88;

// Whether element has the form of one of the nine GeneralName choices.
bool obExtIsGeneralName(const obDerElement& element);
// Whether content (a GeneralNames without its header) is a run of one or more GeneralNames.
bool obExtCheckGeneralNames(obDerSpan content);
// A new name from an element obExtIsGeneralName accepts, or null when its
// inner encoding cannot be converted.
obGeneralName* obExtMakeGeneralName(const obDerElement& element);
// Appends the convertible names of a checked GeneralNames content to out.
void obExtAddGeneralNames(obDerSpan content, obGeneralNames& out);

// The ASN.1 form of names; a name of a kind that has none is left out and
// reported as "<owner>: Unsupported obGNtype: <kind>".
obASN_GeneralNames obExtAsnNames(const obGeneralNames* names, const char* owner);

#endif  // NYCERT_CERTS_EXT_NAMES_INTERNAL_H_
