// The registry functions the library reads its configuration through.
//
// On POSIX systems the registry is a small text file: the one named by the
// environment variable NYCERT_REGISTRY, else /etc/nycert/registry. Keys are
// section lines in brackets, values lines of a quoted name, '=' and either a
// 32-bit number or a quoted string:
//
//   # key-task workers
//   [HKEY_LOCAL_MACHINE\SOFTWARE\Nyvara\Encryption]
//   "NumberOfThreads"=dword:00000004
//   "Comment"="any text"
//
// Key paths compare without regard to case. The file is read when a key is
// opened; creating a key that the file lacks gives an empty key and writes
// nothing.
#ifndef NYCERT_PLATFORM_REGISTRY_H_
#define NYCERT_PLATFORM_REGISTRY_H_

#include "nycert/platform/export.h"

struct obRegKey;
typedef obRegKey* HKEY;

// The local-machine hive.
NYCERT_EXPORT extern const HKEY HKEY_LOCAL_MACHINE;

enum {
  ERROR_SUCCESS = 0,
  ERROR_FILE_NOT_FOUND = 2,
  ERROR_INVALID_PARAMETER = 87,
  ERROR_MORE_DATA = 234,
};

// Value types.
enum { REG_SZ = 1, REG_DWORD = 4 };

extern "C" {
// Opens subKey under hive (creating it when missing) into *result.
NYCERT_EXPORT long RegCreateKeyA(HKEY hive, const char* subKey, HKEY* result);
// Reads value name of key: its type to *type, its data to data of *size
// octets (a number as 4 octets in host order, a string with its terminating
// zero), and the data's length to *size. data may be null to ask the length.
// reserved must be null.
NYCERT_EXPORT long RegQueryValueExA(HKEY key, const char* name, unsigned long* reserved, unsigned long* type,
                                    unsigned char* data, unsigned long* size);
NYCERT_EXPORT long RegCloseKey(HKEY key);
}

#endif  // NYCERT_PLATFORM_REGISTRY_H_
