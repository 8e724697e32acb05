// Certificate templates: the version rule, each missing field of a
// to-be-signed certificate, the narrow match, deep copies, the CRMF form,
// and certificates signed from a template that openssl accepts.
#include <gtest/gtest.h>

#include <ctime>
#include <memory>
#include <string>

#include "nycert/asn1/modules/crmf.h"
#include "nycert/asn1/modules/pkcs1.h"
#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/ext_gn.h"
#include "nycert/certs/extensions_list.h"
#include "nycert/certs/basic_constraint.h"
#include "nycert/enroll/cert_template.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keys/rsa_import.h"
#include "nycert/names/general_name.h"
#include "nycert/names/general_names.h"
#include "nycert/names/obdn.h"
#include "support/cert_pki.h"

namespace {

struct KeyFree {
  void operator()(obPubKey* key) const { obFreePubKey(key); }
};
using Key = std::unique_ptr<obPubKey, KeyFree>;
using CertPtr = SignedPtr<obCert>;

// openssl checks the certificates against the real clock, and the CA is new.
const long kNotBefore = static_cast<long>(time(nullptr)) - 3600;
const long kNotAfter = kNotBefore + 365 * 86400;

Key PemKey(const std::string& path) {
  Bytes pem = ReadBytes(path);
  return Key(obImportRSAKeyPEM(reinterpret_cast<const char*>(pem.data()), static_cast<unsigned>(pem.size())));
}

const Key& SubjectKey() {
  static const Key key = PemKey(CachedKey(2048));
  return key;
}

obExtGN Dns(const char* name) {
  obGeneralNames names;
  names.Add(new obGeneralName(obGN_dNSName, name, static_cast<int>(strlen(name))));
  return obExtGN(names);
}

// Everything a certificate needs, issued by the shared CA.
obCertTemplate Complete() {
  obCertTemplate t;
  t.SetSerialNum(0x4242);
  CertPtr ca = Decoded<obCert>(SharedPki().CaDer());
  t.SetIssuer(*ca->Subject());
  t.SetNotBefore(kNotBefore);
  t.SetNotAfter(kNotAfter);
  t.SetSubject(obDN("CN=Template Test,O=Example Inc,C=US"));
  t.SetKey(SubjectKey().get());
  return t;
}

Bytes Signed(obCertTemplate& t, ob_md_type md = ob_md_sha256) {
  nyBinBuf out;
  EXPECT_EQ(0, obSignCertificate(t, *SharedPki().CaKey(), md, out));
  return Bytes(out.Data(), out.Data() + out.Len());
}

TEST(CertTemplate, VersionFollowsTheExtensionsAndOpensslAcceptsTheCertificate) {
  const TestPki& pki = SharedPki();
  obCertTemplate t = Complete();
  CertPtr v1 = Decoded<obCert>(Signed(t));
  ASSERT_EQ(1, v1->OK()) << v1->Error();
  EXPECT_EQ(1, v1->Version());
  EXPECT_EQ(obVfy_OK, v1->VerifySig(pki.CaKey()));

  ASSERT_EQ(0, t.AddExtension(obASN_id_ce_subjectAltName, 0, Dns("template.example")));
  Bytes der = Signed(t, ob_md_sha1);
  CertPtr v3 = Decoded<obCert>(der);
  EXPECT_EQ(3, v3->Version());
  EXPECT_EQ(0x4242, [&] { int s = 0; v3->SerialNum(s); return s; }());
  EXPECT_EQ(kNotBefore, v3->notBefore());
  EXPECT_EQ(kNotAfter, v3->notAfter());
  std::string text = pki.X509Output(der, "-noout -text");
  EXPECT_NE(std::string::npos, text.find("DNS:template.example")) << text;
  EXPECT_NE(std::string::npos, text.find("Subject: C = US, O = Example Inc, CN = Template Test")) << text;
  EXPECT_NE(std::string::npos, text.find("Version: 3")) << text;
  WriteBytes(pki.dir() + "/tmpl.der", der);
  ASSERT_TRUE(Openssl(pki.dir(), "x509 -inform DER -in tmpl.der -out tmpl.pem"));
  std::string verified = OpensslOutput(pki.dir(), "verify -CAfile ca.pem tmpl.pem");
  EXPECT_NE(std::string::npos, verified.find("tmpl.pem: OK")) << verified;

  t.SetVersion(2);  // asked for explicitly, whatever the extensions
  EXPECT_EQ(2, Decoded<obCert>(Signed(t))->Version());
}

TEST(CertTemplate, EachMissingFieldStopsTheCertificateWithItsMessage) {
  obCertTemplate full = Complete();
  struct Case {
    std::function<void(obCertTemplate&)> remove;
    const char* message;
  };
  const Case cases[] = {
      {[](obCertTemplate& t) { t.Set(obCertTemplate()); }, "PrepareTBSCert: no serial number"},
      {[](obCertTemplate& t) { t.SetIssuer(obDN()); }, "PrepareTBSCert: no issuer"},
      {[](obCertTemplate& t) { t.SetNotBefore(0); }, "PrepareTBSCert: no notbefore"},
      {[](obCertTemplate& t) { t.SetNotAfter(0); }, "PrepareTBSCert: no notafter"},
      {[](obCertTemplate& t) { t.ResetSubject(); }, "PrepareTBSCert: no subject"},
      {[](obCertTemplate& t) { t.SetKey(nullptr); }, "PrepareTBSCert: no key"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    obCertTemplate t = Complete();
    c.remove(t);
    nyBinBuf out;
    EXPECT_EQ(-1, Gated([&] { return obSignCertificate(t, *SharedPki().CaKey(), ob_md_sha256, out); }, c.message));
    EXPECT_EQ(0u, out.Len());
  }
  obASN_TBSCertificate tbs;
  EXPECT_EQ(-1, Gated([&] { return full.PrepareTBSCert(nullptr, tbs); }, "PrepareTBSCert: no algid"));
  nyBinBuf out;
  EXPECT_EQ(-1, Gated([&] { return obSignCertificate(full, *SharedPki().CaKey(), ob_md_unknown, out); },
                      "obSignCertificate: couldn't find the oid of md type: 3"));
  // The signing key must be able to sign: the subject's public half cannot.
  int len = SubjectKey()->Export(obPK_Format_PublicDER, nullptr, 0);
  Bytes pub(static_cast<size_t>(len));
  SubjectKey()->Export(obPK_Format_PublicDER, pub.data(), len);
  Key publicOnly(obImportRSAKey(obPK_Format_PublicDER, pub.data(), len));
  EXPECT_EQ(-1, obSignCertificate(full, *publicOnly, ob_md_sha256, out));
}

TEST(CertTemplate, MatchComparesOnlySerialAndKey) {
  const TestPki& pki = SharedPki();
  CertRequest request;
  request.serial = "0x3003";
  CertPtr cert = Decoded<obCert>(pki.Issue("match", request));
  Key certKey = PemKey(pki.dir() + "/match.key");

  obCertTemplate t;
  EXPECT_EQ(0, t.MatchCert(*cert));
  t.SetSubject(obDN("CN=Someone Else"));
  t.SetNotBefore(1);
  t.SetSerialNum(0x3003);
  t.SetKey(certKey.get());
  EXPECT_EQ(0, t.MatchCert(*cert));
  t.SetSerialNum(0x3004);
  EXPECT_EQ(-1, Gated([&] { return t.MatchCert(*cert); },
                      "obCertTemplate_imp::MatchCert: serial number is different than in the request."));
  t.SetSerialNum(0x3003);
  t.SetKey(PemKey(CachedKey(1024)).get());
  EXPECT_EQ(-1, Gated([&] { return t.MatchCert(*cert); },
                      "obCertTemplate_imp::MatchCert: key in the certificate is different than in the request."));
  Bytes ecCertDer = [&] {
    CertRequest ec;
    ec.keyBits = 0;
    ec.serial = "0x3003";
    return pki.Issue("match_ec", ec);
  }();
  CertPtr ecCert = Decoded<obCert>(ecCertDer);
  EXPECT_EQ(-1, Gated([&] { return t.MatchCert(*ecCert); },
                      "obCertTemplate_imp::MatchCert: key in the certificate is different than in the request."));
}

TEST(CertTemplate, CopiesAreDeepAndClearUnsetsEverything) {
  obCertTemplate original = Complete();
  original.AddExtension(obASN_id_ce_basicConstraints, 1, obBasicConstraint(1, 0));
  obCertTemplate copy(original);
  copy.SetSubject(obDN("CN=Changed"));
  copy.SetSerialNum(obAsnInt(7));
  copy.AddExtension(obASN_id_ce_subjectAltName, 0, Dns("copy.example"));
  EXPECT_STREQ("CN=Template Test,O=Example Inc,C=US", original.Subject()->GetStr());
  EXPECT_EQ(0x4242, original.SerialNum()->Value());
  EXPECT_EQ(1, original.Extensions().Count());
  EXPECT_EQ(2, copy.Extensions().Count());
  EXPECT_EQ(1, copy.Extensions().IsCritical(obASN_id_ce_basicConstraints));
  EXPECT_EQ(original.PubKey(), copy.PubKey());  // keys are shared by reference

  std::string printed = Printed([&](FILE* f) { copy.Fprint(f, 0); });
  EXPECT_NE(std::string::npos, printed.find("Subject: CN=Changed")) << printed;
  EXPECT_NE(std::string::npos, printed.find("2048 bits")) << printed;

  copy.Clear();
  EXPECT_EQ(-1, copy.Version());
  EXPECT_EQ(nullptr, copy.SerialNum());
  EXPECT_EQ(nullptr, copy.Issuer());
  EXPECT_EQ(nullptr, copy.Subject());
  EXPECT_EQ(0, copy.notBefore());
  EXPECT_EQ(0, copy.notAfter());
  EXPECT_EQ(nullptr, copy.PubKey());
  EXPECT_EQ(0, copy.Extensions().Count());
  copy = original;
  EXPECT_EQ(nullptr, copy.GetExt(obASN_id_ce_subjectAltName));
  EXPECT_NE(nullptr, copy.GetExt(obASN_id_ce_basicConstraints));
}

TEST(CertTemplate, CrmfTemplateCarriesTheSetFieldsBothWays) {
  obCertTemplate t = Complete();
  t.SetVersion(3);
  t.AddExtension(obASN_id_ce_subjectAltName, 0, Dns("crmf.example"));
  obASN_CertTemplate crmf;
  ASSERT_EQ(0, t.Prepare_obASN_CertTemplate(crmf, &obASN_sha256WithRSAEncryption));
  nyBinBuf der;
  ASSERT_EQ(0, obAsnEncode(crmf, der));
  // [0] IMPLICIT version 2, then [1] IMPLICIT serial 0x4242, then [2] the algorithm.
  EXPECT_EQ("80 01 02 81 02 42 42 A2", ToHex(der).substr(12, 23)) << ToHex(der);

  obASN_CertTemplate decoded;
  ASSERT_EQ(0, obAsnDecode(decoded, der.Data(), der.Len()));
  obCertTemplate back;
  ASSERT_EQ(0, back.Set(decoded));
  EXPECT_EQ(3, back.Version());
  EXPECT_EQ(0x4242, back.SerialNum()->Value());
  EXPECT_EQ(*t.Issuer(), *back.Issuer());
  EXPECT_EQ(*t.Subject(), *back.Subject());
  EXPECT_EQ(kNotBefore, back.notBefore());
  EXPECT_EQ(kNotAfter, back.notAfter());
  ASSERT_NE(nullptr, back.PubKey());
  EXPECT_EQ(1, obPubKey_Equal(t.PubKey(), back.PubKey()));
  EXPECT_NE(nullptr, back.GetExt(obASN_id_ce_subjectAltName));

  obCertTemplate onlySubject;
  onlySubject.SetSubject(obDN("CN=Only"));
  ASSERT_EQ(0, onlySubject.Prepare_obASN_CertTemplate(crmf, nullptr));
  EXPECT_FALSE(crmf.serialNumber);
  EXPECT_FALSE(crmf.signingAlg);
  EXPECT_FALSE(crmf.validity);
  EXPECT_FALSE(crmf.publicKey);
  EXPECT_TRUE(crmf.subject);
}

}  // namespace
