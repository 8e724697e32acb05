#include <gtest/gtest.h>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_any.h"
#include "nycert/asn1/runtime/asn_octs.h"

namespace {

obAsnOcts* OctsIn(const obAsnAny& any) { return static_cast<obAsnOcts*>(any.Value()->IsType("obAsnOcts")); }

TEST(AsnRawAny, KeepsOneElementVerbatimIncludingBerForms) {
  ExpectRecodes<obAsnRawAny>({
      {"02 01 05"},                       // primitive
      {"30 06 02 01 05 04 01 41"},        // definite constructed
      {"30 80 02 01 05 04 01 41 00 00"},  // indefinite constructed, not re-encoded
      {"BF 87 68 03 02 01 07"},           // high tag number [1000]
      {"04 81 01 41"},                    // non-minimal length
  });
  std::vector<unsigned char> two = Hex("02 01 05 02 01 06");
  obAsnReadBuf b(two.data(), two.size());
  obAsnRawAny first, second;
  unsigned long used = 0;
  ASSERT_EQ(first.BDec(b, used), 1);
  ASSERT_EQ(second.BDec(b, used), 1);
  EXPECT_EQ(used, 6u);
  EXPECT_EQ(second.Tag(), 0x02u);
  EXPECT_NE(first, second);
  EXPECT_EQ(Gated([&] { return first.Set(two.data(), two.size()); }), -1);  // exactly one element
  EXPECT_EQ(first.Set(two.data(), 3), 0);
}

TEST(AsnRawAny, RejectsMalformedElements) {
  const char* malformed = "obAsnRawAny::BDec malformed element before offset = 0";
  ExpectDecodeFailures<obAsnRawAny>(
      {{"", malformed},
       {"02", "BDecLen: Decoded couldn't get byte offset = 1"},
       {"02 05 01", malformed},
       {"04 80 41 00 00", malformed},
       {"30 80 02 01 05", malformed},
       {"1F FF FF FF 7F 00", "asn-tag BDecTag error tag value to long before  offset = 4"}});
  ExpectHostileInputHandled<obAsnRawAny>(0x30, "30 80 02 01 05 04 01 41 00 00", 41);
}

TEST(AsnAny, UnresolvedResolvedAndGivenValues) {
  obAsnAny unresolved;
  EXPECT_EQ(Gated([&] { return EncodeIntoRoom(unresolved, 16); },
                  "obAsnType::BEec attempt tp encode improperly formed of Any"),
            -1);
  Gated(
      [&] {
        unresolved.Herror(2);
        return 0;
      },
      "    obAsnType::Herror attempt tp print improperly formed of Any");

  obAsnAny any;
  ASSERT_EQ(DecodeHex(any, "04 03 61 62 63"), 0);
  EXPECT_EQ(any.Value(), nullptr);
  ASSERT_EQ(any.Resolve(new obAsnOcts), 1);
  ASSERT_NE(OctsIn(any), nullptr);
  obAsnAny copy(any);  // deep
  OctsIn(any)->Set(Hex("78 79 7A").data(), 3);
  EXPECT_EQ(EncodeHex(copy), "04 03 61 62 63");
  EXPECT_EQ(EncodeHex(any), "04 03 78 79 7A");
  EXPECT_EQ(SprintText(copy, 1), "  61 62 63 \n");

  obAsnAny wrong;  // a failed resolve keeps the raw value
  ASSERT_EQ(DecodeHex(wrong, "02 01 05"), 0);
  EXPECT_EQ(Gated([&] { return wrong.Resolve(new obAsnOcts); },
                  "obAsnAny::Resolve the kept value does not decode as obAsnOcts"),
            -1);
  EXPECT_EQ(wrong.Value(), nullptr);
  EXPECT_EQ(EncodeHex(wrong), "02 01 05");

  obAsnAny given;
  given.SetValue(new obAsnOcts);
  ASSERT_EQ(DecodeHex(given, "04 01 41"), 0);
  EXPECT_EQ(EncodeHex(*OctsIn(given)), "04 01 41");
  EXPECT_EQ(Gated([&] { return DecodeHex(given, "02 01 41"); }), -1);
}

}  // namespace
