// Reading PKCS #12 files that the openssl tool writes, under every scheme
// and MAC it offers.
#include "nycert/keystore/pfx_decode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "nycert/asn1/runtime/der_reader.h"
#include "support/p12_files.h"
#include "support/test_support.h"

namespace {

constexpr char kPassword[] = "s3cret-Pass";

// Decodes dir/name under password, expecting the leaf's key, the leaf and
// the CA certificate, linked by name and key identifier.
void ExpectLeafAndCa(const std::string& name, const char* password = kPassword) {
  const P12TestFiles& files = SharedP12Files();
  Bytes pfx = ReadBytes(files.File(name));
  obP12Contents contents;
  obString why;
  ASSERT_EQ(0, obP12_Decode(pfx.data(), pfx.size(), password, contents, why)) << name << ": " << why.getstr();
  int keys = 0, certs = 0;
  nyBinBuf keyId, certId;
  for (const obP12Bag& bag : contents.bags) {
    Bytes der(bag.der.Data(), bag.der.Data() + bag.der.Len());
    if (bag.kind == obP12Bag::kKey) {
      ++keys;
      EXPECT_EQ(files.keyDer, der) << name;
      EXPECT_EQ("leaf name", bag.friendlyName) << name;
      keyId = bag.localKeyId;
    } else if (bag.kind == obP12Bag::kCert) {
      ++certs;
      EXPECT_TRUE(der == files.certDer || der == files.caDer) << name;
      if (der == files.certDer) certId = bag.localKeyId;
    }
  }
  EXPECT_EQ(1, keys) << name;
  EXPECT_EQ(2, certs) << name;
  EXPECT_FALSE(keyId.IsEmpty()) << name;
  EXPECT_TRUE(keyId == certId) << name;
}

struct ExportCase {
  const char* name;
  const char* args;
};

class Pkcs12ReadOpenssl : public ::testing::TestWithParam<ExportCase> {};

TEST_P(Pkcs12ReadOpenssl, GivesBackKeyAndChain) {
  const ExportCase& c = GetParam();
  std::string file = std::string(c.name) + ".p12";
  ASSERT_TRUE(SharedP12Files().Export(file, std::string("-passout pass:") + kPassword + " " + c.args)) << c.args;
  ExpectLeafAndCa(file);
}

const char kLegacy[] = "-provider legacy -provider default ";

INSTANTIATE_TEST_SUITE_P(
    Schemes, Pkcs12ReadOpenssl,
    ::testing::Values(
        ExportCase{"defaults", ""}, ExportCase{"legacy", "-legacy"},
        ExportCase{"aes128", "-keypbe AES-128-CBC -certpbe AES-192-CBC"},
        ExportCase{"des3", "-keypbe DES-EDE3-CBC -certpbe CAMELLIA-256-CBC"},
        ExportCase{"aria", "-keypbe ARIA-128-CBC -certpbe CAMELLIA-128-CBC"},
        ExportCase{"seed_bf", "-provider legacy -provider default -keypbe SEED-CBC -certpbe BF-CBC"},
        ExportCase{"cast_rc2", "-provider legacy -provider default -keypbe CAST5-CBC -certpbe RC2-CBC"},
        ExportCase{"des", "-provider legacy -provider default -keypbe DES-CBC -certpbe DES-CBC"},
        ExportCase{"rc4", "-provider legacy -provider default -keypbe PBE-SHA1-RC4-128 -certpbe PBE-SHA1-RC4-40"},
        ExportCase{"2des_rc2", "-provider legacy -provider default -keypbe PBE-SHA1-2DES -certpbe PBE-SHA1-RC2-128"},
        ExportCase{"pbes1", "-provider legacy -provider default -keypbe PBE-MD5-DES -certpbe PBE-SHA1-RC2-64"},
        ExportCase{"pbes1_sha1", "-provider legacy -provider default -keypbe PBE-SHA1-DES -certpbe PBE-MD5-RC2-64"},
        ExportCase{"mac_sha1", "-macalg sha1"}, ExportCase{"mac_sha384", "-macalg sha384"},
        ExportCase{"mac_sha512_224", "-macalg sha512-224"}, ExportCase{"mac_sha3", "-macalg sha3-256"},
        ExportCase{"mac_md5", "-macalg md5"}, ExportCase{"nomac", "-nomac"},
        ExportCase{"nomaciter", "-nomaciter -iter 1"}, ExportCase{"plain", "-keypbe NONE -certpbe NONE"},
        ExportCase{"plain_nomac", "-keypbe NONE -certpbe NONE -nomac"}),
    [](const ::testing::TestParamInfo<ExportCase>& p) { return std::string(p.param.name); });

TEST(Pkcs12ReadPasswords, EmptyAndNonAscii) {
  const P12TestFiles& files = SharedP12Files();
  ASSERT_TRUE(files.Export("empty.p12", "-passout pass:"));
  ExpectLeafAndCa("empty.p12", "");
  ExpectLeafAndCa("empty.p12", nullptr);
  ASSERT_TRUE(files.Export("empty_legacy.p12", "-legacy -passout pass:"));
  ExpectLeafAndCa("empty_legacy.p12", nullptr);
  ASSERT_TRUE(files.Export("utf8.p12", "-legacy -passout pass:p\xC3\xA4ssw\xC3\xB6rd"));
  ExpectLeafAndCa("utf8.p12", "p\xC3\xA4ssw\xC3\xB6rd");
  ASSERT_TRUE(files.Export("astral.p12", "-passout pass:\xF0\x9F\x98\x80-pass"));
  ExpectLeafAndCa("astral.p12", "\xF0\x9F\x98\x80-pass");
}

TEST(Pkcs12ReadPasswords, WrongPasswordIsReportedAsSuch) {
  const P12TestFiles& files = SharedP12Files();
  ASSERT_TRUE(files.Export("wrong.p12", "-passout pass:right-one"));
  ASSERT_TRUE(files.Export("wrong_nomac.p12", "-passout pass:right-one -nomac"));
  for (const char* name : {"wrong.p12", "wrong_nomac.p12"}) {
    Bytes pfx = ReadBytes(files.File(name));
    obP12Contents contents;
    obString why;
    EXPECT_EQ(kP12WrongPassword, obP12_Decode(pfx.data(), pfx.size(), "Right-one", contents, why)) << name;
    EXPECT_TRUE(contents.bags.empty());
    EXPECT_EQ(kP12WrongPassword, obP12_Decode(pfx.data(), pfx.size(), nullptr, contents, why)) << name;
  }
}

// DER turned into BER as some writers send it: every constructed element
// with an indefinite length, and OCTET STRINGs cut into constructed
// segments of at most seven octets.
void AppendBer(const unsigned char* der, size_t len, Bytes& out) {
  obDerReader reader(der, len);
  obDerElement e;
  while (reader.Next(e)) {
    if (e.tag == kDerOctetString && e.content.size > 7) {
      out.insert(out.end(), {0x24, 0x80});
      for (size_t at = 0; at < e.content.size; at += 7) {
        size_t n = std::min<size_t>(7, e.content.size - at);
        out.insert(out.end(), {0x04, static_cast<unsigned char>(n)});
        out.insert(out.end(), e.content.data + at, e.content.data + at + n);
      }
      out.insert(out.end(), {0x00, 0x00});
    } else if (e.tlv.data[0] & 0x20) {
      out.push_back(e.tlv.data[0]);  // the tags here are one octet
      out.push_back(0x80);
      AppendBer(e.content.data, e.content.size, out);
      out.insert(out.end(), {0x00, 0x00});
    } else {
      out.insert(out.end(), e.tlv.data, e.tlv.data + e.tlv.size);
    }
  }
}

TEST(Pkcs12ReadBer, IndefiniteLengthsAndSegmentedStrings) {
  for (const char* args : {"", "-legacy"}) {
    std::string name = std::string("ber") + args + ".p12";
    ASSERT_TRUE(SharedP12Files().Export(name, std::string("-passout pass:") + kPassword + " " + args));
    Bytes der = ReadBytes(SharedP12Files().File(name));
    Bytes ber;
    AppendBer(der.data(), der.size(), ber);
    ASSERT_NE(der, ber);
    WriteBytes(SharedP12Files().File("indef_" + name), ber);
    ExpectLeafAndCa("indef_" + name);
  }
}

TEST(Pkcs12ReadMalformed, TruncatedAndGarbageAreRefused) {
  const P12TestFiles& files = SharedP12Files();
  ASSERT_TRUE(files.Export("trunc.p12", std::string("-passout pass:") + kPassword));
  Bytes pfx = ReadBytes(files.File("trunc.p12"));
  obP12Contents contents;
  obString why;
  for (size_t cut : {size_t{0}, size_t{1}, pfx.size() / 2, pfx.size() - 1}) {
    EXPECT_EQ(kP12Malformed, obP12_Decode(pfx.data(), cut, kPassword, contents, why)) << cut;
  }
  // A flipped octet inside the protected content fails the MAC.
  Bytes flipped = pfx;
  flipped[flipped.size() / 2] ^= 0x01;
  EXPECT_GT(0, obP12_Decode(flipped.data(), flipped.size(), kPassword, contents, why));
  EXPECT_TRUE(contents.bags.empty());
}

}  // namespace
