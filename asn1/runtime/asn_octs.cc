#include "nycert/asn1/runtime/asn_octs.h"

#include <cstring>

#include "nycert/asn1/runtime/asn_codec.h"
#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/asn1/runtime/asn_strcodec.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/buffers/diag.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr obAsnTag kPrimitiveTag = obAsnMakeTag(kAsnUniversal, kAsnPrimitive, kAsnOctetStringTag);
constexpr obAsnTag kConstructedTag = obAsnMakeTag(kAsnUniversal, kAsnConstructed, kAsnOctetStringTag);

int AppendContent(obAsnReadBuf& b, bool constructed, obAsnLen len, unsigned long& bytesDecoded, obAsnBytes& out);

// Each segment of a constructed OCTET STRING is itself an OCTET STRING,
// primitive or constructed; their contents are joined in order.
class OctsSegments : public obAsnSegmentSink {
 public:
  explicit OctsSegments(obAsnBytes& out) : out_(out) {}
  int Segment(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded) override {
    if (tag != kPrimitiveTag && tag != kConstructedTag) {
      OB_HERROR("obAsnOcts::BDecConsOcts segment is not an OCTET STRING (tag 0x%x) before offset = %d", tag,
                b.Offset());
      return -1;
    }
    return AppendContent(b, tag == kConstructedTag, len, bytesDecoded, out_);
  }

 private:
  obAsnBytes& out_;
};

int AppendPrimitive(obAsnReadBuf& b, obAsnLen len, unsigned long& bytesDecoded, obAsnBytes& out) {
  if (len < 0) {
    OB_HERROR("obAsnOcts::BDecContent: primitive obAsnOcts must not be with INDEFINITE length. offset = %d",
              b.Offset());
    return -1;
  }
  unsigned long n = static_cast<unsigned long>(len);
  const unsigned char* p = b.GetSeg(&n);
  if (n != static_cast<unsigned long>(len)) {
    OB_HERROR("obAsnOcts::BDecContent can't copy data from buf offset = %d", b.Offset());
    return -1;
  }
  out.Append(p, n);
  bytesDecoded += n;
  return 1;
}

int AppendContent(obAsnReadBuf& b, bool constructed, obAsnLen len, unsigned long& bytesDecoded, obAsnBytes& out) {
  if (!constructed) return AppendPrimitive(b, len, bytesDecoded, out);
  OctsSegments segments(out);
  return obAsnDecodeSegments(b, len, bytesDecoded, segments,
                             "obAsnOcts::BDEcConsOcts failed to get the length of octet for indefinite length");
}

}  // namespace

int obAsnDecodeOctsContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded, obAsnBytes& out) {
  out.Clear();
  if (AppendContent(b, obAsnTagIsConstructed(tag), len, bytesDecoded, out) < 0) {
    out.Clear();
    return -1;
  }
  return 1;
}

obAsnOcts::obAsnOcts(const char* text) {
  if (text) octs_.Assign(reinterpret_cast<const unsigned char*>(text), std::strlen(text));
}

obAsnOcts::~obAsnOcts() = default;

const char* obAsnOcts::TypeName() const { return "obAsnOcts"; }

obAsnOcts* obAsnOcts::Clone() const { return new obAsnOcts; }

obAsnOcts* obAsnOcts::Copy() const { return new obAsnOcts(*this); }

int obAsnOcts::BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) {
  obAsnTag tag = BDecTag(b, bytesDecoded);
  if (tag != kPrimitiveTag && tag != kConstructedTag) {
    OB_HERROR("obAsnOcts::BDec wrong tag before offset = %d", b.Offset());
    return -1;
  }
  obAsnLen len = BDecLen(b, bytesDecoded);
  if (len == kAsnLenError) {
    OB_HERROR("obAsnOcts::BDec failed to decoded length before offset = %d", b.Offset());
    return -1;
  }
  return BDecContent(b, tag, len, bytesDecoded);
}

int obAsnOcts::BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded) {
  return obAsnDecodeOctsContent(b, tag, len, bytesDecoded, octs_);
}

int obAsnOcts::BEncContent(obAsnWriteBuf& b) const { return obAsnPutContent(b, data(), size(), "obAsnOcts"); }

int obAsnOcts::BEnc(obAsnWriteBuf& b) const {
  return obAsnEncHeader(b, BEncContent(b), obAsnTagDef{kAsnUniversal, kAsnOctetStringTag, kAsnFormPrim}, "obAsnOcts");
}

int obAsnOcts::Sprint(ObStream* s, int indent) const {
  if (!s) return 0;
  if (octs_.empty())
    s->Printf("%s(empty)\n", obAsnIndent(indent));
  else
    obAsnSprintHex(s, data(), size(), indent);
  return 0;
}
