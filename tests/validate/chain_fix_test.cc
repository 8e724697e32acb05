#include "nycert/validate/chain_fix.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "keystore/keystore_test_util.h"
#include "nycert/keystore/key_holder.h"
#include "nycert/validate/chain_sort.h"
#include "support/test_support.h"

namespace {

using Names = std::vector<std::string>;

// A key holder trusting the shared chains' root.
struct ChainRepair : ::testing::Test {
  std::unique_ptr<obKeyHolder> holder{obKeyHolder_New()};
  SignedPtr<obCert> rootCert = ChainCertificate("root");
  PKPtr<obRootCA> root = MakeRoot("root", rootCert.get());
  obCerts chain;

  void SetUp() override { holder->AddCA(root.get()); }
  void TearDown() override { obCert_SetSubCAFunc(nullptr); }
  obRootCA* Fix() { return obCert_FixChain(&chain, holder.get()); }
};

TEST_F(ChainRepair, AChainStoppingBelowTheRootGetsTheHeldCopy) {
  AddChainCerts(chain, {"leaf", "ca2", "ca1"});
  DiagCapture capture;
  EXPECT_EQ(root.get(), Fix());
  EXPECT_EQ((Names{"leaf.example", "CA 2", "CA 1", "Root"}), CommonNames(chain));
  EXPECT_EQ(rootCert.get(), chain.Get(3));
  EXPECT_TRUE(capture.Saw("obCert_FixChain: Found the root CA in my token"));
}

TEST_F(ChainRepair, ThePeersOwnRootIsReplacedByTheHeldOne) {
  AddChainCerts(chain, {"leaf", "ca2", "ca1", "root"});
  obCert* peersRoot = chain.Get(3);
  obSaveSigned(peersRoot);
  EXPECT_EQ(root.get(), Fix());
  EXPECT_EQ(4, chain.Count());
  EXPECT_EQ(rootCert.get(), chain.Get(3));
  EXPECT_EQ(1, peersRoot->RefCount()) << "the chain let go of the peer's copy";
  obFreeSigned(peersRoot);
}

TEST_F(ChainRepair, ALoneHeldRootBecomesTheHeldCopy) {
  AddChainCerts(chain, {"root"});
  EXPECT_EQ(root.get(), Fix());
  EXPECT_EQ(1, chain.Count());
  EXPECT_EQ(rootCert.get(), chain.Get(0));
}

TEST_F(ChainRepair, ALongChainIsCutAtAHeldCAButNeverAtTheEndEntity) {
  SignedPtr<obCert> ca1Cert = ChainCertificate("ca1");
  PKPtr<obRootCA> ca1 = MakeRoot("ca1", ca1Cert.get());
  std::unique_ptr<obKeyHolder> ca1Only(obKeyHolder_New());
  ca1Only->AddCA(ca1.get());
  AddChainCerts(chain, {"leaf", "ca2", "ca1", "x-ca1", "other-root"});
  DiagCapture capture;
  EXPECT_EQ(ca1.get(), obCert_FixChain(&chain, ca1Only.get()));
  EXPECT_EQ((Names{"leaf.example", "CA 2", "CA 1"}), CommonNames(chain));
  EXPECT_TRUE(capture.Saw("obCert_FixChain: Got a long chain. Found the root CA down the chain"));

  obCerts endEntityHeld;
  AddChainCerts(endEntityHeld, {"ca1", "stray"});
  EXPECT_EQ(nullptr, obCert_FixChain(&endEntityHeld, ca1Only.get()));
  EXPECT_EQ(2, endEntityHeld.Count());
}

TEST_F(ChainRepair, AHeldCAWithAnotherCertificateDoesNotCutTheChain) {
  SignedPtr<obCert> twinCert = ChainCertificate("root-twin");
  std::unique_ptr<obKeyHolder> twinHolder(obKeyHolder_New());
  PKPtr<obRootCA> twin = MakeRoot("twin", twinCert.get());
  twinHolder->AddCA(twin.get());
  AddChainCerts(chain, {"leaf", "ca2", "root", "stray"});
  DiagCapture capture;
  EXPECT_EQ(nullptr, obCert_FixChain(&chain, twinHolder.get()));
  EXPECT_TRUE(capture.Saw("obCert_FixChain: Can't find the chains' root CA in my token"));
  EXPECT_EQ(4, chain.Count());
}

TEST_F(ChainRepair, AShortChainIsCompletedFromACertifiedKeysChain) {
  std::unique_ptr<obKeyHolder> keyHolder(obKeyHolder_New());
  obCerts ownChain;
  AddChainCerts(ownChain, {"own", "ca1"});
  PKPtr<obCertifiedKey> key = MakeKey("own", &ownChain, root.get());
  keyHolder->AddCertKey(key.get());
  AddChainCerts(chain, {"leaf", "ca2"});
  DiagCapture capture;
  EXPECT_EQ(root.get(), obCert_FixChain(&chain, keyHolder.get()));
  EXPECT_EQ((Names{"leaf.example", "CA 2", "CA 1", "Root"}), CommonNames(chain));
  EXPECT_EQ(rootCert.get(), chain.Get(3));
  EXPECT_TRUE(capture.Saw("obCert_FixChain: adding root ca to chain"));
  EXPECT_TRUE(capture.Saw("obCert_FixChain: Got short chain. Extended it to my root CA"));
}

TEST_F(ChainRepair, AKeysOwnCertificateNeverCompletesAChain) {
  std::unique_ptr<obKeyHolder> keyHolder(obKeyHolder_New());
  obCerts ownChain;
  AddChainCerts(ownChain, {"ca2"});
  PKPtr<obCertifiedKey> key = MakeKey("ca2", &ownChain, root.get());
  keyHolder->AddCertKey(key.get());
  AddChainCerts(chain, {"leaf"});
  EXPECT_EQ(0, Gated([&] { return obCert_FixChain(&chain, keyHolder.get()) ? 1 : 0; },
                     "obCert_FixChain: Failed to fix chain"));
  EXPECT_EQ(1, chain.Count());
}

TEST_F(ChainRepair, NullAndEmptyInputsReturnNothing) {
  EXPECT_EQ(0, Gated([&] { return obCert_FixChain(nullptr, holder.get()) ? 1 : 0; },
                     "obCert_FixChain: chain is NULL, returning"));
  obCerts empty(3);
  EXPECT_EQ(0, Gated([&] { return obCert_FixChainC(&empty, holder.get()) ? 1 : 0; },
                     "obCert_FixChain: top < 0, returning"));
  AddChainCerts(chain, {"leaf"});
  EXPECT_EQ(nullptr, obCert_FixChainC(&chain, nullptr));
}

int g_callbackCalls = 0;

int AddCa1(obCerts* chain) {
  ++g_callbackCalls;
  chain->Add(ChainCertificate("ca1").release());
  return 0;
}

int CannotHelp(obCerts*) {
  ++g_callbackCalls;
  return -1;
}

TEST_F(ChainRepair, TheSubCACallbackGetsOneMoreTry) {
  std::unique_ptr<obKeyHolder> otherHolder(obKeyHolder_New());
  SignedPtr<obCert> stray = ChainCertificate("stray");
  PKPtr<obRootCA> strayRoot = MakeRoot("stray", stray.get());
  otherHolder->AddCA(strayRoot.get());
  g_callbackCalls = 0;
  obCert_SetSubCAFunc(AddCa1);
  AddChainCerts(chain, {"ca2", "leaf"});
  obCerts_Sort(&chain, &chain);
  EXPECT_EQ(nullptr, obCert_FixChain(&chain, otherHolder.get()));
  EXPECT_EQ(1, g_callbackCalls) << "called once even when the second pass fails too";

  obCerts bag;
  AddChainCerts(bag, {"leaf", "ca2"});
  EXPECT_EQ(root.get(), obCert_FixChain(&bag, holder.get()));
  EXPECT_EQ((Names{"leaf.example", "CA 2", "CA 1", "Root"}), CommonNames(bag));

  obCert_SetSubCAFunc(CannotHelp);
  obCerts again;
  AddChainCerts(again, {"leaf", "ca2"});
  EXPECT_EQ(nullptr, obCert_FixChain(&again, holder.get()));
  EXPECT_EQ(3, g_callbackCalls);
}

TEST_F(ChainRepair, ThousandsOfRootsAreSearchedThrough) {
  std::unique_ptr<obKeyHolder> big(obKeyHolder_New());
  SignedPtr<obCert> stray = ChainCertificate("stray");
  std::vector<PKPtr<obRootCA>> roots;
  for (int i = 0; i < 5000; ++i) {
    roots.push_back(MakeRoot(std::to_string(i).c_str(), i % 2 ? stray.get() : nullptr));
    big->AddCA(roots.back().get());
  }
  big->AddCA(root.get());
  AddChainCerts(chain, {"leaf", "ca2", "ca1"});
  EXPECT_EQ(root.get(), obCert_FixChain(&chain, big.get()));
  EXPECT_EQ(4, chain.Count());
}

}  // namespace
