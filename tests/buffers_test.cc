// nyBinBuf, obString and the whole-file helpers.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
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
const unsigned char* const kNoBytes = nullptr;

std::string Contents(const nyBinBuf& b) { return std::string(reinterpret_cast<const char*>(b.Data()), b.Len()); }

nyBinBuf Counting(unsigned n) {
  nyBinBuf b(n);
  for (unsigned i = 0; i < n; ++i) b.Data()[i] = static_cast<unsigned char>(i);
  return b;
}

// What a FILE* received, read back from a temporary file.
template <typename Writer>
std::string CaptureFile(Writer write) {
  FILE* f = std::tmpfile();
  write(f);
  std::fflush(f);
  std::string text;
  std::rewind(f);
  for (int c; (c = std::fgetc(f)) != EOF;) text += static_cast<char>(c);
  std::fclose(f);
  return text;
}

std::string Tabs(size_t n) { return std::string(n, '\t'); }

}  // namespace

// ---- nyBinBuf contents ----

TEST(NyBinBufContent, DefaultAndSizedConstruction) {
  nyBinBuf empty;
  EXPECT_EQ(empty.Data(), nullptr);
  EXPECT_EQ(empty.Len(), 0u);
  EXPECT_EQ(empty.IsEmpty(), 1);

  nyBinBuf sized(5u);
  EXPECT_NE(sized.Data(), nullptr);
  EXPECT_EQ(sized.Len(), 5u);
  EXPECT_EQ(sized.IsEmpty(), 0);
}

TEST(NyBinBufContent, ShorterSetKeepsBlockLongerSetReallocates) {
  nyBinBuf b(Bytes("0123456789"), 10);
  const unsigned char* block = b.Data();

  b.Set(Bytes("abc"), 3);
  EXPECT_EQ(b.Data(), block);
  EXPECT_EQ(Contents(b), "abc");

  b.Set(Bytes("vwxyz"), 5);  // still within the original block's size, but longer than len
  EXPECT_EQ(Contents(b), "vwxyz");
  EXPECT_NE(b.Data(), block);
}

TEST(NyBinBufContent, SetFromInsideItsOwnBlock) {
  nyBinBuf b(Bytes("0123456789"), 10);
  b.Set(b.Data() + 4, 6);  // overlapping move within the block
  EXPECT_EQ(Contents(b), "456789");

  // After a shrink the block still holds the old tail; reading it back with a
  // longer Set must copy before the block is released.
  nyBinBuf c(Bytes("0123456789"), 10);
  c.Set(Bytes("ab"), 2);
  c.Set(c.Data(), 10);
  EXPECT_EQ(Contents(c), "ab23456789");
}

TEST(NyBinBufContent, NullSourceEmptiesAndZeroLengthKeepsABlock) {
  nyBinBuf b(Bytes("abc"), 3);
  b.Set(kNoBytes, 5);
  EXPECT_EQ(b.Data(), nullptr);
  EXPECT_EQ(b.Len(), 0u);

  nyBinBuf z;
  z.Set(Bytes("x"), 0);
  EXPECT_NE(z.Data(), nullptr);
  EXPECT_EQ(z.Len(), 0u);
  EXPECT_EQ(z.IsEmpty(), 1);

  nyBinBuf c(Bytes("abc"), 3);
  c.Clear();
  EXPECT_EQ(c.Data(), nullptr);
  EXPECT_EQ(c.Len(), 0u);
}

TEST(NyBinBufContent, SizeForWriting) {
  nyBinBuf b(Bytes("abcdef"), 6);
  const unsigned char* block = b.Data();
  b.Set(3u);
  EXPECT_EQ(b.Data(), block);
  EXPECT_EQ(Contents(b), "abc");

  b.Set(100u);
  EXPECT_EQ(b.Len(), 100u);
  std::memset(b.Data(), 'q', 100);  // the whole new size is writable
  EXPECT_EQ(b.Data()[99], 'q');
}

