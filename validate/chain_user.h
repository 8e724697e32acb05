// What the root CA that anchors a peer's chain says about naming its user:
// by the end entity's common name, or by its user principal name for an
// enterprise CA.
#ifndef NYCERT_VALIDATE_CHAIN_USER_H_
#define NYCERT_VALIDATE_CHAIN_USER_H_

#include "nycert/platform/export.h"

class obCerts;
class obKeyHolder;

// Both sort chain in place and anchor it (obCert_FixChain). Texts are copied
// into buffers of the given sizes, cut to size-1 octets and terminated.

// 1 with the end entity's common name in cn and its whole subject in dn when
// the anchoring root asks for the user by common name; 0 when it does not;
// -1 (reported) on bad input, an unsortable or unanchored chain, or a
// subject without common name.
NYCERT_EXPORT int obCert_UseCN2FetchUser(obCerts* chain, obKeyHolder* holder, char* cn, int cnSize, char* dn,
                                         int dnSize);
// 1 with the end entity's user principal name (its first such subject
// alternative name) in upn when the anchoring root is an enterprise CA; 0
// when it is not; -1 (reported) on bad input, an unsortable or unanchored
// chain, or no principal name.
NYCERT_EXPORT int obCert_IsMsEnterprise(obCerts* chain, obKeyHolder* holder, char* upn, int upnSize);

#endif  // NYCERT_VALIDATE_CHAIN_USER_H_
