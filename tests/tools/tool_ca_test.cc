// The CA commands of the nycert program, run as a user runs them: a root,
// an intermediate and end entities that openssl verifies, CRLs that revoke
// the right certificate, requests openssl reads, and usage errors.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "support/test_support.h"
#include "support/tool_run.h"

#ifdef NYCERT_TOOL_PATH
namespace {

class ToolCa : public ::testing::Test {
 protected:
  // root -> intermediate (path length 0, with a CRL distribution point) ->
  // two end entities, serials 0x1234 and 0x1235.
  static void SetUpTestSuite() {
    dir_ = new TempDir;
    for (const char* name : {"root", "int", "ee"}) WriteBytes(File(std::string(name) + ".key"), ReadBytes(CachedKey(2048)));
    WriteBytes(File("int.key"), ReadBytes(CachedKey(1024)));
    Run("req --key " + File("root.key") + " --subject 'CN=Tool Root,O=Tool Test,C=US' -o " + File("root.csr"));
    Run("sign --ca-key " + File("root.key") + " --csr " + File("root.csr") + " --days 30 --ca -o " + File("root.pem"));
    Run("req --key " + File("int.key") + " --subject 'CN=Tool Intermediate,O=Tool Test,C=US' --digest sha1 -o " +
        File("int.csr"));
    Run("sign --ca-cert " + File("root.pem") + " --ca-key " + File("root.key") + " --csr " + File("int.csr") +
        " --days 20 --ca --path-len 0 --crl-url http://127.0.0.1/root.crl -o " + File("int.pem"));
    Run("req --key " + File("ee.key") + " --subject 'CN=www.tool.test,O=Tool Test,C=US'"
        " --san dns:www.tool.test --san ip:127.0.0.1 --san email:ops@tool.test -o " + File("ee.csr"));
    for (const char* serial : {"0x1234", "0x1235"})
      Run("sign --ca-cert " + File("int.pem") + " --ca-key " + File("int.key") + " --csr " + File("ee.csr") +
          " --days 10 --serial " + serial + " -o " + File(std::string("ee") + serial + ".pem"));
  }
  static void TearDownTestSuite() { delete dir_; }

  static std::string File(const std::string& name) { return dir_->File(name); }
  static void Run(const std::string& args) {
    ToolResult r = RunNycert(args);
    ASSERT_EQ(0, r.status) << args << "\n" << r.output;
  }
  static std::string Verify(const std::string& args) { return OpensslOutput(dir_->path(), "verify " + args); }

