// Attribute values of distinguished names: what printing and comparison see
// of a DirectoryString, and the value a parsed text becomes.
//
//   DirectoryString ::= CHOICE { teletexString [0], printableString [1],
//       universalString [2], utf8String [3], bmpString [4], ia5String [5] }
//
// Teletex, Printable and IA5 values are text; a UniversalString is binary; a
// UTF8String is text when every octet is below 0x80 or when it is not valid
// UTF-8 (as received), and a BMPString when every character is below 0x80,
// else they are binary.
#ifndef NYCERT_NAMES_DN_VALUE_INTERNAL_H_
#define NYCERT_NAMES_DN_VALUE_INTERNAL_H_

#include <string>

#include "nycert/asn1/modules/pkix1_explicit.h"

// A value reduced to its text or binary octets, read in place.
struct obDNValue {
  const unsigned char* data = nullptr;  // content octets of the chosen string
  unsigned long size = 0;
  int choice = -1;      // the DirectoryString alternative
  bool binary = false;  // printed as "#" and hex octets
  unsigned stride = 1;  // 2 for the text of a BMPString: its low octets
  bool checked = true;  // the content passes its string type's check

  unsigned long TextLen() const { return size / stride; }
  unsigned char TextAt(unsigned long i) const { return data[i * stride + stride - 1]; }
};

// Reduces value: 0, or -1 (reported) when no known alternative is chosen.
int obDNValueReduce(const obASN_DirectoryString& value, obDNValue& out);

// Appends the printed form of value. Text is copied; when escape is set a
// backslash goes before each of , + = line-feed < > # ; and the octets
// obDNIsOddOctet names become a backslash and two lower-case hex digits.
// Binary values are "#" and two lower-case hex digits per content octet.
void obDNValueAppend(std::string& out, const obDNValue& value, bool escape);

// Equality of reduced values: both text and equal ignoring case and leading
// blanks, with runs of blanks counted as one; or both binary with the same
// alternative and the same octets.
bool obDNValueEqual(const obDNValue& a, const obDNValue& b);

// The value a parsed text becomes for an attribute of type: an IA5String for
// e-mail addresses and domain components, a PrintableString when every
// character allows it, else a TeletexString. The content is taken as it
// stands; encoding checks it.
void obDNValueFromText(const obAsnOid& type, const char* text, obASN_DirectoryString& out);

#endif  // NYCERT_NAMES_DN_VALUE_INTERNAL_H_
