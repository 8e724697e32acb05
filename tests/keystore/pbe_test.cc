// Password-based encryption of private keys: every PBES2 pseudorandom
// function and cipher the openssl tool writes, scrypt, and the work limits.
#include "nycert/keystore/pbe.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "nycert/asn1/modules/pkcs5.h"
#include "nycert/asn1/modules/pkcs8.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_null.h"
#include "support/p12_files.h"
#include "support/test_support.h"

namespace {

constexpr char kPassword[] = "pkcs8-Pass";

// Decrypts the EncryptedPrivateKeyInfo `openssl pkcs8 -topk8 <args>` makes
// of the leaf key: the result, with the plaintext in out.
int DecryptOpensslKey(const std::string& name, const std::string& args, nyBinBuf& out, obString& why) {
  const P12TestFiles& files = SharedP12Files();
  std::string file = "pkcs8_" + name + ".der";
  if (!Openssl(files.dir, "pkcs8 -topk8 -in p12_leaf.key -outform DER -passout pass:" + std::string(kPassword) +
                              " -out " + file + " " + args))
    return 1;
  Bytes der = ReadBytes(files.File(file));
  obASN_EncryptedPrivateKeyInfo info;
  EXPECT_EQ(0, obAsnDecode(info, der.data(), der.size())) << name;
  return obPbe_Decrypt(info.encryptionAlgorithm, obP12PasswordForms(kPassword).front(), info.encryptedData.data(),
                       info.encryptedData.size(), out, why);
}

struct Pkcs8Case {
  const char* name;
  const char* args;
};

class PbeReadPkcs8 : public ::testing::TestWithParam<Pkcs8Case> {};

TEST_P(PbeReadPkcs8, GivesBackTheKey) {
  nyBinBuf out;
  obString why;
  int rc = DecryptOpensslKey(GetParam().name, GetParam().args, out, why);
  if (rc == 1) GTEST_SKIP() << "the openssl tool does not write " << GetParam().args;
  ASSERT_EQ(0, rc) << why.getstr();
  EXPECT_EQ(SharedP12Files().keyDer, Bytes(out.Data(), out.Data() + out.Len()));
}

#define LEGACY "-provider legacy -provider default "
INSTANTIATE_TEST_SUITE_P(
    Schemes, PbeReadPkcs8,
    ::testing::Values(Pkcs8Case{"sha1", "-v2 aes-128-cbc -v2prf hmacWithSHA1"},
                      Pkcs8Case{"sha224", "-v2 aes-192-cbc -v2prf hmacWithSHA224"},
                      Pkcs8Case{"sha384", "-v2 aes-256-cbc -v2prf hmacWithSHA384"},
                      Pkcs8Case{"sha512", "-v2 aes-256-cbc -v2prf hmacWithSHA512"},
                      Pkcs8Case{"sha512_224", "-v2 aes-256-cbc -v2prf hmacWithSHA512-224"},
                      Pkcs8Case{"sha512_256", "-v2 aes-256-cbc -v2prf hmacWithSHA512-256"},
                      Pkcs8Case{"sha3_256", "-v2 aes-256-cbc -v2prf hmac-sha3-256"},
                      Pkcs8Case{"md5", "-v2 aes-256-cbc -v2prf hmacWithMD5"},
                      Pkcs8Case{"camellia", "-v2 camellia-192-cbc"}, Pkcs8Case{"aria", "-v2 aria-256-cbc"},
                      Pkcs8Case{"des3", "-v2 des-ede3-cbc"}, Pkcs8Case{"des", LEGACY "-v2 des-cbc"},
                      Pkcs8Case{"rc2", LEGACY "-v2 rc2-cbc"}, Pkcs8Case{"rc2_40", LEGACY "-v2 rc2-40-cbc"},
                      Pkcs8Case{"bf", LEGACY "-v2 bf-cbc"}, Pkcs8Case{"cast5", LEGACY "-v2 cast5-cbc"},
                      Pkcs8Case{"seed", LEGACY "-v2 seed-cbc"},
                      Pkcs8Case{"scrypt", "-scrypt -scrypt_N 1024 -scrypt_r 8 -scrypt_p 1"},
                      Pkcs8Case{"pbes1", LEGACY "-v1 PBE-SHA1-RC2-64"}),
    [](const ::testing::TestParamInfo<Pkcs8Case>& p) { return std::string(p.param.name); });

TEST(PbeReadPkcs8Password, WrongPasswordFailsThePadding) {
  const P12TestFiles& files = SharedP12Files();
  ASSERT_TRUE(Openssl(files.dir, "pkcs8 -topk8 -in p12_leaf.key -outform DER -passout pass:right -out wrongpw.der"));
  Bytes der = ReadBytes(files.File("wrongpw.der"));
  obASN_EncryptedPrivateKeyInfo info;
  ASSERT_EQ(0, obAsnDecode(info, der.data(), der.size()));
  nyBinBuf out;
  obString why;
  // A wrong key still yields valid padding now and then; most of the time it does not.
  int wrong = 0;
  for (const char* guess : {"wrong", "Right", "right ", "rightt", "r1ght"}) {
    wrong += obPbe_Decrypt(info.encryptionAlgorithm, obP12PasswordForms(guess).front(), info.encryptedData.data(),
                           info.encryptedData.size(), out, why) == kPbeWrongPassword;
  }
  EXPECT_GE(wrong, 3);
}

// PBES2 parameters with the given key derivation, for the limit checks.
obASN_AlgorithmIdentifier Pbes2(const obAsnOid& kdfOid, obAsnType* kdfParams) {
  auto* pbes2 = new obASN_PBES2_params;
  pbes2->keyDerivationFunc.algorithm = kdfOid;
  pbes2->keyDerivationFunc.parameters.emplace().SetValue(kdfParams);
  pbes2->encryptionScheme.algorithm = obASN_aes256_CBC;
  pbes2->encryptionScheme.parameters.emplace().SetValue(new obAsnOcts(Hex("00112233445566778899AABBCCDDEEFF").data(), 16));
  obASN_AlgorithmIdentifier alg;
  alg.algorithm = obASN_id_PBES2;
  alg.parameters.emplace().SetValue(pbes2);
  // Through DER, as a reader meets it.
  nyBinBuf der;
  obAsnEncode(alg, der);
  obASN_AlgorithmIdentifier decoded;
  obAsnDecode(decoded, der.Data(), der.Len());
  return decoded;
}

TEST(PbeLimits, CostlySchemesAreRefusedUpFront) {
  const unsigned char block[16] = {0};
  nyBinBuf out;
  obString why;
  auto* pbkdf2 = new obASN_PBKDF2_params;
  pbkdf2->salt.Select_specified().Set(block, 8);
  pbkdf2->iterationCount.Set(2000000000L);
  EXPECT_EQ(kPbeTooCostly, obPbe_Decrypt(Pbes2(obASN_id_PBKDF2, pbkdf2), obP12PasswordForms("x").front(), block,
                                         sizeof block, out, why));
  EXPECT_NE(nullptr, std::strstr(why.getstr(), "above the limit"));

  auto scrypt = [&block](long n) {
    auto* params = new obASN_Scrypt_params;
    params->salt.Set(block, 8);
    params->costParameter.Set(n);
    params->blockSize.Set(8);
    params->parallelizationParameter.Set(1);
    return Pbes2(obASN_id_scrypt, params);
  };
  EXPECT_EQ(kPbeTooCostly, obPbe_Decrypt(scrypt(1L << 22), obP12PasswordForms("x").front(), block, sizeof block,
                                         out, why));
  EXPECT_EQ(kPbeMalformed, obPbe_Decrypt(scrypt(1000), obP12PasswordForms("x").front(), block, sizeof block, out,
                                         why));
  obPbeLimits tight;
  tight.maxScryptMemory = 1u << 20;
  EXPECT_EQ(kPbeTooCostly, obPbe_Decrypt(scrypt(16384), obP12PasswordForms("x").front(), block, sizeof block, out,
                                         why, tight));
}

TEST(PbeLimits, UnknownAlgorithmsAreNamed) {
  const unsigned char block[16] = {0};
  nyBinBuf out;
  obString why;
  obASN_AlgorithmIdentifier alg;
  alg.algorithm.Set("1.2.3.4.5");
  EXPECT_EQ(kPbeUnsupported, obPbe_Decrypt(alg, obP12PasswordForms("x").front(), block, 16, out, why));
  EXPECT_NE(nullptr, std::strstr(why.getstr(), "1.2.3.4.5"));
  auto* pbkdf2 = new obASN_PBKDF2_params;
  pbkdf2->salt.Select_specified().Set(block, 8);
  pbkdf2->iterationCount.Set(10);
  pbkdf2->prf.emplace().algorithm.Set("1.2.840.113549.2.99");
  EXPECT_EQ(kPbeUnsupported, obPbe_Decrypt(Pbes2(obASN_id_PBKDF2, pbkdf2), obP12PasswordForms("x").front(), block,
                                           16, out, why));
  EXPECT_NE(nullptr, std::strstr(why.getstr(), "1.2.840.113549.2.99"));
}

}  // namespace
