// Reading a PFX (RFC 7292) into its bags:
//
//   PFX ::= SEQUENCE { version INTEGER {v3(3)}, authSafe ContentInfo, macData MacData OPTIONAL }
//   AuthenticatedSafe ::= SEQUENCE OF ContentInfo   -- data or encryptedData
//   SafeContents ::= SEQUENCE OF SafeBag
//   SafeBag ::= SEQUENCE { bagId OBJECT IDENTIFIER, bagValue [0] EXPLICIT ANY,
//                          bagAttributes SET OF PKCS12Attribute OPTIONAL }
//
// BER is read throughout (indefinite lengths, constructed strings). The
// password's forms are tried in turn: the first that the MAC accepts (or,
// without a MAC, that decrypts) is used for the whole file.
#ifndef NYCERT_KEYSTORE_PFX_DECODE_H_
#define NYCERT_KEYSTORE_PFX_DECODE_H_

#include <cstddef>

#include "nycert/keystore/pfx_bags.h"

// Results besides 0.
constexpr int kP12Malformed = -1;
constexpr int kP12WrongPassword = -2;
constexpr int kP12Unsupported = -3;
constexpr int kP12TooLarge = -4;

// Limits on what a file may hold.
constexpr size_t kP12MaxFileSize = 16u << 20;
constexpr size_t kP12MaxBags = 4096;
constexpr int kP12MaxNesting = 4;  // safeContentsBag inside safeContentsBag

// Decodes a PFX under password into out: 0, or one of the results above
// with why set. skipMac reads past the MAC without checking it (for fuzzing).
int obP12_Decode(const unsigned char* pfx, size_t len, const char* password, obP12Contents& out, obString& why,
                 bool skipMac = false);

// Checks only the MAC: 0 when it matches under some form of the password,
// kP12WrongPassword when it does not, another result when the file is
// unreadable or carries no MAC.
int obP12_CheckMac(const unsigned char* pfx, size_t len, const char* password, obString& why);

#endif  // NYCERT_KEYSTORE_PFX_DECODE_H_
