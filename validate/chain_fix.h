// Anchoring a peer's chain at a root CA of the local key holder.
//
// The chain must be in chain order (obCerts_Sort). A chain that ends in a
// held root, or in the issuer's name of one, is ended with the holder's own
// copy of that root; one that runs on past a held root is cut after it; one
// that stops below the held roots is completed from the chain of a
// certified key that holds its top certificate's issuer. The chain is
// changed in place, and the changes stay when repair fails later on.
#ifndef NYCERT_VALIDATE_CHAIN_FIX_H_
#define NYCERT_VALIDATE_CHAIN_FIX_H_

#include "nycert/platform/export.h"

class obCerts;
class obKeyHolder;
class obRootCA;

// Called, when set, with a chain that could not be anchored: it may add the
// missing CA certificates (fetched from elsewhere, say) and answer 0 or
// more, after which the chain is sorted and repaired once more; a negative
// answer means it could not help.
typedef int (*obCert_SubCAFunc)(obCerts* chain);

// The root CA the chain is anchored at (lent by the holder), or null
// (reported). Null arguments give null.
NYCERT_EXPORT obRootCA* obCert_FixChain(obCerts* chain, obKeyHolder* holder);
NYCERT_EXPORT obRootCA* obCert_FixChainC(obCerts* chain, obKeyHolder* holder);
// Replaces the process-wide callback; null removes it. Not synchronised:
// set it before chains are repaired.
NYCERT_EXPORT void obCert_SetSubCAFunc(obCert_SubCAFunc callback);

#endif  // NYCERT_VALIDATE_CHAIN_FIX_H_
