// Whether octets are DER in the forms this library writes back unchanged,
// so fuzz targets can check that such input re-encodes to itself.
#ifndef NYCERT_FUZZ_CANONICAL_DER_H_
#define NYCERT_FUZZ_CANONICAL_DER_H_

#include <cstddef>
#include <cstdint>

namespace canonical_der {

inline constexpr unsigned kMaxDepth = 64;

inline bool Digits(const uint8_t* p, size_t n) {
  for (size_t i = 0; i < n; ++i)
    if (p[i] < '0' || p[i] > '9') return false;
  return true;
}

inline int Number(const uint8_t* p, size_t n) {
  int value = 0;
  for (size_t i = 0; i < n; ++i) value = value * 10 + (p[i] - '0');
  return value;
}

// A time text of yearDigits year digits, then MMDDHHMMSS and "Z", naming a
// real calendar second (a leap second 60 included).
inline bool CalendarTime(const uint8_t* p, size_t n, size_t yearDigits) {
  if (n != yearDigits + 11 || !Digits(p, n - 1) || p[n - 1] != 'Z') return false;
  int year = Number(p, yearDigits);
  if (yearDigits == 2) year += year < 50 ? 2000 : 1900;
  const uint8_t* t = p + yearDigits;
  int month = Number(t, 2), day = Number(t + 2, 2);
  static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  if (month < 1 || month > 12 || day < 1) return false;
  if (day > kDays[month - 1] + (month == 2 && leap ? 1 : 0)) return false;
  return Number(t + 4, 2) < 24 && Number(t + 6, 2) < 60 && Number(t + 8, 2) <= 60;
}

// Universal primitive content in its one DER form, as far as this library
// writes it back unchanged: minimal non-negative integers, FF or 00 booleans,
// bit strings with clear unused bits, calendar times with seconds and "Z".
inline bool CanonicalPrimitive(unsigned number, const uint8_t* p, size_t n) {
  switch (number) {
    case 1:
      return n == 1 && (p[0] == 0x00 || p[0] == 0xFF);
    case 2:
    case 10:
      return n >= 1 && p[0] < 0x80 && !(n > 1 && p[0] == 0 && p[1] < 0x80);
    case 3:
      return n >= 1 && p[0] <= 7 && (n > 1 || p[0] == 0) && (n == 1 || (p[n - 1] & ((1u << p[0]) - 1)) == 0);
    case 23:
      return CalendarTime(p, n, 2);
    case 24:
      return CalendarTime(p, n, 4);
    default:
      return true;
  }
}

// Whether the octets are a series of DER elements in those forms: low tag
// numbers, minimal definite lengths, strings in primitive form only, and no
// primitive elements of other classes (their type is not known here).
inline bool Canonical(const uint8_t* p, size_t n, unsigned depth) {
  if (depth > kMaxDepth) return false;
  while (n > 0) {
    uint8_t tag = p[0];
    if ((tag & 0x1F) == 0x1F || n < 2) return false;
    size_t header = 2;
    size_t len = p[1];
    if (len & 0x80) {
      size_t count = len & 0x7F;
      if (count == 0 || count > 3 || n < 2 + count || p[2] == 0) return false;
      len = 0;
      for (size_t i = 0; i < count; ++i) len = (len << 8) | p[2 + i];
      if (len < 0x80) return false;
      header += count;
    }
    if (len > n - header) return false;
    const uint8_t* content = p + header;
    bool universal = (tag & 0xC0) == 0;
    unsigned number = tag & 0x1F;
    if (tag & 0x20) {
      bool string = number == 3 || number == 4 || number == 12 || (number >= 18 && number <= 30);
      if ((universal && string) || !Canonical(content, len, depth + 1)) return false;
    } else if (!universal || !CanonicalPrimitive(number, content, len)) {
      return false;
    }
    p += header + len;
    n -= header + len;
  }
  return true;
}

}  // namespace canonical_der

#endif  // NYCERT_FUZZ_CANONICAL_DER_H_
