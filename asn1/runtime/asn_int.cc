#include "nycert/asn1/runtime/asn_int.h"

#include <cstring>
#include <limits>

#include "nycert/asn1/runtime/asn_codec.h"
#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/asn1/runtime/asn_smallint.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/buffers/diag.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr const char* kName = "obAsnInt";
constexpr unsigned kIntNumber = 2;
constexpr obAsnTag kIntTag = obAsnMakeTag(kAsnUniversal, kAsnPrimitive, kIntNumber);

void StripLeadingZeros(const unsigned char*& p, unsigned long& n) {
  while (n > 0 && *p == 0) {
    ++p;
    --n;
  }
}

// The significant octets of a non-negative integer; a value's octets go to small.
void MagnitudeOf(const obAsnInt& v, unsigned char (&small)[4], const unsigned char*& p, unsigned long& n) {
  if (v.IsBlock()) {
    p = v.Bytes();
    n = v.BytesLen();
  } else {
    uint32_t x = static_cast<uint32_t>(v.Value());
    for (int i = 0; i < 4; ++i) small[i] = static_cast<unsigned char>(x >> (24 - 8 * i));
    p = small;
    n = sizeof small;
  }
  StripLeadingZeros(p, n);
}

}  // namespace

const char* obAsnInt::TypeName() const { return kName; }

obAsnInt* obAsnInt::Clone() const { return new obAsnInt; }

obAsnInt* obAsnInt::Copy() const { return new obAsnInt(*this); }

int obAsnInt::BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) {
  obAsnTag tag = BDecTag(b, bytesDecoded);
  if (tag != kIntTag) {
    OB_HERROR("obAsnInt::BDec wrong tag before offset = %d", b.Offset());
    return -1;
  }
  obAsnLen len = BDecLen(b, bytesDecoded);
  if (len == kAsnLenError) return -1;
  return BDecContent(b, tag, len, bytesDecoded);
}

int obAsnInt::BEnc(obAsnWriteBuf& b) const {
  return obAsnEncHeader(b, BEncContent(b), obAsnTagDef{kAsnUniversal, kIntNumber, kAsnFormPrim}, kName);
}

int obAsnInt::Sprint(ObStream* s, int indent) const {
  if (!s) return 0;
  if (IsBlock())
    obAsnSprintHex(s, block_.data(), block_.size(), indent);
  else
    s->Printf("%s%d\n", obAsnIndent(indent), value_);
  return 0;
}

// Up to four octets make the 32-bit value; longer contents are kept whole.
int obAsnInt::BDecContent(obAsnReadBuf& b, obAsnTag, obAsnLen len, unsigned long& bytesDecoded) {
  if (len <= kAsnSmallIntMaxOctets) {
    int value;
    if (obAsnBDecSmallInt(b, len, value, bytesDecoded, kName) < 0) return -1;
    value_ = value;
    block_.Clear();
    return 1;
  }
  unsigned long n = static_cast<unsigned long>(len);
  if (n > b.Remaining()) {
    OB_HERROR("obAsnInt::BDecContent:  can't copy data from buf offset = %d", b.Offset());
    return -1;
  }
  block_.Assign(b.Cur(), n);
  b.Skip(n);
  bytesDecoded += n;
  value_ = 0;
  return 1;
}

// A block is written as a non-negative magnitude (see the header).
int obAsnInt::BEncContent(obAsnWriteBuf& b) const {
  if (!IsBlock()) return obAsnBEncSmallInt(b, value_, kName);
  const unsigned char* p = block_.data();
  unsigned long n = block_.size();
  StripLeadingZeros(p, n);
  if (b.PutSeg(p, n) < 0) {
    OB_HERROR("obAsnInt::BEncContent can't put seg  data into buf");
    return -1;
  }
  if (n == 0 || p[0] >= 0x80) {
    if (b.PutByte(0) < 0) {
      OB_HERROR("obAsnInt::BEncContent can't put byte  into buf");
      return -1;
    }
    ++n;
  }
  return static_cast<int>(n);
}

int obAsnInt::Set(long value) {
  if (value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max()) {
    value_ = static_cast<int>(value);
    block_.Clear();
    return 0;
  }
  if (value < 0) {
    OB_HERROR("obAsnInt::Set %ld is below the 32-bit range", value);
    return -1;
  }
  unsigned char octets[sizeof(long)];
  unsigned long v = static_cast<unsigned long>(value);
  for (int i = static_cast<int>(sizeof octets) - 1; i >= 0; --i, v >>= 8) octets[i] = static_cast<unsigned char>(v);
  return SetBytes(octets, sizeof octets);
}

int obAsnInt::SetBytes(const unsigned char* p, unsigned long n) {
  if (!p && n > 0) {
    OB_HERROR("obAsnInt::SetBytes no octets");
    return -1;
  }
  StripLeadingZeros(p, n);
  if (n > 4 || (n == 4 && (p[0] & 0x80))) {
    block_.Assign(p, n);
    value_ = 0;
    return 0;
  }
  uint32_t v = 0;
  for (unsigned long i = 0; i < n; ++i) v = (v << 8) | p[i];
  value_ = static_cast<int>(v);
  block_.Clear();
  return 0;
}

int obAsnInt::GetInt64(int64_t& out) const {
  if (!IsBlock()) {
    out = value_;
    return 0;
  }
  unsigned char small[4];
  const unsigned char* p;
  unsigned long n;
  MagnitudeOf(*this, small, p, n);
  if (n > 8 || (n == 8 && (p[0] & 0x80))) {
    OB_HERROR("obAsnInt::GetInt64 value does not fit 64 bits");
    return -1;
  }
  uint64_t v = 0;
  for (unsigned long i = 0; i < n; ++i) v = (v << 8) | p[i];
  out = static_cast<int64_t>(v);
  return 0;
}

int obAsnInt::Equal(const obAsnInt& other) const {
  if (!IsBlock() && !other.IsBlock()) return value_ == other.value_;
  if ((!IsBlock() && value_ < 0) || (!other.IsBlock() && other.value_ < 0)) return 0;
  unsigned char small[4], otherSmall[4];
  const unsigned char *p, *q;
  unsigned long n, m;
  MagnitudeOf(*this, small, p, n);
  MagnitudeOf(other, otherSmall, q, m);
  return n == m && (n == 0 || std::memcmp(p, q, n) == 0);
}
