#include "nycert/keys/rsa_gen.h"

#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/evp.h>

#include <memory>
#include <utility>
#include <vector>

#include "nycert/buffers/diag.h"
#include "nycert/buffers/nybinbuf.h"
#include "nycert/keys/nysrsa.h"
#include "nycert/keys/rsa_import.h"

namespace {

constexpr int kMillerRabinRounds = 8;
constexpr unsigned long kPublicExponent = 65537;
constexpr int kMaxCandidates = 1 << 20;

struct BnFree {
  void operator()(BIGNUM* bn) const { BN_clear_free(bn); }
};
using Bn = std::unique_ptr<BIGNUM, BnFree>;

struct BnCtxFree {
  void operator()(BN_CTX* ctx) const { BN_CTX_free(ctx); }
};
using BnCtx = std::unique_ptr<BN_CTX, BnCtxFree>;

struct MontFree {
  void operator()(BN_MONT_CTX* mont) const { BN_MONT_CTX_free(mont); }
};

// BN_CTX_start / BN_CTX_end around one computation.
class BnFrame {
 public:
  explicit BnFrame(BN_CTX* ctx) : ctx_(ctx) { BN_CTX_start(ctx_); }
  ~BnFrame() { BN_CTX_end(ctx_); }
  BnFrame(const BnFrame&) = delete;
  BnFrame& operator=(const BnFrame&) = delete;
  BIGNUM* Get() { return BN_CTX_get(ctx_); }

