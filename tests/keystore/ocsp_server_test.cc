#include "nycert/keystore/ocsp_server.h"

#include <gtest/gtest.h>

#include "keystore/keystore_test_util.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obset.h"
#include "support/test_support.h"

namespace {

struct OcspServerFromAttributes : ::testing::Test {
  obset attributes;
  void Put(const char* name, const std::string& text) {
    attributes.Put(name, reinterpret_cast<const unsigned char*>(text.data()), static_cast<unsigned>(text.size()));
  }
};

TEST_F(OcspServerFromAttributes, ReadsNameUrlAndCertificate) {
  Put("name", "responder");
  Put("url", "http://127.0.0.1:8080/ocsp");
  const Bytes& der = SharedChainPki().Der("ca1");
  attributes.Put("cert", der.data(), static_cast<unsigned>(der.size()));
  PKPtr<obOcspServer> server(obOcspServer::CreateObject(&attributes));
  ASSERT_NE(nullptr, server);
  EXPECT_STREQ("responder", server->Name());
  EXPECT_STREQ("http://127.0.0.1:8080/ocsp", server->Url());
  ASSERT_NE(nullptr, server->Cert());
  EXPECT_STREQ("CN=CA 1,O=Chain Test", server->Cert()->Subject()->GetStr());
  EXPECT_EQ(1, server->Cert()->RefCount());
}

TEST_F(OcspServerFromAttributes, NeedsOnlyTheUrl) {
  Put("url", "http://ocsp.example/");
  PKPtr<obOcspServer> server(obOcspServer::CreateObject(&attributes));
  ASSERT_NE(nullptr, server);
  EXPECT_EQ(0u, server->Name().length());
  EXPECT_EQ(nullptr, server->Cert());
}

TEST_F(OcspServerFromAttributes, RefusesMissingUrlOrBadCertificate) {
  EXPECT_EQ(0, Gated([&] { return obOcspServer::CreateObject(nullptr) ? 1 : 0; },
                     "obOcspServer::CreateObject: no url"));
  Put("name", "responder");
  EXPECT_EQ(nullptr, obOcspServer::CreateObject(&attributes));
  Put("url", "http://ocsp.example/");
  Put("cert", "not DER");
  EXPECT_EQ(0, Gated([&] { return obOcspServer::CreateObject(&attributes) ? 1 : 0; },
                     "obOcspServer::CreateObject: the certificate does not decode"));
}

TEST(OcspServer, PrintsNameUrlAndSigner) {
  SignedPtr<obCert> cert = ChainCertificate("ca1");
  PKPtr<obOcspServer> server(new obOcspServer("r", "http://x/", cert.get()));
  EXPECT_EQ(2, cert->RefCount());
  DiagCapture capture;
  server->Herror();
  EXPECT_TRUE(capture.Saw("OCSP server \"r\": http://x/"));
  EXPECT_TRUE(capture.Saw("Signer: CN=CA 1,O=Chain Test"));
}

}  // namespace
