#include "nycert/asn1/runtime/asn_external.h"

#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/buffers/diag.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr obAsnTag kExternalTag = obAsnMakeTag(kAsnUniversal, kAsnConstructed, 8);
constexpr obAsnTag kSingleTag = obAsnMakeTag(kAsnContext, kAsnConstructed, 0);

template <class T>
std::unique_ptr<T> CopyOf(const std::unique_ptr<T>& p) {
  return p ? std::unique_ptr<T>(new T(*p)) : nullptr;
}

// Narrows the cursor to a definite content for as long as it lives, so that
// nothing inside can claim octets beyond it; an indefinite content keeps the
// whole input and ends at its end-of-contents octets.
class ContentScope {
 public:
  ContentScope(obAsnReadBuf& b, obAsnLen len)
      : b_(b), outer_end_(b.end), indefinite_(len == kAsnIndefiniteLen) {
    if (!indefinite_) b_.end = b_.cur + len;
  }
  ~ContentScope() { b_.end = outer_end_; }
  ContentScope(const ContentScope&) = delete;
  ContentScope& operator=(const ContentScope&) = delete;

  bool AtEnd() const {
    return indefinite_ ? b_.Remaining() >= 2 && b_.cur[0] == 0 && b_.cur[1] == 0 : b_.Remaining() == 0;
  }
  // Consumes the end-of-contents of an indefinite content: 1, or -1.
  int Close(unsigned long& used) { return indefinite_ ? BDecEoc(b_, used) : 1; }

 private:
  obAsnReadBuf& b_;
  const unsigned char* outer_end_;
  bool indefinite_;
};

// Writes length and identifier in front of n content octets: the total, or -1.
int Wrap(obAsnWriteBuf& b, int n, unsigned cls, unsigned form, unsigned number) {
  if (n < 0) return -1;
  int len = BEncDefLen(b, static_cast<unsigned long>(n));
  int tag = len < 0 ? -1 : BEncTag(b, cls, form, number);
  return tag < 0 ? -1 : n + len + tag;
}

// Decodes an optional component when the next identifier octet announces it.
template <class T>
int DecodeOptional(obAsnReadBuf& b, int identifier, std::unique_ptr<T>& field, unsigned long& used) {
  if (b.Remaining() == 0 || *b.cur != identifier) return 1;
  field.reset(new T);
  return field->BDec(b, used);
}

template <class T>
void SprintField(ObStream* s, int indent, const char* label, const T* field) {
  if (!field) return;
  s->Printf("%s%s\n", obAsnIndent(indent), label);
  field->Sprint(s, indent + 1);
}

}  // namespace

obAsnEXTERNALChoice::obAsnEXTERNALChoice(const obAsnEXTERNALChoice& other)
    : obAsnType(other),
      choiceId(other.choiceId),
      singleAsn1Type(CopyOf(other.singleAsn1Type)),
      octetAligned(CopyOf(other.octetAligned)),
      arbitrary(CopyOf(other.arbitrary)) {}

obAsnEXTERNALChoice& obAsnEXTERNALChoice::operator=(const obAsnEXTERNALChoice& other) {
  if (&other != this) {
    choiceId = other.choiceId;
    singleAsn1Type = CopyOf(other.singleAsn1Type);
    octetAligned = CopyOf(other.octetAligned);
    arbitrary = CopyOf(other.arbitrary);
  }
  return *this;
}

const char* obAsnEXTERNALChoice::TypeName() const { return "obAsnEXTERNALChoice"; }

obAsnEXTERNALChoice* obAsnEXTERNALChoice::Clone() const { return new obAsnEXTERNALChoice; }

obAsnEXTERNALChoice* obAsnEXTERNALChoice::Copy() const { return new obAsnEXTERNALChoice(*this); }

void obAsnEXTERNALChoice::Reset() {
  choiceId = kNone;
  singleAsn1Type.reset();
  octetAligned.reset();
  arbitrary.reset();
}

obAsnAny& obAsnEXTERNALChoice::SetSingleAsn1Type() {
  Reset();
  choiceId = kSingleAsn1Type;
  singleAsn1Type.reset(new obAsnAny);
  return *singleAsn1Type;
}

obAsnOcts& obAsnEXTERNALChoice::SetOctetAligned() {
  Reset();
  choiceId = kOctetAligned;
  octetAligned.reset(new obAsnOcts);
  return *octetAligned;
}

obAsnBits& obAsnEXTERNALChoice::SetArbitrary() {
  Reset();
  choiceId = kArbitrary;
  arbitrary.reset(new obAsnBits);
  return *arbitrary;
}

int obAsnEXTERNALChoice::BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) {
  unsigned long used = 0;
  obAsnTag tag = BDecTag(b, used);
  obAsnLen len = tag == kAsnBadTag ? kAsnLenError : BDecLen(b, used);
  if (len == kAsnLenError || BDecContent(b, tag, len, used) < 0) return -1;
  bytesDecoded += used;
  return 1;
}

