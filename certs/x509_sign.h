// Signing a to-be-signed structure (certificate, CRL, certification
// request) with an RSA key (PKCS#1 v1.5) or an ECDSA key over one of the
// library's digests, or with an Ed25519 key over the structure itself:
//
//   Signed ::= SEQUENCE { toBeSigned ANY, algorithm AlgorithmIdentifier,
//                         signature BIT STRING }
#ifndef NYCERT_CERTS_X509_SIGN_H_
#define NYCERT_CERTS_X509_SIGN_H_

#include "nycert/buffers/nybinbuf.h"
#include "nycert/keys/pk_types.h"
#include "nycert/platform/export.h"

class obAsnType;
class obPubKey;

// DER-encodes tbs, signs it with key over md and writes the signed structure
// into out. The algorithm identifier is the signature algorithm of the
// key's kind and md (Ed25519 ignores md) with absent parameters; tbs should
// name the same. key must be able to sign. 0, or -1 with a message and out untouched.
NYCERT_EXPORT int obX509Sign(const obAsnType& tbs, obPubKey& key, ob_md_type md, nyBinBuf& out);

#endif  // NYCERT_CERTS_X509_SIGN_H_
