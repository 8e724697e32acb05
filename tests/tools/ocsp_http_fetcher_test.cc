// The program's OCSP fetcher over libcurl, asked by the OCSP check: posts to
// the openssl tool's responder on 127.0.0.1, and each failure of the
// transfer ends in its code.
#include "ocsp_http_fetcher.h"

#include <gtest/gtest.h>

#include <chrono>

#include "nycert/certs/cert.h"
#include "nycert/crl/validate_params.h"
#include "nycert/crl/validation_rc.h"
#include "nycert/platform/obd_env.h"
#include "nycert/validate/ocsp_cache.h"
#include "nycert/validate/ocsp_check_internal.h"
#include "support/ocsp_peer.h"

namespace {

struct Outcome {
  int calls = 0;
  int rc = 1;
};

void Record(void* context, int rc, int) {
  Outcome* o = static_cast<Outcome*>(context);
  ++o->calls;
  o->rc = rc;
}

class OcspHttpFetcherTest : public ::testing::Test {
 protected:
  void SetUp() override {
    obOCSP_FlushCache();
    ASSERT_EQ(fetcher.Register(), 0);
  }
  void TearDown() override {
    obOCSP_free_fetchers();
    obOCSP_FlushCache();
    obd_env_destroy(env);
  }

  // Checks [der, CA] against url on the environment: the callback's code.
  int Check(const Bytes& der, const std::string& url, long timeoutMs) {
    obCerts chain;
    chain.Add(new obCert(der.data(), static_cast<unsigned>(der.size())));
    chain.Add(new obCert(pki.pki.CaDer().data(), static_cast<unsigned>(pki.pki.CaDer().size())));
    std::vector<obOcspResponder> responders{{url, nullptr}};
    Outcome outcome;
    int index = -2;
    int rc = obOcspCheckChain(env, responders, chain, index, Record, &outcome, timeoutMs, ValidateParams());
    if (rc != -1) return rc;
    auto giveUp = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs + 5000);
    while (outcome.calls == 0 && std::chrono::steady_clock::now() < giveUp) obd_env_run_once(env, 50);
    EXPECT_EQ(outcome.calls, 1);
    return outcome.rc;
  }

  const OcspPki& pki = SharedOcspPki();
  OcspHttpFetcher fetcher;
  obd_env* env = obd_env_create();
};

TEST_F(OcspHttpFetcherTest, PostsToTheResponder) {
  auto server = pki.Responder(pki.CaSigner());
  ASSERT_NE(server->Port(), 0);
  EXPECT_EQ(Check(pki.revoked, server->Url(), 10000), obValidationRC_Revoked);
  EXPECT_EQ(Check(pki.good, server->Url(), 10000), 0);
}

TEST_F(OcspHttpFetcherTest, FailedTransfersEndInTheirCodes) {
  EXPECT_EQ(Check(pki.good, "ldap://127.0.0.1/", 2000), obValidationRC_OCSPConnect) << "no fetcher takes it";
  EXPECT_EQ(Check(pki.good, "http://127.0.0.1:1/", 2000), obValidationRC_OCSPConnect);
  SilentServer silent;
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Check(pki.good, silent.Url(), 500), obValidationRC_Timeout);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
}

}  // namespace
