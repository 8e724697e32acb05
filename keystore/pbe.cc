#include "nycert/keystore/pbe.h"

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/params.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <string>

#include "nycert/asn1/modules/pkcs12.h"
#include "nycert/asn1/modules/pkcs5.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_null.h"
#include "nycert/keystore/pbe_kdf.h"
#include "nycert/platform/obrand.h"

namespace {

constexpr size_t kSaltLen = 16;
constexpr size_t kPkcs12SaltLen = 8;

enum class Kdf { kPkcs12, kPbkdf1, kPbkdf2, kScrypt };

// Everything needed to derive the key and IV and run the cipher.
struct Plan {
  const char* scheme = "";
  std::string cipher;  // a fetch name or a dotted identifier
  size_t keyLen = 0;   // 0: the cipher's own
  unsigned rc2Bits = 0;
  bool ivFromKdf = false;
  nyBinBuf iv;
  Kdf kdf = Kdf::kPbkdf2;
  std::string digest;
  nyBinBuf salt;
  long iterations = 0;
  unsigned long n = 0, r = 0, p = 0;
};

struct Pkcs12Pbe {
  const obAsnOid* oid;
  const char* name;
  const char* cipher;
  size_t keyLen;
  unsigned rc2Bits;
};

const Pkcs12Pbe kPkcs12Pbes[] = {
    {&obASN_pbeWithSHAAnd128BitRC4, "pbeWithSHAAnd128BitRC4", "RC4", 16, 0},
    {&obASN_pbeWithSHAAnd40BitRC4, "pbeWithSHAAnd40BitRC4", "RC4", 5, 0},
    {&obASN_pbeWithSHAAnd3_KeyTripleDES_CBC, "pbeWithSHAAnd3-KeyTripleDES-CBC", "DES-EDE3-CBC", 24, 0},
    {&obASN_pbeWithSHAAnd2_KeyTripleDES_CBC, "pbeWithSHAAnd2-KeyTripleDES-CBC", "DES-EDE-CBC", 16, 0},
    {&obASN_pbeWithSHAAnd128BitRC2_CBC, "pbeWithSHAAnd128BitRC2-CBC", "RC2-CBC", 16, 128},
    {&obASN_pbewithSHAAnd40BitRC2_CBC, "pbeWithSHAAnd40BitRC2-CBC", "RC2-CBC", 5, 40},
};

struct Pbes1 {
  const obAsnOid* oid;
  const char* name;
  const char* digest;
  const char* cipher;
};

const Pbes1 kPbes1s[] = {
    {&obASN_pbeWithMD2AndDES_CBC, "pbeWithMD2AndDES-CBC", "MD2", "DES-CBC"},
    {&obASN_pbeWithMD2AndRC2_CBC, "pbeWithMD2AndRC2-CBC", "MD2", "RC2-CBC"},
    {&obASN_pbeWithMD5AndDES_CBC, "pbeWithMD5AndDES-CBC", "MD5", "DES-CBC"},
    {&obASN_pbeWithMD5AndRC2_CBC, "pbeWithMD5AndRC2-CBC", "MD5", "RC2-CBC"},
    {&obASN_pbeWithSHA1AndDES_CBC, "pbeWithSHA1AndDES-CBC", "SHA1", "DES-CBC"},
    {&obASN_pbeWithSHA1AndRC2_CBC, "pbeWithSHA1AndRC2-CBC", "SHA1", "RC2-CBC"},
};

struct Prf {
  const obAsnOid* oid;
  const char* digest;
};

const Prf kPrfs[] = {
    {&obASN_id_hmacWithSHA1, "SHA1"},           {&obASN_id_hmacWithSHA224, "SHA2-224"},
    {&obASN_id_hmacWithSHA256, "SHA2-256"},     {&obASN_id_hmacWithSHA384, "SHA2-384"},
    {&obASN_id_hmacWithSHA512, "SHA2-512"},     {&obASN_id_hmacWithSHA512_224, "SHA2-512/224"},
    {&obASN_id_hmacWithSHA512_256, "SHA2-512/256"}, {&obASN_id_hmacWithSHA3_224, "SHA3-224"},
    {&obASN_id_hmacWithSHA3_256, "SHA3-256"},   {&obASN_id_hmacWithSHA3_384, "SHA3-384"},
    {&obASN_id_hmacWithSHA3_512, "SHA3-512"},   {&obASN_id_hmacWithMD5, "MD5"},
};

// Decodes the parameters of alg into params: false when absent or malformed.
template <class T>
bool DecodeParams(const obASN_AlgorithmIdentifier& alg, T& params) {
  return alg.parameters && !alg.parameters->Raw().empty() &&
         obAsnDecode(params, alg.parameters->Raw().data(), alg.parameters->Raw().size()) == 0;
}

// A non-negative INTEGER that fits in a long: false otherwise.
bool SmallCount(const obAsnInt& value, long& out) {
  int64_t v = 0;
  if (value.GetInt64(v) < 0 || v < 0 || v > static_cast<int64_t>(LONG_MAX)) return false;
  out = static_cast<long>(v);
  return true;
}

int Fail(obString& why, int rc, const char* text) {
  why = text;
  return rc;
}

int CheckIterations(long iterations, obString& why) {
  if (iterations < 1) return Fail(why, kPbeMalformed, "iteration count below 1");
  if (iterations > kPbeMaxIterations) {
    char text[96];
    std::snprintf(text, sizeof text, "iteration count %ld above the limit of %ld", iterations, kPbeMaxIterations);
    return Fail(why, kPbeTooCostly, text);
  }
  return 0;
}

int PlanPkcs12(const Pkcs12Pbe& pbe, const obASN_AlgorithmIdentifier& alg, Plan& plan, obString& why) {
  obASN_PKCS12PbeParams params;
  if (!DecodeParams(alg, params) || !SmallCount(params.iterations, plan.iterations))
    return Fail(why, kPbeMalformed, "malformed PKCS#12 PBE parameters");
  plan.scheme = pbe.name;
  plan.kdf = Kdf::kPkcs12;
  plan.digest = "SHA1";
  plan.cipher = pbe.cipher;
  plan.keyLen = pbe.keyLen;
  plan.rc2Bits = pbe.rc2Bits;
  plan.ivFromKdf = true;
  plan.salt.Set(params.salt.data(), static_cast<unsigned>(params.salt.size()));
  return CheckIterations(plan.iterations, why);
}

int PlanPbes1(const Pbes1& pbe, const obASN_AlgorithmIdentifier& alg, Plan& plan, obString& why) {
  obASN_PBEParameter params;
  if (!DecodeParams(alg, params) || !SmallCount(params.iterationCount, plan.iterations))
    return Fail(why, kPbeMalformed, "malformed PBES1 parameters");
  plan.scheme = pbe.name;
  plan.kdf = Kdf::kPbkdf1;
  plan.digest = pbe.digest;
  plan.cipher = pbe.cipher;
  plan.keyLen = 8;
  plan.rc2Bits = plan.cipher == "RC2-CBC" ? 64 : 0;
  plan.ivFromKdf = true;
  plan.salt.Set(params.salt.data(), static_cast<unsigned>(params.salt.size()));
  return CheckIterations(plan.iterations, why);
}

int PlanPbkdf2(const obASN_AlgorithmIdentifier& kdf, Plan& plan, obString& why) {
  obASN_PBKDF2_params params;
  if (!DecodeParams(kdf, params) || !SmallCount(params.iterationCount, plan.iterations))
    return Fail(why, kPbeMalformed, "malformed PBKDF2 parameters");
  if (!params.salt.specified) return Fail(why, kPbeUnsupported, "PBKDF2 salt from another source");
  plan.kdf = Kdf::kPbkdf2;
  plan.salt.Set(params.salt.specified->data(), static_cast<unsigned>(params.salt.specified->size()));
  long keyLen = 0;
  if (params.keyLength && (!SmallCount(*params.keyLength, keyLen) || keyLen < 1))
    return Fail(why, kPbeMalformed, "malformed PBKDF2 key length");
  plan.keyLen = static_cast<size_t>(keyLen);
  plan.digest = "SHA1";
  if (params.prf) {
    plan.digest.clear();
    for (const Prf& prf : kPrfs) {
      if (params.prf->algorithm == *prf.oid) plan.digest = prf.digest;
    }
    if (plan.digest.empty()) {
      why = obString("PBKDF2 pseudorandom function ") + params.prf->algorithm.Dotted() + " is not supported";
      return kPbeUnsupported;
    }
  }
  return CheckIterations(plan.iterations, why);
}

int PlanScrypt(const obASN_AlgorithmIdentifier& kdf, Plan& plan, obString& why) {
  obASN_Scrypt_params params;
  long n = 0, r = 0, p = 0, keyLen = 0;
  if (!DecodeParams(kdf, params) || !SmallCount(params.costParameter, n) || !SmallCount(params.blockSize, r) ||
      !SmallCount(params.parallelizationParameter, p) || (params.keyLength && !SmallCount(*params.keyLength, keyLen)))
    return Fail(why, kPbeMalformed, "malformed scrypt parameters");
  if (n < 2 || (n & (n - 1)) != 0 || r < 1 || p < 1) return Fail(why, kPbeMalformed, "invalid scrypt costs");
  unsigned long memory = 128UL * static_cast<unsigned long>(r) * static_cast<unsigned long>(n + p);
  if (n > kPbeMaxScryptN || r > 1024 || p > 1024 || memory > kPbeMaxScryptMemory)
    return Fail(why, kPbeTooCostly, "scrypt costs above the limits (N 2^20, 1 GiB)");
  plan.kdf = Kdf::kScrypt;
  plan.salt.Set(params.salt.data(), static_cast<unsigned>(params.salt.size()));
  plan.n = static_cast<unsigned long>(n);
  plan.r = static_cast<unsigned long>(r);
  plan.p = static_cast<unsigned long>(p);
  plan.keyLen = static_cast<size_t>(keyLen);
  return 0;
}

// The effective key bits an RC2 parameter version stands for.
unsigned Rc2Bits(long version) {
  switch (version) {
    case 160: return 40;
    case 120: return 64;
    case 58: return 128;
    default: return version >= 256 ? static_cast<unsigned>(version) : 0;
  }
}

int PlanCipher(const obASN_AlgorithmIdentifier& enc, Plan& plan, obString& why) {
  plan.cipher = enc.algorithm.Dotted().getstr();
  if (enc.algorithm == obASN_rc2CBC) {
    obASN_RC2_CBC_Parameter params;
    long version = 32;
    if (!DecodeParams(enc, params) || (params.rc2ParameterVersion && !SmallCount(*params.rc2ParameterVersion, version)))
      return Fail(why, kPbeMalformed, "malformed RC2 parameters");
    plan.rc2Bits = params.rc2ParameterVersion ? Rc2Bits(version) : 32;
    if (!plan.rc2Bits) return Fail(why, kPbeMalformed, "unknown RC2 parameter version");
    plan.iv.Set(params.iv.data(), static_cast<unsigned>(params.iv.size()));
    return 0;
  }
  obAsnOcts iv;
  if (DecodeParams(enc, iv)) {
    plan.iv.Set(iv.data(), static_cast<unsigned>(iv.size()));
    return 0;
  }
  if (enc.algorithm == obASN_cast5CBC) {
    obASN_CAST5CBCParameters params;
    long keyBits = 0;
    if (!DecodeParams(enc, params) || !SmallCount(params.keyLength, keyBits) || keyBits % 8 != 0)
      return Fail(why, kPbeMalformed, "malformed CAST5 parameters");
    static const unsigned char kZeroIv[8] = {0};
    plan.iv.Set(params.iv ? params.iv->data() : kZeroIv, params.iv ? static_cast<unsigned>(params.iv->size()) : 8);
    if (!plan.keyLen) plan.keyLen = static_cast<size_t>(keyBits / 8);
    return 0;
  }
  return Fail(why, kPbeMalformed, "malformed cipher IV");
}

int PlanPbes2(const obASN_AlgorithmIdentifier& alg, Plan& plan, obString& why) {
  obASN_PBES2_params params;
  if (!DecodeParams(alg, params)) return Fail(why, kPbeMalformed, "malformed PBES2 parameters");
  plan.scheme = "PBES2";
  int rc;
  if (params.keyDerivationFunc.algorithm == obASN_id_PBKDF2)
    rc = PlanPbkdf2(params.keyDerivationFunc, plan, why);
  else if (params.keyDerivationFunc.algorithm == obASN_id_scrypt)
    rc = PlanScrypt(params.keyDerivationFunc, plan, why);
  else {
    why = obString("key derivation ") + params.keyDerivationFunc.algorithm.Dotted() + " is not supported";
    return kPbeUnsupported;
  }
  return rc < 0 ? rc : PlanCipher(params.encryptionScheme, plan, why);
}

int MakePlan(const obASN_AlgorithmIdentifier& alg, Plan& plan, obString& why) {
  for (const Pkcs12Pbe& pbe : kPkcs12Pbes) {
    if (alg.algorithm == *pbe.oid) return PlanPkcs12(pbe, alg, plan, why);
  }
  for (const Pbes1& pbe : kPbes1s) {
    if (alg.algorithm == *pbe.oid) return PlanPbes1(pbe, alg, plan, why);
  }
  if (alg.algorithm == obASN_id_PBES2) return PlanPbes2(alg, plan, why);
  why = obString("encryption algorithm ") + alg.algorithm.Dotted() + " is not supported";
  return kPbeUnsupported;
}

// The cipher of the plan, fetched, or null with why naming it.
EVP_CIPHER* FetchCipher(const Plan& plan, obString& why) {
  EVP_CIPHER* cipher = EVP_CIPHER_fetch(obPbeLibCtx(), plan.cipher.c_str(), nullptr);
  if (!cipher) why = obString("cipher ") + plan.cipher.c_str() + " is not available in the installed libcrypto";
  return cipher;
}

// Derives key and IV for the plan: 0, or negative with why set.
int DeriveKeyIv(const Plan& plan, const obP12Password& password, size_t keyLen, size_t ivLen, nyBinBuf& key,
                nyBinBuf& iv, obString& why) {
  key.Set(static_cast<unsigned>(keyLen));
  iv = plan.iv;
  int rc = -1;
  switch (plan.kdf) {
    case Kdf::kPkcs12:
      iv.Set(static_cast<unsigned>(ivLen));
      rc = obPbeKdfPkcs12(plan.digest.c_str(), password.bmp, plan.salt.Data(), plan.salt.Len(), plan.iterations, 1,
                          key.Data(), keyLen);
      if (rc == 0 && ivLen)
        rc = obPbeKdfPkcs12(plan.digest.c_str(), password.bmp, plan.salt.Data(), plan.salt.Len(), plan.iterations,
                            2, iv.Data(), ivLen);
      break;
    case Kdf::kPbkdf1: {
      unsigned char dk[16];
      rc = obPbeKdf1(plan.digest.c_str(), password.raw, plan.salt.Data(), plan.salt.Len(), plan.iterations, dk, 16);
      if (rc == 0) {
        key.Set(dk, 8);
        iv.Set(dk + 8, 8);
      }
      OPENSSL_cleanse(dk, sizeof dk);
      break;
    }
    case Kdf::kPbkdf2:
      rc = obPbeKdf2(plan.digest.c_str(), password.raw, plan.salt.Data(), plan.salt.Len(), plan.iterations,
                     key.Data(), keyLen);
      break;
    case Kdf::kScrypt:
      rc = obPbeScrypt(password.raw, plan.salt.Data(), plan.salt.Len(), plan.n, plan.r, plan.p, key.Data(), keyLen);
      break;
  }
  if (rc < 0) {
    why = obString("key derivation with ") + plan.digest.c_str() + " failed or is not available";
    return kPbeUnsupported;
  }
  return 0;
}

// Runs the cipher of the plan over in: 0, kPbeWrongPassword on bad padding,
// or another negative result with why set.
int RunCipher(const Plan& plan, const obP12Password& password, bool encrypt, const unsigned char* in, size_t inLen,
              nyBinBuf& out, obString& why) {
  EVP_CIPHER* cipher = FetchCipher(plan, why);
  if (!cipher) return kPbeUnsupported;
  EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
  size_t keyLen = plan.keyLen ? plan.keyLen : static_cast<size_t>(EVP_CIPHER_get_key_length(cipher));
  size_t ivLen = static_cast<size_t>(EVP_CIPHER_get_iv_length(cipher));
  nyBinBuf key, iv;
  unsigned bits = plan.rc2Bits;
  OSSL_PARAM rc2[] = {OSSL_PARAM_construct_uint(OSSL_CIPHER_PARAM_RC2_KEYBITS, &bits), OSSL_PARAM_construct_end()};
  int rc = kPbeMalformed;
  if (!ctx || keyLen > kPbeMaxKeyLength || !EVP_CipherInit_ex2(ctx, cipher, nullptr, nullptr, encrypt, nullptr) ||
      (keyLen != static_cast<size_t>(EVP_CIPHER_get_key_length(cipher)) &&
       !EVP_CIPHER_CTX_set_key_length(ctx, static_cast<int>(keyLen))) ||
      (bits && !EVP_CIPHER_CTX_set_params(ctx, rc2))) {
    why = obString("key length or parameters not accepted by ") + EVP_CIPHER_get0_name(cipher);
  } else if ((rc = DeriveKeyIv(plan, password, keyLen, ivLen, key, iv, why)) == 0) {
    rc = kPbeMalformed;
    nyBinBuf buf(static_cast<unsigned>(inLen + EVP_MAX_BLOCK_LENGTH));
    int n1 = 0, n2 = 0;
    if (iv.Len() != ivLen) {
      why = "IV length does not fit the cipher";
    } else if (!EVP_CipherInit_ex2(ctx, nullptr, key.Data(), ivLen ? iv.Data() : nullptr, encrypt, nullptr) ||
               !EVP_CipherUpdate(ctx, buf.Data(), &n1, in, static_cast<int>(inLen))) {
      why = "cipher failed";
    } else if (!EVP_CipherFinal_ex(ctx, buf.Data() + n1, &n2)) {
      why = "decryption failed (wrong password?)";
      rc = kPbeWrongPassword;
    } else {
      out.Set(buf.Data(), static_cast<unsigned>(n1 + n2));
      rc = 0;
    }
    obP12Wipe(buf);
  }
  obP12Wipe(key);
  EVP_CIPHER_CTX_free(ctx);
  EVP_CIPHER_free(cipher);
  return rc;
}

void SetParams(obASN_AlgorithmIdentifier& alg, const obAsnOid& oid, obAsnType* params) {
  alg.algorithm = oid;
  alg.parameters.emplace().SetValue(params);
}

// Fills plan and alg for writing scheme with fresh salt and IV: 0, or -1.
int WritePlan(obPbeScheme scheme, long iterations, Plan& plan, obASN_AlgorithmIdentifier& alg) {
  plan.iterations = iterations;
  if (scheme != obPbeScheme::kPbes2Aes256) {
    const Pkcs12Pbe& pbe = kPkcs12Pbes[scheme == obPbeScheme::kSha1TripleDes ? 2 : 5];
    plan.kdf = Kdf::kPkcs12;
    plan.digest = "SHA1";
    plan.cipher = pbe.cipher;
    plan.keyLen = pbe.keyLen;
    plan.rc2Bits = pbe.rc2Bits;
    plan.salt.Set(static_cast<unsigned>(kPkcs12SaltLen));
    if (obrand_gen(plan.salt.Data(), static_cast<int>(kPkcs12SaltLen)) < 0) return -1;
    auto* params = new obASN_PKCS12PbeParams;
    params->salt.Set(plan.salt.Data(), plan.salt.Len());
    params->iterations.Set(iterations);
    SetParams(alg, *pbe.oid, params);
    return 0;
  }
  plan.kdf = Kdf::kPbkdf2;
  plan.digest = "SHA2-256";
  plan.cipher = "AES-256-CBC";
  plan.salt.Set(static_cast<unsigned>(kSaltLen));
  plan.iv.Set(16u);
  if (obrand_gen(plan.salt.Data(), static_cast<int>(kSaltLen)) < 0 || obrand_gen(plan.iv.Data(), 16) < 0) return -1;
  auto* pbkdf2 = new obASN_PBKDF2_params;
  pbkdf2->salt.Select_specified().Set(plan.salt.Data(), plan.salt.Len());
  pbkdf2->iterationCount.Set(iterations);
  obASN_AlgorithmIdentifier& prf = pbkdf2->prf.emplace();
  SetParams(prf, obASN_id_hmacWithSHA256, new obAsnNull);
  auto* pbes2 = new obASN_PBES2_params;
  SetParams(pbes2->keyDerivationFunc, obASN_id_PBKDF2, pbkdf2);
  SetParams(pbes2->encryptionScheme, obASN_aes256_CBC, new obAsnOcts(plan.iv.Data(), plan.iv.Len()));
  SetParams(alg, obASN_id_PBES2, pbes2);
  return 0;
}

}  // namespace