TEST(NyBinBufContent, CopiesAreDeepAndSelfCopiesHarmless) {
  nyBinBuf a(Bytes("abc"), 3);
  nyBinBuf b(a);
  EXPECT_NE(a.Data(), b.Data());
  b.Data()[0] = 'X';
  EXPECT_EQ(Contents(a), "abc");

  nyBinBuf c;
  c = a;
  EXPECT_NE(c.Data(), a.Data());
  EXPECT_EQ(Contents(c), "abc");

  const unsigned char* block = a.Data();
  a = *&a;
  a.Set(a);
  EXPECT_EQ(a.Data(), block);
  EXPECT_EQ(Contents(a), "abc");
}

TEST(NyBinBufContent, MovesTransferTheBlock) {
  nyBinBuf a(Bytes("abc"), 3);
  const unsigned char* block = a.Data();
  nyBinBuf b(std::move(a));
  EXPECT_EQ(b.Data(), block);
  EXPECT_EQ(a.Data(), nullptr);  // NOLINT(bugprone-use-after-move): moved-from state is defined
  EXPECT_EQ(a.Len(), 0u);

  nyBinBuf c(Bytes("zz"), 2);
  c = std::move(b);
  EXPECT_EQ(c.Data(), block);
  EXPECT_EQ(Contents(c), "abc");
}

TEST(NyBinBufContent, Prepend) {
  nyBinBuf b;
  b.Prepend(Bytes("cd"), 2);
  EXPECT_EQ(Contents(b), "cd");
  b.Prepend(Bytes("ab"), 2);
  EXPECT_EQ(Contents(b), "abcd");
  b.Prepend(b.Data(), 2);  // from its own contents
  EXPECT_EQ(Contents(b), "ababcd");
  b.Prepend(Bytes(""), 0);
  EXPECT_EQ(Contents(b), "ababcd");
  b.Prepend(kNoBytes, 3);
  EXPECT_EQ(Contents(b), "ababcd");
}

TEST(NyBinBufContent, ZeroWipesWithoutShrinking) {
  nyBinBuf b(Bytes("secret"), 6);
  b.Zero();
  EXPECT_EQ(b.Len(), 6u);
  EXPECT_EQ(ToHex(b), "00 00 00 00 00 00");
  nyBinBuf empty;
  empty.Zero();
  EXPECT_EQ(empty.Data(), nullptr);
}

TEST(NyBinBufContent, EqualIsAsymmetricForEmptyBuffers) {
  nyBinBuf null_buf;
  nyBinBuf block_buf;
  block_buf.Set(Bytes("x"), 0);
  ASSERT_NE(block_buf.Data(), nullptr);

  EXPECT_EQ(block_buf.Equal(null_buf), 1);
  EXPECT_EQ(null_buf.Equal(block_buf), 0);
  EXPECT_EQ(block_buf == null_buf, 1);
  EXPECT_EQ(null_buf == block_buf, 0);
  EXPECT_EQ(null_buf != block_buf, 1);
  EXPECT_EQ(null_buf == nyBinBuf(), 1);
}

TEST(NyBinBufContent, EqualComparesLengthAndBytes) {
  nyBinBuf abc(Bytes("abc"), 3);
  EXPECT_EQ(abc == nyBinBuf(Bytes("abc"), 3), 1);
  EXPECT_EQ(abc == nyBinBuf(Bytes("abd"), 3), 0);
  EXPECT_EQ(abc == nyBinBuf(Bytes("ab"), 2), 0);
  EXPECT_EQ(abc == nyBinBuf(Bytes("abcd"), 4), 0);
  EXPECT_EQ(abc == nyBinBuf(), 0);
  // A shrunk buffer compares by its length, not by its block.
  nyBinBuf shrunk(Bytes("abcdef"), 6);
  shrunk.Set(Bytes("abc"), 3);
  EXPECT_EQ(shrunk == abc, 1);
}

