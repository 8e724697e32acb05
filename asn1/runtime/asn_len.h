// Length octets and end-of-contents octets.
#ifndef NYCERT_ASN1_RUNTIME_ASN_LEN_H_
#define NYCERT_ASN1_RUNTIME_ASN_LEN_H_

#include "nycert/asn1/runtime/asn_buf.h"
#include "nycert/platform/export.h"

// Definite lengths are always written in their minimal form; 16 MiB and more cannot be written.
constexpr unsigned long kAsnMaxEncodableLen = 0xFFFFFF;

// Writes a definite length in front of b's contents: its octet count (1-4), or -1.
NYCERT_EXPORT int BEncDefLen(obAsnWriteBuf& b, unsigned long length);
// Writes the indefinite-length octet 0x80: 1, or -1.
NYCERT_EXPORT int BEncIndefLen(obAsnWriteBuf& b);
// Reads a length, adding the octets read to bytes: the length (never beyond the
// remaining input), kAsnIndefiniteLen, or kAsnLenError.
NYCERT_EXPORT obAsnLen BDecLen(obAsnReadBuf& b, unsigned long& bytes);

// End-of-contents: encoding writes two zero octets (2, or -1); decoding reads
// them, adds 2 to bytes and returns 1, or -1.
NYCERT_EXPORT int BEncEoc(obAsnWriteBuf& b);
NYCERT_EXPORT int BDecEoc(obAsnReadBuf& b, unsigned long& bytes);

// Measures an indefinite-length content in place, including the closing
// end-of-contents octets of every nested level, and leaves the cursor where it
// was. With nested non-zero the cursor stands inside one open indefinite
// value. Returns the count, or -1.
NYCERT_EXPORT obAsnLen asnLen(obAsnReadBuf& b, int nested);

#endif  // NYCERT_ASN1_RUNTIME_ASN_LEN_H_
