// Content octets of a 32-bit INTEGER or ENUMERATED value, shared by obAsnInt
// and obAsnEnum.
#ifndef NYCERT_ASN1_RUNTIME_ASN_SMALLINT_H_
#define NYCERT_ASN1_RUNTIME_ASN_SMALLINT_H_

#include "nycert/asn1/runtime/asn_buf.h"
#include "nycert/platform/export.h"

// The most content octets a 32-bit value takes.
constexpr obAsnLen kAsnSmallIntMaxOctets = 4;

// Writes the content of value in front of b's contents: the octet count, or -1
// with a message naming owner. Non-negative values are minimal (0 as 00, 128
// as 00 80); negative ones always take four octets (-1 as FF FF FF FF), a form
// kept for compatibility with existing encoders.
NYCERT_EXPORT int obAsnBEncSmallInt(obAsnWriteBuf& b, int value, const char* owner);

// Reads len content octets (1 to 4) as a two's-complement value, adding them
// to bytesDecoded: 1, or -1 with a message naming owner (no content, the
// indefinite marker, more than four octets, or octets missing).
NYCERT_EXPORT int obAsnBDecSmallInt(obAsnReadBuf& b, obAsnLen len, int& value, unsigned long& bytesDecoded,
                      const char* owner);

#endif  // NYCERT_ASN1_RUNTIME_ASN_SMALLINT_H_
