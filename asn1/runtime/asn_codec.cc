#include "nycert/asn1/runtime/asn_codec.h"

#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/buffers/diag.h"

int obAsnDecHeader(obAsnReadBuf& b, unsigned long& bytesDecoded, obAsnTagDef def, const char* owner, obAsnTag& tag,
                   obAsnLen& len) {
  tag = BDecTag(b, bytesDecoded);
  if (!obAsnTagFits(tag, def)) {
    OB_HERROR("%s::BDec wrong tag 0x%x before offset = %d", owner, tag, b.Offset());
    return -1;
  }
  len = BDecLen(b, bytesDecoded);
  if (len == kAsnLenError) {
    OB_HERROR("%s::BDec failed to decoded length before offset = %d", owner, b.Offset());
    return -1;
  }
  if (len == kAsnIndefiniteLen && !obAsnTagIsConstructed(tag)) {
    OB_HERROR("%s::BDec indefinite length on a primitive encoding before offset = %d", owner, b.Offset());
    return -1;
  }
  return 1;
}

int obAsnEncHeader(obAsnWriteBuf& b, int content, obAsnTagDef def, const char* owner) {
  if (content < 0) {
    OB_HERROR(" %s::BEnc attempt to encode content failed", owner);
    return -1;
  }
  int len = BEncDefLen(b, static_cast<unsigned long>(content));
  if (len < 0) {
    OB_HERROR(" %s::BEnc attempt to encode length failed", owner);
    return -1;
  }
  unsigned form = def.forms == kAsnFormCons ? kAsnConstructed : kAsnPrimitive;
  int tag = BEncTag(b, def.cls, form, def.number);
  if (tag < 0) {
    OB_HERROR(" %s::BEnc attempt to encode tag failed", owner);
    return -1;
  }
  return content + len + tag;
}

obAsnConsDec::obAsnConsDec(obAsnReadBuf& b, obAsnLen len, unsigned long& bytesDecoded, const char* owner)
    : outer_(b), guard_(b), in_(b), bytes_(bytesDecoded), owner_(owner), indefinite_(len == kAsnIndefiniteLen) {
  if (!guard_.Ok()) return;
  if (!indefinite_) {
    if (len < 0 || static_cast<unsigned long>(len) > in_.Remaining()) {
      OB_HERROR("%s::BDecContent length %d exceeds the enclosing content before offset = %d", owner_, len,
                in_.Offset());
      return;
    }
    in_.end = in_.cur + len;
  }
  ok_ = true;
  Peek();
}

// X.690 8.1.5: an indefinite content ends with two zero octets.
bool obAsnConsDec::AtEoc() const {
  return indefinite_ && in_.Remaining() >= 2 && in_.cur[0] == 0 && in_.cur[1] == 0;
}

void obAsnConsDec::Peek() {
  if (in_.Remaining() == 0 || AtEoc()) {
    next_ = kAsnBadTag;
    return;
  }
  obAsnReadBuf look = in_;
  unsigned long unused = 0;
  next_ = BDecTag(look, unused);
}

int obAsnConsDec::Missing(const char* component) {
  OB_HERROR("%s::BDecContent missing mandatory component %s before offset = %d", owner_, component, in_.Offset());
  return -1;
}

int obAsnConsDec::First(bool& seen, const char* component) {
  if (seen) {
    OB_HERROR("%s::BDecContent component %s given twice before offset = %d", owner_, component, in_.Offset());
    return -1;
  }
  seen = true;
  return 1;
}

int obAsnConsDec::Skip(bool extensible) {
  if (!extensible) {
    OB_HERROR("%s::BDecContent unexpected element (tag 0x%x) before offset = %d", owner_, next_, in_.Offset());
    return -1;
  }
  obAsnTag tag = BDecTag(in_, bytes_);
  obAsnLen len = tag == kAsnBadTag ? kAsnLenError : BDecLen(in_, bytes_);
  if (len == kAsnIndefiniteLen) len = obAsnTagIsConstructed(tag) ? asnLen(in_, 1) : kAsnLenError;
  if (len < 0) {
    OB_HERROR("%s::BDecContent malformed unknown element before offset = %d", owner_, in_.Offset());
    return -1;
  }
  bytes_ += in_.Skip(static_cast<unsigned long>(len));
  Peek();
  return 1;
}

int obAsnConsDec::Close(bool extensible) {
  while (in_.Remaining() > 0 && !AtEoc()) {
    if (Skip(extensible) < 0) return -1;
  }
  return indefinite_ ? BDecEoc(in_, bytes_) : 1;
}

void obAsnConsEnc::Add(int written, const char* component) {
  if (written < 0) {
    OB_HERROR("%s::BEncContent attempt to encode %s failed", owner_, component);
    total_ = -1;
    return;
  }
  total_ += written;
}

int obAsnUnknownAlternative(const char* owner, obAsnTag tag, const obAsnReadBuf& b) {
  OB_HERROR("%s::BDecContent unknown alternative (tag 0x%x) before offset = %d", owner, tag, b.Offset());
  return -1;
}

int obAsnNoAlternative(const char* owner) {
  OB_HERROR("%s::BEncContent no alternative chosen", owner);
  return -1;
}
