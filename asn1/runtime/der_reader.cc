#include "nycert/asn1/runtime/der_reader.h"

#include <cstring>

bool obDerSpan::Equal(const unsigned char* p, size_t n) const {
  return size == n && (n == 0 || std::memcmp(data, p, n) == 0);
}

namespace {

// Identifier octets: the low-tag form in one octet, or 0x1F followed by at
// most three continuation octets. Returns the octet count, or 0.
size_t ParseTag(const unsigned char* p, const unsigned char* end, obAsnTag& tag) {
  if (p == end) return 0;
  tag = p[0];
  if ((p[0] & 0x1F) != 0x1F) return 1;
  for (size_t i = 1; i < 4; ++i) {
    if (p + i == end) return 0;
    tag |= static_cast<obAsnTag>(p[i]) << (8 * i);
    if (!(p[i] & 0x80)) return i + 1;
  }
  return 0;
}

// Definite length octets, the long form with up to four octets. Long forms
// that could be shorter are accepted as BER allows: certificates in use carry
// them, and their signatures cover the octets as they stand.
size_t ParseLength(const unsigned char* p, const unsigned char* end, size_t& len) {
  if (p == end) return 0;
  if (p[0] < 0x80) {
    len = p[0];
    return 1;
  }
  size_t count = p[0] & 0x7F;
  if (count == 0 || count > 4 || static_cast<size_t>(end - p) <= count) return 0;
  len = 0;
  for (size_t i = 1; i <= count; ++i) len = (len << 8) | p[i];
  return count + 1;
}

}  // namespace

obAsnTag obDerReader::PeekLongTag() const {
  obAsnTag tag = kAsnBadTag;
  return ParseTag(cur_, end_, tag) ? tag : kAsnBadTag;
}

bool obDerReader::NextLongForm(obDerElement& out) {
  obAsnTag tag = kAsnBadTag;
  size_t tagLen = ParseTag(cur_, end_, tag);
  if (!tagLen) return false;
  size_t len = 0;
  size_t lenLen = ParseLength(cur_ + tagLen, end_, len);
  if (!lenLen) return false;
  size_t header = tagLen + lenLen;
  if (len > static_cast<size_t>(end_ - cur_) - header) return false;
  Take(out, tag, header, len);
  return true;
}

bool obDerReader::Read(obAsnTag tag, obDerElement& out) {
  if (PeekTag() != tag) return false;
  return Next(out);
}

bool obDerReader::ReadLongForm(obAsnTag tag, obDerSpan& content) {
  obDerElement element;
  if (!Read(tag, element)) return false;
  content = element.content;
  return true;
}

bool obDerReader::ReadOptional(obAsnTag tag, obDerSpan& content, bool& present) {
  present = !AtEnd() && PeekTag() == tag;
  return !present || Read(tag, content);
}

bool obDerParseBool(obDerSpan content, bool& out) {
  if (content.size != 1) return false;
  out = content.data[0] != 0x00;
  return true;
}

bool obDerIsValidInteger(obDerSpan content) {
  if (content.empty()) return false;
  if (content.size == 1) return true;
  const unsigned char* p = content.data;
  return !(p[0] == 0x00 && !(p[1] & 0x80)) && !(p[0] == 0xFF && (p[1] & 0x80));
}

bool obDerParseSmallUint(obDerSpan content, long& out) {
  if (!obDerIsValidInteger(content) || (content.data[0] & 0x80)) return false;
  const unsigned char* p = content.data;
  size_t n = content.size;
  if (p[0] == 0x00) {
    ++p;
    --n;
  }
  if (n > sizeof(long) - 1) return false;
  unsigned long value = 0;
  for (size_t i = 0; i < n; ++i) value = (value << 8) | p[i];
  out = static_cast<long>(value);
  return true;
}

bool obDerParseBitString(obDerSpan content, obDerSpan& bits, unsigned& unusedBits) {
  if (content.empty()) return false;
  unusedBits = content.data[0];
  bits = {content.data + 1, content.size - 1};
  return unusedBits <= 7 && !(bits.empty() && unusedBits != 0);
}
