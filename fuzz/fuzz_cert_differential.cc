// Arbitrary input decoded as a certificate and as a CRL, each twice: by the
// span readers and by the generated decoders. They must accept the same
// inputs and read the same fields.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "decode_differential.h"

namespace {

void Agree(const std::string& difference, const char* what) {
  if (difference.empty()) return;
  std::fprintf(stderr, "%s: %s\n", what, difference.c_str());
  abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Agree(decode_differential::CompareCert(data, size), "certificate");
  Agree(decode_differential::CompareCrl(data, size), "CRL");
  return 0;
}
