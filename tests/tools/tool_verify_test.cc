// The nycert program's verify command on the demonstration's sample PKI and
// the test chains: the four verdicts, the options, and its exit statuses.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/chain_files.h"
#include "support/test_support.h"
#include "support/tool_run.h"

#ifdef NYCERT_TOOL_PATH
namespace {

// The demonstration's sample PKI, made by its script with the program under
// test (keys from the shared cache, so that no test waits for key making).
class ToolVerify : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    pki_ = new TempDir;
    const char* names[] = {"root", "intermediate", "good", "revoked"};
    for (int i = 0; i < 4; ++i) WriteBytes(pki_->File(std::string(names[i]) + ".key"), ReadBytes(CachedKey(2048, i)));
    std::string script = std::string(NYCERT_TEST_DATA) + "/../../examples/make_demo_pki.sh";
    std::string command = "bash " + ShellQuote(script) + " " + ShellQuote(NYCERT_TOOL_PATH) + " " +
                          ShellQuote(pki_->path()) + " >/dev/null 2>&1";
    made_ = std::system(command.c_str()) == 0;
  }
  static void TearDownTestSuite() { delete pki_; }
  void SetUp() override { ASSERT_TRUE(made_) << "examples/make_demo_pki.sh failed"; }

  static std::string Demo(const std::string& file) { return ShellQuote(pki_->File(file)); }
  static ToolResult VerifyDemo(const std::string& args) {
    return RunNycert("verify --root " + Demo("root.pem") + " --crl " + Demo("crls.pem") + " " + args);
  }

  static TempDir* pki_;
  static bool made_;
};
TempDir* ToolVerify::pki_ = nullptr;
bool ToolVerify::made_ = false;

TEST_F(ToolVerify, TheGoodChainIsValid) {
  ToolResult run = VerifyDemo("--at 2026-06-01 " + Demo("good_chain.pem"));
  EXPECT_EQ(0, run.status) << run.output;
  EXPECT_EQ("verdict: validate certifcate OK\n", run.output);
}

TEST_F(ToolVerify, TheRevokedChainNamesTheCertificate) {
  ToolResult run = VerifyDemo("--at 2026-06-01 " + Demo("revoked_chain.pem"));
  EXPECT_EQ(1, run.status) << run.output;
  EXPECT_NE(std::string::npos, run.output.find("verdict: Certificate revoked\n")) << run.output;
  EXPECT_NE(std::string::npos,
            run.output.find("reason:  Certificate is revoked. CN=revoked.demo.test,O=Nycert Demo,C=US\n"));
  EXPECT_NE(std::string::npos, run.output.find("at:      certificate 0, CN=revoked.demo.test,O=Nycert Demo,C=US\n"));
}

TEST_F(ToolVerify, ABagInTheWrongOrderWithoutItsRootIsRepaired) {
  ToolResult run = VerifyDemo("--at 2026-06-01 " + Demo("unordered_bag.pem"));
  EXPECT_EQ(0, run.status) << run.output;
  // Without the root that anchors it, no chain is valid.
  ToolResult untrusted = RunNycert("verify --at 2026-06-01 " + Demo("unordered_bag.pem"));
  EXPECT_EQ(1, untrusted.status) << untrusted.output;
}

TEST_F(ToolVerify, AfterExpiryTheDateIsGiven) {
  ToolResult run = VerifyDemo("--at 2031-06-01T12:00:00 " + Demo("good_chain.pem"));
  EXPECT_EQ(1, run.status) << run.output;
  EXPECT_NE(std::string::npos, run.output.find("verdict: Certificate expired\n")) << run.output;
  EXPECT_NE(std::string::npos, run.output.find("reason:  Certificate has expired in 20")) << run.output;
}

TEST_F(ToolVerify, ChecksSelectTheStages) {
  // Without the revocation stage the revoked chain passes; without CRLs the
  // good one cannot be checked.
  EXPECT_EQ(0, VerifyDemo("--checks path,sig --at 2026-06-01 " + Demo("revoked_chain.pem")).status);
  ToolResult noCrl = RunNycert("verify --root " + Demo("root.pem") + " --at 2026-06-01 " + Demo("good_chain.pem"));
  EXPECT_EQ(1, noCrl.status);
  EXPECT_NE(std::string::npos, noCrl.output.find("verdict: Could not retrieve CRL.\n")) << noCrl.output;
  ToolResult badSig = RunNycert("verify --checks path,sig --at " + std::to_string(ChainSuiteTime()) + " --root " +
                                ShellQuote(ChainCaseDir("ica_bad_signature") + "/chain.pem") + " " +
                                ShellQuote(ChainCaseDir("ica_bad_signature") + "/chain.pem"));
  EXPECT_EQ(1, badSig.status) << badSig.output;
  EXPECT_NE(std::string::npos, badSig.output.find("at:      certificate 1, CN=Suite Intermediate")) << badSig.output;
}

TEST_F(ToolVerify, UsageAndUnreadableInputExitWithTwo) {
  EXPECT_EQ(2, RunNycert("verify").status);
  EXPECT_EQ(2, RunNycert("verify --checks path,bogus " + Demo("good_chain.pem")).status);
  EXPECT_EQ(2, RunNycert("verify --at yesterday " + Demo("good_chain.pem")).status);
  EXPECT_EQ(2, RunNycert("verify --root").status);
  EXPECT_EQ(2, VerifyDemo(Demo("missing.pem")).status);
  EXPECT_EQ(2, VerifyDemo(Demo("crls.pem")).status);
  ToolResult help = RunNycert("verify --help");
  EXPECT_EQ(0, help.status);
  EXPECT_NE(std::string::npos, help.output.find("usage: nycert verify"));
}

}  // namespace
#endif  // NYCERT_TOOL_PATH
