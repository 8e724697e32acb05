// Walks arbitrary input as a tree of tag-length-value elements, measuring
// indefinite lengths with asnLen, and re-encodes every header it read.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_tag.h"

namespace {

// Walks the elements of one content; false when the input is malformed.
bool Walk(obAsnReadBuf& b, unsigned long limit, unsigned depth) {
  if (depth > kAsnMaxDepth) return false;
  unsigned long consumed = 0;
  while (consumed < limit && b.Remaining() > 0) {
    unsigned long used = 0;
    obAsnTag tag = BDecTag(b, used);
    if (tag == kAsnBadTag) return false;
    if (tag == 0) {  // end-of-contents of an enclosing indefinite value
      if (b.GetByte() != 0) return false;
      consumed += used + 1;
      continue;
    }
    obAsnLen len = BDecLen(b, used);
    if (len == kAsnLenError) return false;
    if (len == kAsnIndefiniteLen) {
      len = asnLen(b, 1);
      if (len < 0) return false;
    }
    if (static_cast<unsigned long>(len) > b.Remaining()) abort();
    unsigned char header[8];
    obAsnWriteBuf w(header, sizeof header);
    if (BEncDefLen(w, static_cast<unsigned long>(len)) < 0) abort();
    if (tag & kAsnConstructed) {
      obAsnReadBuf inner(b.Cur(), static_cast<unsigned long>(len));
      inner.depth = b.depth;
      if (!Walk(inner, static_cast<unsigned long>(len), depth + 1)) return false;
    }
    b.Skip(static_cast<unsigned long>(len));
    consumed += used + static_cast<unsigned long>(len);
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  obAsnReadBuf b(data, size);
  Walk(b, size, 0);
  return 0;
}
