// The key-usage test validation applies to issuers: only a critical
// keyUsage extension is looked at.
#ifndef NYCERT_VALIDATE_KEY_USAGE_CHECK_INTERNAL_H_
#define NYCERT_VALIDATE_KEY_USAGE_CHECK_INTERNAL_H_

#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/key_usage.h"

// True when issuer carries a critical keyUsage extension without usage.
inline bool obLacksCriticalKeyUsage(const obCert& issuer, obKeyUsageType usage) {
  const obKeyUsage* keyUsage = issuer.KeyUsage();
  return keyUsage && issuer.IsCritical(&obASN_id_ce_keyUsage) && !keyUsage->HasUsage(usage);
}

#endif  // NYCERT_VALIDATE_KEY_USAGE_CHECK_INTERNAL_H_
