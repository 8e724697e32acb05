// Read and write cursors, nesting guard, the obAsnType base, printing helpers,
// whole-value encode/decode and obAsnBytes.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_bytes.h"
#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/asn1/runtime/asn_type.h"
#include "nycert/platform/obstream.h"
#include "support/test_support.h"

namespace {

std::string ReadBack(FILE* f) {
  std::fflush(f);
  std::rewind(f);
  std::string text;
  for (int c; (c = std::fgetc(f)) != EOF;) text += static_cast<char>(c);
  return text;
}

// A minimal OCTET STRING value built only on the runtime core.
class RawOcts : public obAsnType {
 public:
  RawOcts() = default;
  explicit RawOcts(const std::vector<unsigned char>& v) : value(v.data(), v.size()) {}
  const char* TypeName() const override { return "RawOcts"; }
  RawOcts* Clone() const override { return new RawOcts; }
  RawOcts* Copy() const override { return new RawOcts(*this); }
  int BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) override {
    if (BDecTag(b, bytesDecoded) != 0x04) return -1;
    obAsnLen len = BDecLen(b, bytesDecoded);
    if (len < 0) return -1;
    unsigned long n = static_cast<unsigned long>(len);
    const unsigned char* content = b.GetSeg(&n);
    value.Assign(content, n);
    bytesDecoded += n;
    return 1;
  }
  int BEnc(obAsnWriteBuf& b) const override {
    long content = b.PutSeg(value.data(), value.size());
    if (content < 0) return -1;
    int len = BEncDefLen(b, static_cast<unsigned long>(content));
    if (len < 0) return -1;
    int tag = BEncTag(b, kAsnUniversal, kAsnPrimitive, 4);
    if (tag < 0) return -1;
    return static_cast<int>(content) + len + tag;
  }
  int Sprint(ObStream* s, int indent) const override {
    s->Printf("%sRawOcts\n", obAsnIndent(indent));
    obAsnSprintHex(s, value.data(), value.size(), indent + 1);
    return 0;
  }

  obAsnBytes value;
};

// Claims one octet less when measured than it writes for real.
class Inconsistent : public obAsnType {
 public:
  int BEnc(obAsnWriteBuf& b) const override {
    int n = b.IsMeasuring() ? 1 : 2;
    for (int i = 0; i < n; ++i) {
      if (b.PutByte(0) < 0) return -1;
    }
    return n;
  }
};

// Encodes [1000] { OCTET STRING (300 octets), [200] NULL-like empty value }.
// Puts that fail still count as -1, so a failed pass cannot total correctly.
int EncodeComposite(obAsnWriteBuf& w) {
  std::vector<unsigned char> content(300, 0x5A);
  long inner = BEncDefLen(w, 0);
  inner += BEncTag(w, kAsnContext, kAsnPrimitive, 200);
  inner += w.PutSeg(content.data(), content.size());
  inner += BEncDefLen(w, 300);
  inner += BEncTag(w, kAsnUniversal, kAsnPrimitive, 4);
  long total = inner + BEncDefLen(w, static_cast<unsigned long>(inner));
  total += BEncTag(w, kAsnContext, kAsnConstructed, 1000);
  return w.writeError ? -1 : static_cast<int>(total);
}

bool InsideObject(const obAsnBytes& b) {
  auto p = reinterpret_cast<uintptr_t>(b.data());
  auto o = reinterpret_cast<uintptr_t>(&b);
  return p >= o && p < o + sizeof b;
}

}  // namespace

// ---- read buffer ----

TEST(AsnReadCursor, BytesAndPeeks) {
  std::vector<unsigned char> data = Hex("01 FF");
  obAsnReadBuf b(data.data(), data.size());
  EXPECT_EQ(b.Remaining(), 2u);
  EXPECT_EQ(b.PeekByte(), 0x01);
  EXPECT_EQ(b.GetByte(), 0x01);
  EXPECT_EQ(b.GetByte(), 0xFF);
  EXPECT_EQ(b.Offset(), 2);

  DiagCapture diag(true);
  EXPECT_EQ(b.PeekByte(), -1);
  EXPECT_EQ(b.GetByte(), -1);
  EXPECT_EQ(b.Offset(), 2);
  EXPECT_EQ(diag.Lines(), (std::vector<std::string>{"obAsnReadBuf::PeekByte reached the end of buf",
                                                    "obAsnReadBuf::GetByte reached the end of buf"}));

  obAsnReadBuf none(nullptr, 0);
  EXPECT_EQ(none.Remaining(), 0u);
  EXPECT_EQ(none.GetByte(), -1);
}

