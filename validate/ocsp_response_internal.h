// An OCSP response located in its DER: every field a span into the caller's
// octets, nothing copied.
//
//   OCSPResponse ::= SEQUENCE { responseStatus OCSPResponseStatus,
//                               responseBytes [0] EXPLICIT ResponseBytes OPTIONAL }
//   ResponseBytes ::= SEQUENCE { responseType OBJECT IDENTIFIER, response OCTET STRING }
//   BasicOCSPResponse ::= SEQUENCE { tbsResponseData ResponseData,
//                                    signatureAlgorithm AlgorithmIdentifier,
//                                    signature BIT STRING,
//                                    certs [0] EXPLICIT SEQUENCE OF Certificate OPTIONAL }
//   ResponseData ::= SEQUENCE { version [0] EXPLICIT Version DEFAULT v1,
//                               responderID ResponderID, producedAt GeneralizedTime,
//                               responses SEQUENCE OF SingleResponse,
//                               responseExtensions [1] EXPLICIT Extensions OPTIONAL }
//   ResponderID ::= CHOICE { byName [1] EXPLICIT Name, byKey [2] EXPLICIT KeyHash }
#ifndef NYCERT_VALIDATE_OCSP_RESPONSE_INTERNAL_H_
#define NYCERT_VALIDATE_OCSP_RESPONSE_INTERNAL_H_

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/signed_fields_internal.h"

enum obOcspCertStatus : int {
  obOcspCert_Good = 0,
  obOcspCert_Revoked = 1,
  obOcspCert_Unknown = 2,
};

//   SingleResponse ::= SEQUENCE { certID CertID, certStatus CertStatus,
//                                 thisUpdate GeneralizedTime,
//                                 nextUpdate [0] EXPLICIT GeneralizedTime OPTIONAL,
//                                 singleExtensions [1] EXPLICIT Extensions OPTIONAL }
//   CertStatus ::= CHOICE { good [0] IMPLICIT NULL, revoked [1] IMPLICIT RevokedInfo,
//                           unknown [2] IMPLICIT UnknownInfo }
//   RevokedInfo ::= SEQUENCE { revocationTime GeneralizedTime,
//                              revocationReason [0] EXPLICIT CRLReason OPTIONAL }
struct obOcspSingleResponse {
  obDerSpan certId;  // the CertID's content
  obOcspCertStatus status = obOcspCert_Unknown;
  long thisUpdate = 0;
  long nextUpdate = 0;  // 0 when absent
  long revocationTime = 0;
  bool unhandledCritical = false;  // a critical extension the library does not know
};

struct obOcspResponse {
  long responseStatus = -1;
  // The rest is set for a successful response only.
  obSignedFields basic;      // tbsResponseData, signatureAlgorithm, signature
  obAsnTag responderIdTag = kAsnBadTag;
  obDerSpan responderId;     // byName: the Name's TLV; byKey: the key hash
  long producedAt = 0;
  obDerSpan responses;       // the content of the SEQUENCE OF SingleResponse
  bool hasNonce = false;
  obDerSpan nonceValue;      // the nonce extension's extnValue octets
  bool unhandledCritical = false;
  obDerSpan certs;           // the content of the certificates' SEQUENCE OF
};

constexpr obAsnTag kOcspByName = obDerContextCons(1);
constexpr obAsnTag kOcspByKey = obDerContextCons(2);

// Locates the fields of der, which must hold exactly one OCSPResponse, and
// checks every single response's form: 0, or obValidationRC_OCSPDecodeFailed.
// A successful response must be a basic one.
int obOcspParseResponse(obDerSpan der, obOcspResponse& out);

// Reads the next SingleResponse from r (over a response's responses):
// false at the end or on a malformed one.
bool obOcspNextSingle(obDerReader& r, obOcspSingleResponse& out);

#endif  // NYCERT_VALIDATE_OCSP_RESPONSE_INTERNAL_H_
