// Identifier, length and end-of-contents octets, asnLen, and hostile headers.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "support/test_support.h"

namespace {

// Runs one header encoder into a block of exactly `room` octets; returns its
// result and leaves what it wrote in *out.
template <typename Encoder>
int EncodeInto(size_t room, Encoder encode, std::string* out, int* write_error = nullptr) {
  std::vector<unsigned char> block(room + 1);  // +1: a non-null block even for room 0
  obAsnWriteBuf w(block.data(), room);
  int n = encode(w);
  *out = ToHex(w.Data(), static_cast<size_t>(w.end - w.cur));
  if (write_error) *write_error = w.writeError;
  return n;
}

template <typename Encoder>
int Measure(Encoder encode) {
  obAsnWriteBuf w(nullptr, 0);
  return encode(w);
}

std::vector<unsigned char> Repeat(const std::string& hex, int times) {
  std::vector<unsigned char> out;
  std::vector<unsigned char> unit = Hex(hex);
  for (int i = 0; i < times; ++i) out.insert(out.end(), unit.begin(), unit.end());
  return out;
}

std::vector<unsigned char> Concat(std::initializer_list<std::vector<unsigned char>> parts) {
  std::vector<unsigned char> out;
  for (const auto& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

}  // namespace

// ---- identifier octets ----

struct TagCase {
  unsigned cls, form, number;
  const char* octets;
};
void PrintTo(const TagCase& c, std::ostream* os) { *os << c.octets; }

class AsnTagCodec : public testing::TestWithParam<TagCase> {};

TEST_P(AsnTagCodec, EncodesExactOctetsAndDecodesToMakeTag) {
  const TagCase& c = GetParam();
  std::vector<unsigned char> expected = Hex(c.octets);
  auto encode = [&](obAsnWriteBuf& w) { return BEncTag(w, c.cls, c.form, c.number); };
  std::string written;
  EXPECT_EQ(EncodeInto(expected.size(), encode, &written), static_cast<int>(expected.size()));
  EXPECT_EQ(written, ToHex(expected.data(), expected.size()));
  EXPECT_EQ(Measure(encode), static_cast<int>(expected.size()));

  obAsnReadBuf r(expected.data(), expected.size());
  unsigned long bytes = 10;
  EXPECT_EQ(BDecTag(r, bytes), obAsnMakeTag(c.cls, c.form, c.number));
  EXPECT_EQ(bytes, 10 + expected.size());
  EXPECT_EQ(r.Remaining(), 0u);
}

INSTANTIATE_TEST_SUITE_P(
    HeaderBoundaries, AsnTagCodec,
    testing::Values(TagCase{kAsnUniversal, kAsnPrimitive, 2, "02"}, TagCase{kAsnUniversal, kAsnConstructed, 16, "30"},
                    TagCase{kAsnContext, kAsnConstructed, 0, "A0"}, TagCase{kAsnPrivate, kAsnPrimitive, 30, "DE"},
                    TagCase{kAsnUniversal, kAsnPrimitive, 30, "1E"}, TagCase{kAsnUniversal, kAsnPrimitive, 31, "1F 1F"},
                    TagCase{kAsnApplication, kAsnPrimitive, 31, "5F 1F"},
                    TagCase{kAsnContext, kAsnConstructed, 126, "BF 7E"},
                    TagCase{kAsnUniversal, kAsnPrimitive, 127, "1F 80 7F"},
                    TagCase{kAsnUniversal, kAsnPrimitive, 128, "1F 81 00"},
                    TagCase{kAsnUniversal, kAsnPrimitive, 16383, "1F FF 7F"},
                    TagCase{kAsnUniversal, kAsnPrimitive, 16384, "1F 81 80 00"},
                    TagCase{kAsnContext, kAsnPrimitive, 0x1FFFFF, "9F FF FF 7F"}),
    [](const testing::TestParamInfo<TagCase>& param_info) {
      return "Class" + std::to_string(param_info.param.cls >> 6) + (param_info.param.form ? "Cons" : "Prim") + "Number" +
             std::to_string(param_info.param.number);
    });

TEST(AsnTagPacking, UniversalTagsCompareEqualToTheirOctet) {
  static_assert(obAsnMakeTag(kAsnUniversal, kAsnPrimitive, 2) == 0x02, "INTEGER");
  static_assert(obAsnMakeTag(kAsnUniversal, kAsnPrimitive, 4) == 0x04, "OCTET STRING");
  static_assert(obAsnMakeTag(kAsnUniversal, kAsnConstructed, 16) == 0x30, "SEQUENCE");
  static_assert(obAsnMakeTag(kAsnContext, kAsnConstructed, 0) == 0xA0, "[0]");
  static_assert(obAsnMakeTag(kAsnUniversal, kAsnPrimitive, 127) == 0x7F801Fu, "three octets, first lowest");
  EXPECT_TRUE(obAsnTagIsConstructed(0xA0));
  EXPECT_FALSE(obAsnTagIsConstructed(0x02));
  EXPECT_EQ(obAsnTagClass(obAsnMakeTag(kAsnPrivate, kAsnPrimitive, 500)), kAsnPrivate);
}

TEST(AsnTagErrors, NumberTooLargeForFourOctets) {
  DiagCapture diag(true);
  std::string written;
  EXPECT_EQ(EncodeInto(8, [](obAsnWriteBuf& w) { return BEncTag(w, 0, 0, 0x200000); }, &written), -1);
  EXPECT_EQ(written, "");
  EXPECT_EQ(Measure([](obAsnWriteBuf& w) { return BEncTag(w, 0, 0, 0x200000); }), -1);
  EXPECT_EQ(diag.Lines(),
            (std::vector<std::string>{"asn-tag BEncTag: code too long", "asn-tag BEncTag: code too long"}));
}

TEST(AsnTagErrors, FullBufferNamesTheCase) {
  struct Case {
    unsigned number;
    size_t room;
    const char* message;
  };
  for (Case c : {Case{5, 0, "asn-tag BEncTag error can't write to buf code < 31"},
                 Case{40, 1, "asn-tag BEncTag error can't write to buf code < 0x7f "},
                 Case{127, 2, "asn-tag BEncTag error can't write to buf code <= 0x3fff"},
                 Case{20000, 3, "asn-tag BEncTag error can't write to buf code <= 0x1fffff "}}) {
    for (bool gate : {true, false}) {
      DiagCapture diag(gate);
      std::string written;
      int write_error = 0;
      EXPECT_EQ(EncodeInto(c.room, [&](obAsnWriteBuf& w) { return BEncTag(w, 0, 0, c.number); }, &written,
                           &write_error),
                -1);
      EXPECT_EQ(write_error, 1);
      if (gate) {
        EXPECT_TRUE(diag.Saw(c.message)) << c.message;
        EXPECT_EQ(diag.Lines().back(), c.message);
      } else {
        EXPECT_TRUE(diag.Lines().empty());
      }
    }
  }
}

TEST(AsnTagErrors, DecodingTooLongAndTruncated) {
  DiagCapture diag(true);
  std::vector<unsigned char> too_long = Hex("1F 80 80 80 01");
  obAsnReadBuf r(too_long.data(), too_long.size());
  unsigned long bytes = 0;
  EXPECT_EQ(BDecTag(r, bytes), kAsnBadTag);
  EXPECT_EQ(diag.Lines(),
            (std::vector<std::string>{"asn-tag BDecTag error tag value to long before  offset = 4"}));

  for (const char* cut : {"", "1F", "1F 81", "3F 81 80"}) {
    diag.Clear();
    std::vector<unsigned char> octets = Hex(cut);
    obAsnReadBuf t(octets.data(), octets.size());
    unsigned long n = 0;
    EXPECT_EQ(BDecTag(t, n), kAsnBadTag) << cut;
    EXPECT_TRUE(diag.Saw("obAsnReadBuf::GetByte reached the end of buf")) << cut;
    EXPECT_EQ(t.Remaining(), 0u);
  }
}

// ---- length octets ----

struct LenCase {
  unsigned long length;
  const char* octets;
};
void PrintTo(const LenCase& c, std::ostream* os) { *os << c.octets; }

class AsnLenCodec : public testing::TestWithParam<LenCase> {};

TEST_P(AsnLenCodec, MinimalEncodingAndDecodeRoundTrip) {
  const LenCase& c = GetParam();
  std::vector<unsigned char> expected = Hex(c.octets);
  auto encode = [&](obAsnWriteBuf& w) { return BEncDefLen(w, c.length); };
  std::string written;
  EXPECT_EQ(EncodeInto(expected.size(), encode, &written), static_cast<int>(expected.size()));
  EXPECT_EQ(written, ToHex(expected.data(), expected.size()));
  EXPECT_EQ(Measure(encode), static_cast<int>(expected.size()));

  std::vector<unsigned char> input = expected;
  input.resize(expected.size() + c.length, 0xAA);
  obAsnReadBuf r(input.data(), input.size());
  unsigned long bytes = 0;
  EXPECT_EQ(BDecLen(r, bytes), static_cast<obAsnLen>(c.length));
  EXPECT_EQ(bytes, expected.size());
  EXPECT_EQ(r.Remaining(), c.length);
}

INSTANTIATE_TEST_SUITE_P(HeaderBoundaries, AsnLenCodec,
                         testing::Values(LenCase{0, "00"}, LenCase{127, "7F"}, LenCase{128, "81 80"},
                                         LenCase{255, "81 FF"}, LenCase{256, "82 01 00"},
                                         LenCase{65535, "82 FF FF"}, LenCase{65536, "83 01 00 00"},
                                         LenCase{0xFFFFFF, "83 FF FF FF"}),
                         [](const testing::TestParamInfo<LenCase>& param_info) {
                           return "Length" + std::to_string(param_info.param.length);
                         });

TEST(AsnLenErrors, SixteenMebibytesCannotBeEncoded) {
  DiagCapture diag(true);
  EXPECT_EQ(Measure([](obAsnWriteBuf& w) { return BEncDefLen(w, 0x1000000); }), -1);
  EXPECT_EQ(diag.Lines(), (std::vector<std::string>{"BEncDefLen can't find match if"}));
}

TEST(AsnLenErrors, FullBufferNamesTheCase) {
  struct Case {
    unsigned long length;
    size_t room;
    const char* message;
  };
  for (Case c : {Case{5, 0, "BEncDefLen can't put byte to buf len < 0x80 "},
                 Case{200, 1, "BEncDefLen can't put byte to buf len < 0x100 "},
                 Case{300, 2, "BEncDefLen can't put byte to buf  len < 0x10000"},
                 Case{70000, 3, "BEncDefLen can't put byte in buf  len < 0x1000000"},
                 Case{70000, 0, "BEncDefLen can't put byte in buf  len < 0x1000000"}}) {
    DiagCapture diag(true);
    std::string written;
    int write_error = 0;
    EXPECT_EQ(EncodeInto(c.room, [&](obAsnWriteBuf& w) { return BEncDefLen(w, c.length); }, &written,
                         &write_error),
              -1);
    EXPECT_EQ(write_error, 1);
    EXPECT_EQ(diag.Lines().back(), c.message);
  }
}

TEST(AsnLenDecode, IndefiniteAndLongForms) {
  std::vector<unsigned char> indefinite = Hex("80 00 00");
  obAsnReadBuf r(indefinite.data(), indefinite.size());
  unsigned long bytes = 0;
  EXPECT_EQ(BDecLen(r, bytes), kAsnIndefiniteLen);
  EXPECT_EQ(bytes, 1u);

  // Four length octets are accepted when that many content octets follow.
  std::vector<unsigned char> four = Hex("84 00 00 00 03 01 02 03");
  obAsnReadBuf f(four.data(), four.size());
  bytes = 0;
  EXPECT_EQ(BDecLen(f, bytes), 3);
  EXPECT_EQ(bytes, 5u);

  // Non-minimal forms are read as their value.
  for (const char* text : {"81 05 01 02 03 04 05", "82 00 05 01 02 03 04 05", "83 00 00 05 01 02 03 04 05"}) {
    std::vector<unsigned char> octets = Hex(text);
    obAsnReadBuf b(octets.data(), octets.size());
    unsigned long n = 0;
    EXPECT_EQ(BDecLen(b, n), 5) << text;
    EXPECT_EQ(b.Remaining(), 5u);
  }

  std::string written;
  EXPECT_EQ(EncodeInto(1, [](obAsnWriteBuf& w) { return BEncIndefLen(w); }, &written), 1);
  EXPECT_EQ(written, "80");
}

TEST(AsnLenDecode, FailuresAndTheirMessages) {
  struct Case {
    const char* input;
    const char* message;
    int offset_after;
  };
  for (Case c : {Case{"", "BDecLen: Decoded couldn't get byte offset = 0", 0},
                 Case{"85 00 00 00 00 01 00", "BDecLen: length overflow before offset = 1", 1},
                 Case{"FF", "BDecLen: length overflow before offset = 1", 1},
                 Case{"82 01", "BDec: decoded couldn't get data offset = 2", 2},
                 Case{"84 00 00 00", "BDec: decoded couldn't get data offset = 4", 4},
                 // A length beyond the input fails right after the length octets: no content is read.
                 Case{"05 01 02 03 04", "BDecLen: length exceeds buffer", 1},
                 Case{"82 01 00 00 00", "BDecLen: length exceeds buffer", 3},
                 Case{"84 FF FF FF FF 00", "BDecLen: length exceeds buffer", 5},
                 Case{"84 80 00 00 00 00", "BDecLen: length exceeds buffer", 5}}) {
    std::vector<unsigned char> octets = Hex(c.input);
    for (bool gate : {true, false}) {
      DiagCapture diag(gate);
      obAsnReadBuf b(octets.data(), octets.size());
      unsigned long n = 0;
      EXPECT_EQ(BDecLen(b, n), kAsnLenError) << c.input;
      EXPECT_EQ(b.Offset(), c.offset_after) << c.input;
      if (gate) {
        EXPECT_EQ(diag.Lines(), (std::vector<std::string>{c.message})) << c.input;
      } else {
        EXPECT_TRUE(diag.Lines().empty());
      }
    }
  }
}

// ---- end-of-contents ----

TEST(AsnEoc, EncodeAndDecode) {
  std::string written;
  EXPECT_EQ(EncodeInto(2, [](obAsnWriteBuf& w) { return BEncEoc(w); }, &written), 2);
  EXPECT_EQ(written, "00 00");
  EXPECT_EQ(Measure([](obAsnWriteBuf& w) { return BEncEoc(w); }), 2);

  DiagCapture diag(true);
  int write_error = 0;
  EXPECT_EQ(EncodeInto(1, [](obAsnWriteBuf& w) { return BEncEoc(w); }, &written, &write_error), -1);
  EXPECT_EQ(write_error, 1);
  EXPECT_EQ(diag.Lines().back(), "obAsnLen failed to encoded Eoc ");

  std::vector<unsigned char> eoc = Hex("00 00 05");
  obAsnReadBuf r(eoc.data(), eoc.size());
  unsigned long bytes = 3;
  EXPECT_EQ(BDecEoc(r, bytes), 1);
  EXPECT_EQ(bytes, 5u);
  EXPECT_EQ(r.Offset(), 2);

  for (const char* bad : {"00 01", "01 00", "00", ""}) {
    diag.Clear();
    std::vector<unsigned char> octets = Hex(bad);
    obAsnReadBuf b(octets.data(), octets.size());
    unsigned long n = 0;
    EXPECT_EQ(BDecEoc(b, n), -1) << bad;
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(diag.Lines(),
              (std::vector<std::string>{"Non zero byte in EOC or end of data reached before offset = 0"}));
  }
}

// ---- asnLen ----

TEST(AsnLenMeasure, InsideAnIndefiniteSequence) {
  std::vector<unsigned char> octets = Hex("30 80 02 01 05 00 00");
  obAsnReadBuf b(octets.data(), octets.size());
  b.Skip(2);
  EXPECT_EQ(asnLen(b, 1), 5);
  EXPECT_EQ(b.Offset(), 2);
}

TEST(AsnLenMeasure, CountsTheClosingOctetsOfEveryLevel) {
  // After the outer 30 80: an inner indefinite SEQUENCE, a definite OCTET STRING, then the outer EOC.
  std::vector<unsigned char> octets = Hex("30 80 30 80 02 01 05 00 00 04 02 AA BB 00 00 FF");
  obAsnReadBuf b(octets.data(), octets.size());
  b.Skip(2);
  EXPECT_EQ(asnLen(b, 1), 13);
  EXPECT_EQ(b.Offset(), 2);
}

TEST(AsnLenMeasure, TopLevelElement) {
  std::vector<unsigned char> definite = Hex("02 01 05 FF FF");
  obAsnReadBuf d(definite.data(), definite.size());
  EXPECT_EQ(asnLen(d, 0), 3);
  EXPECT_EQ(d.Offset(), 0);

  std::vector<unsigned char> indefinite = Hex("30 80 02 01 05 00 00 FF");
  obAsnReadBuf i(indefinite.data(), indefinite.size());
  EXPECT_EQ(asnLen(i, 0), 7);
  EXPECT_EQ(i.Offset(), 0);
}

TEST(AsnLenMeasure, MalformedContentFailsAndKeepsTheCursor) {
  struct Case {
    const char* input;  // the octets after an opening 30 80
    const char* message;
  };
  for (Case c : {Case{"02 01 05", "obAsnReadBuf::GetByte reached the end of buf"},
                 Case{"02 01 05 00", "asnLen failed to decoded the 2th byte Eoc before  offset = 6"},
                 Case{"02 01 05 00 01", "asnLen failed to decoded the 2th byte Eoc before  offset = 6"},
                 Case{"02 09 05 00 00", "asnLen: failed to decoded length"},
                 Case{"02", "asnLen: failed to decoded length"},
                 Case{"1F 80 80 80 01 00", "asn-tag BDecTag error tag value to long before  offset = 6"},
                 Case{"30 80 02 01 05 00 00", "obAsnReadBuf::GetByte reached the end of buf"}}) {
    std::vector<unsigned char> octets = Concat({Hex("30 80"), Hex(c.input)});
    for (bool gate : {true, false}) {
      DiagCapture diag(gate);
      obAsnReadBuf b(octets.data(), octets.size());
      b.Skip(2);
      EXPECT_EQ(asnLen(b, 1), kAsnLenError) << c.input;
      EXPECT_EQ(b.Offset(), 2);
      if (gate) {
        EXPECT_TRUE(diag.Saw(c.message)) << c.input << " -> " << c.message;
      } else {
        EXPECT_TRUE(diag.Lines().empty());
      }
    }
  }
}

TEST(AsnLenMeasure, NestingDepthIsBounded) {
  // Starting inside one open value, 63 further indefinite levels are fine...
  std::vector<unsigned char> deep_ok = Concat({Repeat("30 80", 63), Hex("02 01 05"), Repeat("00 00", 64)});
  obAsnReadBuf ok(deep_ok.data(), deep_ok.size());
  EXPECT_EQ(asnLen(ok, 1), static_cast<obAsnLen>(deep_ok.size()));

  // ...one more is refused cleanly, as is a flood of openings with no content at all.
  std::vector<unsigned char> too_deep = Concat({Repeat("30 80", 64), Hex("02 01 05"), Repeat("00 00", 65)});
  std::vector<unsigned char> flood = Repeat("24 80", 100000);
  for (const auto* input : {&too_deep, &flood}) {
    DiagCapture diag(true);
    obAsnReadBuf b(input->data(), input->size());
    EXPECT_EQ(asnLen(b, 1), kAsnLenError);
    EXPECT_EQ(b.Offset(), 0);
    EXPECT_TRUE(diag.Saw("asnLen: nesting deeper than 64 levels"));
  }
}

// ---- random and hostile input ----

namespace {

// Octets that steer random input towards headers: EOC, long tags, indefinite and long lengths.
unsigned char HeaderishOctet(std::mt19937& rng) {
  static const unsigned char kInteresting[] = {0x00, 0x80, 0x30, 0x24, 0xA0, 0x1F, 0xFF, 0x7F,
                                               0x81, 0x82, 0x84, 0x85, 0x02, 0x04, 0x01, 0x05};
  unsigned pick = rng() % 24;
  return pick < 16 ? kInteresting[pick] : static_cast<unsigned char>(rng());
}

// Walks input as headers with the cursor functions and checks the cursor never leaves it.
void WalkHeaders(const unsigned char* data, size_t size) {
  obAsnReadBuf b(data, size);
  while (b.Remaining() > 0) {
    size_t before = b.Remaining();
    obAsnReadBuf probe = b;
    obAsnLen measured = asnLen(probe, 0);
    ASSERT_EQ(probe.Cur(), b.Cur());
    if (measured >= 0) {
      ASSERT_LE(static_cast<unsigned long>(measured), b.Remaining());
    }
    obAsnReadBuf nested = b;
    measured = asnLen(nested, 1);
    ASSERT_EQ(nested.Cur(), b.Cur());
    if (measured >= 0) {
      ASSERT_LE(static_cast<unsigned long>(measured), b.Remaining());
    }

    unsigned long bytes = 0;
    obAsnTag tag = BDecTag(b, bytes);
    if (tag == kAsnBadTag) return;
    obAsnLen len = BDecLen(b, bytes);
    if (len == kAsnLenError) return;
    ASSERT_LE(bytes, before);
    if (len >= 0) {
      ASSERT_LE(static_cast<unsigned long>(len), b.Remaining());
      // Step into constructed values, over primitive ones.
      if (!obAsnTagIsConstructed(tag)) b.Skip(static_cast<unsigned long>(len));
    }
    ASSERT_GE(b.Cur(), data);
    ASSERT_LE(b.Cur(), data + size);
  }
}

void WalkExactCopy(const std::vector<unsigned char>& input) {
  // An allocation of exactly the input's size, so the sanitizer build sees any read past it.
  std::unique_ptr<unsigned char[]> exact(new unsigned char[input.size() ? input.size() : 1]);
  std::copy(input.begin(), input.end(), exact.get());
  WalkHeaders(exact.get(), input.size());
}

}  // namespace

TEST(AsnHostileHeaders, RandomBuffersStayInBounds) {
  std::mt19937 rng(20240611);
  for (int round = 0; round < 5000; ++round) {
    DiagCapture diag(round % 10 == 0);  // now and then with the messages formatted too
    std::vector<unsigned char> input(rng() % 48);
    for (unsigned char& octet : input) octet = round % 2 ? HeaderishOctet(rng) : static_cast<unsigned char>(rng());
    WalkExactCopy(input);
    if (HasFatalFailure()) FAIL() << "input " << ToHex(input.data(), input.size());
  }
}

TEST(AsnHostileHeaders, EveryTruncationOfAValidEncoding) {
  std::vector<unsigned char> valid =
      Hex("30 80 BF 81 00 80 04 82 00 03 AA BB CC 00 00 24 80 04 01 01 00 00 1F 81 80 00 00 00 00");
  for (size_t cut = 0; cut <= valid.size(); ++cut) {
    std::vector<unsigned char> prefix(valid.begin(), valid.begin() + static_cast<long>(cut));
    DiagCapture diag(false);
    WalkExactCopy(prefix);
    ASSERT_FALSE(HasFatalFailure()) << "cut at " << cut;
    std::unique_ptr<unsigned char[]> exact(new unsigned char[cut + 1]);
    std::copy(prefix.begin(), prefix.end(), exact.get());
    obAsnReadBuf b(exact.get(), cut);
    obAsnLen whole = asnLen(b, 0);
    EXPECT_EQ(whole, cut == valid.size() ? 29 : kAsnLenError) << "cut at " << cut;
  }
}

// ---- cross-check against openssl as a peer ----

namespace {

// DER that `openssl asn1parse -genstr` produces for definition, or empty when the tool is unavailable.
std::vector<unsigned char> OpensslGen(const std::string& definition) {
  const char* tool = std::getenv("NYCERT_OPENSSL");
  if (!tool || !*tool) return {};
  TempDir dir;
  std::string out = dir.File("gen.der");
  std::string command = std::string(tool) + " asn1parse -noout -genstr '" + definition + "' -out '" + out + "' 2>/dev/null";
  FILE* p = popen(command.c_str(), "r");
  if (!p || pclose(p) != 0) return {};
  std::vector<unsigned char> der;
  FILE* f = std::fopen(out.c_str(), "rb");
  if (!f) return {};
  for (int c; (c = std::fgetc(f)) != EOF;) der.push_back(static_cast<unsigned char>(c));
  std::fclose(f);
  return der;
}

}  // namespace

TEST(AsnHeaderPeer, HeadersMatchOpenssl) {
  struct Case {
    const char* definition;
    unsigned cls, number;
    unsigned long length;
  };
  std::string octets300 = "FORMAT:HEX,OCTETSTRING:" + std::string(600, 'c');
  for (Case c : {Case{"IMPLICIT:200C,NULL", kAsnContext, 200, 0}, Case{"IMPLICIT:16384A,NULL", kAsnApplication, 16384, 0},
                 Case{"IMPLICIT:30P,NULL", kAsnPrivate, 30, 0}, Case{octets300.c_str(), kAsnUniversal, 4, 300}}) {
    std::vector<unsigned char> der = OpensslGen(c.definition);
    if (der.empty()) GTEST_SKIP() << "openssl not available";
    std::vector<unsigned char> ours(8);
    obAsnWriteBuf w(ours.data(), ours.size());
    int header = BEncDefLen(w, c.length);
    header += BEncTag(w, c.cls, kAsnPrimitive, c.number);
    ASSERT_EQ(der.size(), static_cast<size_t>(header) + c.length) << c.definition;
    EXPECT_EQ(ToHex(w.Data(), static_cast<size_t>(header)), ToHex(der.data(), static_cast<size_t>(header))) << c.definition;

    obAsnReadBuf r(der.data(), der.size());
    unsigned long bytes = 0;
    EXPECT_EQ(BDecTag(r, bytes), obAsnMakeTag(c.cls, kAsnPrimitive, c.number));
    EXPECT_EQ(BDecLen(r, bytes), static_cast<obAsnLen>(c.length));
  }
}

TEST(AsnHeaderPeer, TagNumber127DiffersFromTheStandardForm) {
  // A peer writes 127 in two octets; this runtime writes and expects three.
  std::vector<unsigned char> der = OpensslGen("IMPLICIT:127C,NULL");
  if (der.empty()) GTEST_SKIP() << "openssl not available";
  EXPECT_EQ(ToHex(der.data(), der.size()), "9F 7F 00");
  obAsnReadBuf r(der.data(), der.size());
  unsigned long bytes = 0;
  obAsnTag tag = BDecTag(r, bytes);
  EXPECT_EQ(bytes, 2u);
  EXPECT_EQ(tag, 0x7F9Fu);
  EXPECT_NE(tag, obAsnMakeTag(kAsnContext, kAsnPrimitive, 127));
}
