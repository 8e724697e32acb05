#include "nycert/crl/pkcs7_bundle.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/cert_pki.h"
#include "support/test_support.h"

namespace {

// Two issued certificates and a CRL of the shared PKI, as DER and PEM files.
class Pkcs7Bundle : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const TestPki& pki = SharedPki();
    CertRequest a, b;
    a.subject = "/C=US/O=Example Inc/CN=alpha.example.com";
    b.subject = "/C=US/O=Example Inc/CN=beta.example.com";
    b.serial = "0x1002";
    alpha_ = new Bytes(pki.Issue("alpha", a));
    beta_ = new Bytes(pki.Issue("beta", b));
    crl_ = new Bytes(MakeCrl(pki, {RevokedEntry{SerialOctets(0x1001)}}));
    WriteBytes(pki.dir() + "/crl.der", *crl_);
    ASSERT_TRUE(Openssl(pki.dir(), "crl -inform DER -in crl.der -out crl.pem"));
    std::string chain = "cat alpha.pem beta.pem > chain.pem";
    ASSERT_EQ(std::system(("cd '" + pki.dir() + "' && " + chain).c_str()), 0);
  }
  static void TearDownTestSuite() {
    delete alpha_;
    delete beta_;
    delete crl_;
  }
  static const std::string& Dir() { return SharedPki().dir(); }

  static int Read(const Bytes& der, obCerts* certs, obCRLs* crls) {
    return obPKCS72CertCRL(reinterpret_cast<const char*>(der.data()), static_cast<unsigned>(der.size()), certs, crls);
  }
  static Bytes Write(obCerts* certs, obCRLs* crls) {
    int len = 0;
    if (obCertCRL2PKCS7(certs, crls, nullptr, 0, len) != 0) return {};
    Bytes out(static_cast<size_t>(len));
    if (obCertCRL2PKCS7(certs, crls, reinterpret_cast<const char*>(out.data()), static_cast<unsigned>(out.size()),
                        len) != 0)
      return {};
    return out;
  }
  static Bytes DerOf(const obSigned* object) {
    return object ? Bytes(object->GetBuf(), object->GetBuf() + object->BufLen()) : Bytes{};
  }

  static Bytes* alpha_;
  static Bytes* beta_;
  static Bytes* crl_;
};

Bytes* Pkcs7Bundle::alpha_ = nullptr;
Bytes* Pkcs7Bundle::beta_ = nullptr;
Bytes* Pkcs7Bundle::crl_ = nullptr;

TEST_F(Pkcs7Bundle, ReadsBundlesMadeByOpenssl) {
  ASSERT_TRUE(Openssl(Dir(), "crl2pkcs7 -in crl.pem -certfile chain.pem -outform DER -out with_crl.p7b"));
  ASSERT_TRUE(Openssl(Dir(), "crl2pkcs7 -nocrl -certfile chain.pem -outform DER -out certs_only.p7b"));
  obCerts certs;
  obCRLs crls;
  EXPECT_EQ(Read(ReadBytes(Dir() + "/with_crl.p7b"), &certs, &crls), 3);
  ASSERT_EQ(certs.Count(), 2);
  ASSERT_EQ(crls.Count(), 1);
  EXPECT_EQ(DerOf(certs.Get(0)), *alpha_);
  EXPECT_EQ(DerOf(certs.Get(1)), *beta_);
  EXPECT_EQ(DerOf(crls.Get(0)), *crl_);

  // A second bundle appends; nothing is cleared.
  EXPECT_EQ(Read(ReadBytes(Dir() + "/certs_only.p7b"), &certs, &crls), 2);
  EXPECT_EQ(certs.Count(), 4);
  EXPECT_EQ(crls.Count(), 1);
  EXPECT_EQ(DerOf(certs.Get(3)), *beta_);
}

TEST_F(Pkcs7Bundle, NullListsSkipTheirPart) {
  ASSERT_TRUE(Openssl(Dir(), "crl2pkcs7 -in crl.pem -certfile chain.pem -outform DER -out both.p7b"));
  Bytes bundle = ReadBytes(Dir() + "/both.p7b");
  obCRLs crls;
  EXPECT_EQ(Read(bundle, nullptr, &crls), 1);
  EXPECT_EQ(crls.Count(), 1);
  obCerts certs;
  EXPECT_EQ(Read(bundle, &certs, nullptr), 2);
  EXPECT_EQ(certs.Count(), 2);
}

