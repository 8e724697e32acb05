#include "nycert/keystore/pbe_kdf.h"

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/kdf.h>
#include <openssl/params.h>
#include <openssl/provider.h>

#include <algorithm>
#include <cstdint>

namespace {

OSSL_LIB_CTX* MakeLibCtx() {
  OSSL_LIB_CTX* ctx = OSSL_LIB_CTX_new();
  if (!ctx) return nullptr;
  OSSL_PROVIDER_load(ctx, "default");
  // Optional: without it the legacy algorithms are reported as missing.
  OSSL_PROVIDER_load(ctx, "legacy");
  return ctx;
}

// Runs the KDF name over params into out: 0, or -1.
int Derive(const char* name, OSSL_PARAM* params, unsigned char* out, size_t outLen) {
  EVP_KDF* kdf = EVP_KDF_fetch(obPbeLibCtx(), name, nullptr);
  EVP_KDF_CTX* kctx = kdf ? EVP_KDF_CTX_new(kdf) : nullptr;
  int rc = kctx && EVP_KDF_derive(kctx, out, outLen, params) == 1 ? 0 : -1;
  EVP_KDF_CTX_free(kctx);
  EVP_KDF_free(kdf);
  return rc;
}

// The password as a KDF parameter; an empty one still needs a valid pointer.
OSSL_PARAM PasswordParam(const nyBinBuf& password) {
  static unsigned char none = 0;
  unsigned char* p = password.IsEmpty() ? &none : const_cast<unsigned char*>(password.Data());
  return OSSL_PARAM_construct_octet_string(OSSL_KDF_PARAM_PASSWORD, p, password.Len());
}

OSSL_PARAM SaltParam(const unsigned char* salt, size_t saltLen) {
  static unsigned char none = 0;
  return OSSL_PARAM_construct_octet_string(OSSL_KDF_PARAM_SALT, saltLen ? const_cast<unsigned char*>(salt) : &none,
                                           saltLen);
}

}  // namespace

OSSL_LIB_CTX* obPbeLibCtx() {
  static OSSL_LIB_CTX* ctx = MakeLibCtx();
  return ctx;
}

EVP_MD* obPbeFetchDigest(const char* name) { return EVP_MD_fetch(obPbeLibCtx(), name, nullptr); }

int obPbeKdfPkcs12(const char* digest, const nyBinBuf& bmpPassword, const unsigned char* salt, size_t saltLen,
                   long iterations, int id, unsigned char* out, size_t outLen) {
  if (iterations < 1 || iterations > kPbeMaxIterations) return -1;
  uint64_t iter = static_cast<uint64_t>(iterations);
  OSSL_PARAM params[] = {
      PasswordParam(bmpPassword),
      SaltParam(salt, saltLen),
      OSSL_PARAM_construct_uint64(OSSL_KDF_PARAM_ITER, &iter),
      OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, const_cast<char*>(digest), 0),
      OSSL_PARAM_construct_int(OSSL_KDF_PARAM_PKCS12_ID, &id),
      OSSL_PARAM_construct_end(),
  };
  return Derive("PKCS12KDF", params, out, outLen);
}

int obPbeKdf1(const char* digest, const nyBinBuf& password, const unsigned char* salt, size_t saltLen,
              long iterations, unsigned char* out, size_t outLen) {
  if (iterations < 1 || iterations > kPbeMaxIterations) return -1;
  EVP_MD* md = obPbeFetchDigest(digest);
  EVP_MD_CTX* mctx = EVP_MD_CTX_new();
  unsigned char t[EVP_MAX_MD_SIZE];
  unsigned tLen = 0;
  int ok = md && mctx && outLen <= static_cast<size_t>(EVP_MD_get_size(md)) &&
           EVP_DigestInit_ex(mctx, md, nullptr) && EVP_DigestUpdate(mctx, password.Data(), password.Len()) &&
           EVP_DigestUpdate(mctx, salt, saltLen) && EVP_DigestFinal_ex(mctx, t, &tLen);
  for (long i = 1; ok && i < iterations; ++i) ok = EVP_Digest(t, tLen, t, &tLen, md, nullptr);
  if (ok) std::copy(t, t + outLen, out);
  OPENSSL_cleanse(t, sizeof t);
  EVP_MD_CTX_free(mctx);
  EVP_MD_free(md);
  return ok ? 0 : -1;
}

int obPbeKdf2(const char* digest, const nyBinBuf& password, const unsigned char* salt, size_t saltLen,
              long iterations, unsigned char* out, size_t outLen) {
  if (iterations < 1 || iterations > kPbeMaxIterations) return -1;
  uint64_t iter = static_cast<uint64_t>(iterations);
  int noCheck = 1;  // short salts and small counts occur in files written long ago
  OSSL_PARAM params[] = {
      PasswordParam(password),
      SaltParam(salt, saltLen),
      OSSL_PARAM_construct_uint64(OSSL_KDF_PARAM_ITER, &iter),
      OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, const_cast<char*>(digest), 0),
      OSSL_PARAM_construct_int(OSSL_KDF_PARAM_PKCS5, &noCheck),
      OSSL_PARAM_construct_end(),
  };
  return Derive("PBKDF2", params, out, outLen);
}

int obPbeScrypt(const nyBinBuf& password, const unsigned char* salt, size_t saltLen, unsigned long n,
                unsigned long r, unsigned long p, unsigned char* out, size_t outLen) {
  if (n > static_cast<unsigned long>(kPbeMaxScryptN) || r > 0xFFFFFFFFUL || p > 0xFFFFFFFFUL) return -1;
  uint64_t n64 = n;
  uint32_t r32 = static_cast<uint32_t>(r), p32 = static_cast<uint32_t>(p);
  uint64_t maxMem = kPbeMaxScryptMemory + 1024 * 1024;
  OSSL_PARAM params[] = {
      PasswordParam(password),
      SaltParam(salt, saltLen),
      OSSL_PARAM_construct_uint64(OSSL_KDF_PARAM_SCRYPT_N, &n64),
      OSSL_PARAM_construct_uint32(OSSL_KDF_PARAM_SCRYPT_R, &r32),
      OSSL_PARAM_construct_uint32(OSSL_KDF_PARAM_SCRYPT_P, &p32),
      OSSL_PARAM_construct_uint64(OSSL_KDF_PARAM_SCRYPT_MAXMEM, &maxMem),
      OSSL_PARAM_construct_end(),
  };
  return Derive("SCRYPT", params, out, outLen);
}
