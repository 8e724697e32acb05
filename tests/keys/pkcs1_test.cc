// PKCS #1 v1.5 blocks, DigestInfo, the signature comparison and the RSA key encodings.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "nycert/asn1/modules/pkcs1.h"
#include "nycert/keys/digest_info.h"
#include "nycert/keys/pkcs1_pad.h"
#include "nycert/keys/rsa_key_formats.h"
#include "support/test_support.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Seq(int n, int first = 1) {
  Bytes out;
  for (int i = 0; i < n; ++i) out.push_back(static_cast<unsigned char>(first + i));
  return out;
}

Bytes ToBytes(const nyBinBuf& b) { return Bytes(b.Data(), b.Data() + b.Len()); }

Bytes Cat(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

Bytes DigestInfo(const Bytes& digest, ob_md_type md) {
  nyBinBuf out;
  EXPECT_EQ(nyPKCS1DigestInfo(digest.data(), static_cast<unsigned>(digest.size()), md, out), 0);
  return ToBytes(out);
}

Bytes Unpad(int type, const Bytes& block) {
  Bytes out(block.size());
  int n = obpkcs1unpad(type, out.data(), block.data(), static_cast<int>(block.size()));
  out.resize(n > 0 ? static_cast<size_t>(n) : 0);
  return out;
}

TEST(Pkcs1Pad, RoundTripsEveryTypeAndSize) {
  for (int type = 0; type <= 2; ++type) {
    for (int k : {12, 23, 64, 128, 256, 512}) {
      for (int dataLen : {1, 8, k / 2, k - 11, k - 3}) {
        SCOPED_TRACE("type " + std::to_string(type) + " k " + std::to_string(k) + " D " + std::to_string(dataLen));
        Bytes data = Seq(dataLen, 7), block(static_cast<size_t>(k));
        ASSERT_EQ(obpkcs1pad(type, data.data(), dataLen, block.data(), k), 0);
        int pad = k - dataLen - 3;
        EXPECT_EQ(block[0], 0);
        EXPECT_EQ(block[1], type);
        for (int i = 2; i < 2 + pad; ++i) {
          if (type == 2) ASSERT_NE(block[i], 0) << "at " << i;
          else ASSERT_EQ(block[i], type == 0 ? 0x00 : 0xFF) << "at " << i;
        }
        EXPECT_EQ(block[2 + pad], 0);
        EXPECT_EQ(Bytes(block.begin() + 3 + pad, block.end()), data);
        EXPECT_EQ(obpkcs1unpad(type, nullptr, block.data(), k), dataLen);  // measuring only
        EXPECT_EQ(Unpad(type, block), data);
      }
    }
  }
}

TEST(Pkcs1Pad, TypeTwoIsRandomTypeZeroLosesLeadingZeros) {
  Bytes data = Seq(5), a(256), b(256);
  ASSERT_EQ(obpkcs1pad(2, data.data(), 5, a.data(), 256), 0);
  ASSERT_EQ(obpkcs1pad(2, data.data(), 5, b.data(), 256), 0);
  EXPECT_NE(a, b);
  Bytes zeros = {0x00, 0x00, 0xAB, 0xCD};
  ASSERT_EQ(obpkcs1pad(0, zeros.data(), 4, a.data(), 16), 0);
  EXPECT_EQ(Unpad(0, Bytes(a.begin(), a.begin() + 16)), Hex("AB CD"));
  // A non-zero octet at position 2: the block-type octet serves as the separator.
  EXPECT_EQ(Unpad(0, Hex("00 00 AB CD")), Hex("AB CD"));
}

TEST(Pkcs1Pad, MalformedInputIsRefused) {
  Bytes data = Seq(21), block(23);
  EXPECT_EQ(Gated([&] { return obpkcs1pad(1, data.data(), 21, block.data(), 23); }, "obpkcs1pad Error pad length = -1"),
            -1);
  EXPECT_EQ(Gated([&] { return obpkcs1pad(3, data.data(), 8, block.data(), 23); }, " obpkcs1pad unknown block type 3"),
            -1);
  struct Case {
    int type;
    const char* block;
    int rc;
    const char* message;
  } cases[] = {
      {1, "01 01 FF 00 05", -2, "obpkcs1unpad wrong block type 1"},
      {1, "00 02 FF 00 05", -2, "obpkcs1unpad wrong block type 2"},
      {1, "00", -2, "obpkcs1unpad wrong block type -1"},
      {1, "00 01 FF FF 05 00 06", -2, "obpkcs1unpad wrong trailing zero"},
      {1, "00 01 FF FF FF FF", -1, "obpkcs1unpad Error pad length  4"},
      {1, "00 01 FF FF FF 00", -1, "obpkcs1unpad Error pad length  3"},
      {2, "00 02 11 22 33 44", -1, "obpkcs1unpad Error pad length  4"},
      {0, "00 00 00 00 00", -1, "obpkcs1unpad Error pad length  2"},
      {3, "00 03 00 05", -1, "obpkcs1unpad wnknown block type 3"},
  };
  for (const Case& c : cases) {
    Bytes in = Hex(c.block);
    EXPECT_EQ(Gated([&] { return obpkcs1unpad(c.type, nullptr, in.data(), static_cast<int>(in.size())); }, c.message),
              c.rc)
        << c.block;
  }
  EXPECT_EQ(obpkcs1unpad(1, nullptr, nullptr, 10), -2);
}

TEST(Pkcs1Pad, PadsTheDigestInfoOnRequest) {
  Bytes digest = Seq(32);
  nyBinBuf block;
  ASSERT_EQ(nyPKCS1Pad(block, 128, ob_md_sha256, digest.data(), 32, 1, 1), 0);
  ASSERT_EQ(block.Len(), 128u);
  EXPECT_EQ(Unpad(1, ToBytes(block)), DigestInfo(digest, ob_md_sha256));
  ASSERT_EQ(nyPKCS1Pad(block, 64, ob_md_sha1, digest.data(), 32, 2, 0), 0);
  EXPECT_EQ(Unpad(2, ToBytes(block)), digest);
  EXPECT_EQ(nyPKCS1Pad(block, 128, ob_md_unknown, digest.data(), 32, 1, 1), -1);
  EXPECT_EQ(nyPKCS1Pad(block, 50, ob_md_sha256, digest.data(), 32, 1, 1), -1);  // 51 + 3 > 50
}

TEST(Pkcs1DigestInfo, EncodesEachDigestWithItsDerPrefix) {
  struct Case {
    ob_md_type md;
    int len;
    const char* prefix;
  } cases[] = {
      {ob_md_md5, 16, "30 20 30 0c 06 08 2a 86 48 86 f7 0d 02 05 05 00 04 10"},
      {ob_md_sha1, 20, "30 21 30 09 06 05 2b 0e 03 02 1a 05 00 04 14"},
      {ob_md_sha256, 32, "30 31 30 0d 06 09 60 86 48 01 65 03 04 02 01 05 00 04 20"},
      {ob_md_sha384, 48, "30 41 30 0d 06 09 60 86 48 01 65 03 04 02 02 05 00 04 30"},
      {ob_md_sha512, 64, "30 51 30 0d 06 09 60 86 48 01 65 03 04 02 03 05 00 04 40"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.md);
    Bytes digest = Seq(c.len, 0xA0);
    EXPECT_EQ(DigestInfo(digest, c.md), Cat(Hex(c.prefix), digest));
    EXPECT_EQ(obDigestLen(c.md), c.len);
    ASSERT_NE(obDigestOid(c.md), nullptr);
    EXPECT_EQ(obDigestType(*obDigestOid(c.md)), c.md);
  }
  EXPECT_EQ(obDigestType(obASN_id_sha224), ob_md_unknown);
  EXPECT_EQ(obDigestType(obASN_rsaEncryption), ob_md_unknown);
  EXPECT_EQ(obDigestOid(ob_md_unknown), nullptr);
  EXPECT_EQ(obDigestLen(ob_md_unknown), -1);
}

TEST(Pkcs1DigestInfo, RefusesUnknownDigestsAndEmptyInput) {
  Bytes digest = Seq(20);
  nyBinBuf out;
  for (int md : {0, 7}) {
    EXPECT_EQ(Gated([&] { return nyPKCS1DigestInfo(digest.data(), 20, static_cast<ob_md_type>(md), out); },
                    "nyvPKCS1DigestInfo: unrecognized algorithm (" + std::to_string(md) + ")"),
              -1);
  }
  EXPECT_EQ(Gated([&] { return nyPKCS1DigestInfo(nullptr, 20, ob_md_sha1, out); }), -1);
  EXPECT_EQ(Gated([&] { return nyPKCS1DigestInfo(digest.data(), 0, ob_md_sha1, out); }), -1);
}

// OpenSSL signs the DigestInfo of a digest; opening the signature without
// padding gives the type-1 block, which is deterministic.
TEST(Pkcs1DigestInfo, MatchesOpenSslSignatureBlocks) {
  TempDir dir;
  std::string key = CachedKey(1024);
  WriteBytes(dir.File("msg"), Bytes{'n', 'y', 'c', 'e', 'r', 't'});
  struct Case {
    const char* name;
    ob_md_type md;
  } cases[] = {{"md5", ob_md_md5}, {"sha1", ob_md_sha1}, {"sha256", ob_md_sha256},
               {"sha384", ob_md_sha384}, {"sha512", ob_md_sha512}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::string md = c.name;
    ASSERT_TRUE(Openssl(dir.path(), "dgst -" + md + " -binary -out d msg"));
    ASSERT_TRUE(Openssl(dir.path(), "dgst -" + md + " -sign '" + key + "' -out sig msg"));
    ASSERT_TRUE(Openssl(dir.path(), "pkeyutl -verifyrecover -inkey '" + key +
                                        "' -in sig -pkeyopt rsa_padding_mode:none -out block"));
    Bytes digest = ReadBytes(dir.File("d")), block = ReadBytes(dir.File("block"));
    ASSERT_EQ(block.size(), 128u);
    nyBinBuf mine;
    ASSERT_EQ(nyPKCS1Pad(mine, 128, c.md, digest.data(), static_cast<unsigned>(digest.size()), 1, 1), 0);
    EXPECT_EQ(ToBytes(mine), block);
    Bytes recovered = Unpad(1, block);
    EXPECT_EQ(obComparePKCS1(obPKop_DigestInfo, c.md, digest.data(), static_cast<int>(digest.size()),
                             recovered.data(), static_cast<int>(recovered.size())),
              0);
  }
}

TEST(Pkcs1Compare, MatchesOnlyTheExactExpectedData) {
  const Bytes d = Seq(20, 0x40);
  const Bytes info = DigestInfo(d, ob_md_sha1);
  Bytes flipped = info;
  flipped.back() ^= 1;
  Bytes noNull = Cat(Hex("30 1f 30 07 06 05 2b 0e 03 02 1a 04 14"), d);
  Bytes otherOid = Cat(Hex("30 21 30 09 06 05 2b 0e 03 02 1b 05 00 04 14"), d);
  Bytes otherParams = Cat(Hex("30 21 30 09 06 05 2b 0e 03 02 1a 04 00 04 14"), d);
  Bytes longNull = Cat(Hex("30 22 30 0a 06 05 2b 0e 03 02 1a 05 81 00 04 14"), d);
  Bytes shortLen = Cat(Hex("30 21 30 09 06 05 2b 0e 03 02 1a 05 00 04 13"), Bytes(d.begin(), d.end() - 1));
  struct Case {
    int op;
    Bytes recovered;
    int rc;
  } cases[] = {
      {0, info, 0},
      {2, info, 0},
      {0, d, -1004},
      {0, flipped, -100},
      {0, Cat(info, {0x00}), -1004},  // nothing may follow the DigestInfo
      {0, noNull, -1004},
      {0, otherOid, -100},
      {0, otherParams, -100},
      {0, longNull, -1004},
      {0, shortLen, -1004},
      {1, d, 0},
      {1, info, -1004},
      {3, d, 0},
      {3, info, 0},
      {3, Cat(info, Seq(8)), -1004},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE("op " + std::to_string(c.op) + " " + ToHex(c.recovered.data(), c.recovered.size()));
    EXPECT_EQ(obComparePKCS1(static_cast<obPKop_type>(c.op), ob_md_sha1, d.data(), 20, c.recovered.data(),
                             static_cast<int>(c.recovered.size())),
              c.rc);
  }
}

TEST(Pkcs1Compare, ReportsBadArguments) {
  Bytes d = Seq(20);
  EXPECT_EQ(Gated([&] { return obComparePKCS1(obPKop_DigestInfo, ob_md_sha1, d.data(), 20, d.data(), 0); },
                  "obComparePKCS1: Bad len 0"),
            -1004);
  EXPECT_EQ(Gated([&] { return obComparePKCS1(static_cast<obPKop_type>(7), ob_md_sha1, d.data(), 20, d.data(), 20); },
                  "obComparePKCS1: Op not supported 7"),
            -1001);
  EXPECT_EQ(obComparePKCS1(obPKop_DigestInfo, ob_md_unknown, d.data(), 20, d.data(), 20), -1000);
  EXPECT_EQ(obComparePKCS1(obPKop_DigestInfo, ob_md_sha1, nullptr, 0, d.data(), 20), -1000);
}

class Pkcs1KeyFormats : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new TempDir;
    const std::string key = " -in '" + CachedKey(1024) + "'", ec = " -in '" + CachedKey(0) + "'";
    ok_ = true;
    for (const std::string& args : std::vector<std::string>{
             "pkcs8 -topk8 -nocrypt -outform DER -out p8.der" + key, "pkey -traditional -out t.pem" + key,
             "asn1parse -in t.pem -noout -out p1.der", "rsa -RSAPublicKey_out -outform DER -out pub1.der" + key,
             "pkey -pubout -outform DER -out spki.der" + key, "pkey -pubout -outform DER -out ecspki.der" + ec})
      ok_ = ok_ && Openssl(dir_->path(), args);
    modulus_ = OpensslOutput(dir_->path(), "rsa -noout -modulus" + key);
  }
  static void TearDownTestSuite() { delete dir_; }
  void SetUp() override { ASSERT_TRUE(ok_) << "openssl could not make the keys"; }

  static Bytes File(const char* name) { return ReadBytes(dir_->File(name)); }
  static Bytes Modulus() {
    size_t eq = modulus_.find('=');
    return Hex(modulus_.substr(eq + 1, modulus_.find('\n', eq) - eq - 1));
  }

  static TempDir* dir_;
  static bool ok_;
  static std::string modulus_;
};

