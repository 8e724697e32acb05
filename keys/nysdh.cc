#include "nycert/keys/nysdh.h"

#include <openssl/asn1.h>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/dh.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/params.h>

#include <cstring>
#include <memory>

#include "nycert/buffers/diag.h"
#include "nycert/buffers/nybinbuf.h"
#include "nycert/platform/obset.h"

namespace {

struct PkeyCtxFree {
  void operator()(EVP_PKEY_CTX* ctx) const { EVP_PKEY_CTX_free(ctx); }
};
struct PkeyFree {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct BnClearFree {
  void operator()(BIGNUM* bn) const { BN_clear_free(bn); }
};
struct ParamBldFree {
  void operator()(OSSL_PARAM_BLD* bld) const { OSSL_PARAM_BLD_free(bld); }
};
struct ParamFree {
  void operator()(OSSL_PARAM* params) const { OSSL_PARAM_free(params); }
};
using PkeyCtx = std::unique_ptr<EVP_PKEY_CTX, PkeyCtxFree>;
using Pkey = std::unique_ptr<EVP_PKEY, PkeyFree>;
using Bn = std::unique_ptr<BIGNUM, BnClearFree>;
using ParamBld = std::unique_ptr<OSSL_PARAM_BLD, ParamBldFree>;
using Params = std::unique_ptr<OSSL_PARAM, ParamFree>;

Bn BnFrom(const unsigned char* p, int len) { return Bn(BN_bin2bn(p, len, nullptr)); }

// A DH key object from p, g and either a private length (domain parameters)
// or a public value (a peer's public key).
Pkey DhFromData(const BIGNUM* p, const BIGNUM* g, int privBits, const BIGNUM* pub) {
  ParamBld bld(OSSL_PARAM_BLD_new());
  if (!bld || !OSSL_PARAM_BLD_push_BN(bld.get(), OSSL_PKEY_PARAM_FFC_P, p) ||
      !OSSL_PARAM_BLD_push_BN(bld.get(), OSSL_PKEY_PARAM_FFC_G, g))
    return nullptr;
  if (pub && !OSSL_PARAM_BLD_push_BN(bld.get(), OSSL_PKEY_PARAM_PUB_KEY, pub)) return nullptr;
  if (!pub && !OSSL_PARAM_BLD_push_int(bld.get(), OSSL_PKEY_PARAM_DH_PRIV_LEN, privBits)) return nullptr;
  Params params(OSSL_PARAM_BLD_to_param(bld.get()));
  PkeyCtx ctx(EVP_PKEY_CTX_new_from_name(nullptr, "DH", nullptr));
  EVP_PKEY* key = nullptr;
  if (!params || !ctx || EVP_PKEY_fromdata_init(ctx.get()) <= 0 ||
      EVP_PKEY_fromdata(ctx.get(), &key, pub ? EVP_PKEY_PUBLIC_KEY : EVP_PKEY_KEY_PARAMETERS, params.get()) <= 0)
    return nullptr;
  return Pkey(key);
}

Bn GetBn(const EVP_PKEY* key, const char* name) {
  BIGNUM* bn = nullptr;
  if (!key || EVP_PKEY_get_bn_param(key, name, &bn) <= 0) return nullptr;
  return Bn(bn);
}

// The big-endian octets of bn, left-padded to len.
ObBytes PaddedBytes(const BIGNUM* bn, int len) {
  ObBytes out(static_cast<size_t>(len));
  if (BN_bn2binpad(bn, out.data(), len) != len) out.clear();
  return out;
}

}  // namespace

nySDH_imp::nySDH_imp(EVP_PKEY* key) : key_(key) {
  if (!key_) return;
  p_ = GetBn(key_, OSSL_PKEY_PARAM_FFC_P).release();
  g_ = GetBn(key_, OSSL_PKEY_PARAM_FFC_G).release();
  Bn priv = GetBn(key_, OSSL_PKEY_PARAM_PRIV_KEY);
  hasPrivate_ = priv != nullptr;
  if (p_ && g_) {
    modLen_ = BN_num_bytes(p_);
    return;
  }
  EVP_PKEY_free(key_);
  key_ = nullptr;
}

// OpenSSL clears the private value when the key object is freed.
nySDH_imp::~nySDH_imp() {
  EVP_PKEY_free(key_);
  BN_free(p_);
  BN_free(g_);
}

unsigned nySDH_imp::Flags() const {
  if (!key_) return 0;
  return hasPrivate_ ? nySDH_Flag_Public | nySDH_Flag_Private : nySDH_Flag_Public;
}

bool nySDH_imp::PeerInRange(const BIGNUM* peer) const {
  Bn limit(BN_dup(p_));
  if (!limit || !BN_sub_word(limit.get(), 1)) return false;
  return BN_cmp(peer, BN_value_one()) > 0 && BN_cmp(peer, limit.get()) < 0;
}

int nySDH_imp::Derive(obPKop_type, const unsigned char* peer, int peerLen, unsigned char* out, int outLen) {
  static const char kFn[] = "nySDH_imp::Derive";
  if (!hasPrivate_) {
    OB_HERROR("%s: no private key", kFn);
    return obPK_RC_NotImplemented;
  }
  if (!peer || !PeerLenOK(peerLen)) {
    OB_HERROR("%s: Illegal key len (%d).", kFn, peerLen);
    return obPK_RC_LengthMismatch;
  }
  if (!out) return modLen_;
  if (outLen < modLen_) {
    OB_HERROR("%s: buffer too short %d < %d", kFn, outLen, modLen_);
    return obPK_RC_BufferTooSmall;
  }
  Bn pub = BnFrom(peer, peerLen);
  if (!pub || !PeerInRange(pub.get())) {
    OB_HERROR("%s: peer value out of range", kFn);
    return -1;
  }
  Pkey peerKey = DhFromData(p_, g_, 0, pub.get());
  PkeyCtx ctx(EVP_PKEY_CTX_new_from_pkey(nullptr, key_, nullptr));
  size_t secretLen = static_cast<size_t>(outLen);
  if (!peerKey || !ctx || EVP_PKEY_derive_init(ctx.get()) <= 0 || EVP_PKEY_CTX_set_dh_pad(ctx.get(), 1) <= 0 ||
      EVP_PKEY_derive_set_peer(ctx.get(), peerKey.get()) <= 0 || EVP_PKEY_derive(ctx.get(), out, &secretLen) <= 0) {
    ERR_clear_error();
    OB_HERROR("%s: failed", kFn);
    return -1;
  }
  return static_cast<int>(secretLen);
}

int nySDH_imp::Export(obPK_Format fmt, void* out, int outLen) {
  switch (fmt) {
    case obPK_Format_Set:
      return ExportSet(out, outLen);
    case obPK_Format_PublicDER:
      return ExportInteger(OSSL_PKEY_PARAM_PUB_KEY, out, outLen);
    case obPK_Format_PrivateDER:
      return ExportInteger(OSSL_PKEY_PARAM_PRIV_KEY, out, outLen);
    case obPK_Format_PublicKeyInfo:
      break;
  }
  OB_HERROR("%s: %d not implemented", "nySDH_imp::Export", static_cast<int>(fmt));
  return obPK_RC_NotImplemented;
}

int nySDH_imp::ExportInteger(const char* param, void* out, int outLen) const {
  static const char kFn[] = "nySDH_imp::Export";
  Bn value = GetBn(key_, param);
  ASN1_INTEGER* integer = value ? BN_to_ASN1_INTEGER(value.get(), nullptr) : nullptr;
  unsigned char* der = nullptr;
  int len = integer ? i2d_ASN1_INTEGER(integer, &der) : -1;
  int rc = len;
  if (len < 1) {
    OB_HERROR("%s: cannot encode the key", kFn);
    rc = obPK_RC_ExportFailed;
  } else if (out && outLen < len) {
    OB_HERROR("%s: buffer too short %d < %d", kFn, outLen, len);
    rc = obPK_RC_BufferTooSmall;
  } else if (out) {
    std::memcpy(out, der, static_cast<size_t>(len));
  }
  if (der) OPENSSL_clear_free(der, static_cast<size_t>(len));
  ASN1_STRING_clear_free(integer);
  ERR_clear_error();
  return rc;
}

// The set goes out through an obset** whose size is 4 or a pointer's.
int nySDH_imp::ExportSet(void* out, int outLen) const {
  static const char kFn[] = "nySDH_imp::Export";
  if (outLen != static_cast<int>(sizeof(void*)) && outLen != 4) {
    OB_HERROR("%s: wrong pointer length %d", kFn, outLen);
    return obPK_RC_ExportFailed;
  }
  if (!out) {
    OB_HERROR("%s: cannot assign to NULL pointer", kFn);
    return obPK_RC_ExportFailed;
  }
  std::unique_ptr<obset> set(obset_new());
  Bn pub(Public());
  Bn priv(Private());
  if (!pub || set->Put("modulus", PaddedBytes(p_, BN_num_bytes(p_))) != 0 ||
      set->Put("generator", PaddedBytes(g_, BN_num_bytes(g_))) != 0 ||
      set->Put("public", PaddedBytes(pub.get(), modLen_)) != 0)
    return obPK_RC_ExportFailed;
  if (priv) {
    ObBytes privBytes = PaddedBytes(priv.get(), BN_num_bytes(priv.get()));
    int rc = set->Put("private", privBytes);
    OPENSSL_cleanse(privBytes.data(), privBytes.size());
    if (rc != 0) return obPK_RC_ExportFailed;
  }
  *static_cast<obset**>(out) = set.release();
  return 0;
}

int nySDH_imp::GetLen(obPK_Len_Type which) {
  switch (which) {
    case obPK_Len_Bits:
      return p_ ? BN_num_bits(p_) : 0;
    case obPK_Len_Bytes:
      return modLen_;
  }
  return obPubKey_imp_vc::GetLen(which);
}

BIGNUM* nySDH_imp::Private() const { return GetBn(key_, OSSL_PKEY_PARAM_PRIV_KEY).release(); }

BIGNUM* nySDH_imp::Public() const { return GetBn(key_, OSSL_PKEY_PARAM_PUB_KEY).release(); }

void nySDH_imp::Herror() const {
  if (!obDiagOn()) return;
  if (!key_) {
    herror_func(0, 0, "nySDH_imp: Not Ok");
    return;
  }
  herror_func(0, 0, "nySDH_imp: %d-bit group, %s", BN_num_bits(p_), hasPrivate_ ? "key pair" : "public key");
  Bn pub(Public());
  if (!pub) return;
  herror_func(0, 0, "Public value:");
  ObBytes bytes = PaddedBytes(pub.get(), modLen_);
  hex_herror(bytes.data(), static_cast<unsigned>(bytes.size()));
}

nySDH* obPubKey_NewDH(const unsigned char* mod, int modLen, const unsigned char* gen, int genLen, int privBits) {
  static const char kFn[] = "obPubKey_NewDH";
  if (!mod || modLen < 1 || !gen || genLen < 1 || privBits < 1 || privBits > 8 * modLen) {
    OB_HERROR("%s: bad group", kFn);
    return nullptr;
  }
  Bn p = BnFrom(mod, modLen);
  Bn g = BnFrom(gen, genLen);
  Pkey domain = p && g ? DhFromData(p.get(), g.get(), privBits, nullptr) : nullptr;
  PkeyCtx ctx(domain ? EVP_PKEY_CTX_new_from_pkey(nullptr, domain.get(), nullptr) : nullptr);
  // The generation context does not take the private length over from the
  // domain parameters, so it is given again.
  OSSL_PARAM length[] = {OSSL_PARAM_construct_int(OSSL_PKEY_PARAM_DH_PRIV_LEN, &privBits), OSSL_PARAM_construct_end()};
  EVP_PKEY* key = nullptr;
  if (!ctx || EVP_PKEY_keygen_init(ctx.get()) <= 0 || EVP_PKEY_CTX_set_params(ctx.get(), length) <= 0 ||
      EVP_PKEY_keygen(ctx.get(), &key) <= 0) {
    ERR_clear_error();
    OB_HERROR("%s: key generation failed", kFn);
    return nullptr;
  }
  nySDH* dh = new nySDH(new nySDH_imp(key));
  if (!dh->OK()) {
    obFreePubKey(dh);
    return nullptr;
  }
  return dh;
}

nySDH* obPubKey_NewDH(const obDhParams& group) {
  if (!group.OK()) {
    OB_HERROR("%s: group not OK", "obPubKey_NewDH");
    return nullptr;
  }
  return obPubKey_NewDH(group.Mod(), group.ModLen(), group.Gen(), group.GenLen(), group.PrivBits());
}
