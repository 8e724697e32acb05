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

struct TopicLine {
  std::string topic;
  int level;
  std::string line;
};
std::vector<TopicLine>& TopicLines() {
  static std::vector<TopicLine> lines;
  return lines;
}
void RecordTopic(const char* topic, int level, const char* line) { TopicLines().push_back({topic, level, line}); }

std::vector<std::string>& PlainLines() {
  static std::vector<std::string> lines;
  return lines;
}
void RecordPlain(const char* line) { PlainLines().push_back(line); }

// Sets the switches for one test and puts them back afterwards.
class Switches {
 public:
  Switches(int debug, int thr, int max_thr) : debug_(dodebugprt), thr_(g_MsgTypeThr), max_thr_(g_MsgTypeMaxThr) {
    dodebugprt = debug;
    g_MsgTypeThr = thr;
    g_MsgTypeMaxThr = max_thr;
  }
  ~Switches() {
    dodebugprt = debug_;
    g_MsgTypeThr = thr_;
    g_MsgTypeMaxThr = max_thr_;
  }

 private:
  int debug_, thr_, max_thr_;
};

}  // namespace

TEST(OsDiagGate, OpensOnDebugOrThresholdFour) {
  struct Case {
    int debug, thr;
    bool open;
  };
  for (Case c : {Case{0, 0, false}, Case{0, 3, false}, Case{0, 4, true}, Case{0, 9, true}, Case{1, 0, true},
                 Case{-1, -5, true}}) {
    Switches sw(c.debug, c.thr, 0);
    EXPECT_EQ(obDiagOn(), c.open) << "dodebugprt=" << c.debug << " g_MsgTypeThr=" << c.thr;
  }
}

TEST(OsDiagGate, ShutGateSkipsTheCallAndItsArguments) {
  DiagCapture diag(false);
  g_argument_builds = 0;
  OB_HERROR("value %d", BuildArgument());
  EXPECT_EQ(g_argument_builds, 0);
  EXPECT_TRUE(diag.Lines().empty());

  g_MsgTypeThr = 4;
  OB_HERROR("value %d", BuildArgument());
  EXPECT_EQ(g_argument_builds, 1);
  EXPECT_EQ(diag.Lines(), (std::vector<std::string>{"value 1"}));
}

TEST(OsDiagPlain, DefaultSinkWritesOneLinePerMessage) {
  herror_set_sink(nullptr);
  testing::internal::CaptureStderr();
  herror_func(0, 0, "first %d", 1);
  herror_func(0, 0, "second ends in a newline\n");
  herror_func(0, 0, "%s", "");
  herror_func(0, 0, nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "first 1\nsecond ends in a newline\n\n");
}

TEST(OsDiagPlain, CustomSinkGetsBareLines) {
  PlainLines().clear();
  herror_set_sink(RecordPlain);
  std::string big(5000, 'x');
  herror_func(0, 0, "%s: %s", "Func", "text\n");
  herror_func(0, 0, "%s", big.c_str());
  herror_set_sink(nullptr);
  ASSERT_EQ(PlainLines().size(), 2u);
  EXPECT_EQ(PlainLines()[0], "Func: text");
  EXPECT_EQ(PlainLines()[1], big);  // long messages are not cut
}

TEST(OsDiagPlain, HexDumpSixteenOctetsALine) {
  DiagCapture diag(true);
  std::vector<unsigned char> octets;
  for (int i = 0; i < 33; ++i) octets.push_back(static_cast<unsigned char>(0xE0 + i));
  hex_herror(octets.data(), 33);
  EXPECT_EQ(diag.Lines(), (std::vector<std::string>{
                              "e0 e1 e2 e3 e4 e5 e6 e7 e8 e9 ea eb ec ed ee ef ",
                              "f0 f1 f2 f3 f4 f5 f6 f7 f8 f9 fa fb fc fd fe ff ",
                              "00 ",
                          }));
  diag.Clear();
  hex_herror(octets.data(), 0);
  hex_herror(nullptr, 4);
  EXPECT_TRUE(diag.Lines().empty());
}

TEST(OsDiagTopic, SinkReceivesTopicAndLevelFilteredByMaxThreshold) {
  Switches sw(0, 0, 2);
  TopicLines().clear();
  tderror_set_sink(RecordTopic);
  tderrorFunc("CrlDB", 1, 0, "open %s", "db");
  tderrorFunc("CRLCache", 2, 0, "fetch %d", 7);
  tderrorFunc("CRLCache", 4, 0, "too detailed");
  tderrorFunc(nullptr, 1, 0, "no topic\n");
  ASSERT_EQ(TopicLines().size(), 3u);
  EXPECT_EQ(TopicLines()[0].topic, "CrlDB");
  EXPECT_EQ(TopicLines()[0].level, 1);
  EXPECT_EQ(TopicLines()[0].line, "open db");
  EXPECT_EQ(TopicLines()[1].topic, "CRLCache");
  EXPECT_EQ(TopicLines()[1].level, 2);
  EXPECT_EQ(TopicLines()[1].line, "fetch 7");
  EXPECT_EQ(TopicLines()[2].topic, "");
  EXPECT_EQ(TopicLines()[2].line, "no topic");

  TopicLines().clear();
  dodebugprt = 1;  // forces everything through
  tderrorFunc("CRLCache", 4, 0, "forced");
  ASSERT_EQ(TopicLines().size(), 1u);
  EXPECT_EQ(TopicLines()[0].level, 4);
  tderror_set_sink(nullptr);
}

TEST(OsDiagTopic, GatedMacroAndDefaultSink) {
  Switches sw(0, 0, 4);
  g_argument_builds = 0;
  tderror_set_sink(nullptr);
  testing::internal::CaptureStderr();
  OB_TDERROR("CrlDB", 4, "record %d", BuildArgument());
  g_MsgTypeMaxThr = 3;
  OB_TDERROR("CrlDB", 4, "record %d", BuildArgument());
  OB_TDERROR("CrlDB", 2, "low %s", "level");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "[CrlDB:4] record 1\n[CrlDB:2] low level\n");
  EXPECT_EQ(g_argument_builds, 1);
}