TempDir* Pkcs1KeyFormats::dir_ = nullptr;
bool Pkcs1KeyFormats::ok_ = false;
std::string Pkcs1KeyFormats::modulus_;

TEST_F(Pkcs1KeyFormats, KeysConvertToTheToolsForms) {
  Bytes p8 = File("p8.der"), p1 = File("p1.der");
  nyBinBuf wrapped;
  ASSERT_EQ(obPKCS8fromPKCS1(nyBinBuf(p1.data(), static_cast<unsigned>(p1.size())), wrapped), 0);
  EXPECT_EQ(ToBytes(wrapped), p8);
  int len = static_cast<int>(p8.size());
  ASSERT_EQ(obPKCS1fromPKCS8(p8.data(), &len), 0);
  EXPECT_EQ(Bytes(p8.begin(), p8.begin() + len), p1);

  Bytes pub1 = File("pub1.der"), spki = File("spki.der"), mod = Modulus(), exp = Hex("01 00 01");
  unsigned char* der = nullptr;
  int derLen = 0;
  ASSERT_EQ(obRsaPk2PKCS1(mod.data(), static_cast<int>(mod.size()), exp.data(), 3, &der, derLen), 0);
  EXPECT_EQ(Bytes(der, der + derLen), pub1);
  delete[] der;

  nyBinBuf info, m, e;
  ASSERT_EQ(obPKCS1toPkInfo(nyBinBuf(pub1.data(), static_cast<unsigned>(pub1.size())), info), 0);
  EXPECT_EQ(ToBytes(info), spki);
  ASSERT_EQ(obRsaPk2PkInfo(mod.data(), static_cast<int>(mod.size()), exp.data(), 3, info), 0);
  EXPECT_EQ(ToBytes(info), spki);
  ASSERT_EQ(obPkInfo2RsaPk(info, m, e), 0);
  EXPECT_EQ(ToBytes(m), mod);
  EXPECT_EQ(ToBytes(e), exp);
  ASSERT_EQ(obPKCS1toRsaPk(nyBinBuf(pub1.data(), static_cast<unsigned>(pub1.size())), m, e), 0);
  EXPECT_EQ(ToBytes(m), mod);
  EXPECT_EQ(ToBytes(e), exp);
}

