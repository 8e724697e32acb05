#include "nycert/asn1/runtime/asn_bufset.h"

#include <climits>
#include <cstring>
#include <utility>

#include "nycert/buffers/diag.h"

namespace {

constexpr unsigned long kMaxTotal = UINT_MAX;

// Encodes value into out, sized by a measuring pass first.
int EncodeInto(const obAsnType& value, nyBinBuf& out) {
  obAsnWriteBuf measure(nullptr, 0);
  int size = value.BEnc(measure);
  if (size < 0) return -1;
  out.Set(static_cast<unsigned>(size));
  obAsnWriteBuf writer(out.Data(), out.Len());
  if (value.BEnc(writer) != size || writer.writeError || writer.Data() != out.Data()) {
    OB_HERROR("obAsnBufSet::Encoded writeError");
    out.Clear();
    return -1;
  }
  return size;
}

}  // namespace

int obAsnBufSet::Put(const obAsnType& value) {
  nyBinBuf segment;
  int size = EncodeInto(value, segment);
  if (size < 0 || total_ + static_cast<unsigned long>(size) > kMaxTotal) {
    OB_HERROR("obAsnBufSet::Encoded attempt to put segmant failed");
    return -1;
  }
  segments_.push_back(std::move(segment));
  total_ += static_cast<unsigned long>(size);
  return size;
}

int obAsnBufSet::Put(const unsigned char* p, unsigned n) {
  if ((!p && n) || total_ + n > kMaxTotal) {
    OB_HERROR("obAsnBufSet::Encoded attempt to put segmant failed");
    return -1;
  }
  segments_.emplace_back(p, n);
  total_ += n;
  return static_cast<int>(n);
}

int obAsnBufSet::Encoded(nyBinBuf& out) const {
  out.Set(static_cast<unsigned>(total_));
  unsigned long at = 0;
  for (const nyBinBuf& segment : segments_) {
    if (segment.Len()) std::memcpy(out.Data() + at, segment.Data(), segment.Len());
    at += segment.Len();
  }
  return 0;
}

int obAsnEncode(const obAsnType& value, nyBinBuf& out) { return EncodeInto(value, out) < 0 ? -1 : 0; }

int obAsnDecode(obAsnType& value, const unsigned char* data, unsigned long length) {
  obAsnReadBuf b(data, length);
  unsigned long consumed = 0;
  if (value.BDec(b, consumed) < 0) return -1;
  if (b.Remaining() != 0) {
    OB_HERROR("obAsnDecode: %lu octets left after the value", b.Remaining());
    return -1;
  }
  return 0;
}
