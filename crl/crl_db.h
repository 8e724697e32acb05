// CrlDB: the CRL database, the on-disk level of the CRL cache. Fetched CRLs
// are kept one per file, keyed by distribution point, with an expiry time,
// so that they outlive the process and are shared between processes.
//
// The database is one module-wide store. InitPath sets the directory it
// lives under (the CRL cache's obCRLCache_set_dbpath passes its path here);
// the store is the file database "<path>/CrlCache" of format version "1",
// so its files are in "<path>/CrlCache_1". Init opens it on first use with
// the locking class that the environment variable FDB_ENV_LOCK_TYPE names:
//
//   NO_LOCK     FileDB            no in-process lock
//   LOCK_WRITE  FileDB_WriteSafe  Store and Remove under the lock (default)
//   LOCK_ALL    FileDB_Safe       Get as well
//
// LOCK_WRITE is the default, and stands for any other value too: readers
// need no lock because a record is replaced by an atomic rename, while
// writers must not slip between the garbage collector's reading of a
// record and its removal (the collector holds the lock for its walk).
// InitPath and Destroy close the store; operations that other threads have
// under way finish on the store they started with.
//
// A record is:
//
//   offset 0, 4 octets  expiry time, seconds since 1970, little-endian
//   offset 4            the CRL's DER
//   after the DER       the whole record key, only in records whose file
//                       key is shortened (see crl_db_key.h)
//
// The expiry field is read as unsigned, so times up to 2106 keep their
// value; on storing, times before 1970 become 0 and times past 2106 become
// 2^32-1. Hosts that read the field as a signed 32-bit count see times past
// 2038 as already passed and fetch the CRL again, which is safe.
//
// A record is old when it is shorter than the expiry field or its expiry
// time is not after now: a record expiring this very second is old.
//
// Record keys are "<distribution point text><suffix>"; the suffix tells
// apart the records of one distribution point (the kinds of CRL).
// Lines go to the trace channel under the topic "CrlDB" at level 4.
#ifndef NYCERT_CRL_CRL_DB_H_
#define NYCERT_CRL_CRL_DB_H_

#include <string>

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/platform/export.h"

class FileDB;
class obCRL;
class obGeneralName;

// The bytes of one record, split into their fields but not judged.
class NYCERT_EXPORT CrlDBRecord {
 public:
  // The expiry field's size: shorter records are old.
  static constexpr size_t kExpiryLen = 4;

  CrlDBRecord() = default;
  ~CrlDBRecord();
  CrlDBRecord(const CrlDBRecord&) = delete;
  CrlDBRecord& operator=(const CrlDBRecord&) = delete;

  // Reads the record stored in fdb under fileKey: 0, or -1 when there is
  // none or it cannot be read.
  int Load(FileDB* fdb, const char* fileKey);

  // The record's size in octets.
  size_t Size() const { return len_; }
  // The expiry time; 0 for a record shorter than the expiry field.
  long Expiry() const;
  // Whether the record is old at now.
  bool IsOld(long now) const;
  // The CRL's DER: the first DER element after the expiry field, or all the
  // rest when it does not start with one.
  obDerSpan Crl() const;
  // What follows the CRL's DER.
  obDerSpan Trailer() const;
  // The record key of this record stored under fileKey: 0, or -1 when the
  // file key is not one CrlDB makes or does not belong to the record.
  int Key(const std::string& fileKey, std::string* key) const;

 private:
  unsigned char* data_ = nullptr;
  size_t len_ = 0;
};

class NYCERT_EXPORT CrlDB {
 public:
  CrlDB() = delete;

  // Sets the directory the database lives under (null or "" for none) and
  // closes the store: 0.
  static int InitPath(const char* path);
  // The configured directory, "" when none.
  static std::string Path();
  // The store's own directory, "<path>/CrlCache_1"; "" without a path.
  static std::string Directory();
  // Opens the store when it is not open: 0, or -1 without a path or when the
  // store cannot be opened.
  static int Init();
  // The open store, or null; valid until the next InitPath or Destroy.
  static FileDB* FDB();

  // The record key of a distribution point and suffix (null for none).
  static std::string Key(const obGeneralName& dp, const char* suffix);

  // Stores crl under the key of dp and suffix, to expire at expiry: 0, or -1.
  static int Store(const obGeneralName* dp, const char* suffix, obCRL* crl, long expiry);
  // A new CRL (the caller frees it with obFreeSigned) from the record of dp
  // and suffix, with its expiry at *expiry when given; null when there is no
  // such record, it is old, or it does not hold a good CRL.
  static obCRL* Get(const obGeneralName* dp, const char* suffix, long* expiry = nullptr);
  // Removes the record of dp and suffix: 0, or -1.
  static int Remove(const obGeneralName* dp, const char* suffix);

  // Removes the old records, and temporary files that interrupted writes
  // left behind a minute or more ago: the number of records removed, or -1.
  static int GarbageCollector();
  // Removes every record and the store's directory: 0, or -1.
  static int Destroy();
};

#endif  // NYCERT_CRL_CRL_DB_H_
