// The RSA signature algorithms signed objects name, and their digests.
#ifndef NYCERT_CERTS_SIGNATURE_ALG_H_
#define NYCERT_CERTS_SIGNATURE_ALG_H_

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/keys/pk_types.h"
#include "nycert/platform/export.h"

class obAsnOid;

// The digest of the signature algorithm whose OID content octets are oid;
// ob_md_unknown for anything else.
NYCERT_EXPORT ob_md_type obSignatureDigest(obDerSpan oid);
// The signature algorithm that signs with RSA over md, or null.
NYCERT_EXPORT const obAsnOid* obSignatureOid(ob_md_type md);

#endif  // NYCERT_CERTS_SIGNATURE_ALG_H_