TEST(AsnReadCursor, SegmentsCopiesSkipsAndBack) {
  std::vector<unsigned char> data = Hex("10 11 12 13 14");
  obAsnReadBuf b(data.data(), data.size());

  unsigned long n = 2;
  EXPECT_EQ(b.GetSeg(&n), data.data());
  EXPECT_EQ(n, 2u);

  unsigned char out[8];
  std::memset(out, 0xEE, sizeof out);
  EXPECT_EQ(b.CopyOut(out, 2), 2u);
  EXPECT_EQ(ToHex(out, 3), "12 13 EE");
  EXPECT_EQ(b.Offset(), 4);

  // Too few left: nothing is copied, the cursor stays, the count left comes back.
  std::memset(out, 0xEE, sizeof out);
  EXPECT_EQ(b.CopyOut(out, 3), 1u);
  EXPECT_EQ(out[0], 0xEE);
  EXPECT_EQ(b.Offset(), 4);

  n = 10;
  EXPECT_EQ(b.GetSeg(&n), data.data() + 4);  // cut to what remains
  EXPECT_EQ(n, 1u);
  EXPECT_EQ(b.Remaining(), 0u);

  DiagCapture diag(true);
  EXPECT_EQ(b.Back(5), 1);
  EXPECT_EQ(b.Offset(), 0);
  EXPECT_EQ(b.Skip(3), 3u);
  EXPECT_EQ(b.Skip(9), 2u);
  EXPECT_EQ(b.Remaining(), 0u);
  EXPECT_TRUE(diag.Lines().empty());
  EXPECT_EQ(b.Back(6), -1);
  EXPECT_EQ(b.Offset(), 5);
  EXPECT_EQ(diag.Lines(), (std::vector<std::string>{"obAsnReadBuf::Back attempt to return 6 failed"}));
}

TEST(AsnNestGuard, RefusesBeyondTheLimitAndUnwinds) {
  std::vector<unsigned char> data = Hex("30 00");
  obAsnReadBuf b(data.data(), data.size());
  DiagCapture diag(true);
  // Recursion as a decoder would do it, one guard per level.
  std::function<int(unsigned)> descend = [&](unsigned level) {
    obAsnNestGuard g(b);
    if (!g.Ok()) return static_cast<int>(level);
    return level == 1000 ? -1 : descend(level + 1);
  };
  EXPECT_EQ(descend(1), static_cast<int>(kAsnMaxDepth) + 1);
  EXPECT_EQ(b.depth, 0u);
  EXPECT_EQ(diag.Lines(),
            (std::vector<std::string>{"obAsnReadBuf: nesting deeper than 64 levels before offset = 0"}));
}

// ---- write buffer ----

TEST(AsnWriteCursor, FillsBackToFrontAndStopsAtTheStart) {
  unsigned char block[4];
  obAsnWriteBuf w(block, sizeof block);
  EXPECT_EQ(w.PutByte(0x03), 1);
  std::vector<unsigned char> two = Hex("01 02");
  EXPECT_EQ(w.PutSeg(two.data(), 2), 2);
  EXPECT_EQ(ToHex(w.Data(), 3), "01 02 03");
  EXPECT_EQ(w.Written(), 3u);

  DiagCapture diag(true);
  EXPECT_EQ(w.PutSeg(two.data(), 2), -1);  // only one octet of room: nothing is written
  EXPECT_EQ(w.writeError, 1);
  EXPECT_EQ(w.Data(), block + 1);
  EXPECT_EQ(w.PutByte(0x00), 1);
  EXPECT_EQ(w.PutByte(0xFF), -1);
  EXPECT_EQ(ToHex(block, 4), "00 01 02 03");
  EXPECT_EQ(diag.Lines(), (std::vector<std::string>{"obAsnWriteBuf::PutSeg reached the end of buf",
                                                    "obAsnWriteBuf::PutByte reached the end of buf"}));

  w.Reset();
  EXPECT_EQ(w.writeError, 0);
  EXPECT_EQ(w.Written(), 0u);
  EXPECT_EQ(w.Data(), block + 4);
  EXPECT_EQ(w.PutByte(0x09), 1);
  EXPECT_EQ(block[3], 0x09);
}