// ---- nyBinBuf dumps ----

TEST(NyBinBufDump, FprintLinesOfSixteenWithPrefix) {
  nyBinBuf b = Counting(17);
  std::string out = CaptureFile([&](FILE* f) { b.Fprint(f, 2); });
  EXPECT_EQ(out, "\t\t00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \n\t\t10 \n");

  nyBinBuf exact = Counting(16);
  EXPECT_EQ(CaptureFile([&](FILE* f) { exact.Fprint(f, 0); }),
            "00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \n");
}

TEST(NyBinBufDump, FprintClampsIndentAndSaysEmpty) {
  nyBinBuf one(Bytes("\xAB"), 1);
  EXPECT_EQ(CaptureFile([&](FILE* f) { one.Fprint(f, 200); }), Tabs(79) + "ab \n");
  EXPECT_EQ(CaptureFile([&](FILE* f) { one.Fprint(f, -1); }), Tabs(79) + "ab \n");
  EXPECT_EQ(CaptureFile([&](FILE* f) { one.Fprint(f, 79); }), Tabs(79) + "ab \n");

  nyBinBuf empty;
  EXPECT_EQ(CaptureFile([&](FILE* f) { empty.Fprint(f, 1); }), "\tEmpty\n");
  nyBinBuf block_empty;
  block_empty.Set(Bytes("x"), 0);
  EXPECT_EQ(CaptureFile([&](FILE* f) { block_empty.Fprint(f, 0); }), "Empty\n");
}

TEST(NyBinBufDump, FprintNullStreamIsStandardOutput) {
  nyBinBuf b(Bytes("\x01\x02"), 2);
  testing::internal::CaptureStdout();
  b.Fprint(nullptr, 1);
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\t01 02 \n");
}

TEST(NyBinBufDump, SprintTitleLinesAndIndent) {
  nyBinBuf b = Counting(17);
  ObStream s;
  b.Sprint(&s, "Key", 1);
  EXPECT_EQ(s.str(), "\tKey:\n\t00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \n\t10 \n");

  ObStream untitled;
  nyBinBuf one(Bytes("\xFF"), 1);
  one.Sprint(&untitled, nullptr, -1);
  EXPECT_EQ(untitled.str(), Tabs(79) + "ff \n");

  ObStream wide;
  one.Sprint(&wide, "T", 80);
  EXPECT_EQ(wide.str(), Tabs(79) + "T:\n" + Tabs(79) + "ff \n");

  one.Sprint(nullptr, "T", 0);  // no stream: nothing to do
}

TEST(NyBinBufDump, SprintNeverSaysEmpty) {
  nyBinBuf empty;
  ObStream titled;
  empty.Sprint(&titled, "Data", 2);
  EXPECT_EQ(titled.str(), "\t\tData:\n\n");
  ObStream bare;
  empty.Sprint(&bare, nullptr, 2);
  EXPECT_EQ(bare.str(), "\n");
}

TEST(NyBinBufDump, HerrorThroughTheGate) {
  nyBinBuf b = Counting(17);
  nyBinBuf empty;
  {
    DiagCapture diag(true);
    b.Herror("Sig");
    EXPECT_EQ(diag.Lines(), (std::vector<std::string>{
                                "Sig:", "00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f ", "10 "}));
    diag.Clear();
    empty.Herror("Sig");
    EXPECT_EQ(diag.Lines(), (std::vector<std::string>{"Sig:", "nyBinBuf Empty"}));
    diag.Clear();
    empty.Herror(nullptr);
    EXPECT_EQ(diag.Lines(), (std::vector<std::string>{"nyBinBuf Empty"}));
  }
  {
    DiagCapture diag(false);
    b.Herror("Sig");
    empty.Herror("Sig");
    EXPECT_TRUE(diag.Lines().empty());
  }
}

// ---- obString ----

