#include <gtest/gtest.h>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_external.h"

namespace {

TEST(AsnExternal, AlternativesRoundTripAndBerFormsReencodeAsDer) {
  ExpectRecodes<obAsnEXTERNAL>({{"28 08 06 02 51 01 81 02 41 42"},  // direct-reference 2.1.1, octet-aligned "AB"
                                // indirect-reference 5, descriptor "d", single-ASN1-type INTEGER 7
                                {"28 0B 02 01 05 07 01 64 A0 03 02 01 07"},
                                {"28 04 82 02 04 A0"},  // arbitrary: 4 bits 1010
                                // indefinite outer length, indefinite [0], constructed octet-aligned
                                {"28 80 06 02 51 01 A0 80 02 01 07 00 00 00 00", "28 09 06 02 51 01 A0 03 02 01 07"},
                                {"28 0A A1 08 04 02 41 42 04 02 43 44", "28 06 81 04 41 42 43 44"}});
}

TEST(AsnExternal, MalformedAndHostileContentFailsCleanly) {
  const char* extra = "obAsnEXTERNALChoice::BDecContent unexpected element (tag 0x5) before offset = 7";
  ExpectDecodeFailures<obAsnEXTERNAL>(
      {{"28 03 06 01 51", "obAsnEXTERNAL::BDecContent missing mandatory component encoding before offset = 5"},
       {"28 05 81 01 41 05 00", "obAsnEXTERNAL::BDecContent unexpected element (tag 0x5) before offset = 5"},
       {"28 05 83 01 41 00 00", "obAsnEXTERNALChoice::BDecContent unknown alternative (tag 0x83) before offset = 4"},
       {"28 06 A0 04 02 01 07 05", extra},  // [0] holding more than one element
       {"28 07 A0 05 02 01 07 05 00", extra},
       {"30 04 81 02 41 42", "obAsnEXTERNAL::BDec wrong tag 0x30 before offset = 1"},
       {"28 80 81 01 41", "Non zero byte in EOC or end of data reached before offset = 5"},
       {"28 04 81 05 41 42", "obAsnEXTERNALChoice::BDec failed to decoded length before offset = 4"}});
  obAsnEXTERNAL value;
  EXPECT_EQ(Gated([&] { return DecodeHex(value, Repeat("28 80 A0 80 ", 200)); }), -1);
  ExpectHostileInputHandled<obAsnEXTERNAL>(0x28, "28 0B 02 01 05 07 01 64 A0 03 02 01 07", 51);
}

TEST(AsnExternal, CopiesAreDeepAndPrintTheirFields) {
  obAsnEXTERNAL value;
  EXPECT_EQ(Gated([&] { return EncodeIntoRoom(value, 32); }, "obAsnEXTERNALChoice::BEncContent no alternative chosen"), -1);
  value.directReference.reset(new obAsnOid(2, 1, 1, -1));
  value.encoding.SetOctetAligned().Set(Hex("68 69").data(), 2);
  obAsnEXTERNAL copy(value);
  value.encoding.SetArbitrary();
  EXPECT_EQ(EncodeHex(copy), "28 08 06 02 51 01 81 02 68 69");
  std::string printed = SprintText(copy, 0);
  EXPECT_EQ(printed, "obAsnEXTERNAL\n  direct-reference: (2.1.1)\n  encoding: octet-aligned: 68 69 \n");
}

}  // namespace
