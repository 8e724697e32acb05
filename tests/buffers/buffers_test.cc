// nyBinBuf, obString and the whole-file helpers.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "nycert/buffers/filebuf.h"
#include "nycert/buffers/nybinbuf.h"
#include "nycert/buffers/obstring.h"
#include "nycert/platform/obstream.h"
#include "support/test_support.h"

namespace {

const unsigned char* Bytes(const char* text) { return reinterpret_cast<const unsigned char*>(text); }

std::string Contents(const nyBinBuf& b) { return std::string(reinterpret_cast<const char*>(b.Data()), b.Len()); }
std::string Contents(const obString& s) { return std::string(s.getstr(), s.length() + 1); }  // with the NUL

nyBinBuf Counting(unsigned n) {
  nyBinBuf b(n);
  for (unsigned i = 0; i < n; ++i) b.Data()[i] = static_cast<unsigned char>(i);
  return b;
}

// An empty buffer that owns a block.
nyBinBuf EmptyBlock() {
  nyBinBuf b;
  b.Set(Bytes("x"), 0);
  return b;
}

std::string Sprinted(const nyBinBuf& b, const char* title, int indent) {
  ObStream s;
  b.Sprint(&s, title, indent);
  return s.str();
}

const std::string kSixteen = "00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f ";

}  // namespace

TEST(NyBinBufContent, SetKeepsTheBlockOnlyWhenShorter) {
  nyBinBuf b(Bytes("0123456789"), 10);
  const unsigned char* block = b.Data();
  b.Set(Bytes("vwxyz"), 5);
  EXPECT_EQ(b.Data(), block);
  b.Set(3u);  // sizing for writing keeps the first bytes in place
  EXPECT_EQ(Contents(b), "vwx");
  b.Set(100u);
  std::memset(b.Data(), 'q', 100);  // the whole new size is writable
  b.Set(static_cast<const unsigned char*>(nullptr), 5);
  EXPECT_EQ(b.Data(), nullptr);
  EXPECT_EQ(EmptyBlock().IsEmpty(), 1);
}

TEST(NyBinBufContent, SourcesInsideItsOwnBlock) {
  nyBinBuf b(Bytes("0123456789"), 10);
  b.Set(b.Data() + 4, 6);
  EXPECT_EQ(Contents(b), "456789");
  // After a shrink the block still holds the old tail; a longer Set from it
  // must copy before the block is released.
  nyBinBuf c(Bytes("0123456789"), 10);
  c.Set(Bytes("ab"), 2);
  c.Set(c.Data(), 10);
  EXPECT_EQ(Contents(c), "ab23456789");
  nyBinBuf p;
  p.Prepend(Bytes("cd"), 2);
  p.Prepend(Bytes("ab"), 2);
  p.Prepend(p.Data(), 2);
  p.Prepend(Bytes(""), 0);
  p.Prepend(nullptr, 3);  // a null source adds nothing
  EXPECT_EQ(Contents(p), "ababcd");
}

TEST(NyBinBufContent, CopiesMovesAndZero) {
  nyBinBuf a(Bytes("abc"), 3);
  nyBinBuf b(a), c;
  b.Data()[0] = 'X';
  c = a;
  EXPECT_EQ(Contents(a) + Contents(b) + Contents(c), "abcXbcabc");
  const unsigned char* block = a.Data();
  a = *&a;
  a.Set(a);
  nyBinBuf moved(std::move(a));
  EXPECT_EQ(moved.Data(), block);
  EXPECT_EQ(a.Data(), nullptr);  // NOLINT(bugprone-use-after-move): moved-from state is defined
  moved.Zero();
  EXPECT_EQ(ToHex(moved), "00 00 00");
  nyBinBuf().Zero();
}

TEST(NyBinBufContent, EqualIsAsymmetricForEmptyBuffers) {
  nyBinBuf null_buf, block_buf = EmptyBlock(), abc(Bytes("abc"), 3);
  EXPECT_EQ(block_buf == null_buf, 1);
  EXPECT_EQ(null_buf != block_buf, 1);
  EXPECT_EQ(null_buf == nyBinBuf(), 1);
  EXPECT_EQ(abc == nyBinBuf(), 0);
  for (const char* other : {"abd", "ab", "abcd"}) {
    EXPECT_EQ(abc == nyBinBuf(Bytes(other), static_cast<unsigned>(std::strlen(other))), 0) << other;
  }
  nyBinBuf shrunk(Bytes("abcdef"), 6);  // compares by its length, not its block
  shrunk.Set(Bytes("abc"), 3);
  EXPECT_EQ(shrunk == abc, 1);
}

TEST(NyBinBufDump, FprintSprintAndHerrorForms) {
  nyBinBuf b17 = Counting(17), one(Bytes("\xAB"), 1), empty;
  EXPECT_EQ(Printed([&](FILE* f) { b17.Fprint(f, 2); }), "\t\t" + kSixteen + "\n\t\t10 \n");
  for (int indent : {200, -1}) {
    EXPECT_EQ(Printed([&](FILE* f) { one.Fprint(f, indent); }), std::string(79, '\t') + "ab \n") << indent;
  }
  EXPECT_EQ(Printed([&](FILE* f) { EmptyBlock().Fprint(f, 1); }), "\tEmpty\n");
  EXPECT_EQ(Printed([&](FILE* f) { one.Fprint(f, 1); }, true), "\tab \n");

  EXPECT_EQ(Sprinted(b17, "Key", 1), "\tKey:\n\t" + kSixteen + "\n\t10 \n");
  EXPECT_EQ(Sprinted(one, "T", 80), std::string(79, '\t') + "T:\n" + std::string(79, '\t') + "ab \n");
  EXPECT_EQ(Sprinted(empty, "Data", 2), "\t\tData:\n\n");  // never "Empty"
  EXPECT_EQ(Sprinted(empty, nullptr, 2), "\n");
  one.Sprint(nullptr, "T", 0);

  auto dump = [&] {
    b17.Herror("Sig");
    empty.Herror(nullptr);
    return 0;
  };
  Gated(dump);
  DiagCapture diag(true);
  dump();
  EXPECT_EQ(diag.Lines(), (std::vector<std::string>{"Sig:", kSixteen, "10 ", "nyBinBuf Empty"}));
}

