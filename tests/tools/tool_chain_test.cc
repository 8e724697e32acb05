#include <gtest/gtest.h>

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

TEST(ToolChain, UsageAndUnreadableInput) {
  EXPECT_EQ(2, RunNycert("chain").status);
  EXPECT_EQ(2, RunNycert("chain --root").status);
  EXPECT_EQ(2, RunNycert("chain --bogus " + Pem("leaf")).status);
  EXPECT_EQ(2, RunNycert("chain /nonexistent/bag.pem").status);
  EXPECT_EQ(1, RunNycert("chain " + Pem("loop-a2") + " " + Pem("loop-b")).status);
}

}  // namespace
