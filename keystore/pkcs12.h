// PKCS #12 key files: reading, checking and re-protecting them.
//
// Files are read whatever scheme protects them (PKCS #12 PBE, PBES1, PBES2
// with PBKDF2 or scrypt, any CBC cipher and MAC digest libcrypto offers)
// and written as PKCS12_ENC_ALG asks. Messages meant for the end user come
// back in an obString; the return value carries the outcome.
#ifndef NYCERT_KEYSTORE_PKCS12_H_
#define NYCERT_KEYSTORE_PKCS12_H_

#include "nycert/buffers/nybinbuf.h"
#include "nycert/buffers/obstring.h"
#include "nycert/keystore/p12_password.h"
#include "nycert/platform/export.h"

// How keys and certificates are encrypted when a file is written.
enum PKCS12_ENC_ALG {
  // PBES2 with PBKDF2-HMAC-SHA256 and AES-256-CBC, an HMAC-SHA256 MAC.
  PKCS12_ENC_DEFAULT = 0,
  // Triple DES for keys, 40-bit RC2 for certificates, an HMAC-SHA1 MAC: for
  // readers that know nothing of PBES2.
  PKCS12_ENC_LEGACY = 1,
};

class obKeyHolder;

// Writes the holder's certified keys (a shrouded key bag and certificate
// bags for its chain, linked by localKeyId, the key's identifier, and
// friendlyName, its name) and root CAs (certificate bags of their own) into
// out under password. option is the iteration count (0: 2048). 0, or -1
// with message set for the user.
NYCERT_EXPORT int obKeyHolder_2PKCS12(nyBinBuf& out, const char* password, PKCS12_ENC_ALG encryption, int option,
                                      obKeyHolder& holder, obString& message);

// Adds the keys and CAs of pfx to holder: each key with its chain up to the
// CA the file holds as a root, and the roots. 0, or -1 with message set.
NYCERT_EXPORT int obPKCS12_2KeyHolder(nyBinBuf& pfx, const char* password, obKeyHolder& holder, obString& message);
// As obPKCS12_2KeyHolder, with the message copied into a caller buffer
// (truncated to messageSize - 1 characters).
NYCERT_EXPORT int obPKCS12_2KeyHolder_C(unsigned char* pfx, int pfxLen, const char* password, obKeyHolder& holder,
                                        char* message, int messageSize);

// Reads a PKCS#12 file into pfx: 0, or -1.
NYCERT_EXPORT int obpkcs12_fromfile(const char* file, nyBinBuf& pfx);

// Checks the integrity MAC of pfx under password: 0 when it matches, -1
// when it does not or cannot be computed.
NYCERT_EXPORT int obPKCS12_AuthenticatePFX(const nyBinBuf& pfx, const char* password);

// Re-protects the PKCS#12 file under newPassword, which must pass
// Check_PKCS12_password. The new file is written beside the old one, pushed
// to the device and renamed over it, so the file is always whole: the old
// one on any failure, the new one on success. 0, or -1; message gets the
// text for the user.
NYCERT_EXPORT int ReplacePassword_2PKCS12_file_with_passwd_check(const char* file, const char* oldPassword,
                                                                 const char* newPassword, obString& message);

// Kept only to refuse: always -1.
NYCERT_EXPORT int ReplacePassword_2PKCS12_file(const char* file, const char* oldPassword, const char* newPassword);

#endif  // NYCERT_KEYSTORE_PKCS12_H_
