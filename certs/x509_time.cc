#include "nycert/certs/x509_time_internal.h"

#include "nycert/asn1/modules/pkix1_explicit.h"

namespace {

constexpr long kUtcTimeFirst = -631152000L;  // 1950-01-01 00:00:00 UTC
constexpr long kUtcTimeEnd = 2524608000L;    // 2050-01-01 00:00:00 UTC

}  // namespace

int obX509SetTime(obASN_Time& time, long seconds) {
  if (seconds >= kUtcTimeFirst && seconds < kUtcTimeEnd) return time.Select_utcTime().SetTime(seconds);
  return time.Select_generalTime().SetTime(seconds);
}

int obX509GetTime(const obASN_Time& time, long* seconds) {
  if (time.choiceId == obASN_Time::utcTimeCid && time.utcTime) return time.utcTime->GetTime(seconds);
  if (time.choiceId == obASN_Time::generalTimeCid && time.generalTime) return time.generalTime->GetTime(seconds);
  return -1;
}
