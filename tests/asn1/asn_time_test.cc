#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <ctime>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_time.h"
#include "support/test_support.h"

namespace {

// The DER of a time text.
std::string TimeDer(unsigned tag, const std::string& text) { return TlvHex(tag, {text.begin(), text.end()}); }

// The DER text of seconds through the C library's own calendar.
std::string LibcText(long seconds, bool four_digit_year) {
  time_t t = static_cast<time_t>(seconds);
  struct tm parts;
  if (!gmtime_r(&t, &parts)) return "";
  char buf[40];
  long year = parts.tm_year + 1900L;
  std::snprintf(buf, sizeof buf, "%0*ld%02d%02d%02d%02d%02dZ", four_digit_year ? 4 : 2,
                four_digit_year ? year : year % 100, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min,
                parts.tm_sec);
  return buf;
}

long SecondsOf(const obAsnTime& t) {
  long seconds = -9;
  return t.GetTime(&seconds) == 0 ? seconds : -9;
}

template <typename T>
T TimeAt(long seconds) {
  T value;
  EXPECT_EQ(value.SetTime(seconds), 0) << seconds;
  return value;
}

TEST(ObAsnTimeCodec, TextsSecondsAndDerAgree) {
  struct Case {
    unsigned tag;
    const char* text;
    long seconds;
    const char* der = nullptr;  // null: the text
  } cases[] = {
      // UTCTime years 50-99 are 19xx, 00-49 are 20xx.
      {23, "500101000000Z", -631152000},
      {23, "491231235959Z", 2524607999},
      {23, "700101000000Z", 0},
      {23, "380119031408Z", 2147483648},
      {23, "000229000000Z", 951782400},
      {23, "991231235959Z", 946684799},
      {24, "20500101000000Z", 2524608000},
      {24, "19491231235959Z", -631152001},
      {24, "99991231235959Z", 253402300799},
      {24, "00000101000000Z", -62167219200},
      {24, "16000229000000Z", -11670998400},
      // BER forms decode and encode as DER.
      {23, "9912312359Z", 946684740, "991231235900Z"},
      {23, "991231235959+0100", 946681199, "991231225959Z"},
      {23, "991231235959-0130", 946690199, "000101012959Z"},
      {23, "9912312359+0000", 946684740, "991231235900Z"},
      {24, "20261121081500.123Z", 1795248900, "20261121081500Z"},  // fractions are dropped
      {24, "20261121081500,5Z", 1795248900, "20261121081500Z"},
      {24, "202611210815Z", 1795248900, "20261121081500Z"},
      {24, "20261121091500+0100", 1795248900, "20261121081500Z"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    obAsnUTCTime utc, utc_set;
    obAsnGeneralizedTime gen, gen_set;
    obAsnTime& value = c.tag == 24 ? static_cast<obAsnTime&>(gen) : utc;
    obAsnTime& set = c.tag == 24 ? static_cast<obAsnTime&>(gen_set) : utc_set;
    std::string der = TimeDer(c.tag, c.der ? c.der : c.text);
    ASSERT_EQ(DecodeHex(value, TimeDer(c.tag, c.text)), 0);
    EXPECT_EQ(SecondsOf(value), c.seconds);
    EXPECT_EQ(EncodeHex(value), der);
    EXPECT_TRUE(MeasureMatchesWrite(value));
    ASSERT_EQ(set.SetTime(c.seconds), 0);
    EXPECT_EQ(EncodeHex(set), der);
  }
  // A leap second counts as the next minute's first, and is re-encoded as written.
  obAsnGeneralizedTime leap;
  ASSERT_EQ(DecodeHex(leap, TimeDer(24, "20161231235960Z")), 0);
  EXPECT_EQ(SecondsOf(leap), 1483228800);
  EXPECT_EQ(EncodeHex(leap), TimeDer(24, "20161231235960Z"));
  obAsnUTCTime utc;
  ASSERT_EQ(DecodeHex(utc, "37 80 04 05 39 39 31 32 33 04 08 31 32 33 35 39 35 39 5A 00 00"), 0);
  EXPECT_EQ(utc.str(), "991231235959Z");
  // Valid as text, but its UTC year leaves the UTCTime range.
  obAsnUTCTime late("491231233000-0100");
  EXPECT_EQ(SecondsOf(late), 2524609800);
  EXPECT_EQ(Gated([&] { return EncodeIntoRoom(late, 32); }, "obAsnUTCTime::BEncContent can't form the DER content"),
            -1);
}

TEST(ObAsnTimeCodec, SetTimeKeepsToEachTypesYears) {
  for (long seconds : {-631152001L, 2524608000L}) {
    EXPECT_EQ(Gated([&] { return TimeAt<obAsnUTCTime>(0).SetTime(seconds); },
                    "obAsnUTCTime::SetTime " + std::to_string(seconds) + " is outside the years 1950-2049"),
              -1);
  }
  obAsnGeneralizedTime gen = TimeAt<obAsnGeneralizedTime>(0);
  EXPECT_EQ(Gated([&] { return gen.SetTime(-62167219201); },
                  "obAsnGeneralizedTime::SetTime -62167219201 is outside the years 0-9999"),
            -1);
  for (long seconds : {253402300800L, LONG_MIN, LONG_MAX}) EXPECT_EQ(Gated([&] { return gen.SetTime(seconds); }), -1);
  EXPECT_EQ(gen.str(), "19700101000000Z");  // unchanged
}

TEST(ObAsnTimeCodec, CalendarAgreesWithLibc) {
  std::mt19937_64 rng(LoggedSeed(2026));
  obAsnGeneralizedTime gen;
  obAsnUTCTime utc;
  for (int i = 0; i < 20000; ++i) {
    long seconds = -62167219200L + static_cast<long>(rng() % (253402300800ULL + 62167219200ULL));
    ASSERT_EQ(gen.SetTime(seconds), 0);
    ASSERT_EQ(gen.str(), LibcText(seconds, true)) << seconds;
    ASSERT_EQ(SecondsOf(gen), seconds);
    long in_utc_range = -631152000L + static_cast<long>(rng() % 3155760000ULL);
    ASSERT_EQ(utc.SetTime(in_utc_range), 0);
    ASSERT_EQ(utc.str(), LibcText(in_utc_range, false)) << in_utc_range;
  }
}

TEST(ObAsnTimeCodec, MalformedTextsAreRefused) {
  const char* bad_utc[] = {"991231235959",    "991231235959.5Z",   "99123123595Z",
                           "991231235959+01", "991231235959+2400", "991231235959+0160",
                           "991231235959Zx",  "9a1231235959Z",     "",
                           "991331235959Z",   "991231235959z",     "991231235959 Z",
                           "230229000000Z"};
  const char* bad_gen[] = {"20261121081500.Z", "202611210815.5Z",  "20261121081500",  "2026112108Z",
                           "261121081500Z",    "20261121081500.5", "+2026112108150Z", "19000229120000Z",
                           "21000229120000Z",  "20230229000000Z",  "20240431000000Z", "20241301000000Z",
                           "20240001000000Z",  "20240100000000Z",  "20240101240000Z", "20240101006000Z",
                           "20240101000061Z",  "20240230000000Z"};
  for (const char* text : bad_utc) {
    obAsnUTCTime utc;
    std::string message = "obAsnUTCTime::BDecContent content not allowed in this type before offset = " +
                          std::to_string(2 + std::strlen(text));
    EXPECT_EQ(Gated([&] { return DecodeHex(utc, TimeDer(23, text)); }, message), -1) << text;
    EXPECT_EQ(Gated([&] { return obAsnUTCTime(text).GetTime(nullptr); },
                    "obAsnUTCTime::GetTime the content is not a valid time"),
              -1)
        << text;
  }
  for (const char* text : bad_gen) {
    obAsnGeneralizedTime gen;
    EXPECT_EQ(Gated([&] { return DecodeHex(gen, TimeDer(24, text)); }), -1) << text;
  }
  ExpectDecodeFailures<obAsnUTCTime>(
      {{"18 0F 32 30 32 36 31 31 32 31 30 38 31 35 30 30 5A", "obAsnUTCTime::BDec wrong tag before offset = 1"}});
  ExpectHostileInputHandled<obAsnUTCTime>(0x17, TimeDer(23, "991231235959+0100"), 31);
  ExpectHostileInputHandled<obAsnGeneralizedTime>(0x18, TimeDer(24, "20261121081500.123Z"), 32);
}

TEST(ObAsnTimeValue, PrintingAndCopies) {
  EXPECT_EQ(SprintText(obAsnGeneralizedTime("20261121081500Z"), 0), "2026-11-21 08:15:00 UTC\n");
  EXPECT_EQ(SprintText(obAsnUTCTime("261121091500+0100"), 2), "    2026-11-21 08:15:00 UTC\n");
  EXPECT_EQ(SprintText(obAsnUTCTime("garbage"), 0), "garbage\n");
  EXPECT_EQ(obAsnTimeText(-1), "1969-12-31 23:59:59 UTC");
  EXPECT_EQ(obAsnTimeText(253402300799), "9999-12-31 23:59:59 UTC");
  obAsnUTCTime a("700101000000Z");
  std::unique_ptr<obAsnType> copy(a.Copy());
  EXPECT_EQ(*static_cast<obAsnUTCTime*>(copy.get()), a);
  EXPECT_NE(a, obAsnGeneralizedTime("700101000000Z"));
}

TEST(ObAsnTimeValue, MatchOpensslEncodings) {
  if (!HaveOpenssl()) GTEST_SKIP() << "openssl is not available";
  ExpectSameAsPeer("UTCTIME:491231235959Z", TimeAt<obAsnUTCTime>(2524607999));
  ExpectSameAsPeer("UTCTIME:500101000000Z", TimeAt<obAsnUTCTime>(-631152000));
  ExpectSameAsPeer("GENTIME:20500101000000Z", TimeAt<obAsnGeneralizedTime>(2524608000));
  ExpectSameAsPeer("GENTIME:99991231235959Z", TimeAt<obAsnGeneralizedTime>(253402300799));
}

}  // namespace
