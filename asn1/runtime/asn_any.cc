#include "nycert/asn1/runtime/asn_any.h"

#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/buffers/diag.h"
#include "nycert/platform/obstream.h"

namespace {

// Length of the element starting at b's cursor, header included, leaving the
// cursor where it was. -1 when the element is malformed or runs past the input.
long ElementLength(obAsnReadBuf& b) {
  const unsigned char* mark = b.cur;
  unsigned long header = 0;
  obAsnTag tag = BDecTag(b, header);
  obAsnLen len = tag == kAsnBadTag ? kAsnLenError : BDecLen(b, header);
  if (len == kAsnIndefiniteLen) len = obAsnTagIsConstructed(tag) ? asnLen(b, 1) : kAsnLenError;
  b.cur = mark;
  return len < 0 ? -1 : static_cast<long>(header) + len;
}

}  // namespace

const char* obAsnRawAny::TypeName() const { return "obAsnRawAny"; }

obAsnRawAny* obAsnRawAny::Clone() const { return new obAsnRawAny; }

obAsnRawAny* obAsnRawAny::Copy() const { return new obAsnRawAny(*this); }

int obAsnRawAny::BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) {
  long length = ElementLength(b);
  if (length < 0) {
    OB_HERROR("obAsnRawAny::BDec malformed element before offset = %d", b.Offset());
    return -1;
  }
  unsigned long n = static_cast<unsigned long>(length);
  encoding_.Assign(b.GetSeg(&n), n);
  bytesDecoded += n;
  return 1;
}

int obAsnRawAny::BEnc(obAsnWriteBuf& b) const {
  if (encoding_.empty()) return obAsnType::BEnc(b);
  if (b.PutSeg(encoding_.data(), encoding_.size()) < 0) {
    OB_HERROR("obAsnRawAny::BEnc attempt to encode content failed");
    return -1;
  }
  return static_cast<int>(encoding_.size());
}

int obAsnRawAny::Sprint(ObStream* s, int indent) const {
  if (encoding_.empty()) return -1;
  obAsnSprintHex(s, encoding_.data(), encoding_.size(), indent);
  return 0;
}

int obAsnRawAny::Set(const unsigned char* encoding, unsigned long length) {
  obAsnReadBuf b(encoding, length);
  if (!encoding || ElementLength(b) != static_cast<long>(length)) {
    OB_HERROR("obAsnRawAny::Set the octets are not one element");
    return -1;
  }
  encoding_.Assign(encoding, length);
  return 0;
}

obAsnTag obAsnRawAny::Tag() const {
  obAsnReadBuf b(encoding_.data(), encoding_.size());
  unsigned long used = 0;
  return encoding_.empty() ? kAsnBadTag : BDecTag(b, used);
}

obAsnAny::obAsnAny(const obAsnAny& other)
    : obAsnType(other), value_(other.value_ ? other.value_->Copy() : nullptr), raw_(other.raw_) {}

obAsnAny& obAsnAny::operator=(const obAsnAny& other) {
  if (&other != this) {
    SetValue(other.value_ ? other.value_->Copy() : nullptr);
    raw_ = other.raw_;
  }
  return *this;
}

obAsnAny::~obAsnAny() { delete value_; }

const char* obAsnAny::TypeName() const { return "obAsnAny"; }

obAsnAny* obAsnAny::Clone() const { return new obAsnAny; }

obAsnAny* obAsnAny::Copy() const { return new obAsnAny(*this); }

int obAsnAny::BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) {
  return value_ ? value_->BDec(b, bytesDecoded) : raw_.BDec(b, bytesDecoded);
}

int obAsnAny::BEnc(obAsnWriteBuf& b) const { return value_ ? value_->BEnc(b) : raw_.BEnc(b); }

int obAsnAny::Sprint(ObStream* s, int indent) const {
  return value_ ? value_->Sprint(s, indent) : raw_.Sprint(s, indent);
}

void obAsnAny::SetValue(obAsnType* value) {
  if (value != value_) delete value_;
  value_ = value;
  raw_ = obAsnRawAny();
}

int obAsnAny::Resolve(obAsnType* type) {
  obAsnRawAny kept = raw_;
  SetValue(type);
  if (!type) return -1;
  obAsnReadBuf b(kept.data(), kept.size());
  unsigned long used = 0;
  if (type->BDec(b, used) < 0 || b.Remaining() != 0) {
    OB_HERROR("obAsnAny::Resolve the kept value does not decode as %s", type->TypeName());
    SetValue(nullptr);
    raw_ = kept;
    return -1;
  }
  return 1;
}
