// The OCSP answer cache: judged answers about certificates, kept in memory
// until the nextUpdate of the response they came from, keyed by CertID.
#ifndef NYCERT_VALIDATE_OCSP_CACHE_H_
#define NYCERT_VALIDATE_OCSP_CACHE_H_

#include "nycert/platform/export.h"

extern "C" {
// Forgets every cached answer.
NYCERT_EXPORT void obOCSP_FlushCache();
}

#endif  // NYCERT_VALIDATE_OCSP_CACHE_H_
