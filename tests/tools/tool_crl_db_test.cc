// The nycert program's crl-db command, run as a user runs it.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <ctime>
#include <string>

#include "nycert/certs/print_text_internal.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_db.h"
#include "nycert/crl/crl_db_key.h"
#include "nycert/crl/file_db.h"
#include "nycert/names/general_name.h"
#include "support/cert_pki.h"
#include "support/tool_run.h"

#ifdef NYCERT_TOOL_PATH
namespace {

const std::string kGood = "http://ca.example/crl/ICA_CRL1.crl";
const std::string kOld = "ldap://ca.example/cn=CA?certificateRevocationList";
const std::string kLong = "http://ca.example/" + std::string(300, 'l') + ".crl";
const std::string kOdd = "http://ca.example/a\\b\nc.crl";
const std::string kOddShown = "http://ca.example/a\\x5Cb\\x0Ac.crl";
const std::string kNotCrl = "http://ca.example/cert.crl";
const std::string kShort = "http://ca.example/short.crl";

class ToolCrlDb : public ::testing::Test {
 protected:
  // A database with good, expired, long-keyed, odd-keyed and damaged records.
  void SetUp() override {
    CrlDB::InitPath(dir_.path().c_str());
    std::vector<RevokedEntry> revoked{RevokedEntry{SerialOctets(0x1001)}};
    Bytes der = MakeCrl(SharedPki(), revoked);
    obCRL* crl = new obCRL(der.data(), static_cast<unsigned>(der.size()));
    long now = static_cast<long>(std::time(nullptr));
    for (const std::string& key : {kGood, kLong, kOdd}) Store(key, crl, now + 86400);
    Store(kOld, crl, now - 60);
    obFreeSigned(crl);
    Bytes cert = SharedPki().CaDer();
    cert.insert(cert.begin(), {0xFF, 0xFF, 0xFF, 0x7F});
    Raw(kNotCrl, cert);
    Raw(kShort, Bytes{1, 2, 3});
    CrlDB::InitPath(nullptr);
  }

  static void Store(const std::string& uri, obCRL* crl, long expiry) {
    obGeneralName dp(obGN_uniformResourceIdentifier, uri.c_str(), static_cast<int>(uri.size()));
    ASSERT_EQ(0, CrlDB::Store(&dp, "", crl, expiry));
  }
  static void Raw(const std::string& key, Bytes bytes) {
    ASSERT_EQ(0, CrlDB::FDB()->Store(CrlDB_EncodeKey(key).c_str(), bytes.data(), static_cast<int>(bytes.size())));
  }
  ToolResult Run(const std::string& args) const { return RunNycert("crl-db " + ShellQuote(dir_.path()) + " " + args); }

