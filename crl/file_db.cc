#include "nycert/crl/file_db.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "nycert/buffers/diag.h"
#include "nycert/platform/fileops.h"
#include "nycert/platform/find_file.h"

// Traces, and errors (severity 1), on the trace channel at level 4.
#define FDB_TRACE(...) OB_TDERROR(kTopic, 4, __VA_ARGS__)
#define FDB_ERROR(...)                                          \
  do {                                                          \
    if (obTopicOn(4)) tderrorFunc(kTopic, 4, 1, __VA_ARGS__);   \
  } while (0)

namespace {

const char kTopic[] = "FileDB";
const char kRecordPrefix[] = "rec_";
const size_t kRecordPrefixLen = sizeof kRecordPrefix - 1;
const char kTempPrefix[] = "tmp";
const int kTempAttempts = 5;

bool HasPrefix(const char* name, const char* prefix) {
  return std::strncmp(name, prefix, std::strlen(prefix)) == 0;
}

// The names in dir matching mask, in directory order: true, or false (reported for me).
bool ListDir(const char* me, const std::string& dir, const char* mask, std::vector<std::string>* names) {
  std::string pattern = dir + "/" + mask;
  WIN32_FIND_DATAA found;
  HANDLE search = FindFirstFileA(pattern.c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) {
    if (errno == ENOENT) return true;
    FDB_ERROR("%s: FindFirstFile('%s'):", me, pattern.c_str());
    return false;
  }
  bool ok = true;
  do {
    names->push_back(found.cFileName);
  } while (FindNextFileA(search, &found));
  if (errno != ENOENT) {
    FDB_ERROR("%s: FindNextFile", me);
    ok = false;
  }
  if (!FindClose(search)) {
    FDB_ERROR("%s: FindClose", me);
    ok = false;
  }
  return ok;
}

// The store directory for name and version: made when missing, absolute and,
// once it exists, with symbolic links resolved so that every spelling of one
// directory gives the same lock name.
std::string StoreDir(const char* me, const char* name, const char* version) {
  std::string dir = std::string(name) + "_" + version;
  char buf[PATH_MAX];
  if (dir[0] != '/' && getcwd(buf, sizeof buf)) dir = std::string(buf) + "/" + dir;
  if (obOsMakeDir(dir.c_str(), 0700) != 0) FDB_ERROR("%s: mkdir(%s)", me, dir.c_str());
  if (realpath(dir.c_str(), buf)) dir = buf;
  return dir;
}

// A fresh temporary file in dir opened "wb", its name in *name; null (reported) on failure.
FILE* MakeTemp(const char* me, const char* dir, std::string* name) {
  for (int attempt = 0; attempt < kTempAttempts; ++attempt) {
    *name = std::string(dir) + "/" + kTempPrefix + "XXXXXX";
    int fd = mkostemp(&(*name)[0], O_CLOEXEC);
    if (fd < 0 && errno == EEXIST) continue;
    if (fd < 0) {
      if (errno == EINVAL) {
        FDB_ERROR("%s: mktemp(%s)", me, name->c_str());
      } else {
        FDB_ERROR("%s: open(%s)", me, name->c_str());
      }
      return nullptr;
    }
    FILE* file = fdopen(fd, "wb");
    if (file) return file;
    FDB_ERROR("%s: open(%s)", me, name->c_str());
    if (close(fd) != 0) FDB_ERROR("%s: close(%s)", me, name->c_str());
    obOsRemove(name->c_str());
    return nullptr;
  }
  FDB_ERROR("%s: open(%s)", me, name->c_str());
  return nullptr;
}

// Writes the bytes, pushes them to the device and closes the file: whether all went well.
bool WriteAndClose(const char* me, FILE* file, const std::string& name, const void* data, int len) {
  bool ok = true;
  if (len > 0 && std::fwrite(data, 1, static_cast<size_t>(len), file) != static_cast<size_t>(len)) {
    FDB_ERROR("%s: fwrite(buf_len=%d)", me, len);
    ok = false;
  }
  if (ok && obOsSyncFile(file) != 0) {
    FDB_ERROR("%s: fsync(%s)", me, name.c_str());
    ok = false;
  }
  if (std::fclose(file) != 0) {
    FDB_ERROR("%s: fclose", me);
    ok = false;
  }
  return ok;
}

// Reads the whole open record into a new buffer at *data: its length, or -1 (reported).
// The size is taken from the open file: a writer may have renamed a new record in
// since the caller looked at the name.
int ReadWhole(const char* me, FILE* file, const std::string& record, void** data) {
  struct stat st;
  if (fstat(fileno(file), &st) != 0) {
    FDB_ERROR("%s: lstat(%s)", me, record.c_str());
    return -1;
  }
  if (st.st_size > INT_MAX) {
    FDB_ERROR("%s: malloc", me);
    return -1;
  }
  size_t size = static_cast<size_t>(st.st_size);
  void* buf = std::malloc(size + 1);
  if (!buf) {
    FDB_ERROR("%s: malloc", me);
    return -1;
  }
  if (std::fread(buf, 1, size, file) != size) {
    FDB_ERROR("%s: fread(len=%d)", me, static_cast<int>(size));
    std::free(buf);
    return -1;
  }
  *data = buf;
  return static_cast<int>(size);
}

void RemoveReported(const char* me, const std::string& name) {
  if (obOsRemove(name.c_str()) != 0) FDB_ERROR("%s: unlink(%s)", me, name.c_str());
}

// Runs op under db's lock, reporting lock failures for me.
template <typename Op>
int Locked(FileDB& db, const char* me, Op op) {
  if (db.Lock() != 0) {
    FDB_ERROR("%s: MtMutexLock failed", me);
    return -1;
  }
  int rc = op();
  if (db.Unlock() != 0) FDB_ERROR("%s: MtMutexUnLock failed", me);
  return rc;
}

}  // namespace

