// The HTTP CRL fetcher with the CRL cache, against python3's http.server on
// 127.0.0.1: a good CRL (DER and PEM), an expired one, a corrupt body, a
// missing file and a server that never answers each end with their reason
// within the time-out; the good one lands in memory and on disk. Also the
// `nycert crl-db fetch` command.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "crl_http_fetcher.h"
#include "nycert/buffers/obstring.h"
#include "nycert/buffers/pem.h"
#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache.h"
#include "nycert/crl/crl_db.h"
#include "nycert/names/general_name.h"
#include "nycert/platform/g_env.h"
#include "support/cert_pki.h"
#include "support/crl_cache_sandbox.h"
#include "support/local_http.h"
#include "support/tool_run.h"

namespace {

using Clock = std::chrono::steady_clock;
using CrlPtr = SignedPtr<obCRL>;

Bytes CrlDer(long from, long to) {
  CrlOptions options;
  options.thisUpdate = from;
  options.nextUpdate = to;
  return MakeCrl(SharedPki(), {}, options);
}

std::string Pem(const Bytes& der) {
  obString text;
  Base64Encode_PEM("X509 CRL", der.data(), static_cast<unsigned>(der.size()), text);
  return "some text before\n" + std::string(text.getstr());
}

struct Outcome {
  int calls = 0;
  int result = 0;
  static void Report(int result, obCert*, long, void* arg) {
    static_cast<Outcome*>(arg)->result = result;
    static_cast<Outcome*>(arg)->calls++;
  }
};

// The folder the server serves, with every kind of answer.
struct ServedCrls {
  TempDir dir;
  Bytes good = CrlDer(kSandboxNow - 3600, kSandboxNow + 86400);
  ServedCrls() {
    WriteBytes(dir.File("good.crl"), good);
    std::string pem = Pem(good);
    WriteBytes(dir.File("good.pem"), Bytes(pem.begin(), pem.end()));
    WriteBytes(dir.File("expired.crl"), CrlDer(kSandboxNow - 86400, kSandboxNow - 3600));
    Bytes corrupt = good;
    corrupt.resize(corrupt.size() / 2);
    WriteBytes(dir.File("corrupt.crl"), corrupt);
  }
};

class CrlHttpFetch : public ::testing::Test {
 protected:
  // Fetches url's CRL for the shared CA through the cache: the reported
  // result, or the immediate reason.
  int FetchDp(const std::string& url, long* elapsedMs = nullptr) {
    obGeneralName dp(obGN_uniformResourceIdentifier, url.c_str(), static_cast<int>(url.size()));
    Outcome outcome;
    obValidationRC reason = obValidationRC_OK;
    Clock::time_point start = Clock::now();
    obFetch_stat stat =
        obCRLCache_FetchDP(g_env_get(), &dp, ca_.get(), nullptr, Outcome::Report, &outcome, &reason);
    if (stat != obFetch_Pending) return reason;
    EXPECT_TRUE(sandbox_.RunUntil([&] { return outcome.calls > 0; }, 10000)) << url;
    if (elapsedMs)
      *elapsedMs = static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
    EXPECT_EQ(outcome.calls, 1);
    return outcome.result;
  }

