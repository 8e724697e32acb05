// The number of processors the program may run on.
#ifndef NYCERT_PLATFORM_CPU_COUNT_H_
#define NYCERT_PLATFORM_CPU_COUNT_H_

#include "nycert/platform/export.h"

extern "C" {
// The processors online: the fixed count when one is set, else the system's
// answer, or -1 when the system cannot tell.
NYCERT_EXPORT int ob_num_processors();
// Fixes the answer at n (a test simulating another machine); 0 returns to the
// system's answer.
NYCERT_EXPORT void ob_num_processors_set_fixed(int n);
}

#endif  // NYCERT_PLATFORM_CPU_COUNT_H_
