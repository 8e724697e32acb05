// When a chain stops being valid.
#ifndef NYCERT_VALIDATE_CHAIN_EXPIRATION_H_
#define NYCERT_VALIDATE_CHAIN_EXPIRATION_H_

#include "nycert/platform/export.h"

class obCerts;

// The earliest notAfter (seconds since 1970, UTC) among the chain's
// well-formed certificates; -1 when it has none.
NYCERT_EXPORT long obGetChainExpiration(const obCerts* chain);

#endif  // NYCERT_VALIDATE_CHAIN_EXPIRATION_H_
