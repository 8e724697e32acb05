// The nycert program's verify command on the demonstration's sample PKI and
// the test chains: the four verdicts, the options, and its exit statuses.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "support/chain_files.h"
#include "support/chain_pki.h"
#include "support/ocsp_peer.h"
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

TEST_F(ToolVerify, TrustsTheRootsOfAPkcs12File) {
  TempDir dir;
  std::ofstream(dir.File("password")) << "verify secret\n";
  ASSERT_TRUE(ExportChainPkcs12(dir.File("own.p12"), "own", {"ca1", "root"}, "verify secret"));
  const ChainPki& pki = SharedChainPki();
  std::string keyHolder = "verify --key-holder-from " + ShellQuote(dir.File("own.p12")) + " --pass file:" +
                          ShellQuote(dir.File("password")) + " --checks path,sig ";
  ToolResult run = RunNycert(keyHolder + ShellQuote(pki.PemPath("leaf")) + " " + ShellQuote(pki.PemPath("ca2")));
  EXPECT_EQ(0, run.status) << run.output;
  EXPECT_EQ("verdict: validate certifcate OK\n", run.output);
  ToolResult unrelated = RunNycert(keyHolder + ShellQuote(pki.PemPath("stray")));
  EXPECT_EQ(1, unrelated.status) << unrelated.output;
  ToolResult wrong = RunNycert("verify --key-holder-from " + ShellQuote(dir.File("own.p12")) + " --pass file:" +
                               ShellQuote(dir.File("own.p12")) + " " + ShellQuote(pki.PemPath("leaf")));
  EXPECT_EQ(2, wrong.status) << wrong.output;
}

// Revocation by OCSP against the openssl tool's responder on 127.0.0.1,
// over a CA database that knows a good and a revoked certificate.
class ToolVerifyOcsp : public ::testing::Test {
 protected:
  std::string Cert(const std::string& name) const { return ShellQuote(pki.pki.dir() + "/" + name + ".pem"); }
  ToolResult Verify(const std::string& args, const std::string& cert) const {
    return RunNycert("verify --root " + ShellQuote(pki.pki.CaPemPath()) + " " + args + " " + Cert(cert));
  }

  // Made when the first of these tests runs, not when the suite starts.
  const OcspPki& pki = SharedOcspPki();
};

TEST_F(ToolVerifyOcsp, TheResponderGivesEachStatus) {
  auto responder = pki.Responder(pki.CaSigner());
  ASSERT_NE(0, responder->Port());
  std::string ocsp = "--ocsp " + responder->Url();
  ToolResult good = Verify(ocsp, "ocsp_good");
  EXPECT_EQ(0, good.status) << good.output;
  EXPECT_EQ("verdict: validate certifcate OK\n", good.output);
  ToolResult revoked = Verify(ocsp, "ocsp_revoked");
  EXPECT_EQ(1, revoked.status) << revoked.output;
  EXPECT_NE(std::string::npos, revoked.output.find("verdict: Certificate revoked\n")) << revoked.output;
  EXPECT_NE(std::string::npos, revoked.output.find("at:      certificate 0, CN=ocsp revoked")) << revoked.output;
  ToolResult unknown = Verify(ocsp, "ocsp_unknown");
  EXPECT_EQ(1, unknown.status) << unknown.output;
  EXPECT_NE(std::string::npos, unknown.output.find("The status of the checked certificate is unknown.")) << unknown.output;
  // A responder that cannot be reached is passed over for the next one.
  std::string unreachable = "http://127.0.0.1:1/";
  EXPECT_EQ(0, Verify("--ocsp " + unreachable + " " + ocsp, "ocsp_good").status);
}

TEST_F(ToolVerifyOcsp, ADelegatedResponderIsTrustedAndAStrangerIsNot) {
  auto delegated = pki.Responder(pki.Signer("ocsp_delegate"));
  ASSERT_NE(0, delegated->Port());
  ToolResult good = Verify("--ocsp " + delegated->Url(), "ocsp_good");
  EXPECT_EQ(0, good.status) << good.output;
  auto stranger = pki.Responder(pki.Signer("ocsp_other"));
  ASSERT_NE(0, stranger->Port());
  ToolResult refused = Verify("--ocsp " + stranger->Url(), "ocsp_good");
  EXPECT_EQ(1, refused.status) << refused.output;
  EXPECT_NE(std::string::npos, refused.output.find("reason:  Failed to process the OCSP response.")) << refused.output;
}

