// Identifier, length and end-of-contents octets, asnLen, and hostile headers.
#include <gtest/gtest.h>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "support/test_support.h"

namespace {

using HeaderDecoder = std::function<long(obAsnReadBuf&, unsigned long&)>;

long DecTag(obAsnReadBuf& b, unsigned long& bytes) { return static_cast<int>(BDecTag(b, bytes)); }
long DecLen(obAsnReadBuf& b, unsigned long& bytes) { return BDecLen(b, bytes); }
long DecEoc(obAsnReadBuf& b, unsigned long& bytes) { return BDecEoc(b, bytes); }
AsnEncoder Tag(unsigned cls, unsigned form, unsigned number) {
  return [=](obAsnWriteBuf& w) { return BEncTag(w, cls, form, number); };
}
AsnEncoder Len(unsigned long length) {
  return [=](obAsnWriteBuf& w) { return BEncDefLen(w, length); };
}

// Runs decode over the octets of hex followed by pad filler octets: its
// result; *offset and *bytes get where the cursor stopped and what was counted.
long DecodeHeader(const std::string& hex, const HeaderDecoder& decode, int* offset = nullptr,
                  unsigned long* bytes = nullptr, size_t pad = 0) {
  std::vector<unsigned char> octets = Hex(hex);
  octets.resize(octets.size() + pad, 0xAA);
  obAsnReadBuf r(octets.data(), octets.size());
  unsigned long counted = 0;
  long result = decode(r, counted);
  if (offset) *offset = r.Offset();
  if (bytes) *bytes = counted;
  return result;
}

// encode writes exactly octets and measures as many; decoding them (with pad
// content behind) gives expected and consumes them all.
void ExpectHeaderCodec(const AsnEncoder& encode, const std::string& octets, const HeaderDecoder& decode, long expected,
                       size_t pad = 0) {
  SCOPED_TRACE(octets);
  int size = static_cast<int>(Hex(octets).size());
  std::string written;
  EXPECT_EQ(EncodeInto(static_cast<size_t>(size), encode, &written), size);
  EXPECT_EQ(written, octets);
  EXPECT_EQ(EncodeInto(kMeasuring, encode), size);
  int offset = 0;
  unsigned long bytes = 0;
  EXPECT_EQ(DecodeHeader(octets, decode, &offset, &bytes, pad), expected);
  EXPECT_EQ(offset, size);
  EXPECT_EQ(bytes, static_cast<unsigned long>(size));
}

// asnLen after skipping the first skip octets of hex; the cursor must not move.
obAsnLen MeasureAt(const std::string& hex, unsigned long skip, int nested) {
  int offset = 0;
  obAsnLen n = static_cast<obAsnLen>(DecodeHeader(
      hex, [&](obAsnReadBuf& b, unsigned long&) { return b.Skip(skip) == skip ? asnLen(b, nested) : -9L; }, &offset));
  EXPECT_EQ(offset, static_cast<int>(skip)) << hex;
  return n;
}

}  // namespace

