#include "nycert/asn1/runtime/asn_enum.h"

#include "nycert/asn1/runtime/asn_codec.h"
#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/asn1/runtime/asn_smallint.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/buffers/diag.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr const char* kName = "obAsnEnum";
constexpr unsigned kEnumNumber = 10;
constexpr obAsnTag kEnumTag = obAsnMakeTag(kAsnUniversal, kAsnPrimitive, kEnumNumber);

}  // namespace

const char* obAsnEnum::TypeName() const { return kName; }

obAsnEnum* obAsnEnum::Clone() const { return new obAsnEnum; }

obAsnEnum* obAsnEnum::Copy() const { return new obAsnEnum(*this); }

int obAsnEnum::BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) {
  obAsnTag tag = BDecTag(b, bytesDecoded);
  if (tag != kEnumTag) {
    OB_HERROR("obAsnEnum::BDec wrong tag before offset = %d", b.Offset());
    return -1;
  }
  obAsnLen len = BDecLen(b, bytesDecoded);
  if (len == kAsnLenError) return -1;
  return BDecContent(b, tag, len, bytesDecoded);
}

int obAsnEnum::BEnc(obAsnWriteBuf& b) const {
  return obAsnEncHeader(b, BEncContent(b), obAsnTagDef{kAsnUniversal, kEnumNumber, kAsnFormPrim}, kName);
}

int obAsnEnum::Sprint(ObStream* s, int indent) const {
  if (s) s->Printf("%s%d\n", obAsnIndent(indent), value_);
  return 0;
}

int obAsnEnum::BDecContent(obAsnReadBuf& b, obAsnTag, obAsnLen len, unsigned long& bytesDecoded) {
  return obAsnBDecSmallInt(b, len, value_, bytesDecoded, kName);
}

int obAsnEnum::BEncContent(obAsnWriteBuf& b) const { return obAsnBEncSmallInt(b, value_, kName); }
