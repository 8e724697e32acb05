#include "nycert/keys/rsa_evp.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/params.h>

#include <memory>

#include "nycert/buffers/diag.h"
#include "nycert/keys/key_decoder_internal.h"
#include "nycert/keys/rsa_evp_internal.h"
#include "nycert/keys/rsa_key_formats.h"
#include "nycert/platform/obset.h"

namespace {

struct BnFree {
  void operator()(BIGNUM* bn) const { BN_clear_free(bn); }
};
using Bn = std::unique_ptr<BIGNUM, BnFree>;

// One numeric component of key, or null when the key lacks it.
Bn KeyPart(const EVP_PKEY* key, const char* name) {
  BIGNUM* bn = nullptr;
  if (EVP_PKEY_get_bn_param(key, name, &bn) != 1) ERR_clear_error();
  return Bn(bn);
}

int KeyPartBytes(const EVP_PKEY* key, const char* name, nyBinBuf& out) {
  Bn bn = KeyPart(key, name);
  if (!bn) return -1;
  out.Set(static_cast<unsigned>(BN_num_bytes(bn.get())));
  BN_bn2bin(bn.get(), out.Data());
  return 0;
}

EVP_PKEY* PrivateFromPkcs1(const unsigned char* der, size_t len) {
  return nyDecodeKeyDer(der, len, "type-specific", "RSA", EVP_PKEY_KEYPAIR);
}

EVP_PKEY* PrivateFromPkcs8(const unsigned char* der, size_t len) {
  nyBinBuf pkcs1(der, static_cast<unsigned>(len));
  int pkcs1Len = static_cast<int>(pkcs1.Len());
  EVP_PKEY* key = nullptr;
  if (obPKCS1fromPKCS8(pkcs1.Data(), &pkcs1Len) == 0)
    key = PrivateFromPkcs1(pkcs1.Data(), static_cast<size_t>(pkcs1Len));
  pkcs1.Zero();
  return key;
}


// A public key from its modulus and exponent magnitudes, or null.
EVP_PKEY* PublicFromParts(const unsigned char* modulus, size_t modulusLen, const unsigned char* exponent,
                          size_t exponentLen) {
  if (modulusLen == 0 || exponentLen == 0) return nullptr;
  Bn n(BN_bin2bn(modulus, static_cast<int>(modulusLen), nullptr));
  Bn e(BN_bin2bn(exponent, static_cast<int>(exponentLen), nullptr));
  nyRSAParts parts;
  parts.n = n.get();
  parts.e = e.get();
  return n && e ? nyRSA_from_parts(parts) : nullptr;
}


EVP_PKEY* PublicFromSet(const obset& set) {
  const ObBytes* modulus = set.GetValue("modulus");
  const ObBytes* exponent = set.GetValue("public");
  return modulus && exponent ? PublicFromParts(modulus->data(), modulus->size(), exponent->data(), exponent->size())
                             : nullptr;
}


// The nested "private" set of key: both private DER forms.
obset* PrivateSet(const EVP_PKEY* key) {
  nyBinBuf pkcs1, pkcs8;
  obset* priv = nullptr;
  if (nyRSA_to_buf(key, 1, pkcs1) != 0) {
    OB_HERROR("nyRSA_to_set: error converting to pkcs1");
  } else if (obPKCS8fromPKCS1(pkcs1, pkcs8) != 0) {
    OB_HERROR("nyRSA_to_set: error converting to pkcs8");
  } else {
    priv = obset_new();
    if (priv->Put("pkcs8", pkcs8.Data(), pkcs8.Len()) != 0 || priv->Put("pkcs1", pkcs1.Data(), pkcs1.Len()) != 0) {
      obset_free(priv);
      priv = nullptr;
    }
  }
  pkcs1.Zero();
  pkcs8.Zero();
  return priv;
}

}  // namespace

EVP_PKEY* RsaPrivateFromDer(const unsigned char* der, size_t len) {
  EVP_PKEY* key = PrivateFromPkcs1(der, len);
  return key ? key : PrivateFromPkcs8(der, len);
}

// Public keys are read with the library's own decoder and built from their
// parts: OpenSSL's DER decoders cost some hundred microseconds a key.
EVP_PKEY* RsaPublicFromDer(const unsigned char* der, size_t len) {
  nyBinBuf modulus, exponent;
  return obPublicDer2RsaPk(der, len, modulus, exponent) == 0
             ? PublicFromParts(modulus.Data(), modulus.Len(), exponent.Data(), exponent.Len())
             : nullptr;
}

EVP_PKEY* RsaKeyFromSet(const obset* set, const char* fn) {
  if (!set) return nullptr;
  if (const obset* priv = set->GetSet("private")) {
    if (const ObBytes* pkcs8 = priv->GetValue("pkcs8")) {
      if (EVP_PKEY* key = PrivateFromPkcs8(pkcs8->data(), pkcs8->size())) return key;
      OB_HERROR("%s: error reading pkcs8 - continuing", fn);
    }
    if (const ObBytes* pkcs1 = priv->GetValue("pkcs1")) {
      if (EVP_PKEY* key = PrivateFromPkcs1(pkcs1->data(), pkcs1->size())) return key;
    }
  }
  EVP_PKEY* key = PublicFromSet(*set);
  if (!key) OB_HERROR("%s: Error parsing key", fn);
  return key;
}