  TempDir dir_;
};

// The line of output that starts with key, without its newline.
std::string LineOf(const std::string& output, const std::string& key) {
  size_t at = output.find(key + "\t");
  return at == std::string::npos ? "" : output.substr(at, output.find('\n', at) - at);
}

TEST_F(ToolCrlDb, ListShowsEveryRecord) {
  ToolResult run = Run("list");
  EXPECT_EQ(0, run.status) << run.output;
  EXPECT_EQ(6u, CountOccurrences(run.output, "\n"));
  struct Case {
    std::string key;
    std::string tail;
  };
  for (const Case& c : {Case{kGood, " bytes"}, Case{kLong, " bytes"}, Case{kOddShown, " bytes"},
                        Case{kNotCrl, " bytes"}, Case{kOld, " bytes\texpired"}, Case{kShort, "\t3 bytes\texpired"}}) {
    std::string line = LineOf(run.output, c.key);
    EXPECT_EQ(0u, line.find(c.key + "\texpires ")) << run.output;
    EXPECT_EQ(line.size() - c.tail.size(), line.rfind(c.tail)) << line;
  }
  EXPECT_EQ(kNotCrl + "\texpires " + obLocalTimeText(INT32_MAX) + "\t" + std::to_string(4 + SharedPki().CaDer().size()) + " bytes",
            LineOf(run.output, kNotCrl));
}

TEST_F(ToolCrlDb, ShowPrintsTheCrl) {
  for (const std::string& key : {kGood, kLong, kOddShown, kOld}) {
    ToolResult run = Run("show -d 3 " + ShellQuote(key));
    EXPECT_EQ(0, run.status) << run.output;
    EXPECT_EQ(0u, run.output.find(key + "\n\texpires ")) << run.output;
    EXPECT_NE(std::string::npos, run.output.find("\tIssuer: CN=Example Test CA,O=Example Trust,C=US\n"));
    EXPECT_NE(std::string::npos, run.output.find("\tCertificate #4097\n"));
  }
  ToolResult names = Run(ShellQuote("show") + " " + ShellQuote(kGood) + " -d 1");
  EXPECT_EQ(0, names.status);
  EXPECT_EQ(std::string::npos, names.output.find("Certificate #"));
  EXPECT_NE(std::string::npos, Run("show " + ShellQuote(kOld)).output.find(" Local Time (expired)\n"));
}

TEST_F(ToolCrlDb, GcRemovesOldRecords) {
  ToolResult run = Run("gc");
  EXPECT_EQ(0, run.status);
  EXPECT_EQ("removed 2 records\n", run.output);
  ToolResult list = Run("list");
  EXPECT_EQ(4u, CountOccurrences(list.output, "\n"));
  EXPECT_EQ(std::string::npos, list.output.find("expired"));
  EXPECT_EQ("removed 0 records\n", Run("gc").output);
}

TEST_F(ToolCrlDb, ErrorsAndUsage) {
  TempDir empty;
  struct Case {
    std::string args;  // after "nycert"
    int status;
    std::string message;
  };
  std::string dir = ShellQuote(dir_.path());
  for (const Case& c : {
           Case{"crl-db /no/such/dir list", 1, "nycert crl-db: /no/such/dir: No such file or directory"},
           Case{"crl-db " + ShellQuote(empty.path()) + " list", 1, ": no CRL database (no "},
           Case{"crl-db " + dir + " show " + ShellQuote(kNotCrl), 1, "does not hold a CRL: Error Decoding"},
           Case{"crl-db " + dir + " show http://nowhere/x.crl", 1, "no record for http://nowhere/x.crl"},
           Case{"crl-db", 2, "no directory given"},
           Case{"crl-db " + dir, 2, "no command given"},
           Case{"crl-db " + dir + " frob", 2, "unknown command 'frob'"},
           Case{"crl-db " + dir + " show", 2, "no key given"},
           Case{"crl-db " + dir + " show a b", 2, "one key at a time"},
           Case{"crl-db " + dir + " show -d 4 a", 2, "-d takes 1, 2 or 3"},
           Case{"crl-db " + dir + " list extra", 2, "unexpected argument extra"},
           Case{"crl-db " + dir + " gc extra", 2, "unexpected argument extra"},
       }) {
    SCOPED_TRACE(c.args);
    ToolResult run = RunNycert(c.args);
    EXPECT_EQ(c.status, run.status);
    EXPECT_NE(std::string::npos, run.output.find(c.message)) << run.output;
  }
  struct stat st;
  EXPECT_NE(0, stat((empty.path() + "/CrlCache_1").c_str(), &st));  // nothing was made where none was
}

TEST_F(ToolCrlDb, UnreadableRecord) {
  if (geteuid() == 0) GTEST_SKIP() << "root reads everything";
  std::string record = dir_.path() + "/CrlCache_1/rec_" + CrlDB_EncodeKey(kGood);
  ASSERT_EQ(0, chmod(record.c_str(), 0));
  ToolResult show = Run("show " + ShellQuote(kGood));
  EXPECT_EQ(1, show.status);
  EXPECT_NE(std::string::npos, show.output.find("cannot read the record for " + kGood)) << show.output;
  EXPECT_EQ(1, Run("list").status);
  chmod(record.c_str(), 0600);
}

TEST_F(ToolCrlDb, HelpOnEverySubcommand) {
  for (const char* args : {"crl-db -h", "crl-db DIR --help", "crl-db DIR show KEY -h", "crl-db DIR gc --help"}) {
    ToolResult run = RunNycert(args);
    EXPECT_EQ(0, run.status) << args;
    EXPECT_EQ(0u, run.output.find("usage: nycert crl-db DIR")) << args;
  }
  EXPECT_NE(std::string::npos, RunNycert("--help").output.find("crl-db"));
}

}  // namespace
#endif  // NYCERT_TOOL_PATH
