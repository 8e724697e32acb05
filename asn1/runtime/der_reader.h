// A DER reader over borrowed input, for hot paths that only need to locate
// values: nothing is copied or allocated, and every element is a span into
// the caller's bytes.
//
// Lengths are definite (the long form need not be minimal), or, as BER lets
// a writer send, indefinite on a constructed element: its content then ends
// before the end-of-contents octets and its tlv takes them in. No element
// may claim more octets than its parent holds. Tags are packed like
// BDecTag packs them (identifier octets, first octet lowest), so they compare
// equal to obAsnMakeTag values.
#ifndef NYCERT_ASN1_RUNTIME_DER_READER_H_
#define NYCERT_ASN1_RUNTIME_DER_READER_H_

#include <cstddef>
#include <cstdint>

#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/platform/export.h"

// A run of borrowed octets.
struct NYCERT_EXPORT obDerSpan {
  const unsigned char* data = nullptr;
  size_t size = 0;

  bool empty() const { return size == 0; }
  bool Equal(const unsigned char* p, size_t n) const;
  bool operator==(const obDerSpan& other) const { return Equal(other.data, other.size); }
  bool operator!=(const obDerSpan& other) const { return !Equal(other.data, other.size); }
};

// One element: its tag, its content octets, and the whole encoding.
struct NYCERT_EXPORT obDerElement {
  obAsnTag tag = kAsnBadTag;
  obDerSpan content;
  obDerSpan tlv;
};

// Universal tags as they stand in DER.
constexpr obAsnTag kDerBoolean = 0x01;
constexpr obAsnTag kDerInteger = 0x02;
constexpr obAsnTag kDerBitString = 0x03;
constexpr obAsnTag kDerOctetString = 0x04;
constexpr obAsnTag kDerNull = 0x05;
constexpr obAsnTag kDerOid = 0x06;
constexpr obAsnTag kDerUtcTime = 0x17;
constexpr obAsnTag kDerGeneralizedTime = 0x18;
constexpr obAsnTag kDerSequence = 0x30;
constexpr obAsnTag kDerSet = 0x31;

// [n] with the constructed or the primitive form.
constexpr obAsnTag obDerContextCons(unsigned n) { return obAsnMakeTag(kAsnContext, kAsnConstructed, n); }
constexpr obAsnTag obDerContextPrim(unsigned n) { return obAsnMakeTag(kAsnContext, kAsnPrimitive, n); }

class NYCERT_EXPORT obDerReader {
 public:
  obDerReader() = default;
  explicit obDerReader(obDerSpan input) : cur_(input.data), end_(input.data + input.size) {}
  obDerReader(const unsigned char* data, size_t size) : cur_(data), end_(data + size) {}

  bool AtEnd() const { return cur_ == end_; }
  size_t Remaining() const { return static_cast<size_t>(end_ - cur_); }

  // The tag of the next element without reading it; kAsnBadTag at the end or
  // on malformed identifier octets.
  obAsnTag PeekTag() const {
    return cur_ != end_ && (cur_[0] & 0x1F) != 0x1F ? static_cast<obAsnTag>(cur_[0]) : PeekLongTag();
  }
  // Reads the next element: false (and nothing consumed) when it is malformed
  // or there is none. Most elements have a one-octet tag and a one-octet
  // length, and are read inline.
  bool Next(obDerElement& out) {
    if (Remaining() < 2 || (cur_[0] & 0x1F) == 0x1F || cur_[1] >= 0x80) return NextLongForm(out);
    size_t len = cur_[1];
    if (len > Remaining() - 2) return false;
    Take(out, cur_[0], 2, len);
    return true;
  }
  // Reads the next element, which must carry tag. A one-octet tag with a
  // one-octet length is read inline.
  bool Read(obAsnTag tag, obDerSpan& content) {
    if (tag > 0xFF || (tag & 0x1F) == 0x1F || Remaining() < 2 || cur_[0] != tag || cur_[1] >= 0x80)
      return ReadLongForm(tag, content);
    size_t len = cur_[1];
    if (len > Remaining() - 2) return false;
    content = {cur_ + 2, len};
    cur_ += 2 + len;
    return true;
  }
  bool Read(obAsnTag tag, obDerElement& out);
  // Reads the next element only when it carries tag; present tells which.
  // False only when the element is malformed.
  bool ReadOptional(obAsnTag tag, obDerSpan& content, bool& present);

 private:
  obAsnTag PeekLongTag() const;
  // Next and Read for multi-octet tags and lengths.
  bool NextLongForm(obDerElement& out);
  bool ReadLongForm(obAsnTag tag, obDerSpan& content);
  // Next for a constructed element of indefinite length; tagLen octets of
  // identifier stand before the 0x80.
  bool NextIndefinite(obDerElement& out, obAsnTag tag, size_t tagLen);
  void Take(obDerElement& out, obAsnTag tag, size_t header, size_t len) {
    out.tag = tag;
    out.content = {cur_ + header, len};
    out.tlv = {cur_, header + len};
    cur_ += header + len;
  }

  const unsigned char* cur_ = nullptr;
  const unsigned char* end_ = nullptr;
};

// Content checks for values read with obDerReader.

// BOOLEAN: one octet, and as BER reads it any non-zero value is TRUE (DER
// writes 0xFF, but certificates in use carry 0x01 and are signed that way).
NYCERT_EXPORT bool obDerParseBool(obDerSpan content, bool& out);
// An INTEGER's content is non-empty and minimal (no redundant leading octet).
NYCERT_EXPORT bool obDerIsValidInteger(obDerSpan content);
// A non-negative INTEGER that fits in a long.
NYCERT_EXPORT bool obDerParseSmallUint(obDerSpan content, long& out);
// BIT STRING content: the unused-bit count (0..7, 0 when empty) followed by
// the bits; out gets the octets after the count. Unused bits that are set, which
// DER forbids and BER allows, are let through: readers ignore them.
NYCERT_EXPORT bool obDerParseBitString(obDerSpan content, obDerSpan& bits, unsigned& unusedBits);

#endif  // NYCERT_ASN1_RUNTIME_DER_READER_H_
