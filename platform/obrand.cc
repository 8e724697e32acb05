#include "nycert/platform/obrand.h"

#include <openssl/rand.h>

int obrand_gen(unsigned char* out, int len) {
  if (len == 0) return 0;
  if (!out || len < 0) return -1;
  return RAND_bytes(out, len) == 1 ? 0 : -1;
}