TEST(AsnWriteCursor, NullBlockOnlyCounts) {
  obAsnWriteBuf w(nullptr, 100);
  EXPECT_TRUE(w.IsMeasuring());
  std::vector<unsigned char> big(70000, 1);
  EXPECT_EQ(w.PutByte(7), 1);
  EXPECT_EQ(w.PutSeg(big.data(), big.size()), 70000);
  EXPECT_EQ(w.Written(), 70001u);
  EXPECT_EQ(w.writeError, 0);
}

TEST(AsnWriteCursor, MeasuringPassMatchesRealPass) {
  obAsnWriteBuf measure(nullptr, 0);
  int size = EncodeComposite(measure);
  ASSERT_GT(size, 300);
  std::vector<unsigned char> block(static_cast<size_t>(size));
  obAsnWriteBuf real(block.data(), block.size());
  EXPECT_EQ(EncodeComposite(real), size);
  EXPECT_EQ(real.Data(), block.data());  // exactly filled
  EXPECT_EQ(size, 314);
  EXPECT_EQ(ToHex(block.data(), 11), "BF 87 68 82 01 34 04 82 01 2C 5A");
  EXPECT_EQ(ToHex(block.data() + 310, 4), "9F 81 48 00");

  std::vector<unsigned char> short_block(static_cast<size_t>(size) - 1);
  DiagCapture diag(false);
  obAsnWriteBuf cramped(short_block.data(), short_block.size());
  EXPECT_EQ(EncodeComposite(cramped), -1);
  EXPECT_EQ(cramped.writeError, 1);
}

// ---- obAsnType base (an open type never resolved) ----

TEST(AsnTypeBase, IdentityAndFactories) {
  obAsnType base;
  EXPECT_STREQ(base.TypeName(), "obAsnType");
  EXPECT_EQ(base.IsType("obAsnType"), &base);
  EXPECT_EQ(base.IsType("obAsnInt"), nullptr);
  EXPECT_EQ(base.IsType(nullptr), nullptr);
  EXPECT_EQ(base.Clone(), nullptr);
  EXPECT_EQ(base.Copy(), nullptr);

  RawOcts derived;
  obAsnType& as_base = derived;
  EXPECT_EQ(as_base.IsType("RawOcts"), &derived);
  EXPECT_EQ(as_base.IsType("obAsnType"), nullptr);
  EXPECT_EQ(as_base.IsType("rawocts"), nullptr);
}

TEST(AsnTypeBase, CodecFallBacksFail) {
  obAsnType base;
  std::vector<unsigned char> data = Hex("02 01 05");
  unsigned char block[8];
  for (bool gate : {true, false}) {
    DiagCapture diag(gate);
    obAsnReadBuf r(data.data(), data.size());
    unsigned long bytes = 0;
    EXPECT_EQ(base.BDec(r, bytes), -1);
    EXPECT_EQ(bytes, 0u);
    obAsnWriteBuf w(block, sizeof block);
    EXPECT_EQ(base.BEnc(w), -1);
    obAsnWriteBuf m(nullptr, 0);
    EXPECT_EQ(base.BEnc(m), -1);
    base.Herror(2);
    if (gate) {
      EXPECT_EQ(diag.Lines(), (std::vector<std::string>{
                                  "obAsnType::BDec attempt tp decode improperly formed of Any",
                                  "obAsnType::BEec attempt tp encode improperly formed of Any",
                                  "obAsnType::BEec attempt tp encode improperly formed of Any",
                                  "    obAsnType::Herror attempt tp print improperly formed of Any",
                              }));
    } else {
      EXPECT_TRUE(diag.Lines().empty());
    }
  }
}

TEST(AsnTypeBase, PrintWritesItsTextWhateverTheGate) {
  obAsnType base;
  DiagCapture diag(false);
  FILE* f = std::tmpfile();
  base.Print(f, 3);
  EXPECT_EQ(ReadBack(f), "obAsnType::Print attempt tp print improperly formed of Any\n ");
  std::fclose(f);

  testing::internal::CaptureStdout();
  base.Print(nullptr, 0);
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "obAsnType::Print attempt tp print improperly formed of Any\n ");
  EXPECT_TRUE(diag.Lines().empty());
}

