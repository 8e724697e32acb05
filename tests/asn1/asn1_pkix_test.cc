// Certificates, CRLs and keys made by the openssl command-line tool decode
// into the generated PKIX and PKCS #1 classes and encode back to the very
// same octets.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "asn_value_util.h"
#include "nycert/asn1/modules/name_attributes.h"
#include "nycert/asn1/modules/pkcs1.h"
#include "nycert/asn1/modules/pkcs9.h"
#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "support/test_support.h"

namespace {

using Der = std::vector<unsigned char>;
using Named = std::vector<std::pair<std::string, Der>>;

void WriteText(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

const char kRequestConfig[] = R"(
[ req ]
distinguished_name = dn
string_mask = MASK
prompt = no
[ dn ]
CN = unused
[ ca ]
basicConstraints = critical, CA:TRUE, pathlen:1
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid:always
nameConstraints = critical, permitted;DNS:.example.com, excluded;IP:192.168.0.0/255.255.0.0
policyConstraints = requireExplicitPolicy:1
inhibitAnyPolicy = 2
certificatePolicies = 2.5.29.32.0
[ leaf ]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature, keyEncipherment, dataEncipherment
extendedKeyUsage = serverAuth, clientAuth, codeSigning, emailProtection, timeStamping, OCSPSigning
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid:always, issuer:always
subjectAltName = @alt
issuerAltName = email:ca@example.com
crlDistributionPoints = URI:http://crl.example.com/ca.crl, crldp
authorityInfoAccess = OCSP;URI:http://ocsp.example.com/, caIssuers;URI:http://ca.example.com/ca.crt
certificatePolicies = 1.2.3.4, @policy
1.2.3.4.5 = critical, DER:01:01:FF
[ alt ]
DNS.1 = www.example.com
DNS.2 = *.example.com
IP.1 = 10.1.2.3
IP.2 = 2001:db8::1
email.1 = user@example.com
URI.1 = https://example.com/path
dirName.1 = altdir
otherName.1 = 1.3.6.1.4.1.311.20.2.3;UTF8:user@realm.example.com
RID.1 = 1.2.3.4
[ altdir ]
C = DE
O = Alt Org
CN = Alt Name
[ crldp ]
fullname = URI:ldap://ldap.example.com/cn=ca
reasons = keyCompromise, CACompromise
CRLissuer = dirName:altdir
[ policy ]
policyIdentifier = 1.3.6.1.4.1.99999.1
CPS.1 = "http://cps.example.com/"
userNotice.1 = @notice
[ notice ]
explicitText = "Notice text"
organization = "Example Org"
noticeNumbers = 1, 2, 3
)";

const char kCaConfig[] = R"(
[ ca ]
default_ca = full
[ full ]
database = index.txt
certificate = ca.crt
private_key = CAKEY
crlnumber = crlnumber
default_md = sha256
default_crl_days = 30
crl_extensions = crl_ext
[ crl_ext ]
authorityKeyIdentifier = keyid:always
issuerAltName = URI:http://ca.example.com/
issuingDistributionPoint = critical, @idp
[ idp ]
fullname = URI:http://crl.example.com/ca.crl
onlysomereasons = keyCompromise, superseded
onlyuser = TRUE
[ plain ]
database = plain.txt
certificate = ca.crt
private_key = CAKEY
default_md = sha256
default_crl_days = 1
)";

