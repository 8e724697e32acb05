// CRL numbers of the certificate authority's own naming scheme: its CRLs are
// published under file names "ICA_CRL" followed by a decimal number, e.g.
// "http://ca.example/crl/ICA_CRL17.crl" or a directory name with
// "CN=ICA_CRL17".
//
// The number is 1 to 2^31-1 (it fits a signed 32-bit int); leading zeros
// are allowed, a sign is not. Both functions answer 0 with *number set, or
// -1 (reported on the "CrlDB" trace topic) leaving *number alone.
#ifndef NYCERT_CRL_CRL_NUMBER_H_
#define NYCERT_CRL_CRL_NUMBER_H_

#include "nycert/platform/export.h"

class obDN;

// The file name is the text between the URI's last "/" and its last ".",
// so the URI needs both, the "/" first: "http://ca.example/ICA_CRL5.crl"
// gives 5.
NYCERT_EXPORT int obca_URI_to_crl_number(const char* uri, int* number);

// The file name is the DN's most specific common name or, without one, the
// first value of its most specific RDN: "CN=ICA_CRL5,O=Example" gives 5.
NYCERT_EXPORT int obca_DN_to_crl_number(const obDN* dn, int* number);

#endif  // NYCERT_CRL_CRL_NUMBER_H_
