// Signing a to-be-signed structure (certificate, CRL, certification
// request) with an RSA key, PKCS#1 v1.5 over one of the library's digests:
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
// into out. The algorithm identifier is the RSA signature algorithm of md
// with absent parameters; tbs should name the same. key must be an RSA key
// that can sign. 0, or -1 with a message and out untouched.
NYCERT_EXPORT int obX509Sign(const obAsnType& tbs, obPubKey& key, ob_md_type md, nyBinBuf& out);

#endif  // NYCERT_CERTS_X509_SIGN_H_
