// RSA key generation and the pluggable generator behind obGenerateRSA.
#ifndef NYCERT_KEYS_RSA_GEN_H_
#define NYCERT_KEYS_RSA_GEN_H_

#include <openssl/types.h>

#include "nycert/platform/export.h"

class obPubKey;

// A new RSA key pair with a modulus of exactly bits bits (512 to 16384) and
// the public exponent 65537, or null. Each prime must pass 8 rounds of
// Miller-Rabin and a strong Lucas test.
NYCERT_EXPORT EVP_PKEY* nyGenRSA(int bits);

// The strong Lucas probable-prime test with Selfridge's parameters (D the
// first of 5, -7, 9, -11, ... with Jacobi symbol (D/n) = -1, P = 1,
// Q = (1 - D) / 4): 1 when n passes, 0 when n is composite (or even, or
// below 3 other than 2), -1 on an arithmetic failure.
NYCERT_EXPORT int nyLucasProbablePrime(const BIGNUM* n, BN_CTX* ctx);

// A generator: a new key handle of bits bits, or null.
typedef obPubKey* (*obGenRSAKeyFn)(void* context, int bits);
// Installs the generator of obGenerateRSA; null restores the built-in one.
NYCERT_EXPORT void obSetGenRSAKey_func(obGenRSAKeyFn func, void* context);
// A key from the installed generator that signs and verifies a fixed
// message correctly, or null.
NYCERT_EXPORT obPubKey* obGenerateRSA(int bits);

#endif  // NYCERT_KEYS_RSA_GEN_H_
