#include "nycert/keystore/key_holder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "keystore/keystore_test_util.h"
#include "nycert/names/obdn.h"
#include "support/test_support.h"

namespace {

// A holder with the chains' root and other-root as CAs and two keys.
struct Holder : ::testing::Test {
  std::unique_ptr<obKeyHolder> holder{obKeyHolder_New()};
  SignedPtr<obCert> rootCert = ChainCertificate("root");
  SignedPtr<obCert> otherCert = ChainCertificate("other-root");
  PKPtr<obRootCA> root = MakeRoot("root", rootCert.get(), obCaType_Unknown, "R1");
  PKPtr<obRootCA> other = MakeRoot("other", otherCert.get(), obCaType_Unknown, "R2");
  obCerts leafChain;
  PKPtr<obCertifiedKey> leafKey;
  PKPtr<obCertifiedKey> caKey;

  void SetUp() override {
    leafChain.Add(ChainCertificate("leaf").release());
    leafChain.Add(ChainCertificate("ca2").release());
    leafChain.Add(ChainCertificate("ca1").release());
    leafKey = MakeKey("leaf", &leafChain, root.get(), "K1");
    obCerts caChain;
    caChain.Add(ChainCertificate("x-ca1").release());
    caKey = MakeKey("x-ca1", &caChain, other.get(), "K2");
    holder->AddCA(root.get());
    holder->AddCA(other.get());
    holder->AddCertKey(leafKey.get());
    holder->AddCertKey(caKey.get());
  }
  static obDN Name(const char* text) { return obDN(text); }
};

TEST_F(Holder, FindsRootCAsByNameDNAndIdentifier) {
  EXPECT_EQ(other.get(), holder->CAByName("other"));
  EXPECT_EQ(nullptr, holder->CAByName("Other")) << "names compare case-sensitively";
  obDN otherDN = Name("CN=Other Root,O=Chain Test");
  EXPECT_EQ(other.get(), holder->CAByDN(&otherDN));
  EXPECT_EQ(root.get(), holder->CAByDN(rootCert->Subject()));
  EXPECT_EQ(other.get(), holder->CAByID(reinterpret_cast<const unsigned char*>("R2"), 2));
  EXPECT_EQ(nullptr, holder->CAByID(reinterpret_cast<const unsigned char*>("R2"), 1));
  EXPECT_EQ(nullptr, holder->CAByID(nullptr, 0)) << "every CA here has an identifier";
  EXPECT_EQ(nullptr, holder->CAByName(nullptr)) << "every CA here has a name";
  EXPECT_EQ(nullptr, holder->CAByDN(nullptr)) << "every CA here has a certificate";
}

TEST_F(Holder, AbsentValuesMatchObjectsThatLackThem) {
  PKPtr<obRootCA> bare = MakeRoot(nullptr, nullptr);
  holder->AddCA(bare.get());
  EXPECT_EQ(bare.get(), holder->CAByName(nullptr));
  EXPECT_EQ(bare.get(), holder->CAByDN(nullptr));
  EXPECT_EQ(bare.get(), holder->CAByID(nullptr, 0));
  PKPtr<obCertifiedKey> rootless = MakeKey(nullptr, nullptr, nullptr);
  holder->AddCertKey(rootless.get());
  EXPECT_EQ(rootless.get(), holder->CertKeyByCADN(nullptr));
  EXPECT_EQ(rootless.get(), holder->CertKeyByDN(nullptr));
  EXPECT_EQ(rootless.get(), obKeyHolder_CertKeyByName(holder.get(), nullptr));
}

TEST_F(Holder, FindsCertifiedKeysByEveryRule) {
  EXPECT_EQ(caKey.get(), holder->CertKeyByName("x-ca1"));
  EXPECT_EQ(leafKey.get(), obKeyHolder_CertKeyByName(holder.get(), "leaf"));
  EXPECT_EQ(nullptr, obKeyHolder_CertKeyByName(nullptr, "leaf"));
  obDN leafDN = Name("CN=leaf.example,O=Chain Test");
  EXPECT_EQ(leafKey.get(), holder->CertKeyByDN(&leafDN));
  obDN ca1 = Name("CN=CA 1,O=Chain Test");
  EXPECT_EQ(caKey.get(), holder->CertKeyByDN(&ca1));
  EXPECT_EQ(leafKey.get(), holder->CertKeyBySubCA(ca1)) << "the first key whose chain holds it";
  obDN ca2 = Name("CN=CA 2,O=Chain Test");
  EXPECT_EQ(leafKey.get(), holder->CertKeyBySubCA(ca2));
  EXPECT_EQ(nullptr, holder->CertKeyBySubCA(Name("CN=Root,O=Chain Test")));
  EXPECT_EQ(caKey.get(), holder->CertKeyByCADN(otherCert->Subject()));
  EXPECT_EQ(leafKey.get(), holder->CertKeyByID(reinterpret_cast<const unsigned char*>("K1"), 2));
  EXPECT_EQ(nullptr, holder->CertKeyByID(reinterpret_cast<const unsigned char*>("R1"), 2));
}

TEST_F(Holder, RemovingReordersWhatAFirstMatchFinds) {
  PKPtr<obRootCA> twin = MakeRoot("twin", rootCert.get());
  holder->AddCA(twin.get());
  EXPECT_EQ(root.get(), holder->CAByDN(rootCert->Subject()));
  EXPECT_EQ(0, holder->RemoveCA(root.get()));
  EXPECT_EQ(-1, holder->RemoveCA(root.get()));
  EXPECT_EQ(twin.get(), holder->CAByDN(rootCert->Subject()));
  EXPECT_EQ(twin.get(), holder->CAByName("twin"));
  std::unique_ptr<obRootCA_iterator> it(holder->RootCAs());
  EXPECT_EQ(twin.get(), it->Curr()) << "the last CA moved into the first entry";
  EXPECT_EQ(0, holder->RemoveCertKey(leafKey.get()));
  EXPECT_EQ(-1, holder->RemoveCertKey(nullptr));
  EXPECT_EQ(0, holder->AddCA(nullptr)) << "a null CA is ignored, not refused";
  EXPECT_EQ(0, holder->AddCertKey(nullptr));
  EXPECT_EQ(1, leafKey->RefCount());
}

TEST_F(Holder, ReportsWhetherItHoldsAnything) {
  EXPECT_EQ(1, holder->HasKeys());
  EXPECT_EQ(1, holder->HasRootCAs());
  std::unique_ptr<obKeyHolder> empty(obKeyHolder_New());
  EXPECT_EQ(0, empty->HasKeys());
  EXPECT_EQ(0, empty->HasRootCAs());
  empty->AddCA(root.get());
  EXPECT_EQ(0, empty->HasKeys());
  EXPECT_EQ(1, empty->HasRootCAs());
}

TEST_F(Holder, AddingAHolderReferencesEveryObjectWithoutDeduplicating) {
  const int rootRefs = root->RefCount();
  std::unique_ptr<obKeyHolder> copy(obKeyHolder_New());
  *copy += *holder;
  *copy += *holder;
  EXPECT_EQ(rootRefs + 2, root->RefCount());
  EXPECT_EQ(4, leafKey->RefCount());
  *copy += *copy;
  EXPECT_EQ(rootRefs + 4, root->RefCount()) << "a holder added to itself doubles once";
  copy.reset();
  EXPECT_EQ(rootRefs, root->RefCount());
  EXPECT_EQ(2, leafKey->RefCount());
}

TEST_F(Holder, AssignmentReplacesTheContents) {
  const int rootRefs = root->RefCount();
  std::unique_ptr<obKeyHolder> target(obKeyHolder_New());
  PKPtr<obRootCA> stale = MakeRoot("stale", nullptr);
  target->AddCA(stale.get());
  *target = *holder;
  EXPECT_EQ(1, stale->RefCount());
  EXPECT_EQ(nullptr, target->CAByName("stale"));
  EXPECT_EQ(other.get(), target->CAByName("other"));
  EXPECT_EQ(caKey.get(), target->CertKeyByName("x-ca1"));
  *target = *target;
  EXPECT_EQ(rootRefs + 1, root->RefCount());
}

TEST_F(Holder, ShortListingNamesEveryObject) {
  DiagCapture capture;
  holder->Herror_Short();
  EXPECT_TRUE(capture.Saw("Key holder: 2 root CAs, 2 certified keys"));
  EXPECT_TRUE(capture.Saw("CA \"other\" type 0: CN=Other Root,O=Chain Test"));
  EXPECT_TRUE(capture.Saw("key \"leaf\": CN=leaf.example,O=Chain Test, chain of 3, root \"root\""));
}

// CertKeyByDefault chooses by the CA types of the keys' roots.
struct DefaultKey : ::testing::Test {
  std::unique_ptr<obKeyHolder> holder{obKeyHolder_New()};
  std::vector<PKPtr<obRootCA>> roots;
  std::vector<PKPtr<obCertifiedKey>> keys;

