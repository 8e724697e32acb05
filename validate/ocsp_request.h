// obOcspRequest: the OCSP request for one certificate's status, unsigned,
// naming the certificate by SHA-1 hashes of its issuer's name and key and
// carrying a fresh nonce.
//
//   OCSPRequest ::= SEQUENCE { tbsRequest TBSRequest,
//                              optionalSignature [0] EXPLICIT Signature OPTIONAL }
//   TBSRequest ::= SEQUENCE { version [0] EXPLICIT Version DEFAULT v1,
//                             requestorName [1] EXPLICIT GeneralName OPTIONAL,
//                             requestList SEQUENCE OF Request,
//                             requestExtensions [2] EXPLICIT Extensions OPTIONAL }
//   Request ::= SEQUENCE { reqCert CertID,
//                          singleRequestExtensions [0] EXPLICIT Extensions OPTIONAL }
//   CertID ::= SEQUENCE { hashAlgorithm AlgorithmIdentifier,
//                         issuerNameHash OCTET STRING, issuerKeyHash OCTET STRING,
//                         serialNumber CertificateSerialNumber }
#ifndef NYCERT_VALIDATE_OCSP_REQUEST_H_
#define NYCERT_VALIDATE_OCSP_REQUEST_H_

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/buffers/nybinbuf.h"
#include "nycert/platform/export.h"

class obCert;

class NYCERT_EXPORT obOcspRequest {
 public:
  static constexpr unsigned kNonceLen = 16;

  // Builds the request for cert, which issuer signed: 0, or
  // obValidationRC_OCSPEncodeFailed (reported) when either certificate
  // cannot be read or the encoding fails.
  int Build(const obCert& cert, const obCert& issuer);

  // The whole OCSPRequest, the CertID it names, and the value of its nonce
  // extension (an OCTET STRING holding kNonceLen random octets).
  const nyBinBuf& Der() const { return der_; }
  const nyBinBuf& CertId() const { return certId_; }
  obDerSpan NonceValue() const { return {nonceValue_.Data(), nonceValue_.Len()}; }

 private:
  nyBinBuf der_;
  nyBinBuf certId_;
  nyBinBuf nonceValue_;
};

#endif  // NYCERT_VALIDATE_OCSP_REQUEST_H_
