#include "nycert/validate/chain_user.h"

#include <gtest/gtest.h>

#include <memory>

#include "keystore/keystore_test_util.h"
#include "nycert/keystore/key_holder.h"
#include "support/test_support.h"

namespace {

// A peer's bag, out of order, under a held root.
struct UserName : ::testing::Test {
  std::unique_ptr<obKeyHolder> holder{obKeyHolder_New()};
  SignedPtr<obCert> rootCert = ChainCertificate("root");
  PKPtr<obRootCA> root = MakeRoot("root", rootCert.get());
  obCerts chain;
  char cn[64] = "untouched";
  char dn[64] = "untouched";

  void SetUp() override {
    holder->AddCA(root.get());
    AddChainCerts(chain, {"ca1", "leaf", "ca2"});
  }
  int UseCN(int cnSize = 64, int dnSize = 64) {
    return obCert_UseCN2FetchUser(&chain, holder.get(), cn, cnSize, dn, dnSize);
  }
};

TEST_F(UserName, CommonNameAndSubjectWhenTheRootAsks) {
  EXPECT_EQ(0, UseCN());
  EXPECT_STREQ("untouched", cn);
  root->SetUseCN2FetchUser(1);
  EXPECT_EQ(1, UseCN());
  EXPECT_STREQ("leaf.example", cn);
  EXPECT_STREQ("CN=leaf.example,O=Chain Test", dn);
  EXPECT_EQ(4, chain.Count()) << "the chain was sorted and anchored";
}

TEST_F(UserName, TextsAreCutToTheBuffers) {
  root->SetUseCN2FetchUser(1);
  EXPECT_EQ(1, UseCN(5, 1));
  EXPECT_STREQ("leaf", cn);
  EXPECT_STREQ("", dn);
}

TEST_F(UserName, BadInputsAndUnanchoredChainsFail) {
  EXPECT_EQ(-1, Gated([&] { return UseCN(0); }, "obCert_UseCN2FetchUser: Bad Input, No Key Holder or Chain or User Name"));
  EXPECT_EQ(-1, obCert_UseCN2FetchUser(&chain, nullptr, cn, 64, dn, 64));
  EXPECT_EQ(-1, obCert_UseCN2FetchUser(&chain, holder.get(), cn, 64, nullptr, 64));
  obCerts loop;
  AddChainCerts(loop, {"loop-a2", "loop-b"});
  DiagCapture capture;
  EXPECT_EQ(-1, obCert_UseCN2FetchUser(&loop, holder.get(), cn, 64, dn, 64));
  EXPECT_TRUE(capture.Saw("obCert_UseCN2FetchUser: Got inconsistent chain from peer"));
  obCerts stray;
  AddChainCerts(stray, {"stray"});
  EXPECT_EQ(-1, obCert_IsMsEnterprise(&stray, holder.get(), cn, 64));
  EXPECT_TRUE(capture.Saw("obCert_IsMsEnterprise: Failed to get root CA from chain"));
}

TEST_F(UserName, PrincipalNameWhenTheRootIsAnEnterpriseCA) {
  obCerts upnChain;
  AddChainCerts(upnChain, {"upn-leaf", "ca2", "ca1"});
  char upn[64] = "untouched";
  EXPECT_EQ(0, obCert_IsMsEnterprise(&upnChain, holder.get(), upn, sizeof upn));
  EXPECT_STREQ("untouched", upn);
  root->SetMsEnterprise(1);
  EXPECT_EQ(1, obCert_IsMsEnterprise(&upnChain, holder.get(), upn, sizeof upn));
  EXPECT_STREQ("user@realm.example", upn);
  EXPECT_EQ(1, obCert_IsMsEnterprise(&upnChain, holder.get(), upn, 5));
  EXPECT_STREQ("user", upn);
}

TEST_F(UserName, AnEnterpriseCAsPeerWithoutPrincipalName) {
  root->SetMsEnterprise(1);
  char upn[64];
  EXPECT_EQ(-1, Gated([&] { return obCert_IsMsEnterprise(&chain, holder.get(), upn, sizeof upn); },
                      "obCert_IsMsEnterprise: Failed to retrieve alternate names from chain"));
}

}  // namespace
