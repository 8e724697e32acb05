#include "nycert/platform/fileops.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

int Invalid() {
  errno = EINVAL;
  return -1;
}

int SyncFd(int fd) {
  int rc;
  do {
    rc = fsync(fd);
  } while (rc != 0 && errno == EINTR);
  return rc == 0 ? 0 : -1;
}

}  // namespace

int obOsRemove(const char* path) {
  if (!path) return Invalid();
  return unlink(path) == 0 ? 0 : -1;
}

int obOsRename(const char* from, const char* to) {
  if (!from || !to) return Invalid();
  return rename(from, to) == 0 ? 0 : -1;
}

int obOsMakeDir(const char* path, int mode) {
  if (!path) return Invalid();
  if (mkdir(path, static_cast<mode_t>(mode)) == 0) return 0;
  int error = errno;
  struct stat st;
  if (error == EEXIST && stat(path, &st) == 0 && S_ISDIR(st.st_mode)) return 0;
  errno = error;
  return -1;
}

int obOsRemoveDir(const char* path) {
  if (!path) return Invalid();
  return rmdir(path) == 0 ? 0 : -1;
}

int obOsSyncFile(FILE* file) {
  if (!file) return Invalid();
  if (std::fflush(file) != 0) return -1;
  return SyncFd(fileno(file));
}

int obOsSyncDir(const char* path) {
  if (!path) return Invalid();
  int fd = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return -1;
  int rc = SyncFd(fd);
  int error = errno;
  close(fd);
  errno = error;
  return rc;
}
