// Conversions between the encodings of RSA keys:
//
//   RSAPublicKey  ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER }      (PKCS #1)
//   SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier,
//                                       subjectPublicKey BIT STRING }           (X.509)
//   PrivateKeyInfo ::= SEQUENCE { version INTEGER, privateKeyAlgorithm AlgorithmIdentifier,
//                                 privateKey OCTET STRING, attributes [0] ... }  (PKCS #8)
//
// The algorithm written is rsaEncryption with NULL parameters. Integers are
// handed in and out as unsigned big-endian magnitudes.
#ifndef NYCERT_KEYS_RSA_KEY_FORMATS_H_
#define NYCERT_KEYS_RSA_KEY_FORMATS_H_

#include "nycert/buffers/nybinbuf.h"
#include "nycert/platform/export.h"

// Encodes an RSAPublicKey into a new block at *out (release with delete[])
// and its length in outLen: 0, or -1.
NYCERT_EXPORT int obRsaPk2PKCS1(const unsigned char* modulus, int modulusLen, const unsigned char* exponent, int exponentLen,
                  unsigned char** out, int& outLen);

// Wraps an encoded RSAPublicKey into a SubjectPublicKeyInfo: 0, or -1.
NYCERT_EXPORT int obPKCS1toPkInfo(const nyBinBuf& pkcs1, nyBinBuf& out);

// Replaces the PrivateKeyInfo in buffer (*length octets) by the RSAPrivateKey
// it holds and sets *length to that key's length: 0, or -1.
NYCERT_EXPORT int obPKCS1fromPKCS8(unsigned char* buffer, int* length);

// Wraps an encoded RSAPrivateKey into a PrivateKeyInfo: 0, or -1.
NYCERT_EXPORT int obPKCS8fromPKCS1(const nyBinBuf& pkcs1, nyBinBuf& out);

// Modulus and exponent to a SubjectPublicKeyInfo: 0, or -1.
NYCERT_EXPORT int obRsaPk2PkInfo(const unsigned char* modulus, int modulusLen, const unsigned char* exponent, int exponentLen,
                   nyBinBuf& out);

// An encoded RSAPublicKey to its modulus and exponent: 0, or -1.
NYCERT_EXPORT int obPKCS1toRsaPk(const nyBinBuf& pkcs1, nyBinBuf& modulus, nyBinBuf& exponent);

// An RSA SubjectPublicKeyInfo to its modulus and exponent; other algorithms
// are refused: 0, or -1.
NYCERT_EXPORT int obPkInfo2RsaPk(const nyBinBuf& pkInfo, nyBinBuf& modulus, nyBinBuf& exponent);

// An RSAPublicKey or an RSA SubjectPublicKeyInfo, told apart by their first
// field, to its modulus and exponent: 0, or -1.
NYCERT_EXPORT int obPublicDer2RsaPk(const unsigned char* der, size_t len, nyBinBuf& modulus, nyBinBuf& exponent);

#endif  // NYCERT_KEYS_RSA_KEY_FORMATS_H_
