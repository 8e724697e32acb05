#include <gtest/gtest.h>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_bits.h"
#include "nycert/asn1/runtime/asn_octs.h"

namespace {

std::string OctsHex(const obAsnOcts& o) { return ToHex(o.data(), o.size()); }

// count levels of constructed OCTET STRING around the segment 04 01 41, with
// definite lengths (each level's length given in two octets).
std::vector<unsigned char> NestedDefinite(int count) {
  std::vector<unsigned char> der = Hex("04 01 41");
  for (int i = 0; i < count; ++i) {
    size_t n = der.size();
    std::vector<unsigned char> header = {0x24, 0x82, static_cast<unsigned char>(n >> 8), static_cast<unsigned char>(n)};
    der.insert(der.begin(), header.begin(), header.end());
  }
  return der;
}

std::string NestedIndefinite(int count) { return Repeat("24 80 ", count) + "04 01 41 " + Repeat("00 00 ", count); }

TEST(ObAsnOctsCodec, PrimitiveAndConstructedFormsDecodeToOneRun) {
  ExpectRecodes<obAsnOcts>({{"04 03 01 02 03"},
                            {"04 00"},
                            {"24 08 04 02 41 42 04 02 43 44", "04 04 41 42 43 44"},
                            {"24 80 04 02 41 42 04 02 43 44 00 00", "04 04 41 42 43 44"},
                            // constructed inside constructed, mixing both length forms
                            {"24 80 24 06 04 01 41 04 01 42 24 80 04 01 43 00 00 00 00", "04 03 41 42 43"},
                            {"24 0C 24 80 04 01 41 00 00 04 00 04 01 42", "04 02 41 42"},
                            {"24 00", "04 00"},
                            {"24 80 00 00", "04 00"}});
  // Under an implicit tag the form bit chooses the form.
  obAsnOcts implicit;
  ASSERT_EQ(DecodeContentHex(implicit, 0x80, 2, "41 42"), 1);
  EXPECT_EQ(OctsHex(implicit), "41 42");
  ASSERT_EQ(DecodeContentHex(implicit, 0xA0, 6, "04 01 43 04 01 44"), 1);
  EXPECT_EQ(OctsHex(implicit), "43 44");
}

TEST(ObAsnOctsCodec, MalformedAndHostileFormsFailCleanly) {
  const char* no_eoc = "obAsnOcts::BDEcConsOcts failed to get the length of octet for indefinite length";
  ExpectDecodeFailures<obAsnOcts>(
      {{"24 80 04 01 41", no_eoc},
       {"24 80 04 01 41 00", no_eoc},
       {"24 80 04 80 41 00 00 00 00", no_eoc},  // primitive segment with indefinite length
       {"24 03 02 01 05", "obAsnOcts::BDecConsOcts segment is not an OCTET STRING (tag 0x2) before offset = 4"},
       {"24 04 04 03 41 42 43", "obAsnDecodeSegments: broken segment header before offset = 4"},
       {"24 05 04 01 41 00 00", "obAsnOcts::BDecConsOcts segment is not an OCTET STRING (tag 0x0) before offset = 7"},
       {"04 80 41 00 00", "obAsnOcts::BDecContent: primitive obAsnOcts must not be with INDEFINITE length. offset = 2"},
       {"05 00", "obAsnOcts::BDec wrong tag before offset = 1"},
       {"04 05 41", "obAsnOcts::BDec failed to decoded length before offset = 2"}});
  obAsnOcts o;
  ASSERT_EQ(DecodeHex(o, NestedIndefinite(60)), 0);
  EXPECT_EQ(OctsHex(o), "41");
  std::vector<unsigned char> ok = NestedDefinite(60), deep = NestedDefinite(5000);
  EXPECT_EQ(obAsnDecode(o, ok.data(), ok.size()), 0);
  EXPECT_EQ(Gated([&] { return DecodeHex(o, NestedIndefinite(5000)); }, no_eoc), -1);
  EXPECT_EQ(Gated([&] { return obAsnDecode(o, deep.data(), deep.size()); },
                  "obAsnReadBuf: nesting deeper than 64 levels before offset = 260"),
            -1);
  ExpectHostileInputHandled<obAsnOcts>(0x24, "24 80 24 06 04 01 41 04 01 42 24 80 04 01 43 00 00 00 00", 7);
  ExpectHostileInputHandled<obAsnOcts>(0x04, "04 03 41 42 43", 8);
}

TEST(ObAsnOctsCodec, ValuesCopyPrintAndFailToEncodeInTooLittleRoom) {
  obAsnOcts text("hello");
  EXPECT_EQ(OctsHex(text), "68 65 6C 6C 6F");
  EXPECT_EQ(obAsnOcts(static_cast<const char*>(nullptr)).size(), 0u);
  obAsnOcts copy(text);
  text.Set(reinterpret_cast<const unsigned char*>("x"), 1);
  EXPECT_EQ(OctsHex(copy), "68 65 6C 6C 6F");
  copy = text;
  EXPECT_EQ(copy, text);
  EXPECT_EQ(*std::unique_ptr<obAsnOcts>(text.Copy()), text);
  EXPECT_EQ(SprintText(obAsnOcts("AB"), 1), "  41 42 \n");
  EXPECT_EQ(SprintText(obAsnOcts(), 0), "(empty)\n");
  std::vector<unsigned char> big(300, 0xCC);  // a two-octet length
  if (HaveOpenssl()) ExpectSameAsPeer("FORMAT:HEX,OCTETSTRING:" + std::string(600, 'c'), obAsnOcts(big.data(), 300));
  ExpectEncodeFailures(obAsnOcts("abcd"), {{3, "obAsnOcts::BEncContent can't put seg data into buf"},
                                           {3, " obAsnOcts::BEnc attempt to encode content failed"},
                                           {5, " obAsnOcts::BEnc attempt to encode tag failed"}});
}

TEST(ObAsnBitsCodec, PrimitiveAndConstructedForms) {
  ExpectRecodes<obAsnBits>({{"03 01 00"},
                            {"03 02 07 80"},
                            {"03 02 00 FF"},
                            {"03 03 06 6E 40"},
                            {"03 02 04 FF", "03 02 04 F0"},  // BER: unused bits may be set, DER clears them
                            // The example of X.690 8.6.4.2: 44 bits in two segments.
                            {"23 80 03 03 00 0A 3B 03 05 04 5F 29 1C D0 00 00", "03 07 04 0A 3B 5F 29 1C D0"},
                            {"23 0B 23 80 03 02 00 0A 00 00 03 01 00", "03 02 00 0A"},
                            {"23 00", "03 01 00"}});
  obAsnBits bits;
  ASSERT_EQ(DecodeHex(bits, "23 80 03 03 00 0A 3B 03 05 04 5F 29 1C D0 00 00"), 0);
  EXPECT_EQ(bits.BitLen(), 44u);
  const unsigned char ff[] = {0xFF, 0xFF};
  EXPECT_EQ(EncodeHex(obAsnBits(ff, 3)), "03 02 05 E0");
  EXPECT_EQ(EncodeHex(obAsnBits(ff, 9)), "03 03 07 FF 80");
  EXPECT_EQ(EncodeHex(obAsnBits(ff, 16)), "03 03 00 FF FF");
}

TEST(ObAsnBitsCodec, MalformedAndHostileFormsFailCleanly) {
  const char* nested_failed = "obAsnBits::BDecConsBits attempt to decoded nested bits failed";
  ExpectDecodeFailures<obAsnBits>(
      {{"03 02 08 00", "obAsnBits::BDecContent failed to decoded Content, bad unused byte. unused = 8"},
       {"03 01 07", "obAsnBits::BDecContent failed to decoded Content, bad unused byte. unused = 7"},
       {"03 00", "obAsnBits::BDecContent failed to decoded Content, no unused byte. offset = 2"},
       {"03 80 00 00 00", "obAsnBits::BDecContent: obAsnBits must not be with INDEFINITE length (-2). offset = 2"},
       {"04 01 00", "obAsnBits::BDec wrong tag before offset = 1"},
       {"23 08 03 02 04 F0 03 02 00 FF",
        "obAsnBits::BDecConsBits only the last segment may have unused bits before offset = 8"},
       {"23 04 04 02 00 FF", nested_failed},
       {"23 04 03 02 09 FF", nested_failed},
       {"23 04 03 02 09 FF", "obAsnBits::BDecContent failed to decoded Content, bad unused byte. unused = 9"},
       {"23 80 03 02 00 FF", "obAsnBits::BDecConsBits failed to get the length of bits for indefinite length"}});
  obAsnBits bits;
  EXPECT_EQ(Gated([&] { return DecodeHex(bits, Repeat("23 80 ", 3000)); }), -1);
  ExpectHostileInputHandled<obAsnBits>(0x23, "23 80 03 03 00 0A 3B 03 05 04 5F 29 1C D0 00 00", 9);
  ExpectHostileInputHandled<obAsnBits>(0x03, "03 03 06 6E 40", 10);
}

TEST(ObAsnBitsValue, EqualityIgnoresUnusedBits) {
  const unsigned char a[] = {0x12, 0xF0}, b[] = {0x12, 0xFF}, c[] = {0x13, 0xF0}, d[] = {0x12, 0x70};
  EXPECT_EQ(obAsnBits(a, 12), obAsnBits(b, 12));
  EXPECT_EQ(obAsnBits(a, 0), obAsnBits(c, 0));
  struct Case {
    obAsnBits other;
    const char* message;
  } cases[] = {{obAsnBits(a, 13), "obAsnBits::BitsEquiv the bits length is not equal"},
               {obAsnBits(d, 12), "obAsnBits::BitsEquiv the last octet is not equal"},
               {obAsnBits(c, 12), "obAsnBits::BitsEquiv the octets are not equal"}};
  for (const Case& k : cases) EXPECT_EQ(Gated([&] { return obAsnBits(a, 12).Equal(k.other); }, k.message), 0);
}

TEST(ObAsnBitsValue, NamedBitsCopiesAndPrinting) {
  // KeyUsage: digitalSignature (0), keyCertSign (5), cRLSign (6).
  obAsnBits usage;
  for (unsigned long bit : {0, 5, 6}) usage.SetBit(bit);
  EXPECT_EQ(EncodeHex(usage), "03 02 01 86");
  if (HaveOpenssl()) ExpectSameAsPeer("FORMAT:BITLIST,BITSTRING:0,5,6", usage);
  EXPECT_EQ(usage.GetBit(5), 1);
  EXPECT_EQ(usage.GetBit(4), 0);
  EXPECT_EQ(usage.GetBit(100), 0);
  usage.SetBit(8);  // decipherOnly
  EXPECT_EQ(EncodeHex(usage), "03 03 07 86 80");
  obAsnBits copy(usage);
  usage.ClrBit(8);
  usage.ClrBit(200);
  EXPECT_EQ(usage.BitLen(), 9u);
  EXPECT_NE(copy, usage);
  EXPECT_EQ(*std::unique_ptr<obAsnBits>(copy.Copy()), copy);
  usage.DropTrailingZeros();
  EXPECT_EQ(EncodeHex(usage), "03 02 01 86");
  for (unsigned long bit : {0, 5, 6}) usage.ClrBit(bit);
  usage.DropTrailingZeros();
  EXPECT_EQ(EncodeHex(usage), "03 01 00");
  obAsnBits decoded;  // extending a decoded string clears its stale unused bits
  ASSERT_EQ(DecodeHex(decoded, "03 02 04 FF"), 0);
  decoded.SetBit(7);
  EXPECT_EQ(EncodeHex(decoded), "03 02 00 F1");

  EXPECT_EQ(SprintText(obAsnBits(Hex("A0").data(), 3), 0), "'101'B\n");
  std::vector<unsigned char> key(40, 0x5A);
  std::string printed = SprintText(obAsnBits(key.data(), 320), 0);
  EXPECT_EQ(printed.substr(0, 9), "320 bits\n");
  EXPECT_NE(printed.find("5a 5a"), std::string::npos);
}

}  // namespace
