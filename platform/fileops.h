// File removal, renaming and durable writes of the OS support layer.
//
// Every function answers 0, or -1 with errno set (EINVAL for a null argument).
#ifndef NYCERT_PLATFORM_FILEOPS_H_
#define NYCERT_PLATFORM_FILEOPS_H_

#include <cstdio>

#include "nycert/platform/export.h"

// Removes a file (not a directory).
NYCERT_EXPORT int obOsRemove(const char* path);
// Renames from to to, atomically replacing a file already at to.
NYCERT_EXPORT int obOsRename(const char* from, const char* to);
// Makes a directory with the permission bits mode; one that already exists is not an error.
NYCERT_EXPORT int obOsMakeDir(const char* path, int mode);
// Removes an empty directory.
NYCERT_EXPORT int obOsRemoveDir(const char* path);
// Pushes the stream's buffer to the file and the file's data to the device.
NYCERT_EXPORT int obOsSyncFile(FILE* file);
// Pushes a directory's entries (names made, renamed or removed) to the device.
NYCERT_EXPORT int obOsSyncDir(const char* path);

#endif  // NYCERT_PLATFORM_FILEOPS_H_