TEST(ObStringValue, NullAndEmptyTextAreEqualButDifferInStorage) {
  obString from_null(static_cast<const char*>(nullptr));
  obString from_empty("");
  obString deflt;
  EXPECT_EQ(from_null.getstr(), nullptr);
  EXPECT_EQ(deflt.getstr(), nullptr);
  ASSERT_NE(from_empty.getstr(), nullptr);
  EXPECT_EQ(from_empty.getstr()[0], '\0');
  EXPECT_EQ(from_null.length(), 0u);
  EXPECT_EQ(from_empty.length(), 0u);
  EXPECT_EQ(from_null == from_empty, 1);
  EXPECT_EQ(from_empty == from_null, 1);
  EXPECT_EQ(from_null != from_empty, 0);
}

TEST(ObStringValue, CountedConstructionKeepsEmbeddedZeros) {
  obString s("a\0b\0", 4);
  EXPECT_EQ(s.length(), 4u);
  EXPECT_EQ(std::memcmp(s.getstr(), "a\0b\0\0", 5), 0);
  EXPECT_EQ(s == obString("a\0b\0", 4), 1);
  EXPECT_EQ(s == obString("a\0c\0", 4), 0);
  EXPECT_EQ(s == obString("a"), 0);
  EXPECT_EQ(obString("Abc") == obString("abc"), 0);  // case-sensitive

  EXPECT_EQ(obString(nullptr, 5).getstr(), nullptr);
  EXPECT_EQ(obString("abc", 0).getstr(), nullptr);
}

TEST(ObStringValue, CopyOfEmptyOwnsABuffer) {
  obString empty;
  obString copy(empty);
  ASSERT_NE(copy.getstr(), nullptr);
  EXPECT_STREQ(copy.getstr(), "");
  EXPECT_EQ(copy.length(), 0u);

  obString text("hello");
  obString text_copy(text);
  EXPECT_NE(text_copy.getstr(), text.getstr());
  EXPECT_STREQ(text_copy, "hello");
}

TEST(ObStringValue, AssignmentCopiesOnlyBetweenDifferentBuffers) {
  obString a;
  obString b;
  a = b;  // both null: nothing happens
  EXPECT_EQ(a.getstr(), nullptr);

  obString text("abc");
  const char* before = text.getstr();
  text = *&text;
  EXPECT_EQ(text.getstr(), before);

  a = text;
  EXPECT_NE(a.getstr(), text.getstr());
  EXPECT_STREQ(a, "abc");
  a = obString();  // copying a null string leaves an empty one
  EXPECT_EQ(a.length(), 0u);
  EXPECT_EQ(a == obString(), 1);
}

TEST(ObStringValue, SetReplacesEvenFromItsOwnText) {
  obString s("hello world");
  s.Set(s.getstr() + 6);
  EXPECT_STREQ(s, "world");
  EXPECT_EQ(s.length(), 5u);
  s.Set("xy\0z", 4);
  EXPECT_EQ(s.length(), 4u);
  EXPECT_EQ(std::memcmp(s.getstr(), "xy\0z\0", 5), 0);
}

TEST(ObStringValue, Concatenation) {
  obString ab("ab");
  obString joined = ab + obString("cd");
  EXPECT_STREQ(joined, "abcd");
  EXPECT_EQ(joined.length(), 4u);
  EXPECT_STREQ(ab + "!", "ab!");
  EXPECT_STREQ(obString() + "x", "x");
  EXPECT_STREQ(ab + static_cast<const char*>(nullptr), "ab");

  ab += ab;
  EXPECT_STREQ(ab, "abab");
  obString with_zero("a\0", 2);
  with_zero += obString("b");
  EXPECT_EQ(with_zero.length(), 3u);
  EXPECT_EQ(std::memcmp(with_zero.getstr(), "a\0b", 4), 0);
}

