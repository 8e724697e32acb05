// RSA key handles from DER, PEM and attribute-set forms through the
// pluggable importer behind obImportRSAKey, and a handle's attribute set.
#ifndef NYCERT_KEYS_RSA_IMPORT_H_
#define NYCERT_KEYS_RSA_IMPORT_H_

#include "nycert/keys/pk_types.h"
#include "nycert/keys/rsa_evp.h"
#include "nycert/platform/export.h"

class obset;
class obPubKey;

// An importer: fmt obPK_Format_Set takes data as the address of an obset*
// (len the size of that pointer); the DER formats take the bytes. Returns a
// new key handle or null.
typedef obPubKey* (*obImportRSAKeyFn)(void* context, obPK_Format fmt, const void* data, int len);
// Installs the importer of obImportRSAKey; null restores the built-in one.
NYCERT_EXPORT void obSetImportRSAKey_func(obImportRSAKeyFn func, void* context);
NYCERT_EXPORT obPubKey* obImportRSAKey(obPK_Format fmt, const void* data, int len);
// The first PEM block of text: "RSA PRIVATE KEY", "PRIVATE KEY" (not
// encrypted), "RSA PUBLIC KEY" or "PUBLIC KEY". A new key handle or null.
NYCERT_EXPORT obPubKey* obImportRSAKeyPEM(const char* pem, unsigned len);

NYCERT_EXPORT obPubKey* obImportRSAKey_from_Set(const obset* set);
// The set form of key; keys that cannot give it yield their public part.
NYCERT_EXPORT obset* obExportRSAKey_to_Set(obPubKey* key);

#endif  // NYCERT_KEYS_RSA_IMPORT_H_
