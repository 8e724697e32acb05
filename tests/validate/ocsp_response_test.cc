// OCSP requests and the judging of responses, against the openssl tool's
// responder on 127.0.0.1 and against hand-spoiled replies.
#include "nycert/validate/ocsp_response.h"

#include <gtest/gtest.h>

#include <random>

#include "nycert/certs/cert.h"
#include "nycert/crl/validate_params.h"
#include "nycert/crl/validation_rc.h"
#include "nycert/platform/obclock.h"
#include "nycert/validate/ocsp_request.h"
#include "nycert/validate/ocsp_response_internal.h"
#include "support/cert_pki.h"
#include "support/ocsp_peer.h"

namespace {

class OcspResponseTest : public ::testing::Test {
 protected:
  void TearDown() override { ob_time_set_fixed(0); }

  // Builds a request about der, posts it to the responder and judges the
  // reply with responder as the configured certificate.
  int Ask(const OcspResponderProcess& server, const Bytes& der, obCert* responder = nullptr,
          const ValidateParams& params = ValidateParams()) {
    auto cert = Decoded<obCert>(der);
    if (request.Build(*cert, *issuer) != 0) return 1;
    Bytes body(request.Der().Data(), request.Der().Data() + request.Der().Len());
    if (!PostOcsp(server.Url(), body, 5000, reply)) return 2;
    return Check(reply, responder, params);
  }
  int Check(const Bytes& der, obCert* responder = nullptr, const ValidateParams& params = ValidateParams()) {
    long nextUpdate = -1;
    return obOCSP_CheckResponse(der.data(), static_cast<int>(der.size()), request, *issuer, responder, params,
                                nextUpdate);
  }

