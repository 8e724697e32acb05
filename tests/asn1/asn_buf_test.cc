// Read and write cursors, nesting guard, the obAsnType base, printing helpers,
// whole-value encode/decode and obAsnBytes.
#include <gtest/gtest.h>

#include <cstring>

#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_bytes.h"
#include "nycert/asn1/runtime/asn_octs.h"
#include "nycert/asn1/runtime/asn_print.h"

namespace {

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

}  // namespace

TEST(AsnReadCursor, BytesSegmentsSkipsAndBack) {
  std::vector<unsigned char> data = Hex("10 11 12 13 14");
  obAsnReadBuf b(data.data(), data.size());
  EXPECT_EQ(b.PeekByte(), 0x10);
  EXPECT_EQ(b.GetByte(), 0x10);
  unsigned long n = 1;
  EXPECT_EQ(b.GetSeg(&n), data.data() + 1);
  unsigned char out[4] = {0xEE, 0xEE, 0xEE, 0xEE};
  EXPECT_EQ(b.CopyOut(out, 2), 2u);
  EXPECT_EQ(ToHex(out, 3), "12 13 EE");
  // Too few left: nothing is copied, the cursor stays, the count left comes back.
  EXPECT_EQ(b.CopyOut(out + 2, 3), 1u);
  EXPECT_EQ(out[2], 0xEE);
  EXPECT_EQ(b.Offset(), 4);
  n = 10;
  EXPECT_EQ(b.GetSeg(&n), data.data() + 4);  // cut to what remains
  EXPECT_EQ(n, 1u);
  EXPECT_EQ(Gated([&] { return b.PeekByte(); }, "obAsnReadBuf::PeekByte reached the end of buf"), -1);
  EXPECT_EQ(Gated([&] { return b.GetByte(); }, "obAsnReadBuf::GetByte reached the end of buf"), -1);
  EXPECT_EQ(Gated([&] { return b.Back(6); }, "obAsnReadBuf::Back attempt to return 6 failed"), -1);
  EXPECT_EQ(b.Offset(), 5);
  EXPECT_EQ(b.Back(5), 1);
  EXPECT_EQ(b.Skip(3), 3u);
  EXPECT_EQ(b.Skip(9), 2u);
  EXPECT_EQ(b.Remaining(), 0u);
  EXPECT_EQ(obAsnReadBuf(nullptr, 0).GetByte(), -1);
}

TEST(AsnReadCursor, NestGuardRefusesBeyondTheLimitAndUnwinds) {
  std::vector<unsigned char> data = Hex("30 00");
  obAsnReadBuf b(data.data(), data.size());
  // Recursion as a decoder would do it, one guard per level.
  std::function<int(unsigned)> descend = [&](unsigned level) {
    obAsnNestGuard g(b);
    if (!g.Ok()) return static_cast<int>(level);
    return level == 1000 ? -1 : descend(level + 1);
  };
  EXPECT_EQ(Gated([&] { return descend(1); }, "obAsnReadBuf: nesting deeper than 64 levels before offset = 0"),
            static_cast<int>(kAsnMaxDepth) + 1);
  EXPECT_EQ(b.depth, 0u);
}

TEST(AsnWriteCursor, FillsBackToFrontAndStopsAtTheStart) {
  unsigned char block[4];
  obAsnWriteBuf w(block, sizeof block);
  std::vector<unsigned char> two = Hex("01 02");
  EXPECT_EQ(w.PutByte(0x03), 1);
  EXPECT_EQ(w.PutSeg(two.data(), 2), 2);
  EXPECT_EQ(
      Gated([&] { return static_cast<int>(w.PutSeg(two.data(), 2)); }, "obAsnWriteBuf::PutSeg reached the end of buf"),
      -1);  // one octet of room: nothing is written
  EXPECT_EQ(w.writeError, 1);
  EXPECT_EQ(w.PutByte(0x00), 1);
  EXPECT_EQ(Gated([&] { return w.PutByte(0xFF); }, "obAsnWriteBuf::PutByte reached the end of buf"), -1);
  EXPECT_EQ(ToHex(block, 4), "00 01 02 03");
  EXPECT_EQ(w.Written(), 4u);
  w.Reset();
  EXPECT_EQ(w.writeError, 0);
  EXPECT_EQ(w.Written(), 0u);
  EXPECT_EQ(w.PutByte(0x09), 1);
  EXPECT_EQ(block[3], 0x09);

  obAsnWriteBuf measure(nullptr, 100);
  std::vector<unsigned char> big(70000, 1);
  EXPECT_EQ(measure.PutByte(7), 1);
  EXPECT_EQ(measure.PutSeg(big.data(), big.size()), 70000);
  EXPECT_EQ(measure.Written(), 70001u);
  EXPECT_EQ(measure.writeError, 0);
}