TEST_F(ToolVerifyOcsp, TheResponderCanComeFromTheCertificate) {
  WriteBytes(pki.pki.dir() + "/aia_index.txt", Text(IndexLine('V', "5101", "/CN=ocsp aia")));
  OcspResponderProcess responder(pki.pki.dir(), "aia_index.txt", "-CA ca.pem " + pki.CaSigner());
  ASSERT_NE(0, responder.Port());
  CertRequest request;
  request.subject = "/CN=ocsp aia";
  request.serial = "0x5101";
  request.keyBits = 1024;
  request.extensions = "authorityInfoAccess=OCSP;URI:" + responder.Url();
  pki.pki.Issue("ocsp_aia", request);
  ToolResult good = Verify("--ocsp-from-aia", "ocsp_aia");
  EXPECT_EQ(0, good.status) << good.output;
  ToolResult noUrl = Verify("--ocsp-from-aia", "ocsp_good");
  EXPECT_EQ(1, noUrl.status) << noUrl.output;
  EXPECT_NE(std::string::npos, noUrl.output.find("No URL to address the OCSP request to.")) << noUrl.output;
}

TEST_F(ToolVerifyOcsp, AResponderThatNeverAnswersTimesOut) {
  SilentServer silent;
  ToolResult late = Verify("-t 1 --ocsp " + silent.Url(), "ocsp_good");
  EXPECT_EQ(1, late.status) << late.output;
  EXPECT_NE(std::string::npos, late.output.find("verdict: Validation timeout\n")) << late.output;
  EXPECT_NE(std::string::npos, late.output.find("reason:  Validation timed out.")) << late.output;
}

TEST_F(ToolVerifyOcsp, WithCrlsBesideOcspBothMustPass) {
  auto responder = pki.Responder(pki.CaSigner());
  ASSERT_NE(0, responder->Port());
  TempDir emptyDb;
  ToolResult both = Verify("--ocsp " + responder->Url() + " --crl-db " + ShellQuote(emptyDb.path()), "ocsp_good");
  EXPECT_EQ(1, both.status) << both.output;
  EXPECT_NE(std::string::npos, both.output.find("verdict: Could not retrieve CRL.\n")) << both.output;
  ToolResult revoked = Verify("--ocsp " + responder->Url() + " --crl-db " + ShellQuote(emptyDb.path()), "ocsp_revoked");
  EXPECT_NE(std::string::npos, revoked.output.find("verdict: Certificate revoked\n")) << revoked.output;
}

TEST_F(ToolVerify, UsageAndUnreadableInputExitWithTwo) {
  EXPECT_EQ(2, RunNycert("verify").status);
  EXPECT_EQ(2, RunNycert("verify --checks path,bogus " + Demo("good_chain.pem")).status);
  EXPECT_EQ(2, RunNycert("verify --at yesterday " + Demo("good_chain.pem")).status);
  EXPECT_EQ(2, RunNycert("verify --root").status);
  EXPECT_EQ(2, RunNycert("verify --ocsp http://127.0.0.1:1/ --ocsp-from-aia " + Demo("good_chain.pem")).status);
  EXPECT_EQ(2, RunNycert("verify -t 0 " + Demo("good_chain.pem")).status);
  EXPECT_EQ(2, RunNycert("verify --ocsp").status);
  EXPECT_EQ(2, VerifyDemo(Demo("missing.pem")).status);
  EXPECT_EQ(2, VerifyDemo(Demo("crls.pem")).status);
  ToolResult help = RunNycert("verify --help");
  EXPECT_EQ(0, help.status);
  EXPECT_NE(std::string::npos, help.output.find("usage: nycert verify"));
}

}  // namespace
#endif  // NYCERT_TOOL_PATH
