#include "nycert/asn1/runtime/asn_external.h"

#include "nycert/asn1/runtime/asn_codec.h"
#include "nycert/asn1/runtime/asn_printer.h"

namespace {

constexpr const char kExternal[] = "obAsnEXTERNAL";
constexpr const char kChoice[] = "obAsnEXTERNALChoice";
constexpr obAsnTagDef kExternalTag{kAsnUniversal, 8, kAsnFormCons};
constexpr obAsnTagDef kOidTag{kAsnUniversal, 6, kAsnFormPrim};
constexpr obAsnTagDef kIntTag{kAsnUniversal, 2, kAsnFormPrim};
constexpr obAsnTagDef kDescriptorTag{kAsnUniversal, 7, kAsnFormEither};
constexpr obAsnTagDef kSingleTag{kAsnContext, 0, kAsnFormCons};
constexpr obAsnTagDef kOctetAlignedTag{kAsnContext, 1, kAsnFormEither};
constexpr obAsnTagDef kArbitraryTag{kAsnContext, 2, kAsnFormEither};

}  // namespace

const char* obAsnEXTERNALChoice::TypeName() const { return kChoice; }

obAsnEXTERNALChoice* obAsnEXTERNALChoice::Clone() const { return new obAsnEXTERNALChoice; }

obAsnEXTERNALChoice* obAsnEXTERNALChoice::Copy() const { return new obAsnEXTERNALChoice(*this); }

void obAsnEXTERNALChoice::Reset(ChoiceId chosen) {
  choiceId = chosen;
  singleAsn1Type.reset();
  octetAligned.reset();
  arbitrary.reset();
}

obAsnAny& obAsnEXTERNALChoice::SetSingleAsn1Type() {
  Reset(kSingleAsn1Type);
  return singleAsn1Type.emplace();
}

obAsnOcts& obAsnEXTERNALChoice::SetOctetAligned() {
  Reset(kOctetAligned);
  return octetAligned.emplace();
}

obAsnBits& obAsnEXTERNALChoice::SetArbitrary() {
  Reset(kArbitrary);
  return arbitrary.emplace();
}

int obAsnEXTERNALChoice::BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) {
  obAsnTag tag;
  obAsnLen len;
  if (obAsnDecHeader(b, bytesDecoded, kAsnAnyTagDef, kChoice, tag, len) < 0) return -1;
  return BDecContent(b, tag, len, bytesDecoded);
}

int obAsnEXTERNALChoice::BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded) {
  if (obAsnTagFits(tag, kSingleTag)) return obAsnDecExplicitContent(SetSingleAsn1Type(), b, len, bytesDecoded, kChoice);
  if (obAsnTagFits(tag, kOctetAlignedTag)) return SetOctetAligned().BDecContent(b, tag, len, bytesDecoded);
  if (obAsnTagFits(tag, kArbitraryTag)) return SetArbitrary().BDecContent(b, tag, len, bytesDecoded);
  Reset(kNone);
  return obAsnUnknownAlternative(kChoice, tag, b);
}

int obAsnEXTERNALChoice::BEnc(obAsnWriteBuf& b) const {
  switch (choiceId) {
    case kSingleAsn1Type:
      return obAsnEncExplicit(*singleAsn1Type, b, kSingleTag);
    case kOctetAligned:
      return obAsnEncTLV(*octetAligned, b, kOctetAlignedTag);
    case kArbitrary:
      return obAsnEncTLV(*arbitrary, b, kArbitraryTag);
    case kNone:
      break;
  }
  return obAsnNoAlternative(kChoice);
}

int obAsnEXTERNALChoice::Sprint(ObStream* s, int indent) const {
  switch (choiceId) {
    case kSingleAsn1Type:
      return obAsnSprintChoice(s, indent, "single-ASN1-type", singleAsn1Type.get());
    case kOctetAligned:
      return obAsnSprintChoice(s, indent, "octet-aligned", octetAligned.get());
    case kArbitrary:
      return obAsnSprintChoice(s, indent, "arbitrary", arbitrary.get());
    case kNone:
      break;
  }
  return obAsnSprintChoice(s, indent, "encoding", nullptr);
}

const char* obAsnEXTERNAL::TypeName() const { return kExternal; }

obAsnEXTERNAL* obAsnEXTERNAL::Clone() const { return new obAsnEXTERNAL; }

obAsnEXTERNAL* obAsnEXTERNAL::Copy() const { return new obAsnEXTERNAL(*this); }

int obAsnEXTERNAL::BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) {
  return obAsnDecTLV(*this, b, bytesDecoded, kExternalTag);
}

int obAsnEXTERNAL::BEnc(obAsnWriteBuf& b) const { return obAsnEncTLV(*this, b, kExternalTag); }

int obAsnEXTERNAL::BDecContent(obAsnReadBuf& b, obAsnTag, obAsnLen len, unsigned long& bytesDecoded) {
  obAsnConsDec d(b, len, bytesDecoded, kExternal);
  if (!d.Ok()) return -1;
  directReference.reset();
  indirectReference.reset();
  dataValueDescriptor.reset();
  if (d.At(kOidTag) && d.Whole(directReference.emplace()) < 0) return -1;
  if (d.At(kIntTag) && d.Whole(indirectReference.emplace()) < 0) return -1;
  if (d.At(kDescriptorTag) && d.Whole(dataValueDescriptor.emplace()) < 0) return -1;
  if (!d.More()) return d.Missing("encoding");
  if (d.Whole(encoding) < 0) return -1;
  return d.Close(false);
}

int obAsnEXTERNAL::BEncContent(obAsnWriteBuf& b) const {
  obAsnConsEnc e(b, kExternal);
  e.Whole(encoding, "encoding");
  if (dataValueDescriptor) e.Whole(*dataValueDescriptor, "data-value-descriptor");
  if (indirectReference) e.Whole(*indirectReference, "indirect-reference");
  if (directReference) e.Whole(*directReference, "direct-reference");
  return e.Total();
}

int obAsnEXTERNAL::Sprint(ObStream* s, int indent) const {
  obAsnFieldPrinter p(s, indent, kExternal);
  p.Field("direct-reference", directReference.get());
  p.Field("indirect-reference", indirectReference.get());
  p.Field("data-value-descriptor", dataValueDescriptor.get());
  p.Field("encoding", encoding);
  return p.Done();
}
