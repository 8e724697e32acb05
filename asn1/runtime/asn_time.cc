#include "nycert/asn1/runtime/asn_time.h"

#include <cstdio>

#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/buffers/diag.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr long kSecondsPerDay = 86400;
// Days in a 400-year cycle of the Gregorian calendar, and from 0000-03-01 to 1970-01-01.
constexpr long kDaysPerEra = 146097;
constexpr long kEpochDays = 719468;

constexpr obAsnTimeSyntax kUtcSyntax = {2, false, 1950, 2049};
constexpr obAsnTimeSyntax kGeneralizedSyntax = {4, true, 0, 9999};

struct CivilTime {
  long year, month, day, hour, minute, second;
};

bool IsLeapYear(long y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

long DaysInMonth(long y, long m) {
  static const long kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && IsLeapYear(y) ? 29 : kDays[m - 1];
}

long FloorDiv(long a, long b) { return a / b - ((a % b != 0 && (a < 0) != (b < 0)) ? 1 : 0); }

// The calendar is counted from March, so that the leap day ends the year and
// the days before a month follow (153 * month + 2) / 5 over its 5-month rhythm.
long DaysFromCivil(long y, long m, long d) {
  if (m <= 2) --y;
  long era = FloorDiv(y, 400);
  long yearOfEra = y - era * 400;
  long dayOfYear = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  long dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * kDaysPerEra + dayOfEra - kEpochDays;
}

// The inverse of DaysFromCivil, with the time of day.
CivilTime CivilFromSeconds(long seconds) {
  long days = FloorDiv(seconds, kSecondsPerDay) + kEpochDays;
  long rest = seconds % kSecondsPerDay;
  if (rest < 0) rest += kSecondsPerDay;
  long era = FloorDiv(days, kDaysPerEra);
  long dayOfEra = days - era * kDaysPerEra;
  long yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / (kDaysPerEra - 1)) / 365;
  long dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  long shiftedMonth = (5 * dayOfYear + 2) / 153;
  CivilTime t;
  t.day = dayOfYear - (153 * shiftedMonth + 2) / 5 + 1;
  t.month = shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9;
  t.year = yearOfEra + era * 400 + (t.month <= 2 ? 1 : 0);
  t.hour = rest / 3600;
  t.minute = rest / 60 % 60;
  t.second = rest % 60;
  return t;
}

// A cursor over a time text.
class TimeText {
 public:
  TimeText(const unsigned char* p, unsigned long n) : p_(p), n_(n) {}
  // Reads count decimal digits: false when they are not all there.
  bool Number(int count, long* value) {
    long v = 0;
    for (int k = 0; k < count; ++k) {
      if (!NextIsDigit()) return false;
      v = v * 10 + (p_[i_++] - '0');
    }
    *value = v;
    return true;
  }
  bool NextIsDigit() const { return i_ < n_ && p_[i_] >= '0' && p_[i_] <= '9'; }
  bool Take(char c) {
    if (i_ >= n_ || p_[i_] != static_cast<unsigned char>(c)) return false;
    ++i_;
    return true;
  }
  void SkipDigits() {
    while (NextIsDigit()) ++i_;
  }
  bool AtEnd() const { return i_ == n_; }

 private:
  const unsigned char* p_;
  unsigned long n_;
  unsigned long i_ = 0;
};

// The zone: "Z", or an offset (+|-)hhmm of local time from UTC, in seconds.
bool ReadZone(TimeText& t, long* offset) {
  *offset = 0;
  if (t.Take('Z')) return true;
  long sign = t.Take('+') ? 1 : t.Take('-') ? -1 : 0;
  long hours, minutes;
  if (sign == 0 || !t.Number(2, &hours) || !t.Number(2, &minutes) || hours > 23 || minutes > 59) return false;
  *offset = sign * (hours * 3600 + minutes * 60);
  return true;
}

struct TimeFields {
  long year, month, day, hour, minute, second = 0, offset = 0;
};

// The DER form "<year>MMDDhhmmssZ", which nearly every time sent takes, read
// in one pass over its digits: false for any other form.
bool ReadDerForm(const obAsnTimeSyntax& syntax, const unsigned char* p, unsigned long n, TimeFields& f) {
  const unsigned long digits = static_cast<unsigned long>(syntax.yearDigits) + 10;
  if (n != digits + 1 || p[digits] != 'Z') return false;
  for (unsigned long i = 0; i < digits; ++i) {
    if (static_cast<unsigned>(p[i] - '0') > 9) return false;
  }
  auto two = [p](int at) { return long{p[at] - '0'} * 10 + (p[at + 1] - '0'); };
  int at = syntax.yearDigits;
  f.year = at == 2 ? two(0) : two(0) * 100 + two(2);
  f.month = two(at);
  f.day = two(at + 2);
  f.hour = two(at + 4);
  f.minute = two(at + 6);
  f.second = two(at + 8);
  return true;
}

// Any form the syntax allows, through the cursor.
bool ReadAnyForm(const obAsnTimeSyntax& syntax, const unsigned char* p, unsigned long n, TimeFields& f) {
  TimeText t(p, n);
  if (!t.Number(syntax.yearDigits, &f.year) || !t.Number(2, &f.month) || !t.Number(2, &f.day) ||
      !t.Number(2, &f.hour) || !t.Number(2, &f.minute))
    return false;
  bool withSeconds = t.NextIsDigit();
  if (withSeconds && !t.Number(2, &f.second)) return false;
  if (syntax.fraction && withSeconds && (t.Take('.') || t.Take(','))) {
    if (!t.NextIsDigit()) return false;
    t.SkipDigits();
  }
  return ReadZone(t, &f.offset) && t.AtEnd();
}

