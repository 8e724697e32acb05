#include <gtest/gtest.h>

#include <climits>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_time.h"

namespace {

// The DER of a time text.
std::string TimeDer(unsigned tag, const std::string& text) {
  std::vector<unsigned char> der = {static_cast<unsigned char>(tag), static_cast<unsigned char>(text.size())};
  der.insert(der.end(), text.begin(), text.end());
  return ToHex(der.data(), der.size());
}

// The DER text of seconds through the C library's own calendar.
std::string LibcText(long seconds, bool fourDigitYear) {
  time_t t = static_cast<time_t>(seconds);
  struct tm parts;
  if (!gmtime_r(&t, &parts)) return "";
  char buf[40];
  long year = parts.tm_year + 1900L;
  std::snprintf(buf, sizeof buf, "%0*ld%02d%02d%02d%02d%02dZ", fourDigitYear ? 4 : 2, fourDigitYear ? year : year % 100,
                parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
  return buf;
}

struct Moment {
  long seconds;
  const char* text;
};

void ExpectRoundTrip(obAsnTime& value, unsigned tag, const Moment& m) {
  ASSERT_EQ(value.SetTime(m.seconds), 0) << m.text;
  EXPECT_EQ(value.str(), m.text);
  long back = 0;
  ASSERT_EQ(value.GetTime(&back), 0);
  EXPECT_EQ(back, m.seconds);
  EXPECT_EQ(EncodeHex(value), TimeDer(tag, m.text));
  EXPECT_TRUE(MeasureMatchesWrite(value));
  ASSERT_EQ(DecodeHex(value, TimeDer(tag, m.text)), 0);
  ASSERT_EQ(value.GetTime(&back), 0);
  EXPECT_EQ(back, m.seconds);
}

TEST(ObAsnTimeCodec, UtcTimeCovers1950To2049) {
  const Moment moments[] = {
      {-631152000, "500101000000Z"}, {2524607999, "491231235959Z"}, {0, "700101000000Z"},
      {2147483647, "380119031407Z"}, {2147483648, "380119031408Z"}, {951782400, "000229000000Z"},
      {946684799, "991231235959Z"},  {946684800, "000101000000Z"},
  };
  obAsnUTCTime utc;
  for (const Moment& m : moments) ExpectRoundTrip(utc, 23, m);

  DiagCapture diag;
  ASSERT_EQ(utc.SetTime(0), 0);
  EXPECT_EQ(utc.SetTime(-631152001), -1);
  EXPECT_TRUE(diag.Saw("obAsnUTCTime::SetTime -631152001 is outside the years 1950-2049"));
  EXPECT_EQ(utc.SetTime(2524608000), -1);
  EXPECT_EQ(utc.str(), "700101000000Z");
}

TEST(ObAsnTimeCodec, GeneralizedTimeCoversYears0To9999) {
  const Moment moments[] = {
      {2524608000, "20500101000000Z"}, {253402300799, "99991231235959Z"}, {-62167219200, "00000101000000Z"},
      {-1, "19691231235959Z"},         {2147483648, "20380119031408Z"},   {-631152001, "19491231235959Z"},
      {951782400, "20000229000000Z"},
  };
  obAsnGeneralizedTime gen;
  for (const Moment& m : moments) ExpectRoundTrip(gen, 24, m);
  DiagCapture diag;
  EXPECT_EQ(gen.SetTime(253402300800), -1);
  EXPECT_EQ(gen.SetTime(-62167219201), -1);
  EXPECT_TRUE(diag.Saw("obAsnGeneralizedTime::SetTime -62167219201 is outside the years 0-9999"));
  EXPECT_EQ(gen.SetTime(LONG_MIN), -1);
  EXPECT_EQ(gen.SetTime(LONG_MAX), -1);
  EXPECT_EQ(gen.str(), "20000229000000Z");
}

TEST(ObAsnTimeCodec, CalendarAgreesWithLibc) {
  std::mt19937_64 rng(2026);
  obAsnGeneralizedTime gen;
  obAsnUTCTime utc;
  for (int i = 0; i < 20000; ++i) {
    long seconds = -62167219200L + static_cast<long>(rng() % (253402300800ULL + 62167219200ULL));
    std::string expected = LibcText(seconds, true);
    ASSERT_EQ(gen.SetTime(seconds), 0);
    ASSERT_EQ(gen.str(), expected) << seconds;
    long back = 0;
    ASSERT_EQ(gen.GetTime(&back), 0);
    ASSERT_EQ(back, seconds);
    long inUtcRange = -631152000L + static_cast<long>(rng() % 3155760000ULL);
    ASSERT_EQ(utc.SetTime(inUtcRange), 0);
    ASSERT_EQ(utc.str(), LibcText(inUtcRange, false)) << inUtcRange;
  }
}

TEST(ObAsnTimeCodec, FieldRangesAndLeapYears) {
  const char* valid[] = {"20000229120000Z", "20240229000000Z", "20161231235960Z", "16000229000000Z", "20241231235959Z"};
  const char* invalid[] = {"19000229120000Z", "21000229120000Z", "20230229000000Z", "20240431000000Z",
                           "20241301000000Z", "20240001000000Z", "20240100000000Z", "20240101240000Z",
                           "20240101006000Z", "20240101000061Z", "20240230000000Z"};
  for (const char* text : valid) {
    obAsnGeneralizedTime gen;
    EXPECT_EQ(DecodeHex(gen, TimeDer(24, text)), 0) << text;
  }
  DiagCapture diag(false);
  for (const char* text : invalid) {
    obAsnGeneralizedTime gen;
    EXPECT_EQ(DecodeHex(gen, TimeDer(24, text)), -1) << text;
  }
  obAsnUTCTime utc;
  EXPECT_EQ(DecodeHex(utc, TimeDer(23, "230229000000Z")), -1);
  EXPECT_EQ(DecodeHex(utc, TimeDer(23, "240229000000Z")), 0);
  EXPECT_TRUE(diag.Lines().empty());
  // A leap second counts as the first second of the next minute.
  long seconds = 0;
  obAsnGeneralizedTime leap("20161231235960Z");
  ASSERT_EQ(leap.GetTime(&seconds), 0);
  EXPECT_EQ(seconds, 1483228800);
}

TEST(ObAsnTimeCodec, UtcTimeBerFormsDecodeAndEncodeAsDer) {
  struct Case {
    const char* text;
    long seconds;
    const char* der;
  } cases[] = {
      {"9912312359Z", 946684740, "991231235900Z"},
      {"991231235959+0100", 946681199, "991231225959Z"},
      {"991231235959-0130", 946690199, "000101012959Z"},
      {"9912312359+0000", 946684740, "991231235900Z"},
  };
  for (const Case& c : cases) {
    obAsnUTCTime utc;
    ASSERT_EQ(DecodeHex(utc, TimeDer(23, c.text)), 0) << c.text;
    EXPECT_EQ(utc.str(), c.text);
    long seconds = 0;
    ASSERT_EQ(utc.GetTime(&seconds), 0);
    EXPECT_EQ(seconds, c.seconds) << c.text;
    EXPECT_EQ(EncodeHex(utc), TimeDer(23, c.der)) << c.text;
    EXPECT_TRUE(MeasureMatchesWrite(utc));
  }
  // Valid as text, but its UTC year leaves the UTCTime range.
  obAsnUTCTime late("491231233000-0100");
  long seconds = 0;
  ASSERT_EQ(late.GetTime(&seconds), 0);
  EXPECT_EQ(seconds, 2524609800);
  DiagCapture diag;
  EXPECT_EQ(EncodeHex(late), "error");
  EXPECT_TRUE(diag.Saw("obAsnUTCTime::BEncContent can't form the DER content"));
}

TEST(ObAsnTimeCodec, MalformedTextsAreRefused) {
  const char* badUtc[] = {"991231235959",    "991231235959.5Z",   "99123123595Z",
                          "991231235959+01", "991231235959+2400", "991231235959+0160",
                          "991231235959Zx",  "9a1231235959Z",     "",
                          "991331235959Z",   "991231235959z",     "991231235959 Z"};
  const char* badGen[] = {"20261121081500.Z", "202611210815.5Z",  "20261121081500", "2026112108Z",
                          "261121081500Z",    "20261121081500.5", "+2026112108150Z"};
  DiagCapture diag;
  for (const char* text : badUtc) {
    obAsnUTCTime utc;
    EXPECT_EQ(DecodeHex(utc, TimeDer(23, text)), -1) << text;
    long seconds = 0;
    EXPECT_EQ(obAsnUTCTime(text).GetTime(&seconds), -1) << text;
  }
  for (const char* text : badGen) {
    obAsnGeneralizedTime gen;
    EXPECT_EQ(DecodeHex(gen, TimeDer(24, text)), -1) << text;
  }
  diag.Clear();
  obAsnUTCTime utc;
  EXPECT_EQ(DecodeHex(utc, TimeDer(23, "991331235959Z")), -1);
  EXPECT_TRUE(diag.Saw("obAsnUTCTime::BDecContent content not allowed in this type before offset = 15"));
  diag.Clear();
  EXPECT_EQ(obAsnUTCTime("junk").GetTime(nullptr), -1);
  EXPECT_TRUE(diag.Saw("obAsnUTCTime::GetTime the content is not a valid time"));
  DiagCapture shut(false);
  EXPECT_EQ(DecodeHex(utc, TimeDer(23, "991331235959Z")), -1);
  EXPECT_TRUE(shut.Lines().empty());
}

TEST(ObAsnTimeCodec, GeneralizedTimeFractionsAreDropped) {
  const char* texts[] = {"20261121081500.123Z", "20261121081500,5Z", "202611210815Z", "20261121091500+0100"};
  for (const char* text : texts) {
    obAsnGeneralizedTime gen;
    ASSERT_EQ(DecodeHex(gen, TimeDer(24, text)), 0) << text;
    long seconds = 0;
    ASSERT_EQ(gen.GetTime(&seconds), 0);
    EXPECT_EQ(seconds, 1795248900) << text;
    EXPECT_EQ(EncodeHex(gen), TimeDer(24, "20261121081500Z")) << text;
  }
}

TEST(ObAsnTimeCodec, ConstructedAndWrongTag) {
  obAsnUTCTime utc;
  ASSERT_EQ(DecodeHex(utc, "37 80 04 05 39 39 31 32 33 04 08 31 32 33 35 39 35 39 5A 00 00"), 0);
  EXPECT_EQ(utc.str(), "991231235959Z");
  DiagCapture diag;
  EXPECT_EQ(DecodeHex(utc, TimeDer(24, "20261121081500Z")), -1);
  EXPECT_TRUE(diag.Saw("obAsnUTCTime::BDec wrong tag before offset = 1"));
}

TEST(ObAsnTimeCodec, PrintingAndCopies) {
  EXPECT_EQ(SprintText(obAsnGeneralizedTime("20261121081500Z"), 0), "2026-11-21 08:15:00 UTC\n");
  EXPECT_EQ(SprintText(obAsnUTCTime("261121091500+0100"), 2), "    2026-11-21 08:15:00 UTC\n");
  EXPECT_EQ(SprintText(obAsnUTCTime("garbage"), 0), "garbage\n");
  EXPECT_EQ(obAsnTimeText(-1), "1969-12-31 23:59:59 UTC");
  EXPECT_EQ(obAsnTimeText(253402300799), "9999-12-31 23:59:59 UTC");
  obAsnUTCTime a("700101000000Z");
  std::unique_ptr<obAsnType> copy(a.Copy());
  EXPECT_STREQ(copy->TypeName(), "obAsnUTCTime");
  EXPECT_EQ(*static_cast<obAsnUTCTime*>(copy.get()), a);
  std::unique_ptr<obAsnType> clone(a.Clone());
  EXPECT_EQ(static_cast<obAsnUTCTime*>(clone.get())->size(), 0u);
  EXPECT_NE(obAsnUTCTime("700101000000Z"), obAsnGeneralizedTime("700101000000Z"));
}

TEST(ObAsnTimeCodec, MatchesOpensslEncodings) {
  struct Case {
    const char* genstr;
    long seconds;
    bool generalized;
  } cases[] = {
      {"UTCTIME:491231235959Z", 2524607999, false},
      {"UTCTIME:500101000000Z", -631152000, false},
      {"GENTIME:20500101000000Z", 2524608000, true},
      {"GENTIME:99991231235959Z", 253402300799, true},
  };
  for (const Case& c : cases) {
    std::string peer = OpensslGenstr(c.genstr);
    if (peer.empty()) GTEST_SKIP() << "openssl is not available";
    obAsnUTCTime utc;
    obAsnGeneralizedTime gen;
    obAsnTime& mine = c.generalized ? static_cast<obAsnTime&>(gen) : static_cast<obAsnTime&>(utc);
    ASSERT_EQ(mine.SetTime(c.seconds), 0);
    EXPECT_EQ(EncodeHex(mine), peer) << c.genstr;
    ASSERT_EQ(DecodeHex(mine, peer), 0);
    long back = 0;
    ASSERT_EQ(mine.GetTime(&back), 0);
    EXPECT_EQ(back, c.seconds);
  }
}

}  // namespace