FileDB::FileDB(const char* name, const char* version) {
  static const char me[] = "FileDB::FileDB";
  if (!name || !version) {
    FDB_ERROR("%s: bad args", me);
    return;
  }
  FDB_TRACE("%s: name= %s version= %s", me, name, version);
  std::string dir = StoreDir(me, name, version);
  path_ = strdup(dir.c_str());
  char* lock_name = path_ ? strdup(path_) : nullptr;
  if (!lock_name) {
    FDB_ERROR("FileDB::FileDB: strdup");
    std::free(path_);
    path_ = nullptr;
    return;
  }
  FDB_TRACE("%s: path= %s", me, path_);
  for (char* c = lock_name; *c; ++c) {
    if (*c == '/' || *c == '\\') *c = '_';
  }
  locker_ = MtMutexCreateRecursive(lock_name);
  std::free(lock_name);
}

FileDB::~FileDB() {
  MtMutexDestroy(locker_);
  std::free(path_);
}

int FileDB::Lock() {
  if (!locker_) {
    FDB_ERROR("%s: no locker", "FileDB::Lock");
    return -1;
  }
  return MtMutexLock(locker_);
}

int FileDB::Unlock() {
  if (!locker_) {
    FDB_ERROR("%s: no locker", "FileDB::Unlock");
    return -1;
  }
  return MtMutexUnLock(locker_);
}

bool FileDB::IsOpen(const char* me) const {
  if (!path_) FDB_ERROR("%s: store closed", me);
  return path_ != nullptr;
}

std::string FileDB::RecordPath(const char* key) const { return std::string(path_) + "/" + kRecordPrefix + key; }

int FileDB::Get(const char* key, void** data) {
  static const char me[] = "FileDB::Get";
  if (!IsOpen(me)) return -1;
  if (!key || !data) {
    FDB_ERROR("%s: bad args", me);
    return -1;
  }
  *data = nullptr;
  std::string record = RecordPath(key);
  struct stat st;
  if (lstat(record.c_str(), &st) != 0) {
    FDB_ERROR("%s: lstat(%s)", me, record.c_str());
    return -1;
  }
  FILE* file = std::fopen(record.c_str(), "rb");
  if (!file) {
    FDB_ERROR("%s: fopen(%s)", me, record.c_str());
    return -1;
  }
  int len = ReadWhole(me, file, record, data);
  std::fclose(file);
  return len;
}

int FileDB::Store(const char* key, void* data, int len) {
  static const char me[] = "FileDB::Store";
  if (!IsOpen(me)) return -1;
  if (!key || len < 0 || (!data && len > 0)) {
    FDB_ERROR("%s: bad args", me);
    return -1;
  }
  std::string temp;
  FILE* file = MakeTemp(me, path_, &temp);
  if (!file) return -1;
  FDB_TRACE("%s: save %d bytes in '%s'", me, len, temp.c_str());
  if (!WriteAndClose(me, file, temp, data, len)) {
    FDB_ERROR("%s: fail while storing data in temp file %s", me, temp.c_str());
    RemoveReported(me, temp);
    return -1;
  }
  std::string record = RecordPath(key);
  if (obOsRename(temp.c_str(), record.c_str()) != 0) {
    FDB_ERROR("%s: rename(%s,%s)", me, temp.c_str(), record.c_str());
    RemoveReported(me, temp);
    return -1;
  }
  if (obOsSyncDir(path_) != 0) {
    FDB_ERROR("%s: fsync(%s)", me, path_);
    return -1;
  }
  return 0;
}

