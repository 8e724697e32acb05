// Password-based key derivation for key files: the PKCS #12 derivation
// (RFC 7292 appendix B), PBKDF1 and PBKDF2 (RFC 8018) and scrypt (RFC 7914).
//
// Everything runs in a libcrypto library context of the library's own, with
// the default provider and, where installed, the legacy one (RC2, RC4, DES,
// Blowfish, CAST5, SEED): the application's default context is never touched.
#ifndef NYCERT_KEYSTORE_PBE_KDF_H_
#define NYCERT_KEYSTORE_PBE_KDF_H_

#include <cstddef>

#include "nycert/buffers/nybinbuf.h"

typedef struct ossl_lib_ctx_st OSSL_LIB_CTX;
typedef struct evp_md_st EVP_MD;

// Bounds on the work a file may ask for; anything above is refused before
// any derivation starts.
constexpr long kPbeMaxIterations = 10000000;
constexpr long kPbeMaxScryptN = 1L << 20;
constexpr unsigned long kPbeMaxScryptMemory = 1UL << 30;  // 128 * r * (N + p) octets
constexpr size_t kPbeMaxKeyLength = 64;

// The library's own context, made on first use; never null after start-up.
OSSL_LIB_CTX* obPbeLibCtx();

// The digest whose name or dotted identifier is name, fetched from the
// library's context (release with EVP_MD_free); null when not offered.
EVP_MD* obPbeFetchDigest(const char* name);

// PKCS #12 derivation of outLen octets for purpose id (1 key, 2 IV, 3 MAC
// key) from a password in its BMP form: 0, or -1.
int obPbeKdfPkcs12(const char* digest, const nyBinBuf& bmpPassword, const unsigned char* salt, size_t saltLen,
                   long iterations, int id, unsigned char* out, size_t outLen);
// PBKDF1: the first outLen (at most the digest size) octets: 0, or -1.
int obPbeKdf1(const char* digest, const nyBinBuf& password, const unsigned char* salt, size_t saltLen,
              long iterations, unsigned char* out, size_t outLen);
// PBKDF2 with HMAC over digest: 0, or -1.
int obPbeKdf2(const char* digest, const nyBinBuf& password, const unsigned char* salt, size_t saltLen,
              long iterations, unsigned char* out, size_t outLen);
// scrypt with cost n, block size r and parallelism p: 0, or -1.
int obPbeScrypt(const nyBinBuf& password, const unsigned char* salt, size_t saltLen, unsigned long n,
                unsigned long r, unsigned long p, unsigned char* out, size_t outLen);

#endif  // NYCERT_KEYSTORE_PBE_KDF_H_