TEST(AsnTypeBase, PrintAndHerrorOfADerivedTypeUseItsSprint) {
  RawOcts v(Hex("01 02 03"));
  FILE* f = std::tmpfile();
  v.Print(f, 1);
  EXPECT_EQ(ReadBack(f), "  RawOcts\n    01 02 03 \n");
  std::fclose(f);

  DiagCapture diag(true);
  v.Herror(0);
  EXPECT_EQ(diag.Lines(), (std::vector<std::string>{"RawOcts", "  01 02 03 "}));
  DiagCapture shut(false);
  v.Herror(0);
  EXPECT_TRUE(shut.Lines().empty());
}

// ---- printing helpers ----

TEST(AsnPrintHelpers, IndentIsClampedToNineteenLevels) {
  EXPECT_STREQ(obAsnIndent(0), "");
  EXPECT_STREQ(obAsnIndent(-3), "");
  EXPECT_STREQ(obAsnIndent(1), "  ");
  EXPECT_EQ(std::strlen(obAsnIndent(19)), 38u);
  EXPECT_EQ(std::strlen(obAsnIndent(20)), 38u);
  EXPECT_EQ(std::strlen(obAsnIndent(1 << 30)), 38u);
  EXPECT_EQ(std::string(obAsnIndent(50)), std::string(38, ' '));
}

TEST(AsnPrintHelpers, HexDumpTwentyALineAtMostSixteenHundred) {
  std::vector<unsigned char> data(21);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<unsigned char>(i);
  ObStream s;
  obAsnSprintHex(&s, data.data(), data.size(), 1);
  EXPECT_EQ(s.str(),
            "  00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 \n"
            "  14 \n");

  std::vector<unsigned char> big(2000, 0xAB);
  ObStream capped;
  obAsnSprintHex(&capped, big.data(), big.size(), 0);
  std::string line(20 * 3, ' ');
  for (int i = 0; i < 20; ++i) line.replace(static_cast<size_t>(i) * 3, 2, "ab");
  std::string expected;
  for (int i = 0; i < 80; ++i) expected += line + "\n";
  EXPECT_EQ(capped.str(), expected);

  ObStream empty;
  obAsnSprintHex(&empty, data.data(), 0, 0);
  obAsnSprintHex(nullptr, data.data(), 4, 0);
  EXPECT_EQ(empty.str(), "");
}

TEST(AsnPrintHelpers, CharDumpShowsOnlyPrintables) {
  const unsigned char text[] = "Hi\x01\x1f\x7f\x80\xff ~!abcdefghijklmnopq";
  ObStream s;
  obAsnSprintChars(&s, text, sizeof text - 1, 2);
  EXPECT_EQ(s.str(),
            "    Hi..... ~!abcdefghij\n"
            "    klmnopq\n");
}

TEST(AsnPrintHelpers, HerrorLinesSplitsText) {
  DiagCapture diag(true);
  obAsnHerrorLines("one\n  two\n\nfour");
  EXPECT_EQ(diag.Lines(), (std::vector<std::string>{"one", "  two", "", "four"}));
  DiagCapture shut(false);
  obAsnHerrorLines("one\n");
  EXPECT_TRUE(shut.Lines().empty());
}

// ---- whole values into and out of nyBinBuf ----

TEST(AsnWholeValue, EncodeAndDecodeRoundTrip) {
  std::vector<unsigned char> content(300);
  for (size_t i = 0; i < content.size(); ++i) content[i] = static_cast<unsigned char>(i * 7);
  RawOcts v(content);
  nyBinBuf der(Hex("DE AD").data(), 2);
  ASSERT_EQ(obAsnEncode(v, der), 0);
  ASSERT_EQ(der.Len(), 304u);
  EXPECT_EQ(ToHex(der.Data(), 6), "04 82 01 2C 00 07");

  RawOcts back;
  ASSERT_EQ(obAsnDecode(back, der.Data(), der.Len()), 0);
  EXPECT_EQ(back.value, v.value);

  nyBinBuf again;
  ASSERT_EQ(obAsnEncode(back, again), 0);
  EXPECT_EQ(again, der);

  RawOcts empty_value;
  nyBinBuf empty_der;
  ASSERT_EQ(obAsnEncode(empty_value, empty_der), 0);
  EXPECT_EQ(ToHex(empty_der), "04 00");
}

