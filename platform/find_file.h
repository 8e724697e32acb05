// Directory listing in the FindFirstFile style, over opendir/readdir.
//
// A pattern is a directory and a last component that may hold the
// wildcards '*' (any run of characters) and '?' (any one character), e.g.
// "/var/db/store/rec_*"; without a '/' the directory is the current one. The
// entries "." and ".." are never reported. The order is the directory's.
#ifndef NYCERT_PLATFORM_FIND_FILE_H_
#define NYCERT_PLATFORM_FIND_FILE_H_

#include <cstdint>

#include "nycert/platform/export.h"

#ifndef MAX_PATH
#define MAX_PATH 260
#endif

struct NYCERT_EXPORT WIN32_FIND_DATAA {
  char cFileName[MAX_PATH];  // the entry's name, without its directory
};

typedef void* HANDLE;
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<intptr_t>(-1)))

// Opens the search and fills found with the first match. INVALID_HANDLE_VALUE
// on failure, with errno ENOENT when the directory does not exist or holds no
// match, else the error of opening the directory (EACCES, ENOTDIR, ...).
NYCERT_EXPORT HANDLE FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* found);
// Fills found with the next match: non-zero, or 0 at the end (errno ENOENT)
// or on a read error (errno from the system).
NYCERT_EXPORT int FindNextFileA(HANDLE search, WIN32_FIND_DATAA* found);
// Ends the search: non-zero, or 0 for an invalid handle or a failed close.
NYCERT_EXPORT int FindClose(HANDLE search);

#endif  // NYCERT_PLATFORM_FIND_FILE_H_
