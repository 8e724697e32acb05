#include <gtest/gtest.h>

#include <climits>
#include <cstdint>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_int.h"

namespace {

obAsnInt Decoded(const char* der) {
  obAsnInt v;
  EXPECT_EQ(DecodeHex(v, der), 0) << der;
  return v;
}

TEST(ObAsnIntCodec, SmallValuesPositiveMinimalNegativeFourOctets) {
  struct Case {
    long value;
    const char* der;
  } cases[] = {{0, "02 01 00"},
               {127, "02 01 7F"},
               {128, "02 02 00 80"},
               {256, "02 02 01 00"},
               {32767, "02 02 7F FF"},
               {32768, "02 03 00 80 00"},
               {0x7FFFFF, "02 03 7F FF FF"},
               {0x800000, "02 04 00 80 00 00"},
               {INT_MAX, "02 04 7F FF FF FF"},
               {-1, "02 04 FF FF FF FF"},
               {-128, "02 04 FF FF FF 80"},
               {-129, "02 04 FF FF FF 7F"},
               // bits 23..30 all clear must not lose octets
               {INT_MIN, "02 04 80 00 00 00"},
               {INT_MIN + 5, "02 04 80 00 00 05"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.der);
    obAsnInt v(c.value);
    EXPECT_EQ(EncodeHex(v), c.der);
    EXPECT_TRUE(MeasureMatchesWrite(v));
    obAsnInt back = Decoded(c.der);
    EXPECT_FALSE(back.IsBlock());
    EXPECT_EQ(back.Value(), c.value);
  }
}

TEST(ObAsnIntCodec, DecodedContentReencodes) {
  ExpectRecodes<obAsnInt>({{"02 01 FF", "02 04 FF FF FF FF"},  // sign-extended
                           {"02 01 80", "02 04 FF FF FF 80"},
                           {"02 02 FF 7F", "02 04 FF FF FF 7F"},
                           {"02 03 00 00 05", "02 01 05"},  // non-minimal input is accepted
                           // Five octets or more are a block, encoded as a non-negative magnitude.
                           {"02 05 01 02 03 04 05"},
                           {"02 06 00 00 00 00 00 80", "02 02 00 80"},
                           {"02 05 00 00 00 00 00", "02 01 00"},
                           {"02 05 80 00 00 00 01", "02 06 00 80 00 00 00 01"}});
  obAsnInt v = Decoded("02 05 01 02 03 04 05");
  ASSERT_TRUE(v.IsBlock());
  EXPECT_EQ(ToHex(v.Bytes(), v.BytesLen()), "01 02 03 04 05");
  ASSERT_EQ(DecodeHex(v, "02 01 07"), 0);  // a later short value drops the block
  EXPECT_FALSE(v.IsBlock());
  EXPECT_EQ(v.Value(), 7);
}

TEST(ObAsnIntCodec, FailuresNameTheStep) {
  ExpectDecodeFailures<obAsnInt>(
      {{"02 00", "obAsnInt::BDecContent: obAsnInt must not be with INDEFINITE length (0). offset = 2"},
       {"02 80 01 00 00", "obAsnInt::BDecContent: obAsnInt must not be with INDEFINITE length (-2). offset = 2"},
       {"0A 01 05", "obAsnInt::BDec wrong tag before offset = 1"},
       {"22 03 02 01 05", "obAsnInt::BDec wrong tag before offset = 1"},
       {"02 05 01 02 03", "BDecLen: length exceeds buffer"},
       {"02 84 00 00 00", "BDec: decoded couldn't get data offset = 5"},
       {"", ""}});
  // Content lengths beyond the input, given straight to BDecContent.
  obAsnInt v;
  EXPECT_EQ(Gated([&] { return DecodeContentHex(v, 0x02, 4, "01 02 03"); },
                  "obAsnInt::BDecContent: can't get byte from buf offset = 0"),
            -1);
  EXPECT_EQ(Gated([&] { return DecodeContentHex(v, 0x02, 9, "01 02 03"); },
                  "obAsnInt::BDecContent:  can't copy data from buf offset = 0"),
            -1);

  ExpectEncodeFailures(obAsnInt(128), {{1, "obAsnInt::BEncContent can't put byte  into buf"},
                                       {1, " obAsnInt::BEnc attempt to encode content failed"},
                                       {2, " obAsnInt::BEnc attempt to encode length failed"},
                                       {3, " obAsnInt::BEnc attempt to encode tag failed"}});
  ExpectEncodeFailures(Decoded("02 05 80 00 00 00 01"), {{3, "obAsnInt::BEncContent can't put seg  data into buf"},
                                                         {5, "obAsnInt::BEncContent can't put byte  into buf"}});
}

TEST(ObAsnIntValue, SettersChooseTheRepresentation) {
  obAsnInt v;
  ASSERT_EQ(v.Set(1L << 40), 0);
  EXPECT_EQ(EncodeHex(v), "02 06 01 00 00 00 00 00");
  ASSERT_EQ(v.Set(static_cast<long>(INT_MAX) + 1), 0);
  EXPECT_EQ(EncodeHex(v), "02 05 00 80 00 00 00");
  ASSERT_EQ(v.Set(-5), 0);
  EXPECT_FALSE(v.IsBlock());
  EXPECT_EQ(Gated([&] { return v.Set(static_cast<long>(INT_MIN) - 1); }), -1);
  EXPECT_EQ(v.Value(), -5);  // unchanged

  std::vector<unsigned char> five = Hex("00 00 00 00 00 05"), top = Hex("80 00 00 00");
  ASSERT_EQ(v.SetBytes(five.data(), five.size()), 0);
  EXPECT_FALSE(v.IsBlock());
  EXPECT_EQ(v.Value(), 5);
  ASSERT_EQ(v.SetBytes(top.data(), top.size()), 0);  // beyond the signed 32-bit value
  EXPECT_EQ(EncodeHex(v), "02 05 00 80 00 00 00");
  ASSERT_EQ(v.SetBytes(nullptr, 0), 0);
  EXPECT_EQ(EncodeHex(v), "02 01 00");
  EXPECT_EQ(Gated([&] { return v.SetBytes(nullptr, 3); }), -1);
}

TEST(ObAsnIntValue, Int64ConversionFailsWhenItDoesNotFit) {
  auto as_int64 = [](const char* der) {
    int64_t out = 0;
    return Gated([&] { return Decoded(der).GetInt64(out); }) == 0 ? std::to_string(out) : "no fit";
  };
  EXPECT_EQ(as_int64("02 01 FF"), "-1");
  EXPECT_EQ(as_int64("02 06 00 00 00 00 00 05"), "5");
  EXPECT_EQ(as_int64("02 08 7F FF FF FF FF FF FF FF"), std::to_string(INT64_MAX));
  EXPECT_EQ(as_int64("02 09 00 7F FF FF FF FF FF FF FF"), std::to_string(INT64_MAX));
  EXPECT_EQ(as_int64("02 08 80 00 00 00 00 00 00 00"), "no fit");  // a magnitude of 2^63
  EXPECT_EQ(as_int64("02 09 01 00 00 00 00 00 00 00 00"), "no fit");
}

TEST(ObAsnIntValue, EqualityComparesNumericValue) {
  obAsnInt five_block = Decoded("02 06 00 00 00 00 00 05");
  EXPECT_EQ(five_block, obAsnInt(5));
  EXPECT_EQ(obAsnInt(5), five_block);
  EXPECT_NE(five_block, obAsnInt(6));
  EXPECT_NE(obAsnInt(-1), obAsnInt(1));
  EXPECT_NE(Decoded("02 05 FF FF FF FF FF"), obAsnInt(-1));  // a block is a magnitude, never -1
  EXPECT_EQ(Decoded("02 05 01 02 03 04 05"), Decoded("02 07 00 00 01 02 03 04 05"));
  EXPECT_NE(Decoded("02 05 01 02 03 04 05"), Decoded("02 05 01 02 03 04 06"));
}

TEST(ObAsnIntValue, CopiesAreDeepAndPrintDecimalOrOctets) {
  obAsnInt original = Decoded("02 05 01 02 03 04 05");
  obAsnInt assigned;
  assigned = original;
  std::unique_ptr<obAsnInt> heap(original.Copy());
  std::unique_ptr<obAsnInt> fresh(original.Clone());
  ASSERT_EQ(DecodeHex(original, "02 05 09 09 09 09 AB"), 0);
  EXPECT_EQ(EncodeHex(assigned), "02 05 01 02 03 04 05");
  EXPECT_EQ(EncodeHex(*heap), "02 05 01 02 03 04 05");
  EXPECT_EQ(EncodeHex(*fresh), "02 01 00");

  EXPECT_EQ(SprintText(obAsnInt(-42), 1), "  -42\n");
  EXPECT_EQ(SprintText(original, 2), "    09 09 09 09 ab \n");
  DiagCapture diag;
  obAsnInt(7).Herror(0);
  EXPECT_EQ(diag.Lines(), std::vector<std::string>{"7"});
}

TEST(ObAsnIntCodec, HostileInputAndOpensslPeer) {
  ExpectHostileInputHandled<obAsnInt>(0x02, "02 05 01 02 03 04 05", 1234);
  if (!HaveOpenssl()) GTEST_SKIP() << "openssl is not available";
  for (long value : {0L, 127L, 128L, 2147483647L})
    ExpectSameAsPeer("INTEGER:" + std::to_string(value), obAsnInt(value));
  ExpectSameAsPeer("INTEGER:-129", obAsnInt(-129), "02 04 FF FF FF 7F");  // negatives keep four octets
  ExpectSameAsPeer("INTEGER:0x0102030405060708090A", Decoded("02 0A 01 02 03 04 05 06 07 08 09 0A"));
  ExpectSameAsPeer("INTEGER:0x8000000000", Decoded("02 06 00 80 00 00 00 00"));
}

}  // namespace
