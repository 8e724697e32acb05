#include "nycert/keys/nysrsa.h"

#include <openssl/core_names.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <cstring>
#include <memory>

#include "nycert/buffers/diag.h"
#include "nycert/buffers/nybinbuf.h"
#include "nycert/keys/digest_info.h"
#include "nycert/keys/rsa_evp.h"

namespace {

struct PkeyCtxFree {
  void operator()(EVP_PKEY_CTX* ctx) const { EVP_PKEY_CTX_free(ctx); }
};
using PkeyCtx = std::unique_ptr<EVP_PKEY_CTX, PkeyCtxFree>;

typedef int (*PkeyInit)(EVP_PKEY_CTX* ctx);
// EVP_PKEY_encrypt, _decrypt, _sign and _verify_recover share this shape.
typedef int (*PkeyOp)(EVP_PKEY_CTX* ctx, unsigned char* out, size_t* outLen, const unsigned char* in, size_t inLen);

// Decryption that reports a bad block as a failure: newer OpenSSL releases
// otherwise answer a wrong padding with random plaintext.
int DecryptInit(EVP_PKEY_CTX* ctx) {
  if (EVP_PKEY_decrypt_init(ctx) <= 0) return 0;
#ifdef OSSL_ASYM_CIPHER_PARAM_IMPLICIT_REJECTION
  unsigned int implicitRejection = 0;
  OSSL_PARAM params[] = {OSSL_PARAM_construct_uint(OSSL_ASYM_CIPHER_PARAM_IMPLICIT_REJECTION, &implicitRejection),
                         OSSL_PARAM_construct_end()};
  if (EVP_PKEY_CTX_set_params(ctx, params) <= 0) return 0;
#endif
  return 1;
}

// One PKCS#1 v1.5 operation of key on in, into out with room for outRoom
// octets: the output length, or -1.
int Pkcs1Op(EVP_PKEY* key, PkeyInit init, PkeyOp op, const unsigned char* in, int inLen, unsigned char* out,
            int outRoom) {
  PkeyCtx ctx(EVP_PKEY_CTX_new_from_pkey(nullptr, key, nullptr));
  size_t outLen = static_cast<size_t>(outRoom);
  if (!ctx || init(ctx.get()) <= 0 || EVP_PKEY_CTX_set_rsa_padding(ctx.get(), RSA_PKCS1_PADDING) <= 0 ||
      op(ctx.get(), out, &outLen, in, static_cast<size_t>(inLen)) <= 0) {
    ERR_clear_error();
    return -1;
  }
  return static_cast<int>(outLen);
}

bool WrapsDigestInfo(obPKop_type op) { return op == obPKop_DigestInfo || op == obPKop_DigestInfoCompat; }

}  // namespace

nySRSA_imp::nySRSA_imp(EVP_PKEY* key) : key_(key) {
  if (!key_) return;
  hasPrivate_ = nyRSA_has_private(key_);
  nbits_ = EVP_PKEY_get_bits(key_);
  nbytes_ = EVP_PKEY_get_size(key_);
}

nySRSA_imp::~nySRSA_imp() { EVP_PKEY_free(key_); }

unsigned nySRSA_imp::Flags() const {
  if (!key_) return 0;
  return hasPrivate_ ? nySRSA_Flag_Public | nySRSA_Flag_Private | obPK_Flag_Sign : unsigned{nySRSA_Flag_Public};
}

int nySRSA_imp::Encrypt(obPKop_type, const unsigned char* in, int inLen, unsigned char* out, int outLen) {
  if (!in || inLen < 1 || !out) {
    OB_HERROR("nySRSA_imp::Encrypt missing input or output");
    return -1;
  }
  if (outLen < nbytes_) {
    OB_HERROR("nySRSA_imp::Encrypt length to short");
    return obPK_RC_BufferTooSmall;
  }
  int n = Pkcs1Op(key_, EVP_PKEY_encrypt_init, EVP_PKEY_encrypt, in, inLen, out, outLen);
  if (n < 0) {
    OB_HERROR("nySRSA_imp::Encryption failed");
    return -1;
  }
  if (n != nbytes_) {
    OB_HERROR("nySRSA_imp::Encrypted len different from expected %d %d", n, nbytes_);
    return -1;
  }
  return n;
}

int nySRSA_imp::Decrypt(obPKop_type, const unsigned char* in, int inLen, unsigned char* out, int outLen) {
  if (!in || inLen < 1 || !out || outLen < 1) {
    OB_HERROR("nySRSA_imp::Decrypt missing input or output");
    return -1;
  }
  // OpenSSL wants room for a whole block; a short caller buffer gets the
  // plaintext through a scratch block that is wiped afterwards.
  nyBinBuf scratch;
  unsigned char* target = out;
  int room = outLen;
  if (outLen < nbytes_) {
    scratch.Set(static_cast<unsigned>(nbytes_));
    target = scratch.Data();
    room = nbytes_;
  }
  int n = Pkcs1Op(key_, DecryptInit, EVP_PKEY_decrypt, in, inLen, target, room);
  int rc = n;
  if (n < 0) {
    OB_HERROR("nySRSA_imp::Decrypt decryption failed");
    rc = -1;
  } else if (n > outLen) {
    OB_HERROR("nySRSA_imp::Decrypt value too long %d>%d", n, outLen);
    rc = obPK_RC_BufferTooSmall;
  } else if (target != out) {
    std::memcpy(out, target, static_cast<size_t>(n));
  }
  scratch.Zero();
  return rc;
}

