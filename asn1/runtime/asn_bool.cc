#include "nycert/asn1/runtime/asn_bool.h"

#include "nycert/asn1/runtime/asn_codec.h"
#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/buffers/diag.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr const char* kName = "obAsnBool";
constexpr unsigned kBoolNumber = 1;
constexpr obAsnTag kBoolTag = obAsnMakeTag(kAsnUniversal, kAsnPrimitive, kBoolNumber);

}  // namespace

const char* obAsnBool::TypeName() const { return kName; }

obAsnBool* obAsnBool::Clone() const { return new obAsnBool; }

obAsnBool* obAsnBool::Copy() const { return new obAsnBool(*this); }

int obAsnBool::BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) {
  obAsnTag tag = BDecTag(b, bytesDecoded);
  if (tag != kBoolTag) {
    OB_HERROR("obAsnBool::BDec:  wrong tag before  offset = %d", b.Offset());
    return -1;
  }
  obAsnLen len = BDecLen(b, bytesDecoded);
  if (len == kAsnLenError) return -1;
  return BDecContent(b, tag, len, bytesDecoded);
}

int obAsnBool::BEnc(obAsnWriteBuf& b) const {
  return obAsnEncHeader(b, BEncContent(b), obAsnTagDef{kAsnUniversal, kBoolNumber, kAsnFormPrim}, kName);
}

int obAsnBool::Sprint(ObStream* s, int indent) const {
  if (s) s->Printf("%s%s\n", obAsnIndent(indent), value_ ? "TRUE" : "FALSE");
  return 0;
}

// BOOLEAN ::= one content octet, 0 for FALSE (X.690 8.2).
int obAsnBool::BDecContent(obAsnReadBuf& b, obAsnTag, obAsnLen len, unsigned long& bytesDecoded) {
  if (len != 1) {
    OB_HERROR("obAsnBool::BDecContent: length must be 1 (%d). offset = %d", len, b.Offset());
    return -1;
  }
  int octet = b.GetByte();
  if (octet < 0) {
    OB_HERROR("obAsnBool::BDecContent: can't get byte from buf offset = %d", b.Offset());
    return -1;
  }
  value_ = octet != 0;
  ++bytesDecoded;
  return 1;
}

int obAsnBool::BEncContent(obAsnWriteBuf& b) const {
  if (b.PutByte(value_ ? 0xFF : 0x00) < 0) {
    OB_HERROR("obAsnBool::BEncContent can't put byte  into buf");
    return -1;
  }
  return 1;
}
