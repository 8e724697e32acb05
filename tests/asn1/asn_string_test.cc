#include <gtest/gtest.h>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_string.h"
#include "nycert/asn1/runtime/asn_unicode.h"

namespace {

std::string TextHex(const std::string& text) {
  return ToHex(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

struct KindCase {
  std::function<obAsnString*()> make;
  const char* name;
  unsigned tag;
  std::vector<const char*> good;  // content hex
  std::vector<const char*> bad;
};

template <typename T>
obAsnString* Make() {
  return new T;
}

TEST(ObAsnStringCodec, EachKindChecksItsContent) {
  const KindCase kinds[] = {
      {Make<obAsnUTF8String>,
       "obAsnUTF8String",
       12,
       {"", "41 C3 A9 E2 82 AC F0 9F 98 80"},
       {"C0 80", "ED A0 80", "F4 90 80 80", "E2 82"}},
      {Make<obAsnNumericString>, "obAsnNumericString", 18, {"30 39 20 31"}, {"41", "2D"}},
      {Make<obAsnPrintableString>,
       "obAsnPrintableString",
       19,
       {"41 7A 30 39 20 27 28 29 2B 2C 2D 2E 2F 3A 3D 3F", "2A 2E 61 40 62 26 5F"},
       {"00", "1F", "7F", "E9"}},
      {Make<obAsnTeletexString>, "obAsnTeletexString", 20, {"", "00 FF C2 65"}, {}},
      {Make<obAsnT61String>, "obAsnT61String", 20, {"C2 65"}, {}},
      {Make<obAsnVideotexString>, "obAsnVideotexString", 21, {"80 FF"}, {}},
      {Make<obAsnIA5String>, "obAsnIA5String", 22, {"00 40 7F"}, {"80", "41 FF"}},
      {Make<obAsnGraphicString>, "obAsnGraphicString", 25, {"80 FF"}, {}},
      {Make<obAsnVisibleString>, "obAsnVisibleString", 26, {"20 7E"}, {"1F", "7F"}},
      {Make<obAsnISO646String>, "obAsnISO646String", 26, {"20 7E"}, {"0A"}},
      {Make<obAsnGeneralString>, "obAsnGeneralString", 27, {"1B 24 42"}, {}},
      {Make<obAsnUniversalString>, "obAsnUniversalString", 28, {"", "00 10 FF FF"}, {"00 00 41", "00 11 00 00"}},
      {Make<obAsnBMPString>, "obAsnBMPString", 30, {"", "00 41 D8 3D"}, {"00"}},
      {Make<obAsnObjectDescriptor>, "obAsnObjectDescriptor", 7, {"41 80"}, {}}};
  for (const KindCase& k : kinds) {
    SCOPED_TRACE(k.name);
    std::unique_ptr<obAsnString> value(k.make());
    EXPECT_STREQ(value->TypeName(), k.name);
    EXPECT_EQ(value->Kind().tag, k.tag);
    EXPECT_STREQ(std::unique_ptr<obAsnType>(value->Clone())->TypeName(), k.name);
    for (const char* content : k.good) {
      std::string der = TlvHex(k.tag, Hex(content));
      ASSERT_EQ(DecodeHex(*value, der), 0) << content;
      EXPECT_EQ(EncodeHex(*value), der);
      EXPECT_TRUE(MeasureMatchesWrite(*value));
      std::unique_ptr<obAsnType> copy(value->Copy());
      EXPECT_EQ(*static_cast<obAsnString*>(copy.get()), *value);
    }
    // Bad content decodes and encodes as received, in copies too, but Set
    // refuses it, and content given at construction must pass to be written.
    for (const char* content : k.bad) {
      std::vector<unsigned char> raw = Hex(content);
      std::string der = TlvHex(k.tag, raw);
      ASSERT_EQ(DecodeHex(*value, der), 0) << content;
      EXPECT_EQ(TextHex(value->str()), ToHex(raw.data(), raw.size()));
      EXPECT_EQ(value->Check(), 0);
      EXPECT_EQ(EncodeHex(*value), der);
      std::unique_ptr<obAsnType> copy(value->Copy());
      EXPECT_EQ(EncodeHex(*copy), der);
      std::unique_ptr<obAsnString> fresh(k.make());
      EXPECT_EQ(fresh->Set(raw.data(), raw.size()), -1);
    }
  }
}

TEST(ObAsnStringCodec, TagsAndConstructedForms) {
  ExpectDecodeFailures<obAsnIA5String>(
      {{"13 01 41", "obAsnIA5String::BDec wrong tag before offset = 1"},
       {"36 03 16 01 61", "obAsnIA5String::BDecContent attempt to decode content failed"},
       {"36 03 16 01 61", "obAsnOcts::BDecConsOcts segment is not an OCTET STRING (tag 0x16) before offset = 4"}});
  obAsnPrintableString joined;  // segments are joined and kept as received
  ASSERT_EQ(DecodeHex(joined, "33 80 04 01 41 04 01 E9 00 00"), 0);
  EXPECT_EQ(joined.str(), "A\xE9");
  EXPECT_EQ(joined.Check(), 0);
  obAsnIA5String ia5;
  ASSERT_EQ(DecodeHex(ia5, "36 80 04 02 61 62 24 03 04 01 63 00 00"), 0);
  EXPECT_EQ(EncodeHex(ia5), "16 03 61 62 63");
  obAsnUTF8String utf8;  // a character split across segments is checked once they are joined
  ASSERT_EQ(DecodeHex(utf8, "2C 08 04 02 41 C3 04 02 A9 42"), 0);
  EXPECT_EQ(utf8.str(), u8"A\u00E9B");
  ExpectHostileInputHandled<obAsnUTF8String>(0x0C, "0C 04 F0 9F 98 80", 21);
  ExpectHostileInputHandled<obAsnBMPString>(0x1E, "1E 04 00 41 D8 3D", 22);
}

TEST(ObAsnStringValue, SetChecksConstructorsDoNotEncodeDoes) {
  obAsnPrintableString p;
  EXPECT_EQ(p.Set("Example CA"), 0);
  EXPECT_EQ(Gated([&] { return p.Set("caf\xC3\xA9"); }, "obAsnPrintableString::Set content not allowed in this type"),
            -1);
  EXPECT_EQ(p.str(), "Example CA");
  EXPECT_EQ(p.Set(static_cast<const char*>(nullptr)), -1);
  obAsnPrintableString unchecked("a\tb");
  EXPECT_EQ(unchecked.Check(), 0);
  EXPECT_EQ(Gated([&] { return EncodeIntoRoom(unchecked, 16); },
                  "obAsnPrintableString::BEncContent content not allowed in this type"),
            -1);
  EXPECT_EQ(Gated([&] { return EncodeIntoRoom(unchecked, 16); },
                  " obAsnPrintableString::BEnc attempt to encode content failed"),
            -1);

  obAsnTeletexString teletex("abc");
  EXPECT_EQ(teletex, obAsnT61String("abc"));  // one type under two names
  EXPECT_NE(obAsnIA5String("abc"), obAsnPrintableString("abc"));
  obAsnUTF8String a("x");
  obAsnUTF8String b(a);
  a.Set("y");
  EXPECT_EQ(b.str(), "x");
  b = a;
  EXPECT_EQ(b.str(), "y");
}

TEST(ObAsnStringValue, PrintForms) {
  auto bmp = [](const char* hex) { return obAsnBMPString(Hex(hex).data(), Hex(hex).size()); };
  auto ucs4 = [](const char* hex) { return obAsnUniversalString(Hex(hex).data(), Hex(hex).size()); };
  EXPECT_EQ(SprintText(obAsnPrintableString("Acme Ltd"), 1), "  Acme Ltd\n");
  EXPECT_EQ(SprintText(obAsnUTF8String("Z\xC3\xBCrich"), 0), "Z\xC3\xBCrich\n");
  EXPECT_EQ(SprintText(obAsnUTF8String(Hex("41 FF").data(), 2), 0), "41 ff \n");
  EXPECT_EQ(SprintText(obAsnTeletexString("caf\xE9\n"), 0), "caf..\n");
  EXPECT_EQ(SprintText(bmp("00 48 00 69"), 0), "Hi\n");
  EXPECT_EQ(SprintText(bmp("00 48 00 E9"), 0), "00 48 00 e9 \n");
  EXPECT_EQ(SprintText(ucs4("00 00 00 4F 00 00 00 4B"), 0), "OK\n");
  EXPECT_EQ(SprintText(ucs4("00 01 F6 00"), 0), "00 01 f6 00 \n");
}

TEST(ObAsnStringValue, MatchOpensslEncodings) {
  if (!HaveOpenssl()) GTEST_SKIP() << "openssl is not available";
  ExpectSameAsPeer(u8"FORMAT:UTF8,UTF8String:Gr\u00FC\u00DFe \u20AC", obAsnUTF8String(u8"Gr\u00FC\u00DFe \u20AC"));
  ExpectSameAsPeer("PRINTABLESTRING:Example CA (1)", obAsnPrintableString("Example CA (1)"));
  ExpectSameAsPeer("IA5STRING:user@example.com", obAsnIA5String("user@example.com"));
  ExpectSameAsPeer("NUMERICSTRING:0123 456", obAsnNumericString("0123 456"));
  ExpectSameAsPeer("VISIBLESTRING:v~1", obAsnVisibleString("v~1"));
  // openssl converts UTF-8 input to UCS-2 as obAsnUtf8ToBmp does.
  const std::string text = "H\xC3\xA9\xE2\x82\xAC";
  obAsnBytes ucs2;
  ASSERT_EQ(obAsnUtf8ToBmp(reinterpret_cast<const unsigned char*>(text.data()), text.size(), ucs2), 0);
  ExpectSameAsPeer("FORMAT:UTF8,BMPSTRING:" + text, obAsnBMPString(ucs2.data(), ucs2.size()));
}

TEST(ObAsnUnicodeConv, Utf8Validation) {
  for (const char* hex : {"", "41", "7F", "C2 80", "DF BF", "E0 A0 80", "E2 82 AC", "ED 9F BF", "EE 80 80", "EF BF BF",
                          "F0 90 80 80", "F4 8F BF BF", "00"}) {
    EXPECT_EQ(obAsnUtf8Valid(Hex(hex).data(), Hex(hex).size()), 1) << hex;
  }
  for (const char* hex :
       {"80", "BF", "C0 80", "C1 BF", "C2", "C2 41", "E0 80 80", "E0 9F BF", "ED A0 80", "ED BF BF", "E2 82",
        "F0 80 80 80", "F0 8F BF BF", "F4 90 80 80", "F5 80 80 80", "F8 88 80 80 80", "FE", "FF", "41 E2 82"}) {
    EXPECT_EQ(obAsnUtf8Valid(Hex(hex).data(), Hex(hex).size()), 0) << hex;
  }
  // Long ASCII runs are skipped a word at a time: a sequence at any offset
  // within or after them is still checked, a truncated one at the very end too.
  auto valid = [](const std::string& text) {
    return obAsnUtf8Valid(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  };
  for (size_t at = 0; at <= 20; ++at) {
    const std::string text = std::string(at, 'a') + "\xE2\x82\xAC" + std::string(20 - at, 'a');
    EXPECT_EQ(valid(text), 1) << at;
    std::string broken = text;
    broken[at + 1] = 'A';
    EXPECT_EQ(valid(broken), 0) << at;
    EXPECT_EQ(valid(text.substr(0, at + 2)), 0) << at;
  }
}

TEST(ObAsnUnicodeConv, BmpAndUniversalToAndFromUtf8) {
  std::string out;
  std::vector<unsigned char> bmp = Hex("00 41 00 E9 20 AC D8 3D DE 00 FF FD");
  ASSERT_EQ(obAsnBmpToUtf8(bmp.data(), bmp.size(), out), 0);
  EXPECT_EQ(TextHex(out), "41 C3 A9 E2 82 AC F0 9F 98 80 EF BF BD");
  std::vector<unsigned char> ucs4 = Hex("00 00 00 41 00 00 07 FF 00 00 FF FF 00 01 F6 00 00 10 FF FF");
  ASSERT_EQ(obAsnUniversalToUtf8(ucs4.data(), ucs4.size(), out), 0);
  EXPECT_EQ(TextHex(out), "41 DF BF EF BF BF F0 9F 98 80 F4 8F BF BF");
  obAsnBytes ucs2;
  std::vector<unsigned char> text = Hex("41 C3 A9 E2 82 AC EF BF BF");
  ASSERT_EQ(obAsnUtf8ToBmp(text.data(), text.size(), ucs2), 0);
  EXPECT_EQ(ToHex(ucs2.data(), ucs2.size()), "00 41 00 E9 20 AC FF FF");
  ASSERT_EQ(obAsnBmpToUtf8(ucs2.data(), ucs2.size(), out), 0);
  EXPECT_EQ(TextHex(out), ToHex(text.data(), text.size()));

  for (AsnFailure c : {AsnFailure{"00", ""}, AsnFailure{"D8 3D 00 41", ""},
                       AsnFailure{"DE 00 00 41", "obAsnBmpToUtf8: lone surrogate at offset 0"}}) {
    std::vector<unsigned char> p = Hex(c.hex);
    EXPECT_EQ(Gated([&] { return obAsnBmpToUtf8(p.data(), p.size(), out); }, c.message), -1) << c.hex;
    EXPECT_TRUE(out.empty());
  }
  for (AsnFailure c : {AsnFailure{"00 00 D8 00", ""},
                       AsnFailure{"00 11 00 00", "obAsnUniversalToUtf8: no character U+110000 at offset 0"}}) {
    std::vector<unsigned char> p = Hex(c.hex);
    EXPECT_EQ(Gated([&] { return obAsnUniversalToUtf8(p.data(), p.size(), out); }, c.message), -1) << c.hex;
  }
  for (AsnFailure c : {AsnFailure{"41 F0 9F 98 80", "obAsnUtf8ToBmp: U+1F600 at offset 1 is beyond the BMP"},
                       AsnFailure{"41 ED A0 80", "obAsnUtf8ToBmp: malformed UTF-8 at offset 1"}}) {
    std::vector<unsigned char> p = Hex(c.hex);
    EXPECT_EQ(Gated([&] { return obAsnUtf8ToBmp(p.data(), p.size(), ucs2); }, c.message), -1) << c.hex;
    EXPECT_EQ(ucs2.size(), 0u);
  }
}

}  // namespace