int obPbe_Decrypt(const obASN_AlgorithmIdentifier& alg, const obP12Password& password, const unsigned char* in,
                  size_t inLen, nyBinBuf& out, obString& why) {
  Plan plan;
  int rc = MakePlan(alg, plan, why);
  return rc < 0 ? rc : RunCipher(plan, password, false, in, inLen, out, why);
}

int obPbe_Encrypt(obPbeScheme scheme, long iterations, const obP12Password& password, const unsigned char* in,
                  size_t inLen, obASN_AlgorithmIdentifier& alg, nyBinBuf& out) {
  Plan plan;
  obString why;
  if (iterations < 1 || iterations > kPbeMaxIterations || WritePlan(scheme, iterations, plan, alg) < 0) return -1;
  return RunCipher(plan, password, true, in, inLen, out, why);
}

obString obPbe_Describe(const obASN_AlgorithmIdentifier& alg) {
  Plan plan;
  obString why;
  if (MakePlan(alg, plan, why) < 0) return why;
  EVP_CIPHER* cipher = FetchCipher(plan, why);
  std::string text = plan.scheme;
  if (plan.kdf == Kdf::kPbkdf2) text += ", PBKDF2-HMAC-" + plan.digest;
  if (plan.kdf == Kdf::kScrypt) text += ", scrypt";
  text += ", ";
  text += cipher ? EVP_CIPHER_get0_name(cipher) : plan.cipher.c_str();
  if (plan.keyLen) text += ", " + std::to_string(plan.keyLen * 8) + "-bit key";
  if (plan.kdf == Kdf::kScrypt)
    text += ", N " + std::to_string(plan.n) + ", r " + std::to_string(plan.r) + ", p " + std::to_string(plan.p);
  else
    text += ", " + std::to_string(plan.iterations) + " iterations";
  EVP_CIPHER_free(cipher);
  return obString(text.c_str());
}
