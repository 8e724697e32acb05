// Keys read from DER by OpenSSL's decoders, with nothing left over.
#ifndef NYCERT_KEYS_KEY_DECODER_INTERNAL_H_
#define NYCERT_KEYS_KEY_DECODER_INTERNAL_H_

#include <openssl/types.h>

#include <cstddef>

// A key of type ("RSA", "EC", or null for any) in one DER structure
// ("type-specific", "PrivateKeyInfo", "SubjectPublicKeyInfo") covering all
// len octets; null otherwise.
EVP_PKEY* nyDecodeKeyDer(const unsigned char* der, size_t len, const char* structure, const char* type,
                         int selection);

#endif  // NYCERT_KEYS_KEY_DECODER_INTERNAL_H_
