// Elliptic-curve keys (ECDSA on P-256, P-384, P-521 and Ed25519): import
// from the forms the openssl tool writes, export, generation, signatures
// exchanged with the tool, and hostile keys and signatures refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "nycert/keys/any_key.h"
#include "nycert/keys/ec_evp.h"
#include "nycert/keys/nysec.h"
#include "nycert/platform/nybcrypt.h"
#include "nycert/platform/obset.h"
#include "support/cert_pki.h"
#include "support/test_support.h"

namespace {

struct KeyFree {
  void operator()(obPubKey* key) const { obFreePubKey(key); }
};
using Key = std::unique_ptr<obPubKey, KeyFree>;

struct CurveCase {
  nyECCurve curve;
  const char* genpkey;  // the tool's arguments that make such a key
  int bits;
};

const CurveCase kCurves[] = {
    {nyEC_P256, "-algorithm EC -pkeyopt ec_paramgen_curve:P-256", 256},
    {nyEC_P384, "-algorithm EC -pkeyopt ec_paramgen_curve:P-384", 384},
    {nyEC_P521, "-algorithm EC -pkeyopt ec_paramgen_curve:P-521", 521},
    {nyEC_Ed25519, "-algorithm ED25519", 256},
};

Key PemKey(const std::string& path) {
  Bytes pem = ReadBytes(path);
  return Key(obImportKeyPEM(reinterpret_cast<const char*>(pem.data()), static_cast<unsigned>(pem.size())));
}

Bytes Exported(obPubKey& key, obPK_Format fmt) {
  int len = key.Export(fmt, nullptr, 0);
  if (len < 1) return {};
  Bytes der(static_cast<size_t>(len));
  return key.Export(fmt, der.data(), len) == len ? der : Bytes{};
}

Bytes Sha256(const Bytes& data) {
  Bytes digest(32);
  ny_md_hashbuf(ob_md_sha256, data.data(), static_cast<unsigned>(data.size()), digest.data());
  return digest;
}

Bytes SignedBy(obPubKey& key, const Bytes& in) {
  Bytes sig(static_cast<size_t>(key.Sign(obPKop_Raw, ob_md_sha256, in.data(), static_cast<int>(in.size()), nullptr, 0)));
  int n = key.Sign(obPKop_Raw, ob_md_sha256, in.data(), static_cast<int>(in.size()), sig.data(),
                   static_cast<int>(sig.size()));
  sig.resize(n > 0 ? static_cast<size_t>(n) : 0);
  return sig;
}

int Verified(obPubKey& key, const Bytes& data, const Bytes& sig) {
  return key.Verify(obPKop_Raw, ob_md_sha256, data.data(), static_cast<int>(data.size()), sig.data(),
                    static_cast<int>(sig.size()));
}

class EcKeyTest : public ::testing::TestWithParam<CurveCase> {
 protected:
  void SetUp() override {
    ASSERT_TRUE(Openssl(dir_.path(), std::string("genpkey ") + GetParam().genpkey + " -out key.pem"));
    ASSERT_TRUE(Openssl(dir_.path(), "pkey -in key.pem -pubout -out pub.pem"));
    ASSERT_TRUE(Openssl(dir_.path(), "pkey -in key.pem -pubout -outform DER -out pub.der"));
    key_ = PemKey(dir_.File("key.pem"));
    pub_ = PemKey(dir_.File("pub.pem"));
    ASSERT_TRUE(key_ && pub_);
  }
  bool Ed() const { return GetParam().curve == nyEC_Ed25519; }
  // What a signature covers: the message for Ed25519, its SHA-256 digest for ECDSA.
  Bytes Signed(const Bytes& message) const { return Ed() ? message : Sha256(message); }

