#include <gtest/gtest.h>
#include <openssl/bn.h>

#include <climits>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_oid.h"

namespace {

std::string DottedOf(const obAsnOid& oid) {
  char text[kAsnOidPrintMax];
  return oid.GetDotted(text, sizeof text) < 0 ? "error" : text;
}

TEST(ObAsnOidCodec, ArcConstructorEncodesBase128) {
  EXPECT_EQ(EncodeHex(obAsnOid(2, 5, 29, 15, -1)), "06 03 55 1D 0F");
  EXPECT_EQ(EncodeHex(obAsnOid(2, 5, 29, 15)), "06 03 55 1D 0F");
  EXPECT_EQ(EncodeHex(obAsnOid(1, 2, 840, 113549, 1, 1, 11, -1)), "06 09 2A 86 48 86 F7 0D 01 01 0B");
  EXPECT_EQ(EncodeHex(obAsnOid(0, 39)), "06 01 27");
  EXPECT_EQ(EncodeHex(obAsnOid(2, 47)), "06 01 7F");       // the largest one-octet first subidentifier
  EXPECT_EQ(EncodeHex(obAsnOid(2, 999, 3)), "06 03 88 37 03");  // 1079 takes two octets
  EXPECT_EQ(EncodeHex(obAsnOid(1, 3, 6, 1, 4, 1, 311, 21, 20, 7, 8)), "06 0B 2B 06 01 04 01 82 37 15 14 07 08");
  // Arcs stop at the first negative one.
  EXPECT_EQ(obAsnOid(2, 5, 4, -1, 7), obAsnOid(2, 5, 4));
  EXPECT_EQ(DottedOf(obAsnOid(1, 2, 4294967296L)), "1.2.4294967296");
  EXPECT_EQ(DottedOf(obAsnOid(2, LONG_MAX)), "2." + std::to_string(LONG_MAX));
}

TEST(ObAsnOidCodec, InvalidLeadingArcsLeaveItEmpty) {
  DiagCapture diag;
  EXPECT_TRUE(obAsnOid(3, 1).empty());
  EXPECT_TRUE(obAsnOid(1, 40).empty());
  EXPECT_TRUE(obAsnOid(0, 40, 1).empty());
  EXPECT_TRUE(obAsnOid(-1, 2).empty());
  EXPECT_TRUE(obAsnOid(2, -1).empty());
  EXPECT_FALSE(obAsnOid(2, 40).empty());
  unsigned long arcs[] = {2, ULONG_MAX};
  obAsnOid oid;
  EXPECT_EQ(oid.SetArcs(arcs, 2), -1);
  EXPECT_EQ(oid.SetArcs(arcs, 1), -1);
  EXPECT_EQ(oid.SetArcs(nullptr, 2), -1);
}

TEST(ObAsnOidCodec, DecodeEncodeRoundTrip) {
  const char* samples[] = {"06 03 55 1D 0F", "06 09 2A 86 48 86 F7 0D 01 01 0B", "06 01 00",
                           "06 0A 2B 06 01 04 01 82 37 3C 02 01"};
  for (const char* der : samples) {
    obAsnOid oid;
    ASSERT_EQ(DecodeHex(oid, der), 0) << der;
    EXPECT_EQ(EncodeHex(oid), der);
    EXPECT_TRUE(MeasureMatchesWrite(oid)) << der;
  }
}

TEST(ObAsnOidCodec, MalformedContentIsRejected) {
  DiagCapture diag;
  struct Case {
    const char* der;
    const char* detail;
  } cases[] = {
      {"06 00", "obAsnOid::BDecContent: obAsnOid must not be with INDEFINITE length (0). offset = 2"},
      {"06 02 2A 86", "obAsnOid::BDecContent: malformed subidentifier before offset = 2"},
      {"06 03 2A 80 01", "obAsnOid::BDecContent: malformed subidentifier before offset = 2"},
      {"06 02 80 01", "obAsnOid::BDecContent: malformed subidentifier before offset = 2"},
      {"06 80 2A 00 00", "obAsnOid::BDecContent: obAsnOid must not be with INDEFINITE length (-2). offset = 2"},
  };
  for (const Case& c : cases) {
    obAsnOid oid(2, 5);
    diag.Clear();
    EXPECT_EQ(DecodeHex(oid, c.der), -1) << c.der;
    EXPECT_TRUE(diag.Saw(c.detail)) << c.der;
    EXPECT_TRUE(diag.Saw("obAsnOid::BDec failed to decoded content")) << c.der;
    EXPECT_EQ(oid, obAsnOid(2, 5)) << c.der;  // unchanged
  }
}

TEST(ObAsnOidCodec, TruncatedAndMistaggedInputFails) {
  DiagCapture diag;
  obAsnOid oid;
  const char* truncated[] = {"", "06", "06 03 55 1D", "06 81"};
  for (const char* hex : truncated) {
    diag.Clear();
    EXPECT_EQ(DecodeHex(oid, hex), -1) << hex;
  }
  diag.Clear();
  EXPECT_EQ(DecodeHex(oid, "06 03 55 1D"), -1);
  EXPECT_TRUE(diag.Saw("obAsnOid::BDec failed to decoded length"));
  diag.Clear();
  EXPECT_EQ(DecodeHex(oid, "26 03 55 1D 0F"), -1);
  EXPECT_TRUE(diag.Saw("obAsnOid::BDec wrong tag before offset = 1"));

  std::vector<unsigned char> two = Hex("55 1D");
  obAsnReadBuf b(two.data(), two.size());
  unsigned long used = 0;
  diag.Clear();
  EXPECT_EQ(oid.BDecContent(b, 0x06, 3, used), -1);
  EXPECT_TRUE(diag.Saw("obAsnOid::BDecContent: can't copy data from buf offset = 0"));
  EXPECT_EQ(used, 0u);
}

TEST(ObAsnOidCodec, EncodeFailuresNameTheStep) {
  DiagCapture diag;
  obAsnOid oid(2, 5, 29, 15);  // 06 03 55 1D 0F
  EXPECT_EQ(EncodeIntoRoom(oid, 2), -1);
  EXPECT_TRUE(diag.Saw("obAsnOid::BEnc attempt to encoded contenet failed"));
  diag.Clear();
  EXPECT_EQ(EncodeIntoRoom(oid, 3), -1);
  EXPECT_TRUE(diag.Saw("obAsnOid::BEnc attempt to encoded length failed length=3"));
  diag.Clear();
  EXPECT_EQ(EncodeIntoRoom(oid, 4), -1);
  EXPECT_TRUE(diag.Saw("obAsnOid::BEnc\tattempt to encoded tag failed"));
  EXPECT_EQ(EncodeIntoRoom(oid, 5), 5);
  diag.Clear();
  EXPECT_EQ(EncodeIntoRoom(obAsnOid(), 16), -1);  // an empty identifier has no DER
  EXPECT_TRUE(diag.Saw("obAsnOid::BEnc attempt to encoded contenet failed"));
}

TEST(ObAsnOidCodec, ShutGateIsSilentWithTheSameResults) {
  DiagCapture diag(false);
  obAsnOid oid;
  EXPECT_EQ(DecodeHex(oid, "06 02 2A 86"), -1);
  EXPECT_EQ(DecodeHex(oid, "02 01 00"), -1);
  EXPECT_EQ(EncodeIntoRoom(obAsnOid(2, 5, 29, 15), 3), -1);
  EXPECT_EQ(oid.Set("1..2"), -1);
  EXPECT_TRUE(obAsnOid(3, 1).empty());
  EXPECT_TRUE(diag.Lines().empty());
}

TEST(ObAsnOidText, DottedRoundTrips) {
  const char* texts[] = {
      "0.0", "0.39", "1.0", "1.39", "2.0", "2.47", "2.48", "2.999", "2.5.29.15", "1.2.840.113549.1.1.11",
      "1.3.6.1.4.1.311.21.20", "1.2.4294967295.4294967296", "1.2.18446744073709551615.18446744073709551616",
      "2.25.329800735698586629295641978511506172918",
      "2.25.340282366920938463463374607431768211455",  // 2^128 - 1
      "2.340282366920938463463374607431768211455",     // the largest second arc under 2
  };
  for (const char* text : texts) {
    obAsnOid oid;
    ASSERT_EQ(oid.Set(text), 0) << text;
    EXPECT_EQ(DottedOf(oid), text);
    EXPECT_STREQ(oid.Dotted(), text);
    EXPECT_EQ(obAsnOid(text), oid);
    obAsnOid back;
    ASSERT_EQ(DecodeHex(back, EncodeHex(oid)), 0) << text;
    EXPECT_EQ(DottedOf(back), text);
  }
}

TEST(ObAsnOidText, MalformedTextIsRefused) {
  const char* texts[] = {
      "", "1", "2", "3.1", "9.0", "1.40", "0.40", "1..2", ".1.2", "1.2.", "1.2a", "a.b", "-1.2", "1.-2", "1. 2",
      " 1.2", "1.2 ", "01.2", "1.02", "1.+2", "1,2", "2.25.340282366920938463463374607431768211456",  // 2^128
      "2.25.1000000000000000000000000000000000000000",                                              // 40 digits
  };
  DiagCapture diag;
  for (const char* text : texts) {
    obAsnOid oid(2, 5, 4, 3);
    EXPECT_EQ(oid.Set(text), -1) << '"' << text << '"';
    EXPECT_EQ(oid, obAsnOid(2, 5, 4, 3)) << text;  // unchanged
    EXPECT_TRUE(obAsnOid(text).empty()) << text;
  }
  obAsnOid oid;
  EXPECT_EQ(oid.Set(nullptr), -1);
}

TEST(ObAsnOidText, GetDottedNeedsRoomForTheTerminator) {
  obAsnOid oid(2, 5, 29, 15);  // "2.5.29.15": 9 characters
  char text[16];
  std::memset(text, 'x', sizeof text);
  EXPECT_EQ(oid.GetDotted(text, 10), 9);
  EXPECT_STREQ(text, "2.5.29.15");
  for (unsigned size = 0; size < 10; ++size) EXPECT_EQ(oid.GetDotted(text, size), -1) << size;
  EXPECT_EQ(oid.GetDotted(nullptr, 10), -1);
  EXPECT_EQ(obAsnOid().GetDotted(text, 1), 0);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(obAsnOid().Dotted().length(), 0u);
}

// Builds content 1.2.<arc> where arc is the big-endian magnitude given.
std::vector<unsigned char> ContentWithArc(const std::vector<unsigned char>& magnitude) {
  std::vector<unsigned char> septets;  // least significant first
  unsigned acc = 0, bits = 0;
  for (size_t i = magnitude.size(); i-- > 0;) {
    acc |= static_cast<unsigned>(magnitude[i]) << bits;
    bits += 8;
    while (bits >= 7) {
      septets.push_back(acc & 0x7F);
      acc >>= 7;
      bits -= 7;
    }
  }
  if (bits) septets.push_back(acc & 0x7F);
  while (septets.size() > 1 && septets.back() == 0) septets.pop_back();
  std::vector<unsigned char> content = {0x2A};
  for (size_t i = septets.size(); i-- > 0;) content.push_back(septets[i] | (i ? 0x80 : 0));
  return content;
}

TEST(ObAsnOidText, LargeArcsPrintExactly) {
  std::mt19937 rng(99);
  for (int round = 0; round < 50; ++round) {
    std::vector<unsigned char> magnitude(1 + rng() % 200);
    for (unsigned char& octet : magnitude) octet = static_cast<unsigned char>(rng());
    magnitude[0] |= 1;
    std::vector<unsigned char> content = ContentWithArc(magnitude);
    obAsnOid oid;
    ASSERT_EQ(oid.SetContent(content.data(), content.size()), 0);
    BIGNUM* bn = BN_bin2bn(magnitude.data(), static_cast<int>(magnitude.size()), nullptr);
    char* decimal = BN_bn2dec(bn);
    EXPECT_EQ(std::string(oid.Dotted()), std::string("1.2.") + decimal);
    OPENSSL_free(decimal);
    BN_free(bn);
  }
}

TEST(ObAsnOidText, HugeSubidentifiersFailQuickly) {
  // One subidentifier of 200000 octets: its text could never fit.
  std::vector<unsigned char> content(200002, 0xFF);
  content[0] = 0x2A;
  content.back() = 0x7F;
  obAsnOid oid;
  ASSERT_EQ(oid.SetContent(content.data(), content.size()), 0);
  EXPECT_EQ(oid.Dotted().length(), 0u);
  char text[64];
  EXPECT_EQ(oid.GetDotted(text, sizeof text), -1);
  EXPECT_EQ(SprintText(oid, 1), "  obAsnOid::Herror buffer to short\n");
}

TEST(ObAsnOidValue, PrintsIndentedDottedForm) {
  obAsnOid oid(2, 5, 29, 15);
  EXPECT_EQ(SprintText(oid, 2), "    (2.5.29.15)\n");
  DiagCapture diag;
  oid.Herror(1);
  ASSERT_EQ(diag.Lines().size(), 1u);
  EXPECT_EQ(diag.Lines()[0], "  (2.5.29.15)");

  std::string text = "1.2";
  while (text.size() < kAsnOidPrintMax) text += ".1234567890";
  obAsnOid longOne;
  ASSERT_EQ(longOne.Set(text.c_str()), 0);
  EXPECT_STREQ(longOne.Dotted(), text.c_str());  // the text itself is fine
  diag.Clear();
  longOne.Herror(1);
  ASSERT_EQ(diag.Lines().size(), 1u);
  EXPECT_EQ(diag.Lines()[0], "  obAsnOid::Herror buffer to short");
}

TEST(ObAsnOidValue, EqualityOrderAndCopies) {
  obAsnOid a(1, 2, 840), b(1, 2, 840), c(1, 2, 841), prefix(1, 2);
  EXPECT_EQ(a, b);
  EXPECT_NE(a, c);
  EXPECT_TRUE(a < c);
  EXPECT_FALSE(c < a);
  EXPECT_FALSE(a < b);
  EXPECT_TRUE(prefix < a);
  std::map<obAsnOid, int> names;
  names[a] = 1;
  names[c] = 2;
  names[b] = 3;
  EXPECT_EQ(names.size(), 2u);
  EXPECT_EQ(names[obAsnOid("1.2.840")], 3);
  EXPECT_EQ(ToHex(a.data(), a.size()), "2A 86 48");

  obAsnOid copied(a);
  std::unique_ptr<obAsnOid> heap(a.Copy());
  std::unique_ptr<obAsnOid> fresh(a.Clone());
  a.Set("2.5");
  EXPECT_EQ(copied, b);
  EXPECT_EQ(*heap, b);
  EXPECT_TRUE(fresh->empty());
  EXPECT_STREQ(a.TypeName(), "obAsnOid");
}

TEST(ObAsnOidValue, ContentSetterChecksLikeTheDecoder) {
  DiagCapture diag;
  obAsnOid oid;
  const char* bad[] = {"", "86", "2A 80 01", "80 01"};
  for (const char* hex : bad) {
    std::vector<unsigned char> content = Hex(hex);
    EXPECT_EQ(oid.SetContent(content.data(), content.size()), -1) << hex;
  }
  std::vector<unsigned char> good = Hex("55 1D 0F");
  EXPECT_EQ(oid.SetContent(good.data(), good.size()), 0);
  EXPECT_EQ(oid, obAsnOid(2, 5, 29, 15));
}

TEST(ObAsnOidCodec, RandomInputAndRandomArcs) {
  DiagCapture diag(false);
  std::mt19937_64 rng(7);
  for (int round = 0; round < 4000; ++round) {
    std::vector<unsigned char> input(2 + rng() % 10);
    for (unsigned char& octet : input) octet = static_cast<unsigned char>(rng());
    input[0] = 0x06;
    input[1] = static_cast<unsigned char>(input.size() - 2 - (round % 3 == 0));
    obAsnOid oid;
    if (obAsnDecode(oid, input.data(), input.size()) == 0) {
      EXPECT_EQ(EncodeHex(oid), ToHex(input.data(), input.size()));
      EXPECT_EQ(obAsnOid(oid.Dotted()), oid);
    }
  }
  for (int round = 0; round < 1000; ++round) {
    unsigned long arcs[8] = {rng() % 3, rng() % 40};
    unsigned count = 2 + static_cast<unsigned>(rng() % 7);
    for (unsigned i = 2; i < count; ++i) arcs[i] = rng() >> (rng() % 64);
    obAsnOid oid;
    ASSERT_EQ(oid.SetArcs(arcs, count), 0);
    std::string expected = std::to_string(arcs[0]);
    for (unsigned i = 1; i < count; ++i) expected += "." + std::to_string(arcs[i]);
    EXPECT_EQ(std::string(oid.Dotted()), expected);
    EXPECT_EQ(obAsnOid(expected.c_str()), oid);
  }
}

TEST(ObAsnOidCodec, AgreesWithOpenssl) {
  const char* texts[] = {"1.2.840.113549.1.1.11", "2.5.29.15", "2.999.3", "1.3.6.1.4.1.311.60.2.1.3",
                         "2.25.329800735698586629295641978511506172918"};
  for (const char* text : texts) {
    std::string der = OpensslGenstr(std::string("OID:") + text);
    if (der.empty()) GTEST_SKIP() << "openssl is not available";
    EXPECT_EQ(EncodeHex(obAsnOid(text)), der) << text;
    obAsnOid decoded;
    ASSERT_EQ(DecodeHex(decoded, der), 0) << text;
    EXPECT_EQ(DottedOf(decoded), text);
  }
}

}  // namespace
