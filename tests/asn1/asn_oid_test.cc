#include <gtest/gtest.h>
#include <openssl/bn.h>

#include <climits>
#include <cstring>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_oid.h"
#include "support/test_support.h"

namespace {

std::string DottedOf(const obAsnOid& oid) {
  char text[kAsnOidPrintMax];
  return oid.GetDotted(text, sizeof text) < 0 ? "error" : text;
}

TEST(ObAsnOidCodec, ArcsEncodeInBase128) {
  EXPECT_EQ(EncodeHex(obAsnOid(2, 5, 29, 15, -1)), "06 03 55 1D 0F");
  EXPECT_EQ(EncodeHex(obAsnOid(1, 2, 840, 113549, 1, 1, 11)), "06 09 2A 86 48 86 F7 0D 01 01 0B");
  EXPECT_EQ(EncodeHex(obAsnOid(0, 39)), "06 01 27");
  EXPECT_EQ(EncodeHex(obAsnOid(2, 47)), "06 01 7F");            // the largest one-octet first subidentifier
  EXPECT_EQ(EncodeHex(obAsnOid(2, 999, 3)), "06 03 88 37 03");  // 1079 takes two octets
  EXPECT_EQ(EncodeHex(obAsnOid(1, 3, 6, 1, 4, 1, 311, 21, 20, 7, 8)), "06 0B 2B 06 01 04 01 82 37 15 14 07 08");
  EXPECT_EQ(obAsnOid(2, 5, 4, -1, 7), obAsnOid(2, 5, 4));  // arcs stop at the first negative one
  EXPECT_EQ(DottedOf(obAsnOid(2, LONG_MAX)), "2." + std::to_string(LONG_MAX));
  ExpectRecodes<obAsnOid>({{"06 03 55 1D 0F"}, {"06 01 00"}, {"06 0A 2B 06 01 04 01 82 37 3C 02 01"}});
  // Invalid leading arcs leave it empty, silently with the gate shut.
  for (const obAsnOid& bad : {obAsnOid(3, 1), obAsnOid(1, 40), obAsnOid(0, 40, 1), obAsnOid(-1, 2), obAsnOid(2, -1)})
    EXPECT_TRUE(bad.empty());
  EXPECT_FALSE(obAsnOid(2, 40).empty());
  EXPECT_EQ(Gated([] { return obAsnOid(3, 1).empty() ? 1 : 0; }), 1);
  unsigned long arcs[] = {2, ULONG_MAX};
  obAsnOid oid;
  EXPECT_EQ(Gated([&] { return oid.SetArcs(arcs, 1); }), -1);
  EXPECT_EQ(Gated([&] { return oid.SetArcs(nullptr, 2); }), -1);
}

TEST(ObAsnOidCodec, FailuresNameTheStep) {
  const char* content_failed = "obAsnOid::BDec failed to decoded content";
  const char* malformed = "obAsnOid::BDecContent: malformed subidentifier before offset = 2";
  ExpectDecodeFailures<obAsnOid>(
      {{"06 00", "obAsnOid::BDecContent: obAsnOid must not be with INDEFINITE length (0). offset = 2"},
       {"06 00", content_failed},
       {"06 80 2A 00 00", "obAsnOid::BDecContent: obAsnOid must not be with INDEFINITE length (-2). offset = 2"},
       {"06 02 2A 86", malformed},
       {"06 03 2A 80 01", malformed},
       {"06 02 80 01", malformed},
       {"06 02 80 01", content_failed},
       {"06 03 55 1D", "obAsnOid::BDec failed to decoded length"},
       {"26 03 55 1D 0F", "obAsnOid::BDec wrong tag before offset = 1"}});
  obAsnOid kept(2, 5);
  EXPECT_EQ(Gated([&] { return DecodeHex(kept, "06 02 2A 86"); }), -1);
  EXPECT_EQ(kept, obAsnOid(2, 5));  // a failed decode leaves the identifier as it was
  obAsnOid oid;
  EXPECT_EQ(Gated([&] { return DecodeContentHex(oid, 0x06, 3, "55 1D"); },
                  "obAsnOid::BDecContent: can't copy data from buf offset = 0"),
            -1);
  for (const char* hex : {"", "86", "2A 80 01", "80 01"}) {  // the content setter checks the same way
    std::vector<unsigned char> content = Hex(hex);
    EXPECT_EQ(Gated([&] { return oid.SetContent(content.data(), content.size()); }), -1) << hex;
  }

  ExpectEncodeFailures(obAsnOid(2, 5, 29, 15), {{2, "obAsnOid::BEnc attempt to encoded contenet failed"},
                                                {3, "obAsnOid::BEnc attempt to encoded length failed length=3"},
                                                {4, "obAsnOid::BEnc\tattempt to encoded tag failed"}});
  EXPECT_EQ(Gated([] { return EncodeIntoRoom(obAsnOid(), 16); }, "obAsnOid::BEnc attempt to encoded contenet failed"),
            -1);  // an empty identifier has no DER
}

TEST(ObAsnOidText, DottedFormsRoundTripOrAreRefused) {
  for (const char* text : {"0.0", "0.39", "1.39", "2.0", "2.47", "2.48", "2.999", "1.2.840.113549.1.1.11",
                           "1.2.4294967295.4294967296", "1.2.18446744073709551615.18446744073709551616",
                           "2.25.340282366920938463463374607431768211455",  // 2^128 - 1
                           "2.340282366920938463463374607431768211455"}) {  // the largest second arc under 2
    obAsnOid oid;
    ASSERT_EQ(oid.Set(text), 0) << text;
    EXPECT_EQ(DottedOf(oid), text);
    EXPECT_STREQ(oid.Dotted(), text);
    obAsnOid back;
    ASSERT_EQ(DecodeHex(back, EncodeHex(oid)), 0) << text;
    EXPECT_EQ(back, obAsnOid(text));
  }
  for (const char* text :
       {"", "1", "3.1", "1.40", "0.40", "1..2", ".1.2", "1.2.", "1.2a", "-1.2", "1.-2", "1. 2", " 1.2", "1.2 ", "01.2",
        "1.02", "1.+2", "1,2", "2.25.340282366920938463463374607431768211456"}) {  // 2^128
    obAsnOid oid(2, 5, 4, 3);
    EXPECT_EQ(Gated([&] { return oid.Set(text); }), -1) << '"' << text << '"';
    EXPECT_EQ(oid, obAsnOid(2, 5, 4, 3)) << text;  // unchanged
    EXPECT_TRUE(obAsnOid(text).empty()) << text;
  }
  EXPECT_EQ(obAsnOid().Set(nullptr), -1);
  obAsnOid oid(2, 5, 29, 15);  // "2.5.29.15": 9 characters, and the terminator
  char text[16];
  for (unsigned size = 0; size < 10; ++size) EXPECT_EQ(oid.GetDotted(text, size), -1) << size;
  EXPECT_EQ(oid.GetDotted(text, 10), 9);
  EXPECT_STREQ(text, "2.5.29.15");
  EXPECT_EQ(oid.GetDotted(nullptr, 10), -1);
  EXPECT_EQ(obAsnOid().GetDotted(text, 1), 0);
  EXPECT_STREQ(text, "");
}

// Content 1.2.<arc> where arc is the big-endian magnitude given.
std::vector<unsigned char> ContentWithArc(const std::vector<unsigned char>& magnitude) {
  std::vector<unsigned char> septets;  // least significant first
  unsigned acc = 0, bits = 0;
  for (size_t i = magnitude.size(); i-- > 0;) {
    acc |= static_cast<unsigned>(magnitude[i]) << bits;
    for (bits += 8; bits >= 7; bits -= 7, acc >>= 7) septets.push_back(acc & 0x7F);
  }
  if (bits) septets.push_back(acc & 0x7F);
  while (septets.size() > 1 && septets.back() == 0) septets.pop_back();
  std::vector<unsigned char> content = {0x2A};
  for (size_t i = septets.size(); i-- > 0;) content.push_back(septets[i] | (i ? 0x80 : 0));
  return content;
}

TEST(ObAsnOidText, LargeArcsPrintExactlyHugeOnesFailQuickly) {
  std::mt19937 rng(LoggedSeed(99));
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
  std::string text = "1.2" + Repeat(".1234567890", kAsnOidPrintMax / 11 + 1);
  obAsnOid long_one(text.c_str());
  EXPECT_STREQ(long_one.Dotted(), text.c_str());  // the text itself is fine
  DiagCapture diag;
  oid.Herror(1);
  long_one.Herror(1);
  EXPECT_EQ(diag.Lines(), (std::vector<std::string>{"  (2.5.29.15)", "  obAsnOid::Herror buffer to short"}));
}

TEST(ObAsnOidValue, EqualityOrderAndCopies) {
  obAsnOid a(1, 2, 840), b(1, 2, 840), c(1, 2, 841), prefix(1, 2);
  EXPECT_EQ(a, b);
  EXPECT_NE(a, c);
  EXPECT_TRUE(a < c);
  EXPECT_FALSE(c < a);
  EXPECT_FALSE(a < b);
  EXPECT_TRUE(prefix < a);
  obAsnOid copied(a);
  std::unique_ptr<obAsnOid> heap(a.Copy());
  std::unique_ptr<obAsnOid> fresh(a.Clone());
  a.Set("2.5");
  EXPECT_EQ(copied, b);
  EXPECT_EQ(*heap, b);
  EXPECT_TRUE(fresh->empty());
}

TEST(ObAsnOidCodec, HostileInputRandomArcsAndOpensslPeer) {
  ExpectHostileInputHandled<obAsnOid>(0x06, "06 09 2A 86 48 86 F7 0D 01 01 0B", 7);
  std::mt19937_64 rng(LoggedSeed(7));
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
  if (!HaveOpenssl()) GTEST_SKIP() << "openssl is not available";
  for (const char* text : {"1.2.840.113549.1.1.11", "2.5.29.15", "2.999.3", "1.3.6.1.4.1.311.60.2.1.3",
                           "2.25.329800735698586629295641978511506172918"}) {
    ExpectSameAsPeer(std::string("OID:") + text, obAsnOid(text));
  }
}

}  // namespace