  const OcspPki& pki = SharedOcspPki();
  SignedPtr<obCert> issuer = Decoded<obCert>(pki.pki.CaDer());
  obOcspRequest request;
  Bytes reply;
};

TEST_F(OcspResponseTest, RequestNamesTheCertificateAsOpensslDoes) {
  auto cert = Decoded<obCert>(pki.good);
  ASSERT_EQ(request.Build(*cert, *issuer), 0);
  WriteBytes(pki.pki.dir() + "/ocsp_ours.der", Bytes(request.Der().Data(), request.Der().Data() + request.Der().Len()));
  std::string ours = OpensslOutput(pki.pki.dir(), "ocsp -reqin ocsp_ours.der -req_text");
  std::string theirs = OpensslOutput(pki.pki.dir(), "ocsp -issuer ca.pem -cert ocsp_good.pem -no_nonce -req_text");
  for (const char* field : {"Issuer Name Hash", "Issuer Key Hash", "Serial Number"}) {
    size_t at = theirs.find(field);
    ASSERT_NE(at, std::string::npos) << theirs;
    std::string line = theirs.substr(at, theirs.find('\n', at) - at);
    EXPECT_NE(ours.find(line), std::string::npos) << line << "\n" << ours;
  }
  EXPECT_NE(ours.find("OCSP Nonce"), std::string::npos) << ours;

  obOcspRequest second;
  ASSERT_EQ(second.Build(*cert, *issuer), 0);
  EXPECT_TRUE(second.CertId() == request.CertId());
  EXPECT_FALSE(second.NonceValue() == request.NonceValue());
}

TEST_F(OcspResponseTest, EachStatusGivesItsCodeWhoeverSigns) {
  for (std::string signer : {std::string("ca"), std::string("delegate")}) {
    SCOPED_TRACE(signer);
    auto server = pki.Responder(signer == "ca" ? pki.CaSigner() : pki.Signer("ocsp_delegate"));
    EXPECT_EQ(Ask(*server, pki.good), 0);
    EXPECT_EQ(Ask(*server, pki.revoked), obValidationRC_Revoked);
    EXPECT_EQ(Ask(*server, pki.unknown), obValidationRC_OCSPStatusUnknown);
  }
}

TEST_F(OcspResponseTest, ConfiguredResponderNeedNotBeCarried) {
  auto server = pki.Responder(pki.Signer("ocsp_other") + " -resp_no_certs");
  EXPECT_EQ(Ask(*server, pki.good), obValidationRC_OCSPNoResponderCert);
  // The configured certificate is trusted as it stands.
  ASSERT_TRUE(Openssl(pki.pki.dir(), "x509 -in ocsp_other.pem -outform DER -out ocsp_other.der"));
  auto configured = Decoded<obCert>(ReadBytes(pki.pki.dir() + "/ocsp_other.der"));
  EXPECT_EQ(Check(reply, configured.get()), 0);
}

TEST_F(OcspResponseTest, SignersWithoutTheIssuersDelegationAreRefused) {
  auto unrelated = pki.Responder(pki.Signer("ocsp_other"));
  EXPECT_EQ(Ask(*unrelated, pki.good), obValidationRC_OCSPProcessFailed);
  auto noPurpose = pki.Responder(pki.Signer("ocsp_plain"));
  EXPECT_EQ(Ask(*noPurpose, pki.good), obValidationRC_OCSPProcessFailed);
  // A configured responder does not lend trust to another signer.
  auto configured = Decoded<obCert>(pki.delegate);
  EXPECT_EQ(Check(reply, configured.get()), obValidationRC_OCSPProcessFailed);
}

TEST_F(OcspResponseTest, ReplayedResponseFailsOnItsNonce) {
  auto server = pki.Responder(pki.CaSigner());
  ASSERT_EQ(Ask(*server, pki.good), 0);
  Bytes old = reply;
  auto cert = Decoded<obCert>(pki.good);
  ASSERT_EQ(request.Build(*cert, *issuer), 0);
  EXPECT_EQ(Check(old), obValidationRC_OCSPProcessFailed);
  // A response about another certificate does not answer this request.
  ASSERT_EQ(Ask(*server, pki.revoked), obValidationRC_Revoked);
  Bytes other = reply;
  ASSERT_EQ(request.Build(*cert, *issuer), 0);
  EXPECT_EQ(Check(other), obValidationRC_OCSPProcessFailed);
}

TEST_F(OcspResponseTest, TimeWindowWithTheGraces) {
  auto server = pki.Responder(pki.CaSigner() + " -nmin 1");
  long now = ob_time_now();
  ASSERT_EQ(Ask(*server, pki.good), 0);
  // nextUpdate is a minute ahead; the default end grace is 600 seconds.
  ob_time_set_fixed(now + 60 + 540);
  EXPECT_EQ(Check(reply), 0);
  ob_time_set_fixed(now + 60 + 660);
  EXPECT_EQ(Check(reply), obValidationRC_OCSPTimeWindow);
  EXPECT_EQ(Check(reply, nullptr, ValidateParams(1, 1, -1, -1, -1, 3600, 1, 1)), 0);
  EXPECT_EQ(Check(reply, nullptr, ValidateParams(1, 1, -1, -1, -1, -1, 1, 0)), 0);
  // thisUpdate is now: a clock behind it by more than the start grace.
  ob_time_set_fixed(now - 660);
  EXPECT_EQ(Check(reply), obValidationRC_OCSPTimeWindow);
  EXPECT_EQ(Check(reply, nullptr, ValidateParams(1, 1, -1, -1, 0, -1, 0, 1)), 0);
}

// OCSPResponse { responseStatus ENUMERATED } without response bytes.
Bytes StatusOnly(unsigned char status) { return Tlv(0x30, Tlv(0x0A, {status})); }

TEST_F(OcspResponseTest, ResponderErrorStatuses) {
  auto cert = Decoded<obCert>(pki.good);
  ASSERT_EQ(request.Build(*cert, *issuer), 0);
  EXPECT_EQ(Check(StatusOnly(1)), obValidationRC_OCSPMalformedRequest);
  EXPECT_EQ(Check(StatusOnly(2)), obValidationRC_OCSPInternalError);
  EXPECT_EQ(Check(StatusOnly(3)), obValidationRC_OCSPTryLater);
  EXPECT_EQ(Check(StatusOnly(5)), obValidationRC_OCSPSigRequired);
  EXPECT_EQ(Check(StatusOnly(6)), obValidationRC_OCSPUnauthorized);
  EXPECT_EQ(Check(StatusOnly(4)), obValidationRC_OCSPDecodeFailed);
  // Successful without a body is no answer.
  EXPECT_EQ(Check(StatusOnly(0)), obValidationRC_OCSPDecodeFailed);
}

TEST_F(OcspResponseTest, HostileRepliesAreRefusedCleanly) {
  auto server = pki.Responder(pki.CaSigner() + " -resp_no_certs");
  ASSERT_EQ(Ask(*server, pki.good), 0);
  const Bytes good = reply;
  for (size_t n = 0; n < good.size(); ++n) {
    Bytes cut(good.begin(), good.begin() + static_cast<long>(n));
    ASSERT_EQ(Check(cut), obValidationRC_OCSPDecodeFailed) << "cut at " << n;
  }
  Bytes longer = good;
  longer.push_back(0);
  EXPECT_EQ(Check(longer), obValidationRC_OCSPDecodeFailed);
  // Bit flips in the signed response data: a wrong length or tag is not
  // decoded, a changed responder name names no certificate, anything else
  // breaks the signature.
  obOcspResponse located;
  ASSERT_EQ(obOcspParseResponse({good.data(), good.size()}, located), 0);
  size_t start = static_cast<size_t>(located.basic.toBeSigned.tlv.data - good.data());
  size_t size = located.basic.toBeSigned.tlv.size;
  unsigned seed = std::random_device()();
  std::mt19937 random(seed);
  for (int i = 0; i < 300; ++i) {
    Bytes spoiled = good;
    size_t at = start + random() % size;
    spoiled[at] = static_cast<unsigned char>(spoiled[at] ^ (1u << (random() % 8)));
    int rc = Check(spoiled);
    ASSERT_TRUE(rc == obValidationRC_OCSPDecodeFailed || rc == obValidationRC_OCSPProcessFailed ||
                rc == obValidationRC_OCSPNoResponderCert)
        << "seed " << seed << " octet " << at << " rc " << rc;
  }
  Bytes huge = Cat({Bytes{0x30, 0x84, 0x10, 0x00, 0x00, 0x00}, Bytes(4096, 0x30)});
  EXPECT_EQ(Check(huge), obValidationRC_OCSPDecodeFailed);
  Bytes big(1 << 20, 0x04);
  EXPECT_EQ(Check(big), obValidationRC_OCSPDecodeFailed);
}

}  // namespace