TEST(ObStringValue, ZeroToLowerAndPrint) {
  obString pw("Pa55\xC4Word");
  pw.ToLower();
  EXPECT_STREQ(pw, "pa55\xC4word");
  pw.Zero();
  EXPECT_EQ(pw.length(), 9u);
  for (unsigned i = 0; i < pw.length(); ++i) EXPECT_EQ(pw.getstr()[i], '\0');
  obString().Zero();
  obString().ToLower();

  testing::internal::CaptureStdout();
  obString("line").print();
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "line\n");
}

// ---- Buf2File / File2Buf ----

TEST(FileBufIo, RoundTripOfBinaryContent) {
  TempDir dir;
  obString name(dir.File("bin").c_str());
  std::vector<unsigned char> octets = Hex("00 0A 0D 1A FF 0D 0A 00");
  nyBinBuf out(octets.data(), static_cast<unsigned>(octets.size()));
  ASSERT_EQ(Buf2File(name, out), 0);
  nyBinBuf in(Bytes("left over from before, longer"), 29);
  ASSERT_EQ(File2Buf(name, in), 0);
  EXPECT_EQ(ToHex(in), "00 0A 0D 1A FF 0D 0A 00");

  nyBinBuf shorter(Bytes("\x01"), 1);
  ASSERT_EQ(Buf2File(name, shorter), 0);  // truncates
  ASSERT_EQ(File2Buf(name, in), 0);
  EXPECT_EQ(ToHex(in), "01");
}

TEST(FileBufIo, EmptyBufferMakesEmptyFileWhichCannotBeRead) {
  TempDir dir;
  std::string path = dir.File("empty");
  nyBinBuf empty;
  DiagCapture diag(true);
  ASSERT_EQ(Buf2File(obString(path.c_str()), empty), 0);
  struct stat st;
  ASSERT_EQ(stat(path.c_str(), &st), 0);
  EXPECT_EQ(st.st_size, 0);
  EXPECT_TRUE(diag.Lines().empty());

  nyBinBuf in;
  EXPECT_EQ(File2Buf(obString(path.c_str()), in), -1);
  EXPECT_EQ(diag.Lines(),
            (std::vector<std::string>{"File2Buf: Failed to get file length or file is empty- " + path + " "}));
}

TEST(FileBufIo, MissingFilesAndNames) {
  TempDir dir;
  std::string missing = dir.File("nope");
  std::string no_dir = dir.File("nodir/x");
  nyBinBuf buf(Bytes("a"), 1);
  for (bool gate : {true, false}) {
    DiagCapture diag(gate);
    EXPECT_EQ(File2Buf(obString(missing.c_str()), buf), -1);
    EXPECT_EQ(Buf2File(obString(no_dir.c_str()), buf), -1);
    EXPECT_EQ(File2Buf(obString(""), buf), -1);
    EXPECT_EQ(Buf2File(obString(), buf), -1);
    if (gate) {
      EXPECT_EQ(diag.Lines(), (std::vector<std::string>{
                                  "File2Buf: Couldn't open file -  " + missing,
                                  "Buf2File: Couldn't open file -  " + no_dir,
                                  "File2Buf: No file name",
                                  "Buf2File: No file name",
                              }));
    } else {
      EXPECT_TRUE(diag.Lines().empty());
    }
  }
  EXPECT_EQ(ToHex(buf), "61");  // failed reads leave the buffer alone
}

TEST(FileBufIo, DirectoryIsNotReadable) {
  TempDir dir;
  nyBinBuf buf;
  DiagCapture diag(false);
  EXPECT_EQ(File2Buf(obString(dir.path().c_str()), buf), -1);
}

TEST(FileBufIo, WriteFailureIsReported) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
  nyBinBuf buf(Bytes("data"), 4);
  DiagCapture diag(true);
  EXPECT_EQ(Buf2File(obString("/dev/full"), buf), -1);
  EXPECT_EQ(diag.Lines(), (std::vector<std::string>{"Buf2File: Failed to write into file- /dev/full "}));
}
