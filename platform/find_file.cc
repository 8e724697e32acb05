#include "nycert/platform/find_file.h"

#include <dirent.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

struct FindState {
  DIR* dir;
  std::string mask;
};

// Wildcard match of name against mask: '*' any run, '?' any one character.
// On a mismatch after a '*', the star absorbs one more character and the
// rest is tried again.
bool Matches(const char* mask, const char* name) {
  const char* star = nullptr;
  const char* resume = nullptr;
  while (*name) {
    if (*mask == '*') {
      star = mask++;
      resume = name;
    } else if (*mask == '?' || *mask == *name) {
      ++mask;
      ++name;
    } else if (star) {
      mask = star + 1;
      name = ++resume;
    } else {
      return false;
    }
  }
  while (*mask == '*') ++mask;
  return *mask == '\0';
}

// Reads entries until one matches: 1 found, 0 at the end or on error (errno says which).
int NextMatch(FindState* state, WIN32_FIND_DATAA* found) {
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(state->dir);
    if (!entry) {
      if (errno == 0) errno = ENOENT;
      return 0;
    }
    const char* name = entry->d_name;
    if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) continue;
    if (std::strlen(name) >= sizeof found->cFileName || !Matches(state->mask.c_str(), name)) continue;
    std::strcpy(found->cFileName, name);
    return 1;
  }
}

}  // namespace

HANDLE FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* found) {
  if (!pattern || !found) {
    errno = EINVAL;
    return INVALID_HANDLE_VALUE;
  }
  const char* slash = std::strrchr(pattern, '/');
  std::string dir = slash ? std::string(pattern, slash == pattern ? 1 : slash - pattern) : ".";
  FindState* state = new FindState{opendir(dir.c_str()), slash ? slash + 1 : pattern};
  if (state->dir && NextMatch(state, found)) return state;
  int error = errno;
  if (state->dir) closedir(state->dir);
  delete state;
  errno = error;
  return INVALID_HANDLE_VALUE;
}

int FindNextFileA(HANDLE search, WIN32_FIND_DATAA* found) {
  if (!search || search == INVALID_HANDLE_VALUE || !found) {
    errno = EINVAL;
    return 0;
  }
  return NextMatch(static_cast<FindState*>(search), found);
}

int FindClose(HANDLE search) {
  if (!search || search == INVALID_HANDLE_VALUE) return 0;
  FindState* state = static_cast<FindState*>(search);
  int closed = closedir(state->dir);
  delete state;
  return closed == 0;
}
