// PKCS#7 certificate bundles: certificates and CRLs carried in a SignedData
// without signers (the certificates-only form of enrollment replies and of
// .p7b/.p7c files), and the older certificate-sequence content type.
//
// These live beside the CRL classes because a bundle holds both kinds.
#ifndef NYCERT_CRL_PKCS7_BUNDLE_H_
#define NYCERT_CRL_PKCS7_BUNDLE_H_

#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/platform/export.h"

// Reads the DER ContentInfo in buf and appends its certificates to certs
// and its CRLs to crls, in order (a null list skips that part; nothing
// already in the lists is removed). The number of objects appended, or
// -1 when buf does not decode, -2 when it is not signed data or a
// certificate sequence, -3 when an object in it does not decode (nothing
// is appended then). Signer information is ignored.
NYCERT_EXPORT int obPKCS72CertCRL(const char* buf, unsigned int len, obCerts* certs, obCRLs* crls);

// Writes the occupied slots of certs and crls, in slot order, as a
// certificates-only SignedData in a ContentInfo into buf of size octets;
// len receives the encoded length. A null buf only measures. 0, or -1 when
// the encoding fails or does not fit.
NYCERT_EXPORT int obCertCRL2PKCS7(obCerts* certs, obCRLs* crls, const char* buf, unsigned int size, int& len);

#endif  // NYCERT_CRL_PKCS7_BUNDLE_H_
