#include "nycert/keys/ec_evp.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/encoder.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/obj_mac.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

#include <strings.h>

#include <cstring>

#include "nycert/asn1/modules/pkix1_ecc.h"
#include "nycert/keys/key_decoder_internal.h"

namespace {

struct Curve {
  nyECCurve id;
  const char* name;
  const char* group;  // OpenSSL's group name, or key type for Ed25519
  int nid;
  const obAsnOid* oid;  // namedCurve, or the key algorithm for Ed25519
  int bits;
  size_t keyLen;  // octets of the public key as carried in a certificate
};

const Curve kCurves[] = {
    {nyEC_P256, "P-256", "prime256v1", NID_X9_62_prime256v1, &obASN_secp256r1, 256, 65},
    {nyEC_P384, "P-384", "secp384r1", NID_secp384r1, &obASN_secp384r1, 384, 97},
    {nyEC_P521, "P-521", "secp521r1", NID_secp521r1, &obASN_secp521r1, 521, 133},
    {nyEC_Ed25519, "Ed25519", "ED25519", NID_ED25519, &obASN_id_Ed25519, 256, 32},
};

const Curve* Find(nyECCurve id) {
  for (const Curve& c : kCurves)
    if (c.id == id) return &c;
  return nullptr;
}

const Curve* FindByOid(obDerSpan oid) {
  for (const Curve& c : kCurves)
    if (c.id != nyEC_Ed25519 && oid.Equal(c.oid->data(), c.oid->size())) return &c;
  return nullptr;
}

bool OidIs(obDerSpan oid, const obAsnOid& known) { return oid.Equal(known.data(), known.size()); }

// The curve named in an id-ecPublicKey's parameters, or why there is none.
const char* NamedCurve(obDerReader& alg, const Curve*& curve) {
  obDerElement params;
  if (!alg.Next(params) || !alg.AtEnd()) return "EC key without curve";
  if (params.tag == kDerSequence) return "Explicit EC curve parameters not supported";
  if (params.tag != kDerOid) return "EC key without named curve";
  curve = FindByOid(params.content);
  return curve ? nullptr : "Unsupported EC curve";
}

const char* CheckKeyOctets(const Curve& curve, obDerSpan key) {
  if (curve.id == nyEC_Ed25519) return key.size == curve.keyLen ? nullptr : "Wrong Ed25519 key length";
  if (key.size > 0 && (key.data[0] == 0x02 || key.data[0] == 0x03)) return "Compressed EC point not supported";
  return key.size == curve.keyLen && key.data[0] == 0x04 ? nullptr : "Bad EC point";
}

// The group orders of the ECDSA curves, made once.
class Orders {
 public:
  Orders() {
    for (const Curve& c : kCurves) {
      if (c.id == nyEC_Ed25519) continue;
      EC_GROUP* group = EC_GROUP_new_by_curve_name(c.nid);
      if (group) order_[c.id] = BN_dup(EC_GROUP_get0_order(group));
      EC_GROUP_free(group);
    }
  }
  ~Orders() {
    for (BIGNUM* bn : order_) BN_free(bn);
  }
  Orders(const Orders&) = delete;
  Orders& operator=(const Orders&) = delete;
  const BIGNUM* Of(nyECCurve curve) const { return curve > nyEC_None && curve < nyEC_Ed25519 ? order_[curve] : nullptr; }

 private:
  BIGNUM* order_[nyEC_Ed25519] = {};
};

bool InRange(const BIGNUM* x, const BIGNUM* order) {
  return x && !BN_is_negative(x) && !BN_is_zero(x) && BN_cmp(x, order) < 0;
}

// sig is exactly the DER of value: no trailing octets, no long integers or lengths.
bool IsCanonical(const ECDSA_SIG* value, const unsigned char* sig, size_t len) {
  unsigned char* der = nullptr;
  int derLen = i2d_ECDSA_SIG(value, &der);
  bool same = derLen > 0 && static_cast<size_t>(derLen) == len && std::memcmp(der, sig, len) == 0;
  OPENSSL_free(der);
  return same;
}

}  // namespace

