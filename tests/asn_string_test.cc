#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_string.h"
#include "nycert/asn1/runtime/asn_unicode.h"

namespace {

std::string StrHex(const obAsnString& s) { return ToHex(s.data(), s.size()); }

// The DER of content under a universal primitive tag.
std::string Tlv(unsigned tag, const std::string& contentHex) {
  std::vector<unsigned char> content = Hex(contentHex);
  std::vector<unsigned char> der = {static_cast<unsigned char>(tag), static_cast<unsigned char>(content.size())};
  der.insert(der.end(), content.begin(), content.end());
  return ToHex(der.data(), der.size());
}

struct KindCase {
  std::function<obAsnString*()> make;
  const char* name;
  unsigned tag;
  std::vector<const char*> good;  // content hex
  std::vector<const char*> bad;
};

std::vector<KindCase> Kinds() {
  return {
      {[] { return new obAsnUTF8String; },
       "obAsnUTF8String",
       12,
       {"", "41 C3 A9 E2 82 AC F0 9F 98 80"},
       {"C0 80", "ED A0 80", "F4 90 80 80", "E2 82"}},
      {[] { return new obAsnNumericString; }, "obAsnNumericString", 18, {"30 39 20 31"}, {"41", "2D"}},
      {[] { return new obAsnPrintableString; },
       "obAsnPrintableString",
       19,
       {"41 7A 30 39 20 27 28 29 2B 2C 2D 2E 2F 3A 3D 3F", "2A 2E 61 40 62 26 5F"},
       {"00", "1F", "7F", "E9"}},
      {[] { return new obAsnTeletexString; }, "obAsnTeletexString", 20, {"", "00 FF C2 65"}, {}},
      {[] { return new obAsnT61String; }, "obAsnT61String", 20, {"C2 65"}, {}},
      {[] { return new obAsnVideotexString; }, "obAsnVideotexString", 21, {"80 FF"}, {}},
      {[] { return new obAsnIA5String; }, "obAsnIA5String", 22, {"00 40 7F"}, {"80", "41 FF"}},
      {[] { return new obAsnGraphicString; }, "obAsnGraphicString", 25, {"80 FF"}, {}},
      {[] { return new obAsnVisibleString; }, "obAsnVisibleString", 26, {"20 7E"}, {"1F", "7F"}},
      {[] { return new obAsnISO646String; }, "obAsnISO646String", 26, {"20 7E"}, {"0A"}},
      {[] { return new obAsnGeneralString; }, "obAsnGeneralString", 27, {"1B 24 42"}, {}},
      {[] { return new obAsnUniversalString; },
       "obAsnUniversalString",
       28,
       {"", "00 10 FF FF"},
       {"00 00 41", "00 11 00 00"}},
      {[] { return new obAsnBMPString; }, "obAsnBMPString", 30, {"", "00 41 D8 3D"}, {"00"}},
      {[] { return new obAsnObjectDescriptor; }, "obAsnObjectDescriptor", 7, {"41 80"}, {}},
  };
}

TEST(ObAsnStringCodec, EachKindChecksItsContent) {
  for (const KindCase& k : Kinds()) {
    std::unique_ptr<obAsnString> value(k.make());
    EXPECT_STREQ(value->TypeName(), k.name);
    EXPECT_EQ(value->Kind().tag, k.tag);
    EXPECT_EQ(value->IsType(k.name), value.get());
    std::unique_ptr<obAsnType> clone(value->Clone());
    EXPECT_STREQ(clone->TypeName(), k.name);
    for (const char* content : k.good) {
      std::string der = Tlv(k.tag, content);
      ASSERT_EQ(DecodeHex(*value, der), 0) << k.name << " " << content;
      EXPECT_EQ(StrHex(*value), content);
      EXPECT_EQ(EncodeHex(*value), der);
      EXPECT_TRUE(MeasureMatchesWrite(*value));
      std::unique_ptr<obAsnType> copy(value->Copy());
      EXPECT_EQ(*static_cast<obAsnString*>(copy.get()), *value);
    }
    for (const char* content : k.bad) {
      DiagCapture diag;
      EXPECT_EQ(DecodeHex(*value, Tlv(k.tag, content)), -1) << k.name << " " << content;
      EXPECT_TRUE(diag.Saw(std::string(k.name) + "::BDecContent content not allowed in this type")) << k.name;
      EXPECT_EQ(value->size(), 0u);
      std::vector<unsigned char> raw = Hex(content);
      EXPECT_EQ(value->Set(raw.data(), raw.size()), -1);
      DiagCapture shut(false);
      EXPECT_EQ(DecodeHex(*value, Tlv(k.tag, content)), -1);
      EXPECT_TRUE(shut.Lines().empty());
    }
  }
}

TEST(ObAsnStringCodec, WrongTagIsRefused) {
  DiagCapture diag;
  obAsnIA5String ia5;
  EXPECT_EQ(DecodeHex(ia5, "13 01 41"), -1);
  EXPECT_TRUE(diag.Saw("obAsnIA5String::BDec wrong tag before offset = 1"));
  obAsnTeletexString teletex;
  EXPECT_EQ(DecodeHex(teletex, "14 01 41"), 0);
  obAsnVisibleString visible;
  EXPECT_EQ(DecodeHex(visible, "1A 01 41"), 0);
}

TEST(ObAsnStringCodec, ConstructedFormUsesOctetStringSegments) {
  obAsnIA5String ia5;
  ASSERT_EQ(DecodeHex(ia5, "36 80 04 02 61 62 24 03 04 01 63 00 00"), 0);
  EXPECT_EQ(ia5.str(), "abc");
  EXPECT_EQ(EncodeHex(ia5), "16 03 61 62 63");
  obAsnUTF8String utf8;
  // A character split across segments is checked once they are joined.
  ASSERT_EQ(DecodeHex(utf8, "2C 08 04 02 41 C3 04 02 A9 42"), 0);
  EXPECT_EQ(utf8.str(), u8"A\u00E9B");

  DiagCapture diag;
  EXPECT_EQ(DecodeHex(ia5, "36 03 16 01 61"), -1);
  EXPECT_TRUE(diag.Saw("obAsnOcts::BDecConsOcts segment is not an OCTET STRING"));
  EXPECT_TRUE(diag.Saw("obAsnIA5String::BDecContent attempt to decode content failed"));
  diag.Clear();
  obAsnPrintableString printable;
  EXPECT_EQ(DecodeHex(printable, "33 80 04 01 41 04 01 E9 00 00"), -1);
  EXPECT_TRUE(diag.Saw("obAsnPrintableString::BDecContent content not allowed in this type before offset = 10"));
}

TEST(ObAsnStringCodec, SetAndEncodeCheckContent) {
  obAsnPrintableString p;
  EXPECT_EQ(p.Set("Example CA"), 0);
  EXPECT_EQ(EncodeHex(p), "13 0A 45 78 61 6D 70 6C 65 20 43 41");
  DiagCapture diag;
  EXPECT_EQ(p.Set("caf\xC3\xA9"), -1);
  EXPECT_TRUE(diag.Saw("obAsnPrintableString::Set content not allowed in this type"));
  EXPECT_EQ(p.str(), "Example CA");
  EXPECT_EQ(p.Set(static_cast<const char*>(nullptr)), -1);
  // Content given to a constructor is unchecked until it is encoded.
  obAsnPrintableString unchecked("a\tb");
  EXPECT_EQ(unchecked.Check(), 0);
  diag.Clear();
  EXPECT_EQ(EncodeHex(unchecked), "error");
  EXPECT_TRUE(diag.Saw("obAsnPrintableString::BEncContent content not allowed in this type"));
  EXPECT_TRUE(diag.Saw(" obAsnPrintableString::BEnc attempt to encode content failed"));
}

TEST(ObAsnStringCodec, EqualityAndCopies) {
  obAsnTeletexString teletex("abc");
  obAsnT61String t61("abc");
  EXPECT_EQ(teletex, t61);  // one type under two names
  EXPECT_STRNE(teletex.TypeName(), t61.TypeName());
  EXPECT_NE(obAsnIA5String("abc"), obAsnPrintableString("abc"));
  obAsnUTF8String a("x");
  obAsnUTF8String b(a);
  a.Set("y");
  EXPECT_EQ(b.str(), "x");
  b = a;
  EXPECT_EQ(b.str(), "y");
  EXPECT_EQ(obAsnBMPString(Hex("00 41").data(), 2).size(), 2u);
}

TEST(ObAsnStringCodec, PrintForms) {
  EXPECT_EQ(SprintText(obAsnPrintableString("Acme Ltd"), 1), "  Acme Ltd\n");
  EXPECT_EQ(SprintText(obAsnUTF8String("Z\xC3\xBCrich"), 0), "Z\xC3\xBCrich\n");
  EXPECT_EQ(SprintText(obAsnTeletexString("caf\xE9\n"), 0), "caf..\n");
  std::vector<unsigned char> bmp = Hex("00 48 00 69");
  EXPECT_EQ(SprintText(obAsnBMPString(bmp.data(), bmp.size()), 0), "Hi\n");
  bmp = Hex("00 48 00 E9");
  EXPECT_EQ(SprintText(obAsnBMPString(bmp.data(), bmp.size()), 0), "00 48 00 e9 \n");
  std::vector<unsigned char> ucs4 = Hex("00 00 00 4F 00 00 00 4B");
  EXPECT_EQ(SprintText(obAsnUniversalString(ucs4.data(), ucs4.size()), 0), "OK\n");
  ucs4 = Hex("00 01 F6 00");
  EXPECT_EQ(SprintText(obAsnUniversalString(ucs4.data(), ucs4.size()), 0), "00 01 f6 00 \n");
  std::vector<unsigned char> broken = Hex("41 FF");
  EXPECT_EQ(SprintText(obAsnUTF8String(broken.data(), broken.size()), 0), "41 ff \n");
}

TEST(ObAsnStringCodec, MatchesOpensslEncodings) {
  struct Case {
    const char* genstr;
    std::function<obAsnString*()> make;
    const char* text;
  } cases[] = {
      {u8"FORMAT:UTF8,UTF8String:Gr\u00FC\u00DFe \u20AC", [] { return new obAsnUTF8String; },
       u8"Gr\u00FC\u00DFe \u20AC"},
      {"PRINTABLESTRING:Example CA (1)", [] { return new obAsnPrintableString; }, "Example CA (1)"},
      {"IA5STRING:user@example.com", [] { return new obAsnIA5String; }, "user@example.com"},
      {"NUMERICSTRING:0123 456", [] { return new obAsnNumericString; }, "0123 456"},
      {"VISIBLESTRING:v~1", [] { return new obAsnVisibleString; }, "v~1"},
  };
  for (const Case& c : cases) {
    std::string peer = OpensslGenstr(c.genstr);
    if (peer.empty()) GTEST_SKIP() << "openssl is not available";
    std::unique_ptr<obAsnString> mine(c.make());
    ASSERT_EQ(mine->Set(c.text), 0) << c.genstr;
    EXPECT_EQ(EncodeHex(*mine), peer) << c.genstr;
    std::unique_ptr<obAsnString> decoded(c.make());
    ASSERT_EQ(DecodeHex(*decoded, peer), 0) << c.genstr;
    EXPECT_EQ(decoded->str(), c.text);
  }
  // BMPSTRING from UTF-8 input: openssl converts to UCS-2 as obAsnUtf8ToBmp does.
  std::string peer = OpensslGenstr("FORMAT:UTF8,BMPSTRING:H\xC3\xA9\xE2\x82\xAC");
  obAsnBytes ucs2;
  const std::string text = "H\xC3\xA9\xE2\x82\xAC";
  ASSERT_EQ(obAsnUtf8ToBmp(reinterpret_cast<const unsigned char*>(text.data()), text.size(), ucs2), 0);
  obAsnBMPString bmp(ucs2.data(), ucs2.size());
  EXPECT_EQ(EncodeHex(bmp), peer);
  std::string back;
  ASSERT_EQ(obAsnBmpToUtf8(bmp.data(), bmp.size(), back), 0);
  EXPECT_EQ(back, text);
}

TEST(ObAsnUnicodeConv, Utf8Validation) {
  const char* valid[] = {"",         "41",       "7F",       "C2 80",       "DF BF",       "E0 A0 80", "E2 82 AC",
                         "ED 9F BF", "EE 80 80", "EF BF BF", "F0 90 80 80", "F4 8F BF BF", "00"};
  const char* invalid[] = {"80",          "BF",          "C0 80",       "C1 BF",          "C2",    "C2 41",
                           "E0 80 80",    "E0 9F BF",    "ED A0 80",    "ED BF BF",       "E2 82", "F0 80 80 80",
                           "F0 8F BF BF", "F4 90 80 80", "F5 80 80 80", "F8 88 80 80 80", "FE",    "FF",
                           "41 E2 82"};
  for (const char* hex : valid) {
    std::vector<unsigned char> p = Hex(hex);
    EXPECT_EQ(obAsnUtf8Valid(p.data(), p.size()), 1) << hex;
  }
  for (const char* hex : invalid) {
    std::vector<unsigned char> p = Hex(hex);
    EXPECT_EQ(obAsnUtf8Valid(p.data(), p.size()), 0) << hex;
  }
}

TEST(ObAsnUnicodeConv, BmpAndUniversalToUtf8) {
  std::string out;
  std::vector<unsigned char> bmp = Hex("00 41 00 E9 20 AC D8 3D DE 00 FF FD");
  ASSERT_EQ(obAsnBmpToUtf8(bmp.data(), bmp.size(), out), 0);
  EXPECT_EQ(ToHex(reinterpret_cast<const unsigned char*>(out.data()), out.size()),
            "41 C3 A9 E2 82 AC F0 9F 98 80 EF BF BD");
  std::vector<unsigned char> ucs4 = Hex("00 00 00 41 00 00 07 FF 00 00 FF FF 00 01 F6 00 00 10 FF FF");
  ASSERT_EQ(obAsnUniversalToUtf8(ucs4.data(), ucs4.size(), out), 0);
  EXPECT_EQ(ToHex(reinterpret_cast<const unsigned char*>(out.data()), out.size()),
            "41 DF BF EF BF BF F0 9F 98 80 F4 8F BF BF");

  DiagCapture diag;
  const char* badBmp[] = {"00", "D8 3D", "DE 00 00 41", "D8 3D 00 41"};
  for (const char* hex : badBmp) {
    std::vector<unsigned char> p = Hex(hex);
    EXPECT_EQ(obAsnBmpToUtf8(p.data(), p.size(), out), -1) << hex;
    EXPECT_TRUE(out.empty());
  }
  EXPECT_TRUE(diag.Saw("obAsnBmpToUtf8: lone surrogate at offset 0"));
  const char* badUcs4[] = {"00 00 41", "00 11 00 00", "00 00 D8 00", "FF FF FF FF"};
  for (const char* hex : badUcs4) {
    std::vector<unsigned char> p = Hex(hex);
    EXPECT_EQ(obAsnUniversalToUtf8(p.data(), p.size(), out), -1) << hex;
  }
  EXPECT_TRUE(diag.Saw("obAsnUniversalToUtf8: no character U+110000 at offset 0"));
}

TEST(ObAsnUnicodeConv, Utf8ToBmp) {
  obAsnBytes bmp;
  std::vector<unsigned char> text = Hex("41 C3 A9 E2 82 AC EF BF BF");
  ASSERT_EQ(obAsnUtf8ToBmp(text.data(), text.size(), bmp), 0);
  EXPECT_EQ(ToHex(bmp.data(), bmp.size()), "00 41 00 E9 20 AC FF FF");
  std::string back;
  ASSERT_EQ(obAsnBmpToUtf8(bmp.data(), bmp.size(), back), 0);
  EXPECT_EQ(ToHex(reinterpret_cast<const unsigned char*>(back.data()), back.size()), ToHex(text.data(), text.size()));

  DiagCapture diag;
  text = Hex("41 F0 9F 98 80");
  EXPECT_EQ(obAsnUtf8ToBmp(text.data(), text.size(), bmp), -1);
  EXPECT_TRUE(diag.Saw("obAsnUtf8ToBmp: U+1F600 at offset 1 is beyond the BMP"));
  EXPECT_EQ(bmp.size(), 0u);
  text = Hex("41 ED A0 80");
  EXPECT_EQ(obAsnUtf8ToBmp(text.data(), text.size(), bmp), -1);
  EXPECT_TRUE(diag.Saw("obAsnUtf8ToBmp: malformed UTF-8 at offset 1"));
}

}  // namespace