TEST_F(Pkcs1KeyFormats, FailuresAndMessages) {
  auto unwrap = [](Bytes in) {
    int len = static_cast<int>(in.size());
    return obPKCS1fromPKCS8(in.data(), &len);
  };
  auto buf = [](const Bytes& in) { return nyBinBuf(in.data(), static_cast<unsigned>(in.size())); };
  Bytes p8 = File("p8.der"), ec = File("ecspki.der"), exp = Hex("03");
  // The same RSAPrivateKey under another algorithm (1.2.840.113549.1.1.7).
  Bytes other = p8, rsaOid = Hex("2a 86 48 86 f7 0d 01 01 01");
  auto at = std::search(other.begin(), other.end(), rsaOid.begin(), rsaOid.end());
  ASSERT_NE(at, other.end());
  at[8] = 0x07;
  nyBinBuf out, m, e;
  unsigned char* der = nullptr;
  int derLen = 0;
  struct Case {
    const char* message;
    std::function<int()> op;
  } cases[] = {
      {"obPKCS1fromPKCS8: Error parsing pkcs8", [&] { return unwrap(Hex("30 03 02 01")); }},
      {"", [&] { return unwrap(Cat(p8, {0x00})); }},
      // An rsaEncryption PrivateKeyInfo whose key octets are no RSAPrivateKey.
      {"obPKCS1fromPKCS8: Error parsing pkcs8 data",
       [&] { return unwrap(Hex("30 19 02 01 00 30 0d 06 09 2a 86 48 86 f7 0d 01 01 01 05 00 04 05 30 03 02 01 00")); }},
      {"obPKCS1fromPKCS8: Error wrong algorithm: 1.2.840.113549.1.1.7", [&] { return unwrap(other); }},
      {"obPKCS8fromPKCS1 func argument is null", [&] { return obPKCS8fromPKCS1(nyBinBuf(), out); }},
      {"obPkInfo2RsaPk wrong algorithm", [&] { return obPkInfo2RsaPk(buf(ec), m, e); }},
      {"obPkInfo2RsaPk decofing PublicKeyInfo failed", [&] { return obPkInfo2RsaPk(buf(exp), m, e); }},
      {"obRsaPk2PKCS1 func argument is null", [&] { return obRsaPk2PKCS1(nullptr, 0, exp.data(), 1, &der, derLen); }},
      {"obRsaPk2PkInfo obRsaPk2PKCS1() failed", [&] { return obRsaPk2PkInfo(nullptr, 0, exp.data(), 1, out); }},
      {"PKCS1toPkInfo func argument is null", [&] { return obPKCS1toPkInfo(nyBinBuf(), out); }},
      {"obPKCS1toRsaPk decoding rsa failed", [&] { return obPKCS1toRsaPk(buf(Hex("30 03 02 01")), m, e); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    EXPECT_EQ(Gated(c.op, c.message), -1);
  }
  // Negative and zero moduli, short and long.
  for (const char* key :
       {"30 06 02 01 ff 02 01 03", "30 06 02 01 00 02 01 03", "30 0a 02 05 80 00 00 00 01 02 01 03"}) {
    SCOPED_TRACE(key);
    EXPECT_EQ(
        Gated([&] { return obPKCS1toRsaPk(buf(Hex(key)), m, e); }, "obPKCS1toRsaPk failed to convert rsa to buffer"),
        -1);
  }
}

}  // namespace
