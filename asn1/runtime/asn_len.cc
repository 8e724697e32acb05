#include "nycert/asn1/runtime/asn_len.h"

#include <climits>

#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/buffers/diag.h"

int BEncDefLen(obAsnWriteBuf& b, unsigned long length) {
  const char* failure;
  int count;
  if (length < 0x80) {
    count = 1;
    failure = "BEncDefLen can't put byte to buf len < 0x80 ";
  } else if (length < 0x100) {
    count = 2;
    failure = "BEncDefLen can't put byte to buf len < 0x100 ";
  } else if (length < 0x10000) {
    count = 3;
    failure = "BEncDefLen can't put byte to buf  len < 0x10000";
  } else if (length <= kAsnMaxEncodableLen) {
    count = 4;
    failure = "BEncDefLen can't put byte in buf  len < 0x1000000";
  } else {
    OB_HERROR("BEncDefLen can't find match if");
    return -1;
  }
  for (int i = 0; i < count - 1; ++i) {
    if (b.PutByte(static_cast<unsigned char>(length >> (8 * i))) < 0) {
      OB_HERROR("%s", failure);
      return -1;
    }
  }
  unsigned char first = count == 1 ? static_cast<unsigned char>(length) : static_cast<unsigned char>(0x80 | (count - 1));
  if (b.PutByte(first) < 0) {
    OB_HERROR("%s", failure);
    return -1;
  }
  return count;
}

int BEncIndefLen(obAsnWriteBuf& b) { return b.PutByte(0x80) < 0 ? -1 : 1; }

obAsnLen BDecLen(obAsnReadBuf& b, unsigned long& bytes) {
  if (b.Remaining() == 0) {
    OB_HERROR("BDecLen: Decoded couldn't get byte offset = %d", b.Offset());
    return kAsnLenError;
  }
  unsigned first = static_cast<unsigned>(b.GetByte());
  ++bytes;
  unsigned long length;
  if (first < 0x80) {
    length = first;
  } else if (first == 0x80) {
    return kAsnIndefiniteLen;
  } else {
    unsigned count = first & 0x7F;
    if (count > 4) {
      OB_HERROR("BDecLen: length overflow before offset = %d", b.Offset());
      return kAsnLenError;
    }
    length = 0;
    for (unsigned i = 0; i < count; ++i) {
      if (b.Remaining() == 0) {
        OB_HERROR("BDec: decoded couldn't get data offset = %d", b.Offset());
        return kAsnLenError;
      }
      length = (length << 8) | static_cast<unsigned>(b.GetByte());
      ++bytes;
    }
  }
  if (length > b.Remaining() || length > static_cast<unsigned long>(INT_MAX)) {
    OB_HERROR("BDecLen: length exceeds buffer");
    return kAsnLenError;
  }
  return static_cast<obAsnLen>(length);
}

int BEncEoc(obAsnWriteBuf& b) {
  if (b.PutByte(0) < 0 || b.PutByte(0) < 0) {
    OB_HERROR("obAsnLen failed to encoded Eoc ");
    return -1;
  }
  return 2;
}

int BDecEoc(obAsnReadBuf& b, unsigned long& bytes) {
  if (b.Remaining() < 2 || b.cur[0] != 0 || b.cur[1] != 0) {
    OB_HERROR("Non zero byte in EOC or end of data reached before offset = %d", b.Offset());
    return -1;
  }
  b.Skip(2);
  bytes += 2;
  return 1;
}

obAsnLen asnLen(obAsnReadBuf& b, int nested) {
  const unsigned char* mark = b.cur;
  unsigned long count = 0;
  unsigned depth = nested ? 1 : 0;
  for (;;) {
    obAsnTag tag = BDecTag(b, count);
    if (tag == kAsnBadTag) break;
    if (tag != 0) {
      obAsnLen len = BDecLen(b, count);
      if (len == kAsnLenError) {
        OB_HERROR("asnLen: failed to decoded length");
        break;
      }
      if (len == kAsnIndefiniteLen) {
        if (++depth > kAsnMaxDepth) {
          OB_HERROR("asnLen: nesting deeper than %u levels before offset = %d", kAsnMaxDepth, b.Offset());
          break;
        }
      } else {
        unsigned long want = static_cast<unsigned long>(len);
        if (b.Skip(want) != want) {
          OB_HERROR("asnLen failed to skip %u bytes before  offset = %d", static_cast<unsigned>(want), b.Offset());
          break;
        }
        count += want;
      }
      if (depth < 1) {
        b.cur = mark;
        return static_cast<obAsnLen>(count);
      }
      continue;
    }
    if (b.Remaining() == 0 || b.PeekByte() != 0) {
      OB_HERROR("asnLen failed to decoded the 2th byte Eoc before  offset = %d", b.Offset());
      break;
    }
    b.Skip(1);
    ++count;
    if (depth == 0 || --depth == 0) {
      b.cur = mark;
      return static_cast<obAsnLen>(count);
    }
  }
  b.cur = mark;
  return kAsnLenError;
}
