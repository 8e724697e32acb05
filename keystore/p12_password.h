// Passwords of PKCS #12 files: the policy new passwords must meet, and the
// forms a password takes in key derivation.
//
// PKCS #12's own derivations take the password as a BMPString with a
// two-octet zero terminator; PBES1 and PBES2 take its octets as given.
#ifndef NYCERT_KEYSTORE_P12_PASSWORD_H_
#define NYCERT_KEYSTORE_P12_PASSWORD_H_

#include <cstddef>
#include <vector>

#include "nycert/buffers/nybinbuf.h"
#include "nycert/buffers/obstring.h"
#include "nycert/platform/export.h"

// Checks a new password: at least four characters, of which four differ
// (compared as octets, so case counts). 0 valid, -1 invalid; message gets
// the text for the user.
NYCERT_EXPORT int Check_PKCS12_password(const char* password, obString& message);

// The BMP form of UTF-8 text, with the zero terminator when terminated
// (passwords) or without (friendly names), characters beyond the BMP as
// surrogate pairs: 0, or -1 for malformed UTF-8.
NYCERT_EXPORT int obPKCS12_pass2bmp(const char* text, nyBinBuf& bmp, bool terminated);

// The same for len octets of text, which may hold U+0000: a friendly name
// read from a file is written back whole.
NYCERT_EXPORT int obPKCS12_pass2bmp(const char* text, size_t len, nyBinBuf& bmp, bool terminated);

// Overwrites a buffer's octets in a way the compiler keeps.
void obP12Wipe(nyBinBuf& buf);

// One way of presenting a password to the derivations; wiped when it goes.
struct obP12Password {
  nyBinBuf raw;  // the octets as given
  nyBinBuf bmp;  // the PKCS #12 form; empty for "no password"
  obP12Password() = default;
  obP12Password(const obP12Password& other) = default;
  ~obP12Password() {
    obP12Wipe(raw);
    obP12Wipe(bmp);
  }
};

// The forms worth trying for password, most likely first: the RFC 7292 BMP
// form, then for a null or empty password the other empty form, and for
// non-ASCII text the one-octet-per-character form older writers used.
// Never empty.
std::vector<obP12Password> obP12PasswordForms(const char* password);

#endif  // NYCERT_KEYSTORE_P12_PASSWORD_H_
