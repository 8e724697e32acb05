// Unicode helpers for the character string types: UTF-8 validation and the
// conversions between UTF-8 and the BMPString (UCS-2) and UniversalString
// (UCS-4) contents, both big-endian.
#ifndef NYCERT_ASN1_RUNTIME_ASN_UNICODE_H_
#define NYCERT_ASN1_RUNTIME_ASN_UNICODE_H_

#include <string>

#include "nycert/asn1/runtime/asn_bytes.h"
#include "nycert/platform/export.h"

constexpr unsigned long kUnicodeMax = 0x10FFFF;

// The width-octet (2 or 4) big-endian character at p.
inline unsigned long obAsnUcsChar(const unsigned char* p, unsigned width) {
  unsigned long c = 0;
  for (unsigned k = 0; k < width; ++k) c = (c << 8) | p[k];
  return c;
}

// 1 when p holds well-formed UTF-8 (no overlong forms, no surrogates, nothing
// above U+10FFFF), else 0.
NYCERT_EXPORT int obAsnUtf8Valid(const unsigned char* p, unsigned long n);

// UTF-8 text of BMPString content. UTF-16 surrogate pairs, which some
// encoders write, are joined; an odd length or a lone surrogate fails. 0, or -1.
NYCERT_EXPORT int obAsnBmpToUtf8(const unsigned char* p, unsigned long n, std::string& utf8);
// UTF-8 text of UniversalString content; a length that is not a multiple of
// 4, a surrogate or a value above U+10FFFF fails. 0, or -1.
NYCERT_EXPORT int obAsnUniversalToUtf8(const unsigned char* p, unsigned long n, std::string& utf8);
// BMPString content of UTF-8 text; malformed UTF-8 or a character beyond
// U+FFFF (which UCS-2 cannot hold) fails. 0, or -1.
NYCERT_EXPORT int obAsnUtf8ToBmp(const unsigned char* p, unsigned long n, obAsnBytes& bmp);
// The same with characters beyond U+FFFF as UTF-16 surrogate pairs, as
// PKCS #12 writers put them in passwords and friendly names; what
// obAsnBmpToUtf8 reads back as the same text. 0, or -1 for malformed UTF-8.
NYCERT_EXPORT int obAsnUtf8ToUtf16(const unsigned char* p, unsigned long n, obAsnBytes& bmp);

#endif  // NYCERT_ASN1_RUNTIME_ASN_UNICODE_H_
