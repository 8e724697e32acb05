// RSA keys: the operations with their edge cases and messages, the import and
// export forms, generation, and signatures exchanged with the openssl tool.
#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "nycert/keys/digest_info.h"
#include "nycert/keys/nysrsa.h"
#include "nycert/keys/rsa_gen.h"
#include "nycert/keys/rsa_import.h"
#include "nycert/platform/nybcrypt.h"
#include "nycert/platform/obd_env.h"
#include "nycert/platform/obset.h"
#include "support/test_support.h"

namespace {

using Bytes = std::vector<unsigned char>;

struct KeyFree {
  void operator()(obPubKey* key) const { obFreePubKey(key); }
};
using Key = std::unique_ptr<obPubKey, KeyFree>;

struct SetFree {
  void operator()(obset* set) const { obset_free(set); }
};
using Set = std::unique_ptr<obset, SetFree>;

Key PemKey(const std::string& path) {
  Bytes pem = ReadBytes(path);
  return Key(obImportRSAKeyPEM(reinterpret_cast<const char*>(pem.data()), static_cast<unsigned>(pem.size())));
}

// The private key of bits made by the tool, loaded once per process.
obPubKey* ToolKey(int bits) {
  static std::map<int, Key> keys;
  Key& key = keys[bits];
  if (!key) key = PemKey(CachedKey(bits));
  return key.get();
}

Bytes ExportDer(obPubKey* key, obPK_Format fmt) {
  int len = key->Export(fmt, nullptr, 0);
  if (len < 1) return {};
  Bytes der(static_cast<size_t>(len));
  return key->Export(fmt, der.data(), len) == len ? der : Bytes{};
}

Key PublicOf(obPubKey* key) {
  Bytes der = ExportDer(key, obPK_Format_PublicDER);
  return Key(obImportRSAKey(obPK_Format_PublicDER, der.data(), static_cast<int>(der.size())));
}

Bytes Sign(obPubKey* key, obPKop_type op, ob_md_type md, const Bytes& data) {
  Bytes sig(static_cast<size_t>(key->Sign(op, md, data.data(), static_cast<int>(data.size()), nullptr, 0)));
  int n = key->Sign(op, md, data.data(), static_cast<int>(data.size()), sig.data(), static_cast<int>(sig.size()));
  return n == static_cast<int>(sig.size()) ? sig : Bytes{};
}

int Verify(obPubKey* key, obPKop_type op, ob_md_type md, const Bytes& data, const Bytes& sig) {
  return key->Verify(op, md, data.data(), static_cast<int>(data.size()), sig.data(), static_cast<int>(sig.size()));
}

Bytes Digest(ob_md_type md, const Bytes& data) {
  Bytes out(kObMaxDigestLen);
  out.resize(static_cast<size_t>(ny_md_hashbuf(md, data.data(), static_cast<unsigned>(data.size()), out.data())));
  return out;
}

Bytes DigestInfoOf(ob_md_type md, const Bytes& digest) {
  nyBinBuf info;
  EXPECT_EQ(0, nyPKCS1DigestInfo(digest.data(), static_cast<unsigned>(digest.size()), md, info));
  return Bytes(info.Data(), info.Data() + info.Len());
}

const Bytes kMessage = {'s', 'i', 'g', 'n', 'e', 'd', ' ', 't', 'e', 'x', 't'};

TEST(RsaKeyOps, SizesAndFlags) {
  obPubKey* key = ToolKey(1024);
  ASSERT_NE(key, nullptr);
  EXPECT_EQ(128, key->Sign(obPKop_DigestInfo, ob_md_sha1, kMessage.data(), 11, nullptr, 0));  // the length query
  EXPECT_EQ(1024, key->GetLen(obPK_Len_Bits));
  EXPECT_EQ(128, key->GetLen(obPK_Len_Bytes));
  EXPECT_EQ(unsigned{nySRSA_Flag_Public | nySRSA_Flag_Private | obPK_Flag_Sign}, key->Flags());
  EXPECT_EQ(unsigned{nySRSA_Flag_Public}, PublicOf(key)->Flags());
}

TEST(RsaKeyOps, ModesOfSignAndVerify) {
  obPubKey* key = ToolKey(1024);
  Key pub = PublicOf(key);
  Bytes digest = Digest(ob_md_sha256, kMessage);
  Bytes overInfo = Sign(key, obPKop_DigestInfo, ob_md_sha256, digest);
  Bytes overDigest = Sign(key, obPKop_Raw, ob_md_sha256, digest);
  EXPECT_EQ(overInfo, Sign(key, obPKop_DigestInfoCompat, ob_md_sha256, digest));
  EXPECT_EQ(overInfo, Sign(key, obPKop_Raw, ob_md_sha256, DigestInfoOf(ob_md_sha256, digest)));
  EXPECT_EQ(overDigest, Sign(key, obPKop_RawOrDigestInfo, ob_md_sha256, digest));
  EXPECT_EQ(0, Verify(pub.get(), obPKop_DigestInfo, ob_md_sha256, digest, overInfo));
  EXPECT_EQ(0, Verify(pub.get(), obPKop_Raw, ob_md_sha256, digest, overDigest));
  EXPECT_EQ(0, Verify(pub.get(), obPKop_RawOrDigestInfo, ob_md_sha256, digest, overInfo));
  EXPECT_EQ(0, Verify(pub.get(), obPKop_RawOrDigestInfo, ob_md_sha256, digest, overDigest));
  DiagCapture diag;
  EXPECT_EQ(-1004, Verify(pub.get(), obPKop_DigestInfo, ob_md_sha256, digest, overDigest));
  for (const char* line : {"nySRSA_imp::Verify: different message signed", "Decoded version:", "Should be:"})
    EXPECT_TRUE(diag.Saw(line)) << line;
  Bytes other = digest;
  other[0] ^= 1;
  EXPECT_EQ(-100, Verify(pub.get(), obPKop_DigestInfo, ob_md_sha256, other, overInfo));
  EXPECT_EQ(-100, Verify(pub.get(), obPKop_RawOrDigestInfo, ob_md_sha256, other, overInfo));
  EXPECT_EQ(-1004, Verify(pub.get(), obPKop_DigestInfo, ob_md_sha1, digest, overInfo));
}

// Each failing call gives its code and, where one is named, its exact message.
TEST(RsaKeyOps, FailuresAndMessages) {
  obPubKey* key = ToolKey(1024);
  Key pub = PublicOf(key);
  Bytes digest = Digest(ob_md_sha1, kMessage), out(512), cipher(128), tooLong(118, 0x55);
  ASSERT_EQ(128, pub->Encrypt(obPKop_Raw, digest.data(), 16, cipher.data(), 128));
  Bytes damaged = cipher, shortSig = Sign(key, obPKop_DigestInfo, ob_md_sha1, digest);
  damaged[5] ^= 0x80;
  shortSig.pop_back();
  int len = key->Export(obPK_Format_PublicDER, nullptr, 0);
  ASSERT_GT(len, 128);
  obset* set = nullptr;
  const unsigned char* d = digest.data();
  unsigned char* o = out.data();
  struct Case {
    int rc;
    const char* message;
    std::function<int()> op;
  } cases[] = {
      {-1001, "nySRSA_imp::Sign: no private key",
       [&] { return pub->Sign(obPKop_DigestInfo, ob_md_sha1, d, 20, o, 128); }},
      {-1003, "nySRSA_imp::Sign: no input", [&] { return key->Sign(obPKop_DigestInfo, ob_md_sha1, d, 0, o, 128); }},
      {-1003, "nySRSA_imp::Sign: no input",
       [&] { return key->Sign(obPKop_DigestInfo, ob_md_sha1, nullptr, 20, o, 128); }},
      {-1005, "nySRSA_imp::Sign length too short",
       [&] { return key->Sign(obPKop_DigestInfo, ob_md_sha1, d, 20, o, 127); }},
      {-1001, "nySRSA_imp::Sign: unsupported op 7",
       [&] { return key->Sign(static_cast<obPKop_type>(7), ob_md_sha1, d, 20, o, 128); }},
      // A raw block longer than the padding leaves room for.
      {-1, "nySRSA_imp::Sign: failed", [&] { return key->Sign(obPKop_Raw, ob_md_sha1, tooLong.data(), 118, o, 128); }},
      {-1004, "nySRSA_imp::Verify: Signature length mismatch 127 != 128",
       [&] { return Verify(key, obPKop_DigestInfo, ob_md_sha1, digest, shortSig); }},
      {-1001, "Derive not implemeted for nySRSA_imp", [&] { return key->Derive(obPKop_Raw, d, 20, o, 128); }},
      {-1005, "nySRSA_imp::Encrypt length to short", [&] { return pub->Encrypt(obPKop_Raw, d, 16, o, 127); }},
      {-1, "nySRSA_imp::Encryption failed", [&] { return pub->Encrypt(obPKop_Raw, tooLong.data(), 118, o, 128); }},
      {-1005, "nySRSA_imp::Decrypt value too long 16>15",
       [&] { return key->Decrypt(obPKop_Raw, cipher.data(), 128, o, 15); }},
      {-1, "nySRSA_imp::Decrypt decryption failed",
       [&] { return key->Decrypt(obPKop_Raw, damaged.data(), 128, o, 16); }},
      {-1, "", [&] { return pub->Decrypt(obPKop_Raw, cipher.data(), 128, o, 16); }},
      {-1003, "nySRSA_imp::Export: wrong pointer length 3", [&] { return key->Export(obPK_Format_Set, &set, 3); }},
      {-1003, "nySRSA_imp::Export: cannot assign to NULL pointer",
       [&] { return key->Export(obPK_Format_Set, nullptr, 4); }},
      {-1005, "", [&] { return key->Export(obPK_Format_PublicDER, o, len - 1); }},
      {-1003, "", [&] { return pub->Export(obPK_Format_PrivateDER, nullptr, 0); }},
      {-1001, "nySRSA_imp::Export: 9 not implemented",
       [&] { return key->Export(static_cast<obPK_Format>(9), o, len); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    EXPECT_EQ(c.rc, Gated(c.op, c.message));
  }
  // 4 is accepted beside the size of the pointer itself.
  for (int size : {4, static_cast<int>(sizeof set)}) {
    ASSERT_EQ(0, key->Export(obPK_Format_Set, &set, size));
    Set owned(set);
    EXPECT_NE(nullptr, owned->GetSet("private"));
  }
}

// The asynchronous form encrypts at once and reports -1 later on the loop.
TEST(RsaKeyOps, EncryptAEncryptsAndReportsMinusOne) {
  obPubKey* key = ToolKey(1024);
  obd_env* env = obd_env_create();
  int rc = 0;
  auto callback = [](void* ctx, int result, void* data, int dataLen, const char*) {
    *static_cast<int*>(ctx) = data || dataLen ? -99 : result;
  };
  Bytes secret(20, 0x17), cipher(128, 0), plain(20);
  EXPECT_EQ(0, key->EncryptA(obPKop_Raw, secret.data(), 20, cipher.data(), 128, callback, &rc, env));
  // The plaintext fits a buffer much shorter than the modulus.
  EXPECT_EQ(20, key->Decrypt(obPKop_Raw, cipher.data(), 128, plain.data(), 20));
  EXPECT_EQ(secret, plain);
  EXPECT_EQ(0, rc);
  for (int i = 0; i < 20 && rc == 0; ++i) obd_env_run_once(env, 50);
  EXPECT_EQ(-1, rc);
  obd_env_destroy(env);
}

TEST(RsaKeyImport, DerAndPemFormsOfTheTool) {
  TempDir dir;
  std::string pem = CachedKey(1024);
  obPubKey* key = ToolKey(1024);
  for (const char* args :
       {"rsa -traditional -out rsa.pem", "rsa -RSAPublicKey_out -out rsapub.pem", "rsa -pubout -out spki.pem",
        "rsa -pubout -outform DER -out spki.der", "pkcs8 -topk8 -nocrypt -outform DER -out p8.der",
        "pkcs8 -topk8 -passout pass:x -out p8enc.pem", "rsa -traditional -outform DER -out priv.der",
        "rsa -RSAPublicKey_out -outform DER -out pub.der"})
    ASSERT_TRUE(Openssl(dir.path(), std::string(args) + " -in '" + pem + "'")) << args;
  EXPECT_EQ(ReadBytes(dir.File("priv.der")), ExportDer(key, obPK_Format_PrivateDER));
  EXPECT_EQ(ReadBytes(dir.File("pub.der")), ExportDer(key, obPK_Format_PublicDER));
  for (const char* file : {"rsa.pem", "rsapub.pem", "spki.pem"}) {
    Key k = PemKey(dir.File(file));
    ASSERT_NE(k, nullptr) << file;
    EXPECT_EQ(1, obPubKey_Equal(key, k.get())) << file;
  }
  EXPECT_EQ(0u, PemKey(dir.File("rsapub.pem"))->Flags() & nySRSA_Flag_Private);
  EXPECT_EQ(nullptr, PemKey(dir.File("p8enc.pem")));
  Bytes p8 = ReadBytes(dir.File("p8.der")), spki = ReadBytes(dir.File("spki.der"));
  Key fromP8(obImportRSAKey(obPK_Format_PrivateDER, p8.data(), static_cast<int>(p8.size())));
  ASSERT_NE(fromP8, nullptr);
  EXPECT_EQ(ExportDer(key, obPK_Format_PrivateDER), ExportDer(fromP8.get(), obPK_Format_PrivateDER));
  Key fromSpki(obImportRSAKey(obPK_Format_PublicDER, spki.data(), static_cast<int>(spki.size())));
  EXPECT_EQ(1, obPubKey_Equal(key, fromSpki.get()));
  // A private form is not a public one, nothing may follow the key, and a cut key fails.
  EXPECT_EQ(nullptr, obImportRSAKey(obPK_Format_PublicDER, p8.data(), static_cast<int>(p8.size())));
  spki.push_back(0);
  EXPECT_EQ(nullptr, obImportRSAKey(obPK_Format_PublicDER, spki.data(), static_cast<int>(spki.size())));
  EXPECT_EQ(nullptr, obImportRSAKey(obPK_Format_PrivateDER, p8.data(), static_cast<int>(p8.size() / 2)));
  EXPECT_EQ(nullptr, nyRSA_from_buf(p8.data(), 0));
}

TEST(RsaKeyImport, HostileInput) {
  std::string cert = "-----BEGIN CERTIFICATE-----\nMAA=\n-----END CERTIFICATE-----\n";
  std::string bad = "-----BEGIN PUBLIC KEY-----\n!!!!\n-----END PUBLIC KEY-----\n";
  EXPECT_EQ(0,
            Gated([] { return obImportRSAKeyPEM("no armour here", 14) ? 1 : 0; }, "obImportRSAKeyPEM: no PEM block"));
  EXPECT_EQ(0, Gated([&] { return obImportRSAKeyPEM(cert.data(), static_cast<unsigned>(cert.size())) ? 1 : 0; },
                     "obImportRSAKeyPEM: unsupported block CERTIFICATE"));
  EXPECT_EQ(0, Gated([&] { return obImportRSAKeyPEM(bad.data(), static_cast<unsigned>(bad.size())) ? 1 : 0; },
                     "obPem_Next: invalid base64 in PUBLIC KEY block"));
  unsigned seed = 7;
  for (int round = 0; round < 200; ++round) {
    Bytes noise(static_cast<size_t>(1 + rand_r(&seed) % 300));
    for (auto& b : noise) b = static_cast<unsigned char>(rand_r(&seed));
    if (round % 2) noise[0] = 0x30;
    EXPECT_EQ(nullptr, nyRSA_from_buf(noise.data(), static_cast<int>(noise.size())));
  }
}

obPubKey* CountingImporter(void* context, obPK_Format, const void*, int) {
  ++*static_cast<int*>(context);
  return nullptr;
}

TEST(RsaKeyImport, InstalledImporterAndSetForm) {
  int calls = 0;
  Bytes der = ExportDer(ToolKey(1024), obPK_Format_PrivateDER);
  obSetImportRSAKey_func(CountingImporter, &calls);
  EXPECT_EQ(nullptr, obImportRSAKey(obPK_Format_PrivateDER, der.data(), static_cast<int>(der.size())));
  obSetImportRSAKey_func(nullptr, &calls);
  Key key(obImportRSAKey(obPK_Format_PrivateDER, der.data(), static_cast<int>(der.size())));
  ASSERT_NE(key, nullptr);
  EXPECT_EQ(1, calls);
  obset* set = nullptr;
  ASSERT_EQ(0, key->Export(obPK_Format_Set, &set, 4));
  Set owned(set);
  Key fromSet(obImportRSAKey(obPK_Format_Set, &set, static_cast<int>(sizeof set)));
  ASSERT_NE(fromSet, nullptr);
  EXPECT_EQ(der, ExportDer(fromSet.get(), obPK_Format_PrivateDER));
  EXPECT_EQ(0, Gated([&] { return obImportRSAKey(obPK_Format_Set, &set, 3) ? 1 : 0; },
                     "nySRSA_imp: wrong pointer length 3"));
  EXPECT_EQ(0, Gated([&] { return obImportRSAKey(static_cast<obPK_Format>(5), der.data(), 4) ? 1 : 0; },
                     "nySRSA_imp: unsupported type to import: 5"));
}

TEST(RsaKeySet, ContentsAndFallbacks) {
  obPubKey* key = ToolKey(1024);
  Bytes der = ExportDer(key, obPK_Format_PrivateDER);
  Set set(obExportRSAKey_to_Set(key));
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(128u, set->GetValue("modulus")->size());
  EXPECT_EQ("01 00 01", ToHex(*set->GetValue("public")));
  const ObBytes* pkcs1 = set->GetSet("private")->GetValue("pkcs1");
  EXPECT_EQ(der, *pkcs1);

  // A damaged PKCS#8 form is passed over for the PKCS#1 one.
  Set damaged(obset_new());
  damaged->Put("modulus", *set->GetValue("modulus"));
  damaged->Put("public", *set->GetValue("public"));
  obset* damagedPriv = obset_new();
  Bytes junk = {0x30, 0x03, 0x02, 0x01, 0x00};
  damagedPriv->Put("pkcs8", junk.data(), static_cast<unsigned>(junk.size()));
  damagedPriv->Put("pkcs1", *pkcs1);
  damaged->PutSet("private", damagedPriv);
  {
    DiagCapture diag;
    Key k(obImportRSAKey_from_Set(damaged.get()));
    EXPECT_TRUE(diag.Saw("obImportRSAKey_from_Set: error reading pkcs8 - continuing"));
    EXPECT_EQ(der, ExportDer(k.get(), obPK_Format_PrivateDER));
  }
  // Without usable private forms the public part remains.
  damagedPriv->Put("pkcs1", junk.data(), static_cast<unsigned>(junk.size()));
  Key pubOnly(obImportRSAKey_from_Set(damaged.get()));
  ASSERT_NE(pubOnly, nullptr);
  EXPECT_EQ(unsigned{nySRSA_Flag_Public}, pubOnly->Flags());
  EXPECT_EQ(1, obPubKey_Equal(key, pubOnly.get()));
  Set empty(obset_new());
  EXPECT_EQ(0, Gated([&] { return nyRSA_from_set(empty.get()) ? 1 : 0; }, "nyRSA_from_set: Error parsing key"));
}

// A key kind that holds its material elsewhere: only the public DER comes out.
class OutsideKeyImp : public obPubKey_imp_vc {
 public:
  explicit OutsideKeyImp(Bytes der) : der_(std::move(der)) {}
  obAlgType algorithm() const override { return obAlg_RSA; }
  int OK() const override { return 1; }
  unsigned Flags() const override { return 0; }
  const char* ClassName() const override { return "OutsideKeyImp"; }
  int Export(obPK_Format fmt, void* out, int outLen) override {
    if (fmt != obPK_Format_PublicDER || der_.empty()) return obPubKey_imp_vc::Export(fmt, out, outLen);
    if (out && outLen >= static_cast<int>(der_.size()))
      std::copy(der_.begin(), der_.end(), static_cast<unsigned char*>(out));
    return static_cast<int>(der_.size());
  }

 private:
  Bytes der_;
};

class OutsideKey : public obPubKey {
 public:
  explicit OutsideKey(Bytes der) : obPubKey(new OutsideKeyImp(std::move(der))) {}
};

TEST(RsaKeySet, ExportFallsBackToPublicPart) {
  Key outside(new OutsideKey(ExportDer(ToolKey(1024), obPK_Format_PublicDER)));
  Set set(obExportRSAKey_to_Set(outside.get()));
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(nullptr, set->GetSet("private"));
  Key back(obImportRSAKey_from_Set(set.get()));
  EXPECT_EQ(1, obPubKey_Equal(ToolKey(1024), back.get()));
  Key silent(new OutsideKey({}));
  EXPECT_EQ(0, Gated([&] { return obExportRSAKey_to_Set(silent.get()) ? 1 : 0; },
                     "obExportRSAKey_to_Set: error exporting public part!"));
  Key garbled(new OutsideKey({0x30, 0x00}));
  EXPECT_EQ(0, Gated([&] { return obExportRSAKey_to_Set(garbled.get()) ? 1 : 0; },
                     "obExportRSAKey_to_Set: nyRSA_from_buf failed"));
}

TEST(RsaKeyPrint, HerrorLines) {
  Gated([] { return ToolKey(1024)->Herror(), 0; });
  DiagCapture diag;
  nyRSA_herror(nullptr);
  EXPECT_TRUE(diag.Saw("No RSA key"));
  ToolKey(1024)->Herror();
  for (const char* line : {"Modulus", "Public exponent", "Exponent", "Private operation can use shortcut"})
    EXPECT_TRUE(diag.Saw(line)) << line;
  diag.Clear();
  PublicOf(ToolKey(1024))->Herror();
  EXPECT_FALSE(diag.Saw("Private operation can use shortcut"));
}

struct MdName {
  ob_md_type md;
  const char* name;
};
const MdName kDigests[] = {{ob_md_md5, "md5"},
                           {ob_md_sha1, "sha1"},
                           {ob_md_sha256, "sha256"},
                           {ob_md_sha384, "sha384"},
                           {ob_md_sha512, "sha512"}};

// Signatures exchanged with the openssl tool both ways, for each digest and key size.
class RsaKeyInterop : public ::testing::TestWithParam<int> {};

TEST_P(RsaKeyInterop, SignaturesVerifyBothWays) {
  int bits = GetParam();
  std::string pem = CachedKey(bits);
  obPubKey* key = ToolKey(bits);
  ASSERT_NE(key, nullptr) << "openssl could not make a key of " << bits;
  TempDir dir;
  ASSERT_TRUE(Openssl(dir.path(), "pkey -in '" + pem + "' -pubout -out pub.pem"));
  Key pub = PemKey(dir.File("pub.pem"));
  ASSERT_NE(pub, nullptr);
  Bytes message(1000);
  for (size_t i = 0; i < message.size(); ++i) message[i] = static_cast<unsigned char>(i * 7 + bits);
  WriteBytes(dir.File("msg"), message);
  for (const MdName& d : kDigests) {
    Bytes digest = Digest(d.md, message);
    WriteBytes(dir.File("ours.sig"), Sign(key, obPKop_DigestInfo, d.md, digest));
    EXPECT_TRUE(Openssl(dir.path(), std::string("dgst -") + d.name + " -verify pub.pem -signature ours.sig msg"))
        << d.name << " " << bits;
    ASSERT_TRUE(Openssl(dir.path(), std::string("dgst -") + d.name + " -sign '" + pem + "' -out theirs.sig msg"));
    EXPECT_EQ(0, Verify(pub.get(), obPKop_DigestInfo, d.md, digest, ReadBytes(dir.File("theirs.sig"))))
        << d.name << " " << bits;
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, RsaKeyInterop, ::testing::Values(1024, 2048, 3072, 4096));

// Forged signature blocks, made with the raw private operation of the tool's
// key, are refused end to end; the well-formed block verifies.
TEST(RsaKeyForgery, MalformedBlocksAreRefused) {
  Bytes pem = ReadBytes(CachedKey(2048));
  BIO* bio = BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size()));
  std::unique_ptr<EVP_PKEY, void (*)(EVP_PKEY*)> raw(PEM_read_bio_PrivateKey(bio, nullptr, nullptr, nullptr),
                                                     EVP_PKEY_free);
  BIO_free(bio);
  ASSERT_NE(raw, nullptr);
  Key pub = PublicOf(ToolKey(2048));
  Bytes digest = Digest(ob_md_sha256, kMessage), info = DigestInfoOf(ob_md_sha256, digest);
  auto rawSign = [&](const Bytes& block) {
    EVP_PKEY_CTX* ctx = EVP_PKEY_CTX_new_from_pkey(nullptr, raw.get(), nullptr);
    Bytes sig(256);
    size_t len = sig.size();
    EXPECT_TRUE(ctx && EVP_PKEY_sign_init(ctx) > 0 && EVP_PKEY_CTX_set_rsa_padding(ctx, RSA_NO_PADDING) > 0 &&
                EVP_PKEY_sign(ctx, sig.data(), &len, block.data(), block.size()) > 0);
    EVP_PKEY_CTX_free(ctx);
    return sig;
  };
  // 00 01, pad octets FF (all the room by default), zeros, payload: 256 octets.
  auto block = [](const Bytes& payload, size_t pad = 0) {
    Bytes b(256, 0x00);
    b[1] = 0x01;
    std::fill_n(b.begin() + 2, pad ? pad : 253 - payload.size(), 0xFF);
    std::copy(payload.begin(), payload.end(), b.end() - static_cast<long>(payload.size()));
    return b;
  };
  auto check = [&](const Bytes& b) { return Verify(pub.get(), obPKop_DigestInfo, ob_md_sha256, digest, rawSign(b)); };
  EXPECT_EQ(0, check(block(info)));
  Bytes trailing = info;
  trailing.insert(trailing.end(), {0xDE, 0xAD, 0xBE, 0xEF});
  // The NULL parameters replaced by an octet string of garbage, lengths fixed up.
  Bytes params = Hex("30 35 30 11 06 09 60 86 48 01 65 03 04 02 01 04 04 11 22 33 44 04 20");
  params.insert(params.end(), digest.begin(), digest.end());
  EXPECT_NE(0, check(block(trailing)));
  EXPECT_NE(0, check(block(params)));
  EXPECT_NE(0, check(block(info, 2)));  // two padding octets, zeros up to the DigestInfo
}

TEST(RsaKeyGen, LucasAgreesWithTrialDivision) {
  BN_CTX* ctx = BN_CTX_new();
  BIGNUM* n = BN_new();
  for (unsigned long v = 1; v < 5459; ++v) {
    bool prime = v > 1;
    for (unsigned long f = 2; f * f <= v && prime; ++f) prime = v % f != 0;
    BN_set_word(n, v);
    EXPECT_EQ(prime ? 1 : 0, nyLucasProbablePrime(n, ctx)) << v;
  }
  // Strong Lucas pseudoprimes: composite, yet they pass.
  for (unsigned long v : {5459ul, 5777ul, 10877ul}) {
    BN_set_word(n, v);
    EXPECT_EQ(1, nyLucasProbablePrime(n, ctx)) << v;
  }
  // 2^127 - 1 is prime; 2^127 + 3 and the square of a prime (no Jacobi symbol of -1) are not.
  BN_zero(n);
  BN_set_bit(n, 127);
  BN_sub_word(n, 1);
  EXPECT_EQ(1, nyLucasProbablePrime(n, ctx));
  BN_add_word(n, 4);
  EXPECT_EQ(0, nyLucasProbablePrime(n, ctx));
  BN_set_word(n, 1000003);
  BN_sqr(n, n, ctx);
  EXPECT_EQ(0, nyLucasProbablePrime(n, ctx));
  BN_free(n);
  BN_CTX_free(ctx);
}

TEST(RsaKeyGen, GeneratedKeysAreSoundAndExact) {
  TempDir dir;
  for (int bits : {1024, 1536, 2048}) {
    Key key(obGenerateRSA(bits));
    ASSERT_NE(key, nullptr) << bits;
    EXPECT_EQ(bits, key->GetLen(obPK_Len_Bits));
    WriteBytes(dir.File("gen.der"), ExportDer(key.get(), obPK_Format_PrivateDER));
    std::string text = OpensslOutput(dir.path(), "rsa -check -text -noout -inform DER -in gen.der");
    EXPECT_NE(std::string::npos, text.find("RSA key ok")) << text;
    EXPECT_NE(std::string::npos, text.find("publicExponent: 65537")) << text;
    EXPECT_EQ(1, nyRSA_is_ok(static_cast<nySRSA*>(key.get())->RSAImp()->Key()));
  }
  EXPECT_EQ(0, Gated([] { return nyGenRSA(256) ? 1 : 0; }, "nyGenRSA: unsupported key size 256"));
}

obPubKey* PublicOnlyGenerator(void* context, int) { return PublicOf(static_cast<obPubKey*>(context)).release(); }

TEST(RsaKeyGen, ConsistencyTestRejectsUnusableKeys) {
  obSetGenRSAKey_func(PublicOnlyGenerator, ToolKey(1024));
  EXPECT_EQ(0, Gated([] {
              Key key(obGenerateRSA(1024));
              return key ? 1 : 0;
            },
            "obGenerateRSA: key failed consistency test!"));
  obSetGenRSAKey_func(nullptr, nullptr);
  EXPECT_NE(Key(obGenerateRSA(512)), nullptr);
}

}  // namespace
