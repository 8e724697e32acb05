#include <gtest/gtest.h>

#include <climits>
#include <memory>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_bool.h"
#include "nycert/asn1/runtime/asn_enum.h"
#include "nycert/asn1/runtime/asn_null.h"

namespace {

TEST(ObAsnBoolCodec, EncodesFFAndZero) {
  EXPECT_EQ(EncodeHex(obAsnBool(true)), "01 01 FF");
  EXPECT_EQ(EncodeHex(obAsnBool(false)), "01 01 00");
  EXPECT_EQ(EncodeHex(obAsnBool()), "01 01 00");
  EXPECT_TRUE(MeasureMatchesWrite(obAsnBool(true)));
}

TEST(ObAsnBoolCodec, AnyNonZeroOctetIsTrue) {
  struct Case {
    const char* der;
    bool value;
  } cases[] = {{"01 01 00", false}, {"01 01 FF", true}, {"01 01 01", true}, {"01 01 80", true}};
  for (const Case& c : cases) {
    obAsnBool v(!c.value);
    ASSERT_EQ(DecodeHex(v, c.der), 0) << c.der;
    EXPECT_EQ(v.Value(), c.value) << c.der;
    EXPECT_EQ(EncodeHex(v), c.value ? "01 01 FF" : "01 01 00");
  }
}

TEST(ObAsnBoolCodec, LengthMustBeOne) {
  DiagCapture diag;
  obAsnBool v;
  EXPECT_EQ(DecodeHex(v, "01 00"), -1);
  EXPECT_TRUE(diag.Saw("obAsnBool::BDecContent: length must be 1 (0). offset = 2"));
  EXPECT_EQ(DecodeHex(v, "01 02 FF FF"), -1);
  EXPECT_EQ(DecodeHex(v, "01 80 FF 00 00"), -1);
  const char* truncated[] = {"", "01", "01 01", "01 82 00"};
  for (const char* hex : truncated) EXPECT_EQ(DecodeHex(v, hex), -1) << hex;
  std::vector<unsigned char> none;
  obAsnReadBuf b(none.data(), 0);
  unsigned long used = 0;
  diag.Clear();
  EXPECT_EQ(v.BDecContent(b, 0x01, 1, used), -1);
  EXPECT_TRUE(diag.Saw("obAsnBool::BDecContent: can't get byte from buf offset = 0"));
}

TEST(ObAsnBoolCodec, WrongTagAndEncodeFailures) {
  DiagCapture diag;
  obAsnBool v;
  EXPECT_EQ(DecodeHex(v, "02 01 FF"), -1);
  EXPECT_TRUE(diag.Saw("obAsnBool::BDec:  wrong tag before  offset = 1"));
  diag.Clear();
  EXPECT_EQ(EncodeIntoRoom(obAsnBool(true), 0), -1);
  EXPECT_TRUE(diag.Saw("obAsnBool::BEncContent can't put byte  into buf"));
  EXPECT_TRUE(diag.Saw(" obAsnBool::BEnc attempt to encode content failed"));
  diag.Clear();
  EXPECT_EQ(EncodeIntoRoom(obAsnBool(true), 2), -1);
  EXPECT_TRUE(diag.Saw(" obAsnBool::BEnc attempt to encode tag failed"));
}

TEST(ObAsnNullCodec, EncodesEmptyContent) {
  EXPECT_EQ(EncodeHex(obAsnNull()), "05 00");
  EXPECT_TRUE(MeasureMatchesWrite(obAsnNull()));
  obAsnNull v;
  EXPECT_EQ(DecodeHex(v, "05 00"), 0);
  EXPECT_EQ(v, obAsnNull());
}

TEST(ObAsnNullCodec, ContentAndTagAreChecked) {
  DiagCapture diag;
  obAsnNull v;
  EXPECT_EQ(DecodeHex(v, "05 01 00"), -1);
  EXPECT_TRUE(diag.Saw("obAsnNull::BDecContent: length must be 0 (1). offset = 2"));
  EXPECT_EQ(DecodeHex(v, "05 80 00 00"), -1);
  diag.Clear();
  EXPECT_EQ(DecodeHex(v, "04 00"), -1);
  EXPECT_TRUE(diag.Saw("obAsnNull::Bdec wrong tag before offset = 1"));
  EXPECT_EQ(DecodeHex(v, ""), -1);
  EXPECT_EQ(DecodeHex(v, "05"), -1);
  diag.Clear();
  EXPECT_EQ(EncodeIntoRoom(v, 1), -1);
  EXPECT_TRUE(diag.Saw(" obAsnNull::BEnc attempt to encode tag failed"));
  diag.Clear();
  EXPECT_EQ(EncodeIntoRoom(v, 0), -1);
  EXPECT_TRUE(diag.Saw(" obAsnNull::BEnc attempt to encode length failed"));
}

TEST(ObAsnEnumCodec, SharesTheSmallIntegerContentRules) {
  struct Case {
    int value;
    const char* der;
  } cases[] = {{0, "0A 01 00"}, {127, "0A 01 7F"}, {128, "0A 02 00 80"}, {INT_MAX, "0A 04 7F FF FF FF"},
               {-1, "0A 04 FF FF FF FF"}};
  for (const Case& c : cases) {
    EXPECT_EQ(EncodeHex(obAsnEnum(c.value)), c.der);
    EXPECT_TRUE(MeasureMatchesWrite(obAsnEnum(c.value)));
    obAsnEnum back;
    ASSERT_EQ(DecodeHex(back, c.der), 0);
    EXPECT_EQ(back.Value(), c.value);
  }
  obAsnEnum v;
  ASSERT_EQ(DecodeHex(v, "0A 01 FF"), 0);
  EXPECT_EQ(v.Value(), -1);
  EXPECT_EQ(EncodeHex(v), "0A 04 FF FF FF FF");
}

TEST(ObAsnEnumCodec, BadContentFails) {
  DiagCapture diag;
  obAsnEnum v(3);
  EXPECT_EQ(DecodeHex(v, "0A 00"), -1);
  EXPECT_TRUE(diag.Saw("obAsnEnum::BDecContent: obAsnEnum must not be with INDEFINITE length (0). offset = 2"));
  diag.Clear();
  EXPECT_EQ(DecodeHex(v, "0A 05 01 02 03 04 05"), -1);
  EXPECT_TRUE(diag.Saw("obAsnEnum::BDecContent: obAsnEnum value longer than 4 octets (5). offset = 2"));
  diag.Clear();
  EXPECT_EQ(DecodeHex(v, "02 01 03"), -1);
  EXPECT_TRUE(diag.Saw("obAsnEnum::BDec wrong tag before offset = 1"));
  EXPECT_EQ(DecodeHex(v, "0A 02 01"), -1);
  EXPECT_EQ(v.Value(), 3);
  diag.Clear();
  EXPECT_EQ(EncodeIntoRoom(obAsnEnum(-1), 3), -1);
  EXPECT_TRUE(diag.Saw("obAsnEnum::BEncContent can't put byte  into buf"));
  EXPECT_TRUE(diag.Saw(" obAsnEnum::BEnc attempt to encode content failed"));
}

TEST(ObAsnBoolNullEnum, ShutGateIsSilentWithTheSameResults) {
  DiagCapture diag(false);
  obAsnBool b;
  obAsnNull n;
  obAsnEnum e;
  EXPECT_EQ(DecodeHex(b, "01 00"), -1);
  EXPECT_EQ(DecodeHex(b, "02 01 00"), -1);
  EXPECT_EQ(DecodeHex(n, "05 01 00"), -1);
  EXPECT_EQ(DecodeHex(n, "04 00"), -1);
  EXPECT_EQ(DecodeHex(e, "0A 05 01 02 03 04 05"), -1);
  EXPECT_EQ(EncodeIntoRoom(obAsnEnum(5), 1), -1);
  EXPECT_TRUE(diag.Lines().empty());
}

TEST(ObAsnBoolNullEnum, PrintCopyAndCompare) {
  EXPECT_EQ(SprintText(obAsnBool(true), 1), "  TRUE\n");
  EXPECT_EQ(SprintText(obAsnBool(false), 0), "FALSE\n");
  EXPECT_EQ(SprintText(obAsnNull(), 2), "    NULL\n");
  EXPECT_EQ(SprintText(obAsnEnum(-7), 1), "  -7\n");

  obAsnBool t(true);
  std::unique_ptr<obAsnBool> bc(t.Copy());
  std::unique_ptr<obAsnBool> bn(t.Clone());
  EXPECT_EQ(*bc, t);
  EXPECT_NE(*bn, t);
  obAsnEnum e(4);
  std::unique_ptr<obAsnEnum> ec(e.Copy());
  EXPECT_EQ(*ec, e);
  EXPECT_NE(obAsnEnum(5), e);
  std::unique_ptr<obAsnNull> nc(obAsnNull().Copy());
  EXPECT_STREQ(nc->TypeName(), "obAsnNull");
  EXPECT_STREQ(t.TypeName(), "obAsnBool");
  EXPECT_STREQ(e.TypeName(), "obAsnEnum");
}

TEST(ObAsnBoolNullEnum, AgreeWithOpenssl) {
  struct Case {
    const char* genstr;
    std::string ours;
  } cases[] = {{"BOOLEAN:TRUE", EncodeHex(obAsnBool(true))},   {"BOOLEAN:FALSE", EncodeHex(obAsnBool(false))},
               {"NULL", EncodeHex(obAsnNull())},               {"ENUMERATED:3", EncodeHex(obAsnEnum(3))},
               {"ENUMERATED:200", EncodeHex(obAsnEnum(200))}};
  for (const Case& c : cases) {
    std::string der = OpensslGenstr(c.genstr);
    if (der.empty()) GTEST_SKIP() << "openssl is not available";
    EXPECT_EQ(c.ours, der) << c.genstr;
  }
}

}  // namespace
