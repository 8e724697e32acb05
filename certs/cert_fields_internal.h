// The fields of a certificate located in its DER without copying anything.
//
//   Certificate ::= SEQUENCE { tbsCertificate TBSCertificate,
//                              signatureAlgorithm AlgorithmIdentifier,
//                              signatureValue BIT STRING }
//   TBSCertificate ::= SEQUENCE {
//       version [0] EXPLICIT Version DEFAULT v1, serialNumber INTEGER,
//       signature AlgorithmIdentifier, issuer Name, validity Validity,
//       subject Name, subjectPublicKeyInfo SubjectPublicKeyInfo,
//       issuerUniqueID [1] IMPLICIT BIT STRING OPTIONAL,
//       subjectUniqueID [2] IMPLICIT BIT STRING OPTIONAL,
//       extensions [3] EXPLICIT Extensions OPTIONAL }
#ifndef NYCERT_CERTS_CERT_FIELDS_INTERNAL_H_
#define NYCERT_CERTS_CERT_FIELDS_INTERNAL_H_

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/signed_fields_internal.h"

struct obCertFields {
  obDerSpan tbs;                     // the whole TBSCertificate TLV
  long version = 0;                  // the version field's value, 0 (v1) when absent, -1 beyond v3
  obDerSpan serial;                  // INTEGER content
  obDerSpan issuer;                  // the whole Name TLV
  obDerSpan subject;                 // the whole Name TLV
  obDerElement validity[2];          // notBefore and notAfter as found
  int validityCount = 0;             // how many of them the Validity holds
  obDerSpan spki;                    // the whole SubjectPublicKeyInfo TLV
  obDerSpan keyAlgorithm;            // its algorithm OID content
  obDerSpan publicKey;               // the subjectPublicKey bit string's octets
  unsigned publicKeyUnusedBits = 0;  // a key is whole octets: anything else is refused
  bool hasExtensions = false;
  obDerSpan extensions;          // content of the Extensions SEQUENCE
  obDerSpan signatureAlgorithm;  // outer algorithm OID content
};

// Time ::= CHOICE { utcTime UTCTime, generalTime GeneralizedTime }
bool obIsTimeTag(obAsnTag tag);
// A Time element in seconds since 1970: false when it is not a valid time.
bool obParseTimeElement(const obDerElement& time, long& seconds);
// Whether time is a valid Time, without working out when it is.
bool obIsValidTimeElement(const obDerElement& time);

// Locates every field of der (which must hold exactly one certificate):
// true, or false when the encoding is not a certificate.
bool obParseCertFields(obDerSpan der, obCertFields& out);

// The RSAPublicKey in a subject public key passes the sanity checks: a
// positive odd modulus of 512 to 16384 bits and a positive odd exponent,
// at least 3 and shorter than the modulus.
bool obCheckRsaPublicKey(obDerSpan publicKey);

#endif  // NYCERT_CERTS_CERT_FIELDS_INTERNAL_H_
