// Gathering the CRLs a chain's revocation check needs: one for every
// certificate below the top, each checked with its issuer's key, from the
// CRL cache or through its fetchers.
#ifndef NYCERT_VALIDATE_CRL_CHAIN_FETCH_H_
#define NYCERT_VALIDATE_CRL_CHAIN_FETCH_H_

#include "nycert/crl/validate_params.h"
#include "nycert/platform/export.h"

class obCRLs;
class obCerts;
class obRootCA;
struct obd_env;

// The outcome of an asynchronous gathering, on its environment: 0, -986,
// -990, -984 or -985; the CRLs found (lent for the call); the index of the
// certificate whose CRL is missing (-1 when none); the caller's context.
typedef void (*obFetchCRLChain_cb)(int rc, obCRLs* crls, int index, void* context);

// Adds to crls the CRL of every certificate of chain below its top, from the
// top down. The cache's database is used for every certificate but the end
// entity, for which useCacheForEE decides. 0; -986 with index naming the
// first certificate without a CRL; or -1 when fetches were started (index
// names the first certificate waited for): gather again once they are done.
NYCERT_EXPORT int obFetchCRLChain_e(obd_env* env, obRootCA* root, obCerts& chain, obCRLs& crls, int useCacheForEE,
                                    int& index, const ValidateParams& params);
NYCERT_EXPORT int obFetchCRLChain(obRootCA* root, obCerts& chain, obCRLs& crls, int useCacheForEE, int& index,
                                  const ValidateParams& params);
// The same with no grace around the CRLs' update times.
NYCERT_EXPORT int obFetchCRLChain_no_grace(obRootCA* root, obCerts& chain, obCRLs& crls, int useCacheForEE,
                                           int& index);

// The asynchronous form: the outcome comes through callback on env,
// delayMs after the last CRL arrived, never before this returns. -1 when
// fetches run, -1000 without a callback, else the code the callback gets.
NYCERT_EXPORT int obFetchCRLChainA_e(obd_env* env, obRootCA* root, obCerts& chain, int useCacheForEE,
                                     const ValidateParams& params, obFetchCRLChain_cb callback, void* context,
                                     long delayMs);
NYCERT_EXPORT int obFetchCRLChainA(obRootCA* root, obCerts& chain, int useCacheForEE, const ValidateParams& params,
                                   obFetchCRLChain_cb callback, void* context, long delayMs);

#endif  // NYCERT_VALIDATE_CRL_CHAIN_FETCH_H_