std::string ReplaceAll(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

// The certificates, CRLs and keys of one test process.
class Corpus {
 public:
  Corpus() { ok_ = Build(); }
  bool ok() const { return ok_; }
  const Named& certs() const { return certs_; }
  const Named& crls() const { return crls_; }
  const Der& cert(const std::string& name) const { return Find(certs_, name); }
  const Der& crl(const std::string& name) const { return Find(crls_, name); }
  const std::map<int, std::string>& rsaKeys() const { return rsaKeys_; }
  std::string dir() const { return dir_.path(); }
  bool Run(const std::string& args) const { return Openssl(dir_.path(), args); }

 private:
  static const Der& Find(const Named& list, const std::string& name) {
    for (const auto& entry : list)
      if (entry.first == name) return entry.second;
    static const Der kNone;
    return kNone;
  }

  bool Build() {
    for (int bits : {1024, 2048, 4096}) rsaKeys_[bits] = CachedKey(bits);
    ec_ = CachedKey(0);
    for (const char* mask : {"utf8only", "default", "pkix"})
      WriteText(dir_.File(std::string(mask) + ".cnf"), ReplaceAll(kRequestConfig, "MASK", mask));
    WriteText(dir_.File("ca.cnf"), ReplaceAll(kCaConfig, "CAKEY", rsaKeys_[2048]));
    WriteText(dir_.File("index.txt"), "");
    WriteText(dir_.File("plain.txt"), "");
    WriteText(dir_.File("crlnumber"), "1000\n");
    return MakeCertificates() && MakeCrls();
  }

  // One certificate: self-signed with -x509 when issued is false, else signed by the CA.
  bool Cert(const std::string& name, const std::string& key, const std::string& subject, const std::string& options,
            bool issued = true, const std::string& mask = "utf8only") {
    std::string config = mask + ".cnf";
    bool made = issued ? Run("req -new -utf8 -key '" + key + "' -subj '" + subject + "' -config " + config +
                             " -out " + name + ".csr") &&
                             Run("x509 -req -in " + name + ".csr -CA ca.crt -CAkey '" + rsaKeys_[2048] + "' " +
                                 options + " -outform DER -out " + name + ".der")
                       : Run("req -x509 -new -utf8 -key '" + key + "' -subj '" + subject + "' -config " + config +
                             " " + options + " -outform DER -out " + name + ".der");
    if (made) certs_.emplace_back(name, ReadBytes(dir_.File(name + ".der")));
    return made;
  }

  bool MakeCertificates() {
    const std::string leaf = " -extfile utf8only.cnf -extensions leaf";
    return Run("req -x509 -new -key '" + rsaKeys_[2048] +
               "' -subj '/C=US/O=Nycert Test/CN=Test Root' -days 3650 -config utf8only.cnf -extensions ca"
               " -set_serial 1 -out ca.crt") &&
           Run("x509 -in ca.crt -outform DER -out ca.der") &&
           (certs_.emplace_back("ca", ReadBytes(dir_.File("ca.der"))), true) &&
           Cert("full", rsaKeys_[1024],
                "/C=US/ST=California/L=San Francisco/O=Example Inc/OU=Ingeniería/CN=www.example.com"
                "/emailAddress=admin@example.com/serialNumber=A123/title=Engineer/street=1 Main St/UID=jdoe"
                "/DC=example/DC=com",
                "-days 30 -set_serial 0x0102030405060708090A0B0C0D0E0F1011121314" + leaf) &&
           Cert("rsa4096", rsaKeys_[4096], "/CN=big.example.com", "-days 30 -set_serial 128 -sha512" + leaf) &&
           Cert("ec_issued", ec_, "/CN=ec.example.com+OU=Devices/O=Example", "-days 30 -set_serial 2 -sha384") &&
           Cert("ec_root", ec_, "/CN=EC Root", "-days 30 -extensions ca", false) &&
           Cert("bmp", rsaKeys_[2048], "/CN=Ünïcødé Тест/O=Café/OU=a+OU=b", "-days 30 -set_serial 3", true,
                "default") &&
           Cert("pkix", rsaKeys_[2048], "/CN=Zoë/O=Plain", "-days 30 -set_serial 4", true, "pkix") &&
           Cert("v1", ec_, "/CN=version one", "-days 30 -set_serial 6") &&
           Cert("generalized", ec_, "/CN=far future", "-days 40000 -set_serial 7 -sha1") &&
           Cert("pss", ec_, "/CN=pss",
                "-days 30 -set_serial 8 -sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:32");
  }

  bool Crl(const std::string& name, const std::string& options) {
    bool made = Run("ca -config ca.cnf -gencrl " + options + " -out " + name + ".pem") &&
                Run("crl -in " + name + ".pem -outform DER -out " + name + ".der");
    if (made) crls_.emplace_back(name, ReadBytes(dir_.File(name + ".der")));
    return made;
  }

  bool MakeCrls() {
    if (!Crl("plain", "-name plain") || !Crl("empty", "")) return false;
    const char* revocations[] = {"full.der -crl_reason keyCompromise",
                                 "rsa4096.der -crl_reason superseded",
                                 "bmp.der -crl_hold holdInstructionReject",
                                 "pkix.der -crl_compromise 20240101120000Z",
                                 "ec_issued.der -crl_CA_compromise 20230101120000Z",
                                 "v1.der"};
    for (const char* revocation : revocations) {
      if (!Run(std::string("ca -config ca.cnf -revoke ") + revocation)) return false;
    }
    return Crl("revoked", "-crldays 7");
  }

  TempDir dir_;
  std::map<int, std::string> rsaKeys_;
  std::string ec_;
  Named certs_, crls_;
  bool ok_;
};

class AsnPkix : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (HaveOpenssl()) corpus_ = new Corpus;
  }
  static void TearDownTestSuite() {
    delete corpus_;
    corpus_ = nullptr;
  }
  void SetUp() override {
    if (!corpus_) GTEST_SKIP() << "openssl not available";
    ASSERT_TRUE(corpus_->ok()) << "openssl could not make the corpus in " << corpus_->dir();
  }

  static Corpus* corpus_;
};

