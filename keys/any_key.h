// Keys of every kind that signs (RSA, ECDSA, Ed25519) to and from their
// standard encodings, dispatched on the algorithm the encoding names:
//
//   SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier,
//                                       subjectPublicKey BIT STRING }
//   PrivateKeyInfo ::= SEQUENCE { version INTEGER, privateKeyAlgorithm AlgorithmIdentifier,
//                                 privateKey OCTET STRING, attributes [0] ... }
//
// RSA keys go through the installed RSA importer (rsa_import.h), as before.
#ifndef NYCERT_KEYS_ANY_KEY_H_
#define NYCERT_KEYS_ANY_KEY_H_

#include "nycert/buffers/nybinbuf.h"
#include "nycert/platform/export.h"

class obPubKey;

// A public key from a SubjectPublicKeyInfo (or an RSAPublicKey): a new
// handle, or null.
NYCERT_EXPORT obPubKey* obImportPublicKeyInfo(const unsigned char* der, int len);
// A key pair from a PrivateKeyInfo (or an RSAPrivateKey), or null.
NYCERT_EXPORT obPubKey* obImportPrivateKey(const unsigned char* der, int len);
// The first PEM block of text: "PRIVATE KEY" (not encrypted), "PUBLIC KEY",
// "EC PRIVATE KEY", "RSA PRIVATE KEY" or "RSA PUBLIC KEY". A new key handle or null.
NYCERT_EXPORT obPubKey* obImportKeyPEM(const char* pem, unsigned len);
// The SubjectPublicKeyInfo of key into out: 0, or -1.
NYCERT_EXPORT int obPubKeyInfoOf(obPubKey& key, nyBinBuf& out);
// The PrivateKeyInfo of key into out: 0, or -1.
NYCERT_EXPORT int obPrivateKeyInfoOf(obPubKey& key, nyBinBuf& out);

#endif  // NYCERT_KEYS_ANY_KEY_H_
