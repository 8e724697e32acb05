// Password-based encryption of key files: every scheme PKCS #12 files carry.
//
//   PKCS #12 PBE (RFC 7292 appendix C): pbeWithSHAAnd{128,40}BitRC4,
//     pbeWithSHAAnd{3,2}-KeyTripleDES-CBC, pbeWithSHAAnd{128,40}BitRC2-CBC,
//     parameters PKCS12PbeParams ::= SEQUENCE { salt OCTET STRING, iterations INTEGER }
//   PBES1 (RFC 8018 6.1): pbeWith{MD2,MD5,SHA1}And{DES,RC2}-CBC, parameters PBEParameter
//   PBES2 (RFC 8018 6.2): PBES2-params ::= SEQUENCE { keyDerivationFunc, encryptionScheme }
//     with PBKDF2 under any HMAC or scrypt, and any CBC cipher libcrypto offers
//
// The PKCS #12 schemes derive from the password's BMP form, the others from
// its octets.
#ifndef NYCERT_KEYSTORE_PBE_H_
#define NYCERT_KEYSTORE_PBE_H_

#include <cstddef>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/buffers/nybinbuf.h"
#include "nycert/buffers/obstring.h"
#include "nycert/keystore/p12_password.h"

// Results besides 0.
constexpr int kPbeWrongPassword = -1;  // the padding did not check out
constexpr int kPbeUnsupported = -2;    // an algorithm this build cannot run (named in why)
constexpr int kPbeTooCostly = -3;      // iterations or scrypt costs above the bounds
constexpr int kPbeMalformed = -4;      // parameters that do not decode or do not fit

// The schemes the library writes.
enum class obPbeScheme {
  kPbes2Aes256,       // PBES2, PBKDF2 with HMAC-SHA256, AES-256-CBC
  kSha1TripleDes,     // pbeWithSHAAnd3-KeyTripleDES-CBC
  kSha1Rc2With40Bits  // pbewithSHAAnd40BitRC2-CBC
};

// Decrypts in under the scheme alg names: 0 with the plaintext in out, or
// one of the results above with why set.
int obPbe_Decrypt(const obASN_AlgorithmIdentifier& alg, const obP12Password& password, const unsigned char* in,
                  size_t inLen, nyBinBuf& out, obString& why);

// Encrypts in under scheme with fresh random salt and IV, and writes the
// algorithm identifier with its parameters into alg: 0, or negative.
int obPbe_Encrypt(obPbeScheme scheme, long iterations, const obP12Password& password, const unsigned char* in,
                  size_t inLen, obASN_AlgorithmIdentifier& alg, nyBinBuf& out);

// A one-line description of the scheme, for listings: its name, key
// derivation, cipher and cost, or why it cannot be read.
obString obPbe_Describe(const obASN_AlgorithmIdentifier& alg);

#endif  // NYCERT_KEYSTORE_PBE_H_