TEST(AsnTypeBase, UnresolvedFallBacksFail) {
  obAsnType base;
  EXPECT_EQ(base.IsType("obAsnType"), &base);
  EXPECT_EQ(base.IsType(nullptr), nullptr);
  EXPECT_EQ(base.Clone(), nullptr);
  EXPECT_EQ(base.Copy(), nullptr);
  EXPECT_EQ(
      Gated([&] { return DecodeHex(base, "02 01 05"); }, "obAsnType::BDec attempt tp decode improperly formed of Any"),
      -1);
  EXPECT_EQ(
      Gated([&] { return EncodeIntoRoom(base, 8); }, "obAsnType::BEec attempt tp encode improperly formed of Any"), -1);
  EXPECT_EQ(Gated([&] { return EncodeIntoRoom(base, kMeasuring); }), -1);
  Gated([&] { return base.Herror(2), 0; }, "    obAsnType::Herror attempt tp print improperly formed of Any");
  // Print writes whatever the gate.
  DiagCapture shut(false);
  const std::string print_text = "obAsnType::Print attempt tp print improperly formed of Any\n ";
  EXPECT_EQ(Printed([&](FILE* f) { base.Print(f, 3); }), print_text);
  EXPECT_EQ(Printed([&](FILE* f) { base.Print(f, 0); }, true), print_text);
}

TEST(AsnTypeBase, DerivedTypesPrintThroughSprint) {
  obAsnOcts v(Hex("01 02 03").data(), 3);
  obAsnType& as_base = v;
  EXPECT_EQ(as_base.IsType("obAsnOcts"), &v);
  EXPECT_EQ(as_base.IsType("obasnocts"), nullptr);
  EXPECT_EQ(as_base.IsType("obAsnType"), nullptr);
  EXPECT_EQ(Printed([&](FILE* f) { v.Print(f, 1); }), "  01 02 03 \n");
  Gated([&] { return v.Herror(2), 0; }, "    01 02 03 ");
}

TEST(AsnPrintHelpers, IndentHexAndCharacterDumps) {
  EXPECT_STREQ(obAsnIndent(-3), "");
  EXPECT_EQ(std::string(obAsnIndent(19)), std::string(38, ' '));
  EXPECT_EQ(std::string(obAsnIndent(1 << 30)), std::string(38, ' '));

  std::vector<unsigned char> data(21);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<unsigned char>(i);
  ObStream s;
  obAsnSprintHex(&s, data.data(), data.size(), 1);
  obAsnSprintHex(&s, data.data(), 0, 0);
  obAsnSprintHex(nullptr, data.data(), 4, 0);
  EXPECT_EQ(s.str(), "  00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 \n  14 \n");
  std::vector<unsigned char> big(2000, 0xAB);
  ObStream capped;
  obAsnSprintHex(&capped, big.data(), big.size(), 0);
  EXPECT_EQ(capped.str(), Repeat(Repeat("ab ", 20) + "\n", 80));  // 1600 octets at most

  const unsigned char text[] = "Hi\x01\x1f\x7f\x80\xff ~!abcdefghijklmnopq";
  ObStream chars;
  obAsnSprintChars(&chars, text, sizeof text - 1, 2);
  EXPECT_EQ(chars.str(), "    Hi..... ~!abcdefghij\n    klmnopq\n");

  DiagCapture diag(true);
  obAsnHerrorLines("one\n  two\n\nfour");
  EXPECT_EQ(diag.Lines(), (std::vector<std::string>{"one", "  two", "", "four"}));
}

