// Revocation by OCSP for chains whose root CA asks for it.
#ifndef NYCERT_VALIDATE_OCSP_STATUS_H_
#define NYCERT_VALIDATE_OCSP_STATUS_H_

#include "nycert/crl/validate_params.h"
#include "nycert/platform/export.h"

class obCerts;
class obRootCA;
struct obd_env;

// The outcome of a pending check, run on the environment it was started on:
// the caller's context, the result code and the index of the certificate at fault.
typedef void (*obOCSP_RevocationCB)(void* context, int rc, int index);

// The revocation state of chain by the OCSP responders of root: 0 when no
// certificate is revoked, -1 when the answer comes later through callback on
// env (within timeoutMs), else a failure code (-983 to -968, -991 or -989)
// with index naming the certificate at fault. Each certificate below the
// top is asked about at the root's OCSP servers in order (with the
// responder certificate configured for each), or at the URL of its
// authority information access when the root names none. Without env or
// callback the call waits for the answers itself.
NYCERT_EXPORT int obOCSP_getRevocationState(obd_env* env, obRootCA* root, obCerts& chain, int& index,
                                            obOCSP_RevocationCB callback, void* context, long timeoutMs,
                                            const ValidateParams& params);

#endif  // NYCERT_VALIDATE_OCSP_STATUS_H_
