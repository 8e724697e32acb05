#include "nycert/validate/chain_sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "nycert/certs/cert.h"
#include "support/chain_pki.h"
#include "support/test_support.h"

namespace {

using Names = std::vector<std::string>;

void Fill(obCerts& list, const std::vector<std::string>& names) {
  for (const std::string& name : names) AddChainCerts(list, {name});
}

// Every order of the bag sorts into the same chain.
void ExpectEveryOrderSorts(std::vector<std::string> bag, const Names& chain) {
  std::sort(bag.begin(), bag.end());
  do {
    obCerts list;
    Fill(list, bag);
    obCerts sorted;
    ASSERT_EQ(0, obCerts_Sort(&list, &sorted));
    EXPECT_EQ(chain, CommonNames(sorted)) << ::testing::PrintToString(bag);
  } while (std::next_permutation(bag.begin(), bag.end()));
}

TEST(ChainSort, EveryOrderOfAFourCertificateBag) {
  ExpectEveryOrderSorts({"leaf", "ca2", "ca1", "root"}, {"leaf.example", "CA 2", "CA 1", "Root"});
  ExpectEveryOrderSorts({"nk-leaf", "nk-ca2", "nk-ca1", "nk-root"},
                        {"nk-leaf.example", "NK CA 2", "NK CA 1", "NK Root"});
  ExpectEveryOrderSorts({"leaf", "ca2", "x-ca1", "other-root"}, {"leaf.example", "CA 2", "CA 1", "Other Root"});
}

TEST(ChainSort, InPlaceFromReversedWithGaps) {
  obCerts list(9);
  list.Set(1, ChainCertificate("root").release());
  list.Set(4, ChainCertificate("ca1").release());
  list.Set(5, ChainCertificate("ca2").release());
  list.Set(8, ChainCertificate("leaf").release());
  ASSERT_EQ(0, obCerts_Sort(&list, &list));
  EXPECT_EQ((Names{"leaf.example", "CA 2", "CA 1", "Root"}), CommonNames(list));
  EXPECT_EQ(4, list.Count());
}

TEST(ChainSort, DropsUnrelatedCertificatesAndASecondBranch) {
  obCerts list;
  Fill(list, {"stray", "root", "other-root", "x-ca1", "leaf", "ca1", "ca2"});
  obCerts sorted;
  ASSERT_EQ(0, obCerts_Sort(&list, &sorted)) << "the stray root is skipped: it issues itself";
  EXPECT_EQ((Names{"leaf.example", "CA 2", "CA 1", "Other Root"}), CommonNames(sorted))
      << "ca2's issuer by key is whichever CA 1 comes first";
  EXPECT_EQ(4, sorted.Count());
  EXPECT_EQ(1, list.Get(0)->RefCount()) << "what is dropped keeps only the bag's reference";
}

TEST(ChainSort, ALoneCertificateEvenSelfSigned) {
  obCerts list(3);
  list.Set(2, ChainCertificate("root").release());
  obCerts sorted;
  ASSERT_EQ(0, obCerts_Sort(&list, &sorted));
  EXPECT_EQ((Names{"Root"}), CommonNames(sorted));
  EXPECT_EQ(list.Get(2), sorted.Get(0));
  EXPECT_EQ(2, sorted.Get(0)->RefCount());
}

TEST(ChainSort, CertificatesThatIssueEachOtherAreCircular) {
  obCerts list;
  Fill(list, {"loop-a2", "loop-b"});
  obCerts sorted;
  EXPECT_EQ(-1, Gated([&] { return obCerts_Sort(&list, &sorted); }, "obCerts_Sort: Circualr? "));
}

TEST(ChainSort, RefusesMissingOrEmptyLists) {
  obCerts empty(4);
  obCerts list;
  Fill(list, {"leaf"});
  EXPECT_EQ(-1, Gated([&] { return obCerts_Sort(&empty, &list); }));
  EXPECT_EQ(-1, obCerts_Sort(nullptr, &list));
  EXPECT_EQ(-1, obCerts_Sort(&list, nullptr));
  EXPECT_EQ(1, list.Count()) << "a refused sort leaves the destination alone";
}

TEST(ChainSortWithFirst, StartsAnywhereAndChecksItsIndex) {
  obCerts list(5);
  list.Set(0, ChainCertificate("root").release());
  list.Set(1, ChainCertificate("ca1").release());
  list.Set(3, ChainCertificate("ca2").release());
  list.Set(4, ChainCertificate("leaf").release());
  obCerts sorted;
  ASSERT_EQ(0, obCerts_SortWithFirst(&list, 3, &sorted));
  EXPECT_EQ((Names{"CA 2", "CA 1", "Root"}), CommonNames(sorted));
  EXPECT_EQ(-1, obCerts_SortWithFirst(&list, 2, &sorted));
  EXPECT_EQ(-1, obCerts_SortWithFirst(&list, 5, &sorted));
  EXPECT_EQ(-1, obCerts_SortWithFirst(&list, -1, &sorted));
  EXPECT_EQ(-1, obCerts_SortWithFirst(nullptr, 0, &sorted));
  ASSERT_EQ(0, obCerts_SortWithFirst(&list, 4, &list));
  EXPECT_EQ((Names{"leaf.example", "CA 2", "CA 1", "Root"}), CommonNames(list));
}

}  // namespace
