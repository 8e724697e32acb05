// Enumerations and callback shapes shared by the key subsystem.
#ifndef NYCERT_KEYS_PK_TYPES_H_
#define NYCERT_KEYS_PK_TYPES_H_

#include "nycert/platform/md_types.h"

// Key algorithms.
// obAlg_EC is ECDSA on a NIST prime curve; obAlg_Ed25519 signs whole messages.
enum obAlgType : int { obAlg_None = 0, obAlg_RSA = 1, obAlg_DH = 2, obAlg_EC = 3, obAlg_Ed25519 = 4 };

// Operation modes of Sign and Verify. Modes 0 and 2 sign the DigestInfo of the
// input; 1 and 3 sign the input as it is. Verify in mode 3 accepts either form.
enum obPKop_type : int {
  obPKop_DigestInfo = 0,
  obPKop_Raw = 1,
  obPKop_DigestInfoCompat = 2,
  obPKop_RawOrDigestInfo = 3,
};

// The key flag of a key able to sign (a bit of obPubKey::Flags).
constexpr unsigned obPK_Flag_Sign = 0x8;

// Export forms of a key.
enum obPK_Format : int {
  obPK_Format_Set = 0,         // attribute set, written through an obset** of size 4
  obPK_Format_PublicDER = 1,   // public key DER (RSAPublicKey for RSA; the key octets for EC)
  obPK_Format_PrivateDER = 2,  // private key DER (RSAPrivateKey for RSA, PrivateKeyInfo for EC)
  obPK_Format_PublicKeyInfo = 3,  // SubjectPublicKeyInfo DER (EC and Ed25519 keys)
};

// What GetLen measures.
enum obPK_Len_Type : int {
  obPK_Len_Bits = 0,   // modulus (or prime) size in bits
  obPK_Len_Bytes = 1,  // modulus size in bytes: the length of a signature or ciphertext
};

// Return codes of key operations beyond -1.
enum obPK_RC {
  obPK_RC_NoCallback = -1000,  // missing callback, or an allocation failure in an asynchronous call
  obPK_RC_NotImplemented = -1001,
  obPK_RC_ExportFailed = -1003,
  obPK_RC_LengthMismatch = -1004,
  obPK_RC_BufferTooSmall = -1005,
};

// The callback of an asynchronous key operation.
typedef void (*obPubKeyCB)(void* cbContext, int rc, void* data, int dataLen, const char* message);

#endif  // NYCERT_KEYS_PK_TYPES_H_
