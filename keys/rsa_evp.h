// RSA keys as OpenSSL key objects: built from their components, read from and
// written to DER and the attribute-set form, checked and printed. The key
// handle (nysrsa.h) stands on these; the importer (rsa_import.h) on both.
//
// Attribute-set form: "modulus" and "public" (the public exponent) hold
// big-endian unsigned integers; a private key adds the nested set "private"
// with "pkcs8" (PrivateKeyInfo DER) and "pkcs1" (RSAPrivateKey DER).
#ifndef NYCERT_KEYS_RSA_EVP_H_
#define NYCERT_KEYS_RSA_EVP_H_

#include <openssl/types.h>

#include "nycert/buffers/nybinbuf.h"
#include "nycert/platform/export.h"

class obset;

// The components of an RSA key; d and the rest are null for a public key.
struct NYCERT_EXPORT nyRSAParts {
  const BIGNUM* n = nullptr;
  const BIGNUM* e = nullptr;
  const BIGNUM* d = nullptr;
  const BIGNUM* p = nullptr;
  const BIGNUM* q = nullptr;
  const BIGNUM* dmp1 = nullptr;  // d mod (p-1)
  const BIGNUM* dmq1 = nullptr;  // d mod (q-1)
  const BIGNUM* iqmp = nullptr;  // q^-1 mod p
};
// A new key from its components (private when d is given), or null.
NYCERT_EXPORT EVP_PKEY* nyRSA_from_parts(const nyRSAParts& parts);
// 1 when key holds a private exponent.
NYCERT_EXPORT int nyRSA_has_private(const EVP_PKEY* key);

// A key from DER: RSAPrivateKey, PrivateKeyInfo, RSAPublicKey or
// SubjectPublicKeyInfo, with nothing behind it; null otherwise.
NYCERT_EXPORT EVP_PKEY* nyRSA_from_buf(const unsigned char* der, int len);
// withPrivate 0: the RSAPublicKey, 1: the RSAPrivateKey. 0, or -1.
NYCERT_EXPORT int nyRSA_to_buf(const EVP_PKEY* key, int withPrivate, nyBinBuf& out);
// Attribute-set form to a key (null when no usable form is in the set) and back.
NYCERT_EXPORT EVP_PKEY* nyRSA_from_set(const obset* set);
NYCERT_EXPORT obset* nyRSA_to_set(const EVP_PKEY* key);
// 1 when key is an RSA key whose parts are consistent, else 0.
NYCERT_EXPORT int nyRSA_is_ok(const EVP_PKEY* key);
// Prints the key's numbers on the diagnostic channel.
NYCERT_EXPORT void nyRSA_herror(const EVP_PKEY* key);

#endif  // NYCERT_KEYS_RSA_EVP_H_
