// Starting a fetch through the registered OCSP fetchers.
#ifndef NYCERT_VALIDATE_OCSP_FETCHERS_INTERNAL_H_
#define NYCERT_VALIDATE_OCSP_FETCHERS_INTERNAL_H_

#include "nycert/validate/ocsp_fetchers.h"

// Hands the request to the fetchers in registration order until one takes
// it: 0, or -1 when none does.
int obOcspStartFetch(const char* url, const unsigned char* request, int requestLen, long timeoutMs,
                     obOCSP_FetchDoneCB done, void* doneContext);

#endif  // NYCERT_VALIDATE_OCSP_FETCHERS_INTERNAL_H_
