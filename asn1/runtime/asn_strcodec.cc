#include "nycert/asn1/runtime/asn_strcodec.h"

#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/buffers/diag.h"

namespace {

// Hands every element of content to sink until content is used up.
int DecodeEach(obAsnReadBuf& content, unsigned long& bytesDecoded, obAsnSegmentSink& sink) {
  while (content.Remaining() > 0) {
    obAsnTag tag = BDecTag(content, bytesDecoded);
    obAsnLen len = tag == kAsnBadTag ? kAsnLenError : BDecLen(content, bytesDecoded);
    if (len == kAsnLenError) {
      OB_HERROR("obAsnDecodeSegments: broken segment header before offset = %d", content.Offset());
      return -1;
    }
    if (sink.Segment(content, tag, len, bytesDecoded) < 0) return -1;
  }
  return 1;
}

}  // namespace

// X.690 8.6.3 / 8.7.3: a constructed string is a series of nested strings,
// closed by end-of-contents when its length is indefinite.
int obAsnDecodeSegments(obAsnReadBuf& b, obAsnLen len, unsigned long& bytesDecoded, obAsnSegmentSink& sink,
                        const char* measureFailure) {
  obAsnNestGuard guard(b);
  if (!guard.Ok()) return -1;
  bool indefinite = len == kAsnIndefiniteLen;
  if (indefinite) {
    obAsnLen measured = asnLen(b, 1);
    if (measured < 2) {
      OB_HERROR("%s", measureFailure);
      return -1;
    }
    len = measured - 2;
  }
  if (len < 0 || static_cast<unsigned long>(len) > b.Remaining()) {
    OB_HERROR("obAsnDecodeSegments: bad content length %d before offset = %d", len, b.Offset());
    return -1;
  }
  obAsnReadBuf content = b;
  content.end = b.cur + len;
  int rc = DecodeEach(content, bytesDecoded, sink);
  b.cur = content.cur;
  if (rc < 0) return -1;
  return indefinite ? BDecEoc(b, bytesDecoded) : 1;
}

int obAsnPutContent(obAsnWriteBuf& b, const unsigned char* p, unsigned long n, const char* owner) {
  if (n > kAsnMaxEncodableLen) {
    OB_HERROR("%s::BEncContent content too long to encode (%lu octets)", owner, n);
    return -1;
  }
  if (b.PutSeg(p, n) < 0) {
    OB_HERROR("%s::BEncContent can't put seg data into buf", owner);
    return -1;
  }
  return static_cast<int>(n);
}