TEST(AsnHeaderCodec, BoundariesEncodeExactlyAndDecodeBack) {
  struct Case {
    unsigned cls, form, number;
    const char* octets;
  } tags[] = {{kAsnUniversal, kAsnPrimitive, 2, "02"},
              {kAsnUniversal, kAsnConstructed, 16, "30"},
              {kAsnPrivate, kAsnPrimitive, 30, "DE"},
              {kAsnUniversal, kAsnPrimitive, 31, "1F 1F"},
              {kAsnUniversal, kAsnPrimitive, 127, "1F 80 7F"},
              {kAsnUniversal, kAsnPrimitive, 128, "1F 81 00"},
              {kAsnUniversal, kAsnPrimitive, 16383, "1F FF 7F"},
              {kAsnUniversal, kAsnPrimitive, 16384, "1F 81 80 00"},
              {kAsnContext, kAsnPrimitive, 0x1FFFFF, "9F FF FF 7F"}};
  for (const Case& c : tags) {
    ExpectHeaderCodec(Tag(c.cls, c.form, c.number), c.octets, DecTag,
                      static_cast<int>(obAsnMakeTag(c.cls, c.form, c.number)));
  }
  static_assert(obAsnMakeTag(kAsnUniversal, kAsnPrimitive, 127) == 0x7F801Fu, "three octets, first lowest");
  EXPECT_EQ(obAsnTagClass(obAsnMakeTag(kAsnPrivate, kAsnPrimitive, 500)), kAsnPrivate);

  struct LenCase {
    unsigned long length;
    const char* octets;
  } lengths[] = {{0, "00"},         {127, "7F"},         {128, "81 80"},         {255, "81 FF"},
                 {256, "82 01 00"}, {65535, "82 FF FF"}, {65536, "83 01 00 00"}, {0xFFFFFF, "83 FF FF FF"}};
  for (const LenCase& c : lengths) ExpectHeaderCodec(Len(c.length), c.octets, DecLen, c.length, c.length);
  ExpectHeaderCodec(BEncIndefLen, "80", DecLen, kAsnIndefiniteLen);
  ExpectHeaderCodec(BEncEoc, "00 00", DecEoc, 1);
  // Long forms: four octets are fine when the content is there; non-minimal forms read as their value.
  for (const char* octets : {"84 00 00 00 03", "81 03"}) {
    int offset = 0;
    EXPECT_EQ(DecodeHeader(octets, DecLen, &offset, nullptr, 3), 3) << octets;
    EXPECT_EQ(offset, static_cast<int>(Hex(octets).size()));
  }
}

TEST(AsnHeaderCodec, EncodeFailuresNameTheCase) {
  struct Case {
    AsnEncoder encode;
    size_t room;  // kMeasuring: a failure without a full buffer
    const char* message;
  } cases[] = {{Tag(0, 0, 0x200000), kMeasuring, "asn-tag BEncTag: code too long"},
               {Tag(0, 0, 5), 0, "asn-tag BEncTag error can't write to buf code < 31"},
               {Tag(0, 0, 40), 1, "asn-tag BEncTag error can't write to buf code < 0x7f "},
               {Tag(0, 0, 127), 2, "asn-tag BEncTag error can't write to buf code <= 0x3fff"},
               {Tag(0, 0, 20000), 3, "asn-tag BEncTag error can't write to buf code <= 0x1fffff "},
               {Len(0x1000000), kMeasuring, "BEncDefLen can't find match if"},
               {Len(5), 0, "BEncDefLen can't put byte to buf len < 0x80 "},
               {Len(200), 1, "BEncDefLen can't put byte to buf len < 0x100 "},
               {Len(300), 2, "BEncDefLen can't put byte to buf  len < 0x10000"},
               {Len(70000), 3, "BEncDefLen can't put byte in buf  len < 0x1000000"},
               {Len(70000), 0, "BEncDefLen can't put byte in buf  len < 0x1000000"},
               {BEncEoc, 1, "obAsnLen failed to encoded Eoc "}};
  for (const Case& c : cases) {
    int write_error = 0;
    EXPECT_EQ(Gated([&] { return EncodeInto(c.room, c.encode, nullptr, &write_error); }, c.message), -1);
    EXPECT_EQ(write_error, c.room == kMeasuring ? 0 : 1) << c.message;
  }
}

