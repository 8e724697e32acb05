// Codec pieces shared by the string types (OCTET STRING, BIT STRING and the
// character strings): walking the segments of a constructed BER encoding,
// and writing primitive content.
#ifndef NYCERT_ASN1_RUNTIME_ASN_STRCODEC_H_
#define NYCERT_ASN1_RUNTIME_ASN_STRCODEC_H_

#include "nycert/asn1/runtime/asn_buf.h"
#include "nycert/platform/export.h"

// Receives the segments of a constructed string one by one.
class NYCERT_EXPORT obAsnSegmentSink {
 public:
  virtual ~obAsnSegmentSink() = default;
  // Decodes one segment whose tag and length were just read, the cursor at its
  // content; it must consume exactly that content. 1, or -1.
  virtual int Segment(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded) = 0;
};

// Walks the content of a constructed string: len octets, or up to the
// end-of-contents octets when len is kAsnIndefiniteLen (their absence is
// reported with measureFailure). No segment may reach beyond the content.
// Holds one nesting level of b while it runs. 1, or -1.
NYCERT_EXPORT int obAsnDecodeSegments(obAsnReadBuf& b, obAsnLen len, unsigned long& bytesDecoded, obAsnSegmentSink& sink,
                        const char* measureFailure);

// Puts n content octets in front of b's contents: n, or -1 with a message
// naming owner (also when n is beyond what a definite length can carry).
NYCERT_EXPORT int obAsnPutContent(obAsnWriteBuf& b, const unsigned char* p, unsigned long n, const char* owner);

#endif  // NYCERT_ASN1_RUNTIME_ASN_STRCODEC_H_
