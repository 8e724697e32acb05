// obrand_gen: cryptographically strong random octets.
#ifndef NYCERT_PLATFORM_OBRAND_H_
#define NYCERT_PLATFORM_OBRAND_H_

#include "nycert/platform/export.h"

// Fills out with len random octets from the system's generator: 0, or -1.
NYCERT_EXPORT int obrand_gen(unsigned char* out, int len);

#endif  // NYCERT_PLATFORM_OBRAND_H_
