// Digests and HMAC over OpenSSL, by the library's digest types.
#ifndef NYCERT_PLATFORM_NYBCRYPT_H_
#define NYCERT_PLATFORM_NYBCRYPT_H_

#include "nycert/platform/export.h"
#include "nycert/platform/md_types.h"

// The digest length of md in octets, or -1 for an unknown type.
NYCERT_EXPORT int ny_md_len(ob_md_type md);
// Digest of data into out, which holds at least ny_md_len(md) octets: the
// digest length, or -1.
NYCERT_EXPORT int ny_md_hashbuf(ob_md_type md, const unsigned char* data, unsigned dataLen, unsigned char* out);
// HMAC of data under key into out (at least ny_md_len(md) octets): the MAC length, or -1.
NYCERT_EXPORT int ny_md_hmac(ob_md_type md, const unsigned char* key, unsigned keyLen, const unsigned char* data, unsigned dataLen,
               unsigned char* out);

#endif  // NYCERT_PLATFORM_NYBCRYPT_H_
