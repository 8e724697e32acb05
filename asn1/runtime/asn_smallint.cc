#include "nycert/asn1/runtime/asn_smallint.h"

#include <cstdint>

#include "nycert/buffers/diag.h"

namespace {

// Octets needed for value: four for any negative value, else the fewest that
// keep the sign bit of the first octet clear.
int SmallIntOctets(int value) {
  if (value < 0) return kAsnSmallIntMaxOctets;
  uint32_t v = static_cast<uint32_t>(value);
  uint32_t mask = 0x7F800000u;
  int count = kAsnSmallIntMaxOctets;
  while (count >= 2 && (v & mask) == 0) {
    --count;
    mask >>= 8;
  }
  return count;
}

}  // namespace

int obAsnBEncSmallInt(obAsnWriteBuf& b, int value, const char* owner) {
  int count = SmallIntOctets(value);
  uint32_t v = static_cast<uint32_t>(value);
  for (int i = 0; i < count; ++i, v >>= 8) {
    if (b.PutByte(static_cast<unsigned char>(v & 0xFF)) < 0) {
      OB_HERROR("%s::BEncContent can't put byte  into buf", owner);
      return -1;
    }
  }
  return count;
}

// INTEGER ::= content octets, big-endian two's complement (X.690 8.3).
int obAsnBDecSmallInt(obAsnReadBuf& b, obAsnLen len, int& value, unsigned long& bytesDecoded,
                      const char* owner) {
  if (len < 1) {
    OB_HERROR("%s::BDecContent: %s must not be with INDEFINITE length (%d). offset = %d", owner, owner, len,
              b.Offset());
    return -1;
  }
  if (len > kAsnSmallIntMaxOctets) {
    OB_HERROR("%s::BDecContent: %s value longer than 4 octets (%d). offset = %d", owner, owner, len, b.Offset());
    return -1;
  }
  if (static_cast<unsigned long>(len) > b.Remaining()) {
    OB_HERROR("%s::BDecContent: can't get byte from buf offset = %d", owner, b.Offset());
    return -1;
  }
  const unsigned char* p = b.Cur();
  uint32_t v = (p[0] & 0x80) ? 0xFFFFFFFFu : 0;
  for (obAsnLen i = 0; i < len; ++i) v = (v << 8) | p[i];
  b.Skip(static_cast<unsigned long>(len));
  bytesDecoded += static_cast<unsigned long>(len);
  value = static_cast<int>(v);
  return 1;
}
