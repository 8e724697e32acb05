// PKCS #1 v1.5 blocks (RFC 8017 section 9.2 and 7.2):
//
//   00 | block type | padding (P octets) | 00 | data
//
// Padding is all 00 for type 0, all FF for type 1 and random non-zero
// octets for type 2. No minimum padding length is enforced in either
// direction: P may be 0. Callers size their data themselves.
#ifndef NYCERT_KEYS_PKCS1_PAD_H_
#define NYCERT_KEYS_PKCS1_PAD_H_

#include "nycert/buffers/nybinbuf.h"
#include "nycert/keys/pk_types.h"
#include "nycert/platform/export.h"

// Fills out (outLen octets) with the block of blockType around data: 0, or -1.
NYCERT_EXPORT int obpkcs1pad(int blockType, const unsigned char* data, int dataLen, unsigned char* out, int outLen);

// Strips a block of blockType: the data length, -2 for a wrong header or a
// missing separator, -1 for an unknown type or no room left for data. The
// data is copied to out when out is given (it must hold inLen - 2 octets);
// a null out only measures. Leading zeros of type-0 data cannot be told from
// padding and are lost.
//
// Because the padding length is not checked, a signature block carries very
// little structure here; verification is sound only because obComparePKCS1
// afterwards compares the whole recovered data exactly.
NYCERT_EXPORT int obpkcs1unpad(int blockType, unsigned char* out, const unsigned char* in, int inLen);

// Sets out to outLen octets holding the block of blockType around data, or
// around data's DigestInfo for md when wrapInDigestInfo is non-zero: 0, or -1.
NYCERT_EXPORT int nyPKCS1Pad(nyBinBuf& out, unsigned outLen, ob_md_type md, const unsigned char* data, unsigned dataLen,
               int blockType, int wrapInDigestInfo);

#endif  // NYCERT_KEYS_PKCS1_PAD_H_
