#include "nycert/keys/pkcs1_pad.h"

#include <climits>
#include <cstring>

#include "nycert/buffers/diag.h"
#include "nycert/keys/digest_info.h"
#include "nycert/platform/obrand.h"

namespace {

// Random octets, none of them zero: each zero is drawn again until it is not.
int FillNonZeroRandom(unsigned char* p, int n) {
  if (obrand_gen(p, n) < 0) return -1;
  for (int i = 0; i < n; ++i) {
    while (p[i] == 0) {
      if (obrand_gen(p + i, 1) < 0) return -1;
    }
  }
  return 0;
}

int FillPadding(int blockType, unsigned char* p, int n) {
  switch (blockType) {
    case 0:
      std::memset(p, 0x00, static_cast<size_t>(n));
      return 0;
    case 1:
      std::memset(p, 0xFF, static_cast<size_t>(n));
      return 0;
    case 2:
      if (FillNonZeroRandom(p, n) == 0) return 0;
      OB_HERROR("obpkcs1pad random generator failed");
      return -1;
  }
  OB_HERROR(" obpkcs1pad unknown block type %d", blockType);
  return -1;
}

// Where the padding of blockType ends, scanning from position 2; -1 for an unknown type.
int PaddingEnd(int blockType, const unsigned char* in, int inLen) {
  int pos = 2;
  switch (blockType) {
    case 0:
      while (pos < inLen && in[pos] == 0x00) ++pos;
      return pos - 1;  // the last zero is the separator
    case 1:
      while (pos < inLen && in[pos] == 0xFF) ++pos;
      return pos;
    case 2:
      while (pos < inLen && in[pos] != 0x00) ++pos;
      return pos;
  }
  OB_HERROR("obpkcs1unpad wnknown block type %d", blockType);
  return -1;
}

}  // namespace

int obpkcs1pad(int blockType, const unsigned char* data, int dataLen, unsigned char* out, int outLen) {
  int padLen = outLen - dataLen - 3;
  if (padLen < 0) {
    OB_HERROR("obpkcs1pad Error pad length = %d", padLen);
    return -1;
  }
  if (!out || dataLen < 0 || (!data && dataLen > 0)) {
    OB_HERROR("obpkcs1pad func argument is null");
    return -1;
  }
  out[0] = 0x00;
  out[1] = static_cast<unsigned char>(blockType);
  if (FillPadding(blockType, out + 2, padLen) < 0) return -1;
  out[2 + padLen] = 0x00;
  if (dataLen > 0) std::memcpy(out + 3 + padLen, data, static_cast<size_t>(dataLen));
  return 0;
}

int obpkcs1unpad(int blockType, unsigned char* out, const unsigned char* in, int inLen) {
  if (!in || inLen < 2 || in[0] != 0x00 || in[1] != blockType) {
    OB_HERROR("obpkcs1unpad wrong block type %d", in && inLen >= 2 ? in[1] : -1);
    return -2;
  }
  int end = PaddingEnd(blockType, in, inLen);
  if (end < 0) return -1;
  int padLen = end - 2;
  int dataLen = inLen - padLen - 3;
  if (dataLen <= 0) {
    OB_HERROR("obpkcs1unpad Error pad length  %d", padLen);
    return -1;
  }
  if (in[2 + padLen] != 0x00) {
    OB_HERROR("obpkcs1unpad wrong trailing zero");
    return -2;
  }
  if (out) std::memcpy(out, in + 3 + padLen, static_cast<size_t>(dataLen));
  return dataLen;
}

int nyPKCS1Pad(nyBinBuf& out, unsigned outLen, ob_md_type md, const unsigned char* data, unsigned dataLen,
               int blockType, int wrapInDigestInfo) {
  nyBinBuf info;
  if (wrapInDigestInfo) {
    if (nyPKCS1DigestInfo(data, dataLen, md, info) < 0) return -1;
    data = info.Data();
    dataLen = info.Len();
  }
  if (outLen > INT_MAX || dataLen > INT_MAX) {
    OB_HERROR("nyPKCS1Pad length too large");
    return -1;
  }
  out.Set(outLen);
  if (obpkcs1pad(blockType, data, static_cast<int>(dataLen), out.Data(), static_cast<int>(outLen)) < 0) return -1;
  return 0;
}
