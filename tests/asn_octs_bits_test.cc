#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_bits.h"
#include "nycert/asn1/runtime/asn_octs.h"

namespace {

std::string OctsHex(const obAsnOcts& o) { return ToHex(o.data(), o.size()); }

// count levels of constructed indefinite OCTET STRING around one segment "41".
std::string NestedIndefinite(int count) {
  std::string hex;
  for (int i = 0; i < count; ++i) hex += "24 80 ";
  hex += "04 01 41 ";
  for (int i = 0; i < count; ++i) hex += "00 00 ";
  return hex;
}

// The same nesting with definite lengths.
std::vector<unsigned char> NestedDefinite(int count) {
  std::vector<unsigned char> der = {0x04, 0x01, 0x41};
  for (int i = 0; i < count; ++i) {
    std::vector<unsigned char> outer = {0x24};
    size_t n = der.size();
    if (n < 0x80) {
      outer.push_back(static_cast<unsigned char>(n));
    } else {
      outer.push_back(0x82);
      outer.push_back(static_cast<unsigned char>(n >> 8));
      outer.push_back(static_cast<unsigned char>(n));
    }
    outer.insert(outer.end(), der.begin(), der.end());
    der.swap(outer);
  }
  return der;
}

TEST(ObAsnOctsCodec, PrimitiveRoundTrip) {
  obAsnOcts o;
  ASSERT_EQ(DecodeHex(o, "04 03 01 02 03"), 0);
  EXPECT_EQ(OctsHex(o), "01 02 03");
  EXPECT_EQ(EncodeHex(o), "04 03 01 02 03");
  EXPECT_TRUE(MeasureMatchesWrite(o));
  ASSERT_EQ(DecodeHex(o, "04 00"), 0);
  EXPECT_EQ(o.size(), 0u);
  EXPECT_EQ(EncodeHex(o), "04 00");
  std::vector<unsigned char> big(300, 0xAB);
  obAsnOcts large(big.data(), big.size());
  std::string hex = EncodeHex(large);
  EXPECT_EQ(hex.substr(0, 11), "04 82 01 2C");
  EXPECT_TRUE(MeasureMatchesWrite(large));
}

TEST(ObAsnOctsCodec, ConstructedSegmentsAreJoined) {
  struct Case {
    const char* der;
    const char* content;
  } cases[] = {
      {"24 08 04 02 41 42 04 02 43 44", "41 42 43 44"},
      {"24 80 04 02 41 42 04 02 43 44 00 00", "41 42 43 44"},
      // constructed inside constructed, mixing both length forms
      {"24 80 24 06 04 01 41 04 01 42 24 80 04 01 43 00 00 00 00", "41 42 43"},
      {"24 0C 24 80 04 01 41 00 00 04 00 04 01 42", "41 42"},
      {"24 00", ""},
      {"24 80 00 00", ""},
  };
  for (const Case& c : cases) {
    std::vector<unsigned char> der = Hex(c.der);
    obAsnReadBuf b(der.data(), der.size());
    unsigned long used = 0;
    obAsnOcts o;
    ASSERT_EQ(o.BDec(b, used), 1) << c.der;
    EXPECT_EQ(used, der.size()) << c.der;
    EXPECT_EQ(b.Remaining(), 0u) << c.der;
    EXPECT_EQ(OctsHex(o), c.content) << c.der;
    // Re-encoding gives the primitive DER form.
    obAsnOcts expected(o.data(), o.size());
    EXPECT_EQ(EncodeHex(o), EncodeHex(expected));
  }
}

TEST(ObAsnOctsCodec, ImplicitTagsUseTheFormBit) {
  obAsnOcts o;
  std::vector<unsigned char> prim = Hex("41 42");
  obAsnReadBuf b(prim.data(), prim.size());
  unsigned long used = 0;
  ASSERT_EQ(o.BDecContent(b, 0x80, 2, used), 1);
  EXPECT_EQ(OctsHex(o), "41 42");
  std::vector<unsigned char> cons = Hex("04 01 43 04 01 44");
  b.Init(cons.data(), cons.size());
  ASSERT_EQ(o.BDecContent(b, 0xA0, 6, used), 1);
  EXPECT_EQ(OctsHex(o), "43 44");
  EXPECT_EQ(used, 8u);
}

TEST(ObAsnOctsCodec, MalformedConstructedFormsFail) {
  DiagCapture diag;
  const char* bad[] = {
      "24 80 04 01 41",              // no end-of-contents
      "24 80 04 01 41 00",           // half an end-of-contents
      "24 03 02 01 05",              // a segment that is not an OCTET STRING
      "24 04 04 03 41 42 43",        // a segment reaching beyond the outer length
      "24 80 04 80 41 00 00 00 00",  // primitive segment with indefinite length
      "24 05 04 01 41 00 00",        // end-of-contents inside a definite content
      "04 80 41 00 00",              // primitive with indefinite length
      "05 00",                       // wrong tag
      "04 05 41",                    // length beyond the input
  };
  for (const char* der : bad) {
    obAsnOcts o;
    EXPECT_EQ(DecodeHex(o, der), -1) << der;
    EXPECT_EQ(o.size(), 0u) << der;
  }
  obAsnOcts o;
  diag.Clear();
  EXPECT_EQ(DecodeHex(o, "24 80 04 01 41"), -1);
  EXPECT_TRUE(diag.Saw("obAsnOcts::BDEcConsOcts failed to get the length of octet for indefinite length"));
  diag.Clear();
  EXPECT_EQ(DecodeHex(o, "24 03 02 01 05"), -1);
  EXPECT_TRUE(diag.Saw("obAsnOcts::BDecConsOcts segment is not an OCTET STRING (tag 0x2)"));
  diag.Clear();
  EXPECT_EQ(DecodeHex(o, "05 00"), -1);
  EXPECT_TRUE(diag.Saw("obAsnOcts::BDec wrong tag before offset = 1"));
}

TEST(ObAsnOctsCodec, HostileNestingFailsCleanly) {
  obAsnOcts o;
  EXPECT_EQ(DecodeHex(o, NestedIndefinite(60)), 0);
  EXPECT_EQ(OctsHex(o), "41");
  std::vector<unsigned char> ok = NestedDefinite(60);
  EXPECT_EQ(obAsnDecode(o, ok.data(), ok.size()), 0);

  DiagCapture diag;
  EXPECT_EQ(DecodeHex(o, NestedIndefinite(5000)), -1);
  EXPECT_TRUE(diag.Saw("obAsnOcts::BDEcConsOcts failed to get the length of octet for indefinite length"));
  diag.Clear();
  std::vector<unsigned char> deep = NestedDefinite(5000);
  EXPECT_EQ(obAsnDecode(o, deep.data(), deep.size()), -1);
  EXPECT_TRUE(diag.Saw("nesting deeper than 64 levels"));
}

TEST(ObAsnOctsCodec, EveryTruncationFails) {
  std::vector<unsigned char> der = Hex("24 80 24 06 04 01 41 04 01 42 24 80 04 01 43 00 00 00 00");
  DiagCapture diag(false);
  for (size_t n = 0; n < der.size(); ++n) {
    obAsnOcts o;
    EXPECT_EQ(obAsnDecode(o, der.data(), n), -1) << n;
  }
  EXPECT_TRUE(diag.Lines().empty());
}

TEST(ObAsnOctsCodec, RandomInputNeverCrashes) {
  std::mt19937 rng(7);
  DiagCapture diag(false);
  for (int round = 0; round < 3000; ++round) {
    std::vector<unsigned char> data(rng() % 24);
    for (unsigned char& c : data) c = static_cast<unsigned char>(rng());
    data.insert(data.begin(), static_cast<unsigned char>(round % 2 ? 0x24 : 0x04));
    obAsnOcts o;
    if (obAsnDecode(o, data.data(), data.size()) == 0) {
      EXPECT_TRUE(MeasureMatchesWrite(o));
    }
  }
}

TEST(ObAsnOctsCodec, ValueSemantics) {
  obAsnOcts text("hello");
  EXPECT_EQ(OctsHex(text), "68 65 6C 6C 6F");
  EXPECT_EQ(obAsnOcts(static_cast<const char*>(nullptr)).size(), 0u);
  obAsnOcts copy(text);
  text.Set(reinterpret_cast<const unsigned char*>("x"), 1);
  EXPECT_EQ(OctsHex(copy), "68 65 6C 6C 6F");
  EXPECT_NE(copy, text);
  copy = text;
  EXPECT_EQ(copy, text);
  std::unique_ptr<obAsnOcts> dup(text.Copy());
  EXPECT_EQ(*dup, text);
  std::unique_ptr<obAsnOcts> blank(text.Clone());
  EXPECT_EQ(blank->size(), 0u);
  EXPECT_STREQ(text.TypeName(), "obAsnOcts");
  EXPECT_EQ(text.IsType("obAsnOcts"), &text);
  EXPECT_EQ(SprintText(obAsnOcts("AB"), 1), "  41 42 \n");
  EXPECT_EQ(SprintText(obAsnOcts(), 0), "(empty)\n");
}

TEST(ObAsnOctsCodec, EncodingIntoTooSmallBlockFails) {
  obAsnOcts o("abcd");
  DiagCapture diag;
  EXPECT_EQ(EncodeIntoRoom(o, 5), -1);
  EXPECT_TRUE(diag.Saw(" obAsnOcts::BEnc attempt to encode tag failed"));
  diag.Clear();
  EXPECT_EQ(EncodeIntoRoom(o, 3), -1);
  EXPECT_TRUE(diag.Saw("obAsnOcts::BEncContent can't put seg data into buf"));
  EXPECT_TRUE(diag.Saw(" obAsnOcts::BEnc attempt to encode content failed"));
  EXPECT_EQ(EncodeIntoRoom(o, 6), 6);
}

TEST(ObAsnBitsCodec, PrimitiveRoundTrip) {
  struct Case {
    const char* der;
    unsigned long bits;
  } cases[] = {
      {"03 01 00", 0}, {"03 02 07 80", 1}, {"03 02 00 FF", 8}, {"03 03 06 6E 40", 10}, {"03 02 01 86", 7},
  };
  for (const Case& c : cases) {
    obAsnBits bits;
    ASSERT_EQ(DecodeHex(bits, c.der), 0) << c.der;
    EXPECT_EQ(bits.BitLen(), c.bits) << c.der;
    EXPECT_EQ(EncodeHex(bits), c.der);
    EXPECT_TRUE(MeasureMatchesWrite(bits));
  }
}

TEST(ObAsnBitsCodec, UnusedBitsOctetIsChecked) {
  DiagCapture diag;
  obAsnBits bits;
  EXPECT_EQ(DecodeHex(bits, "03 02 08 00"), -1);
  EXPECT_TRUE(diag.Saw("obAsnBits::BDecContent failed to decoded Content, bad unused byte. unused = 8"));
  diag.Clear();
  EXPECT_EQ(DecodeHex(bits, "03 01 07"), -1);
  EXPECT_TRUE(diag.Saw("obAsnBits::BDecContent failed to decoded Content, bad unused byte. unused = 7"));
  diag.Clear();
  EXPECT_EQ(DecodeHex(bits, "03 00"), -1);
  EXPECT_TRUE(diag.Saw("obAsnBits::BDecContent failed to decoded Content, no unused byte. offset = 2"));
  diag.Clear();
  EXPECT_EQ(DecodeHex(bits, "03 80 00 00 00"), -1);
  EXPECT_TRUE(diag.Saw("obAsnBits::BDecContent: obAsnBits must not be with INDEFINITE length (-2). offset = 2"));
  diag.Clear();
  EXPECT_EQ(DecodeHex(bits, "04 01 00"), -1);
  EXPECT_TRUE(diag.Saw("obAsnBits::BDec wrong tag before offset = 1"));
}

TEST(ObAsnBitsCodec, ConstructedSegmentsAreJoined) {
  // The example of X.690 8.6.4.2: 44 bits in two segments.
  obAsnBits bits;
  ASSERT_EQ(DecodeHex(bits, "23 80 03 03 00 0A 3B 03 05 04 5F 29 1C D0 00 00"), 0);
  EXPECT_EQ(bits.BitLen(), 44u);
  EXPECT_EQ(EncodeHex(bits), "03 07 04 0A 3B 5F 29 1C D0");
  ASSERT_EQ(DecodeHex(bits, "23 0B 23 80 03 02 00 0A 00 00 03 01 00"), 0);
  EXPECT_EQ(bits.BitLen(), 8u);
  ASSERT_EQ(DecodeHex(bits, "23 00"), 0);
  EXPECT_EQ(bits.BitLen(), 0u);

  DiagCapture diag;
  EXPECT_EQ(DecodeHex(bits, "23 08 03 02 04 F0 03 02 00 FF"), -1);
  EXPECT_TRUE(diag.Saw("obAsnBits::BDecConsBits only the last segment may have unused bits"));
  diag.Clear();
  EXPECT_EQ(DecodeHex(bits, "23 04 04 02 00 FF"), -1);
  EXPECT_TRUE(diag.Saw("obAsnBits::BDecConsBits attempt to decoded nested bits failed"));
  diag.Clear();
  EXPECT_EQ(DecodeHex(bits, "23 04 03 02 09 FF"), -1);
  EXPECT_TRUE(diag.Saw("bad unused byte. unused = 9"));
  EXPECT_TRUE(diag.Saw("obAsnBits::BDecConsBits attempt to decoded nested bits failed"));
  diag.Clear();
  EXPECT_EQ(DecodeHex(bits, "23 80 03 02 00 FF"), -1);
  EXPECT_TRUE(diag.Saw("obAsnBits::BDecConsBits failed to get the length of bits for indefinite length"));
}

TEST(ObAsnBitsCodec, HostileNestingAndTruncationFail) {
  std::string hex;
  for (int i = 0; i < 3000; ++i) hex += "23 80 ";
  DiagCapture diag(false);
  obAsnBits bits;
  EXPECT_EQ(DecodeHex(bits, hex), -1);
  std::vector<unsigned char> der = Hex("23 80 03 03 00 0A 3B 03 05 04 5F 29 1C D0 00 00");
  for (size_t n = 0; n < der.size(); ++n) EXPECT_EQ(obAsnDecode(bits, der.data(), n), -1) << n;
  EXPECT_TRUE(diag.Lines().empty());
}

TEST(ObAsnBitsCodec, EncodingClearsUnusedBits) {
  const unsigned char ff[] = {0xFF, 0xFF};
  EXPECT_EQ(EncodeHex(obAsnBits(ff, 3)), "03 02 05 E0");
  EXPECT_EQ(EncodeHex(obAsnBits(ff, 9)), "03 03 07 FF 80");
  EXPECT_EQ(EncodeHex(obAsnBits(ff, 16)), "03 03 00 FF FF");
  obAsnBits bits;
  ASSERT_EQ(DecodeHex(bits, "03 02 04 FF"), 0);  // BER: unused bits may be set
  EXPECT_EQ(EncodeHex(bits), "03 02 04 F0");
}

TEST(ObAsnBitsCodec, EqualityIgnoresUnusedBits) {
  const unsigned char a[] = {0x12, 0xF0}, b[] = {0x12, 0xFF}, c[] = {0x13, 0xF0}, d[] = {0x12, 0x70};
  EXPECT_EQ(obAsnBits(a, 12), obAsnBits(b, 12));
  EXPECT_EQ(obAsnBits(a, 0), obAsnBits(c, 0));
  DiagCapture diag;
  EXPECT_NE(obAsnBits(a, 12), obAsnBits(a, 13));
  EXPECT_TRUE(diag.Saw("obAsnBits::BitsEquiv the bits length is not equal"));
  diag.Clear();
  EXPECT_NE(obAsnBits(a, 12), obAsnBits(d, 12));
  EXPECT_TRUE(diag.Saw("obAsnBits::BitsEquiv the last octet is not equal"));
  diag.Clear();
  EXPECT_NE(obAsnBits(a, 12), obAsnBits(c, 12));
  EXPECT_TRUE(diag.Saw("obAsnBits::BitsEquiv the octets are not equal"));
  DiagCapture shut(false);
  EXPECT_NE(obAsnBits(a, 12), obAsnBits(a, 13));
  EXPECT_TRUE(shut.Lines().empty());
}

TEST(ObAsnBitsCodec, NamedBitsSetGetClear) {
  // KeyUsage: digitalSignature (0), keyCertSign (5), cRLSign (6).
  obAsnBits usage;
  usage.SetBit(0);
  usage.SetBit(5);
  usage.SetBit(6);
  EXPECT_EQ(usage.BitLen(), 7u);
  EXPECT_EQ(EncodeHex(usage), "03 02 01 86");
  std::string peer = OpensslGenstr("FORMAT:BITLIST,BITSTRING:0,5,6");
  if (!peer.empty()) {
    EXPECT_EQ(EncodeHex(usage), peer);
  }
  EXPECT_EQ(usage.GetBit(5), 1);
  EXPECT_EQ(usage.GetBit(4), 0);
  EXPECT_EQ(usage.GetBit(100), 0);
  usage.SetBit(8);  // decipherOnly
  EXPECT_EQ(EncodeHex(usage), "03 03 07 86 80");
  usage.ClrBit(8);
  usage.ClrBit(200);
  EXPECT_EQ(usage.BitLen(), 9u);
  usage.DropTrailingZeros();
  EXPECT_EQ(EncodeHex(usage), "03 02 01 86");
  usage.ClrBit(0);
  usage.ClrBit(5);
  usage.ClrBit(6);
  usage.DropTrailingZeros();
  EXPECT_EQ(EncodeHex(usage), "03 01 00");
  EXPECT_EQ(SprintText(obAsnBits(Hex("A0").data(), 3), 0), "'101'B\n");

  // Extending a decoded string clears the stale unused bits it had.
  obAsnBits decoded;
  ASSERT_EQ(DecodeHex(decoded, "03 02 04 FF"), 0);
  decoded.SetBit(7);
  EXPECT_EQ(decoded.BitLen(), 8u);
  EXPECT_EQ(EncodeHex(decoded), "03 02 00 F1");
}

TEST(ObAsnBitsCodec, ValueSemanticsAndPrinting) {
  std::vector<unsigned char> key(40, 0x5A);
  obAsnBits bits(key.data(), 320);
  obAsnBits copy(bits);
  bits.ClrBit(1);
  EXPECT_NE(copy, bits);
  std::unique_ptr<obAsnBits> dup(copy.Copy());
  EXPECT_EQ(*dup, copy);
  EXPECT_EQ(std::unique_ptr<obAsnBits>(copy.Clone())->BitLen(), 0u);
  std::string printed = SprintText(copy, 0);
  EXPECT_EQ(printed.substr(0, 9), "320 bits\n");
  EXPECT_NE(printed.find("5a 5a"), std::string::npos);
  EXPECT_STREQ(copy.TypeName(), "obAsnBits");
}

}  // namespace