  TempDir dir_;
  Key key_, pub_;
};

TEST_P(EcKeyTest, ImportsWhatTheToolWritesAndExportsTheSameKey) {
  obAlgType alg = Ed() ? obAlg_Ed25519 : obAlg_EC;
  EXPECT_EQ(alg, key_->algorithm());
  EXPECT_EQ(alg, pub_->algorithm());
  EXPECT_EQ(GetParam().bits, key_->GetLen(obPK_Len_Bits));
  EXPECT_TRUE(key_->Flags() & obPK_Flag_Sign);
  EXPECT_FALSE(pub_->Flags() & obPK_Flag_Sign);
  EXPECT_EQ(1, obPubKey_Equal(key_.get(), pub_.get()));

  Bytes spki = ReadBytes(dir_.File("pub.der"));
  EXPECT_EQ(spki, Exported(*key_, obPK_Format_PublicKeyInfo));
  nyBinBuf info;
  ASSERT_EQ(0, obPubKeyInfoOf(*pub_, info));
  EXPECT_EQ(spki, Bytes(info.Data(), info.Data() + info.Len()));
  // The public octets are the tail of the key info: the key identifier hashes them.
  Bytes octets = Exported(*pub_, obPK_Format_PublicDER);
  ASSERT_FALSE(octets.empty());
  EXPECT_TRUE(std::equal(octets.rbegin(), octets.rend(), spki.rbegin()));

  // The private key the tool reads back from ours is the same key.
  WriteBytes(dir_.File("ours.der"), Exported(*key_, obPK_Format_PrivateDER));
  ASSERT_TRUE(Openssl(dir_.path(), "pkey -inform DER -in ours.der -pubout -outform DER -out back.der"));
  EXPECT_EQ(spki, ReadBytes(dir_.File("back.der")));
  EXPECT_EQ(obPK_RC_ExportFailed, pub_->Export(obPK_Format_PrivateDER, nullptr, 0));

  Key fromInfo(obImportPublicKeyInfo(spki.data(), static_cast<int>(spki.size())));
  ASSERT_TRUE(fromInfo);
  EXPECT_EQ(1, obPubKey_Equal(fromInfo.get(), key_.get()));
}

TEST_P(EcKeyTest, SignaturesPassBetweenTheToolAndTheKey) {
  Bytes message = Hex("48 65 6c 6c 6f 2c 20 63 75 72 76 65");
  WriteBytes(dir_.File("msg"), message);
  WriteBytes(dir_.File("digest"), Sha256(message));
  const std::string input = Ed() ? "-rawin -in msg" : "-in digest";

  Bytes ours = SignedBy(*key_, Signed(message));
  ASSERT_FALSE(ours.empty());
  WriteBytes(dir_.File("ours.sig"), ours);
  EXPECT_TRUE(Openssl(dir_.path(), "pkeyutl -verify -pubin -inkey pub.pem " + input + " -sigfile ours.sig"));

  ASSERT_TRUE(Openssl(dir_.path(), "pkeyutl -sign -inkey key.pem " + input + " -out theirs.sig"));
  Bytes theirs = ReadBytes(dir_.File("theirs.sig"));
  EXPECT_EQ(0, Verified(*pub_, Signed(message), theirs));
  Bytes other = message;
  other[0] ^= 1;
  EXPECT_GT(0, Verified(*pub_, Signed(other), theirs));
}

TEST_P(EcKeyTest, GeneratedKeysSignAndTheToolReadsThem) {
  Key made(nySEC_Generate(GetParam().curve));
  ASSERT_TRUE(made);
  Bytes data = Signed(Hex("01 02 03"));
  EXPECT_EQ(0, Verified(*made, data, SignedBy(*made, data)));
  EXPECT_EQ(0, obPubKey_Equal(made.get(), key_.get()));
  WriteBytes(dir_.File("made.der"), Exported(*made, obPK_Format_PrivateDER));
  EXPECT_TRUE(Openssl(dir_.path(), "pkey -inform DER -in made.der -check -noout"));
}

TEST_P(EcKeyTest, OperationsOfOtherKindsAreNotImplemented) {
  unsigned char out[256];
  const unsigned char in[4] = {1, 2, 3, 4};
  DiagCapture diag;
  EXPECT_EQ(obPK_RC_NotImplemented, key_->Encrypt(obPKop_Raw, in, 4, out, sizeof out));
  EXPECT_EQ(obPK_RC_NotImplemented, key_->Derive(obPKop_Raw, in, 4, out, sizeof out));
  obset* set = nullptr;
  EXPECT_EQ(obPK_RC_NotImplemented, key_->Export(obPK_Format_Set, &set, sizeof set));
  EXPECT_TRUE(diag.Saw("Encrypt not implemeted for nySEC_imp"));
  EXPECT_EQ(obPK_RC_NotImplemented, pub_->Sign(obPKop_Raw, ob_md_sha256, in, 4, out, sizeof out));
}

INSTANTIATE_TEST_SUITE_P(Curves, EcKeyTest, ::testing::ValuesIn(kCurves),
                         [](const ::testing::TestParamInfo<CurveCase>& p) {
                           std::string name = nyEC_CurveName(p.param.curve);
                           return name.substr(0, 1) + name.substr(name.size() - 3);
                         });

TEST(EcKeyFormats, KeysFromTheToolInEveryPemForm) {
  TempDir dir;
  ASSERT_TRUE(Openssl(dir.path(), "genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-384 -out key.pem"));
  ASSERT_TRUE(Openssl(dir.path(), "ec -in key.pem -out sec1.pem"));
  Bytes sec1Pem = ReadBytes(dir.File("sec1.pem"));
  ASSERT_NE(std::string::npos, std::string(sec1Pem.begin(), sec1Pem.end()).find("BEGIN EC PRIVATE KEY"));
  Key pkcs8 = PemKey(dir.File("key.pem"));
  Key sec1 = PemKey(dir.File("sec1.pem"));
  ASSERT_TRUE(pkcs8 && sec1);
  EXPECT_EQ(1, obPubKey_Equal(pkcs8.get(), sec1.get()));
  EXPECT_TRUE(sec1->Flags() & obPK_Flag_Sign);
  Key rsa = PemKey(CachedKey(2048));
  ASSERT_TRUE(rsa);
  EXPECT_EQ(obAlg_RSA, rsa->algorithm());
  EXPECT_EQ(0, obPubKey_Equal(rsa.get(), pkcs8.get()));
}

// A P-256 public key info from the tool, to take apart.
Bytes P256KeyInfo(const TempDir& dir) {
  EXPECT_TRUE(Openssl(dir.path(), "genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out key.pem"));
  EXPECT_TRUE(Openssl(dir.path(), "pkey -in key.pem -pubout -outform DER -out pub.der"));
  return ReadBytes(dir.File("pub.der"));
}

std::string Refusal(const Bytes& spki) {
  nyECKeyInfo info;
  const char* why = nyEC_ParseKeyInfo({spki.data(), spki.size()}, info);
  return why ? why : "";
}

TEST(EcKeyInfo, HostileKeysAreRefused) {
  TempDir dir;
  Bytes spki = P256KeyInfo(dir);
  EXPECT_EQ("", Refusal(spki));

  Bytes offCurve = spki;
  offCurve.back() ^= 1;
  EXPECT_EQ("", Refusal(offCurve));
  EXPECT_EQ(nullptr, nyEC_FromKeyInfo(offCurve.data(), offCurve.size()));
  EXPECT_EQ(nullptr, obImportPublicKeyInfo(offCurve.data(), static_cast<int>(offCurve.size())));

  ASSERT_TRUE(Openssl(dir.path(), "ecparam -name prime256v1 -param_enc explicit -out explicit.pem"));
  ASSERT_TRUE(Openssl(dir.path(), "genpkey -paramfile explicit.pem -out ekey.pem"));
  ASSERT_TRUE(Openssl(dir.path(), "pkey -in ekey.pem -pubout -outform DER -out epub.der"));
  EXPECT_EQ("Explicit EC curve parameters not supported", Refusal(ReadBytes(dir.File("epub.der"))));

  ASSERT_TRUE(Openssl(dir.path(), "genpkey -algorithm EC -pkeyopt ec_paramgen_curve:secp256k1 -out k1.pem"));
  ASSERT_TRUE(Openssl(dir.path(), "pkey -in k1.pem -pubout -outform DER -out k1.der"));
  EXPECT_EQ("Unsupported EC curve", Refusal(ReadBytes(dir.File("k1.der"))));

  ASSERT_TRUE(Openssl(dir.path(), "ec -in key.pem -pubout -outform DER -conv_form compressed -out c.der"));
  Bytes compressed = ReadBytes(dir.File("c.der"));
  EXPECT_EQ("Compressed EC point not supported", Refusal(compressed));

  // Ed25519: 30 2a 30 05 06 03 2b 65 70 03 21 00 <32 octets>
  Bytes ed = Hex("30 2a 30 05 06 03 2b 65 70 03 21 00");
  ed.resize(ed.size() + 32, 0x11);
  EXPECT_EQ("", Refusal(ed));
  Bytes shortEd = Hex("30 29 30 05 06 03 2b 65 70 03 20 00");
  shortEd.resize(shortEd.size() + 31, 0x11);
  EXPECT_EQ("Wrong Ed25519 key length", Refusal(shortEd));
  EXPECT_EQ(nullptr, obImportPublicKeyInfo(shortEd.data(), static_cast<int>(shortEd.size())));
  Bytes withParams = Hex("30 2c 30 07 06 03 2b 65 70 05 00 03 21 00");
  withParams.resize(withParams.size() + 32, 0x11);
  EXPECT_EQ("Ed25519 key with parameters", Refusal(withParams));
}

// ECDSA-Sig-Value DER from the content octets of r and s.
Bytes SigValue(const Bytes& r, const Bytes& s) { return Tlv(0x30, Cat({Tlv(0x02, r), Tlv(0x02, s)})); }

TEST(EcdsaSignature, OnlyStrictDerInRangeIsRead) {
  const Bytes order =
      Hex("00 ff ff ff ff 00 00 00 00 ff ff ff ff ff ff ff ff bc e6 fa ad a7 17 9e 84 f3 b9 ca c2 fc 63 25 51");
  const Bytes one = Hex("01");
  EXPECT_TRUE(nyEC_IsStrictSignature(nyEC_P256, SigValue(one, one).data(), SigValue(one, one).size()));
  Bytes belowOrder = order;
  belowOrder.back() -= 1;
  Bytes top = SigValue(belowOrder, one);
  EXPECT_TRUE(nyEC_IsStrictSignature(nyEC_P256, top.data(), top.size()));

  Bytes trailing = SigValue(one, one);
  trailing.push_back(0);
  Bytes longLength = Hex("30 81 06 02 01 01 02 01 01");
  const Bytes refused[] = {
      SigValue(Hex("00"), one),        SigValue(one, Hex("00")),    SigValue(order, one),
      SigValue(one, order),            SigValue(Hex("00 01"), one), SigValue(one, Hex("ff")),
      trailing,                        longLength,                  Hex("30 03 02 01 01"),
  };
  for (const Bytes& sig : refused)
    EXPECT_FALSE(nyEC_IsStrictSignature(nyEC_P256, sig.data(), sig.size())) << ToHex(sig);
  EXPECT_FALSE(nyEC_IsStrictSignature(nyEC_Ed25519, SigValue(one, one).data(), 8));
}

TEST(EcdsaSignature, AToolSignatureMadeLaxIsRefused) {
  TempDir dir;
  P256KeyInfo(dir);
  Key key = PemKey(dir.File("key.pem"));
  ASSERT_TRUE(key);
  Bytes digest = Sha256(Hex("61 62 63"));
  WriteBytes(dir.File("digest"), digest);
  ASSERT_TRUE(Openssl(dir.path(), "pkeyutl -sign -inkey key.pem -in digest -out sig"));
  Bytes sig = ReadBytes(dir.File("sig"));
  ASSERT_EQ(0, Verified(*key, digest, sig));
  Bytes trailing = sig;
  trailing.push_back(0);
  EXPECT_GT(0, Verified(*key, digest, trailing));
  // r with a redundant leading zero, the lengths grown to match.
  Bytes padded = sig;
  padded.insert(padded.begin() + 4, 0x00);
  padded[1] += 1;
  padded[3] += 1;
  EXPECT_GT(0, Verified(*key, digest, padded));
}

}  // namespace