const char* nyEC_CurveName(nyECCurve curve) {
  const Curve* c = Find(curve);
  return c ? c->name : nullptr;
}

nyECCurve nyEC_CurveByName(const char* text) {
  if (!text) return nyEC_None;
  for (const Curve& c : kCurves)
    if (strcasecmp(text, c.name) == 0) return c.id;
  return nyEC_None;
}

int nyEC_CurveBits(nyECCurve curve) {
  const Curve* c = Find(curve);
  return c ? c->bits : 0;
}

obAlgType nyEC_KeyAlgorithm(nyECCurve curve) {
  if (curve == nyEC_None) return obAlg_None;
  return curve == nyEC_Ed25519 ? obAlg_Ed25519 : obAlg_EC;
}

bool nyEC_IsKeyAlgorithm(obDerSpan oid) { return OidIs(oid, obASN_id_ecPublicKey) || OidIs(oid, obASN_id_Ed25519); }

const char* nyEC_ParseKeyInfo(obDerSpan spki, nyECKeyInfo& out) {
  static const char kBad[] = "Error decoding key";
  obDerReader outer(spki);
  obDerSpan body, algBody, oid, bits;
  if (!outer.Read(kDerSequence, body) || !outer.AtEnd()) return kBad;
  obDerReader fields(body);
  unsigned unused = 0;
  if (!fields.Read(kDerSequence, algBody) || !fields.Read(kDerBitString, bits) || !fields.AtEnd() ||
      !obDerParseBitString(bits, out.publicKey, unused) || unused != 0)
    return kBad;
  obDerReader alg(algBody);
  if (!alg.Read(kDerOid, oid)) return kBad;
  const Curve* curve = nullptr;
  if (OidIs(oid, obASN_id_Ed25519)) {
    if (!alg.AtEnd()) return "Ed25519 key with parameters";
    curve = Find(nyEC_Ed25519);
  } else if (!OidIs(oid, obASN_id_ecPublicKey)) {
    return "Not EC key";
  } else if (const char* why = NamedCurve(alg, curve)) {
    return why;
  }
  if (const char* why = CheckKeyOctets(*curve, out.publicKey)) return why;
  out.curve = curve->id;
  return nullptr;
}

EVP_PKEY* nyEC_FromPublic(nyECCurve curve, obDerSpan publicKey) {
  const Curve* c = Find(curve);
  if (!c || CheckKeyOctets(*c, publicKey)) return nullptr;
  bool ed = curve == nyEC_Ed25519;
  OSSL_PARAM params[3];
  int n = 0;
  if (!ed) params[n++] = OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, const_cast<char*>(c->group), 0);
  params[n++] = OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PUB_KEY, const_cast<unsigned char*>(publicKey.data),
                                                  publicKey.size);
  params[n] = OSSL_PARAM_construct_end();
  EVP_PKEY_CTX* ctx = EVP_PKEY_CTX_new_from_name(nullptr, ed ? "ED25519" : "EC", nullptr);
  EVP_PKEY* key = nullptr;
  // Building an EC key decodes the point, which refuses one off the curve.
  if (!ctx || EVP_PKEY_fromdata_init(ctx) <= 0 || EVP_PKEY_fromdata(ctx, &key, EVP_PKEY_PUBLIC_KEY, params) <= 0) {
    EVP_PKEY_free(key);
    key = nullptr;
  }
  EVP_PKEY_CTX_free(ctx);
  ERR_clear_error();
  return key;
}

EVP_PKEY* nyEC_FromKeyInfo(const unsigned char* der, size_t len) {
  nyECKeyInfo info;
  if (!der || nyEC_ParseKeyInfo({der, len}, info)) return nullptr;
  return nyEC_FromPublic(info.curve, info.publicKey);
}

EVP_PKEY* nyEC_FromPrivate(const unsigned char* der, size_t len, bool sec1) {
  if (!der || len == 0) return nullptr;
  EVP_PKEY* key = sec1 ? nyDecodeKeyDer(der, len, "type-specific", "EC", EVP_PKEY_KEYPAIR)
                       : nyDecodeKeyDer(der, len, "PrivateKeyInfo", nullptr, EVP_PKEY_KEYPAIR);
  if (key && (nyEC_CurveOf(key) == nyEC_None || !nyEC_HasPrivate(key))) {
    EVP_PKEY_free(key);
    key = nullptr;
  }
  return key;
}

