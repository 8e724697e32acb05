#include "nycert/asn1/runtime/asn_bits.h"

#include <cstring>
#include <string>

#include "nycert/asn1/runtime/asn_codec.h"
#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/asn1/runtime/asn_strcodec.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/buffers/diag.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr obAsnTag kPrimitiveTag = obAsnMakeTag(kAsnUniversal, kAsnPrimitive, kAsnBitStringTag);
constexpr obAsnTag kConstructedTag = obAsnMakeTag(kAsnUniversal, kAsnConstructed, kAsnBitStringTag);
// Strings up to this many bits print as binary digits, longer ones in hex.
constexpr unsigned long kMaxBinaryPrint = 32;

// The bits of the last octet that are in use when `unused` of them are not.
unsigned char UsedMask(unsigned unused) { return static_cast<unsigned char>(0xFF << unused); }

int AppendContent(obAsnReadBuf& b, bool constructed, obAsnLen len, unsigned long& bytesDecoded, obAsnBytes& out,
                  unsigned& unused);

// X.690 8.6.2: the first content octet counts the unused bits (0-7) of the
// last octet; a string without bits has that octet alone, and it is 0.
int AppendPrimitive(obAsnReadBuf& b, obAsnLen len, unsigned long& bytesDecoded, obAsnBytes& out, unsigned& unused) {
  if (len < 0) {
    OB_HERROR("obAsnBits::BDecContent: obAsnBits must not be with INDEFINITE length (%d). offset = %d", len,
              b.Offset());
    return -1;
  }
  int first = len == 0 ? -1 : b.GetByte();
  if (first < 0) {
    OB_HERROR("obAsnBits::BDecContent failed to decoded Content, no unused byte. offset = %d", b.Offset());
    return -1;
  }
  ++bytesDecoded;
  if (first > 7 || (first != 0 && len == 1)) {
    OB_HERROR("obAsnBits::BDecContent failed to decoded Content, bad unused byte. unused = %d", first);
    return -1;
  }
  unsigned long n = static_cast<unsigned long>(len) - 1;
  const unsigned char* p = b.GetSeg(&n);
  if (n != static_cast<unsigned long>(len) - 1) {
    OB_HERROR("obAsnBits::BDecContent can't copy data from buf offset = %d", b.Offset());
    return -1;
  }
  out.Append(p, n);
  bytesDecoded += n;
  unused = static_cast<unsigned>(first);
  return 1;
}

// X.690 8.6.4: the segments of a constructed BIT STRING are BIT STRINGs, and
// only the last of them may leave bits unused.
class BitsSegments : public obAsnSegmentSink {
 public:
  BitsSegments(obAsnBytes& out, unsigned& unused) : out_(out), unused_(unused) {}
  int Segment(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded) override {
    if (unused_ != 0) {
      OB_HERROR("obAsnBits::BDecConsBits only the last segment may have unused bits before offset = %d", b.Offset());
      return -1;
    }
    int rc = -1;
    if (tag != kPrimitiveTag && tag != kConstructedTag)
      OB_HERROR("obAsnBits::BDecConsBits segment is not a BIT STRING (tag 0x%x) before offset = %d", tag, b.Offset());
    else
      rc = AppendContent(b, tag == kConstructedTag, len, bytesDecoded, out_, unused_);
    if (rc < 0) OB_HERROR("obAsnBits::BDecConsBits attempt to decoded nested bits failed");
    return rc;
  }

 private:
  obAsnBytes& out_;
  unsigned& unused_;
};

int AppendContent(obAsnReadBuf& b, bool constructed, obAsnLen len, unsigned long& bytesDecoded, obAsnBytes& out,
                  unsigned& unused) {
  if (!constructed) return AppendPrimitive(b, len, bytesDecoded, out, unused);
  BitsSegments segments(out, unused);
  return obAsnDecodeSegments(b, len, bytesDecoded, segments,
                             "obAsnBits::BDecConsBits failed to get the length of bits for indefinite length");
}

}  // namespace

obAsnBits::~obAsnBits() = default;

const char* obAsnBits::TypeName() const { return "obAsnBits"; }

obAsnBits* obAsnBits::Clone() const { return new obAsnBits; }

obAsnBits* obAsnBits::Copy() const { return new obAsnBits(*this); }

void obAsnBits::Set(const unsigned char* p, unsigned long bitLen) {
  octs_.Assign(p, (bitLen + 7) / 8);
  bitLen_ = bitLen;
}

