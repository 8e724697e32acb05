#include "nycert/crl/crl_db.h"

#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>
#include <vector>

#include "nycert/buffers/diag.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_db_key.h"
#include "nycert/crl/file_db.h"
#include "nycert/names/general_name.h"
#include "nycert/platform/fileops.h"
#include "nycert/platform/find_file.h"
#include "nycert/platform/obclock.h"

#define CRLDB_TRACE(...) OB_TDERROR("CrlDB", 4, __VA_ARGS__)

namespace {

const char kDirName[] = "CrlCache";
const char kVersion[] = "1";
constexpr size_t kExpiryLen = CrlDBRecord::kExpiryLen;
// The file database writes each record to a file named so first; a writer
// holds one for milliseconds, so one older than a minute was left by a
// writer that died.
const char kTempPrefix[] = "tmp";
const long kTempMaxAge = 60;

std::mutex g_mutex;  // guards g_path and g_fdb
std::string g_path;
// Users hold a reference while they work, so closing the store (InitPath,
// Destroy) never frees it under another thread.
std::shared_ptr<FileDB> g_fdb;

void CloseStore() { g_fdb.reset(); }

// The open store with a reference, opening it when needed; null without one.
std::shared_ptr<FileDB> OpenStore() {
  if (CrlDB::Init() != 0) return nullptr;
  std::lock_guard<std::mutex> hold(g_mutex);
  return g_fdb;
}

// A store of the locking class FDB_ENV_LOCK_TYPE names.
FileDB* MakeStore(const char* me, const std::string& name) {
  const char* type = std::getenv("FDB_ENV_LOCK_TYPE");
  CRLDB_TRACE("%s: FDB_ENV_LOCK_TYPE=%s", me, type ? type : "");
  std::string chosen = type ? type : "";
  if (chosen == "NO_LOCK") return new FileDB(name.c_str(), kVersion);
  if (chosen == "LOCK_ALL") return new FileDB_Safe(name.c_str(), kVersion);
  return new FileDB_WriteSafe(name.c_str(), kVersion);
}

uint32_t StoredExpiry(long expiry) {
  if (expiry <= 0) return 0;
  if (static_cast<unsigned long>(expiry) >= UINT32_MAX) return UINT32_MAX;
  return static_cast<uint32_t>(expiry);
}

// The record of crl expiring at expiry with trailer after the DER, in a new
// block (malloc) of *len octets; null when it cannot be made.
unsigned char* MakeRecord(long expiry, const obCRL& crl, const std::string& trailer, int* len) {
  size_t size = kExpiryLen + crl.BufLen() + trailer.size();
  if (size > INT_MAX) return nullptr;
  unsigned char* record = static_cast<unsigned char*>(std::malloc(size));
  if (!record) return nullptr;
  uint32_t stored = StoredExpiry(expiry);
  for (size_t i = 0; i < kExpiryLen; ++i) record[i] = static_cast<unsigned char>(stored >> (8 * i));
  std::memcpy(record + kExpiryLen, crl.GetBuf(), crl.BufLen());
  if (!trailer.empty()) std::memcpy(record + kExpiryLen + crl.BufLen(), trailer.data(), trailer.size());
  *len = static_cast<int>(size);
  return record;
}

// The CRL of the record of key, checked as Get promises; null (reported for me).
obCRL* ReadCrl(const char* me, FileDB* fdb, const std::string& key, long* expiry) {
  bool shortened = false;
  std::string fileKey = CrlDB_EncodeKey(key, &shortened);
  CrlDBRecord record;
  if (record.Load(fdb, fileKey.c_str()) != 0) {
    CRLDB_TRACE("%s: record not found", me);
    return nullptr;
  }
  if (record.IsOld(ob_time_now())) {
    CRLDB_TRACE("%s: old record", me);
    return nullptr;
  }
  obDerSpan trailer = record.Trailer();
  bool belongs = shortened ? trailer.Equal(reinterpret_cast<const unsigned char*>(key.data()), key.size())
                           : trailer.empty();
  obDerSpan der = record.Crl();
  obCRL* crl = belongs ? new obCRL(der.data, static_cast<unsigned>(der.size)) : nullptr;
  if (!crl || !crl->OK()) {
    obFreeSigned(crl);
    CRLDB_TRACE("%s: bad crl", me);
    return nullptr;
  }
  if (expiry) *expiry = record.Expiry();
  return crl;
}

// Removes the temporary files in dir last written kTempMaxAge seconds or
// more before now. Names are listed first, then removed.
void RemoveStaleTemps(const char* me, const std::string& dir, long now) {
  std::vector<std::string> names;
  WIN32_FIND_DATAA found;
  HANDLE search = FindFirstFileA((dir + "/" + kTempPrefix + "*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    names.push_back(found.cFileName);
  } while (FindNextFileA(search, &found));
  FindClose(search);
  for (const std::string& name : names) {
    std::string file = dir + "/" + name;
    struct stat st;
    if (lstat(file.c_str(), &st) != 0 || !S_ISREG(st.st_mode) || now - st.st_mtime < kTempMaxAge) continue;
    if (obOsRemove(file.c_str()) == 0) {
      CRLDB_TRACE("%s: removed the leftover %s", me, file.c_str());
    } else {
      CRLDB_TRACE("%s: unlink(%s)", me, file.c_str());
    }
  }
}

}  // namespace

CrlDBRecord::~CrlDBRecord() { std::free(data_); }

int CrlDBRecord::Load(FileDB* fdb, const char* fileKey) {
  std::free(data_);
  data_ = nullptr;
  len_ = 0;
  void* data = nullptr;
  int len = fdb && fileKey ? fdb->Get(fileKey, &data) : -1;
  if (len < 0) return -1;
  data_ = static_cast<unsigned char*>(data);
  len_ = static_cast<size_t>(len);
  return 0;
}

long CrlDBRecord::Expiry() const {
  if (len_ < kExpiryLen) return 0;
  uint32_t stored = 0;
  for (size_t i = 0; i < kExpiryLen; ++i) stored |= static_cast<uint32_t>(data_[i]) << (8 * i);
  return static_cast<long>(std::min<unsigned long>(stored, LONG_MAX));
}

bool CrlDBRecord::IsOld(long now) const { return len_ < kExpiryLen || Expiry() <= now; }

obDerSpan CrlDBRecord::Crl() const {
  if (len_ <= kExpiryLen) return {};
  obDerSpan rest{data_ + kExpiryLen, len_ - kExpiryLen};
  obDerReader reader(rest);
  obDerElement first;
  return reader.Next(first) ? first.tlv : rest;
}

obDerSpan CrlDBRecord::Trailer() const {
  obDerSpan crl = Crl();
  if (!crl.data) return {};
  const unsigned char* end = crl.data + crl.size;
  return {end, static_cast<size_t>(data_ + len_ - end)};
}

int CrlDBRecord::Key(const std::string& fileKey, std::string* key) const {
  int rc = CrlDB_DecodeKey(fileKey, key);
  if (rc != 1) return rc;
  obDerSpan trailer = Trailer();
  std::string whole(reinterpret_cast<const char*>(trailer.data), trailer.size);
  if (whole.empty() || CrlDB_EncodeKey(whole) != fileKey) return -1;
  *key = whole;
  return 0;
}

int CrlDB::InitPath(const char* path) {
  std::lock_guard<std::mutex> hold(g_mutex);
  g_path = path ? path : "";
  CloseStore();
  return 0;
}

std::string CrlDB::Path() {
  std::lock_guard<std::mutex> hold(g_mutex);
  return g_path;
}

std::string CrlDB::Directory() {
  std::string path = Path();
  return path.empty() ? path : path + "/" + kDirName + "_" + kVersion;
}

int CrlDB::Init() {
  static const char me[] = "CrlDB::Init";
  std::lock_guard<std::mutex> hold(g_mutex);
  if (g_fdb) return 0;
  if (g_path.empty()) {
    CRLDB_TRACE("%s: no path", me);
    return -1;
  }
  CRLDB_TRACE("%s: path= %s", me, g_path.c_str());
  g_fdb.reset(MakeStore(me, g_path + "/" + kDirName));
  if (g_fdb->Path()) return 0;
  CloseStore();
  return -1;
}

FileDB* CrlDB::FDB() {
  std::lock_guard<std::mutex> hold(g_mutex);
  return g_fdb.get();
}

std::string CrlDB::Key(const obGeneralName& dp, const char* suffix) {
  static const char me[] = "CrlDB::Key";
  const char* text = dp.GetStr();
  std::string key = text ? text : "";
  CRLDB_TRACE("%s: buf= %s", me, key.c_str());
  key += suffix ? suffix : "";
  CRLDB_TRACE("%s: key= %s", me, key.c_str());
  return key;
}

int CrlDB::Store(const obGeneralName* dp, const char* suffix, obCRL* crl, long expiry) {
  static const char me[] = "CrlDB::Store";
  if (!dp || !crl || !crl->GetBuf() || crl->BufLen() == 0) {
    CRLDB_TRACE("%s: bad args", me);
    return -1;
  }
  std::shared_ptr<FileDB> fdb = OpenStore();
  if (!fdb) return -1;
  std::string key = Key(*dp, suffix);
  bool shortened = false;
  std::string fileKey = CrlDB_EncodeKey(key, &shortened);
  int len = 0;
  unsigned char* record = MakeRecord(expiry, *crl, shortened ? key : std::string(), &len);
  if (!record) {
    CRLDB_TRACE("%s: malloc", me);
    return -1;
  }
  int rc = fdb->Store(fileKey.c_str(), record, len);
  std::free(record);
  if (rc != 0) CRLDB_TRACE("%s: fdb->Store failed", me);
  return rc == 0 ? 0 : -1;
}

obCRL* CrlDB::Get(const obGeneralName* dp, const char* suffix, long* expiry) {
  static const char me[] = "CrlDB::Get";
  if (!dp) {
    CRLDB_TRACE("%s: bad args", me);
    return nullptr;
  }
  std::shared_ptr<FileDB> fdb = OpenStore();
  return fdb ? ReadCrl(me, fdb.get(), Key(*dp, suffix), expiry) : nullptr;
}

int CrlDB::Remove(const obGeneralName* dp, const char* suffix) {
  static const char me[] = "CrlDB::Remove";
  if (!dp) {
    CRLDB_TRACE("%s: bad args", me);
    return -1;
  }
  std::shared_ptr<FileDB> fdb = OpenStore();
  if (!fdb) return -1;
  std::string fileKey = CrlDB_EncodeKey(Key(*dp, suffix));
  if (fdb->Remove(fileKey.c_str()) == 0) return 0;
  CRLDB_TRACE("%s: fdb->Remove failed (key = %s).", me, fileKey.c_str());
  return -1;
}

int CrlDB::GarbageCollector() {
  static const char me[] = "CrlDB::GarbageCollector";
  long now = ob_time_now();
  CRLDB_TRACE("%s: Performing CRL cache garbage collection.", me);
  CRLDB_TRACE("%s: time", me);
  CRLDB_TRACE("%s: now= %ld", me, now);
  std::shared_ptr<FileDB> held = OpenStore();
  if (!held) return -1;
  FileDB* fdb = held.get();
  FileDB_SafeIter keys(fdb);
  int removed = 0;
  for (const char* key = keys.Next(); key; key = keys.Next()) {
    CrlDBRecord record;
    if (record.Load(fdb, key) != 0) {
      CRLDB_TRACE("%s: fdb->Get failed (key = %s).", me, key);
    } else if (record.IsOld(now)) {
      if (fdb->Remove(key) == 0) {
        ++removed;
      } else {
        CRLDB_TRACE("%s: fdb->Remove failed (key = %s).", me, key);
      }
    }
  }
  RemoveStaleTemps(me, fdb->Path(), now);
  keys.Destroy();
  CRLDB_TRACE("%s: removed %d records", me, removed);
  return removed;
}

int CrlDB::Destroy() {
  static const char me[] = "CrlDB::Destroy";
  std::shared_ptr<FileDB> fdb = OpenStore();
  {
    std::lock_guard<std::mutex> hold(g_mutex);
    if (g_fdb == fdb) CloseStore();
  }
  int rc = fdb ? fdb->Destroy() : -1;
  if (rc != 0) CRLDB_TRACE("%s: fdb->Destroy failed", me);
  return rc == 0 ? 0 : -1;
}