 private:
  BN_CTX* ctx_;
};

// The odd primes below 2048, for trial division.
const std::vector<unsigned>& SmallPrimes() {
  static const std::vector<unsigned> primes = [] {
    std::vector<bool> composite(2048, false);
    std::vector<unsigned> found;
    for (unsigned i = 3; i < composite.size(); i += 2) {
      if (composite[i]) continue;
      found.push_back(i);
      for (unsigned j = i * i; j < composite.size(); j += 2 * i) composite[j] = true;
    }
    return found;
  }();
  return primes;
}

// Jacobi symbol (a/m) for odd m > 0 in machine words.
int JacobiWord(unsigned long a, unsigned long m) {
  int result = 1;
  a %= m;
  while (a != 0) {
    while (a % 2 == 0) {
      a /= 2;
      if (m % 8 == 3 || m % 8 == 5) result = -result;
    }
    std::swap(a, m);
    if (a % 4 == 3 && m % 4 == 3) result = -result;
    a %= m;
  }
  return m == 1 ? result : 0;
}

// Jacobi symbol (a/n) for a small signed a and an odd n > 0, by reciprocity
// down to machine words.
int JacobiSmall(long a, const BIGNUM* n) {
  int result = 1;
  unsigned long abs = static_cast<unsigned long>(a < 0 ? -a : a);
  if (a < 0 && BN_mod_word(n, 4) == 3) result = -result;
  unsigned long n8 = BN_mod_word(n, 8);
  while (abs != 0 && abs % 2 == 0) {
    abs /= 2;
    if (n8 == 3 || n8 == 5) result = -result;
  }
  if (abs == 0) return 0;
  if (abs == 1) return result;
  if (abs % 4 == 3 && n8 % 4 == 3) result = -result;
  return result * JacobiWord(BN_mod_word(n, abs), abs);
}

// 1 when n is a perfect square (Newton's integer square root).
int IsSquare(const BIGNUM* n, BN_CTX* ctx) {
  BnFrame f(ctx);
  BIGNUM *x = f.Get(), *y = f.Get(), *q = f.Get();
  if (!q || !BN_set_word(x, 0) || !BN_set_bit(x, (BN_num_bits(n) + 1) / 2)) return -1;
  for (;;) {
    if (!BN_div(q, nullptr, n, x, ctx) || !BN_add(y, x, q) || !BN_rshift1(y, y)) return -1;
    if (BN_cmp(y, x) >= 0) break;
    if (!BN_copy(x, y)) return -1;
  }
  return BN_sqr(y, x, ctx) && BN_cmp(y, n) == 0;
}

// r = a / 2 mod n, for a in [0, n) and odd n.
int HalfMod(BIGNUM* r, const BIGNUM* a, const BIGNUM* n) {
  if (BN_is_odd(a)) return BN_add(r, a, n) && BN_rshift1(r, r);
  return BN_rshift1(r, a);
}

// v = v^2 - 2 qk mod n, then qk = qk^2 mod n: the doubling step of V.
int DoubleV(BIGNUM* v, BIGNUM* qk, const BIGNUM* n, BIGNUM* tmp, BN_CTX* ctx) {
  return BN_mod_sqr(v, v, n, ctx) && BN_mod_lshift1(tmp, qk, n, ctx) && BN_mod_sub(v, v, tmp, n, ctx) &&
         BN_mod_sqr(qk, qk, n, ctx);
}

// Selfridge's D for n: the first of 5, -7, 9, ... with (D/n) = -1. 1 when
// found, 0 when n turns out composite on the way, -1 on failure.
int SelfridgeD(const BIGNUM* n, BN_CTX* ctx, long& d) {
  for (d = 5;; d = d > 0 ? -(d + 2) : -d + 2) {
    int j = JacobiSmall(d, n);
    if (j == -1) return 1;
    if (j == 0 && !BN_is_word(n, static_cast<BN_ULONG>(d < 0 ? -d : d))) return 0;
    if (d == 61) {  // no D found yet: n may be a square, for which none exists
      int square = IsSquare(n, ctx);
      if (square != 0) return square < 0 ? -1 : 0;
    }
  }
}

// a = v mod n for a small signed v.
int SetSignedMod(BIGNUM* a, long v, const BIGNUM* n, BN_CTX* ctx) {
  if (!BN_set_word(a, static_cast<BN_ULONG>(v < 0 ? -v : v))) return 0;
  BN_set_negative(a, v < 0);
  return BN_nnmod(a, a, n, ctx);
}

int LucasStrong(const BIGNUM* n, long d, BN_CTX* ctx) {
  BnFrame f(ctx);
  BIGNUM *dm = f.Get(), *qm = f.Get(), *k = f.Get(), *u = f.Get(), *v = f.Get(), *qk = f.Get();
  BIGNUM *t1 = f.Get(), *t2 = f.Get();
  if (!t2 || !SetSignedMod(dm, d, n, ctx) || !SetSignedMod(qm, (1 - d) / 4, n, ctx)) return -1;
  // n + 1 = k 2^s with k odd.
  if (!BN_copy(k, n) || !BN_add_word(k, 1)) return -1;
  int s = 0;
  while (!BN_is_bit_set(k, s)) ++s;
  if (!BN_rshift(k, k, s)) return -1;

  // U_1 = 1, V_1 = P = 1, Q^1; then left to right over the bits of k.
  if (!BN_one(u) || !BN_one(v) || !BN_copy(qk, qm)) return -1;
  for (int bit = BN_num_bits(k) - 2; bit >= 0; --bit) {
    if (!BN_mod_mul(u, u, v, n, ctx) || !DoubleV(v, qk, n, t1, ctx)) return -1;
    if (!BN_is_bit_set(k, bit)) continue;
    // U_{j+1} = (U_j + V_j) / 2, V_{j+1} = (D U_j + V_j) / 2, with P = 1.
    if (!BN_mod_add(t1, u, v, n, ctx) || !BN_mod_mul(t2, dm, u, n, ctx) || !BN_mod_add(t2, t2, v, n, ctx) ||
        !HalfMod(u, t1, n) || !HalfMod(v, t2, n) || !BN_mod_mul(qk, qk, qm, n, ctx))
      return -1;
  }
  if (BN_is_zero(u)) return 1;
  for (int r = 0; r < s; ++r) {
    if (BN_is_zero(v)) return 1;
    if (r + 1 < s && !DoubleV(v, qk, n, t1, ctx)) return -1;
  }
  return 0;
}

// rounds of Miller-Rabin with random bases: 1 probably prime, 0 composite, -1 failure.
int MillerRabin(const BIGNUM* n, int rounds, BN_CTX* ctx) {
  BnFrame f(ctx);
  BIGNUM *n1 = f.Get(), *d = f.Get(), *range = f.Get(), *a = f.Get(), *y = f.Get();
  std::unique_ptr<BN_MONT_CTX, MontFree> mont(BN_MONT_CTX_new());
  if (!y || !mont || !BN_MONT_CTX_set(mont.get(), n, ctx) || !BN_copy(n1, n) || !BN_sub_word(n1, 1) ||
      !BN_copy(range, n1) || !BN_sub_word(range, 2))
    return -1;
  int s = 0;
  while (!BN_is_bit_set(n1, s)) ++s;
  if (!BN_rshift(d, n1, s)) return -1;
  for (int round = 0; round < rounds; ++round) {
    // a in [2, n - 2]
    if (!BN_priv_rand_range(a, range) || !BN_add_word(a, 2) || !BN_mod_exp_mont(y, a, d, n, ctx, mont.get()))
      return -1;
    if (BN_is_one(y) || BN_cmp(y, n1) == 0) continue;
    int j = 1;
    for (; j < s; ++j) {
      if (!BN_mod_sqr(y, y, n, ctx)) return -1;
      if (BN_cmp(y, n1) == 0) break;
      if (BN_is_one(y)) return 0;
    }
    if (j == s) return 0;
  }
  return 1;
}

bool HasSmallFactor(const BIGNUM* n) {
  for (unsigned p : SmallPrimes())
    if (BN_mod_word(n, p) == 0) return true;
  return false;
}

// A candidate prime for an RSA key: free of small factors, p - 1 prime to
// the public exponent, and probably prime by both tests.
bool IsGoodPrimeCandidate(const BIGNUM* cand, BN_CTX* ctx) {
  if (HasSmallFactor(cand) || BN_mod_word(cand, kPublicExponent) == 1) return false;
  if (MillerRabin(cand, kMillerRabinRounds, ctx) != 1) return false;
  if (nyLucasProbablePrime(cand, ctx) == 1) return true;
  if (obDiagOn()) {
    herror_func(0, 0,
                "is_good_prime_candidate: The following number passed 8 rounds of Miller-Rabin, but failed Lucas:");
    nyBinBuf bytes(static_cast<unsigned>(BN_num_bytes(cand)));
    BN_bn2bin(cand, bytes.Data());
    bytes.Herror("prime candidate");
  }
  return false;
}

// A random prime of exactly bits bits with its two top bits set, so that the
// product of two such primes has exactly their summed size.
Bn GenPrime(int bits, BN_CTX* ctx) {
  Bn cand(BN_secure_new());
  if (!cand) return nullptr;
  BN_set_flags(cand.get(), BN_FLG_CONSTTIME);
  for (int tries = 0; tries < kMaxCandidates; ++tries) {
    if (!BN_priv_rand(cand.get(), bits, BN_RAND_TOP_TWO, BN_RAND_BOTTOM_ODD)) return nullptr;
    if (IsGoodPrimeCandidate(cand.get(), ctx)) return cand;
  }
  return nullptr;
}

// p and q far enough apart that n cannot be factored from its square root.
bool FarApart(const BIGNUM* p, const BIGNUM* q, int bits, BN_CTX* ctx) {
  BnFrame f(ctx);
  BIGNUM* diff = f.Get();
  return diff && BN_sub(diff, p, q) && BN_num_bits(diff) > bits / 2 - 100;
}

// The private key of primes p and q with public exponent e.
EVP_PKEY* KeyFromPrimes(BIGNUM* p, BIGNUM* q, const BIGNUM* e, BN_CTX* ctx) {
  Bn n(BN_new()), d(BN_secure_new()), dmp1(BN_secure_new()), dmq1(BN_secure_new()), iqmp(BN_secure_new());
  Bn p1(BN_secure_new()), q1(BN_secure_new()), phi(BN_secure_new()), gcd(BN_secure_new()), lambda(BN_secure_new());
  if (!n || !d || !dmp1 || !dmq1 || !iqmp || !p1 || !q1 || !phi || !gcd || !lambda) return nullptr;
  BN_set_flags(lambda.get(), BN_FLG_CONSTTIME);
  BN_set_flags(p1.get(), BN_FLG_CONSTTIME);
  BN_set_flags(q1.get(), BN_FLG_CONSTTIME);
  // d = e^-1 mod lcm(p - 1, q - 1)
  bool ok = BN_mul(n.get(), p, q, ctx) && BN_sub(p1.get(), p, BN_value_one()) && BN_sub(q1.get(), q, BN_value_one()) &&
            BN_mul(phi.get(), p1.get(), q1.get(), ctx) && BN_gcd(gcd.get(), p1.get(), q1.get(), ctx) &&
            BN_div(lambda.get(), nullptr, phi.get(), gcd.get(), ctx) &&
            BN_mod_inverse(d.get(), e, lambda.get(), ctx) && BN_mod(dmp1.get(), d.get(), p1.get(), ctx) &&
            BN_mod(dmq1.get(), d.get(), q1.get(), ctx) && BN_mod_inverse(iqmp.get(), q, p, ctx);
  if (!ok) return nullptr;
  nyRSAParts parts;
  parts.n = n.get();
  parts.e = e;
  parts.d = d.get();
  parts.p = p;
  parts.q = q;
  parts.dmp1 = dmp1.get();
  parts.dmq1 = dmq1.get();
  parts.iqmp = iqmp.get();
  return nyRSA_from_parts(parts);
}

obPubKey* BuiltinGenerate(void*, int bits) { return nySRSA_New(nyGenRSA(bits)); }

obGenRSAKeyFn g_genFn = BuiltinGenerate;
void* g_genContext = nullptr;

// Signs the bytes 1..20 as a SHA-1 digest and verifies the signature.
bool PassesConsistencyTest(obPubKey* key) {
  unsigned char message[20];
  for (unsigned i = 0; i < sizeof message; ++i) message[i] = static_cast<unsigned char>(i + 1);
  const int messageLen = static_cast<int>(sizeof message);
  int len = key->Sign(obPKop_DigestInfo, ob_md_sha1, message, messageLen, nullptr, 0);
  if (len < 1) return false;
  nyBinBuf sig(static_cast<unsigned>(len));
  return key->Sign(obPKop_DigestInfo, ob_md_sha1, message, messageLen, sig.Data(), len) == len &&
         key->Verify(obPKop_DigestInfo, ob_md_sha1, message, messageLen, sig.Data(), len) == 0;
}

}  // namespace