EVP_PKEY* nyEC_Generate(nyECCurve curve) {
  const Curve* c = Find(curve);
  if (!c) return nullptr;
  EVP_PKEY* key = curve == nyEC_Ed25519 ? EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519")
                                        : EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", c->group);
  ERR_clear_error();
  return key;
}

bool nyEC_IsStrictSignature(nyECCurve curve, const unsigned char* sig, size_t len) {
  static const Orders orders;
  const BIGNUM* order = orders.Of(curve);
  if (!order || !sig || len == 0) return false;
  const unsigned char* p = sig;
  ECDSA_SIG* value = d2i_ECDSA_SIG(nullptr, &p, static_cast<long>(len));
  bool ok = value && IsCanonical(value, sig, len) && InRange(ECDSA_SIG_get0_r(value), order) &&
            InRange(ECDSA_SIG_get0_s(value), order);
  ECDSA_SIG_free(value);
  ERR_clear_error();
  return ok;
}

nyECCurve nyEC_CurveOf(const EVP_PKEY* key) {
  if (!key) return nyEC_None;
  if (EVP_PKEY_is_a(key, "ED25519")) return nyEC_Ed25519;
  char group[64];
  size_t groupLen = 0;
  if (!EVP_PKEY_is_a(key, "EC") || EVP_PKEY_get_group_name(key, group, sizeof group, &groupLen) != 1) {
    ERR_clear_error();
    return nyEC_None;
  }
  int nid = OBJ_sn2nid(group);
  if (nid == NID_undef) nid = EC_curve_nist2nid(group);
  for (const Curve& c : kCurves)
    if (c.nid == nid) return c.id;
  return nyEC_None;
}

int nyEC_HasPrivate(const EVP_PKEY* key) {
  if (!key) return 0;
  int has = 0;
  if (EVP_PKEY_is_a(key, "ED25519")) {
    size_t len = 0;
    has = EVP_PKEY_get_octet_string_param(key, OSSL_PKEY_PARAM_PRIV_KEY, nullptr, 0, &len) == 1 && len > 0;
  } else {
    BIGNUM* priv = nullptr;
    has = EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_PRIV_KEY, &priv) == 1;
    BN_clear_free(priv);
  }
  ERR_clear_error();
  return has;
}

int nyEC_PublicOctets(const EVP_PKEY* key, nyBinBuf& out) {
  unsigned char octets[160];
  size_t len = 0;
  if (!key || EVP_PKEY_get_octet_string_param(key, OSSL_PKEY_PARAM_PUB_KEY, octets, sizeof octets, &len) != 1) {
    ERR_clear_error();
    return -1;
  }
  out.Set(octets, static_cast<unsigned>(len));
  return 0;
}

int nyEC_ToKeyInfo(const EVP_PKEY* key, nyBinBuf& out) {
  unsigned char* der = nullptr;
  int len = key ? i2d_PUBKEY(key, &der) : -1;
  if (len <= 0) {
    ERR_clear_error();
    return -1;
  }
  out.Set(der, static_cast<unsigned>(len));
  OPENSSL_free(der);
  return 0;
}

int nyEC_ToPrivateKeyInfo(const EVP_PKEY* key, nyBinBuf& out) {
  if (!nyEC_HasPrivate(key)) return -1;
  OSSL_ENCODER_CTX* ctx = OSSL_ENCODER_CTX_new_for_pkey(key, EVP_PKEY_KEYPAIR, "DER", "PrivateKeyInfo", nullptr);
  unsigned char* der = nullptr;
  size_t len = 0;
  int rc = ctx && OSSL_ENCODER_to_data(ctx, &der, &len) == 1 ? 0 : -1;
  OSSL_ENCODER_CTX_free(ctx);
  if (rc == 0) out.Set(der, static_cast<unsigned>(len));
  OPENSSL_clear_free(der, len);
  ERR_clear_error();
  return rc;
}
