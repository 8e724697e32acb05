// The file database and the platform pieces beneath it: directory search and file operations.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "nycert/crl/file_db.h"
#include "nycert/platform/fileops.h"
#include "nycert/platform/find_file.h"
#include "nycert/platform/mtmutex.h"
#include "support/test_support.h"
#include "support/tool_run.h"

namespace {

using Octets = std::vector<unsigned char>;

// Self-checking record content: the bytes follow from the key and the length,
// so a record cut short or mixed with another reads back wrong.
Octets Content(const std::string& key, size_t len) {
  uint64_t x = 0x9e3779b97f4a7c15ULL * (len + 1);
  for (char c : key) x = (x ^ static_cast<unsigned char>(c)) * 0x100000001b3ULL;
  Octets out(len);
  for (unsigned char& b : out) {
    x ^= x << 13, x ^= x >> 7, x ^= x << 17;
    b = static_cast<unsigned char>(x);
  }
  return out;
}

int Put(FileDB& db, const std::string& key, const Octets& bytes) {
  return db.Store(key.c_str(), const_cast<unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
}

// The record as read (empty when Get fails); rc gets Get's answer.
Octets Read(FileDB& db, const std::string& key, int* rc = nullptr) {
  void* data = nullptr;
  int len = db.Get(key.c_str(), &data);
  if (rc) *rc = len;
  Octets out;
  if (len >= 0) out.assign(static_cast<unsigned char*>(data), static_cast<unsigned char*>(data) + len);
  std::free(data);
  return out;
}

// Whether the record of key is absent or exactly Content(key, its length).
bool WholeOrAbsent(FileDB& db, const std::string& key) {
  int rc;
  Octets got = Read(db, key, &rc);
  return rc < 0 || (rc > 0 && got == Content(key, got.size()));
}

std::set<std::string> Keys(FileDB_Iter& it) {
  std::set<std::string> keys;
  for (const char* k; (k = it.Next()) != nullptr;) keys.insert(k);
  return keys;
}

std::set<std::string> DirNames(const std::string& pattern) {
  std::set<std::string> names;
  WIN32_FIND_DATAA found;
  HANDLE h = FindFirstFileA(pattern.c_str(), &found);
  if (h == INVALID_HANDLE_VALUE) return names;
  do names.insert(found.cFileName);
  while (FindNextFileA(h, &found));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_NE(FindClose(h), 0);
  return names;
}

const std::string kTopic = "[FileDB:4] ";

}  // namespace

TEST(FileDbPlatform, FindFileAndFileOperations) {
  TempDir dir;
  WIN32_FIND_DATAA found;
  errno = 0;
  EXPECT_EQ(FindFirstFileA(dir.File("missing/*").c_str(), &found), INVALID_HANDLE_VALUE);
  EXPECT_EQ(errno, ENOENT);
  errno = 0;
  EXPECT_EQ(FindFirstFileA(dir.File("*").c_str(), &found), INVALID_HANDLE_VALUE);  // empty: no "." or ".."
  EXPECT_EQ(errno, ENOENT);
  for (const char* name : {"rec_a", "rec_", "rec_b.c", "record", "xrec_y"}) WriteBytes(dir.File(name), {1});
  EXPECT_EQ(DirNames(dir.File("rec_*")), (std::set<std::string>{"rec_a", "rec_", "rec_b.c"}));
  EXPECT_EQ(DirNames(dir.File("*rec_*")), (std::set<std::string>{"rec_a", "rec_", "rec_b.c", "xrec_y"}));
  EXPECT_EQ(DirNames(dir.File("rec_?")), (std::set<std::string>{"rec_a"}));
  EXPECT_EQ(DirNames(dir.File("*.c")), (std::set<std::string>{"rec_b.c"}));
  errno = 0;
  EXPECT_EQ(FindFirstFileA(dir.File("rec_a/*").c_str(), &found), INVALID_HANDLE_VALUE);  // a file, not a directory
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_EQ(FindFirstFileA(nullptr, &found), INVALID_HANDLE_VALUE);
  EXPECT_EQ(FindNextFileA(INVALID_HANDLE_VALUE, &found), 0);
  EXPECT_EQ(FindClose(INVALID_HANDLE_VALUE), 0);

  std::string sub = dir.File("sub"), a = dir.File("sub/a"), b = dir.File("sub/b");
  EXPECT_EQ(obOsMakeDir(sub.c_str(), 0700), 0);
  EXPECT_EQ(obOsMakeDir(sub.c_str(), 0700), 0);  // already there
  WriteBytes(a, {1, 2});
  WriteBytes(b, {3});
  EXPECT_EQ(obOsMakeDir(a.c_str(), 0700), -1);  // a file is in the way
  EXPECT_EQ(obOsRename(a.c_str(), b.c_str()), 0);
  EXPECT_EQ(ReadBytes(b), (Octets{1, 2}));
  FILE* f = std::fopen(b.c_str(), "ab");
  std::fputc(9, f);
  EXPECT_EQ(obOsSyncFile(f), 0);
  std::fclose(f);
  EXPECT_EQ(ReadBytes(b).size(), 3u);
  EXPECT_EQ(obOsSyncDir(sub.c_str()), 0);
  EXPECT_EQ(obOsSyncDir(b.c_str()), -1);
  EXPECT_EQ(obOsRemoveDir(sub.c_str()), -1);  // not empty
  EXPECT_EQ(obOsRemove(b.c_str()), 0);
  EXPECT_EQ(obOsRemoveDir(sub.c_str()), 0);
  EXPECT_EQ(obOsRemove(nullptr), -1);
  EXPECT_EQ(obOsSyncFile(nullptr), -1);
}

TEST(FileDbStore, StoreGetRemoveAndTheDirectory) {
  TempDir dir;
  std::string name = dir.File("db");
  DiagCapture diag;
  FileDB db(name.c_str(), "v1");
  std::string path = dir.path() + "/db_v1";
  char real[PATH_MAX];
  ASSERT_NE(realpath(dir.path().c_str(), real), nullptr);
  EXPECT_EQ(db.Path(), std::string(real) + "/db_v1");
  EXPECT_TRUE(diag.Saw(kTopic + "FileDB::FileDB: name= " + name + " version= v1"));
  EXPECT_TRUE(diag.Saw("FileDB::FileDB: path= " + std::string(db.Path())));
  struct stat st;
  ASSERT_EQ(stat(path.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0700u);

  Octets one = Content("k", 1000), two = Content("k", 7);
  EXPECT_EQ(Put(db, "k", one), 0);
  EXPECT_TRUE(diag.Saw("FileDB::Store: save 1000 bytes in '" + std::string(db.Path()) + "/tmp"));
  EXPECT_EQ(ReadBytes(path + "/rec_k"), one);  // the bytes as given, no header
  EXPECT_EQ(Put(db, "k", two), 0);
  EXPECT_EQ(Read(db, "k"), two);
  EXPECT_EQ(Put(db, "empty", {}), 0);
  EXPECT_EQ(db.Remove("k"), 0);
  std::string missing = std::string(db.Path()) + "/rec_k";
  EXPECT_EQ(Gated([&] { return db.Remove("k"); }, kTopic + "FileDB::Remove: unlink(" + missing + ")"), -1);
  int rc;
  void* data = &rc;
  EXPECT_EQ(Gated([&] { return db.Get("k", &data); }, kTopic + "FileDB::Get: lstat(" + missing + ")"), -1);
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(DirNames(path + "/tmp*").size(), 0u);  // no temporary file outlives a store

  FileDB again(name.c_str(), "v1");  // a second object opens the same records
  EXPECT_EQ(Read(again, "empty", &rc).size(), 0u);
  EXPECT_EQ(rc, 0);
}

TEST(FileDbStore, RelativeNamesResolveAgainstTheCurrentDirectory) {
  TempDir dir;
  char cwd[PATH_MAX];
  ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
  ASSERT_EQ(chdir(dir.path().c_str()), 0);
  FileDB db("rel", "2");
  ASSERT_EQ(chdir(cwd), 0);
  ASSERT_NE(db.Path(), nullptr);
  EXPECT_EQ(Put(db, "x", {5}), 0);  // still the store made before the chdir
  EXPECT_EQ(ReadBytes(dir.File("rel_2/rec_x")), Octets{5});
}

// Keys go into the file name as they stand; the file system decides what a
// separator does. Record files are read as they are.
TEST(FileDbStore, KeysAndRecordFilesAreTakenAsTheyStand) {
  TempDir dir;
  FileDB db(dir.File("db").c_str(), "1");
  std::string path = db.Path();
  DiagCapture diag;
  EXPECT_EQ(Put(db, "a/b", {1}), -1);  // no directory "rec_a": the rename fails
  EXPECT_TRUE(diag.Saw("FileDB::Store: rename(" + path + "/tmp"));
  EXPECT_TRUE(diag.Saw("," + path + "/rec_a/b)"));
  EXPECT_EQ(DirNames(path + "/*").size(), 0u);  // the temporary file is gone
  ASSERT_EQ(mkdir((path + "/rec_a").c_str(), 0700), 0);  // with the directory the record lands inside it
  EXPECT_EQ(Put(db, "a/b", {2}), 0);
  EXPECT_EQ(ReadBytes(path + "/rec_a/b"), Octets{2});
  EXPECT_EQ(Put(db, "a\\b", {3}), 0);  // a backslash is an ordinary character here
  EXPECT_EQ(ReadBytes(path + "/rec_a\\b"), Octets{3});
  EXPECT_EQ(Put(db, std::string(252, 'k'), {4}), -1);  // "rec_" + 252 exceeds a file name
  EXPECT_EQ(Put(db, std::string(251, 'k'), {4}), 0);

  Octets big(3 << 20, 0xab);
  WriteBytes(path + "/rec_big", big);
  EXPECT_EQ(Read(db, "big"), big);
  int rc;
  diag.Clear();
  Read(db, "a", &rc);  // a directory
  EXPECT_EQ(rc, -1);
  EXPECT_TRUE(diag.Saw("FileDB::Get: fread(len="));
}

TEST(FileDbStore, LeftoverTemporaryFileKeepsTheOldRecord) {
  TempDir dir;
  FileDB db(dir.File("db").c_str(), "1");
  std::string path = db.Path();
  Octets old = Content("k", 300), partial = Content("k", 5000);
  ASSERT_EQ(Put(db, "k", old), 0);
  partial.resize(1234);
  WriteBytes(path + "/tmpQ7x2Zk", partial);  // a writer died before its rename
  EXPECT_EQ(Read(db, "k"), old);
  FileDB_Iter it(&db);
  EXPECT_EQ(Keys(it), std::set<std::string>{"k"});
  EXPECT_EQ(db.Destroy(), 0);  // takes the leftover along
  struct stat st;
  EXPECT_NE(stat(path.c_str(), &st), 0);
}

TEST(FileDbIter, ListsExactlyTheRecords) {
  TempDir dir;
  FileDB db(dir.File("db").c_str(), "1");
  FileDB_Iter empty(&db);
  EXPECT_EQ(empty.Next(), nullptr);
  std::set<std::string> stored;
  for (int i = 0; i < 40; ++i) {
    std::string key = "http_ca.example_crl" + std::to_string(i);
    ASSERT_EQ(Put(db, key, {1}), 0);
    stored.insert(key);
  }
  WriteBytes(std::string(db.Path()) + "/tmpABCDEF", {1});
  WriteBytes(std::string(db.Path()) + "/other", {1});
  FileDB_Iter it(&db);
  EXPECT_EQ(Keys(it), stored);
  EXPECT_EQ(it.Next(), nullptr);  // stays at the end quietly
  DiagCapture diag;
  EXPECT_EQ(it.Destroy(), 0);
  EXPECT_EQ(it.Next(), nullptr);
  EXPECT_EQ(diag.Lines(), std::vector<std::string>{kTopic + "FileDB_Iter::Next: bad iterator"});
  FileDB_Iter none(nullptr);
  EXPECT_EQ(none.Next(), nullptr);
}

// Every FileDB on one directory shares the mutex named after its path; the safe
// iterator holds it, so a locked Store waits until the iterator is destroyed.
TEST(FileDbLock, NamedMutexIsSharedAndHeldBySafeIterator) {
  TempDir dir;
  FileDB plain(dir.File("db").c_str(), "1");
  FileDB_WriteSafe writer(dir.File("db").c_str(), "1");
  std::string lock_name = plain.Path();
  std::replace(lock_name.begin(), lock_name.end(), '/', '_');
  MtMutexHandle named = MtMutexCreateRecursive(lock_name.c_str());
  auto safe = std::make_unique<FileDB_SafeIter>(&plain);
  EXPECT_EQ(plain.Lock(), 0);  // recursive
  EXPECT_EQ(plain.Unlock(), 0);
  std::atomic<bool> stored{false};
  std::thread t([&] {
    Put(writer, "k", {1});
    stored = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_FALSE(stored);
  safe.reset();
  t.join();
  EXPECT_TRUE(stored);
  MtMutexLock(named);  // the same mutex under its name
  std::thread t2([&] { Put(writer, "k", {2}); });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(Read(plain, "k"), Octets{1});
  MtMutexUnLock(named);
  t2.join();
  EXPECT_EQ(Read(plain, "k"), Octets{2});
  MtMutexDestroy(named);
}

TEST(FileDbLock, ClosedStoreFailsEveryOperation) {
  DiagCapture diag;
  FileDB_Safe db(nullptr, "1");
  EXPECT_EQ(db.Path(), nullptr);
  EXPECT_TRUE(diag.Saw("FileDB::FileDB: bad args"));
  EXPECT_EQ(db.Lock(), -1);
  EXPECT_TRUE(diag.Saw("FileDB::Lock: no locker"));
  void* data = nullptr;
  EXPECT_EQ(db.Get("k", &data), -1);
  EXPECT_TRUE(diag.Saw("FileDB_Safe::Get: MtMutexLock failed"));
  EXPECT_EQ(db.Store("k", nullptr, 0), -1);
  EXPECT_TRUE(diag.Saw("FileDB_WriteSafe::Store: MtMutexLock failed"));
  EXPECT_EQ(db.FileDB::Store("k", nullptr, 0), -1);
  EXPECT_TRUE(diag.Saw("FileDB::Store: store closed"));
  EXPECT_EQ(db.Destroy(), -1);
  FileDB_SafeIter it(&db);
  EXPECT_EQ(it.Next(), nullptr);
  EXPECT_TRUE(diag.Saw("FileDB_Iter::Next: bad iterator"));
}

TEST(FileDbStore, UnreadableDirectoryGivesMessagesNotCrashes) {
  if (geteuid() == 0) GTEST_SKIP() << "root ignores permissions";
  TempDir dir;
  FileDB db(dir.File("db").c_str(), "1");
  std::string path = db.Path();
  ASSERT_EQ(Put(db, "k", {1}), 0);
  ASSERT_EQ(chmod(path.c_str(), 0), 0);
  DiagCapture diag;
  int rc;
  Read(db, "k", &rc);
  EXPECT_EQ(rc, -1);
  EXPECT_TRUE(diag.Saw("FileDB::Get: lstat(" + path + "/rec_k)"));
  EXPECT_EQ(Put(db, "k", {2}), -1);
  EXPECT_TRUE(diag.Saw("FileDB::Store: open(" + path + "/tmp"));
  EXPECT_EQ(db.Remove("k"), -1);
  FileDB_Iter it(&db);
  EXPECT_EQ(it.Next(), nullptr);
  EXPECT_TRUE(diag.Saw("FileDB_Iter::FileDB_Iter: FindFirstFile('" + path + "/rec_*'):"));
  EXPECT_EQ(db.Destroy(), -1);
  EXPECT_TRUE(diag.Saw("FileDB::Destroy: FindFirstFile('" + path + "/*'):"));
  EXPECT_TRUE(diag.Saw("FileDB::Destroy: fdb_iter failed"));
  ASSERT_EQ(chmod(path.c_str(), 0700), 0);
  EXPECT_EQ(Read(db, "k"), Octets{1});
}

// A writer killed at random moments leaves every record whole: old or new, never torn.
TEST(FileDbCrash, KilledWriterNeverLeavesATornRecord) {
  TempDir dir;
  std::string name = dir.File("db");
  const int kKeys = 12;
  std::mt19937 rng(LoggedSeed(std::random_device{}()));
  int seen = 0;
  for (int round = 0; round < 8; ++round) {
    unsigned seed = rng();
    pid_t writer = Spawn([&] {
      FileDB db(name.c_str(), "1");
      std::mt19937 wrng(seed);
      for (;;) {
        std::string key = "k" + std::to_string(wrng() % kKeys);
        Put(db, key, Content(key, 1 + wrng() % 65536));
      }
      return 0;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(30 + rng() % 120));
    kill(writer, SIGKILL);
    EXPECT_EQ(Wait(writer), 128 + SIGKILL);
    FileDB db(name.c_str(), "1");
    for (int k = 0; k < kKeys; ++k) EXPECT_TRUE(WholeOrAbsent(db, "k" + std::to_string(k))) << round << " k" << k;
    FileDB_Iter it(&db);
    std::set<std::string> keys = Keys(it);
    for (const std::string& key : keys) EXPECT_EQ(key[0], 'k');
    seen = static_cast<int>(keys.size());
  }
  EXPECT_GT(seen, 0);
  FileDB db(name.c_str(), "1");
  EXPECT_EQ(db.Destroy(), 0);
}

// Two processes write their own keys and one shared key into one store at the
// same time, reading each other's records as they go; afterwards both find everything.
TEST(FileDbCrash, TwoProcessesLoseNothing) {
  TempDir dir;
  std::string name = dir.File("db");
  const int kEach = 30;
  int to_child[2], to_parent[2];
  ASSERT_EQ(pipe(to_child), 0);
  ASSERT_EQ(pipe(to_parent), 0);
  // Writes mine while checking theirs, signals out, waits on in, then checks all.
  auto work = [&](const std::string& mine, const std::string& theirs, int out, int in) {
    FileDB_WriteSafe db(name.c_str(), "1");
    int bad = 0;
    for (int i = 0; i < kEach; ++i) {
      std::string key = mine + std::to_string(i);
      bad += Put(db, key, Content(key, 1 + (i * 997) % 8192)) != 0;
      bad += Put(db, "shared", Content("shared", 1 + i * 13)) != 0;
      bad += !WholeOrAbsent(db, theirs + std::to_string(i));
      bad += !WholeOrAbsent(db, "shared");
    }
    char c = 1;
    bad += write(out, &c, 1) != 1;
    bad += read(in, &c, 1) != 1;
    for (const std::string& prefix : {mine, theirs}) {
      for (int i = 0; i < kEach; ++i) {
        std::string key = prefix + std::to_string(i);
        bad += Read(db, key) != Content(key, 1 + (i * 997) % 8192);
      }
    }
    bad += !WholeOrAbsent(db, "shared") || Read(db, "shared").empty();
    FileDB_Iter it(&db);
    bad += Keys(it).size() != 2 * kEach + 1;
    return bad;
  };
  pid_t child = Spawn([&] { return std::min(work("c", "p", to_parent[1], to_child[0]), 100); });
  EXPECT_EQ(work("p", "c", to_child[1], to_parent[0]), 0);
  EXPECT_EQ(Wait(child), 0);
  for (int fd : {to_child[0], to_child[1], to_parent[0], to_parent[1]}) close(fd);
}
