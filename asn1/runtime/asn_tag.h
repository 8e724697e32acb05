// Identifier octets: encoding, decoding and the packed in-memory form.
#ifndef NYCERT_ASN1_RUNTIME_ASN_TAG_H_
#define NYCERT_ASN1_RUNTIME_ASN_TAG_H_

#include "nycert/asn1/runtime/asn_buf.h"
#include "nycert/platform/export.h"

// Largest tag number the runtime writes or reads (three continuation octets).
constexpr unsigned kAsnMaxTagNumber = 0x1FFFFF;

// The packed form that BDecTag returns for the octets BEncTag writes.
// Numbers from 127 up take a leading 0x80 continuation octet: 127 is written
// in three octets, not two, and that form is kept for compatibility.
constexpr obAsnTag obAsnMakeTag(unsigned cls, unsigned form, unsigned number) {
  return number < 31 ? (cls | form | number)
         : number < 127
             ? (cls | form | 0x1F) | (number << 8)
         : number < 16384
             ? (cls | form | 0x1F) | (((number >> 7) | 0x80) << 8) | ((number & 0x7F) << 16)
             : (cls | form | 0x1F) | (((number >> 14) | 0x80) << 8) |
                   ((((number >> 7) & 0x7F) | 0x80) << 16) | ((number & 0x7F) << 24);
}

// The tag number of a packed tag.
NYCERT_EXPORT unsigned obAsnTagNumber(obAsnTag tag);

// Class and form bits of a packed tag, and whether it is constructed.
constexpr unsigned obAsnTagClass(obAsnTag tag) { return tag & 0xC0; }
constexpr bool obAsnTagIsConstructed(obAsnTag tag) { return (tag & kAsnConstructed) != 0; }

// Writes the identifier octets in front of b's contents: their count (1-4), or -1.
NYCERT_EXPORT int BEncTag(obAsnWriteBuf& b, unsigned cls, unsigned form, unsigned number);
// Reads identifier octets; adds their count to bytes. kAsnBadTag on failure.
NYCERT_EXPORT obAsnTag BDecTag(obAsnReadBuf& b, unsigned long& bytes);

#endif  // NYCERT_ASN1_RUNTIME_ASN_TAG_H_