  static TempDir* dir_;
};
TempDir* ToolCa::dir_ = nullptr;

TEST_F(ToolCa, IssuesAChainThatOpensslVerifies) {
  std::string ok = Verify("-CAfile root.pem -untrusted int.pem ee0x1234.pem");
  EXPECT_NE(std::string::npos, ok.find("ee0x1234.pem: OK")) << ok;
  std::string root = OpensslOutput(dir_->path(), "x509 -in root.pem -noout -text");
  EXPECT_NE(std::string::npos, root.find("Issuer: C = US, O = Tool Test, CN = Tool Root")) << root;
  EXPECT_NE(std::string::npos, root.find("Certificate Sign, CRL Sign")) << root;
  std::string mid = OpensslOutput(dir_->path(), "x509 -in int.pem -noout -text");
  EXPECT_NE(std::string::npos, mid.find("CA:TRUE, pathlen:0")) << mid;
  EXPECT_NE(std::string::npos, mid.find("URI:http://127.0.0.1/root.crl")) << mid;
  std::string leaf = OpensslOutput(dir_->path(), "x509 -in ee0x1234.pem -noout -text");
  EXPECT_NE(std::string::npos, leaf.find("Serial Number: 4660 (0x1234)")) << leaf;
  EXPECT_NE(std::string::npos, leaf.find("DNS:www.tool.test, IP Address:127.0.0.1, email:ops@tool.test")) << leaf;
  EXPECT_NE(std::string::npos, leaf.find("CA:FALSE")) << leaf;
  // The end entity's path length 0 intermediate cannot issue a further CA.
  Run("req --key " + File("ee.key") + " --subject 'CN=Too Deep' -o " + File("deep.csr"));
  Run("sign --ca-cert " + File("int.pem") + " --ca-key " + File("int.key") + " --csr " + File("deep.csr") +
      " --days 5 --ca -o " + File("deep.pem"));
  Run("sign --ca-cert " + File("deep.pem") + " --ca-key " + File("ee.key") + " --csr " + File("ee.csr") +
      " --days 5 -o " + File("deeper.pem"));
  std::string deep = Verify("-CAfile root.pem -untrusted int.pem -untrusted deep.pem deeper.pem");
  EXPECT_NE(std::string::npos, deep.find("path length constraint exceeded")) << deep;
}

TEST_F(ToolCa, CrlRevokesTheListedCertificateOnly) {
  Run("crl-sign --ca-cert " + File("int.pem") + " --ca-key " + File("int.key") +
      " --revoke 0x1234:keyCompromise --revoke 99 --days 7 --number 5 -o " + File("int.crl"));
  Run("crl-sign --ca-cert " + File("root.pem") + " --ca-key " + File("root.key") + " --days 7 -o " + File("root.crl"));
  WriteBytes(File("crls.pem"), [] {
    std::vector<unsigned char> all = ReadBytes(File("root.crl")), more = ReadBytes(File("int.crl"));
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }());
  std::string revoked = Verify("-crl_check_all -CAfile root.pem -untrusted int.pem -CRLfile crls.pem ee0x1234.pem");
  EXPECT_NE(std::string::npos, revoked.find("certificate revoked")) << revoked;
  std::string kept = Verify("-crl_check_all -CAfile root.pem -untrusted int.pem -CRLfile crls.pem ee0x1235.pem");
  EXPECT_NE(std::string::npos, kept.find("ee0x1235.pem: OK")) << kept;
  std::string text = OpensslOutput(dir_->path(), "crl -in int.crl -noout -text -CAfile int.pem");
  EXPECT_NE(std::string::npos, text.find("verify OK")) << text;
  EXPECT_NE(std::string::npos, text.find("Key Compromise")) << text;
  EXPECT_NE(std::string::npos, text.find("Serial Number: 63")) << text;
  EXPECT_NE(std::string::npos, text.find("X509v3 CRL Number: \n                5")) << text;
}

TEST_F(ToolCa, StartTimesAndThePublishingPoint) {
  Run("sign --ca-cert " + File("int.pem") + " --ca-key " + File("int.key") + " --csr " + File("ee.csr") +
      " --days 366 --start 2025-01-01 -o " + File("dated.pem"));
  std::string dates = OpensslOutput(dir_->path(), "x509 -in dated.pem -noout -dates");
  EXPECT_NE(std::string::npos, dates.find("notBefore=Jan  1 00:00:00 2025 GMT")) << dates;
  EXPECT_NE(std::string::npos, dates.find("notAfter=Jan  2 00:00:00 2026 GMT")) << dates;
  Run("crl-sign --ca-cert " + File("int.pem") + " --ca-key " + File("int.key") +
      " --revoke 7 --days 1 --start 2025-03-04T05:06:07 --dp http://127.0.0.1/int.crl -o " + File("dated.crl"));
  std::string crl = OpensslOutput(dir_->path(), "crl -in dated.crl -noout -text");
  EXPECT_NE(std::string::npos, crl.find("Last Update: Mar  4 05:06:07 2025 GMT")) << crl;
  EXPECT_NE(std::string::npos, crl.find("Next Update: Mar  5 05:06:07 2025 GMT")) << crl;
  EXPECT_NE(std::string::npos, crl.find("Revocation Date: Mar  4 05:06:07 2025 GMT")) << crl;
  EXPECT_NE(std::string::npos, crl.find("X509v3 Issuing Distribution Point: critical")) << crl;
  EXPECT_NE(std::string::npos, crl.find("URI:http://127.0.0.1/int.crl")) << crl;
}

TEST_F(ToolCa, KeysAndRequestsOpensslReads) {
  Run("genkey --bits 1024 -o " + File("new.key"));
  struct stat st;
  ASSERT_EQ(0, stat(File("new.key").c_str(), &st));
  EXPECT_EQ(0600u, st.st_mode & 0777);
  std::string check = OpensslOutput(dir_->path(), "pkey -in new.key -check -noout");
  EXPECT_NE(std::string::npos, check.find("Key is valid")) << check;
  setenv("NYCERT_TOOL_TEST_PW", "tool pw", 1);
  Run("req --key " + File("new.key") + " --subject 'CN=Pw Test' --challenge-from-env NYCERT_TOOL_TEST_PW -o " +
      File("pw.csr"));
  std::string req = OpensslOutput(dir_->path(), "req -in pw.csr -verify -noout -text");
  EXPECT_NE(std::string::npos, req.find("verify OK")) << req;
  EXPECT_NE(std::string::npos, req.find("challengePassword        :tool pw")) << req;
}

TEST_F(ToolCa, UsageAndInputErrors) {
  struct Case {
    std::string args;
    int status;
    const char* says;
  };
  const Case cases[] = {
      {"genkey", 2, "-o KEY is required"},
      {"genkey --bits 12 -o x", 2, "--bits takes"},
      {"req --key " + File("ee.key") + " --subject 'CN=x' --san url:x -o x", 2, "not a subject alternative name"},
      {"req --key " + File("ee.key") + " --subject 'CN=x' --challenge-from-env NYCERT_NO_SUCH_VAR -o x", 1,
       "the environment has no"},
      {"req --key " + File("ee.csr") + " --subject 'CN=x' -o x", 1, "not a private key"},
      {"sign --ca-key " + File("int.key") + " --csr " + File("ee.csr") + " --days 1 -o x", 1,
       "needs a request signed by the CA key"},
      {"sign --ca-key " + File("int.key") + " --csr " + File("ee.csr") + " --days 1 --path-len 1 -o x", 2,
       "--path-len takes"},
      {"sign --ca-key " + File("int.key") + " --csr " + File("int.pem") + " --days 1 -o x", 1,
       "not a request whose signature verifies"},
      {"crl-sign --ca-cert " + File("int.pem") + " --ca-key " + File("int.key") + " --revoke 5:7 --days 1 -o x", 2,
       "not SERIAL[:REASON]"},
      {"crl-sign --ca-cert " + File("int.csr") + " --ca-key " + File("int.key") + " --days 1 -o x", 1,
       "not a certificate"},
      {"sign --ca-key " + File("int.key") + " --csr " + File("ee.csr") + " --days 1 --start 2025-13-01 -o x", 2,
       "not a time: 2025-13-01"},
      {"crl-sign --ca-cert " + File("int.pem") + " --ca-key " + File("int.key") + " --days 1 --start soon -o x", 2,
       "not a time: soon"},
      {"sign --bogus", 2, "unknown option '--bogus'"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.args);
    ToolResult r = RunNycert(c.args);
    EXPECT_EQ(c.status, r.status) << r.output;
    EXPECT_NE(std::string::npos, r.output.find(c.says)) << r.output;
  }
  for (const char* command : {"genkey", "req", "sign", "crl-sign"}) {
    ToolResult help = RunNycert(std::string(command) + " --help");
    EXPECT_EQ(0, help.status);
    EXPECT_NE(std::string::npos, help.output.find(std::string("usage: nycert ") + command)) << help.output;
  }
}

}  // namespace
#endif  // NYCERT_TOOL_PATH
