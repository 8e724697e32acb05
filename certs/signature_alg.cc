#include "nycert/certs/signature_alg.h"

#include "nycert/asn1/modules/pkcs1.h"
#include "nycert/asn1/modules/pkix1_algorithms.h"

namespace {

struct SignatureAlg {
  const obAsnOid* oid;
  ob_md_type md;
};

// The first row of a digest is the identifier written when signing.
const SignatureAlg kSignatureAlgs[] = {
    {&obASN_md5WithRSAEncryption, ob_md_md5},       {&obASN_sha1WithRSAEncryption, ob_md_sha1},
    {&obASN_sha1WithRSASignature, ob_md_sha1},      {&obASN_sha256WithRSAEncryption, ob_md_sha256},
    {&obASN_sha384WithRSAEncryption, ob_md_sha384}, {&obASN_sha512WithRSAEncryption, ob_md_sha512},
};

}  // namespace

ob_md_type obSignatureDigest(obDerSpan oid) {
  for (const SignatureAlg& alg : kSignatureAlgs) {
    if (oid.Equal(alg.oid->data(), alg.oid->size())) return alg.md;
  }
  return ob_md_unknown;
}

const obAsnOid* obSignatureOid(ob_md_type md) {
  for (const SignatureAlg& alg : kSignatureAlgs) {
    if (alg.md == md) return alg.oid;
  }
  return nullptr;
}
