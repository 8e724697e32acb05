#include "nycert/platform/nybcrypt.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

namespace {

const EVP_MD* DigestOf(ob_md_type md) {
  switch (md) {
    case ob_md_md5:
      return EVP_md5();
    case ob_md_sha1:
      return EVP_sha1();
    case ob_md_sha256:
      return EVP_sha256();
    case ob_md_sha384:
      return EVP_sha384();
    case ob_md_sha512:
      return EVP_sha512();
    case ob_md_unknown:
      break;
  }
  return nullptr;
}

}  // namespace

int ny_md_len(ob_md_type md) {
  const EVP_MD* digest = DigestOf(md);
  return digest ? EVP_MD_get_size(digest) : -1;
}

int ny_md_hashbuf(ob_md_type md, const unsigned char* data, unsigned dataLen, unsigned char* out) {
  const EVP_MD* digest = DigestOf(md);
  unsigned outLen = 0;
  if (!digest || !out || (!data && dataLen)) return -1;
  return EVP_Digest(data, dataLen, out, &outLen, digest, nullptr) == 1 ? static_cast<int>(outLen) : -1;
}

int ny_md_hmac(ob_md_type md, const unsigned char* key, unsigned keyLen, const unsigned char* data, unsigned dataLen,
               unsigned char* out) {
  const EVP_MD* digest = DigestOf(md);
  unsigned outLen = 0;
  if (!digest || !out || (!key && keyLen) || (!data && dataLen)) return -1;
  static const unsigned char kEmpty = 0;
  return HMAC(digest, key ? key : &kEmpty, static_cast<int>(keyLen), data ? data : &kEmpty, dataLen, out, &outLen)
             ? static_cast<int>(outLen)
             : -1;
}