TEST(ObStringValue, NullEmptyAndCountedTexts) {
  obString from_null(static_cast<const char*>(nullptr)), from_empty("");
  EXPECT_EQ(from_null.getstr(), nullptr);
  ASSERT_NE(from_empty.getstr(), nullptr);
  EXPECT_EQ(from_null == from_empty, 1);
  EXPECT_EQ(from_empty != from_null, 0);
  EXPECT_EQ(obString(nullptr, 5).getstr(), nullptr);
  EXPECT_EQ(obString("abc", 0).getstr(), nullptr);
  obString s("a\0b\0", 4);  // embedded NULs are kept and compared
  EXPECT_EQ(Contents(s), std::string("a\0b\0\0", 5));
  EXPECT_EQ(s == obString("a\0b\0", 4), 1);
  EXPECT_EQ(s == obString("a\0c\0", 4), 0);
  EXPECT_EQ(s == obString("a"), 0);
  EXPECT_EQ(obString("Abc") == obString("abc"), 0);
}

TEST(ObStringValue, CopiesSetConcatenationAndCase) {
  obString empty, text("abc"), a;
  obString copy(empty);  // copying an empty string allocates
  EXPECT_STREQ(copy.getstr(), "");
  const char* before = text.getstr();
  text = *&text;
  EXPECT_EQ(text.getstr(), before);
  a = text;
  EXPECT_NE(a.getstr(), text.getstr());
  EXPECT_STREQ(a, "abc");
  obString s("hello world");
  s.Set(s.getstr() + 6);  // from its own text
  EXPECT_EQ(Contents(s), std::string("world\0", 6));

  obString ab("ab");
  EXPECT_STREQ(obString() + "x", "x");
  EXPECT_STREQ(ab + static_cast<const char*>(nullptr), "ab");
  ab += ab;
  EXPECT_EQ(Contents(ab), std::string("abab\0", 5));
  obString with_zero("a\0", 2);
  with_zero += obString("b");
  EXPECT_EQ(Contents(with_zero), std::string("a\0b\0", 4));
  obString pw("Pa55\xC4Word");
  pw.ToLower();
  EXPECT_STREQ(pw, "pa55\xC4word");
  pw.Zero();
  EXPECT_EQ(Contents(pw), std::string(10, '\0'));
  obString().Zero();
  obString().ToLower();
  EXPECT_EQ(Printed([](FILE*) { obString("line").print(); }, true), "line\n");
}

TEST(FileBufIo, RoundTripOfBinaryContent) {
  TempDir dir;
  obString name(dir.File("bin").c_str());
  std::vector<unsigned char> octets = Hex("00 0A 0D 1A FF 0D 0A 00");
  nyBinBuf out(octets.data(), 8), in(Bytes("left over from before, longer"), 29), shorter(Bytes("\x01"), 1);
  ASSERT_EQ(Buf2File(name, out), 0);
  ASSERT_EQ(File2Buf(name, in), 0);
  EXPECT_EQ(ToHex(in), "00 0A 0D 1A FF 0D 0A 00");
  ASSERT_EQ(Buf2File(name, shorter), 0);  // truncates
  ASSERT_EQ(File2Buf(name, in), 0);
  EXPECT_EQ(ToHex(in), "01");
}

TEST(FileBufIo, FailuresAndTheirMessages) {
  TempDir dir;
  std::string empty_file = dir.File("empty"), missing = dir.File("nope"), no_dir = dir.File("nodir/x");
  nyBinBuf buf(Bytes("a"), 1), none;
  // An empty buffer makes an empty file, which cannot be read back.
  EXPECT_EQ(Gated([&] { return Buf2File(obString(empty_file.c_str()), none); }), 0);
  struct stat st;
  ASSERT_EQ(stat(empty_file.c_str(), &st), 0);
  EXPECT_EQ(st.st_size, 0);
  bool full = access("/dev/full", W_OK) == 0;
  struct Case {
    std::function<int()> op;
    std::string message;
  } cases[] = {{[&] { return File2Buf(obString(empty_file.c_str()), buf); },
                "File2Buf: Failed to get file length or file is empty- " + empty_file + " "},
               {[&] { return File2Buf(obString(missing.c_str()), buf); }, "File2Buf: Couldn't open file -  " + missing},
               {[&] { return Buf2File(obString(no_dir.c_str()), buf); }, "Buf2File: Couldn't open file -  " + no_dir},
               {[&] { return File2Buf(obString(""), buf); }, "File2Buf: No file name"},
               {[&] { return Buf2File(obString(), buf); }, "Buf2File: No file name"},
               {[&] { return File2Buf(obString(dir.path().c_str()), buf); }, ""},
               {[&] { return full ? Buf2File(obString("/dev/full"), buf) : -1; },
                full ? "Buf2File: Failed to write into file- /dev/full " : ""}};
  for (const Case& c : cases) EXPECT_EQ(Gated(c.op, c.message), -1) << c.message;
  EXPECT_EQ(ToHex(buf), "61");  // failed reads leave the buffer alone
}