TEST(AsnWholeValue, DecodeRejectsTrailingAndShortInput) {
  std::vector<unsigned char> trailing = Hex("04 01 AA 00");
  std::vector<unsigned char> truncated = Hex("04 05 AA");
  RawOcts v;
  for (bool gate : {true, false}) {
    DiagCapture diag(gate);
    EXPECT_EQ(obAsnDecode(v, trailing.data(), trailing.size()), -1);
    if (gate) {
      EXPECT_EQ(diag.Lines(), (std::vector<std::string>{"obAsnDecode: 1 octets left after the value"}));
    }
    EXPECT_EQ(obAsnDecode(v, truncated.data(), truncated.size()), -1);
    EXPECT_EQ(obAsnDecode(v, nullptr, 0), -1);
    if (!gate) {
      EXPECT_TRUE(diag.Lines().empty());
    }
  }
}

TEST(AsnWholeValue, EncodeFailures) {
  DiagCapture diag(true);
  obAsnType unresolved;
  nyBinBuf out(Hex("01").data(), 1);
  EXPECT_EQ(obAsnEncode(unresolved, out), -1);
  EXPECT_EQ(ToHex(out), "01");  // a failed measuring pass leaves out alone

  diag.Clear();
  Inconsistent liar;
  EXPECT_EQ(obAsnEncode(liar, out), -1);
  EXPECT_TRUE(diag.Saw("obAsnBufSet::Encoded writeError"));
  EXPECT_EQ(out.Len(), 0u);
}

TEST(AsnBufSetSegments, JoinsSegmentsInOrder) {
  obAsnBufSet set;
  RawOcts a(Hex("01 02"));
  RawOcts b(Hex(""));
  std::vector<unsigned char> raw = Hex("05 00");
  EXPECT_EQ(set.Put(a), 4);
  EXPECT_EQ(set.Put(raw.data(), 2), 2);
  EXPECT_EQ(set.Put(b), 2);
  EXPECT_EQ(set.Put(raw.data(), 0), 0);
  EXPECT_EQ(set.Len(), 8u);
  nyBinBuf out(Hex("FF FF FF FF FF FF FF FF FF FF").data(), 10);
  EXPECT_EQ(set.Encoded(out), 0);
  EXPECT_EQ(ToHex(out), "04 02 01 02 05 00 04 00");

  obAsnBufSet none;
  nyBinBuf nothing;
  EXPECT_EQ(none.Encoded(nothing), 0);
  EXPECT_EQ(nothing.Len(), 0u);
}

TEST(AsnBufSetSegments, FailedPutsLeaveTheSetAsItWas) {
  obAsnBufSet set;
  RawOcts a(Hex("01"));
  set.Put(a);
  DiagCapture diag(true);
  obAsnType unresolved;
  EXPECT_EQ(set.Put(unresolved), -1);
  EXPECT_EQ(set.Put(nullptr, 3), -1);
  EXPECT_EQ(set.Len(), 3u);
  nyBinBuf out;
  set.Encoded(out);
  EXPECT_EQ(ToHex(out), "04 01 01");
  EXPECT_EQ(diag.Lines(), (std::vector<std::string>{
                              "obAsnType::BEec attempt tp encode improperly formed of Any",
                              "obAsnBufSet::Encoded attempt to put segmant failed",
                              "obAsnBufSet::Encoded attempt to put segmant failed",
                          }));
}

// ---- obAsnBytes ----