Corpus* AsnPkix::corpus_ = nullptr;

// Decodes der into value and expects the same octets back, a matching
// measuring pass and a printable value.
void ExpectExactRoundTrip(obAsnType& value, const Der& der, const std::string& what) {
  SCOPED_TRACE(what);
  ASSERT_EQ(DecodeExact(value, der), 0);
  EXPECT_EQ(EncodeHex(value), ToHex(der.data(), der.size()));
  EXPECT_TRUE(MeasureMatchesWrite(value));
  EXPECT_FALSE(SprintText(value, 0).empty());
}

template <typename T>
T Decoded(const unsigned char* p, unsigned long n) {
  T value;
  EXPECT_EQ(obAsnDecode(value, p, n), 0);
  return value;
}

template <typename T>
T Decoded(const Der& der) {
  return Decoded<T>(der.data(), der.size());
}

// The extensions of a certificate or a CRL, with those of every CRL entry.
std::vector<const obASN_Extension*> ExtensionsOf(const obASN_Extensions* list) {
  std::vector<const obASN_Extension*> out;
  if (list)
    for (const obASN_Extension& e : *list) out.push_back(&e);
  return out;
}

// A fresh value of the type of each extension the library knows.
const std::vector<std::pair<const obAsnOid*, std::function<obAsnType*()>>>& ExtensionTypes() {
  static const std::vector<std::pair<const obAsnOid*, std::function<obAsnType*()>>> types = {
      {&obASN_id_ce_keyUsage, [] { return new obASN_KeyUsage; }},
      {&obASN_id_ce_basicConstraints, [] { return new obASN_BasicConstraints; }},
      {&obASN_id_ce_extKeyUsage, [] { return new obASN_ExtKeyUsageSyntax; }},
      {&obASN_id_ce_subjectKeyIdentifier, [] { return new obASN_SubjectKeyIdentifier; }},
      {&obASN_id_ce_authorityKeyIdentifier, [] { return new obASN_AuthorityKeyIdentifier; }},
      {&obASN_id_ce_subjectAltName, [] { return new obASN_SubjectAltName; }},
      {&obASN_id_ce_issuerAltName, [] { return new obASN_IssuerAltName; }},
      {&obASN_id_ce_cRLDistributionPoints, [] { return new obASN_CRLDistributionPoints; }},
      {&obASN_id_pe_authorityInfoAccess, [] { return new obASN_AuthorityInfoAccessSyntax; }},
      {&obASN_id_ce_certificatePolicies, [] { return new obASN_CertificatePolicies; }},
      {&obASN_id_ce_nameConstraints, [] { return new obASN_NameConstraints; }},
      {&obASN_id_ce_policyConstraints, [] { return new obASN_PolicyConstraints; }},
      {&obASN_id_ce_inhibitAnyPolicy, [] { return new obASN_InhibitAnyPolicy; }},
      {&obASN_id_ce_cRLNumber, [] { return new obASN_CRLNumber; }},
      {&obASN_id_ce_issuingDistributionPoint, [] { return new obASN_IssuingDistributionPoint; }},
      {&obASN_id_ce_cRLReasons, [] { return new obASN_CRLReason; }},
      {&obASN_id_ce_invalidityDate, [] { return new obASN_InvalidityDate; }},
      {&obASN_id_ce_holdInstructionCode, [] { return new obASN_HoldInstructionCode; }},
  };
  return types;
}