int nyLucasProbablePrime(const BIGNUM* n, BN_CTX* ctx) {
  if (!n || !ctx) return -1;
  if (BN_is_word(n, 2)) return 1;
  if (BN_is_negative(n) || !BN_is_odd(n) || BN_is_one(n)) return 0;
  long d = 0;
  int rc = SelfridgeD(n, ctx, d);
  if (rc == 1) rc = LucasStrong(n, d, ctx);
  ERR_clear_error();
  return rc;
}

EVP_PKEY* nyGenRSA(int bits) {
  if (bits < 512 || bits > 16384) {
    OB_HERROR("nyGenRSA: unsupported key size %d", bits);
    return nullptr;
  }
  BnCtx ctx(BN_CTX_secure_new());
  Bn e(BN_new());
  if (!ctx || !e || !BN_set_word(e.get(), kPublicExponent)) return nullptr;
  for (;;) {
    Bn p = GenPrime((bits + 1) / 2, ctx.get());
    Bn q = GenPrime(bits / 2, ctx.get());
    if (!p || !q) break;
    if (BN_cmp(p.get(), q.get()) < 0) std::swap(p, q);
    if (!FarApart(p.get(), q.get(), bits, ctx.get())) continue;
    EVP_PKEY* key = KeyFromPrimes(p.get(), q.get(), e.get(), ctx.get());
    if (key && EVP_PKEY_get_bits(key) == bits) return key;
    EVP_PKEY_free(key);
    break;
  }
  ERR_clear_error();
  OB_HERROR("nyGenRSA: key generation failed");
  return nullptr;
}

void obSetGenRSAKey_func(obGenRSAKeyFn func, void* context) {
  g_genFn = func ? func : BuiltinGenerate;
  g_genContext = func ? context : nullptr;
}

obPubKey* obGenerateRSA(int bits) {
  obPubKey* key = g_genFn(g_genContext, bits);
  if (!key) return nullptr;
  if (!PassesConsistencyTest(key)) {
    OB_HERROR("obGenerateRSA: key failed consistency test!");
    obFreePubKey(key);
    return nullptr;
  }
  return key;
}
