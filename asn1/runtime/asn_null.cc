#include "nycert/asn1/runtime/asn_null.h"

#include "nycert/asn1/runtime/asn_codec.h"
#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/buffers/diag.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr const char* kName = "obAsnNull";
constexpr unsigned kNullNumber = 5;
constexpr obAsnTag kNullTag = obAsnMakeTag(kAsnUniversal, kAsnPrimitive, kNullNumber);

}  // namespace

const char* obAsnNull::TypeName() const { return kName; }

obAsnNull* obAsnNull::Clone() const { return new obAsnNull; }

obAsnNull* obAsnNull::Copy() const { return new obAsnNull(*this); }

int obAsnNull::BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) {
  obAsnTag tag = BDecTag(b, bytesDecoded);
  if (tag != kNullTag) {
    OB_HERROR("obAsnNull::Bdec wrong tag before offset = %d", b.Offset());
    return -1;
  }
  obAsnLen len = BDecLen(b, bytesDecoded);
  if (len == kAsnLenError) return -1;
  return BDecContent(b, tag, len, bytesDecoded);
}

int obAsnNull::BEnc(obAsnWriteBuf& b) const {
  return obAsnEncHeader(b, BEncContent(b), obAsnTagDef{kAsnUniversal, kNullNumber, kAsnFormPrim}, kName);
}

int obAsnNull::Sprint(ObStream* s, int indent) const {
  if (s) s->Printf("%sNULL\n", obAsnIndent(indent));
  return 0;
}

// NULL ::= no content octets (X.690 8.8).
int obAsnNull::BDecContent(obAsnReadBuf& b, obAsnTag, obAsnLen len, unsigned long&) {
  if (len != 0) {
    OB_HERROR("obAsnNull::BDecContent: length must be 0 (%d). offset = %d", len, b.Offset());
    return -1;
  }
  return 1;
}

int obAsnNull::BEncContent(obAsnWriteBuf&) const { return 0; }