TEST(AsnHeaderCodec, DecodeFailuresStopBeforeAnyContent) {
  const char* end = "obAsnReadBuf::GetByte reached the end of buf";
  const char* exceeds = "BDecLen: length exceeds buffer";
  struct Case {
    const HeaderDecoder decode;
    const char* input;
    const char* message;
    int offset_after;  // where the cursor stops
  } cases[] = {{DecTag, "1F 80 80 80 01", "asn-tag BDecTag error tag value to long before  offset = 4", 4},
               {DecTag, "", end, 0},
               {DecTag, "3F 81 80", end, 3},
               {DecLen, "", "BDecLen: Decoded couldn't get byte offset = 0", 0},
               {DecLen, "85 00 00 00 00 01 00", "BDecLen: length overflow before offset = 1", 1},
               {DecLen, "84 00 00 00", "BDec: decoded couldn't get data offset = 4", 4},
               {DecLen, "05 01 02 03 04", exceeds, 1},
               {DecLen, "84 80 00 00 00 00", exceeds, 5}};
  for (const Case& c : cases) {
    int offset = -1;
    EXPECT_EQ(Gated([&] { return static_cast<int>(DecodeHeader(c.input, c.decode, &offset)); }, c.message), -1)
        << c.input;
    EXPECT_EQ(offset, c.offset_after) << c.input;
  }
  for (const char* bad : {"01 00", "00 01", ""}) {
    EXPECT_EQ(Gated([&] { return static_cast<int>(DecodeHeader(bad, DecEoc)); },
                    "Non zero byte in EOC or end of data reached before offset = 0"),
              -1)
        << bad;
  }
}

TEST(AsnLenMeasure, IndefiniteContentsInPlace) {
  EXPECT_EQ(MeasureAt("30 80 02 01 05 00 00", 2, 1), 5);
  // An inner indefinite SEQUENCE, a definite OCTET STRING, then the outer EOC: every level's EOC counts.
  EXPECT_EQ(MeasureAt("30 80 30 80 02 01 05 00 00 04 02 AA BB 00 00 FF", 2, 1), 13);
  EXPECT_EQ(MeasureAt("30 80 02 01 05 00 00 FF", 0, 0), 7);
  // Starting inside one open value, 63 further indefinite levels are fine.
  std::string deep = Repeat("30 80 ", 63) + "02 01 05 " + Repeat("00 00 ", 64);
  EXPECT_EQ(MeasureAt(deep, 0, 1), static_cast<obAsnLen>(Hex(deep).size()));
}

TEST(AsnLenMeasure, MalformedContentFailsAndKeepsTheCursor) {
  const char* end = "obAsnReadBuf::GetByte reached the end of buf";
  const char* second_eoc = "asnLen failed to decoded the 2th byte Eoc before  offset = 6";
  for (AsnFailure c :
       {AsnFailure{"02 01 05", end}, AsnFailure{"02 01 05 00 01", second_eoc},
        AsnFailure{"02 09 05 00 00", "asnLen: failed to decoded length"},
        AsnFailure{"1F 80 80 80 01 00", "asn-tag BDecTag error tag value to long before  offset = 6"},
        AsnFailure{"30 80 02 01 05 00 00", end}}) {
    EXPECT_EQ(Gated([&] { return MeasureAt(std::string("30 80 ") + c.hex, 2, 1); }, c.message), kAsnLenError) << c.hex;
  }
  // One level too deep, and a flood of openings, are refused cleanly.
  std::string too_deep = Repeat("30 80 ", 64) + "02 01 05 " + Repeat("00 00 ", 65);
  for (const std::string& hex : {too_deep, Repeat("24 80 ", 100000)}) {
    EXPECT_EQ(Gated([&] { return MeasureAt(hex, 0, 1); }, "asnLen: nesting deeper than 64 levels before offset = 128"),
              kAsnLenError);
  }
}

