#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "support/chain_pki.h"
#include "support/test_support.h"
#include "support/tool_run.h"

namespace {

std::string Pem(const std::string& name) { return ShellQuote(SharedChainPki().PemPath(name)); }

TEST(ToolChain, SortsAShuffledBagAndAnchorsIt) {
  ToolResult result = RunNycert("chain --root " + Pem("root") + " " + Pem("ca1") + " " + Pem("leaf") + " " +
                                Pem("stray") + " " + Pem("ca2"));
  EXPECT_EQ(0, result.status) << result.output;
  EXPECT_NE(std::string::npos, result.output.find("0: CN=leaf.example,O=Chain Test\n1: CN=CA 2,O=Chain Test\n"
                                                  "2: CN=CA 1,O=Chain Test\n3: CN=Root,O=Chain Test\n"
                                                  "anchored at "))
      << result.output;
  EXPECT_EQ(0u, CountOccurrences(result.output, "Stray"));
}

TEST(ToolChain, PrintsPemAndSaysWhyNothingAnchors) {
  ToolResult pem = RunNycert("chain --pem --root " + Pem("root") + " " + Pem("leaf") + " " + Pem("ca2") + " " + Pem("ca1"));
  EXPECT_EQ(0, pem.status) << pem.output;
  EXPECT_EQ(4u, CountOccurrences(pem.output, "-----BEGIN CERTIFICATE-----"));
  ToolResult lost = RunNycert("chain --root " + Pem("other-root") + " " + Pem("leaf"));
  EXPECT_EQ(1, lost.status) << lost.output;
  EXPECT_NE(std::string::npos, lost.output.find("not anchored: obCert_FixChain: Can't find the chains' root CA"));
}

// Key holders read from PKCS#12 files that the openssl tool writes: the
// holder's own certificate brings its chain up to the root.
class ToolChainPkcs12 : public ::testing::Test {
 protected:
  void SetUp() override {
    std::ofstream(passFile) << "p12 secret\n";
    ASSERT_TRUE(ExportChainPkcs12(dir.File("own.p12"), "own", {"ca1", "root"}, "p12 secret"));
    ASSERT_TRUE(ExportChainPkcs12(dir.File("bare.p12"), "own", {}, "p12 secret"));
  }
  ToolResult Chain(const std::string& p12, const std::string& args) {
    return RunNycert("chain --key-holder-from " + ShellQuote(dir.File(p12)) + " --pass file:" + ShellQuote(passFile) +
                     " " + args);
  }

  TempDir dir;
  std::string passFile = dir.File("password");
};

TEST_F(ToolChainPkcs12, AnchorsAtTheRootTheFileHolds) {
  ToolResult result = Chain("own.p12", Pem("ca2") + " " + Pem("leaf"));
  EXPECT_EQ(0, result.status) << result.output;
  EXPECT_NE(std::string::npos, result.output.find("0: CN=leaf.example,O=Chain Test\n1: CN=CA 2,O=Chain Test\n"
                                                  "2: CN=CA 1,O=Chain Test\n3: CN=Root,O=Chain Test\n"
                                                  "anchored at "))
      << result.output;
  // Given roots and the file's add up: the other root anchors its own chain.
  ToolResult both = Chain("own.p12", "--root " + Pem("other-root") + " " + Pem("x-ca1"));
  EXPECT_EQ(0, both.status) << both.output;
  EXPECT_NE(std::string::npos, both.output.find("CN=Other Root")) << both.output;
}

TEST_F(ToolChainPkcs12, AFileWithoutCAsAnchorsNothing) {
  ToolResult result = Chain("bare.p12", Pem("ca2") + " " + Pem("leaf"));
  EXPECT_EQ(1, result.status) << result.output;
  EXPECT_NE(std::string::npos, result.output.find("not anchored: ")) << result.output;
}

TEST_F(ToolChainPkcs12, AWrongPasswordOrAMissingFileIsAnInputError) {
  std::ofstream(passFile) << "not it\n";
  ToolResult wrong = Chain("own.p12", Pem("leaf"));
  EXPECT_EQ(2, wrong.status) << wrong.output;
  EXPECT_NE(std::string::npos, wrong.output.find(dir.File("own.p12") + ": ")) << wrong.output;
  ToolResult missing = Chain("missing.p12", Pem("leaf"));
  EXPECT_EQ(2, missing.status) << missing.output;
  EXPECT_NE(std::string::npos, missing.output.find("missing.p12: cannot read the file")) << missing.output;
  ToolResult noPassword = RunNycert("chain --key-holder-from " + ShellQuote(dir.File("own.p12")) +
                                    " --pass env:NYCERT_TEST_UNSET_VARIABLE " + Pem("leaf"));
  EXPECT_EQ(2, noPassword.status) << noPassword.output;
  EXPECT_NE(std::string::npos, noPassword.output.find("NYCERT_TEST_UNSET_VARIABLE is not set")) << noPassword.output;
}

TEST(ToolChain, UsageAndUnreadableInput) {
  EXPECT_EQ(2, RunNycert("chain").status);
  EXPECT_EQ(2, RunNycert("chain --root").status);
  EXPECT_EQ(2, RunNycert("chain --bogus " + Pem("leaf")).status);
  EXPECT_EQ(2, RunNycert("chain /nonexistent/bag.pem").status);
  EXPECT_EQ(1, RunNycert("chain " + Pem("loop-a2") + " " + Pem("loop-b")).status);
}

}  // namespace
