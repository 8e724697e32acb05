#include "nycert/keys/nysec.h"

#include <openssl/err.h>
#include <openssl/evp.h>

#include <cstring>
#include <memory>

#include "nycert/buffers/diag.h"
#include "nycert/buffers/nybinbuf.h"

namespace {

constexpr int kEd25519SigLen = 64;

struct PkeyCtxFree {
  void operator()(EVP_PKEY_CTX* ctx) const { EVP_PKEY_CTX_free(ctx); }
};
using PkeyCtx = std::unique_ptr<EVP_PKEY_CTX, PkeyCtxFree>;

struct MdCtxFree {
  void operator()(EVP_MD_CTX* ctx) const { EVP_MD_CTX_free(ctx); }
};
using MdCtx = std::unique_ptr<EVP_MD_CTX, MdCtxFree>;

// Copies bytes to out, or with a null out gives only their length.
int CopyOut(const char* fn, const nyBinBuf& bytes, void* out, int outLen) {
  int len = static_cast<int>(bytes.Len());
  if (!out) return len;
  if (outLen < len) {
    OB_HERROR("%s: buffer too short %d < %d", fn, outLen, len);
    return obPK_RC_BufferTooSmall;
  }
  std::memcpy(out, bytes.Data(), bytes.Len());
  return len;
}

}  // namespace

nySEC_imp::nySEC_imp(EVP_PKEY* key)
    : key_(key),
      curve_(nyEC_CurveOf(key)),
      hasPrivate_(nyEC_HasPrivate(key)),
      maxSigLen_(key ? EVP_PKEY_get_size(key) : 0) {}

nySEC_imp::~nySEC_imp() { EVP_PKEY_free(key_); }

unsigned nySEC_imp::Flags() const {
  if (!key_) return 0;
  return hasPrivate_ ? nySEC_Flag_Public | nySEC_Flag_Private | obPK_Flag_Sign : unsigned{nySEC_Flag_Public};
}

int nySEC_imp::Sign(obPKop_type, ob_md_type, const unsigned char* in, int inLen, unsigned char* out, int outLen) {
  static const char kFn[] = "nySEC_imp::Sign";
  if (int rc = SignPrecheck(kFn, hasPrivate_, in, inLen, out, outLen, maxSigLen_)) return rc;
  size_t written = static_cast<size_t>(outLen);
  bool ok;
  if (curve_ == nyEC_Ed25519) {
    MdCtx ctx(EVP_MD_CTX_new());
    ok = ctx && EVP_DigestSignInit_ex(ctx.get(), nullptr, nullptr, nullptr, nullptr, key_, nullptr) == 1 &&
         EVP_DigestSign(ctx.get(), out, &written, in, static_cast<size_t>(inLen)) == 1;
  } else {
    PkeyCtx ctx(EVP_PKEY_CTX_new_from_pkey(nullptr, key_, nullptr));
    ok = ctx && EVP_PKEY_sign_init(ctx.get()) == 1 &&
         EVP_PKEY_sign(ctx.get(), out, &written, in, static_cast<size_t>(inLen)) == 1;
  }
  ERR_clear_error();
  if (!ok) {
    OB_HERROR("%s: failed", kFn);
    return -1;
  }
  return static_cast<int>(written);
}

int nySEC_imp::Verify(obPKop_type, ob_md_type, const unsigned char* data, int dataLen, const unsigned char* sig,
                      int sigLen) {
  if (!key_ || !data || dataLen < 0 || !sig || sigLen < 1) {
    OB_HERROR("%s: missing input", "nySEC_imp::Verify");
    return -1;
  }
  int rc = curve_ == nyEC_Ed25519 ? VerifyMessage(data, dataLen, sig, sigLen) : VerifyDigest(data, dataLen, sig, sigLen);
  ERR_clear_error();
  return rc;
}

int nySEC_imp::VerifyDigest(const unsigned char* digest, int digestLen, const unsigned char* sig, int sigLen) const {
  if (!nyEC_IsStrictSignature(curve_, sig, static_cast<size_t>(sigLen))) {
    OB_HERROR("%s: not a DER ECDSA signature in range", "nySEC_imp::Verify");
    return -1;
  }
  PkeyCtx ctx(EVP_PKEY_CTX_new_from_pkey(nullptr, key_, nullptr));
  bool ok = ctx && EVP_PKEY_verify_init(ctx.get()) == 1 &&
            EVP_PKEY_verify(ctx.get(), sig, static_cast<size_t>(sigLen), digest, static_cast<size_t>(digestLen)) == 1;
  if (ok) return 0;
  OB_HERROR("%s: different message signed", "nySEC_imp::Verify");
  return -1;
}

int nySEC_imp::VerifyMessage(const unsigned char* data, int dataLen, const unsigned char* sig, int sigLen) const {
  if (sigLen != kEd25519SigLen) {
    OB_HERROR("%s: Signature length mismatch %d != %d", "nySEC_imp::Verify", sigLen, kEd25519SigLen);
    return obPK_RC_LengthMismatch;
  }
  MdCtx ctx(EVP_MD_CTX_new());
  bool ok = ctx && EVP_DigestVerifyInit_ex(ctx.get(), nullptr, nullptr, nullptr, nullptr, key_, nullptr) == 1 &&
            EVP_DigestVerify(ctx.get(), sig, static_cast<size_t>(sigLen), data, static_cast<size_t>(dataLen)) == 1;
  if (ok) return 0;
  OB_HERROR("%s: different message signed", "nySEC_imp::Verify");
  return -1;
}

int nySEC_imp::Export(obPK_Format fmt, void* out, int outLen) {
  static const char kFn[] = "nySEC_imp::Export";
  nyBinBuf der;
  int rc = -1;
  switch (fmt) {
    case obPK_Format_Set:
      return obPubKey_imp_vc::Export(fmt, out, outLen);
    case obPK_Format_PublicDER:
      rc = nyEC_PublicOctets(key_, der);
      break;
    case obPK_Format_PrivateDER:
      rc = nyEC_ToPrivateKeyInfo(key_, der);
      break;
    case obPK_Format_PublicKeyInfo:
      rc = nyEC_ToKeyInfo(key_, der);
      break;
  }
  if (rc != 0) {
    OB_HERROR("%s: cannot write format %d", kFn, static_cast<int>(fmt));
    return obPK_RC_ExportFailed;
  }
  rc = CopyOut(kFn, der, out, outLen);
  der.Zero();
  return rc;
}

int nySEC_imp::GetLen(obPK_Len_Type which) {
  switch (which) {
    case obPK_Len_Bits:
      return nyEC_CurveBits(curve_);
    case obPK_Len_Bytes:
      return maxSigLen_;
  }
  return obPubKey_imp_vc::GetLen(which);
}

void nySEC_imp::Herror() const {
  if (!obDiagOn()) return;
  herror_func(0, 0, "%s key%s", nyEC_CurveName(curve_), hasPrivate_ ? " pair" : "");
  nyBinBuf octets;
  if (nyEC_PublicOctets(key_, octets) == 0) octets.Herror("Public key");
}

nySEC* nySEC_New(EVP_PKEY* key) {
  if (!key) return nullptr;
  if (nyEC_CurveOf(key) == nyEC_None) {
    EVP_PKEY_free(key);
    return nullptr;
  }
  return new nySEC(new nySEC_imp(key));
}

nySEC* nySEC_Generate(nyECCurve curve) { return nySEC_New(nyEC_Generate(curve)); }
