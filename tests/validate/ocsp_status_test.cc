// OCSP revocation states of chains under root CAs with configured OCSP
// servers, against the openssl tool's responder on 127.0.0.1.
#include "nycert/validate/ocsp_status.h"

#include <gtest/gtest.h>

#include "nycert/certs/cert.h"
#include "nycert/crl/validation_rc.h"
#include "nycert/keystore/ocsp_server.h"
#include "nycert/keystore/pk_objects.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/platform/obd_env.h"
#include "nycert/validate/ocsp_cache.h"
#include "nycert/validate/ocsp_fetchers.h"
#include "support/ocsp_peer.h"

namespace {

struct Outcome {
  int calls = 0;
  int rc = 1;
  int index = -2;
};

void Record(void* context, int rc, int index) {
  Outcome* o = static_cast<Outcome*>(context);
  ++o->calls;
  o->rc = rc;
  o->index = index;
}

class OcspStatusTest : public ::testing::Test {
 protected:
  void SetUp() override {
    obOCSP_FlushCache();
    ASSERT_EQ(obOCSP_add_fetcher(PostingFetcher, &fetches), 0);
  }
  void TearDown() override {
    obOCSP_free_fetchers();
    obOCSP_FlushCache();
    obFreePKobj(root);
    obd_env_destroy(env);
  }

  // The CA as a root whose revocation method is OCSP, asking servers (url
  // and responder certificate DER, empty for none) in order.
  void MakeRoot(const std::vector<std::pair<std::string, Bytes>>& servers) {
    obCert* ca = new obCert(pki.pki.CaDer().data(), static_cast<unsigned>(pki.pki.CaDer().size()));
    obFreePKobj(root);
    root = new obRootCA("ocsp root", ca, 0, obCaType_Internal, 0, nullptr, 0, nullptr, 0);
    obFreeSigned(ca);
    root->SetRevocationMethod(obCaRevocation_OCSP);
    if (servers.empty()) return;
    obPKObjects* list = new obPKObjects;
    for (const auto& [url, der] : servers) {
      obCert* cert = der.empty() ? nullptr : new obCert(der.data(), static_cast<unsigned>(der.size()));
      obOcspServer* server = new obOcspServer(url.c_str(), url.c_str(), cert);
      list->Add(server);
      obFreePKobj(server);
      obFreeSigned(cert);
    }
    root->SetOcspServers(list);
    obFreePKobj(list);
  }
  int State(const Bytes& der, obOCSP_RevocationCB callback = nullptr) {
    obCerts chain;
    chain.Add(new obCert(der.data(), static_cast<unsigned>(der.size())));
    obSaveSigned(root->Cert());
    chain.Add(root->Cert());
    return obOCSP_getRevocationState(env, root, chain, index, callback, &outcome, 5000, ValidateParams());
  }

  const OcspPki& pki = SharedOcspPki();
  obRootCA* root = nullptr;
  obd_env* env = obd_env_create();
  Outcome outcome;
  int index = -2;
  int fetches = 0;
};

TEST_F(OcspStatusTest, ServersAreAskedInOrderWithTheirResponderCertificates) {
  auto server = pki.Responder(pki.Signer("ocsp_other") + " -resp_no_certs");
  Bytes other;
  ASSERT_TRUE(Openssl(pki.pki.dir(), "x509 -in ocsp_other.pem -outform DER -out ocsp_other.der"));
  other = ReadBytes(pki.pki.dir() + "/ocsp_other.der");
  MakeRoot({{"http://127.0.0.1:1/", {}}, {server->Url(), other}});
  EXPECT_EQ(State(pki.revoked), obValidationRC_Revoked);
  EXPECT_EQ(index, 0);
  EXPECT_EQ(State(pki.good), 0);
  EXPECT_EQ(index, -1);
  EXPECT_EQ(State(pki.unknown, Record), obValidationRC_OCSPStatusUnknown) << "answered at once, not later";
  EXPECT_EQ(outcome.calls, 0);
  EXPECT_EQ(fetches, 6);
  // Without the configured certificate nothing names the signer.
  obOCSP_FlushCache();
  MakeRoot({{server->Url(), {}}});
  EXPECT_EQ(State(pki.good), obValidationRC_OCSPNoResponderCert);
}

TEST_F(OcspStatusTest, RootsWithoutServersUseTheCertificatesOwnUrl) {
  MakeRoot({});
  EXPECT_EQ(State(pki.good), obValidationRC_OCSPNoURL);
  EXPECT_EQ(fetches, 0);
  obCerts chain;
  EXPECT_EQ(obOCSP_getRevocationState(env, nullptr, chain, index, nullptr, nullptr, 1000, ValidateParams()),
            obValidationRC_BadInput);
}

}  // namespace
