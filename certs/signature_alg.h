// The signature algorithms signed objects name: RSA with PKCS#1 v1.5 over a
// digest, ECDSA over a digest (RFC 5758) and Ed25519 (RFC 8410), written
// with absent parameters.
#ifndef NYCERT_CERTS_SIGNATURE_ALG_H_
#define NYCERT_CERTS_SIGNATURE_ALG_H_

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/keys/pk_types.h"
#include "nycert/platform/export.h"

class obAsnOid;

struct NYCERT_EXPORT obSignatureAlg {
  const obAsnOid* oid;
  obAlgType key;  // the kind of key that signs with it
  ob_md_type md;  // ob_md_unknown for Ed25519, which signs the message itself
};

// The signature algorithm whose OID content octets are oid, or null.
NYCERT_EXPORT const obSignatureAlg* obFindSignatureAlg(obDerSpan oid);
// The digest of the signature algorithm oid; ob_md_unknown for anything else.
NYCERT_EXPORT ob_md_type obSignatureDigest(obDerSpan oid);
// The signature algorithm a key of kind key uses over md, or null. Ed25519
// has one algorithm whatever md is.
NYCERT_EXPORT const obAsnOid* obSignatureOid(ob_md_type md, obAlgType key = obAlg_RSA);

#endif  // NYCERT_CERTS_SIGNATURE_ALG_H_
