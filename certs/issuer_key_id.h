// The authority key identifier that certificates and CRLs an issuer signs
// carry: the issuer's own subject key identifier when it has one, else one
// computed from its key.
#ifndef NYCERT_CERTS_ISSUER_KEY_ID_H_
#define NYCERT_CERTS_ISSUER_KEY_ID_H_

#include "nycert/platform/export.h"

class obCert;
class obExtKeyID;

// A new authority key identifier for what issuer signs (the caller owns
// it), or null when the issuer has neither a subject key identifier nor a
// readable key.
NYCERT_EXPORT obExtKeyID* obAuthorityKeyIdOf(obCert& issuer);

#endif  // NYCERT_CERTS_ISSUER_KEY_ID_H_
