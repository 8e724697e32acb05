#include "nycert/keys/key_decoder_internal.h"

#include <openssl/decoder.h>
#include <openssl/err.h>
#include <openssl/evp.h>

EVP_PKEY* nyDecodeKeyDer(const unsigned char* der, size_t len, const char* structure, const char* type,
                         int selection) {
  EVP_PKEY* key = nullptr;
  OSSL_DECODER_CTX* ctx = OSSL_DECODER_CTX_new_for_pkey(&key, "DER", structure, type, selection, nullptr, nullptr);
  const unsigned char* p = der;
  size_t left = len;
  bool ok = ctx && OSSL_DECODER_from_data(ctx, &p, &left) == 1 && left == 0 && key;
  OSSL_DECODER_CTX_free(ctx);
  if (!ok) {
    EVP_PKEY_free(key);
    key = nullptr;
  }
  ERR_clear_error();
  return key;
}
