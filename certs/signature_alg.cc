#include "nycert/certs/signature_alg.h"

#include "nycert/asn1/modules/pkcs1.h"
#include "nycert/asn1/modules/pkix1_algorithms.h"
#include "nycert/asn1/modules/pkix1_ecc.h"

namespace {

// The first row of a key kind and digest is the identifier written when signing.
const obSignatureAlg kSignatureAlgs[] = {
    {&obASN_md5WithRSAEncryption, obAlg_RSA, ob_md_md5},
    {&obASN_sha1WithRSAEncryption, obAlg_RSA, ob_md_sha1},
    {&obASN_sha1WithRSASignature, obAlg_RSA, ob_md_sha1},
    {&obASN_sha256WithRSAEncryption, obAlg_RSA, ob_md_sha256},
    {&obASN_sha384WithRSAEncryption, obAlg_RSA, ob_md_sha384},
    {&obASN_sha512WithRSAEncryption, obAlg_RSA, ob_md_sha512},
    {&obASN_ecdsa_with_SHA256, obAlg_EC, ob_md_sha256},
    {&obASN_ecdsa_with_SHA384, obAlg_EC, ob_md_sha384},
    {&obASN_ecdsa_with_SHA512, obAlg_EC, ob_md_sha512},
    {&obASN_id_Ed25519, obAlg_Ed25519, ob_md_unknown},
};

}  // namespace

const obSignatureAlg* obFindSignatureAlg(obDerSpan oid) {
  for (const obSignatureAlg& alg : kSignatureAlgs) {
    if (oid.Equal(alg.oid->data(), alg.oid->size())) return &alg;
  }
  return nullptr;
}

ob_md_type obSignatureDigest(obDerSpan oid) {
  const obSignatureAlg* alg = obFindSignatureAlg(oid);
  return alg ? alg->md : ob_md_unknown;
}

const obAsnOid* obSignatureOid(ob_md_type md, obAlgType key) {
  for (const obSignatureAlg& alg : kSignatureAlgs) {
    if (alg.key == key && (alg.md == md || key == obAlg_Ed25519)) return alg.oid;
  }
  return nullptr;
}
