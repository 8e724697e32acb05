#include "nycert/keystore/pk_objects.h"

#include <gtest/gtest.h>

#include <vector>

#include "keystore/keystore_test_util.h"
#include "nycert/keystore/pk_iterators.h"

namespace {

struct Collection : ::testing::Test {
  PKPtr<obPKObjects> objects{new obPKObjects};
  std::vector<PKPtr<obRootCA>> cas;

  obRootCA* Ca(size_t i) {
    while (cas.size() <= i) cas.push_back(MakeRoot(std::to_string(cas.size()).c_str(), nullptr));
    return cas[i].get();
  }
  std::vector<obPKobj*> Entries() const {
    std::vector<obPKobj*> out;
    for (int i = 0; i < objects->Size(); ++i) out.push_back(objects->Get(i));
    return out;
  }
};

TEST_F(Collection, GrowsByFiveAndTakesOneReferenceEach) {
  for (size_t i = 0; i < 5; ++i) ASSERT_EQ(0, objects->Add(Ca(i)));
  EXPECT_EQ(5, objects->Size());
  ASSERT_EQ(0, objects->Add(Ca(5)));
  EXPECT_EQ(10, objects->Size());
  EXPECT_EQ(6, objects->Count());
  EXPECT_EQ(2, Ca(0)->RefCount());
  EXPECT_EQ(-1, objects->Add(nullptr));
  objects.reset();
  EXPECT_EQ(1, Ca(0)->RefCount());
}

TEST_F(Collection, DeletionMovesTheLastIntoTheHole) {
  for (size_t i = 0; i < 3; ++i) objects->Add(Ca(i));
  ASSERT_EQ(0, objects->Delete(Ca(0)));
  EXPECT_EQ((std::vector<obPKobj*>{Ca(2), Ca(1), nullptr, nullptr, nullptr}), Entries());
  EXPECT_EQ(1, Ca(0)->RefCount());
  // The freed entry is the one the next object fills.
  objects->Add(Ca(3));
  EXPECT_EQ((std::vector<obPKobj*>{Ca(2), Ca(1), Ca(3), nullptr, nullptr}), Entries());
  ASSERT_EQ(0, objects->Delete(Ca(3)));
  EXPECT_EQ((std::vector<obPKobj*>{Ca(2), Ca(1), nullptr, nullptr, nullptr}), Entries());
}

TEST_F(Collection, DeletingWhatIsNotHeldFails) {
  objects->Add(Ca(0));
  EXPECT_EQ(-1, objects->Delete(nullptr));
  EXPECT_EQ(-1, objects->Delete(Ca(1)));
  EXPECT_EQ(0, objects->Delete(Ca(0)));
  EXPECT_EQ(-1, objects->Delete(Ca(0)));
  EXPECT_EQ(1, Ca(0)->RefCount());
}

TEST_F(Collection, IndexesOutsideTheEntriesAreRefused) {
  objects->Add(Ca(0));
  EXPECT_EQ(1, objects->IsInRange(4));
  EXPECT_EQ(0, objects->IsInRange(5));
  EXPECT_EQ(0, objects->IsInRange(-1));
  EXPECT_EQ(nullptr, objects->Get(5));
  EXPECT_EQ(nullptr, objects->Get(-1));
  EXPECT_EQ(nullptr, objects->Get(1));
}

TEST_F(Collection, IteratorsWalkInEntryOrderAndStopAtTheEnd) {
  for (size_t i = 0; i < 7; ++i) objects->Add(Ca(i));
  objects->Delete(Ca(6));
  objects->Delete(Ca(5));
  objects->Delete(Ca(0));
  std::vector<obRootCA*> seen;
  obRootCA_iterator it(objects.get());
  for (; it.Curr(); it.Next()) seen.push_back(it.Curr());
  EXPECT_EQ((std::vector<obRootCA*>{Ca(4), Ca(1), Ca(2), Ca(3)}), seen);
  it.Next();
  EXPECT_EQ(nullptr, it.Curr());
  EXPECT_EQ(nullptr, obOCSP_iterator(nullptr).Curr());
}

TEST_F(Collection, AnIteratorKeepsItsCollectionAlive) {
  objects->Add(Ca(0));
  obRootCA_iterator it(objects.get());
  objects.reset();
  EXPECT_EQ(Ca(0), it.Curr());
  EXPECT_EQ(2, Ca(0)->RefCount());
}

}  // namespace
