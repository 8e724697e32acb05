// Reads arbitrary bytes as a CRL database record, as a damaged or hostile
// file in the store would be, under a short key and under a long one whose
// file name is shortened (the record then also carries the whole key). What
// Get returns must be a good CRL that stores and reads back to the same DER.
// The store lives in memory-backed /dev/shm when there is one, so that the
// writes' fsyncs cost little.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "nycert/crl/crl.h"
#include "nycert/crl/crl_db.h"
#include "nycert/crl/crl_db_key.h"
#include "nycert/crl/file_db.h"
#include "nycert/names/general_name.h"

namespace {

const char kSuffix[] = "#0";

void OpenStore() {
  std::string dir = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
  dir += "/nycert-fuzz-crldb-XXXXXX";
  if (!mkdtemp(&dir[0]) || CrlDB::InitPath(dir.c_str()) != 0 || CrlDB::Init() != 0) abort();
  std::atexit([] {
    std::string path = CrlDB::Path();
    CrlDB::Destroy();
    rmdir(path.c_str());
  });
}

obGeneralName Uri(const std::string& text) {
  return obGeneralName(obGN_uniformResourceIdentifier, text.c_str(), static_cast<int>(text.size()));
}

void ReadRecord(const obGeneralName& dp, const uint8_t* data, size_t size) {
  std::string fileKey = CrlDB_EncodeKey(CrlDB::Key(dp, kSuffix));
  std::string record(reinterpret_cast<const char*>(data), size);
  if (CrlDB::FDB()->Store(fileKey.c_str(), &record[0], static_cast<int>(size)) != 0) abort();
  long expiry = 0;
  obCRL* crl = CrlDB::Get(&dp, kSuffix, &expiry);
  if (!crl) return;
  if (!crl->OK() || CrlDB::Store(&dp, kSuffix, crl, expiry) != 0) abort();
  long again = 0;
  obCRL* back = CrlDB::Get(&dp, kSuffix, &again);
  if (!back || again != expiry || back->BufLen() != crl->BufLen() ||
      std::memcmp(back->GetBuf(), crl->GetBuf(), crl->BufLen()) != 0)
    abort();
  obFreeSigned(back);
  obFreeSigned(crl);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool opened = (OpenStore(), true);
  static const obGeneralName shortKey = Uri("http://crl.example.com/ca.crl");
  static const obGeneralName longKey = Uri("http://crl.example.com/" + std::string(240, 'x') + ".crl");
  (void)opened;
  ReadRecord(shortKey, data, size);
  ReadRecord(longKey, data, size);
  return 0;
}
