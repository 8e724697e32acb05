// FileDB: a key-to-blob store on the file system.
//
// One directory per store, "<name>_<version>", made (mode 0700) when
// missing; a relative name is taken from the current directory at
// construction and the store keeps the resolved absolute path. Each record is
// the file "rec_<key>" in that directory holding exactly the stored bytes.
// A write goes to a fresh "tmpXXXXXX" file in the same directory, is flushed
// to the device, renamed over the record and the directory is flushed in
// turn, so readers and a crash leave the old or the new record, never a torn
// one. Keys are used in the file name as they stand: callers pass keys that
// are safe as one file-name component (no '/', at most 251 octets).
//
// Each store owns a named recursive mutex shared by every FileDB on the same
// directory in the process. FileDB itself never takes it; FileDB_WriteSafe
// takes it around Store and Remove, FileDB_Safe around Get as well. The
// mutex does not reach other processes: they rely on the atomic rename.
//
// Lines go to the trace channel under the topic "FileDB" at level 4.
#ifndef NYCERT_CRL_FILE_DB_H_
#define NYCERT_CRL_FILE_DB_H_

#include <string>
#include <vector>

#include "nycert/platform/export.h"
#include "nycert/platform/mtmutex.h"

class NYCERT_EXPORT FileDB {
 public:
  FileDB(const char* name, const char* version);
  virtual ~FileDB();
  FileDB(const FileDB&) = delete;
  FileDB& operator=(const FileDB&) = delete;

  // 0, or -1 when there is no locker.
  int Lock();
  int Unlock();

  // The record's length, with its bytes in a new buffer (malloc; the caller
  // frees it) at *data; -1 when there is no such record or it cannot be read.
  virtual int Get(const char* key, void** data);
  // Writes len bytes as the record of key, replacing any earlier one: 0, or -1.
  virtual int Store(const char* key, void* data, int len);
  // Removes the record of key: 0, or -1.
  virtual int Remove(const char* key);
  // Under the lock, removes every record, any temporary file left by an
  // interrupted write, and the directory: 0, or -1.
  int Destroy();

  // The store's directory, or null when the store could not be opened.
  const char* Path() const { return path_; }

 protected:
  // Whether the store is open; reports for me when it is not.
  bool IsOpen(const char* me) const;
  std::string RecordPath(const char* key) const;

 private:
  int RemoveFiles(const char* me);

  char* path_ = nullptr;
  MtMutexHandle locker_ = nullptr;
};

class NYCERT_EXPORT FileDB_WriteSafe : public FileDB {
 public:
  using FileDB::FileDB;
  int Store(const char* key, void* data, int len) override;
  int Remove(const char* key) override;
};

class NYCERT_EXPORT FileDB_Safe : public FileDB_WriteSafe {
 public:
  using FileDB_WriteSafe::FileDB_WriteSafe;
  int Get(const char* key, void** data) override;
};

// The record keys of a store, listed when the iterator is made, in directory order.
class NYCERT_EXPORT FileDB_Iter {
 public:
  explicit FileDB_Iter(FileDB* db);
  virtual ~FileDB_Iter();
  FileDB_Iter(const FileDB_Iter&) = delete;
  FileDB_Iter& operator=(const FileDB_Iter&) = delete;

  // The next key (valid until the iterator goes), or null after the last;
  // null with a report when the listing failed or the iterator was destroyed.
  const char* Next();
  // Ends the iteration: 0, or -1 when a held lock cannot be released.
  virtual int Destroy();

 protected:
  FileDB_Iter() = default;
  // Lists the keys of db: true, or false (reported) with the iterator left bad.
  bool List(FileDB* db);

 private:
  std::vector<std::string> keys_;
  size_t next_ = 0;
  bool good_ = false;
};

// An iterator that holds the store's lock from its making to its Destroy.
class NYCERT_EXPORT FileDB_SafeIter : public FileDB_Iter {
 public:
  explicit FileDB_SafeIter(FileDB* db);
  ~FileDB_SafeIter() override;
  int Destroy() override;

 private:
  FileDB* locked_ = nullptr;
};

#endif  // NYCERT_CRL_FILE_DB_H_
