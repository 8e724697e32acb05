#include <gtest/gtest.h>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_external.h"
#include "nycert/platform/obstream.h"
#include "support/test_support.h"

namespace {

std::string RoundTrip(const char* hex) {
  std::vector<unsigned char> der = Hex(hex);
  obAsnEXTERNAL value;
  if (obAsnDecode(value, der.data(), der.size()) != 0) return "decode failed";
  nyBinBuf out;
  if (obAsnEncode(value, out) != 0) return "encode failed";
  return ToHex(out);
}

TEST(AsnExternal, EachEncodingAlternativeRoundTrips) {
  // direct-reference 2.1.1, octet-aligned "AB"
  EXPECT_EQ(RoundTrip("28 08 06 02 51 01 81 02 41 42"), "28 08 06 02 51 01 81 02 41 42");
  // indirect-reference 5, descriptor "d", single-ASN1-type INTEGER 7
  EXPECT_EQ(RoundTrip("28 0B 02 01 05 07 01 64 A0 03 02 01 07"), "28 0B 02 01 05 07 01 64 A0 03 02 01 07");
  // arbitrary: 4 bits 1010
  EXPECT_EQ(RoundTrip("28 04 82 02 04 A0"), "28 04 82 02 04 A0");
}

TEST(AsnExternal, BerFormsReencodeAsDer) {
  // indefinite outer length, indefinite [0], constructed octet-aligned
  EXPECT_EQ(RoundTrip("28 80 06 02 51 01 A0 80 02 01 07 00 00 00 00"), "28 09 06 02 51 01 A0 03 02 01 07");
  EXPECT_EQ(RoundTrip("28 0A A1 08 04 02 41 42 04 02 43 44"), "28 06 81 04 41 42 43 44");
}

TEST(AsnExternal, RejectsMalformedContent) {
  DiagCapture diag;
  const char* bad[] = {
      "28 03 06 01 51",                    // no encoding
      "28 05 81 01 41 05 00",              // trailing element
      "28 05 83 01 41 00 00",              // unknown alternative [3]
      "28 06 A0 04 02 01 07 05",           // [0] holding more than one element
      "28 07 A0 05 02 01 07 05 00",        // [0] with a second element
      "30 04 81 02 41 42",                 // not [UNIVERSAL 8]
      "28 80 81 01 41",                    // indefinite without end-of-contents
      "28 04 81 05 41 42",                 // inner length past the outer one
  };
  for (const char* sample : bad) EXPECT_EQ(RoundTrip(sample), "decode failed") << sample;
  EXPECT_TRUE(diag.Saw("obAsnEXTERNAL::BDec wrong tag before offset = 1"));
  EXPECT_TRUE(diag.Saw("obAsnEXTERNALChoice::BDecContent unexpected tag 0x83"));
}

TEST(AsnExternal, DeepNestingInsideTheOpenValueFailsCleanly) {
  std::string hex;
  for (int i = 0; i < 200; ++i) hex += "28 80 A0 80 ";
  std::vector<unsigned char> der = Hex(hex);
  obAsnEXTERNAL value;
  DiagCapture diag;
  EXPECT_EQ(obAsnDecode(value, der.data(), der.size()), -1);
}

TEST(AsnExternal, CopiesAreDeepAndPrintTheirFields) {
  obAsnEXTERNAL value;
  value.directReference.reset(new obAsnOid(2, 1, 1, -1));
  const unsigned char text[] = {'h', 'i'};
  value.encoding.SetOctetAligned().Set(text, 2);
  obAsnEXTERNAL copy(value);
  value.encoding.SetArbitrary();
  nyBinBuf out;
  ASSERT_EQ(obAsnEncode(copy, out), 0);
  EXPECT_EQ(ToHex(out), "28 08 06 02 51 01 81 02 68 69");
  ObStream s;
  copy.Sprint(&s, 0);
  EXPECT_NE(s.str().find("  direct-reference\n    (2.1.1)"), std::string::npos) << s.str();
  EXPECT_NE(s.str().find("octet-aligned"), std::string::npos);
}

TEST(AsnExternal, EncodingWithoutAChoiceFails) {
  DiagCapture diag;
  obAsnEXTERNAL value;
  nyBinBuf out;
  EXPECT_EQ(obAsnEncode(value, out), -1);
  EXPECT_TRUE(diag.Saw("obAsnEXTERNALChoice::BEnc no encoding chosen"));
}

}  // namespace
