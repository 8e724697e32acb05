// The CRL encoder: what it writes decodes as our CRL and satisfies openssl
// (signature, revocation of the right certificate, extensions), and bad
// entries or digests are refused without output.
#include <gtest/gtest.h>

#include <cstring>
#include <ctime>
#include <string>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/asn_int.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_encoder.h"
#include "nycert/crl/issuing_dp.h"
#include "nycert/names/general_name.h"
#include "nycert/names/general_names.h"
#include "support/cert_pki.h"

namespace {

using CertPtr = SignedPtr<obCert>;
using CrlPtr = SignedPtr<obCRL>;

constexpr long kThisUpdate = 1700000000;
constexpr long kNextUpdate = kThisUpdate + 86400;

Bytes Encoded(const obCRL_Encoder& encoder, ob_md_type md = ob_md_sha256) {
  nyBinBuf out;
  EXPECT_EQ(0, encoder.Encode(md, out));
  return Bytes(out.Data(), out.Data() + out.Len());
}

// What `openssl crl` prints for der with args; the DER is left in dir/name.der.
std::string CrlOutput(const Bytes& der, const std::string& name, const std::string& args) {
  WriteBytes(SharedPki().dir() + "/" + name + ".der", der);
  return OpensslOutput(SharedPki().dir(), "crl -inform DER -in " + name + ".der " + args);
}

// The CA's subject key identifier as openssl prints it (AA:BB:...).
std::string CaKeyIdText() {
  std::string text = SharedPki().X509Output(SharedPki().CaDer(), "-noout -ext subjectKeyIdentifier");
  std::string id = text.substr(text.find('\n') + 1);
  id = id.substr(id.find_first_not_of(' '));
  return id.substr(0, id.find('\n'));
}

obAsnInt Serial(const Bytes& magnitude) {
  obAsnInt serial;
  serial.SetBytes(magnitude.data(), magnitude.size());
  return serial;
}

TEST(CRLEncoder, WritesEntriesTimesAndExtensionsThatBothSidesRead) {
  const TestPki& pki = SharedPki();
  CertPtr ca = Decoded<obCert>(pki.CaDer());
  obCRL_Encoder encoder(*ca, *pki.CaKey());
  encoder.SetThisUpdate(kThisUpdate);
  encoder.SetNextUpdate(kNextUpdate);
  encoder.SetCRLNumber(7);
  Bytes longSerial = Hex("7f 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f");
  ASSERT_EQ(0, encoder.AddRevoked(obAsnInt(0x1001), kThisUpdate - 100, obCRLReason_KeyCompromise));
  ASSERT_EQ(0, encoder.AddRevoked(Serial(longSerial), kThisUpdate - 200));
  ASSERT_EQ(0, encoder.AddRevoked(obAsnInt(0), 2600000000L, obCRLReason_CertificateHold));  // a 2052 date
  EXPECT_EQ(3, encoder.RevokedCount());
  Bytes der = Encoded(encoder);

  CrlPtr crl = Decoded<obCRL>(der);
  ASSERT_EQ(1, crl->OK()) << crl->Error();
  EXPECT_EQ(obVfy_OK, crl->VerifySig(pki.CaKey()));
  EXPECT_EQ(1, *crl->Issuer() == *ca->Subject());
  EXPECT_EQ(kThisUpdate, crl->thisUpdate());
  EXPECT_EQ(kNextUpdate, crl->nextUpdate());
  EXPECT_EQ(3, crl->GetSize());
  long when = 0;
  EXPECT_EQ(1, crl->IsEntryExist(0x1001));
  EXPECT_EQ(0, crl->revDate(0x1001, &when));
  EXPECT_EQ(kThisUpdate - 100, when);
  EXPECT_EQ(0, crl->revDate(0, &when));
  EXPECT_EQ(2600000000L, when);
  EXPECT_EQ(0, crl->IsEntryExist(0x1002));

  std::string text = CrlOutput(der, "full", "-CAfile ca.pem -noout -text");
  EXPECT_NE(std::string::npos, text.find("verify OK")) << text;
  EXPECT_NE(std::string::npos, text.find("Version 2")) << text;
  EXPECT_NE(std::string::npos, text.find("X509v3 CRL Number: \n                7")) << text;
  EXPECT_NE(std::string::npos, text.find("Key Compromise")) << text;
  EXPECT_NE(std::string::npos, text.find("Certificate Hold")) << text;
  EXPECT_NE(std::string::npos, text.find("7F0102030405060708090A0B0C0D0E0F")) << text;
  EXPECT_NE(std::string::npos, text.find(CaKeyIdText())) << text;
}

TEST(CRLEncoder, OpensslRevokesTheListedCertificateOnly) {
  const TestPki& pki = SharedPki();
  CertRequest request;
  request.serial = "0x2A01";
  pki.Issue("enc_revoked", request);
  request.serial = "0x2A02";
  pki.Issue("enc_kept", request);
  CertPtr ca = Decoded<obCert>(pki.CaDer());
  long now = static_cast<long>(time(nullptr));  // openssl checks against the real clock
  obCRL_Encoder encoder(*ca, *pki.CaKey());
  encoder.SetThisUpdate(now - 60);
  encoder.SetNextUpdate(now + 86400);
  ASSERT_EQ(0, encoder.AddRevoked(obAsnInt(0x2A01), now - 120, obCRLReason_Superseded));
  CrlOutput(Encoded(encoder), "enc", "-outform PEM -out enc.crl.pem");
  std::string revoked = OpensslOutput(pki.dir(), "verify -crl_check -CAfile ca.pem -CRLfile enc.crl.pem enc_revoked.pem");
  EXPECT_NE(std::string::npos, revoked.find("certificate revoked")) << revoked;
  EXPECT_TRUE(Openssl(pki.dir(), "verify -crl_check -CAfile ca.pem -CRLfile enc.crl.pem enc_kept.pem"));
}

TEST(CRLEncoder, IssuingPointAndComputedKeyIdentifier) {
  const TestPki& pki = SharedPki();
  // The CA without its subject key identifier: the encoder computes the same one.
  Bytes bare = Resign(pki.CaDer(), [](obASN_Certificate& c) { c.tbsCertificate.extensions.reset(); }, pki.CaKey());
  CertPtr ca = Decoded<obCert>(bare);
  obCRL_Encoder encoder(*ca, *pki.CaKey());
  obGeneralNames names;
  const char* uri = "http://crl.example/ca.crl";
  names.Add(new obGeneralName(obGN_uniformResourceIdentifier, uri, static_cast<int>(strlen(uri))));
  obIssuingDP idp(obCRL_UserCerts, &names);
  encoder.SetIssuingDP(&idp);
  Bytes der = Encoded(encoder, ob_md_sha1);
  CrlPtr crl = Decoded<obCRL>(der);
  ASSERT_EQ(1, crl->OK()) << crl->Error();
  EXPECT_EQ(obCRL_UserCerts, crl->Type());
  EXPECT_EQ(1, crl->IsCritical(&obASN_id_ce_issuingDistributionPoint));
  ASSERT_NE(nullptr, crl->DistPoints());
  EXPECT_EQ(1, crl->DistPoints()->Count());
  EXPECT_EQ(0, crl->GetSize());
  EXPECT_EQ(0, crl->nextUpdate());  // left out
  std::string text = CrlOutput(der, "idp", "-noout -text");
  EXPECT_NE(std::string::npos, text.find(CaKeyIdText())) << text;
  EXPECT_NE(std::string::npos, text.find("Only User Certificates")) << text;
  EXPECT_NE(std::string::npos, text.find("URI:http://crl.example/ca.crl")) << text;
}

TEST(CRLEncoder, RefusesBadEntriesAndDigestsWithoutOutput) {
  const TestPki& pki = SharedPki();
  CertPtr ca = Decoded<obCert>(pki.CaDer());
  obCRL_Encoder encoder(*ca, *pki.CaKey());
  EXPECT_EQ(-1, Gated([&] { return encoder.AddRevoked(obAsnInt(-5), kThisUpdate); },
                      "obCRL_Encoder::AddRevoked: negative serial number -5"));
  EXPECT_EQ(-1, Gated([&] { return encoder.AddRevoked(obAsnInt(5), kThisUpdate, static_cast<obCRLReason>(7)); },
                      "obCRL_Encoder::AddRevoked: unknown reason 7"));
  EXPECT_EQ(-1, encoder.AddRevoked(obAsnInt(5), kThisUpdate, static_cast<obCRLReason>(11)));
  EXPECT_EQ(0, encoder.RevokedCount());
  nyBinBuf out(reinterpret_cast<const unsigned char*>("keep"), 4);
  EXPECT_EQ(-1, Gated([&] { return encoder.Encode(ob_md_unknown, out); },
                      "obCRL_Encoder::Encode: no signature algorithm for digest 3"));
  Bytes garbage = Hex("30 03 02 01 05");
  CertPtr notACert = Decoded<obCert>(garbage);
  obCRL_Encoder broken(*notACert, *pki.CaKey());
  EXPECT_EQ(-1, broken.Encode(ob_md_sha256, out));
  EXPECT_EQ(nyBinBuf(reinterpret_cast<const unsigned char*>("keep"), 4), out);
}

}  // namespace
