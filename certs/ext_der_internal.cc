#include "nycert/certs/ext_der_internal.h"

#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/platform/obstream.h"

int obExtWrap(obAsnWriteBuf& b, unsigned char tag, int contentLen) {
  if (contentLen < 0) return -1;
  int lenLen = BEncDefLen(b, static_cast<unsigned long>(contentLen));
  if (lenLen < 0 || b.PutByte(tag) < 0) return -1;
  return contentLen + lenLen + 1;
}

int obExtPutRaw(obAsnWriteBuf& b, const unsigned char* p, unsigned long n) {
  if (n == 0) return 0;
  return b.PutSeg(p, n) < 0 ? -1 : static_cast<int>(n);
}

int obExtPutPrim(obAsnWriteBuf& b, unsigned char tag, const unsigned char* p, unsigned long n) {
  return obExtWrap(b, tag, obExtPutRaw(b, p, n));
}

void obExtSprintHex(ObStream* s, const unsigned char* p, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) s->Printf(i ? ":%02x" : "%02x", p[i]);
}
