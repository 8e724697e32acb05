// Writing PKCS #12 files that the openssl tool reads, in the default and
// the legacy layout.
#include "nycert/keystore/pfx_encode.h"

#include <gtest/gtest.h>

#include <string>

#include "nycert/keystore/pfx_decode.h"
#include "support/p12_files.h"
#include "support/test_support.h"

namespace {

// The leaf's key and chain as read back from an openssl export.
obP12Contents LeafContents() {
  const P12TestFiles& files = SharedP12Files();
  EXPECT_TRUE(files.Export("source.p12", "-passout pass:source"));
  Bytes pfx = ReadBytes(files.File("source.p12"));
  obP12Contents contents;
  obString why;
  EXPECT_EQ(0, obP12_Decode(pfx.data(), pfx.size(), "source", contents, why)) << why.getstr();
  return contents;
}

size_t Count(const std::string& text, const std::string& what) {
  size_t n = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

struct Layout {
  const char* name;
  bool legacy;
  const char* opensslArgs;
  const char* keyScheme;  // what `openssl pkcs12 -info` names
  const char* mac;
};

class Pkcs12WriteOpenssl : public ::testing::TestWithParam<Layout> {};

TEST_P(Pkcs12WriteOpenssl, ReadsKeyAndChainBack) {
  const Layout& layout = GetParam();
  const P12TestFiles& files = SharedP12Files();
  obP12Contents contents = LeafContents();
  nyBinBuf out;
  obString why;
  obP12WriteOptions options = layout.legacy ? obP12WriteOptions::Legacy() : obP12WriteOptions();
  ASSERT_EQ(0, obP12_Encode(contents, "n3w-Pass", options, out, why)) << why.getstr();
  std::string file = std::string("written_") + layout.name + ".p12";
  WriteBytes(files.File(file), Bytes(out.Data(), out.Data() + out.Len()));

  std::string info =
      OpensslOutput(files.dir, "pkcs12 -info -nodes -passin pass:n3w-Pass " + std::string(layout.opensslArgs) +
                                   " -in " + file);
  EXPECT_EQ(1u, Count(info, "BEGIN PRIVATE KEY")) << info;
  EXPECT_EQ(2u, Count(info, "BEGIN CERTIFICATE")) << info;
  EXPECT_EQ(2u, Count(info, "friendlyName: leaf name")) << info;
  EXPECT_NE(std::string::npos, info.find(layout.keyScheme)) << info;
  EXPECT_NE(std::string::npos, info.find(layout.mac)) << info;
  EXPECT_FALSE(Openssl(files.dir, "pkcs12 -nodes -passin pass:n3w-pass " + std::string(layout.opensslArgs) +
                                      " -in " + file + " -out /dev/null"));

  obP12Contents again;
  ASSERT_EQ(0, obP12_Decode(out.Data(), out.Len(), "n3w-Pass", again, why)) << why.getstr();
  ASSERT_EQ(contents.bags.size(), again.bags.size());
  for (size_t i = 0; i < again.bags.size(); ++i) {
    EXPECT_TRUE(contents.bags[i].der == again.bags[i].der);
    EXPECT_EQ(contents.bags[i].friendlyName, again.bags[i].friendlyName);
    EXPECT_TRUE(contents.bags[i].localKeyId == again.bags[i].localKeyId);
  }
  EXPECT_EQ(!layout.legacy, again.sawPbes2);
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, Pkcs12WriteOpenssl,
    ::testing::Values(Layout{"default", false, "", "PBES2, PBKDF2, AES-256-CBC, Iteration 2048, PRF hmacWithSHA256",
                             "MAC: sha256, Iteration 2048"},
                      Layout{"legacy", true, "-legacy", "pbeWithSHA1And3-KeyTripleDES-CBC, Iteration 2048",
                             "MAC: sha1, Iteration 2048"}),
    [](const ::testing::TestParamInfo<Layout>& p) { return std::string(p.param.name); });

TEST(Pkcs12WriteFresh, SaltsDifferFromFileToFile) {
  obP12Contents contents = LeafContents();
  nyBinBuf a, b;
  obString why;
  ASSERT_EQ(0, obP12_Encode(contents, "same-pass", obP12WriteOptions(), a, why));
  ASSERT_EQ(0, obP12_Encode(contents, "same-pass", obP12WriteOptions(), b, why));
  EXPECT_FALSE(a == b);
}

// Names read from a file go back unchanged, U+0000 and characters beyond
// the BMP included.
TEST(Pkcs12WriteNames, UnusualCharactersComeBackWhole) {
  obP12Contents contents = LeafContents();
  const std::string names[] = {std::string("\0", 1), std::string("s\x07\0d", 4),
                               std::string("\0\xE1\x81\xA5\xF0\x9F\x98\x80", 8)};
  ASSERT_EQ(3u, contents.bags.size());
  for (size_t i = 0; i < contents.bags.size(); ++i) contents.bags[i].friendlyName = names[i];
  nyBinBuf out;
  obString why;
  ASSERT_EQ(0, obP12_Encode(contents, "same-pass", obP12WriteOptions(), out, why)) << why.getstr();
  obP12Contents again;
  ASSERT_EQ(0, obP12_Decode(out.Data(), out.Len(), "same-pass", again, why)) << why.getstr();
  ASSERT_EQ(contents.bags.size(), again.bags.size());
  for (size_t i = 0; i < again.bags.size(); ++i) EXPECT_EQ(contents.bags[i].friendlyName, again.bags[i].friendlyName);
}

}  // namespace