namespace {

// Walks input (in a block of its exact size, so the sanitizer build sees any
// overread) header by header into constructed values, checking that asnLen
// and every length stay inside it. Returns asnLen of the whole input.
obAsnLen WalkHeaders(const std::vector<unsigned char>& input) {
  std::unique_ptr<unsigned char[]> exact(new unsigned char[input.empty() ? 1 : input.size()]);
  std::copy(input.begin(), input.end(), exact.get());
  obAsnReadBuf b(exact.get(), input.size());
  obAsnReadBuf all = b;
  obAsnLen whole = asnLen(all, 0);
  for (obAsnLen len = 0; b.Remaining() > 0 && len != kAsnLenError;) {
    for (int nested : {0, 1}) {
      obAsnReadBuf probe = b;
      obAsnLen measured = asnLen(probe, nested);
      EXPECT_EQ(probe.Cur(), b.Cur());
      EXPECT_LE(measured < 0 ? 0ul : static_cast<unsigned long>(measured), b.Remaining());
    }
    unsigned long bytes = 0;
    obAsnTag tag = BDecTag(b, bytes);
    len = tag == kAsnBadTag ? kAsnLenError : BDecLen(b, bytes);
    EXPECT_LE(len < 0 ? 0ul : static_cast<unsigned long>(len), b.Remaining());
    if (len > 0 && !obAsnTagIsConstructed(tag)) b.Skip(static_cast<unsigned long>(len));
    EXPECT_LE(b.Offset(), static_cast<int>(input.size()));
  }
  return whole;
}

}  // namespace

TEST(AsnHostileHeaders, RandomBuffersAndTruncationsStayInBounds) {
  // Octets that steer random input towards headers: EOC, long tags, indefinite and long lengths.
  const unsigned char interesting[] = {0x00, 0x80, 0x30, 0x24, 0xA0, 0x1F, 0xFF, 0x7F,
                                       0x81, 0x82, 0x84, 0x85, 0x02, 0x04, 0x01, 0x05};
  std::mt19937 rng(LoggedSeed(20240611));
  for (int round = 0; round < 5000; ++round) {
    DiagCapture diag(round % 10 == 0);  // now and then with the messages formatted too
    std::vector<unsigned char> input(rng() % 48);
    for (unsigned char& octet : input) {
      unsigned pick = rng() % 24;
      octet = round % 2 && pick < 16 ? interesting[pick] : static_cast<unsigned char>(rng());
    }
    WalkHeaders(input);
    if (HasFailure()) FAIL() << "input " << ToHex(input.data(), input.size());
  }
  std::vector<unsigned char> valid =
      Hex("30 80 BF 81 00 80 04 82 00 03 AA BB CC 00 00 24 80 04 01 01 00 00 1F 81 80 00 00 00 00");
  DiagCapture diag(false);
  for (size_t cut = 0; cut <= valid.size(); ++cut) {
    obAsnLen whole = WalkHeaders(std::vector<unsigned char>(valid.begin(), valid.begin() + cut));
    EXPECT_EQ(whole, cut == valid.size() ? 29 : kAsnLenError) << "cut at " << cut;
  }
}

TEST(AsnHeaderPeer, HeadersMatchOpenssl) {
  if (!HaveOpenssl()) GTEST_SKIP() << "openssl is not available";
  struct Case {
    const char* genstr;
    unsigned cls, number;
  } cases[] = {{"IMPLICIT:200C,NULL", kAsnContext, 200},
               {"IMPLICIT:16384A,NULL", kAsnApplication, 16384},
               {"IMPLICIT:30P,NULL", kAsnPrivate, 30}};
  for (const Case& c : cases) {
    std::string header;
    AsnEncoder null_value = [&](obAsnWriteBuf& w) {
      int length = BEncDefLen(w, 0);  // written first: encoding runs back to front
      return length + BEncTag(w, c.cls, kAsnPrimitive, c.number);
    };
    EncodeInto(8, null_value, &header);
    EXPECT_EQ(OpensslGenstr(c.genstr), header);
  }
  // A peer writes tag number 127 in two octets; this runtime writes and expects three.
  EXPECT_EQ(OpensslGenstr("IMPLICIT:127C,NULL"), "9F 7F 00");
  EXPECT_NE(DecodeHeader("9F 7F 00", DecTag), static_cast<int>(obAsnMakeTag(kAsnContext, kAsnPrimitive, 127)));
}
