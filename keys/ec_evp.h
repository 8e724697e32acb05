// Elliptic-curve keys as OpenSSL key objects: ECDSA keys on the NIST prime
// curves P-256, P-384 and P-521 (RFC 5480) and Ed25519 keys (RFC 8410).
//
//   SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier,
//                                       subjectPublicKey BIT STRING }
//   ECParameters ::= CHOICE { namedCurve OBJECT IDENTIFIER,
//                             implicitCurve NULL, specifiedCurve SpecifiedECDomain }
//
// An ECDSA key names its curve in the parameters and carries the point
// uncompressed (04 || X || Y) as the bit string's octets; an Ed25519 key has
// no parameters and 32 octets of key.
#ifndef NYCERT_KEYS_EC_EVP_H_
#define NYCERT_KEYS_EC_EVP_H_

#include <openssl/types.h>

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/buffers/nybinbuf.h"
#include "nycert/keys/pk_types.h"
#include "nycert/platform/export.h"

enum nyECCurve : int { nyEC_None = 0, nyEC_P256 = 1, nyEC_P384 = 2, nyEC_P521 = 3, nyEC_Ed25519 = 4 };

// "P-256", "P-384", "P-521", "Ed25519"; null for nyEC_None.
NYCERT_EXPORT const char* nyEC_CurveName(nyECCurve curve);
// The curve named by text, in any case; nyEC_None when unknown.
NYCERT_EXPORT nyECCurve nyEC_CurveByName(const char* text);
// The curve's size in bits (256 for Ed25519).
NYCERT_EXPORT int nyEC_CurveBits(nyECCurve curve);
// obAlg_Ed25519 for Ed25519, obAlg_EC for the others.
NYCERT_EXPORT obAlgType nyEC_KeyAlgorithm(nyECCurve curve);

// True when oid (content octets) is id-ecPublicKey or id-Ed25519.
NYCERT_EXPORT bool nyEC_IsKeyAlgorithm(obDerSpan oid);

struct NYCERT_EXPORT nyECKeyInfo {
  nyECCurve curve = nyEC_None;
  obDerSpan publicKey;  // the bit string's octets
};
// Reads an EC or Ed25519 SubjectPublicKeyInfo (the whole TLV) without
// building the key: null, or why it is refused.
NYCERT_EXPORT const char* nyEC_ParseKeyInfo(obDerSpan spki, nyECKeyInfo& out);

// A public key built from its curve and key octets; null when the octets
// are not a key on that curve.
NYCERT_EXPORT EVP_PKEY* nyEC_FromPublic(nyECCurve curve, obDerSpan publicKey);
// A public key from a SubjectPublicKeyInfo, or null.
NYCERT_EXPORT EVP_PKEY* nyEC_FromKeyInfo(const unsigned char* der, size_t len);
// A key pair from a PrivateKeyInfo, or (sec1 true) an ECPrivateKey, on one
// of the curves above; null otherwise.
NYCERT_EXPORT EVP_PKEY* nyEC_FromPrivate(const unsigned char* der, size_t len, bool sec1);
// A new key pair on curve, or null.
NYCERT_EXPORT EVP_PKEY* nyEC_Generate(nyECCurve curve);

// ECDSA-Sig-Value ::= SEQUENCE { r INTEGER, s INTEGER }
// True when sig is exactly one such value in DER, with r and s from 1 to the
// order of curve's group less one.
NYCERT_EXPORT bool nyEC_IsStrictSignature(nyECCurve curve, const unsigned char* sig, size_t len);

// The curve of key, nyEC_None when it is on none of them.
NYCERT_EXPORT nyECCurve nyEC_CurveOf(const EVP_PKEY* key);
NYCERT_EXPORT int nyEC_HasPrivate(const EVP_PKEY* key);
// The key's public octets, its SubjectPublicKeyInfo, or its PrivateKeyInfo
// into out: 0, or -1.
NYCERT_EXPORT int nyEC_PublicOctets(const EVP_PKEY* key, nyBinBuf& out);
NYCERT_EXPORT int nyEC_ToKeyInfo(const EVP_PKEY* key, nyBinBuf& out);
NYCERT_EXPORT int nyEC_ToPrivateKeyInfo(const EVP_PKEY* key, nyBinBuf& out);

#endif  // NYCERT_KEYS_EC_EVP_H_
