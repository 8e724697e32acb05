// The diagnostic gate and the two channels of the OS support layer.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "nycert/buffers/diag.h"
#include "nycert/platform/oserr.h"
#include "support/test_support.h"

namespace {

int g_argument_builds = 0;
int BuildArgument() { return ++g_argument_builds; }

using Lines = std::vector<std::string>;

}  // namespace

TEST(OsDiagGate, ShutGateSkipsTheCallAndItsArguments) {
  g_argument_builds = 0;
  EXPECT_EQ(Gated(
                [] {
                  OB_HERROR("value %d", BuildArgument());
                  return 0;
                },
                "value 1"),
            0);
  EXPECT_EQ(g_argument_builds, 1);
}

TEST(OsDiagPlain, SinksGetBareLines) {
  herror_set_sink(nullptr);
  testing::internal::CaptureStderr();
  herror_func(0, 0, "first %d", 1);
  herror_func(0, 0, "second ends in a newline\n");
  herror_func(0, 0, "%s", "");
  herror_func(0, 0, nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "first 1\nsecond ends in a newline\n\n");

  DiagCapture diag;
  std::string big(5000, 'x');  // long messages are not cut
  herror_func(0, 0, "%s: %s", "Func", "text\n");
  herror_func(0, 0, "%s", big.c_str());
  std::vector<unsigned char> octets(17, 0xE0);  // hex dumps: 16 octets a line
  hex_herror(octets.data(), 17);
  hex_herror(octets.data(), 0);
  hex_herror(nullptr, 4);
  EXPECT_EQ(diag.Lines(), (Lines{"Func: text", big, Repeat("e0 ", 16), "e0 "}));
}

TEST(OsDiagTopic, LevelsUpToTheMaxThresholdGetThrough) {
  DiagCapture diag;
  g_MsgTypeMaxThr = 2;
  tderrorFunc("CrlDB", 1, 0, "open %s", "db");
  tderrorFunc("CRLCache", 4, 0, "too detailed");
  tderrorFunc(nullptr, 1, 0, "no topic\n");
  g_argument_builds = 0;
  OB_TDERROR("CrlDB", 4, "record %d", BuildArgument());  // the macro skips its arguments too
  OB_TDERROR("CrlDB", 2, "low %s", "level");
  dodebugprt = 1;  // forces everything through
  tderrorFunc("CRLCache", 4, 0, "forced");
  EXPECT_EQ(diag.Lines(), (Lines{"[CrlDB:1] open db", "[:1] no topic", "[CrlDB:2] low level", "[CRLCache:4] forced"}));
  EXPECT_EQ(g_argument_builds, 0);
  tderror_set_sink(nullptr);  // the default sink writes to standard error
  testing::internal::CaptureStderr();
  OB_TDERROR("CrlDB", 4, "record %d", BuildArgument());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "[CrlDB:4] record 1\n");
}
