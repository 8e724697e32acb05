#include "nycert/asn1/runtime/asn_unicode.h"

#include <cstdint>
#include <cstring>

#include "nycert/buffers/diag.h"

namespace {

constexpr unsigned long kBmpMax = 0xFFFF;

bool IsSurrogate(unsigned long c) { return c >= 0xD800 && c <= 0xDFFF; }
bool IsHighSurrogate(unsigned long c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLowSurrogate(unsigned long c) { return c >= 0xDC00 && c <= 0xDFFF; }

// Continuation octets after a lead octet, or -1 when the octet cannot lead.
int FollowCount(unsigned char lead) {
  if (lead < 0x80) return 0;
  if ((lead & 0xE0) == 0xC0) return 1;
  if ((lead & 0xF0) == 0xE0) return 2;
  if ((lead & 0xF8) == 0xF0) return 3;
  return -1;
}

// The number of leading ASCII octets, counted a word at a time: names and
// host names are mostly ASCII and need no decoding.
unsigned long AsciiPrefix(const unsigned char* p, unsigned long n) {
  constexpr uint64_t kHighBits = 0x8080808080808080u;
  unsigned long i = 0;
  for (uint64_t word; i + sizeof word <= n; i += sizeof word) {
    std::memcpy(&word, p + i, sizeof word);
    if (word & kHighBits) break;
  }
  return i;
}

// Decodes the character at p[*i] and advances *i past it; false when the
// octets there are not well-formed UTF-8 (RFC 3629 section 4).
bool NextUtf8(const unsigned char* p, unsigned long n, unsigned long* i, unsigned long* cp) {
  static const unsigned long kLeast[] = {0, 0x80, 0x800, 0x10000};
  int follow = FollowCount(p[*i]);
  if (follow < 0 || n - *i - 1 < static_cast<unsigned long>(follow)) return false;
  unsigned long c = p[*i] & (0x7Fu >> (follow ? follow + 1 : 0));
  for (int k = 1; k <= follow; ++k) {
    unsigned char octet = p[*i + k];
    if ((octet & 0xC0) != 0x80) return false;
    c = (c << 6) | (octet & 0x3Fu);
  }
  if (c < kLeast[follow] || IsSurrogate(c) || c > kUnicodeMax) return false;
  *i += static_cast<unsigned long>(follow) + 1;
  *cp = c;
  return true;
}

void AppendUtf8(std::string& out, unsigned long c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
    return;
  }
  unsigned follow = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
  static const unsigned char kLeadBits[] = {0, 0xC0, 0xE0, 0xF0};
  out += static_cast<char>(kLeadBits[follow] | (c >> (6 * follow)));
  for (unsigned k = follow; k-- > 0;) out += static_cast<char>(0x80 | ((c >> (6 * k)) & 0x3F));
}

void AppendUnit(obAsnBytes& out, unsigned long unit) {
  unsigned char octets[2] = {static_cast<unsigned char>(unit >> 8), static_cast<unsigned char>(unit)};
  out.Append(octets, 2);
}

// Big-endian 16-bit units of UTF-8 text; characters beyond U+FFFF become
// surrogate pairs when pairs is set and fail otherwise.
int Utf8ToUnits(const unsigned char* p, unsigned long n, bool pairs, const char* caller, obAsnBytes& out) {
  out.Clear();
  unsigned long c;
  for (unsigned long i = 0; i < n;) {
    unsigned long at = i;
    if (!NextUtf8(p, n, &i, &c)) {
      OB_HERROR("%s: malformed UTF-8 at offset %lu", caller, at);
      out.Clear();
      return -1;
    }
    if (c <= kBmpMax) {
      AppendUnit(out, c);
    } else if (pairs) {
      AppendUnit(out, 0xD800 + ((c - 0x10000) >> 10));
      AppendUnit(out, 0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      OB_HERROR("%s: U+%lX at offset %lu is beyond the BMP", caller, c, at);
      out.Clear();
      return -1;
    }
  }
  return 0;
}

}  // namespace

int obAsnUtf8Valid(const unsigned char* p, unsigned long n) {
  unsigned long cp;
  for (unsigned long i = AsciiPrefix(p, n); i < n;) {
    if (p[i] < 0x80) {
      ++i;
    } else if (!NextUtf8(p, n, &i, &cp)) {
      return 0;
    }
  }
  return 1;
}

int obAsnBmpToUtf8(const unsigned char* p, unsigned long n, std::string& utf8) {
  utf8.clear();
  if (n % 2 != 0) {
    OB_HERROR("obAsnBmpToUtf8: odd length %lu", n);
    return -1;
  }
  for (unsigned long i = 0; i < n; i += 2) {
    unsigned long c = obAsnUcsChar(p + i, 2);
    if (IsHighSurrogate(c) && i + 4 <= n && IsLowSurrogate(obAsnUcsChar(p + i + 2, 2))) {
      c = 0x10000 + ((c - 0xD800) << 10) + (obAsnUcsChar(p + i + 2, 2) - 0xDC00);
      i += 2;
    }
    if (IsSurrogate(c)) {
      OB_HERROR("obAsnBmpToUtf8: lone surrogate at offset %lu", i);
      utf8.clear();
      return -1;
    }
    AppendUtf8(utf8, c);
  }
  return 0;
}

int obAsnUniversalToUtf8(const unsigned char* p, unsigned long n, std::string& utf8) {
  utf8.clear();
  if (n % 4 != 0) {
    OB_HERROR("obAsnUniversalToUtf8: length %lu is not a multiple of 4", n);
    return -1;
  }
  for (unsigned long i = 0; i < n; i += 4) {
    unsigned long c = obAsnUcsChar(p + i, 4);
    if (IsSurrogate(c) || c > kUnicodeMax) {
      OB_HERROR("obAsnUniversalToUtf8: no character U+%lX at offset %lu", c, i);
      utf8.clear();
      return -1;
    }
    AppendUtf8(utf8, c);
  }
  return 0;
}

int obAsnUtf8ToBmp(const unsigned char* p, unsigned long n, obAsnBytes& bmp) {
  return Utf8ToUnits(p, n, false, "obAsnUtf8ToBmp", bmp);
}

int obAsnUtf8ToUtf16(const unsigned char* p, unsigned long n, obAsnBytes& bmp) {
  return Utf8ToUnits(p, n, true, "obAsnUtf8ToUtf16", bmp);
}
