// The CRL database: records and their expiry, keys as file names, damaged
// records, the garbage collector, locking classes, CRL numbers, and what
// killed or concurrent writers leave.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <typeinfo>
#include <vector>

#include "nycert/crl/crl.h"
#include "nycert/crl/crl_db.h"
#include "nycert/crl/crl_db_key.h"
#include "nycert/crl/crl_number.h"
#include "nycert/crl/file_db.h"
#include "nycert/names/general_name.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/find_file.h"
#include "support/cert_pki.h"
#include "support/tool_run.h"

namespace {

using CrlPtr = SignedPtr<obCRL>;

long Now() { return static_cast<long>(std::time(nullptr)); }

obGeneralName Uri(const std::string& text) {
  return obGeneralName(obGN_uniformResourceIdentifier, text.c_str(), static_cast<int>(text.size()));
}

// Two CRLs of the shared PKI: an empty one and one of about 60 KB.
const Bytes& CrlDer(int which) {
  static const Bytes crls[2] = {MakeCrl(SharedPki(), {}), [] {
                                  std::vector<RevokedEntry> revoked;
                                  for (int i = 1; i <= 2000; ++i) revoked.push_back(RevokedEntry{SerialOctets(i)});
                                  return MakeCrl(SharedPki(), revoked);
                                }()};
  return crls[which];
}

Bytes Der(const obCRL& crl) { return Bytes(crl.GetBuf(), crl.GetBuf() + crl.BufLen()); }

Bytes Record(uint32_t expiry, const Bytes& body) {
  Bytes record;
  for (int i = 0; i < 4; ++i) record.push_back(static_cast<unsigned char>(expiry >> (8 * i)));
  record.insert(record.end(), body.begin(), body.end());
  return record;
}

// Writes bytes as the record of key, past CrlDB::Store.
void PutRaw(const std::string& key, const Bytes& record) {
  ASSERT_EQ(0, CrlDB::Init());
  ASSERT_EQ(0, CrlDB::FDB()->Store(CrlDB_EncodeKey(key).c_str(), const_cast<unsigned char*>(record.data()),
                                   static_cast<int>(record.size())));
}

bool Exists(const std::string& key) {
  CrlDBRecord record;
  return record.Load(CrlDB::FDB(), CrlDB_EncodeKey(key).c_str()) == 0;
}

std::string Line(const std::string& text) { return "[CrlDB:4] " + text; }

// Get of dp and suffix as an exit status: 0 for a CRL, 1 for none.
int GetStatus(const obGeneralName& dp, const char* suffix) { return CrlPtr(CrlDB::Get(&dp, suffix)) ? 0 : 1; }

std::vector<std::string> TempFiles() {
  std::vector<std::string> names;
  WIN32_FIND_DATAA found;
  HANDLE search = FindFirstFileA((CrlDB::Directory() + "/tmp*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return names;
  do {
    names.push_back(CrlDB::Directory() + "/" + found.cFileName);
  } while (FindNextFileA(search, &found));
  FindClose(search);
  return names;
}

void Age(const std::string& file, long seconds) {
  struct timeval times[2] = {{Now() - seconds, 0}, {Now() - seconds, 0}};
  ASSERT_EQ(0, utimes(file.c_str(), times));
}

class CrlDbTest : public ::testing::Test {
 protected:
  void SetUp() override { CrlDB::InitPath(dir_.path().c_str()); }
  void TearDown() override { CrlDB::InitPath(nullptr); }
  TempDir dir_;
};

TEST_F(CrlDbTest, StoreGetRemoveRoundTrip) {
  obGeneralName uri = Uri("http://ca.example/crl/ICA_CRL1.crl");
  obGeneralName dn{obDN("CN=ICA_CRL2,O=Example,C=US")};
  CrlPtr crl = Decoded<obCRL>(CrlDer(1));
  long expiry = Now() + 3600;
  for (const obGeneralName* dp : {&uri, &dn}) {
    SCOPED_TRACE(dp->GetStr());
    EXPECT_EQ(0, Gated([&] { return CrlDB::Store(dp, "#1", crl.get(), expiry); },
                       Line("CrlDB::Key: key= " + std::string(dp->GetStr()) + "#1")));
    long got = 0;
    CrlPtr back(CrlDB::Get(dp, "#1", &got));
    ASSERT_TRUE(back && back->OK());
    EXPECT_EQ(CrlDer(1), Der(*back));
    EXPECT_EQ(expiry, got);
    EXPECT_EQ(1, Gated([&] { return GetStatus(*dp, "#0"); }, Line("CrlDB::Get: record not found")));
  }
  EXPECT_EQ(dir_.path() + "/CrlCache_1", CrlDB::Directory());

  EXPECT_EQ(0, CrlDB::Remove(&uri, "#1"));
  EXPECT_EQ(1, GetStatus(uri, "#1"));
  EXPECT_EQ(0, GetStatus(dn, "#1"));
  std::string fileKey = CrlDB_EncodeKey("http://ca.example/crl/ICA_CRL1.crl#1");
  EXPECT_EQ(-1, Gated([&] { return CrlDB::Remove(&uri, "#1"); },
                      Line("CrlDB::Remove: fdb->Remove failed (key = " + fileKey + ").")));

  EXPECT_EQ(0, CrlDB::Destroy());
  struct stat st;
  EXPECT_NE(0, stat(CrlDB::Directory().c_str(), &st));
  EXPECT_EQ(1, GetStatus(dn, "#1"));  // a later use opens a fresh, empty store
}

TEST_F(CrlDbTest, BadArgumentsAndNoPath) {
  obGeneralName dp = Uri("http://ca.example/a.crl");
  CrlPtr crl = Decoded<obCRL>(CrlDer(0));
  const struct {
    std::function<int()> op;
    int result;
    const char* message;
  } cases[] = {
      {[&] { return CrlDB::Store(&dp, "", nullptr, Now() + 60); }, -1, "CrlDB::Store: bad args"},
      {[&] { return CrlPtr(CrlDB::Get(nullptr, "")) ? 0 : -1; }, -1, "CrlDB::Get: bad args"},
      {[&] { return CrlDB::Remove(nullptr, ""); }, -1, "CrlDB::Remove: bad args"},
      {[&] { return CrlDB::InitPath(nullptr) + CrlDB::Store(&dp, "", crl.get(), Now() + 60); }, -1,
       "CrlDB::Init: no path"},
      {[&] { return CrlDB::InitPath("") + GetStatus(dp, ""); }, 1, "CrlDB::Init: no path"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.result, Gated(c.op, Line(c.message))) << c.message;
  EXPECT_EQ(nullptr, CrlDB::FDB());
  EXPECT_EQ("", CrlDB::Directory());
}

TEST(CrlDbKey, FileKeysAreSafeReversibleAndDistinct) {
  std::string longMixed = Repeat("a/%.?~", 170);
  const std::vector<std::string> keys = {
      "http://ca.example/crl/ICA_CRL1.crl#1", ".", "..", "", "a/b", "a%2Fb", "~", "\xc3\xa9t\x01\x7f\xff",
      std::string(200, 'a'), std::string(201, 'a'), std::string(1000, '/'), std::string(999, 'a') + "b",
      std::string(1000, 'a'), longMixed, longMixed + "x", std::string(66, '/') + "x", std::string(66, '/') + "y",
  };
  std::set<std::string> seen;
  for (const std::string& key : keys) {
    SCOPED_TRACE(key.substr(0, 40));
    bool shortened = false;
    std::string fileKey = CrlDB_EncodeKey(key, &shortened), back;
    EXPECT_TRUE(seen.insert(fileKey).second) << "collision: " << fileKey;
    EXPECT_LE(fileKey.size(), kCrlDBFileKeyMax);
    EXPECT_EQ(std::string::npos, fileKey.find_first_not_of(
                                     "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-%~"));
    EXPECT_NE('.', fileKey.empty() ? 'x' : fileKey[0]);
    EXPECT_EQ(shortened ? 1 : 0, CrlDB_DecodeKey(fileKey, &back));
    EXPECT_EQ(shortened ? key.substr(0, back.size()) : key, back);
    EXPECT_TRUE(!shortened || back.size() > 20u);
  }
  EXPECT_EQ("http%3A%2F%2Fca.example%2FICA_CRL1.crl%23x", CrlDB_EncodeKey("http://ca.example/ICA_CRL1.crl#x"));
  EXPECT_EQ("%2E.", CrlDB_EncodeKey(".."));
  EXPECT_EQ(std::string(200, 'a'), CrlDB_EncodeKey(std::string(200, 'a')));

  // Decoding takes only what encoding makes.
  std::string digest(64, 'a'), key;
  for (const std::string& fileKey : {std::string("%41"), std::string("%2e"), std::string("%2"), std::string("a/b"),
                                     std::string(".x"), std::string("%00"), std::string("abc~short"),
                                     "x~" + std::string(64, 'A'), std::string(201, 'a'), std::string(140, 'a') + "~" + digest})
    EXPECT_EQ(-1, CrlDB_DecodeKey(fileKey, &key)) << fileKey;
  EXPECT_EQ(1, CrlDB_DecodeKey("ab~" + digest, &key));
  EXPECT_EQ("ab", key);
}

TEST_F(CrlDbTest, ExpiryTimesFromThisSecondToPast2106) {
  obGeneralName dp = Uri("http://ca.example/far.crl");
  long now = Now();
  PutRaw(dp.GetStr(), Record(static_cast<uint32_t>(now), CrlDer(0)));
  EXPECT_EQ(1, Gated([&] { return GetStatus(dp, nullptr); }, Line("CrlDB::Get: old record")));
  CrlDBRecord record;
  ASSERT_EQ(0, record.Load(CrlDB::FDB(), CrlDB_EncodeKey(dp.GetStr()).c_str()));
  EXPECT_TRUE(record.IsOld(now));
  EXPECT_FALSE(record.IsOld(now - 1));

  if (sizeof(long) < 8) GTEST_SKIP() << "long holds no time past 2038";
  CrlPtr crl = Decoded<obCRL>(CrlDer(0));
  struct Case {
    long stored;
    const char* octets;  // the expiry field as written
    long read;           // what Get gives, 0 for an old record
  };
  for (const Case& c : {
           Case{2147483647L, "FF FF FF 7F", 2147483647L},
           Case{2147483648L + 5000, "88 13 00 80", 2147483648L + 5000},  // 2038-01-19
           Case{1L << 33, "FF FF FF FF", 4294967295L},                   // past 2106: the last second
           Case{-5, "00 00 00 00", 0},
       }) {
    SCOPED_TRACE(c.stored);
    ASSERT_EQ(0, CrlDB::Store(&dp, "", crl.get(), c.stored));
    void* raw = nullptr;
    ASSERT_GE(CrlDB::FDB()->Get(CrlDB_EncodeKey(dp.GetStr()).c_str(), &raw), 4);
    EXPECT_EQ(c.octets, ToHex(static_cast<unsigned char*>(raw), 4));
    std::free(raw);
    long got = 0;
    CrlPtr back(CrlDB::Get(&dp, "", &got));
    EXPECT_EQ(c.read != 0, back != nullptr);
    EXPECT_EQ(c.read, back ? got : 0);
  }
}

TEST_F(CrlDbTest, DamagedRecordsFailCleanly) {
  const Bytes& good = CrlDer(0);
  long fresh = Now() + 3600;
  Bytes oversized = Hex("30 84 7F FF FF FF");
  oversized.insert(oversized.end(), good.begin() + 2, good.end());
  std::string key = "http://ca.example/damaged.crl", longKey = "http://ca.example/" + std::string(300, 'x') + ".crl";
  const struct {
    std::string key;
    Bytes record;
    const char* message;
  } cases[] = {
      {key, Hex("FF FF FF"), "old record"},
      {key, Record(fresh, Bytes()), "bad crl"},
      {key, Record(fresh, oversized), "bad crl"},
      {key, Record(fresh, Cat({good, Hex("00")})), "bad crl"},
      {longKey, Record(fresh, Cat({good, Text("http://ca.example/" + std::string(300, 'y') + ".crl")})), "bad crl"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    PutRaw(c.key, c.record);
    obGeneralName dp = Uri(c.key);
    EXPECT_EQ(1, Gated([&] { return GetStatus(dp, ""); }, Line(std::string("CrlDB::Get: ") + c.message)));
  }
  CrlPtr crl = Decoded<obCRL>(good);
  obGeneralName dp = Uri(longKey);
  ASSERT_EQ(0, CrlDB::Store(&dp, "", crl.get(), fresh));
  EXPECT_EQ(0, GetStatus(dp, ""));
  CrlDBRecord record;
  std::string fileKey = CrlDB_EncodeKey(longKey), back;
  ASSERT_EQ(0, record.Load(CrlDB::FDB(), fileKey.c_str()));
  EXPECT_EQ(0, record.Key(fileKey, &back));
  EXPECT_EQ(longKey, back);
}

TEST_F(CrlDbTest, GarbageCollectorRemovesOldRecordsAndLeftovers) {
  long now = Now();
  const struct {
    const char* key;
    Bytes record;
    bool kept;
  } records[] = {
      {"fresh", Record(now + 3600, CrlDer(0)), true},
      {"fresh but damaged", Record(now + 3600, Hex("30 03 02 01")), true},
      {"expired", Record(now - 1, CrlDer(0)), false},
      {"expiring now", Record(now, CrlDer(0)), false},
      {"three octets", Hex("01 02 03"), false},
  };
  for (const auto& r : records) PutRaw(r.key, r.record);
  std::string stale = CrlDB::Directory() + "/tmpSTALE1", recent = CrlDB::Directory() + "/tmpFRESH1";
  WriteBytes(stale, Hex("01 02"));
  WriteBytes(recent, Hex("01 02"));
  Age(stale, 120);
  DiagCapture diag;
  EXPECT_EQ(3, CrlDB::GarbageCollector());
  EXPECT_TRUE(diag.Saw(Line("CrlDB::GarbageCollector: Performing CRL cache garbage collection.")));
  for (const auto& r : records) EXPECT_EQ(r.kept, Exists(r.key)) << r.key;
  EXPECT_EQ(std::vector<std::string>{recent}, TempFiles());
}

TEST_F(CrlDbTest, LockingClassFromTheEnvironment) {
  const char* saved = std::getenv("FDB_ENV_LOCK_TYPE");
  std::string savedValue = saved ? saved : "";
  auto set = [](const char* value) { value ? setenv("FDB_ENV_LOCK_TYPE", value, 1) : unsetenv("FDB_ENV_LOCK_TYPE"); };
  const struct {
    const char* value;  // null: unset
    const std::type_info& type;
  } cases[] = {{"NO_LOCK", typeid(FileDB)},
               {"LOCK_ALL", typeid(FileDB_Safe)},
               {nullptr, typeid(FileDB_WriteSafe)},
               {"lock_all", typeid(FileDB_WriteSafe)}};
  obGeneralName dp = Uri("http://ca.example/lock.crl");
  CrlPtr crl = Decoded<obCRL>(CrlDer(0));
  for (const auto& c : cases) {
    set(c.value);
    CrlDB::InitPath(dir_.path().c_str());
    EXPECT_EQ(0, Gated(CrlDB::Init, Line(std::string("CrlDB::Init: FDB_ENV_LOCK_TYPE=") + (c.value ? c.value : ""))));
    ASSERT_NE(nullptr, CrlDB::FDB());
    EXPECT_EQ(c.type, typeid(*CrlDB::FDB())) << (c.value ? c.value : "unset");
    EXPECT_EQ(0, CrlDB::Store(&dp, "", crl.get(), Now() + 60));
    EXPECT_EQ(0, GetStatus(dp, ""));
    EXPECT_EQ(0, CrlDB::GarbageCollector());
  }
  set(saved ? savedValue.c_str() : nullptr);
}

TEST_F(CrlDbTest, DirectoryWithoutPermission) {
  if (geteuid() == 0) GTEST_SKIP() << "root ignores permissions";
  obGeneralName dp = Uri("http://ca.example/perm.crl");
  CrlPtr crl = Decoded<obCRL>(CrlDer(0));
  ASSERT_EQ(0, CrlDB::Store(&dp, "", crl.get(), Now() - 10));
  ASSERT_EQ(0, chmod(CrlDB::Directory().c_str(), 0));
  EXPECT_EQ(-1, Gated([&] { return CrlDB::Store(&dp, "", crl.get(), Now() + 60); },
                      Line("CrlDB::Store: fdb->Store failed")));
  EXPECT_EQ(1, Gated([&] { return GetStatus(dp, ""); }, Line("CrlDB::Get: record not found")));
  EXPECT_EQ(0, CrlDB::GarbageCollector());
  ASSERT_EQ(0, chmod(CrlDB::Directory().c_str(), 0700));
  EXPECT_EQ(1, CrlDB::GarbageCollector());
}

TEST(CrlDbNumber, UriAndDnRules) {
  const struct {
    const char* uri;
    int number;           // when message is null
    const char* message;  // after "obca_URI_to_crl_number: "
  } uris[] = {
      {"http://ca.example/crl/ICA_CRL17.crl", 17, nullptr},
      {"ldap://ca.example/ICA_CRL0042.crl", 42, nullptr},
      {"http://ca.example/dir.d/ICA_CRL3.crl", 3, nullptr},
      {"http://ca.example/ICA_CRL2147483647.crl", INT_MAX, nullptr},
      {"http://ca.example/ICA_CRL2147483648.crl", 0, "number space is too large in \"ICA_CRL2147483648\""},
      {"http://ca.example/ICA_CRL.crl", 0, "\"ICA_CRL\" lacks \"ICA_CRL\" or number"},
      {"http://ca.example/ICA_CRLx7.crl", 0, "CRL filename lacks number"},
      {"http://ca.example/ICA_CRL17x.crl", 0, "illegal string \"ICA_CRL17x\""},
      {"http://ca.example/ICA_CRL0.crl", 0, "illegal crl_number in \"ICA_CRL0\""},
      {"http://ca.example/ICA_CRL-5.crl", 0, "illegal crl_number in \"ICA_CRL-5\""},
      {"ICA_CRL17", 0, "no dot at \"ICA_CRL17\""},
      {"ICA_CRL17.crl", 0, "no slash in \"ICA_CRL17.crl\""},
      {"http://ca.example/ICA_CRL17", 0, "slash must be before dot in \"http://ca.example/ICA_CRL17\""},
  };
  for (const auto& c : uris) {
    int number = -7;
    std::string message = c.message ? Line(std::string("obca_URI_to_crl_number: ") + c.message) : "";
    EXPECT_EQ(c.message ? -1 : 0, Gated([&] { return obca_URI_to_crl_number(c.uri, &number); }, message)) << c.uri;
    EXPECT_EQ(c.message ? -7 : c.number, number) << c.uri;
  }
  const struct {
    const char* dn;  // null: no DN
    int number;
    const char* message;  // after "obca_DN_to_crl_number: "
  } dns[] = {
      {"OU=x,CN=ICA_CRL9,O=Example", 9, nullptr},  // the common name wins
      {"OU=ICA_CRL6,O=Example", 6, nullptr},       // else the most specific value
      {"CN=Server,O=Example", 0, "\"Server\" lacks \"ICA_CRL\" or number"},
      {nullptr, 0, "No DN provided"},
      {"", 0, "Couldn't get CRL file name from "},
  };
  for (const auto& c : dns) {
    std::unique_ptr<obDN> dn(c.dn ? new obDN(c.dn) : nullptr);
    int number = -7;
    DiagCapture diag;
    EXPECT_EQ(c.message ? -1 : 0, obca_DN_to_crl_number(dn.get(), &number)) << c.dn;
    EXPECT_EQ(c.message ? -7 : c.number, number);
    EXPECT_TRUE(!c.message || diag.Saw(Line(std::string("obca_DN_to_crl_number: ") + c.message))) << c.message;
  }
}

// Whether each record of dps reads back as one of the CRLs or as absent,
// never as a damaged one.
bool WholeOrAbsent(const std::vector<obGeneralName>& dps) {
  DiagCapture diag;
  bool whole = true;
  for (const obGeneralName& dp : dps) {
    CrlPtr crl(CrlDB::Get(&dp, ""));
    whole &= !crl || Der(*crl) == CrlDer(0) || Der(*crl) == CrlDer(1);
  }
  return whole && !diag.Saw("bad crl") && !diag.Saw("old record");
}

// A writer killed at random points leaves each record whole or absent, and
// only temporary files behind, which the collector removes once stale.
// Readers see whole records while it writes, too.
TEST_F(CrlDbTest, KilledWritersLeaveWholeRecords) {
  const int kKeys = 4;
  std::vector<obGeneralName> dps;
  for (int k = 0; k < kKeys; ++k) dps.push_back(Uri("http://ca.example/kill" + std::to_string(k) + ".crl"));
  CrlPtr crls[2] = {Decoded<obCRL>(CrlDer(0)), Decoded<obCRL>(CrlDer(1))};
  std::mt19937 rng(LoggedSeed(2024));
  for (int round = 0; round < 8; ++round) {
    pid_t writer = Spawn([&] {
      CrlDB::InitPath(dir_.path().c_str());
      for (int i = 0;; ++i) CrlDB::Store(&dps[i % kKeys], "", crls[i % 2].get(), Now() + 3600);
      return 0;
    });
    ASSERT_GT(writer, 0);
    auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(5 + rng() % 60);
    while (std::chrono::steady_clock::now() < until) EXPECT_TRUE(WholeOrAbsent(dps));
    kill(writer, SIGKILL);
    EXPECT_EQ(128 + SIGKILL, Wait(writer));
  }
  EXPECT_TRUE(WholeOrAbsent(dps));
  for (const std::string& temp : TempFiles()) Age(temp, 120);
  EXPECT_EQ(0, CrlDB::GarbageCollector());
  EXPECT_TRUE(TempFiles().empty());
  EXPECT_TRUE(WholeOrAbsent(dps));
}

// Two processes storing into and reading from one database at once.
TEST_F(CrlDbTest, TwoProcessesLoseNothing) {
  const int kRecords = 25;
  CrlPtr crl = Decoded<obCRL>(CrlDer(0));
  auto name = [](char who, int i) { return Uri(std::string("http://ca.example/") + who + std::to_string(i) + ".crl"); };
  auto worker = [&](char self, char other) {
    return [&, self, other] {
      CrlDB::InitPath(dir_.path().c_str());
      int failures = 0;
      obGeneralName shared = Uri("http://ca.example/shared.crl");
      for (int i = 0; i < kRecords; ++i) {
        obGeneralName mine = name(self, i), theirs = name(other, i);
        failures += CrlDB::Store(&mine, "", crl.get(), Now() + 3600) != 0;
        failures += CrlDB::Store(&shared, "", crl.get(), Now() + 3600) != 0;
        failures += GetStatus(shared, "");
        CrlPtr seen(CrlDB::Get(&theirs, ""));
        failures += seen && Der(*seen) != CrlDer(0);
      }
      return failures > 0 ? 1 : 0;
    };
  };
  pid_t a = Spawn(worker('a', 'b'));
  pid_t b = Spawn(worker('b', 'a'));
  EXPECT_EQ(0, Wait(a));
  EXPECT_EQ(0, Wait(b));
  for (char who : {'a', 'b'}) {
    for (int i = 0; i < kRecords; ++i) EXPECT_EQ(0, GetStatus(name(who, i), "")) << who << i;
  }
  EXPECT_TRUE(TempFiles().empty());
}

}  // namespace
