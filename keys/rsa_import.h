// RSA keys to and from their DER, PEM and attribute-set forms, and the
// pluggable importer behind obImportRSAKey.
//
// Attribute-set form: "modulus" and "public" (the public exponent) hold
// big-endian unsigned integers; a private key adds the nested set "private"
// with "pkcs8" (PrivateKeyInfo DER) and "pkcs1" (RSAPrivateKey DER).
#ifndef NYCERT_KEYS_RSA_IMPORT_H_
#define NYCERT_KEYS_RSA_IMPORT_H_

#include <openssl/types.h>

#include "nycert/buffers/nybinbuf.h"
#include "nycert/keys/pk_types.h"

class obset;
class obPubKey;

// The components of an RSA key; d and the rest are null for a public key.
struct nyRSAParts {
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
EVP_PKEY* nyRSA_from_parts(const nyRSAParts& parts);
// 1 when key holds a private exponent.
int nyRSA_has_private(const EVP_PKEY* key);

// A key from DER: RSAPrivateKey, PrivateKeyInfo, RSAPublicKey or
// SubjectPublicKeyInfo, with nothing behind it; null otherwise.
EVP_PKEY* nyRSA_from_buf(const unsigned char* der, int len);
// withPrivate 0: the RSAPublicKey, 1: the RSAPrivateKey. 0, or -1.
int nyRSA_to_buf(const EVP_PKEY* key, int withPrivate, nyBinBuf& out);
// Attribute-set form to a key (null when no usable form is in the set) and back.
EVP_PKEY* nyRSA_from_set(const obset* set);
obset* nyRSA_to_set(const EVP_PKEY* key);
// 1 when key is an RSA key whose parts are consistent, else 0.
int nyRSA_is_ok(const EVP_PKEY* key);
// Prints the key's numbers on the diagnostic channel.
void nyRSA_herror(const EVP_PKEY* key);

// An importer: fmt obPK_Format_Set takes data as the address of an obset*
// (len the size of that pointer); the DER formats take the bytes. Returns a
// new key handle or null.
typedef obPubKey* (*obImportRSAKeyFn)(void* context, obPK_Format fmt, const void* data, int len);
// Installs the importer of obImportRSAKey; null restores the built-in one.
void obSetImportRSAKey_func(obImportRSAKeyFn func, void* context);
obPubKey* obImportRSAKey(obPK_Format fmt, const void* data, int len);
// The first PEM block of text: "RSA PRIVATE KEY", "PRIVATE KEY" (not
// encrypted), "RSA PUBLIC KEY" or "PUBLIC KEY". A new key handle or null.
obPubKey* obImportRSAKeyPEM(const char* pem, unsigned len);

obPubKey* obImportRSAKey_from_Set(const obset* set);
// The set form of key; keys that cannot give it yield their public part.
obset* obExportRSAKey_to_Set(obPubKey* key);

#endif  // NYCERT_KEYS_RSA_IMPORT_H_
