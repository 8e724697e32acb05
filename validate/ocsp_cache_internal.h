// Putting answers into the OCSP answer cache and finding them there.
#ifndef NYCERT_VALIDATE_OCSP_CACHE_INTERNAL_H_
#define NYCERT_VALIDATE_OCSP_CACHE_INTERNAL_H_

#include "nycert/validate/ocsp_cache.h"

// Keeps the answer rc (0, or -991 revoked, -975 unknown) for the CertID's
// DER until nextUpdate; answers without a nextUpdate are not kept.
void obOcspCache_Put(const unsigned char* certId, unsigned certIdLen, int rc, long nextUpdate);
// The answer kept for the CertID while the clock is before its nextUpdate:
// true with rc set, or false.
bool obOcspCache_Get(const unsigned char* certId, unsigned certIdLen, int& rc);

#endif  // NYCERT_VALIDATE_OCSP_CACHE_INTERNAL_H_