const obASN_AttributeTypeAndValue* Attribute(const obASN_Name& name, const obAsnOid& type) {
  for (const obASN_RelativeDistinguishedName& rdn : *name.rdnSequence)
    for (const obASN_AttributeTypeAndValue& atv : rdn)
      if (atv.type == type) return &atv;
  return nullptr;
}

}  // namespace

TEST_F(AsnPkix, CertificatesEncodeBackToTheirOctets) {
  EXPECT_EQ(corpus_->certs().size(), 10u);
  for (const auto& entry : corpus_->certs()) {
    obASN_Certificate cert;
    ExpectExactRoundTrip(cert, entry.second, entry.first);
    obASN_Certificate copy(cert);
    EXPECT_EQ(EncodeHex(copy), ToHex(entry.second.data(), entry.second.size())) << entry.first;
  }
}

TEST_F(AsnPkix, CrlsEncodeBackToTheirOctets) {
  for (const auto& entry : corpus_->crls()) {
    obASN_CertificateList crl;
    ExpectExactRoundTrip(crl, entry.second, entry.first);
  }
  auto plain = Decoded<obASN_CertificateList>(corpus_->crl("plain")).tbsCertList;
  EXPECT_FALSE(plain.version || plain.revokedCertificates || plain.crlExtensions);  // v1: no extensions anywhere
  auto revoked = Decoded<obASN_CertificateList>(corpus_->crl("revoked")).tbsCertList;
  ASSERT_TRUE(revoked.revokedCertificates);
  EXPECT_EQ(revoked.version->Value(), obASN_Version::v2);
  std::vector<int> reasons;
  for (const obASN_TBSCertList_revokedCertificates_elem& entry : *revoked.revokedCertificates) {
    int reason = -1;
    for (const obASN_Extension* e : ExtensionsOf(entry.crlEntryExtensions.get()))
      if (e->extnID == obASN_id_ce_cRLReasons)
        reason = Decoded<obASN_CRLReason>(e->extnValue.data(), e->extnValue.size()).Value();
    reasons.push_back(reason);
  }
  // openssl lists the entries by serial number: ec_issued, bmp, pkix, v1, rsa4096, full.
  EXPECT_EQ(reasons, (std::vector<int>{obASN_CRLReason::cACompromise, obASN_CRLReason::certificateHold,
                                       obASN_CRLReason::keyCompromise, -1, obASN_CRLReason::superseded,
                                       obASN_CRLReason::keyCompromise}));
}

