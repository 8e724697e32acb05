// Record keys of the CRL database as file names.
//
// A record key is text (a distribution point and a suffix) that may hold any
// octet but NUL; the file database uses its keys as file names as they stand.
// The file key is the record key with every octet outside [A-Za-z0-9._-]
// written as "%" and two upper-case hex digits, and a leading "." written as
// "%2E", so it holds no "/", never is "." or "..", and maps back one to one.
//
// A file key longer than kCrlDBFileKeyMax octets is shortened: the first
// octets of it (never splitting a "%XX") followed by "~" and the 64 lower-case
// hex digits of the SHA-256 digest of the whole record key. "~" never occurs
// in an unshortened file key, so the two forms cannot meet. A shortened file
// key maps back only to its prefix; the database keeps the whole record key
// inside such records.
#ifndef NYCERT_CRL_CRL_DB_KEY_H_
#define NYCERT_CRL_CRL_DB_KEY_H_

#include <string>

#include "nycert/platform/export.h"

// The longest file key made: the file database takes 251 octets, and the
// margin leaves room for its own prefix rules to change.
constexpr size_t kCrlDBFileKeyMax = 200;

// The file key of a record key; *shortened (when given) tells whether it
// is the shortened form.
NYCERT_EXPORT std::string CrlDB_EncodeKey(const std::string& key, bool* shortened = nullptr);

// The record key of a file key: 0 with *key set to it; 1 for a shortened
// file key, with *key set to the part of the record key it keeps; -1 when
// fileKey is not a form CrlDB_EncodeKey makes.
NYCERT_EXPORT int CrlDB_DecodeKey(const std::string& fileKey, std::string* key);

#endif  // NYCERT_CRL_CRL_DB_KEY_H_