// UTCTime (X.680 47):        YYMMDDhhmm[ss](Z|(+|-)hhmm)
// GeneralizedTime (X.680 46): YYYYMMDDhhmm[ss[(.|,)f...]](Z|(+|-)hhmm)
// Local times without a zone are refused; a fraction is read and dropped.
// Seconds may be 60 (a leap second).
bool ReadTime(const obAsnTimeSyntax& syntax, const unsigned char* p, unsigned long n, TimeFields& f) {
  if (!ReadDerForm(syntax, p, n, f) && !ReadAnyForm(syntax, p, n, f)) return false;
  if (syntax.yearDigits == 2) f.year += f.year < 50 ? 2000 : 1900;
  return f.month >= 1 && f.month <= 12 && f.day >= 1 && f.day <= DaysInMonth(f.year, f.month) && f.hour <= 23 &&
         f.minute <= 59 && f.second <= 60;
}

// The time in seconds since 1970 (UTC).
bool ParseTime(const obAsnTimeSyntax& syntax, const unsigned char* p, unsigned long n, long* seconds) {
  TimeFields f;
  if (!ReadTime(syntax, p, n, f)) return false;
  *seconds =
      DaysFromCivil(f.year, f.month, f.day) * kSecondsPerDay + f.hour * 3600 + f.minute * 60 + f.second - f.offset;
  return true;
}

// The DER text of a time (X.690 11.7, 11.8): false when its year is outside the syntax's range.
bool FormatTime(const obAsnTimeSyntax& syntax, long seconds, std::string* text) {
  CivilTime t = CivilFromSeconds(seconds);
  if (t.year < syntax.minYear || t.year > syntax.maxYear) return false;
  char buf[64];
  std::snprintf(buf, sizeof buf,
                syntax.yearDigits == 2 ? "%02ld%02ld%02ld%02ld%02ld%02ldZ" : "%04ld%02ld%02ld%02ld%02ld%02ldZ",
                syntax.yearDigits == 2 ? t.year % 100 : t.year, t.month, t.day, t.hour, t.minute, t.second);
  *text = buf;
  return true;
}

template <const obAsnTimeSyntax& syntax>
int CheckTime(const unsigned char* p, unsigned long n) {
  TimeFields f;
  return ReadTime(syntax, p, n, f) ? 1 : 0;
}

// A valid text of exactly "<year>MMDDhhmmssZ" is already DER and is kept as it
// stands, so a leap second (60) survives; other forms are rewritten.
template <const obAsnTimeSyntax& syntax>
int DerTime(const unsigned char* p, unsigned long n, obAsnBytes& out) {
  long seconds;
  std::string text;
  if (!ParseTime(syntax, p, n, &seconds)) return -1;
  if (n == static_cast<unsigned long>(syntax.yearDigits) + 11 && p[n - 1] == 'Z') {
    out.Assign(p, n);
    return 0;
  }
  if (!FormatTime(syntax, seconds, &text)) return -1;
  out.Assign(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  return 0;
}

}  // namespace

const obAsnTimeKind obAsnUTCTime::kKind = {
    {"obAsnUTCTime", 23, CheckTime<kUtcSyntax>, DerTime<kUtcSyntax>, kAsnPrintText}, kUtcSyntax};
const obAsnTimeKind obAsnGeneralizedTime::kKind = {
    {"obAsnGeneralizedTime", 24, CheckTime<kGeneralizedSyntax>, DerTime<kGeneralizedSyntax>, kAsnPrintText},
    kGeneralizedSyntax};

std::string obAsnTimeText(long seconds) {
  CivilTime t = CivilFromSeconds(seconds);
  char buf[96];
  std::snprintf(buf, sizeof buf, "%04ld-%02ld-%02ld %02ld:%02ld:%02ld UTC", t.year, t.month, t.day, t.hour, t.minute,
                t.second);
  return buf;
}

int obAsnParseTime(const obAsnTimeKind& kind, const unsigned char* p, unsigned long n, long* seconds) {
  return ParseTime(kind.syntax, p, n, seconds) ? 0 : -1;
}

int obAsnTime::GetTime(long* seconds) const {
  long value;
  if (!ParseTime(Syntax(), data(), size(), &value)) {
    OB_HERROR("%s::GetTime the content is not a valid time", TypeName());
    return -1;
  }
  if (seconds) *seconds = value;
  return 0;
}

int obAsnTime::SetTime(long seconds) {
  std::string text;
  if (!FormatTime(Syntax(), seconds, &text)) {
    OB_HERROR("%s::SetTime %ld is outside the years %ld-%ld", TypeName(), seconds, Syntax().minYear, Syntax().maxYear);
    return -1;
  }
  return Set(text.c_str());
}

int obAsnTime::Sprint(ObStream* s, int indent) const {
  long seconds;
  if (!s) return 0;
  if (!ParseTime(Syntax(), data(), size(), &seconds)) return obAsnString::Sprint(s, indent);
  s->Printf("%s%s\n", obAsnIndent(indent), obAsnTimeText(seconds).c_str());
  return 0;
}
