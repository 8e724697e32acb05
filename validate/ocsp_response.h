// Judging the OCSP response to one request.
#ifndef NYCERT_VALIDATE_OCSP_RESPONSE_H_
#define NYCERT_VALIDATE_OCSP_RESPONSE_H_

#include "nycert/platform/export.h"

class ValidateParams;
class obCert;
class obOcspRequest;

// Checks the DER OCSPResponse der (len octets) that answers request, which
// asked about a certificate that issuer signed. responder is the responder
// certificate configured for the server that answered, or null.
//
// The response must be signed by responder, by issuer, or by a certificate
// it carries that issuer signed for OCSP signing (id-kp-OCSPSigning) and
// that is valid now. A nonce in the response must be the request's. Its
// thisUpdate and nextUpdate must hold now within the CRL graces of params.
//
// 0 when the certificate is good, else an obValidationRC: -991 revoked,
// -975 unknown, -983 not a response, -981..-977 the responder's error
// status, -972 no certificate for the signer, -973 a bad signature,
// signer, nonce or answer, -971 outside its time window. nextUpdate gets the
// response's nextUpdate (0: none) for 0, -991 and -975.
NYCERT_EXPORT int obOCSP_CheckResponse(const unsigned char* der, int len, const obOcspRequest& request,
                                       obCert& issuer, obCert* responder, const ValidateParams& params,
                                       long& nextUpdate);

#endif  // NYCERT_VALIDATE_OCSP_RESPONSE_H_