TEST_F(AsnPkix, ExtensionsDecodeWithTheirOwnTypes) {
  std::vector<obASN_Certificate> certs;
  std::vector<obASN_CertificateList> crls;
  for (const auto& entry : corpus_->certs()) certs.push_back(Decoded<obASN_Certificate>(entry.second));
  for (const auto& entry : corpus_->crls()) crls.push_back(Decoded<obASN_CertificateList>(entry.second));
  std::vector<const obASN_Extension*> all;
  auto add = [&](const obASN_Extensions* list) {
    for (const obASN_Extension* e : ExtensionsOf(list)) all.push_back(e);
  };
  for (const obASN_Certificate& cert : certs) add(cert.tbsCertificate.extensions.get());
  for (const obASN_CertificateList& crl : crls) {
    add(crl.tbsCertList.crlExtensions.get());
    if (crl.tbsCertList.revokedCertificates)
      for (const auto& entry : *crl.tbsCertList.revokedCertificates) add(entry.crlEntryExtensions.get());
  }
  std::set<std::string> seen;
  int critical = 0;
  for (const obASN_Extension* e : all) {
    critical += e->criticalOrDefault().Value();
    for (const auto& known : ExtensionTypes()) {
      if (e->extnID != *known.first) continue;
      std::unique_ptr<obAsnType> value(known.second());
      ExpectExactRoundTrip(*value, Der(e->extnValue.data(), e->extnValue.data() + e->extnValue.size()),
                           value->TypeName());
      seen.insert(value->TypeName());
    }
  }
  EXPECT_EQ(seen.size(), ExtensionTypes().size());
  EXPECT_GE(critical, 5);
}

// Open types resolve to the type their identifier names.
TEST_F(AsnPkix, PolicyQualifiersAndOtherNamesResolve) {
  auto cert = Decoded<obASN_Certificate>(corpus_->cert("full"));
  const obASN_Extension *san = nullptr, *policies = nullptr;
  for (const obASN_Extension* e : ExtensionsOf(cert.tbsCertificate.extensions.get())) {
    if (e->extnID == obASN_id_ce_subjectAltName) san = e;
    if (e->extnID == obASN_id_ce_certificatePolicies) policies = e;
  }
  ASSERT_TRUE(san && policies);
  auto names = Decoded<obASN_SubjectAltName>(san->extnValue.data(), san->extnValue.size());
  ASSERT_EQ(names[7].choiceId, obASN_GeneralName::otherNameCid);
  obAsnUTF8String* upn = new obAsnUTF8String;
  ASSERT_EQ(names[7].otherName->value.Resolve(upn), 1);
  EXPECT_EQ(upn->str(), "user@realm.example.com");
  auto list = Decoded<obASN_CertificatePolicies>(policies->extnValue.data(), policies->extnValue.size());
  ASSERT_EQ(list.size(), 2u);
  ASSERT_TRUE(list[1].policyQualifiers);
  obASN_PolicyQualifierInfo& cps = (*list[1].policyQualifiers)[0];
  obASN_PolicyQualifierInfo& notice = (*list[1].policyQualifiers)[1];
  EXPECT_EQ(cps.policyQualifierId, obASN_id_qt_cps);
  ASSERT_EQ(cps.qualifier.Resolve(new obASN_CPSuri), 1);
  EXPECT_EQ(notice.policyQualifierId, obASN_id_qt_unotice);
  obASN_UserNotice* userNotice = new obASN_UserNotice;
  ASSERT_EQ(notice.qualifier.Resolve(userNotice), 1);
  ASSERT_TRUE(userNotice->noticeRef && userNotice->explicitText);
  EXPECT_EQ(userNotice->noticeRef->noticeNumbers.size(), 3u);
  EXPECT_EQ(EncodeHex(list), ToHex(policies->extnValue.data(), policies->extnValue.size()));
}

TEST_F(AsnPkix, NameValuesUseTheirStringAlternatives) {
  auto full = Decoded<obASN_Certificate>(corpus_->cert("full")).tbsCertificate.subject;
  EXPECT_EQ(Attribute(full, obASN_id_at_countryName)->value.choiceId, obASN_DirectoryString::printableStringCid);
  EXPECT_EQ(Attribute(full, obASN_emailAddress)->value.ia5String->str(), "admin@example.com");
  auto bmp = Decoded<obASN_Certificate>(corpus_->cert("bmp")).tbsCertificate.subject;
  EXPECT_EQ(Attribute(bmp, obASN_id_at_commonName)->value.choiceId, obASN_DirectoryString::bmpStringCid);
  EXPECT_EQ(Attribute(bmp, obASN_id_at_organizationName)->value.teletexString->str(), "Caf\xE9");
  const obASN_RelativeDistinguishedName& multi = (*bmp.rdnSequence)[2];
  ASSERT_EQ(multi.size(), 2u);
  EXPECT_EQ(multi[1].value.printableString->str(), "b");
}

