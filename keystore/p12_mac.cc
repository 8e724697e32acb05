#include "nycert/keystore/p12_mac.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/objects.h>

#include <climits>
#include <cstdint>
#include <string>

#include "nycert/asn1/runtime/asn_null.h"
#include "nycert/keystore/pbe_kdf.h"
#include "nycert/platform/obrand.h"

namespace {

constexpr size_t kMacSaltLen = 8;

long Iterations(const obASN_MacData& mac) {
  int64_t v = 0;
  if (mac.iterationsOrDefault().GetInt64(v) < 0 || v < 1 || v > static_cast<int64_t>(LONG_MAX)) return -1;
  return static_cast<long>(v);
}

// HMAC of data under the key derived for md: its length in out, or -1.
int ComputeMac(EVP_MD* md, long iterations, const nyBinBuf& bmpPassword, const unsigned char* salt, size_t saltLen,
               const unsigned char* data, size_t len, unsigned char* out) {
  const char* name = EVP_MD_get0_name(md);
  int mdLen = EVP_MD_get_size(md);
  unsigned char key[EVP_MAX_MD_SIZE];
  size_t outLen = 0;
  int rc = mdLen > 0 &&
                   obPbeKdfPkcs12(name, bmpPassword, salt, saltLen, iterations, 3, key,
                                  static_cast<size_t>(mdLen)) == 0 &&
                   EVP_Q_mac(obPbeLibCtx(), "HMAC", nullptr, name, nullptr, key, static_cast<size_t>(mdLen), data,
                             len, out, EVP_MAX_MD_SIZE, &outLen)
               ? static_cast<int>(outLen)
               : -1;
  OPENSSL_cleanse(key, sizeof key);
  return rc;
}

}  // namespace

int obP12Mac_Verify(const obASN_MacData& mac, const nyBinBuf& bmpPassword, const unsigned char* data, size_t len,
                    obString& why) {
  long iterations = Iterations(mac);
  if (iterations < 0) {
    why = "malformed MAC iteration count";
    return -1;
  }
  if (iterations > kPbeMaxIterations) {
    why = "MAC iteration count above the limit";
    return -1;
  }
  const obAsnOid& alg = mac.mac.digestAlgorithm.algorithm;
  EVP_MD* md = obPbeFetchDigest(alg.Dotted());
  if (!md) {
    why = obString("MAC digest ") + alg.Dotted() + " is not available in the installed libcrypto";
    return -1;
  }
  unsigned char out[EVP_MAX_MD_SIZE];
  int n = ComputeMac(md, iterations, bmpPassword, mac.macSalt.data(), mac.macSalt.size(), data, len, out);
  EVP_MD_free(md);
  if (n < 0) {
    why = "obPKCS12_AuthenticatePFX: failed computing digest";
    return -1;
  }
  return static_cast<unsigned long>(n) == mac.mac.digest.size() && CRYPTO_memcmp(out, mac.mac.digest.data(), n) == 0;
}

int obP12Mac_Make(const char* digest, long iterations, const nyBinBuf& bmpPassword, const unsigned char* data,
                  size_t len, obASN_MacData& mac) {
  EVP_MD* md = obPbeFetchDigest(digest);
  unsigned char salt[kMacSaltLen];
  unsigned char out[EVP_MAX_MD_SIZE];
  int n = md && obrand_gen(salt, static_cast<int>(kMacSaltLen)) == 0
              ? ComputeMac(md, iterations, bmpPassword, salt, kMacSaltLen, data, len, out)
              : -1;
  char dotted[64];
  if (n > 0 && OBJ_obj2txt(dotted, sizeof dotted, OBJ_nid2obj(EVP_MD_get_type(md)), 1) > 0 &&
      mac.mac.digestAlgorithm.algorithm.Set(dotted) == 0) {
    mac.mac.digestAlgorithm.parameters.emplace().SetValue(new obAsnNull);
    mac.mac.digest.Set(out, static_cast<unsigned long>(n));
    mac.macSalt.Set(salt, kMacSaltLen);
    if (iterations != 1) mac.iterations.reset(new obAsnInt(iterations));
  } else {
    n = -1;
  }
  EVP_MD_free(md);
  return n > 0 ? 0 : -1;
}

obString obP12Mac_Describe(const obASN_MacData& mac) {
  EVP_MD* md = obPbeFetchDigest(mac.mac.digestAlgorithm.algorithm.Dotted());
  std::string text = "HMAC-";
  text += md ? EVP_MD_get0_name(md) : mac.mac.digestAlgorithm.algorithm.Dotted().getstr();
  text += ", " + std::to_string(Iterations(mac)) + " iterations";
  EVP_MD_free(md);
  return obString(text.c_str());
}