TEST(AsnBytesStorage, InlineThenHeap) {
  std::vector<unsigned char> small(24, 0x11);
  std::vector<unsigned char> large(25, 0x22);
  obAsnBytes b(small.data(), small.size());
  EXPECT_TRUE(InsideObject(b));
  b.Assign(large.data(), large.size());
  EXPECT_FALSE(InsideObject(b));
  EXPECT_EQ(b.size(), 25u);
  b.Assign(small.data(), 3);  // shrinking keeps the heap block
  EXPECT_FALSE(InsideObject(b));
  EXPECT_EQ(b, obAsnBytes(small.data(), 3));

  obAsnBytes grown(small.data(), 20);
  grown.Append(large.data(), 10);  // crosses from inline to heap, keeping the contents
  EXPECT_FALSE(InsideObject(grown));
  ASSERT_EQ(grown.size(), 30u);
  EXPECT_EQ(std::memcmp(grown.data(), small.data(), 20), 0);
  EXPECT_EQ(std::memcmp(grown.data() + 20, large.data(), 10), 0);

  obAsnBytes resized(large.data(), 5);
  unsigned char* p = resized.Resize(1000);
  EXPECT_EQ(std::memcmp(p, large.data(), 5), 0);
  EXPECT_EQ(resized.size(), 1000u);
  resized.Resize(2);
  EXPECT_EQ(resized, obAsnBytes(large.data(), 2));
}

TEST(AsnBytesStorage, SourcesInsideItself) {
  std::vector<unsigned char> abc = Hex("0A 0B 0C 0D 0E 0F");
  obAsnBytes shift(abc.data(), abc.size());
  shift.Assign(shift.data() + 2, 3);
  EXPECT_EQ(shift, obAsnBytes(abc.data() + 2, 3));

  // Doubling repeatedly: the source is the block being replaced.
  obAsnBytes doubled(abc.data(), abc.size());
  for (int i = 0; i < 6; ++i) doubled.Append(doubled.data(), doubled.size());
  ASSERT_EQ(doubled.size(), 6u * 64);
  for (size_t i = 0; i < doubled.size(); ++i) ASSERT_EQ(doubled.data()[i], abc[i % 6]) << i;
}

TEST(AsnBytesStorage, CopiesAreDeepSelfAssignmentHarmless) {
  std::vector<unsigned char> large(40, 0x33);
  obAsnBytes a(large.data(), large.size());
  obAsnBytes b(a);
  EXPECT_NE(a.data(), b.data());
  EXPECT_EQ(a, b);
  b.data()[0] = 0;
  EXPECT_NE(a, b);

  const unsigned char* block = a.data();
  a = *&a;
  EXPECT_EQ(a.data(), block);
  EXPECT_EQ(a.size(), 40u);
  a = std::move(*&a);
  EXPECT_EQ(a.data(), block);
  EXPECT_EQ(a.size(), 40u);

  obAsnBytes c;
  c = a;
  EXPECT_EQ(c, a);
}

TEST(AsnBytesStorage, MovesStealHeapAndCopyInline) {
  std::vector<unsigned char> large(40, 0x44);
  std::vector<unsigned char> small(4, 0x55);
  obAsnBytes heap(large.data(), large.size());
  const unsigned char* block = heap.data();
  obAsnBytes stolen(std::move(heap));
  EXPECT_EQ(stolen.data(), block);
  EXPECT_TRUE(heap.empty());  // NOLINT(bugprone-use-after-move): moved-from state is defined
  heap.Assign(small.data(), small.size());  // a moved-from object is usable again
  EXPECT_TRUE(InsideObject(heap));

  obAsnBytes inl(small.data(), small.size());
  obAsnBytes moved(std::move(inl));
  EXPECT_TRUE(InsideObject(moved));
  EXPECT_EQ(moved, obAsnBytes(small.data(), 4));
  EXPECT_TRUE(inl.empty());  // NOLINT(bugprone-use-after-move)

  // Inline into an object that holds a heap block, and heap into an inline one.
  obAsnBytes target(large.data(), large.size());
  target = std::move(moved);
  EXPECT_EQ(target, obAsnBytes(small.data(), 4));
  obAsnBytes small_target(small.data(), 1);
  small_target = std::move(stolen);
  EXPECT_EQ(small_target.data(), block);
  EXPECT_EQ(small_target.size(), 40u);
}

TEST(AsnBytesStorage, WipeAndClear) {
  std::vector<unsigned char> key(32, 0x77);
  obAsnBytes b(key.data(), key.size());
  b.Wipe();
  EXPECT_EQ(b.size(), 32u);
  for (size_t i = 0; i < b.size(); ++i) EXPECT_EQ(b.data()[i], 0);
  b.Clear();
  EXPECT_TRUE(b.empty());
  EXPECT_EQ(b, obAsnBytes());
  obAsnBytes().Wipe();
}
