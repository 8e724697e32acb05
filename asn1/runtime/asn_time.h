// The time types: UTCTime (universal 23) and GeneralizedTime (universal 24).
//
// Both are character strings whose content is a time text. Decoding accepts
// the BER forms (seconds left out, +hhmm/-hhmm offsets, and for
// GeneralizedTime fractional seconds after "." or ","); encoding writes the
// DER form, the UTC time with seconds and "Z" and no fraction. Times convert
// to and from 64-bit seconds since 1970-01-01 00:00:00 UTC over the
// proleptic Gregorian calendar, without the limits of time_t.
#ifndef NYCERT_ASN1_RUNTIME_ASN_TIME_H_
#define NYCERT_ASN1_RUNTIME_ASN_TIME_H_

#include <string>

#include "nycert/asn1/runtime/asn_string.h"
#include "nycert/platform/export.h"

// The text form of one time type.
struct NYCERT_EXPORT obAsnTimeSyntax {
  int yearDigits;         // 2: years 50-99 are 19xx, 00-49 are 20xx; or 4
  bool fraction;          // whether fractional seconds may follow the seconds
  long minYear, maxYear;  // the years the type can carry
};

struct NYCERT_EXPORT obAsnTimeKind : obAsnStringKind {
  obAsnTimeSyntax syntax;
};

class NYCERT_EXPORT obAsnTime : public obAsnString {
 public:
  // Seconds since 1970 (UTC) of the time held: 0, or -1 when it is not a valid time.
  int GetTime(long* seconds) const;
  // Holds the DER text of the time: 0, or -1 when its year is outside the type's range.
  int SetTime(long seconds);
  // "2026-11-21 08:15:00 UTC"; the raw text when it is not a valid time.
  int Sprint(ObStream* s, int indent) const override;

 protected:
  // A time that cannot be read is refused, never kept.
  bool KeepsUnchecked() const override { return false; }
  explicit obAsnTime(const obAsnTimeKind& kind) : obAsnString(kind) {}
  obAsnTime(const obAsnTimeKind& kind, const unsigned char* p, unsigned long n) : obAsnString(kind, p, n) {}
  obAsnTime(const obAsnTimeKind& kind, const char* text) : obAsnString(kind, text) {}

 private:
  const obAsnTimeSyntax& Syntax() const { return static_cast<const obAsnTimeKind&>(Kind()).syntax; }
};

// YYMMDDHHMMSSZ, years 1950-2049.
class NYCERT_EXPORT obAsnUTCTime : public obAsnStringOf<obAsnUTCTime, obAsnTime> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnTimeKind kKind;
};

// YYYYMMDDHHMMSSZ, years 0000-9999.
class NYCERT_EXPORT obAsnGeneralizedTime : public obAsnStringOf<obAsnGeneralizedTime, obAsnTime> {
 public:
  using obAsnStringOf::obAsnStringOf;
  static const obAsnTimeKind kKind;
};

// Seconds since 1970 (UTC) of the content octets of a time of kind (either
// kind's kKind): 0, or -1 when they are not a valid time of that kind.
NYCERT_EXPORT int obAsnParseTime(const obAsnTimeKind& kind, const unsigned char* p, unsigned long n, long* seconds);

// "YYYY-MM-DD HH:MM:SS UTC" for seconds since 1970.
NYCERT_EXPORT std::string obAsnTimeText(long seconds);

#endif  // NYCERT_ASN1_RUNTIME_ASN_TIME_H_