  // Adds a key rooted at a CA of type, or without a root for type -1.
  obCertifiedKey* Add(int type) {
    obRootCA* root = nullptr;
    if (type >= 0) {
      roots.push_back(MakeRoot("ca", nullptr, static_cast<ObCaType>(type)));
      root = roots.back().get();
    }
    keys.push_back(MakeKey(std::to_string(keys.size()).c_str(), nullptr, root));
    holder->AddCertKey(keys.back().get());
    return keys.back().get();
  }
};

TEST_F(DefaultKey, TheLastKeyOfAnOtherTypeBeatsExternalOnes) {
  Add(3);
  Add(0);
  obCertifiedKey* second = Add(0);
  Add(3);
  EXPECT_EQ(second, holder->CertKeyByDefault());
  obCertifiedKey* partner = Add(obCaType_Partner);
  EXPECT_EQ(partner, holder->CertKeyByDefault());
}

TEST_F(DefaultKey, TheFirstInternalOrEnrollmentKeyWinsAtOnce) {
  Add(0);
  obCertifiedKey* enrollment = Add(2);
  Add(1);
  Add(2);
  EXPECT_EQ(enrollment, holder->CertKeyByDefault());
}

TEST_F(DefaultKey, ExternalKeysAreTheLastChoiceAndRootlessKeysNone) {
  EXPECT_EQ(nullptr, holder->CertKeyByDefault());
  Add(-1);
  EXPECT_EQ(nullptr, holder->CertKeyByDefault());
  Add(3);
  obCertifiedKey* last = Add(3);
  Add(-1);
  EXPECT_EQ(last, holder->CertKeyByDefault());
}

}  // namespace
