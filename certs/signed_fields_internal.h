// The parts of a signed structure located in its DER, shared by the decoding
// of certificates and CRLs and by signature checks.
//
//   Signed ::= SEQUENCE { toBeSigned SEQUENCE, algorithm AlgorithmIdentifier,
//                         signature BIT STRING }
#ifndef NYCERT_CERTS_SIGNED_FIELDS_INTERNAL_H_
#define NYCERT_CERTS_SIGNED_FIELDS_INTERNAL_H_

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/signed.h"

struct obSignedFields {
  obDerElement toBeSigned;  // the signature covers its whole TLV
  obDerSpan algorithm;      // the algorithm OID's content octets
  obDerSpan signature;      // the bit string's octets
  unsigned unusedBits = 0;
};

// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }
// Reads one from r and gives its identifier's content octets.
bool obReadAlgorithmId(obDerReader& r, obDerSpan& oid);

// Locates the parts of der, which must hold exactly one signed structure:
// true, or false when it is not one.
bool obParseSignedFields(obDerSpan der, obSignedFields& out);

// Checks the signature of located parts with key, which may be null (a bad
// signature then): obVfy_OK, or the failure.
obVfy_status obVerifySignedFields(const obSignedFields& parts, obPubKey* key);

#endif  // NYCERT_CERTS_SIGNED_FIELDS_INTERNAL_H_
