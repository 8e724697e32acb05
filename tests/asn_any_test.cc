#include <gtest/gtest.h>

#include "nycert/asn1/runtime/asn_any.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/platform/obstream.h"
#include "support/test_support.h"

namespace {

// A minimal concrete type for resolving open values: an OCTET STRING-like
// primitive with tag [UNIVERSAL 4], kept as raw content.
class TestOcts : public obAsnType {
 public:
  const char* TypeName() const override { return "TestOcts"; }
  TestOcts* Clone() const override { return new TestOcts; }
  TestOcts* Copy() const override { return new TestOcts(*this); }
  int BDec(obAsnReadBuf& b, unsigned long& used) override {
    if (BDecTag(b, used) != 0x04) return -1;
    obAsnLen len = BDecLen(b, used);
    if (len < 0) return -1;
    unsigned long n = static_cast<unsigned long>(len);
    content.assign(reinterpret_cast<const char*>(b.GetSeg(&n)), n);
    used += n;
    return 1;
  }
  int BEnc(obAsnWriteBuf& b) const override {
    long n = b.PutSeg(reinterpret_cast<const unsigned char*>(content.data()), content.size());
    int len = BEncDefLen(b, static_cast<unsigned long>(n));
    return static_cast<int>(n) + len + BEncTag(b, kAsnUniversal, kAsnPrimitive, 4);
  }
  int Sprint(ObStream* s, int) const override { return s->Printf("octets:%s\n", content.c_str()); }
  std::string content;
};

std::string Encode(const obAsnType& value) {
  nyBinBuf out;
  if (obAsnEncode(value, out) != 0) return "error";
  return ToHex(out);
}

TEST(AsnRawAny, KeepsAnyElementVerbatimIncludingBerForms) {
  const char* samples[] = {
      "02 01 05",                          // primitive
      "30 06 02 01 05 04 01 41",           // definite constructed
      "30 80 02 01 05 04 01 41 00 00",     // indefinite constructed, not re-encoded
      "BF 87 68 03 02 01 07",              // high tag number [1000]
      "04 81 01 41",                       // non-minimal length
  };
  for (const char* sample : samples) {
    std::vector<unsigned char> der = Hex(sample);
    obAsnRawAny raw;
    ASSERT_EQ(obAsnDecode(raw, der.data(), der.size()), 0) << sample;
    EXPECT_EQ(raw.size(), der.size());
    EXPECT_EQ(Encode(raw), ToHex(der.data(), der.size()));
  }
}

TEST(AsnRawAny, StopsAtTheEndOfOneElement) {
  std::vector<unsigned char> der = Hex("02 01 05 02 01 06");
  obAsnReadBuf b(der.data(), der.size());
  obAsnRawAny first, second;
  unsigned long used = 0;
  ASSERT_EQ(first.BDec(b, used), 1);
  ASSERT_EQ(second.BDec(b, used), 1);
  EXPECT_EQ(used, 6u);
  EXPECT_EQ(second.Tag(), 0x02u);
  EXPECT_NE(first, second);
}

TEST(AsnRawAny, RejectsMalformedElements) {
  DiagCapture diag;
  const char* bad[] = {"", "02", "02 05 01", "04 80 41 00 00", "30 80 02 01 05", "1F FF FF FF 7F 00"};
  for (const char* sample : bad) {
    std::vector<unsigned char> der = Hex(sample);
    obAsnRawAny raw;
    obAsnReadBuf b(der.data(), der.size());
    unsigned long used = 0;
    EXPECT_EQ(raw.BDec(b, used), -1) << sample;
    EXPECT_TRUE(raw.empty());
  }
  EXPECT_TRUE(diag.Saw("obAsnRawAny::BDec malformed element before offset = 0"));
  std::vector<unsigned char> two = Hex("02 01 05 05 00");
  obAsnRawAny raw;
  EXPECT_EQ(raw.Set(two.data(), two.size()), -1);
  EXPECT_EQ(raw.Set(two.data(), 3), 0);
}

TEST(AsnAny, UnresolvedFallsBackOnTheBaseFailures) {
  DiagCapture diag;
  obAsnAny any;
  nyBinBuf out;
  EXPECT_EQ(obAsnEncode(any, out), -1);
  EXPECT_TRUE(diag.Saw("obAsnType::BEec attempt tp encode improperly formed of Any"));
  diag.Clear();
  any.Herror(2);
  EXPECT_TRUE(diag.Saw("    obAsnType::Herror attempt tp print improperly formed of Any"));
}

TEST(AsnAny, ResolvesAKeptValueAndCopiesDeeply) {
  std::vector<unsigned char> der = Hex("04 03 61 62 63");
  obAsnAny any;
  ASSERT_EQ(obAsnDecode(any, der.data(), der.size()), 0);
  EXPECT_EQ(any.Value(), nullptr);
  ASSERT_EQ(any.Resolve(new TestOcts), 1);
  ASSERT_NE(any.Value()->IsType("TestOcts"), nullptr);
  EXPECT_EQ(static_cast<TestOcts*>(any.Value())->content, "abc");

  obAsnAny copy(any);
  static_cast<TestOcts*>(any.Value())->content = "xyz";
  EXPECT_EQ(Encode(copy), "04 03 61 62 63");
  EXPECT_EQ(Encode(any), "04 03 78 79 7A");
  ObStream text;
  EXPECT_EQ(copy.Sprint(&text, 0), 0);
  EXPECT_STREQ(text.c_str(), "octets:abc\n");
}

TEST(AsnAny, FailedResolveKeepsTheRawValue) {
  DiagCapture diag;
  std::vector<unsigned char> der = Hex("02 01 05");
  obAsnAny any;
  ASSERT_EQ(obAsnDecode(any, der.data(), der.size()), 0);
  EXPECT_EQ(any.Resolve(new TestOcts), -1);
  EXPECT_EQ(any.Value(), nullptr);
  EXPECT_EQ(Encode(any), "02 01 05");
  EXPECT_TRUE(diag.Saw("obAsnAny::Resolve the kept value does not decode as TestOcts"));
}

TEST(AsnAny, DecodesThroughAGivenValue) {
  std::vector<unsigned char> der = Hex("04 01 41");
  obAsnAny any;
  any.SetValue(new TestOcts);
  ASSERT_EQ(obAsnDecode(any, der.data(), der.size()), 0);
  EXPECT_EQ(static_cast<TestOcts*>(any.Value())->content, "A");
  std::vector<unsigned char> wrong = Hex("02 01 41");
  EXPECT_EQ(obAsnDecode(any, wrong.data(), wrong.size()), -1);
}

}  // namespace