TEST_F(AsnPkix, VersionsSerialsTimesAndAlgorithms) {
  auto tbs = [](const char* name) { return Decoded<obASN_Certificate>(corpus_->cert(name)).tbsCertificate; };
  auto v1 = tbs("v1");
  EXPECT_FALSE(v1.version);
  EXPECT_EQ(v1.versionOrDefault().Value(), obASN_Version::v1);
  auto full = tbs("full");
  EXPECT_EQ(full.version->Value(), obASN_Version::v3);
  EXPECT_EQ(full.serialNumber.BytesLen(), 20u);
  EXPECT_EQ(EncodeHex(*full.signature.parameters), "05 00");
  EXPECT_EQ(tbs("rsa4096").serialNumber.Value(), 128);  // two octets: 00 80
  EXPECT_EQ(tbs("rsa4096").signature.algorithm, obASN_sha512WithRSAEncryption);
  EXPECT_EQ(tbs("generalized").validity.notBefore.choiceId, obASN_Time::utcTimeCid);
  EXPECT_EQ(tbs("generalized").validity.notAfter.choiceId, obASN_Time::generalTimeCid);
  auto ecRoot = Decoded<obASN_Certificate>(corpus_->cert("ec_root"));
  EXPECT_EQ(ecRoot.signatureAlgorithm.algorithm, obAsnOid("1.2.840.10045.4.3.2"));
  EXPECT_FALSE(ecRoot.signatureAlgorithm.parameters);  // absent, not NULL
  auto pss = Decoded<obASN_Certificate>(corpus_->cert("pss"));
  EXPECT_EQ(pss.signatureAlgorithm.algorithm, obASN_id_RSASSA_PSS);
  EXPECT_EQ(pss.signatureAlgorithm.parameters->Raw().Tag(), 0x30u);
}

TEST_F(AsnPkix, RsaKeysAndDigestInfoEncodeBackToTheirOctets) {
  for (const char* name : {"full", "rsa4096"}) {
    auto spki = Decoded<obASN_Certificate>(corpus_->cert(name)).tbsCertificate.subjectPublicKeyInfo;
    EXPECT_EQ(spki.algorithm.algorithm, obASN_rsaEncryption);
    obASN_RSAPublicKey key;
    ExpectExactRoundTrip(
        key, Der(spki.subjectPublicKey.Octets(), spki.subjectPublicKey.Octets() + spki.subjectPublicKey.OctetLen()),
        name);
    EXPECT_EQ(key.publicExponent.Value(), 65537);
  }
  const std::string signer = corpus_->rsaKeys().at(2048);
  WriteText(corpus_->dir() + "/data", "signed data\n");
  for (const auto& key : corpus_->rsaKeys()) {
    std::string bits = std::to_string(key.first);
    ASSERT_TRUE(corpus_->Run("rsa -in '" + key.second + "' -traditional -outform DER -out key" + bits + ".der"));
    obASN_RSAPrivateKey priv;
    ExpectExactRoundTrip(priv, ReadBytes(corpus_->dir() + "/key" + bits + ".der"), "private key " + bits);
    EXPECT_EQ(priv.version.Value(), obASN_RSAPrivateKey_version::two_prime);
  }
  std::pair<const char*, const obAsnOid*> digests[] = {{"sha1", &obASN_id_sha1}, {"sha384", &obASN_id_sha384}};
  for (const auto& digest : digests) {
    std::string name = digest.first;
    ASSERT_TRUE(corpus_->Run("dgst -" + name + " -sign '" + signer + "' -out " + name + ".sig data"));
    ASSERT_TRUE(
        corpus_->Run("pkeyutl -verifyrecover -inkey '" + signer + "' -in " + name + ".sig -out " + name + ".di"));
    obASN_DigestInfo info;
    ExpectExactRoundTrip(info, ReadBytes(corpus_->dir() + "/" + name + ".di"), name);
    EXPECT_EQ(info.digestAlgorithm.algorithm, *digest.second);
  }
}