EVP_PKEY* nyRSA_from_parts(const nyRSAParts& parts) {
  const struct {
    const char* name;
    const BIGNUM* value;
  } named[] = {{OSSL_PKEY_PARAM_RSA_N, parts.n},
               {OSSL_PKEY_PARAM_RSA_E, parts.e},
               {OSSL_PKEY_PARAM_RSA_D, parts.d},
               {OSSL_PKEY_PARAM_RSA_FACTOR1, parts.p},
               {OSSL_PKEY_PARAM_RSA_FACTOR2, parts.q},
               {OSSL_PKEY_PARAM_RSA_EXPONENT1, parts.dmp1},
               {OSSL_PKEY_PARAM_RSA_EXPONENT2, parts.dmq1},
               {OSSL_PKEY_PARAM_RSA_COEFFICIENT1, parts.iqmp}};
  if (!parts.n || !parts.e) return nullptr;
  OSSL_PARAM_BLD* bld = OSSL_PARAM_BLD_new();
  bool ok = bld != nullptr;
  for (const auto& part : named)
    if (ok && part.value) ok = OSSL_PARAM_BLD_push_BN(bld, part.name, part.value) == 1;
  OSSL_PARAM* params = ok ? OSSL_PARAM_BLD_to_param(bld) : nullptr;
  EVP_PKEY_CTX* ctx = params ? EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr) : nullptr;
  EVP_PKEY* key = nullptr;
  int selection = parts.d ? EVP_PKEY_KEYPAIR : EVP_PKEY_PUBLIC_KEY;
  if (!ctx || EVP_PKEY_fromdata_init(ctx) <= 0 || EVP_PKEY_fromdata(ctx, &key, selection, params) <= 0) {
    EVP_PKEY_free(key);
    key = nullptr;
    ERR_clear_error();
  }
  EVP_PKEY_CTX_free(ctx);
  OSSL_PARAM_free(params);  // wipes the secure block that holds parts from secure BIGNUMs
  OSSL_PARAM_BLD_free(bld);
  return key;
}

int nyRSA_has_private(const EVP_PKEY* key) { return key && KeyPart(key, OSSL_PKEY_PARAM_RSA_D) != nullptr; }

EVP_PKEY* nyRSA_from_buf(const unsigned char* der, int len) {
  if (!der || len < 1) return nullptr;
  EVP_PKEY* key = RsaPrivateFromDer(der, static_cast<size_t>(len));
  if (!key) key = RsaPublicFromDer(der, static_cast<size_t>(len));
  if (!key) OB_HERROR("nyRSA_from_buf: cannot decode key");
  return key;
}

int nyRSA_to_buf(const EVP_PKEY* key, int withPrivate, nyBinBuf& out) {
  if (!key || (withPrivate && !nyRSA_has_private(key))) return -1;
  unsigned char* der = nullptr;
  int len = withPrivate ? i2d_PrivateKey(key, &der) : i2d_PublicKey(key, &der);
  if (len <= 0) {
    ERR_clear_error();
    return -1;
  }
  out.Set(der, static_cast<unsigned>(len));
  OPENSSL_clear_free(der, static_cast<size_t>(len));
  return 0;
}

EVP_PKEY* nyRSA_from_set(const obset* set) { return RsaKeyFromSet(set, "nyRSA_from_set"); }

obset* nyRSA_to_set(const EVP_PKEY* key) {
  nyBinBuf modulus, exponent;
  if (!key || KeyPartBytes(key, OSSL_PKEY_PARAM_RSA_N, modulus) != 0 ||
      KeyPartBytes(key, OSSL_PKEY_PARAM_RSA_E, exponent) != 0)
    return nullptr;
  obset* set = obset_new();
  bool ok = set->Put("modulus", modulus.Data(), modulus.Len()) == 0 &&
            set->Put("public", exponent.Data(), exponent.Len()) == 0;
  if (ok && nyRSA_has_private(key)) {
    obset* priv = PrivateSet(key);
    ok = priv && set->PutSet("private", priv) == 0;
  }
  if (!ok) {
    obset_free(set);
    return nullptr;
  }
  return set;
}

int nyRSA_is_ok(const EVP_PKEY* key) {
  if (!key || !EVP_PKEY_is_a(key, "RSA")) return 0;
  EVP_PKEY_CTX* ctx = EVP_PKEY_CTX_new_from_pkey(nullptr, const_cast<EVP_PKEY*>(key), nullptr);
  int ok = ctx && (nyRSA_has_private(key) ? EVP_PKEY_check(ctx) : EVP_PKEY_public_check(ctx)) == 1;
  EVP_PKEY_CTX_free(ctx);
  ERR_clear_error();
  return ok ? 1 : 0;
}

void nyRSA_herror(const EVP_PKEY* key) {
  if (!obDiagOn()) return;
  if (!key) {
    herror_func(0, 0, "No RSA key\n");
    return;
  }
  const struct {
    const char* title;
    const char* param;
  } printed[] = {{"Modulus", OSSL_PKEY_PARAM_RSA_N},
                 {"Public exponent", OSSL_PKEY_PARAM_RSA_E},
                 {"Exponent", OSSL_PKEY_PARAM_RSA_D}};
  for (const auto& item : printed) {
    nyBinBuf bytes;
    if (KeyPartBytes(key, item.param, bytes) != 0) continue;
    bytes.Herror(item.title);
    bytes.Zero();
  }
  if (KeyPart(key, OSSL_PKEY_PARAM_RSA_COEFFICIENT1)) herror_func(0, 0, "Private operation can use shortcut");
}
