#include <gtest/gtest.h>

#include <climits>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_bool.h"
#include "nycert/asn1/runtime/asn_enum.h"
#include "nycert/asn1/runtime/asn_null.h"

namespace {

TEST(ObAsnBoolNullEnum, RoundTrips) {
  struct Case {
    std::shared_ptr<obAsnType> value;
    const char* der;
    const char* printed;
  } cases[] = {
      {std::make_shared<obAsnBool>(true), "01 01 FF", "  TRUE\n"},
      {std::make_shared<obAsnBool>(false), "01 01 00", "  FALSE\n"},
      {std::make_shared<obAsnNull>(), "05 00", "  NULL\n"},
      {std::make_shared<obAsnEnum>(0), "0A 01 00", "  0\n"},
      {std::make_shared<obAsnEnum>(128), "0A 02 00 80", "  128\n"},
      {std::make_shared<obAsnEnum>(INT_MAX), "0A 04 7F FF FF FF", "  2147483647\n"},
      {std::make_shared<obAsnEnum>(-7), "0A 04 FF FF FF F9", "  -7\n"},  // negatives take four octets
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.der);
    EXPECT_EQ(EncodeHex(*c.value), c.der);
    EXPECT_TRUE(MeasureMatchesWrite(*c.value));
    EXPECT_EQ(SprintText(*c.value, 1), c.printed);
    std::unique_ptr<obAsnType> back(c.value->Clone()), copy(c.value->Copy());
    ASSERT_EQ(DecodeHex(*back, c.der), 0);
    EXPECT_EQ(SprintText(*back, 1), c.printed);
    EXPECT_EQ(EncodeHex(*copy), c.der);
  }
  // Any non-zero octet is TRUE; short ENUMERATED content is sign-extended.
  for (const char* der : {"01 01 01", "01 01 80"}) {
    obAsnBool v(false);
    ASSERT_EQ(DecodeHex(v, der), 0);
    EXPECT_TRUE(v.Value()) << der;
    EXPECT_EQ(EncodeHex(v), "01 01 FF");
  }
  obAsnEnum e;
  ASSERT_EQ(DecodeHex(e, "0A 01 FF"), 0);
  EXPECT_EQ(e, obAsnEnum(-1));
  EXPECT_NE(e, obAsnEnum(1));
}

TEST(ObAsnBoolNullEnum, FailuresNameTheStep) {
  ExpectDecodeFailures<obAsnBool>({{"01 00", "obAsnBool::BDecContent: length must be 1 (0). offset = 2"},
                                   {"01 02 FF FF", "obAsnBool::BDecContent: length must be 1 (2). offset = 2"},
                                   {"01 80 FF 00 00", ""},
                                   {"02 01 FF", "obAsnBool::BDec:  wrong tag before  offset = 1"},
                                   {"01 82 00", ""}});
  obAsnBool v;
  EXPECT_EQ(Gated([&] { return DecodeContentHex(v, 0x01, 1, ""); },
                  "obAsnBool::BDecContent: can't get byte from buf offset = 0"),
            -1);
  ExpectEncodeFailures(obAsnBool(true), {{0, "obAsnBool::BEncContent can't put byte  into buf"},
                                         {0, " obAsnBool::BEnc attempt to encode content failed"},
                                         {2, " obAsnBool::BEnc attempt to encode tag failed"}});

  ExpectDecodeFailures<obAsnNull>({{"05 01 00", "obAsnNull::BDecContent: length must be 0 (1). offset = 2"},
                                   {"05 80 00 00", ""},
                                   {"04 00", "obAsnNull::Bdec wrong tag before offset = 1"}});
  ExpectEncodeFailures(obAsnNull(), {{0, " obAsnNull::BEnc attempt to encode length failed"},
                                     {1, " obAsnNull::BEnc attempt to encode tag failed"}});

  ExpectDecodeFailures<obAsnEnum>(
      {{"0A 00", "obAsnEnum::BDecContent: obAsnEnum must not be with INDEFINITE length (0). offset = 2"},
       {"0A 05 01 02 03 04 05", "obAsnEnum::BDecContent: obAsnEnum value longer than 4 octets (5). offset = 2"},
       {"02 01 03", "obAsnEnum::BDec wrong tag before offset = 1"}});
  ExpectEncodeFailures(obAsnEnum(-1), {{3, "obAsnEnum::BEncContent can't put byte  into buf"},
                                       {3, " obAsnEnum::BEnc attempt to encode content failed"}});
}

TEST(ObAsnBoolNullEnum, HostileInputAndOpensslPeer) {
  ExpectHostileInputHandled<obAsnBool>(0x01, "01 01 FF", 11);
  ExpectHostileInputHandled<obAsnNull>(0x05, "05 00", 12);
  ExpectHostileInputHandled<obAsnEnum>(0x0A, "0A 04 7F FF FF FF", 13);
  if (!HaveOpenssl()) GTEST_SKIP() << "openssl is not available";
  ExpectSameAsPeer("BOOLEAN:TRUE", obAsnBool(true));
  ExpectSameAsPeer("BOOLEAN:FALSE", obAsnBool(false));
  ExpectSameAsPeer("NULL", obAsnNull());
  ExpectSameAsPeer("ENUMERATED:3", obAsnEnum(3));
  ExpectSameAsPeer("ENUMERATED:200", obAsnEnum(200));
}

}  // namespace
