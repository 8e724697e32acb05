// The RSA key readers shared by the OpenSSL-level helpers and the importer.
#ifndef NYCERT_KEYS_RSA_EVP_INTERNAL_H_
#define NYCERT_KEYS_RSA_EVP_INTERNAL_H_

#include <openssl/types.h>

#include <cstddef>

class obset;

// A private key from RSAPrivateKey or PrivateKeyInfo DER, or null.
EVP_PKEY* RsaPrivateFromDer(const unsigned char* der, size_t len);
// A public key from RSAPublicKey or SubjectPublicKeyInfo DER, or null.
EVP_PKEY* RsaPublicFromDer(const unsigned char* der, size_t len);
// The key of an attribute set, trying the private forms before the public
// one; fn names the caller in the messages.
EVP_PKEY* RsaKeyFromSet(const obset* set, const char* fn);

#endif  // NYCERT_KEYS_RSA_EVP_INTERNAL_H_
