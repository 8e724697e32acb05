#include "nycert/asn1/runtime/asn_buf.h"

#include <cstring>

#include "nycert/buffers/diag.h"

void obAsnReadBuf::Init(const unsigned char* data, unsigned long length) {
  start = cur = data;
  end = data ? data + length : data;
  depth = 0;
}

int obAsnReadBuf::GetByte() {
  if (cur >= end) {
    OB_HERROR("obAsnReadBuf::GetByte reached the end of buf");
    return -1;
  }
  return *cur++;
}

int obAsnReadBuf::PeekByte() const {
  if (cur >= end) {
    OB_HERROR("obAsnReadBuf::PeekByte reached the end of buf");
    return -1;
  }
  return *cur;
}

const unsigned char* obAsnReadBuf::GetSeg(unsigned long* n) {
  const unsigned char* seg = cur;
  if (*n > Remaining()) *n = Remaining();
  cur += *n;
  return seg;
}

unsigned long obAsnReadBuf::CopyOut(unsigned char* dest, unsigned long n) {
  if (n > Remaining()) return Remaining();
  if (n) std::memcpy(dest, cur, n);
  cur += n;
  return n;
}

unsigned long obAsnReadBuf::Skip(unsigned long n) {
  if (n > Remaining()) n = Remaining();
  cur += n;
  return n;
}

int obAsnReadBuf::Back(unsigned long n) {
  if (n > static_cast<unsigned long>(cur - start)) {
    OB_HERROR("obAsnReadBuf::Back attempt to return %d failed", static_cast<int>(n));
    return -1;
  }
  cur -= n;
  return 1;
}

obAsnNestGuard::obAsnNestGuard(obAsnReadBuf& b) : b_(b) {
  if (++b_.depth > kAsnMaxDepth)
    OB_HERROR("obAsnReadBuf: nesting deeper than %u levels before offset = %d", kAsnMaxDepth, b_.Offset());
}

void obAsnWriteBuf::Init(unsigned char* block, unsigned long length) {
  start = block;
  end = cur = block ? block + length : nullptr;
  written = 0;
  writeError = 0;
}

void obAsnWriteBuf::Reset() {
  cur = end;
  written = 0;
  writeError = 0;
}

int obAsnWriteBuf::PutByte(unsigned char b) {
  if (!IsMeasuring()) {
    if (cur <= start) {
      writeError = 1;
      OB_HERROR("obAsnWriteBuf::PutByte reached the end of buf");
      return -1;
    }
    *--cur = b;
  }
  ++written;
  return 1;
}

long obAsnWriteBuf::PutSeg(const unsigned char* p, unsigned long n) {
  if (!IsMeasuring()) {
    if (n > static_cast<unsigned long>(cur - start)) {
      writeError = 1;
      OB_HERROR("obAsnWriteBuf::PutSeg reached the end of buf");
      return -1;
    }
    cur -= n;
    if (n) std::memcpy(cur, p, n);
  }
  written += n;
  return static_cast<long>(n);
}
