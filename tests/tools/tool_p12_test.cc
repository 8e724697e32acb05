// The nycert program's p12 command, run as a user runs it.
#include <gtest/gtest.h>

#include <string>

#include "support/p12_files.h"
#include "support/test_support.h"
#include "support/tool_run.h"

#ifdef NYCERT_TOOL_PATH
namespace {

class ToolP12 : public ::testing::Test {
 protected:
  std::string File(const std::string& name) const { return SharedP12Files().File(name); }
  // Runs nycert with P12PASS and P12NEW set in its environment.
  ToolResult Run(const std::string& args) { return RunNycert("p12 " + args); }
  void SetUp() override {
    setenv("P12PASS", "abcd-1234", 1);
    setenv("P12NEW", "wxyz-9876", 1);
  }
};

TEST_F(ToolP12, ExportInfoImportRoundTrip) {
  const P12TestFiles& files = SharedP12Files();
  ToolResult exported = Run("export --key " + File("p12_leaf.key") + " --cert " + File("p12_leaf.pem") +
                            " --root " + File("ca.pem") + " --name tool-key --pass env:P12PASS -o " +
                            File("tool.p12"));
  ASSERT_EQ(0, exported.status) << exported.output;
  EXPECT_TRUE(Openssl(files.dir, "pkcs12 -nodes -passin pass:abcd-1234 -in tool.p12 -out tool_check.pem"));

  ToolResult info = Run("info --pass env:P12PASS " + File("tool.p12"));
  EXPECT_EQ(0, info.status) << info.output;
  EXPECT_EQ(1u, CountOccurrences(info.output, "key bag"));
  EXPECT_EQ(2u, CountOccurrences(info.output, "certificate bag"));
  EXPECT_EQ(2u, CountOccurrences(info.output, "friendlyName: tool-key"));
  EXPECT_NE(std::string::npos, info.output.find("MAC: HMAC-SHA2-256, 2048 iterations"));
  EXPECT_EQ(std::string::npos, info.output.find("BEGIN"));

  ToolResult imported = Run("import --pass env:P12PASS " + File("tool.p12"));
  EXPECT_EQ(0, imported.status);
  EXPECT_EQ(1u, CountOccurrences(imported.output, "BEGIN PRIVATE KEY"));
  EXPECT_EQ(2u, CountOccurrences(imported.output, "BEGIN CERTIFICATE"));
}

TEST_F(ToolP12, LegacyExportAndPasswordChange) {
  const P12TestFiles& files = SharedP12Files();
  ASSERT_EQ(0, Run("export --legacy --key " + File("p12_leaf.key") + " --cert " + File("p12_leaf.pem") +
                   " --pass env:P12PASS -o " + File("tool_legacy.p12"))
                   .status);
  EXPECT_TRUE(Openssl(files.dir, "pkcs12 -legacy -nodes -passin pass:abcd-1234 -in tool_legacy.p12 -out /dev/null"));
  ToolResult changed = Run("passwd --pass env:P12PASS --new-pass env:P12NEW " + File("tool_legacy.p12"));
  EXPECT_EQ(0, changed.status) << changed.output;
  EXPECT_TRUE(Openssl(files.dir, "pkcs12 -legacy -nodes -passin pass:wxyz-9876 -in tool_legacy.p12 -out /dev/null"));
  ToolResult wrong = Run("info --pass env:P12PASS " + File("tool_legacy.p12"));
  EXPECT_EQ(1, wrong.status);
  EXPECT_NE(std::string::npos, wrong.output.find("wrong password"));
}

TEST_F(ToolP12, UsageErrors) {
  EXPECT_EQ(2, Run("").status);
  EXPECT_EQ(2, Run("export --key x").status);
  EXPECT_EQ(2, Run("info --bogus").status);
  EXPECT_EQ(1, Run("info --pass env:NO_SUCH_VARIABLE_SET " + File("tool.p12")).status);
  EXPECT_EQ(1, Run("info --pass pass:literal " + File("tool.p12")).status);
}

}  // namespace
#endif