  CrlCacheSandbox sandbox_;
  SignedPtr<obCert> ca_ = CaCert();
};

TEST_F(CrlHttpFetch, EachAnswerEndsWithItsReasonWithinTheTimeout) {
  ServedCrls served;
  StaticHttpServer server(served.dir.path());
  ASSERT_TRUE(server.Ready());
  SilentListener silent;
  HttpRequest limits;
  limits.connectTimeoutMs = 1000;
  limits.totalTimeoutMs = 1500;
  CrlHttpFetcher fetcher(limits);
  ASSERT_EQ(fetcher.Register(), 0);

  // A certificate whose distribution point is the good CRL: validation's path.
  SignedPtr<obCert> cert = CertForDp("http-dp", server.Url("good.crl"));
  obCRL* crl = nullptr;
  Outcome outcome;
  ASSERT_EQ(obFetchCRL(&crl, nullptr, cert.get(), 1, ca_.get(), nullptr, nullptr, Outcome::Report, &outcome),
            obFetch_Pending);
  ASSERT_TRUE(sandbox_.RunUntil([&] { return outcome.calls > 0; }, 10000));
  EXPECT_EQ(outcome.result, 1);
  ASSERT_EQ(obFetchCRL(&crl, nullptr, cert.get(), 0, ca_.get(), nullptr, nullptr, nullptr, nullptr), obFetch_Found)
      << "the fetched CRL is in memory";
  EXPECT_EQ(Bytes(crl->GetBuf(), crl->GetBuf() + crl->BufLen()), served.good);
  obFreeSigned(crl);
  std::string url = server.Url("good.crl");
  obGeneralName dp(obGN_uniformResourceIdentifier, url.c_str(), static_cast<int>(url.size()));
  CrlPtr stored(CrlDB::Get(&dp, ""));
  ASSERT_TRUE(stored) << "the fetched CRL is on disk";

  EXPECT_EQ(FetchDp(server.Url("good.pem")), 1);
  EXPECT_EQ(FetchDp(server.Url("expired.crl")), obValidationRC_CRLExpired);
  EXPECT_EQ(FetchDp(server.Url("corrupt.crl")), obValidationRC_CRLNotRetrieved);
  EXPECT_EQ(FetchDp(server.Url("missing.crl")), obValidationRC_CRLNotRetrieved);
  long elapsed = 0;
  EXPECT_EQ(FetchDp(silent.Url("never.crl"), &elapsed), obValidationRC_CRLNotRetrieved);
  EXPECT_LT(elapsed, 5000) << "the silent server held the fetch past its time-out";
  std::string bad[] = {server.Url("expired.crl"), server.Url("corrupt.crl")};
  for (const std::string& u : bad) {
    obGeneralName name(obGN_uniformResourceIdentifier, u.c_str(), static_cast<int>(u.size()));
    EXPECT_FALSE(CrlPtr(CrlDB::Get(&name, ""))) << "stored without passing the checks: " << u;
  }
  obCRLCache_free_fetchers();
}

TEST_F(CrlHttpFetch, OtherSchemesAreRefusedWithALogLine) {
  CrlHttpFetcher fetcher;
  ASSERT_EQ(fetcher.Register(), 0);
  DiagCapture diag;
  EXPECT_EQ(FetchDp("ldap://ldap.example/cn=CA,o=Example?certificateRevocationList"),
            obValidationRC_CRLNotRetrieved);
  EXPECT_TRUE(diag.Saw("ldap distribution points are not supported"));
  EXPECT_TRUE(diag.Saw("can't fetch DP of type 6"));
  EXPECT_EQ(FetchDp("ftp://ftp.example/ca.crl"), obValidationRC_CRLNotRetrieved);
  EXPECT_TRUE(diag.Saw("refused scheme"));
  obCRLCache_free_fetchers();
}

TEST(CrlHttpBody, DerPemAndNonsense) {
  Bytes good = CrlDer(1700000000, 1800000000);
  obCRLs crls;
  EXPECT_EQ(CrlsFromBody(good, crls), 1);
  std::string two = Pem(good) + Pem(good);
  EXPECT_EQ(CrlsFromBody(Bytes(two.begin(), two.end()), crls), 2);
  EXPECT_EQ(crls.Count(), 3);
  std::string cert = "-----BEGIN CERTIFICATE-----\nMAMCAQE=\n-----END CERTIFICATE-----\n";
  EXPECT_EQ(CrlsFromBody(Bytes(cert.begin(), cert.end()), crls), -1);
  EXPECT_EQ(CrlsFromBody(Bytes{}, crls), -1);
  EXPECT_EQ(CrlsFromBody(Bytes{0x30, 0x80, 0x00}, crls), -1);
}

TEST(ToolCrlDbFetch, FetchesIntoTheDatabaseOrSaysWhy) {
  ServedCrls served;
  served.good = CrlDer(std::time(nullptr) - 3600, std::time(nullptr) + 86400);
  WriteBytes(served.dir.File("good.crl"), served.good);
  StaticHttpServer server(served.dir.path());
  ASSERT_TRUE(server.Ready());
  TempDir db;
  std::string ca = ShellQuote(SharedPki().CaPemPath());
  ToolResult ok = RunNycert("crl-db fetch " + ShellQuote(db.path()) + " " + server.Url("good.crl") + " " + ca);
  if (ok.status == -1) GTEST_SKIP() << "no nycert program";
  EXPECT_EQ(ok.status, 0) << ok.output;
  ToolResult list = RunNycert("crl-db " + ShellQuote(db.path()) + " list");
  EXPECT_EQ(list.status, 0);
  EXPECT_NE(list.output.find(server.Url("good.crl")), std::string::npos) << list.output;
  ToolResult missing = RunNycert("crl-db " + ShellQuote(db.path()) + " fetch " + server.Url("no.crl") + " " + ca);
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.output.find("no CRL could be retrieved"), std::string::npos) << missing.output;
  EXPECT_EQ(RunNycert("crl-db " + ShellQuote(db.path()) + " fetch " + server.Url("good.crl")).status, 2);
}

}  // namespace
