#include "nycert/asn1/runtime/der_reader.h"

#include <cstring>

#include "nycert/asn1/runtime/asn_buf.h"

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

// The content of an indefinite-length element that starts at p: the nested
// elements up to the end-of-contents octets, which close every nested
// indefinite length too. Returns the content's octet count and sets eocEnd
// past the end-of-contents octets, or returns false.
bool MeasureIndefinite(const unsigned char* p, const unsigned char* end, unsigned depth, size_t& content,
                       const unsigned char*& eocEnd) {
  if (depth > kAsnMaxDepth) return false;
  const unsigned char* start = p;
  while (end - p >= 2) {
    if (p[0] == 0x00) {
      if (p[1] != 0x00) return false;
      content = static_cast<size_t>(p - start);
      eocEnd = p + 2;
      return true;
    }
    obAsnTag tag = kAsnBadTag;
    size_t tagLen = ParseTag(p, end, tag);
    if (!tagLen || p + tagLen == end) return false;
    p += tagLen;
    if (p[0] == 0x80) {
      size_t inner = 0;
      if (!obAsnTagIsConstructed(tag) || !MeasureIndefinite(p + 1, end, depth + 1, inner, p)) return false;
      continue;
    }
    size_t len = 0;
    size_t lenLen = ParseLength(p, end, len);
    if (!lenLen || len > static_cast<size_t>(end - p) - lenLen) return false;
    p += lenLen + len;
  }
  return false;
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
  if (cur_ + tagLen != end_ && cur_[tagLen] == 0x80) return NextIndefinite(out, tag, tagLen);
  size_t len = 0;
  size_t lenLen = ParseLength(cur_ + tagLen, end_, len);
  if (!lenLen) return false;
  size_t header = tagLen + lenLen;
  if (len > static_cast<size_t>(end_ - cur_) - header) return false;
  Take(out, tag, header, len);
  return true;
}

bool obDerReader::NextIndefinite(obDerElement& out, obAsnTag tag, size_t tagLen) {
  size_t len = 0;
  const unsigned char* after = nullptr;
  if (!obAsnTagIsConstructed(tag) || !MeasureIndefinite(cur_ + tagLen + 1, end_, 1, len, after)) return false;
  out.tag = tag;
  out.content = {cur_ + tagLen + 1, len};
  out.tlv = {cur_, static_cast<size_t>(after - cur_)};
  cur_ = after;
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
