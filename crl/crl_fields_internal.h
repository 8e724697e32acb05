// The fields of a CRL located in its DER without copying anything.
//
//   CertificateList ::= SEQUENCE { tbsCertList TBSCertList,
//                                  signatureAlgorithm AlgorithmIdentifier,
//                                  signatureValue BIT STRING }
//   TBSCertList ::= SEQUENCE {
//       version Version OPTIONAL, signature AlgorithmIdentifier,
//       issuer Name, thisUpdate Time, nextUpdate Time OPTIONAL,
//       revokedCertificates SEQUENCE OF SEQUENCE {
//           userCertificate CertificateSerialNumber, revocationDate Time,
//           crlEntryExtensions Extensions OPTIONAL } OPTIONAL,
//       crlExtensions [0] EXPLICIT Extensions OPTIONAL }
#ifndef NYCERT_CRL_CRL_FIELDS_INTERNAL_H_
#define NYCERT_CRL_CRL_FIELDS_INTERNAL_H_

#include <cstddef>

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/cert_fields_internal.h"
#include "nycert/certs/ext_der_internal.h"

struct obCrlFields {
  obDerSpan tbs;     // the whole TBSCertList TLV
  long version = 0;  // the version field's value, 0 (v1) when absent, -1 beyond v2
  obDerSpan issuer;  // the whole Name TLV
  obDerElement thisUpdate;
  bool hasNextUpdate = false;
  obDerElement nextUpdate;
  obDerSpan revoked;        // content of revokedCertificates; empty when absent
  size_t revokedCount = 0;  // the elements it holds
  bool hasExtensions = false;
  obDerSpan extensions;          // content of the Extensions SEQUENCE
  obDerSpan signatureAlgorithm;  // outer algorithm OID content
};

// Locates every field of der (which must hold exactly one CRL) and counts
// the revoked entries: true, or false when the encoding is not a CRL. The
// entries themselves are checked as they are read.
bool obParseCrlFields(obDerSpan der, obCrlFields& out);

// Reads the next revoked entry of r: the serial's INTEGER content and the
// revocation date's Time element, which follows that content (its text is
// not checked here). False when the entry is malformed.
inline bool obReadRevokedEntry(obDerReader& r, obDerSpan& serial, obDerElement& date) {
  obDerSpan entry, extensions;
  if (!r.Read(kDerSequence, entry)) return false;
  obDerReader fields(entry);
  if (!fields.Read(kDerInteger, serial) || serial.empty()) return false;
  if (!obIsTimeTag(fields.PeekTag()) || !fields.Next(date)) return false;
  return fields.AtEnd() ||
         (fields.Read(kDerSequence, extensions) && fields.AtEnd() && obExtListIsWellFormed(extensions));
}

#endif  // NYCERT_CRL_CRL_FIELDS_INTERNAL_H_