TEST(AsnWholeValue, EncodeAndDecodeRoundTrip) {
  std::vector<unsigned char> content(300);
  for (size_t i = 0; i < content.size(); ++i) content[i] = static_cast<unsigned char>(i * 7);
  obAsnOcts v(content.data(), content.size());
  nyBinBuf der(Hex("DE AD").data(), 2);
  ASSERT_EQ(obAsnEncode(v, der), 0);
  ASSERT_EQ(der.Len(), 304u);
  EXPECT_EQ(ToHex(der.Data(), 6), "04 82 01 2C 00 07");
  obAsnOcts back;
  ASSERT_EQ(obAsnDecode(back, der.Data(), der.Len()), 0);
  EXPECT_EQ(back, v);

  EXPECT_EQ(Gated([&] { return DecodeHex(back, "04 01 AA 00"); }, "obAsnDecode: 1 octets left after the value"), -1);
  EXPECT_EQ(Gated([&] { return DecodeHex(back, "04 05 AA"); }), -1);
  EXPECT_EQ(Gated([&] { return obAsnDecode(back, nullptr, 0); }), -1);

  obAsnType unresolved;
  nyBinBuf out(Hex("01").data(), 1);
  EXPECT_EQ(Gated([&] { return obAsnEncode(unresolved, out); }), -1);
  EXPECT_EQ(ToHex(out), "01");  // a failed measuring pass leaves out alone
  Inconsistent liar;
  EXPECT_EQ(Gated([&] { return obAsnEncode(liar, out); }, "obAsnBufSet::Encoded writeError"), -1);
  EXPECT_EQ(out.Len(), 0u);
}

TEST(AsnWholeValue, BufSetJoinsSegmentsAndRefusesBadOnes) {
  obAsnBufSet set;
  std::vector<unsigned char> raw = Hex("05 00");
  EXPECT_EQ(set.Put(obAsnOcts("\x01\x02")), 4);
  EXPECT_EQ(set.Put(raw.data(), 2), 2);
  EXPECT_EQ(set.Put(obAsnOcts()), 2);
  EXPECT_EQ(set.Put(raw.data(), 0), 0);
  obAsnType unresolved;
  EXPECT_EQ(Gated([&] { return set.Put(unresolved); }, "obAsnBufSet::Encoded attempt to put segmant failed"), -1);
  // A null segment with a length is refused rather than read.
  EXPECT_EQ(Gated([&] { return set.Put(nullptr, 3); }, "obAsnBufSet::Encoded attempt to put segmant failed"), -1);
  EXPECT_EQ(set.Len(), 8u);
  nyBinBuf out(Hex("FF FF FF FF FF FF FF FF FF FF").data(), 10);
  EXPECT_EQ(set.Encoded(out), 0);
  EXPECT_EQ(ToHex(out), "04 02 01 02 05 00 04 00");
  nyBinBuf nothing;
  EXPECT_EQ(obAsnBufSet().Encoded(nothing), 0);
  EXPECT_EQ(nothing.Len(), 0u);
}

TEST(AsnBytesStorage, ContentsSurviveGrowthCopiesAndMoves) {
  std::vector<unsigned char> data(40);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<unsigned char>(i);
  auto first = [&](size_t n) { return obAsnBytes(data.data(), n); };
  obAsnBytes b = first(20);
  b.Append(data.data() + 20, 20);  // from inline storage to the heap
  EXPECT_EQ(b, first(40));
  b.Assign(data.data(), 3);
  unsigned char* p = b.Resize(1000);
  EXPECT_EQ(std::memcmp(p, data.data(), 3), 0);
  b.Resize(2);
  EXPECT_EQ(b, first(2));

  obAsnBytes copy(first(40)), moved(first(40));
  const unsigned char* block = moved.data();
  copy.data()[0] = 0xFF;
  EXPECT_NE(copy, first(40));
  copy = *&copy;
  moved = std::move(*&moved);
  obAsnBytes stolen(std::move(moved));
  EXPECT_EQ(stolen.data(), block);  // a heap block is taken over
  EXPECT_TRUE(moved.empty());       // NOLINT(bugprone-use-after-move): moved-from state is defined
  obAsnBytes small_target = first(1), large_target = first(40);
  small_target = std::move(stolen);
  large_target = first(4);
  EXPECT_EQ(small_target, first(40));
  EXPECT_EQ(large_target, first(4));
  large_target.Wipe();
  EXPECT_EQ(ToHex(large_target.data(), large_target.size()), "00 00 00 00");
}

TEST(AsnBytesStorage, SourcesInsideItself) {
  std::vector<unsigned char> abc = Hex("0A 0B 0C 0D 0E 0F");
  obAsnBytes shift(abc.data(), abc.size()), doubled(abc.data(), abc.size());
  shift.Assign(shift.data() + 2, 3);
  EXPECT_EQ(shift, obAsnBytes(abc.data() + 2, 3));
  // Doubling repeatedly: the source is the block being replaced.
  for (int i = 0; i < 6; ++i) doubled.Append(doubled.data(), doubled.size());
  ASSERT_EQ(doubled.size(), 6u * 64);
  for (size_t i = 0; i < doubled.size(); ++i) ASSERT_EQ(doubled.data()[i], abc[i % 6]) << i;
}