int nySRSA_imp::SignBlock(const unsigned char* block, int blockLen, unsigned char* out) {
  int n = Pkcs1Op(key_, EVP_PKEY_sign_init, EVP_PKEY_sign, block, blockLen, out, nbytes_);
  if (n < 0) {
    OB_HERROR("%s: failed", "nySRSA_imp::Sign");
    return -1;
  }
  return n;
}

int nySRSA_imp::Sign(obPKop_type op, ob_md_type md, const unsigned char* in, int inLen, unsigned char* out,
                     int outLen) {
  static const char kFn[] = "nySRSA_imp::Sign";
  if (int rc = SignPrecheck(kFn, hasPrivate_, in, inLen, out, outLen, nbytes_)) return rc;
  if (op == obPKop_Raw || op == obPKop_RawOrDigestInfo) return SignBlock(in, inLen, out);
  if (!WrapsDigestInfo(op)) {
    OB_HERROR("%s: unsupported op %d", kFn, static_cast<int>(op));
    return obPK_RC_NotImplemented;
  }
  nyBinBuf info;
  if (nyPKCS1DigestInfo(in, static_cast<unsigned>(inLen), md, info) < 0) return -1;
  return SignBlock(info.Data(), static_cast<int>(info.Len()), out);
}

int nySRSA_imp::Verify(obPKop_type op, ob_md_type md, const unsigned char* data, int dataLen,
                       const unsigned char* sig, int sigLen) {
  static const char kFn[] = "nySRSA_imp::Verify";
  if (sigLen != nbytes_) {
    OB_HERROR("%s: Signature length mismatch %d != %d", kFn, sigLen, nbytes_);
    return obPK_RC_LengthMismatch;
  }
  nyBinBuf recovered(static_cast<unsigned>(nbytes_));
  int n = sig ? Pkcs1Op(key_, EVP_PKEY_verify_recover_init, EVP_PKEY_verify_recover, sig, sigLen,
                        recovered.Data(), nbytes_)
              : -1;
  if (n < 0) {
    OB_HERROR("%s failed", kFn);
    return -1;
  }
  int rc = obComparePKCS1(op, md, data, dataLen, recovered.Data(), n);
  if (rc == obPK_RC_LengthMismatch || rc == -100) ReportMismatch(op, md, data, dataLen, recovered.Data(), n);
  return rc;
}

void nySRSA_imp::ReportMismatch(obPKop_type op, ob_md_type md, const unsigned char* data, int dataLen,
                                const unsigned char* recovered, int recoveredLen) const {
  if (!obDiagOn()) return;
  herror_func(0, 0, "%s: different message signed", "nySRSA_imp::Verify");
  herror_func(0, 0, "Decoded version:");
  hex_herror(recovered, static_cast<unsigned>(recoveredLen));
  nyBinBuf expected;
  if (!WrapsDigestInfo(op) || nyPKCS1DigestInfo(data, static_cast<unsigned>(dataLen), md, expected) < 0)
    expected.Set(data, static_cast<unsigned>(dataLen));
  herror_func(0, 0, "Should be:");
  hex_herror(expected.Data(), expected.Len());
}

int nySRSA_imp::Export(obPK_Format fmt, void* out, int outLen) {
  switch (fmt) {
    case obPK_Format_Set:
      return ExportSet(out, outLen);
    case obPK_Format_PublicDER:
      return ExportDer(0, out, outLen);
    case obPK_Format_PrivateDER:
      return ExportDer(1, out, outLen);
    case obPK_Format_PublicKeyInfo:
      break;
  }
  OB_HERROR("%s: %d not implemented", "nySRSA_imp::Export", static_cast<int>(fmt));
  return obPK_RC_NotImplemented;
}

// The attribute set goes out through an obset** whose size the caller states.
// Callers written for 32-bit pointers pass 4, so 4 is accepted beside the
// real pointer size.
int nySRSA_imp::ExportSet(void* out, int outLen) const {
  static const char kFn[] = "nySRSA_imp::Export";
  if (outLen != static_cast<int>(sizeof(void*)) && outLen != 4) {
    OB_HERROR("%s: wrong pointer length %d", kFn, outLen);
    return obPK_RC_ExportFailed;
  }
  if (!out) {
    OB_HERROR("%s: cannot assign to NULL pointer", kFn);
    return obPK_RC_ExportFailed;
  }
  obset* set = nyRSA_to_set(key_);
  if (!set) return obPK_RC_ExportFailed;
  *static_cast<obset**>(out) = set;
  return 0;
}

int nySRSA_imp::ExportDer(int withPrivate, void* out, int outLen) const {
  nyBinBuf der;
  int rc = nyRSA_to_buf(key_, withPrivate, der);
  if (rc == 0) {
    rc = static_cast<int>(der.Len());
    if (out && outLen < rc) {
      OB_HERROR("%s: buffer too short %d < %d", "nySRSA_imp::Export", outLen, rc);
      rc = obPK_RC_BufferTooSmall;
    } else if (out) {
      std::memcpy(out, der.Data(), der.Len());
    }
  } else {
    rc = obPK_RC_ExportFailed;
  }
  der.Zero();
  return rc;
}

int nySRSA_imp::GetLen(obPK_Len_Type which) {
  switch (which) {
    case obPK_Len_Bits:
      return nbits_;
    case obPK_Len_Bytes:
      return nbytes_;
  }
  return obPubKey_imp_vc::GetLen(which);
}

void nySRSA_imp::Herror() const { nyRSA_herror(key_); }

nySRSA* nySRSA_New(EVP_PKEY* key) {
  if (!key) return nullptr;
  if (!EVP_PKEY_is_a(key, "RSA")) {
    EVP_PKEY_free(key);
    return nullptr;
  }
  return new nySRSA(new nySRSA_imp(key));
}
