#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "keystore/keystore_test_util.h"
#include "nycert/keystore/key_holder.h"
#include "nycert/names/obdn.h"
#include "support/test_support.h"

namespace {

// A holder as a key file fills it: every certificate a CA entry, the key's
// own among them under the key's identifier.
struct SortHolder : ::testing::Test {
  std::unique_ptr<obKeyHolder> source{obKeyHolder_New()};
  std::vector<PKPtr<obRootCA>> entries;
  std::vector<SignedPtr<obCert>> certs;

  obRootCA* AddEntry(const char* chainName, const std::string& id = "", int purpose = 0) {
    certs.push_back(ChainCertificate(chainName));
    entries.emplace_back(new obRootCA(chainName, certs.back().get(), 0, obCaType_Unknown, purpose,
                                      reinterpret_cast<const unsigned char*>(id.data()),
                                      static_cast<int>(id.size()), nullptr, 0));
    source->AddCA(entries.back().get());
    return entries.back().get();
  }
  void AddKey(const char* name, const std::string& id) {
    PKPtr<obCertifiedKey> key = MakeKey(name, nullptr, nullptr, id);
    source->AddCertKey(key.get());
  }
  static std::vector<std::string> Subjects(const obCerts& chain) {
    std::vector<std::string> out;
    for (int i = 0; i < chain.Size(); ++i) out.push_back(chain.Get(i) ? chain.Get(i)->Subject()->GetStr() : "-");
    return out;
  }
  static std::vector<std::string> CaNames(obKeyHolder& holder) {
    std::vector<std::string> out;
    std::unique_ptr<obRootCA_iterator> it(holder.RootCAs());
    for (; it->Curr(); it->Next()) out.push_back(it->Curr()->Name());
    return out;
  }
};

TEST_F(SortHolder, KeyCertificateAndIntermediateBecomeTheKeysChain) {
  AddEntry("root");
  AddEntry("ca2", "", 0);
  AddEntry("leaf", "KEY");
  AddEntry("ca1");
  AddKey("mine", "KEY");
  std::unique_ptr<obKeyHolder> sorted(obKeyHolder_Sort(source.get()));
  ASSERT_NE(nullptr, sorted);
  EXPECT_EQ((std::vector<std::string>{"root"}), CaNames(*sorted));
  obCertifiedKey* key = sorted->CertKeyByName("mine");
  ASSERT_NE(nullptr, key);
  EXPECT_EQ((std::vector<std::string>{"CN=leaf.example,O=Chain Test", "CN=CA 2,O=Chain Test",
                                      "CN=CA 1,O=Chain Test"}),
            Subjects(key->Chain()));
  EXPECT_EQ(sorted->CAByName("root"), key->Root());
  EXPECT_EQ(std::string("KEY"), std::string(reinterpret_cast<const char*>(key->Id()), 3));
  EXPECT_EQ(4u, CaNames(*source).size()) << "the source is left as it was";
}

TEST_F(SortHolder, FindsTheKeysEntryByNameWithoutIdentifier) {
  AddEntry("root");
  AddEntry("ca1");
  AddEntry("ca2");
  AddKey("ca2", "");
  std::unique_ptr<obKeyHolder> sorted(obKeyHolder_Sort(source.get()));
  obCertifiedKey* key = sorted->CertKeyByName("ca2");
  ASSERT_NE(nullptr, key);
  EXPECT_EQ((std::vector<std::string>{"CN=CA 2,O=Chain Test", "CN=CA 1,O=Chain Test"}), Subjects(key->Chain()));
  EXPECT_STREQ("root", key->Root()->Name());
}

TEST_F(SortHolder, KeepsUnanchoredCAsAndDropsTransientAndBadOnes) {
  AddEntry("root", "", obPKPurpose_Transient);
  AddEntry("ca1");
  AddEntry("stray");
  PKPtr<obRootCA> bad = MakeRoot(nullptr, nullptr);
  source->AddCA(bad.get());
  DiagCapture capture;
  std::unique_ptr<obKeyHolder> sorted(obKeyHolder_Sort(source.get()));
  EXPECT_EQ((std::vector<std::string>{"stray"}), CaNames(*sorted))
      << "ca1's issuer is held in the source, if only as a transient entry";
  EXPECT_TRUE(capture.Saw("obKeyHolder_Sort: Bad certificate (no name)"));
}

TEST_F(SortHolder, AKeyWithoutEntryOrAnchorGetsAnEmptyOrPartialChain) {
  AddEntry("ca2", "", obPKPurpose_Transient);
  AddEntry("leaf", "KEY", obPKPurpose_Transient);
  AddKey("lost", "NONE");
  AddKey("mine", "KEY");
  std::unique_ptr<obKeyHolder> sorted(obKeyHolder_Sort(source.get()));
  obCertifiedKey* lost = sorted->CertKeyByName("lost");
  ASSERT_NE(nullptr, lost);
  EXPECT_EQ(0, lost->Chain().Count());
  EXPECT_EQ(nullptr, lost->Root());
  obCertifiedKey* mine = sorted->CertKeyByName("mine");
  EXPECT_EQ((std::vector<std::string>{"CN=leaf.example,O=Chain Test", "CN=CA 2,O=Chain Test"}),
            Subjects(mine->Chain()));
  EXPECT_EQ(nullptr, mine->Root());
  EXPECT_EQ(nullptr, obKeyHolder_Sort(nullptr));
}

TEST_F(SortHolder, EntriesThatIssueEachOtherEndTheWalk) {
  // Two transient self-signed entries with one subject: each is the other's issuer.
  AddEntry("root", "", obPKPurpose_Transient);
  AddEntry("root-twin", "KEY", obPKPurpose_Transient);
  AddKey("loop", "KEY");
  std::unique_ptr<obKeyHolder> sorted(obKeyHolder_Sort(source.get()));
  obCertifiedKey* key = sorted->CertKeyByName("loop");
  ASSERT_NE(nullptr, key);
  EXPECT_EQ(2, key->Chain().Count());
  EXPECT_EQ(nullptr, key->Root());
}

}  // namespace