int FileDB::Remove(const char* key) {
  static const char me[] = "FileDB::Remove";
  if (!IsOpen(me)) return -1;
  if (!key) {
    FDB_ERROR("%s: bad args", me);
    return -1;
  }
  std::string record = RecordPath(key);
  if (obOsRemove(record.c_str()) != 0) {
    FDB_ERROR("%s: unlink(%s)", me, record.c_str());
    return -1;
  }
  return 0;
}

int FileDB::Destroy() {
  static const char me[] = "FileDB::Destroy";
  if (!IsOpen(me)) return -1;
  return Locked(*this, me, [this] { return RemoveFiles(me); });
}

// Unlinks the records and leftover temporary files, then the directory.
int FileDB::RemoveFiles(const char* me) {
  std::vector<std::string> names;
  if (!ListDir(me, path_, "*", &names)) {
    FDB_ERROR("%s: fdb_iter failed", me);
    return -1;
  }
  int rc = 0;
  for (const std::string& name : names) {
    if (!HasPrefix(name.c_str(), kRecordPrefix) && !HasPrefix(name.c_str(), kTempPrefix)) continue;
    std::string file = std::string(path_) + "/" + name;
    if (obOsRemove(file.c_str()) != 0) {
      FDB_ERROR("%s: unlink(%s)", me, file.c_str());
      rc = -1;
    }
  }
  if (obOsRemoveDir(path_) != 0) {
    FDB_ERROR("%s: rmdir(%s)", me, path_);
    rc = -1;
  }
  return rc;
}

int FileDB_WriteSafe::Store(const char* key, void* data, int len) {
  return Locked(*this, "FileDB_WriteSafe::Store", [&] { return FileDB::Store(key, data, len); });
}

int FileDB_WriteSafe::Remove(const char* key) {
  return Locked(*this, "FileDB_WriteSafe::Remove", [&] { return FileDB::Remove(key); });
}

int FileDB_Safe::Get(const char* key, void** data) {
  return Locked(*this, "FileDB_Safe::Get", [&] { return FileDB::Get(key, data); });
}

FileDB_Iter::FileDB_Iter(FileDB* db) { List(db); }

FileDB_Iter::~FileDB_Iter() { FileDB_Iter::Destroy(); }

bool FileDB_Iter::List(FileDB* db) {
  static const char me[] = "FileDB_Iter::FileDB_Iter";
  std::vector<std::string> names;
  if (!db || !db->Path()) {
    FDB_ERROR("%s: bad args", me);
    return false;
  }
  if (!ListDir(me, db->Path(), (std::string(kRecordPrefix) + "*").c_str(), &names)) return false;
  for (std::string& name : names) keys_.push_back(name.substr(kRecordPrefixLen));
  good_ = true;
  return true;
}

const char* FileDB_Iter::Next() {
  if (!good_) {
    FDB_ERROR("FileDB_Iter::Next: bad iterator");
    return nullptr;
  }
  return next_ < keys_.size() ? keys_[next_++].c_str() : nullptr;
}

int FileDB_Iter::Destroy() {
  good_ = false;
  keys_.clear();
  return 0;
}

FileDB_SafeIter::FileDB_SafeIter(FileDB* db) {
  if (db && db->Lock() != 0) {
    FDB_ERROR("%s: MtMutexLock failed", "FileDB_SafeIter::FileDB_SafeIter");
    return;
  }
  locked_ = db;
  List(db);  // reports a null db
}

FileDB_SafeIter::~FileDB_SafeIter() { FileDB_SafeIter::Destroy(); }

int FileDB_SafeIter::Destroy() {
  FileDB_Iter::Destroy();
  if (!locked_) return 0;
  FileDB* db = locked_;
  locked_ = nullptr;
  if (db->Unlock() == 0) return 0;
  FDB_ERROR("%s: MtMutexUnLock failed", "FileDB_SafeIter::Destroy");
  return -1;
}
