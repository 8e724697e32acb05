// Signing to-be-signed structures: the signed structure's shape, every
// digest checked by our verifier and by openssl, and the refusals.
#include <gtest/gtest.h>

#include <string>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/certs/signed.h"
#include "nycert/certs/x509_sign.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keys/rsa_import.h"
#include "support/cert_pki.h"

namespace {

struct KeyFree {
  void operator()(obPubKey* key) const { obFreePubKey(key); }
};
using Key = std::unique_ptr<obPubKey, KeyFree>;

Key PublicOnly(obPubKey* key) {
  int len = key->Export(obPK_Format_PublicDER, nullptr, 0);
  Bytes der(static_cast<size_t>(len));
  EXPECT_EQ(len, key->Export(obPK_Format_PublicDER, der.data(), len));
  return Key(obImportRSAKey(obPK_Format_PublicDER, der.data(), len));
}

// A key of another algorithm that claims every flag.
class OtherKeyImp : public obPubKey_imp_vc {
 public:
  obAlgType algorithm() const override { return obAlg_DH; }
  int OK() const override { return 1; }
  unsigned Flags() const override { return ~0u; }
  const char* ClassName() const override { return "OtherKeyImp"; }
};
class OtherKey : public obPubKey {
 public:
  OtherKey() : obPubKey(new OtherKeyImp) {}
};

obASN_TBSCertificate CaTbs() {
  obASN_Certificate ca;
  EXPECT_EQ(0, obAsnDecode(ca, SharedPki().CaDer().data(), SharedPki().CaDer().size()));
  return ca.tbsCertificate;
}

TEST(X509Sign, WritesTheSignedStructureForEveryDigest) {
  const TestPki& pki = SharedPki();
  struct Case {
    ob_md_type md;
    const char* name;
  };
  for (Case c : {Case{ob_md_md5, "md5WithRSAEncryption"}, Case{ob_md_sha1, "sha1WithRSAEncryption"},
                 Case{ob_md_sha256, "sha256WithRSAEncryption"}, Case{ob_md_sha384, "sha384WithRSAEncryption"},
                 Case{ob_md_sha512, "sha512WithRSAEncryption"}}) {
    SCOPED_TRACE(c.name);
    obASN_TBSCertificate tbs = CaTbs();
    SetSignatureAlg(tbs.signature, c.md);
    nyBinBuf out;
    ASSERT_EQ(0, obX509Sign(tbs, *pki.CaKey(), c.md, out));
    obASN_Certificate cert;
    ASSERT_EQ(0, obAsnDecode(cert, out.Data(), out.Len()));
    EXPECT_FALSE(cert.signatureAlgorithm.parameters);
    EXPECT_EQ(tbs.signature.algorithm, cert.signatureAlgorithm.algorithm);
    EXPECT_EQ(2048u, cert.signature.BitLen());
    obSigned signedObj(out.Data(), out.Len());
    EXPECT_EQ(obVfy_OK, signedObj.VerifySig(pki.CaKey()));
    Bytes der(out.Data(), out.Data() + out.Len());
    EXPECT_NE(std::string::npos, pki.X509Output(der, "-noout -text").find(c.name));
    // openssl's own check of the self-signed certificate (MD5 is below its security level).
    if (c.md != ob_md_md5) {
      WriteBytes(pki.dir() + "/resigned.der", der);
      EXPECT_TRUE(Openssl(pki.dir(), "x509 -inform DER -in resigned.der -out resigned.pem"));
      EXPECT_TRUE(Openssl(pki.dir(), "verify -CAfile resigned.pem resigned.pem"));
    }
  }
}

TEST(X509Sign, RefusesKeysThatCannotSignAndUnknownDigests) {
  const TestPki& pki = SharedPki();
  obASN_TBSCertificate tbs = CaTbs();
  nyBinBuf out(reinterpret_cast<const unsigned char*>("keep"), 4);
  Key pub = PublicOnly(pki.CaKey());
  EXPECT_EQ(-1, Gated([&] { return obX509Sign(tbs, *pub, ob_md_sha256, out); },
                      "obX509Sign: Key cannot sign (flags = 1)"));
  OtherKey other;
  EXPECT_EQ(-1, Gated([&] { return obX509Sign(tbs, other, ob_md_sha256, out); },
                      "obX509Sign: curretnly work only for RSA (2)"));
  EXPECT_EQ(-1, Gated([&] { return obX509Sign(tbs, *pki.CaKey(), ob_md_unknown, out); },
                      "obX509Sign: Cannot find sign OID (3)"));
  obASN_TBSCertificate unencodable = tbs;
  unencodable.validity.notBefore = obASN_Time();  // no alternative chosen
  EXPECT_EQ(-1, obX509Sign(unencodable, *pki.CaKey(), ob_md_sha256, out));
  EXPECT_EQ(nyBinBuf(reinterpret_cast<const unsigned char*>("keep"), 4), out);
}

}  // namespace
