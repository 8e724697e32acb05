#include "nycert/asn1/runtime/asn_tag.h"

#include "nycert/buffers/diag.h"

namespace {

// Puts the octets of a tag last first; false when any put fails.
bool PutOctets(obAsnWriteBuf& b, const unsigned char* octets, int count) {
  for (int i = count - 1; i >= 0; --i) {
    if (b.PutByte(octets[i]) < 0) return false;
  }
  return true;
}

}  // namespace

int BEncTag(obAsnWriteBuf& b, unsigned cls, unsigned form, unsigned number) {
  unsigned char first = static_cast<unsigned char>(cls | form);
  unsigned char octets[4];
  int count;
  const char* failure;
  if (number < 31) {
    octets[0] = static_cast<unsigned char>(first | number);
    count = 1;
    failure = "asn-tag BEncTag error can't write to buf code < 31";
  } else if (number < 127) {
    octets[0] = first | 0x1F;
    octets[1] = static_cast<unsigned char>(number);
    count = 2;
    failure = "asn-tag BEncTag error can't write to buf code < 0x7f ";
  } else if (number < 16384) {
    octets[0] = first | 0x1F;
    octets[1] = static_cast<unsigned char>((number >> 7) | 0x80);
    octets[2] = static_cast<unsigned char>(number & 0x7F);
    count = 3;
    failure = "asn-tag BEncTag error can't write to buf code <= 0x3fff";
  } else if (number <= kAsnMaxTagNumber) {
    octets[0] = first | 0x1F;
    octets[1] = static_cast<unsigned char>((number >> 14) | 0x80);
    octets[2] = static_cast<unsigned char>(((number >> 7) & 0x7F) | 0x80);
    octets[3] = static_cast<unsigned char>(number & 0x7F);
    count = 4;
    failure = "asn-tag BEncTag error can't write to buf code <= 0x1fffff ";
  } else {
    OB_HERROR("asn-tag BEncTag: code too long");
    return -1;
  }
  if (!PutOctets(b, octets, count)) {
    OB_HERROR("%s", failure);
    return -1;
  }
  return count;
}

obAsnTag BDecTag(obAsnReadBuf& b, unsigned long& bytes) {
  int octet = b.GetByte();
  if (octet < 0) return kAsnBadTag;
  ++bytes;
  obAsnTag tag = static_cast<obAsnTag>(octet);
  if ((tag & 0x1F) != 0x1F) return tag;
  for (int i = 1; i <= 3; ++i) {
    octet = b.GetByte();
    if (octet < 0) return kAsnBadTag;
    ++bytes;
    tag |= static_cast<obAsnTag>(octet) << (8 * i);
    if ((octet & 0x80) == 0) return tag;
  }
  OB_HERROR("asn-tag BDecTag error tag value to long before  offset = %d", b.Offset());
  return kAsnBadTag;
}

unsigned obAsnTagNumber(obAsnTag tag) {
  if ((tag & 0x1F) != 0x1F) return tag & 0x1F;
  unsigned number = 0;
  for (int i = 1; i <= 3; ++i) {
    unsigned octet = (tag >> (8 * i)) & 0xFF;
    number = (number << 7) | (octet & 0x7F);
    if (!(octet & 0x80)) break;
  }
  return number;
}
