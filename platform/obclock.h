// The library's clock: every validity decision reads the time through
// ob_time_now, so a program or a test can validate at another moment.
#ifndef NYCERT_PLATFORM_OBCLOCK_H_
#define NYCERT_PLATFORM_OBCLOCK_H_

#include "nycert/platform/export.h"

extern "C" {
// Seconds since 1970 (UTC): the fixed time when one is set, else the system clock.
NYCERT_EXPORT long ob_time_now();
// Fixes the clock at t; 0 returns to the system clock. Set it before other
// threads read the clock.
NYCERT_EXPORT void ob_time_set_fixed(long t);
}

#endif  // NYCERT_PLATFORM_OBCLOCK_H_
