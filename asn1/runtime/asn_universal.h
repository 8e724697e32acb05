// The runtime class of each universal primitive tag.
#ifndef NYCERT_ASN1_RUNTIME_ASN_UNIVERSAL_H_
#define NYCERT_ASN1_RUNTIME_ASN_UNIVERSAL_H_

#include "nycert/asn1/runtime/asn_type.h"
#include "nycert/platform/export.h"

// A new default value of the runtime class for a universal tag number, or
// null when the runtime has none (SEQUENCE, SET and unassigned numbers).
NYCERT_EXPORT obAsnType* obAsnNewUniversal(unsigned tagNumber);

#endif  // NYCERT_ASN1_RUNTIME_ASN_UNIVERSAL_H_