TEST_F(Pkcs7Bundle, OpensslReadsWhatWeWrite) {
  obCerts certs;
  certs.Add(new obCert(alpha_->data(), static_cast<unsigned>(alpha_->size())));
  certs.Add(new obCert(beta_->data(), static_cast<unsigned>(beta_->size())));
  obCRLs crls;
  crls.Add(new obCRL(crl_->data(), static_cast<unsigned>(crl_->size())));
  Bytes bundle = Write(&certs, &crls);
  ASSERT_FALSE(bundle.empty());
  WriteBytes(Dir() + "/ours.p7b", bundle);
  std::string printed = OpensslOutput(Dir(), "pkcs7 -inform DER -in ours.p7b -print_certs -noout");
  EXPECT_NE(printed.find("CN = alpha.example.com"), std::string::npos) << printed;
  EXPECT_NE(printed.find("CN = beta.example.com"), std::string::npos) << printed;
  EXPECT_LT(printed.find("alpha"), printed.find("beta"));
  EXPECT_NE(printed.find("Example Test CA"), std::string::npos);

  obCerts back;
  obCRLs backCrls;
  EXPECT_EQ(Read(bundle, &back, &backCrls), 3);
  EXPECT_EQ(DerOf(back.Get(0)), *alpha_);
  EXPECT_EQ(DerOf(backCrls.Get(0)), *crl_);

  int len = 0;
  std::vector<char> small(bundle.size() - 1);
  EXPECT_EQ(obCertCRL2PKCS7(&certs, &crls, small.data(), static_cast<unsigned>(small.size()), len), -1);
  EXPECT_EQ(len, static_cast<int>(bundle.size()));
}

TEST_F(Pkcs7Bundle, HolesAreSkippedAndEmptyListsWriteNoSets) {
  obCerts certs(3);
  certs.Set(0, new obCert(alpha_->data(), static_cast<unsigned>(alpha_->size())));
  certs.Set(2, new obCert(beta_->data(), static_cast<unsigned>(beta_->size())));
  obCerts back;
  EXPECT_EQ(Read(Write(&certs, nullptr), &back, nullptr), 2);
  ASSERT_EQ(back.Count(), 2);
  EXPECT_EQ(DerOf(back.Get(1)), *beta_);

  obCerts none;
  obCRLs noCrls;
  Bytes empty = Write(&none, &noCrls);
  // ContentInfo { signedData, [0] { SignedData { 1, {}, { data }, {} } } }: no [0] or [1] sets.
  EXPECT_EQ(empty, Hex("30 23 06 09 2a 86 48 86 f7 0d 01 07 02 a0 16 30 14 02 01 01 31 00"
                       "30 0b 06 09 2a 86 48 86 f7 0d 01 07 01 31 00"));
  EXPECT_EQ(Read(empty, &back, &noCrls), 0);
  EXPECT_EQ(back.Count(), 2);
  EXPECT_EQ(noCrls.Count(), 0);
}

TEST_F(Pkcs7Bundle, ReadsTheCertificateSequenceType) {
  Bytes oid = Hex("06 09 60 86 48 01 86 f8 42 02 05");
  Bytes bundle = Tlv(0x30, Cat({oid, Tlv(0xa0, Tlv(0x30, Cat({*beta_, *alpha_})))}));
  obCerts certs;
  obCRLs crls;
  EXPECT_EQ(Read(bundle, &certs, &crls), 2);
  EXPECT_EQ(DerOf(certs.Get(0)), *beta_);
  EXPECT_EQ(DerOf(certs.Get(1)), *alpha_);
  EXPECT_EQ(crls.Count(), 0);
}

TEST_F(Pkcs7Bundle, BadInputIsRefusedAndAppendsNothing) {
  obCerts certs;
  EXPECT_EQ(Gated([&] { return Read(Hex("30 03 02 01"), &certs, nullptr); }, "obPKCS72CertCRL: Error decoding"), -1);
  EXPECT_EQ(Read(Bytes{}, &certs, nullptr), -1);
  Bytes dataOid = Hex("06 09 2a 86 48 86 f7 0d 01 07 01");
  EXPECT_EQ(Gated([&] { return Read(Tlv(0x30, Cat({dataOid, Tlv(0xa0, Tlv(0x04, Text("x")))})), &certs, nullptr); },
                  "obPKCS72CertCRL: Not a signed data"),
            -2);
  Bytes signedOid = Hex("06 09 2a 86 48 86 f7 0d 01 07 02");
  EXPECT_EQ(Read(Tlv(0x30, signedOid), &certs, nullptr), -2);  // no content
  EXPECT_EQ(Read(Tlv(0x30, Cat({signedOid, Tlv(0xa0, Tlv(0x30, Hex("02 01 01")))})), &certs, nullptr), -2);

  // A broken second certificate: the first is not appended either.
  Bytes seqOid = Hex("06 09 60 86 48 01 86 f8 42 02 05");
  Bytes withBroken = Tlv(0x30, Cat({seqOid, Tlv(0xa0, Tlv(0x30, Cat({*alpha_, Tlv(0x30, Hex("02 01 01"))})))}));
  EXPECT_EQ(Read(withBroken, &certs, nullptr), -3);
  EXPECT_EQ(certs.Count(), 0);
}

}  // namespace
