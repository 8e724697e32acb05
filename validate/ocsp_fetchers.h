// The OCSP fetchers: functions the application registers to carry a request
// to a responder and its reply back. The library has no network code of its
// own; the nycert program registers one over HTTP.
#ifndef NYCERT_VALIDATE_OCSP_FETCHERS_H_
#define NYCERT_VALIDATE_OCSP_FETCHERS_H_

#include "nycert/platform/export.h"

// How a fetch ends: rc 0 with the reply's octets (valid during the call
// only), or an obValidationRC saying what failed: -982 no connection, -969
// the post was refused, -989 no answer in time.
typedef void (*obOCSP_FetchDoneCB)(void* doneContext, int rc, const unsigned char* reply, int replyLen);

// Posts request (an OCSPRequest, requestLen octets, valid during the call
// only) to url, waiting at most timeoutMs for the answer. 0 when the fetcher
// took the request: it then calls done exactly once, from any thread, even
// before it returns. -1 when it cannot carry this request (an unknown URL
// scheme, no resources): done is never called.
typedef int (*obOCSP_Fetcher)(void* opaque, const char* url, const unsigned char* request, int requestLen,
                              long timeoutMs, obOCSP_FetchDoneCB done, void* doneContext);

extern "C" {
// Appends a fetcher, tried after those registered before it. 0, or -1 for a
// null function or when ten are registered already (reported). Register
// fetchers before validations start: the table has no lock.
NYCERT_EXPORT int obOCSP_add_fetcher(obOCSP_Fetcher fetch, void* opaque);
// Forgets every fetcher.
NYCERT_EXPORT void obOCSP_free_fetchers();
}

#endif  // NYCERT_VALIDATE_OCSP_FETCHERS_H_