int obAsnEXTERNALChoice::BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded) {
  if (tag == kSingleTag) {
    obAsnNestGuard guard(b);
    if (!guard.Ok()) return -1;
    ContentScope content(b, len);
    unsigned long used = 0;
    if (SetSingleAsn1Type().BDec(b, used) < 0 || content.Close(used) < 0 || !content.AtEnd()) {
      OB_HERROR("obAsnEXTERNALChoice::BDecContent bad single-ASN1-type before offset = %d", b.Offset());
      Reset();
      return -1;
    }
    bytesDecoded += used;
    return 1;
  }
  int rc = -1;
  switch (tag & ~kAsnConstructed) {
    case obAsnMakeTag(kAsnContext, kAsnPrimitive, 1):
      rc = SetOctetAligned().BDecContent(b, tag, len, bytesDecoded);
      break;
    case obAsnMakeTag(kAsnContext, kAsnPrimitive, 2):
      rc = SetArbitrary().BDecContent(b, tag, len, bytesDecoded);
      break;
    default:
      OB_HERROR("obAsnEXTERNALChoice::BDecContent unexpected tag 0x%x before offset = %d", tag, b.Offset());
  }
  if (rc < 0) Reset();
  return rc;
}

int obAsnEXTERNALChoice::BEnc(obAsnWriteBuf& b) const {
  switch (choiceId) {
    case kSingleAsn1Type:
      return Wrap(b, singleAsn1Type->BEnc(b), kAsnContext, kAsnConstructed, 0);
    case kOctetAligned:
      return Wrap(b, octetAligned->BEncContent(b), kAsnContext, kAsnPrimitive, 1);
    case kArbitrary:
      return Wrap(b, arbitrary->BEncContent(b), kAsnContext, kAsnPrimitive, 2);
    case kNone:
      break;
  }
  OB_HERROR("obAsnEXTERNALChoice::BEnc no encoding chosen");
  return -1;
}

int obAsnEXTERNALChoice::Sprint(ObStream* s, int indent) const {
  SprintField(s, indent, "single-ASN1-type", singleAsn1Type.get());
  SprintField(s, indent, "octet-aligned", octetAligned.get());
  SprintField(s, indent, "arbitrary", arbitrary.get());
  return choiceId == kNone ? -1 : 0;
}

obAsnEXTERNAL::obAsnEXTERNAL(const obAsnEXTERNAL& other)
    : obAsnType(other),
      directReference(CopyOf(other.directReference)),
      indirectReference(CopyOf(other.indirectReference)),
      dataValueDescriptor(CopyOf(other.dataValueDescriptor)),
      encoding(other.encoding) {}

obAsnEXTERNAL& obAsnEXTERNAL::operator=(const obAsnEXTERNAL& other) {
  if (&other != this) {
    directReference = CopyOf(other.directReference);
    indirectReference = CopyOf(other.indirectReference);
    dataValueDescriptor = CopyOf(other.dataValueDescriptor);
    encoding = other.encoding;
  }
  return *this;
}

const char* obAsnEXTERNAL::TypeName() const { return "obAsnEXTERNAL"; }

obAsnEXTERNAL* obAsnEXTERNAL::Clone() const { return new obAsnEXTERNAL; }

obAsnEXTERNAL* obAsnEXTERNAL::Copy() const { return new obAsnEXTERNAL(*this); }

int obAsnEXTERNAL::BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) {
  unsigned long used = 0;
  if (BDecTag(b, used) != kExternalTag) {
    OB_HERROR("obAsnEXTERNAL::BDec wrong tag before offset = %d", b.Offset());
    return -1;
  }
  obAsnLen len = BDecLen(b, used);
  if (len == kAsnLenError || BDecContent(b, kExternalTag, len, used) < 0) return -1;
  bytesDecoded += used;
  return 1;
}

int obAsnEXTERNAL::BDecContent(obAsnReadBuf& b, obAsnTag, obAsnLen len, unsigned long& bytesDecoded) {
  obAsnNestGuard guard(b);
  if (!guard.Ok()) return -1;
  ContentScope content(b, len);
  unsigned long used = 0;
  bool ok = DecodeOptional(b, 0x06, directReference, used) > 0 &&
            DecodeOptional(b, 0x02, indirectReference, used) > 0 &&
            DecodeOptional(b, 0x07, dataValueDescriptor, used) > 0 && !content.AtEnd() &&
            encoding.BDec(b, used) > 0 && content.AtEnd() && content.Close(used) > 0;
  if (!ok) {
    OB_HERROR("obAsnEXTERNAL::BDecContent failed to decode the EXTERNAL before offset = %d", b.Offset());
    return -1;
  }
  bytesDecoded += used;
  return 1;
}

int obAsnEXTERNAL::BEncContent(obAsnWriteBuf& b) const {
  int total = encoding.BEnc(b);
  const obAsnType* optional[] = {dataValueDescriptor.get(), indirectReference.get(), directReference.get()};
  for (const obAsnType* field : optional) {
    if (!field || total < 0) continue;
    int n = field->BEnc(b);
    total = n < 0 ? -1 : total + n;
  }
  return total;
}

int obAsnEXTERNAL::BEnc(obAsnWriteBuf& b) const {
  int n = Wrap(b, BEncContent(b), kAsnUniversal, kAsnConstructed, 8);
  if (n < 0) OB_HERROR("obAsnEXTERNAL::BEnc attempt to encode failed");
  return n;
}

int obAsnEXTERNAL::Sprint(ObStream* s, int indent) const {
  s->Printf("%sEXTERNAL {\n", obAsnIndent(indent));
  SprintField(s, indent + 1, "direct-reference", directReference.get());
  SprintField(s, indent + 1, "indirect-reference", indirectReference.get());
  SprintField(s, indent + 1, "data-value-descriptor", dataValueDescriptor.get());
  int rc = encoding.Sprint(s, indent + 1);
  s->Printf("%s}\n", obAsnIndent(indent));
  return rc;
}