int obAsnBits::BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) {
  obAsnTag tag = BDecTag(b, bytesDecoded);
  if (tag != kPrimitiveTag && tag != kConstructedTag) {
    OB_HERROR("obAsnBits::BDec wrong tag before offset = %d", b.Offset());
    return -1;
  }
  obAsnLen len = BDecLen(b, bytesDecoded);
  if (len == kAsnLenError) {
    OB_HERROR("obAsnBits::BDec failed to decoded length before offset = %d", b.Offset());
    return -1;
  }
  return BDecContent(b, tag, len, bytesDecoded);
}

int obAsnBits::BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded) {
  octs_.Clear();
  bitLen_ = 0;
  unsigned unused = 0;
  if (AppendContent(b, obAsnTagIsConstructed(tag), len, bytesDecoded, octs_, unused) < 0) {
    octs_.Clear();
    return -1;
  }
  bitLen_ = octs_.size() * 8 - unused;
  return 1;
}

// Content: the unused-bits octet, then the octets with the unused bits zero.
int obAsnBits::BEncContent(obAsnWriteBuf& b) const {
  unsigned long n = octs_.size();
  int rest = 0;
  if (n > 0) {
    if (b.PutByte(static_cast<unsigned char>(octs_.data()[n - 1] & UsedMask(UnusedBits()))) < 0) {
      OB_HERROR("obAsnBits::BEncContent can't put byte into buf");
      return -1;
    }
    rest = obAsnPutContent(b, octs_.data(), n - 1, "obAsnBits");
    if (rest < 0) return -1;
    ++rest;
  }
  if (b.PutByte(static_cast<unsigned char>(UnusedBits())) < 0) {
    OB_HERROR("obAsnBits::BEncContent can't put byte into buf");
    return -1;
  }
  return rest + 1;
}

int obAsnBits::BEnc(obAsnWriteBuf& b) const {
  return obAsnEncHeader(b, BEncContent(b), obAsnTagDef{kAsnUniversal, kAsnBitStringTag, kAsnFormPrim}, "obAsnBits");
}

int obAsnBits::GetBit(unsigned long i) const {
  if (i >= bitLen_) return 0;
  return (octs_.data()[i / 8] >> (7 - i % 8)) & 1;
}

void obAsnBits::SetBit(unsigned long i) {
  if (i >= bitLen_) {
    unsigned long had = octs_.size();
    if (had > 0) octs_.data()[had - 1] &= UsedMask(UnusedBits());
    unsigned long need = i / 8 + 1;
    if (need > had) std::memset(octs_.Resize(need) + had, 0, need - had);
    bitLen_ = i + 1;
  }
  octs_.data()[i / 8] |= static_cast<unsigned char>(0x80 >> (i % 8));
}

void obAsnBits::ClrBit(unsigned long i) {
  if (i < bitLen_) octs_.data()[i / 8] &= static_cast<unsigned char>(~(0x80 >> (i % 8)));
}

// X.690 11.2.2: a named bit list is encoded without trailing zero bits.
void obAsnBits::DropTrailingZeros() {
  while (bitLen_ > 0 && GetBit(bitLen_ - 1) == 0) --bitLen_;
  octs_.Resize((bitLen_ + 7) / 8);
  if (bitLen_ > 0) octs_.data()[octs_.size() - 1] &= UsedMask(UnusedBits());
}

int obAsnBits::Equal(const obAsnBits& other) const {
  if (bitLen_ != other.bitLen_) {
    OB_HERROR("obAsnBits::BitsEquiv the bits length is not equal");
    return 0;
  }
  unsigned long full = bitLen_ / 8;
  if (full > 0 && std::memcmp(octs_.data(), other.octs_.data(), full) != 0) {
    OB_HERROR("obAsnBits::BitsEquiv the octets are not equal");
    return 0;
  }
  if (bitLen_ % 8 != 0) {
    unsigned char diff = octs_.data()[full] ^ other.octs_.data()[full];
    if (diff & UsedMask(UnusedBits())) {
      OB_HERROR("obAsnBits::BitsEquiv the last octet is not equal");
      return 0;
    }
  }
  return 1;
}

int obAsnBits::Sprint(ObStream* s, int indent) const {
  if (!s) return 0;
  if (bitLen_ <= kMaxBinaryPrint) {
    std::string digits;
    for (unsigned long i = 0; i < bitLen_; ++i) digits += GetBit(i) ? '1' : '0';
    s->Printf("%s'%s'B\n", obAsnIndent(indent), digits.c_str());
    return 0;
  }
  s->Printf("%s%lu bits\n", obAsnIndent(indent), bitLen_);
  obAsnSprintHex(s, octs_.data(), octs_.size(), indent);
  return 0;
}
