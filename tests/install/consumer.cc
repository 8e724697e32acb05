// A program outside the project that uses the installed library.
#include <nycert/nycert.h>

#include <cstdio>

int main() {
  static const unsigned char kDer[] = {0x30, 0x03, 0x02, 0x01, 0x05};
  obAsnReadBuf in(kDer, sizeof kDer);
  unsigned long used = 0;
  if (BDecTag(in, used) != 0x30 || BDecLen(in, used) != 3) return 1;
  nyBinBuf copy(kDer, sizeof kDer);
  obString text("installed");
  std::printf("%s %u octets\n", text.getstr(), copy.Len());
  return copy.Len() == sizeof kDer ? 0 : 1;
}
