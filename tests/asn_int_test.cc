#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <memory>
#include <random>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_int.h"

namespace {

TEST(ObAsnIntCodec, NonNegativeValuesEncodeMinimally) {
  struct Case {
    long value;
    const char* der;
  } cases[] = {
      {0, "02 01 00"},
      {1, "02 01 01"},
      {127, "02 01 7F"},
      {128, "02 02 00 80"},
      {255, "02 02 00 FF"},
      {256, "02 02 01 00"},
      {32767, "02 02 7F FF"},
      {32768, "02 03 00 80 00"},
      {0x7FFFFF, "02 03 7F FF FF"},
      {0x800000, "02 04 00 80 00 00"},
      {INT_MAX, "02 04 7F FF FF FF"},
  };
  for (const Case& c : cases) {
    obAsnInt v(c.value);
    EXPECT_FALSE(v.IsBlock());
    EXPECT_EQ(EncodeHex(v), c.der) << c.value;
    EXPECT_TRUE(MeasureMatchesWrite(v)) << c.value;
    obAsnInt back;
    ASSERT_EQ(DecodeHex(back, c.der), 0) << c.der;
    EXPECT_EQ(back.Value(), c.value);
  }
}

TEST(ObAsnIntCodec, NegativeValuesAlwaysTakeFourOctets) {
  EXPECT_EQ(EncodeHex(obAsnInt(-1)), "02 04 FF FF FF FF");
  EXPECT_EQ(EncodeHex(obAsnInt(-128)), "02 04 FF FF FF 80");
  EXPECT_EQ(EncodeHex(obAsnInt(-129)), "02 04 FF FF FF 7F");
  // Values whose bits 23..30 are all clear must not lose octets.
  EXPECT_EQ(EncodeHex(obAsnInt(INT_MIN)), "02 04 80 00 00 00");
  EXPECT_EQ(EncodeHex(obAsnInt(INT_MIN + 5)), "02 04 80 00 00 05");
}

TEST(ObAsnIntCodec, ShortContentIsSignExtended) {
  struct Case {
    const char* der;
    int value;
    const char* reencoded;
  } cases[] = {
      {"02 01 FF", -1, "02 04 FF FF FF FF"},
      {"02 01 80", -128, "02 04 FF FF FF 80"},
      {"02 02 FF 7F", -129, "02 04 FF FF FF 7F"},
      {"02 02 00 80", 128, "02 02 00 80"},
      {"02 03 00 00 05", 5, "02 01 05"},  // non-minimal input is accepted
      {"02 04 80 00 00 00", INT_MIN, "02 04 80 00 00 00"},
  };
  for (const Case& c : cases) {
    obAsnInt v;
    ASSERT_EQ(DecodeHex(v, c.der), 0) << c.der;
    EXPECT_FALSE(v.IsBlock());
    EXPECT_EQ(v.Value(), c.value) << c.der;
    EXPECT_EQ(EncodeHex(v), c.reencoded) << c.der;
  }
}

TEST(ObAsnIntCodec, LongContentIsKeptAsABlock) {
  obAsnInt v;
  ASSERT_EQ(DecodeHex(v, "02 05 01 02 03 04 05"), 0);
  ASSERT_TRUE(v.IsBlock());
  EXPECT_EQ(ToHex(v.Bytes(), v.BytesLen()), "01 02 03 04 05");
  EXPECT_EQ(v.Value(), 0);
  EXPECT_EQ(EncodeHex(v), "02 05 01 02 03 04 05");
  EXPECT_TRUE(MeasureMatchesWrite(v));

  // A later short value drops the block.
  ASSERT_EQ(DecodeHex(v, "02 01 07"), 0);
  EXPECT_FALSE(v.IsBlock());
  EXPECT_EQ(v.Value(), 7);
}

TEST(ObAsnIntCodec, BlockIsEncodedAsNonNegativeMagnitude) {
  struct Case {
    const char* der;
    const char* reencoded;
  } cases[] = {
      {"02 06 00 00 00 00 00 80", "02 02 00 80"},  // leading zeros dropped, 00 put back before 0x80
      {"02 05 00 00 00 00 00", "02 01 00"},
      {"02 05 80 00 00 00 01", "02 06 00 80 00 00 00 01"},  // a negative DER value comes back positive
      {"02 05 7F 00 00 00 01", "02 05 7F 00 00 00 01"},
  };
  for (const Case& c : cases) {
    obAsnInt v;
    ASSERT_EQ(DecodeHex(v, c.der), 0) << c.der;
    EXPECT_TRUE(v.IsBlock());
    EXPECT_EQ(EncodeHex(v), c.reencoded) << c.der;
    EXPECT_TRUE(MeasureMatchesWrite(v)) << c.der;
  }
}

TEST(ObAsnIntCodec, EmptyAndIndefiniteContentFail) {
  DiagCapture diag;
  obAsnInt v(9);
  EXPECT_EQ(DecodeHex(v, "02 00"), -1);
  EXPECT_TRUE(diag.Saw("obAsnInt::BDecContent: obAsnInt must not be with INDEFINITE length (0). offset = 2"));
  diag.Clear();
  EXPECT_EQ(DecodeHex(v, "02 80 01 00 00"), -1);
  EXPECT_TRUE(diag.Saw("obAsnInt::BDecContent: obAsnInt must not be with INDEFINITE length (-2). offset = 2"));
  EXPECT_EQ(v.Value(), 9);
}

TEST(ObAsnIntCodec, TruncatedAndMistaggedInputFails) {
  DiagCapture diag;
  obAsnInt v;
  const char* bad[] = {"", "02", "02 05 01 02 03", "02 02 01", "02 84 00 00 00", "04 01 05", "22 03 02 01 05"};
  for (const char* hex : bad) EXPECT_EQ(DecodeHex(v, hex), -1) << hex;
  diag.Clear();
  EXPECT_EQ(DecodeHex(v, "0A 01 05"), -1);
  EXPECT_TRUE(diag.Saw("obAsnInt::BDec wrong tag before offset = 1"));

  // Content lengths claimed beyond the input, passed straight to BDecContent.
  std::vector<unsigned char> three = Hex("01 02 03");
  obAsnReadBuf b(three.data(), three.size());
  unsigned long used = 0;
  diag.Clear();
  EXPECT_EQ(v.BDecContent(b, 0x02, 4, used), -1);
  EXPECT_TRUE(diag.Saw("obAsnInt::BDecContent: can't get byte from buf offset = 0"));
  EXPECT_EQ(v.BDecContent(b, 0x02, 9, used), -1);
  EXPECT_TRUE(diag.Saw("obAsnInt::BDecContent:  can't copy data from buf offset = 0"));
  EXPECT_EQ(used, 0u);
  EXPECT_EQ(b.Offset(), 0);
}

TEST(ObAsnIntCodec, EncodeFailuresNameTheStep) {
  DiagCapture diag;
  obAsnInt small(128);  // 02 02 00 80
  EXPECT_EQ(EncodeIntoRoom(small, 1), -1);
  EXPECT_TRUE(diag.Saw("obAsnInt::BEncContent can't put byte  into buf"));
  EXPECT_TRUE(diag.Saw(" obAsnInt::BEnc attempt to encode content failed"));
  diag.Clear();
  EXPECT_EQ(EncodeIntoRoom(small, 2), -1);
  EXPECT_TRUE(diag.Saw(" obAsnInt::BEnc attempt to encode length failed"));
  diag.Clear();
  EXPECT_EQ(EncodeIntoRoom(small, 3), -1);
  EXPECT_TRUE(diag.Saw(" obAsnInt::BEnc attempt to encode tag failed"));
  EXPECT_EQ(EncodeIntoRoom(small, 4), 4);

  obAsnInt block;
  ASSERT_EQ(DecodeHex(block, "02 05 80 00 00 00 01"), 0);
  diag.Clear();
  EXPECT_EQ(EncodeIntoRoom(block, 3), -1);
  EXPECT_TRUE(diag.Saw("obAsnInt::BEncContent can't put seg  data into buf"));
  diag.Clear();
  EXPECT_EQ(EncodeIntoRoom(block, 5), -1);
  EXPECT_TRUE(diag.Saw("obAsnInt::BEncContent can't put byte  into buf"));
}

TEST(ObAsnIntCodec, ShutGateIsSilentWithTheSameResults) {
  DiagCapture diag(false);
  obAsnInt v;
  EXPECT_EQ(DecodeHex(v, "02 00"), -1);
  EXPECT_EQ(DecodeHex(v, "04 01 00"), -1);
  EXPECT_EQ(EncodeIntoRoom(obAsnInt(128), 3), -1);
  EXPECT_EQ(obAsnInt().Set(LONG_MIN), -1);
  EXPECT_TRUE(diag.Lines().empty());
}

TEST(ObAsnIntValue, SetFromLongChoosesTheRepresentation) {
  obAsnInt v;
  ASSERT_EQ(v.Set(1L << 40), 0);
  EXPECT_TRUE(v.IsBlock());
  EXPECT_EQ(EncodeHex(v), "02 06 01 00 00 00 00 00");
  ASSERT_EQ(v.Set(static_cast<long>(INT_MAX) + 1), 0);
  EXPECT_EQ(EncodeHex(v), "02 05 00 80 00 00 00");
  ASSERT_EQ(v.Set(-5), 0);
  EXPECT_FALSE(v.IsBlock());

  DiagCapture diag;
  EXPECT_EQ(v.Set(static_cast<long>(INT_MIN) - 1), -1);
  EXPECT_EQ(v.Value(), -5);  // unchanged
  EXPECT_FALSE(diag.Lines().empty());
}

TEST(ObAsnIntValue, SetBytesTakesAMagnitude) {
  obAsnInt v;
  std::vector<unsigned char> five = Hex("00 00 00 00 00 05");
  ASSERT_EQ(v.SetBytes(five.data(), five.size()), 0);
  EXPECT_FALSE(v.IsBlock());
  EXPECT_EQ(v.Value(), 5);
  std::vector<unsigned char> top = Hex("80 00 00 00");
  ASSERT_EQ(v.SetBytes(top.data(), top.size()), 0);
  EXPECT_TRUE(v.IsBlock());  // beyond the signed 32-bit value
  EXPECT_EQ(EncodeHex(v), "02 05 00 80 00 00 00");
  ASSERT_EQ(v.SetBytes(nullptr, 0), 0);
  EXPECT_EQ(EncodeHex(v), "02 01 00");
  DiagCapture diag;
  EXPECT_EQ(v.SetBytes(nullptr, 3), -1);
}

TEST(ObAsnIntValue, Int64ConversionFailsWhenItDoesNotFit) {
  struct Case {
    const char* der;
    int rc;
    int64_t value;
  } cases[] = {
      {"02 01 FF", 0, -1},
      {"02 06 00 00 00 00 00 05", 0, 5},
      {"02 08 7F FF FF FF FF FF FF FF", 0, INT64_MAX},
      {"02 09 00 7F FF FF FF FF FF FF FF", 0, INT64_MAX},
      {"02 08 80 00 00 00 00 00 00 00", -1, 0},  // a magnitude of 2^63
      {"02 09 01 00 00 00 00 00 00 00 00", -1, 0},
  };
  DiagCapture diag;
  for (const Case& c : cases) {
    obAsnInt v;
    ASSERT_EQ(DecodeHex(v, c.der), 0) << c.der;
    int64_t out = 0;
    EXPECT_EQ(v.GetInt64(out), c.rc) << c.der;
    if (c.rc == 0) {
      EXPECT_EQ(out, c.value) << c.der;
    }
  }
  obAsnInt big;
  ASSERT_EQ(big.Set(LONG_MAX), 0);
  int64_t out = 0;
  ASSERT_EQ(big.GetInt64(out), 0);
  EXPECT_EQ(out, LONG_MAX);
}

TEST(ObAsnIntValue, EqualityComparesNumericValue) {
  obAsnInt block;
  ASSERT_EQ(DecodeHex(block, "02 06 00 00 00 00 00 05"), 0);
  EXPECT_EQ(block, obAsnInt(5));
  EXPECT_EQ(obAsnInt(5), block);
  EXPECT_NE(block, obAsnInt(6));
  EXPECT_NE(obAsnInt(-1), obAsnInt(1));

  obAsnInt negativeDer;  // FF FF FF FF FF is a magnitude here, never -1
  ASSERT_EQ(DecodeHex(negativeDer, "02 05 FF FF FF FF FF"), 0);
  EXPECT_NE(negativeDer, obAsnInt(-1));

  obAsnInt a, b;
  ASSERT_EQ(DecodeHex(a, "02 05 01 02 03 04 05"), 0);
  ASSERT_EQ(DecodeHex(b, "02 07 00 00 01 02 03 04 05"), 0);
  EXPECT_EQ(a, b);
  ASSERT_EQ(DecodeHex(b, "02 05 01 02 03 04 06"), 0);
  EXPECT_NE(a, b);
}

TEST(ObAsnIntValue, CopiesAreDeep) {
  obAsnInt original;
  ASSERT_EQ(DecodeHex(original, "02 05 01 02 03 04 05"), 0);
  obAsnInt copied(original);
  obAsnInt assigned;
  assigned = original;
  std::unique_ptr<obAsnInt> heap(original.Copy());
  std::unique_ptr<obAsnInt> fresh(original.Clone());
  ASSERT_EQ(DecodeHex(original, "02 05 09 09 09 09 09"), 0);
  for (const obAsnInt* v : {&copied, &assigned, heap.get()})
    EXPECT_EQ(ToHex(v->Bytes(), v->BytesLen()), "01 02 03 04 05");
  EXPECT_FALSE(fresh->IsBlock());
  EXPECT_EQ(fresh->Value(), 0);
  EXPECT_STREQ(original.TypeName(), "obAsnInt");
}

TEST(ObAsnIntValue, PrintsDecimalOrHexOctets) {
  EXPECT_EQ(SprintText(obAsnInt(-42), 1), "  -42\n");
  obAsnInt block;
  ASSERT_EQ(DecodeHex(block, "02 05 01 02 03 04 AB"), 0);
  EXPECT_EQ(SprintText(block, 2), "    01 02 03 04 ab \n");
  DiagCapture diag;
  obAsnInt(7).Herror(0);
  ASSERT_EQ(diag.Lines().size(), 1u);
  EXPECT_EQ(diag.Lines()[0], "7");
}

TEST(ObAsnIntCodec, RandomInputNeverBreaksTheDecoder) {
  DiagCapture diag(false);
  std::mt19937 rng(1234);
  for (int round = 0; round < 4000; ++round) {
    std::vector<unsigned char> input(rng() % 12);
    for (unsigned char& octet : input) octet = static_cast<unsigned char>(rng());
    if (round % 2 && !input.empty()) input[0] = 0x02;
    obAsnInt v;
    if (obAsnDecode(v, input.data(), input.size()) == 0) {
      EXPECT_TRUE(MeasureMatchesWrite(v));
      obAsnInt again;
      ASSERT_EQ(DecodeHex(again, EncodeHex(v)), 0);
      EXPECT_EQ(again, v);
    }
  }
}

TEST(ObAsnIntCodec, AgreesWithOpenssl) {
  struct Case {
    const char* genstr;
    const char* ours;  // null: the same as openssl's
  } cases[] = {
      {"INTEGER:0", nullptr},
      {"INTEGER:127", nullptr},
      {"INTEGER:128", nullptr},
      {"INTEGER:2147483647", nullptr},
      {"INTEGER:0x0102030405060708090A", nullptr},
      {"INTEGER:0x8000000000", nullptr},
      {"INTEGER:-129", "02 04 FF FF FF 7F"},  // negatives keep four octets
  };
  for (const Case& c : cases) {
    std::string der = OpensslGenstr(c.genstr);
    if (der.empty()) GTEST_SKIP() << "openssl is not available";
    obAsnInt v;
    ASSERT_EQ(DecodeHex(v, der), 0) << c.genstr;
    EXPECT_EQ(EncodeHex(v), c.ours ? c.ours : der) << c.genstr;
  }
  obAsnInt v;
  ASSERT_EQ(DecodeHex(v, OpensslGenstr("INTEGER:-129")), 0);
  EXPECT_EQ(v.Value(), -129);
}

}  // namespace
