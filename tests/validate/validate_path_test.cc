// The path and signature stages beyond the test chains: the expiration they
// report, bad input, and the clock they read.
#include <gtest/gtest.h>

#include "nycert/certs/cert.h"
#include "nycert/platform/obclock.h"
#include "nycert/validate/validate_path.h"
#include "support/chain_files.h"

namespace {

class ValidatePath : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(3, LoadPemCerts(ChainCaseDir("valid_three_level") + "/chain.pem", chain_));
    ob_time_set_fixed(ChainSuiteTime());
  }
  void TearDown() override { ob_time_set_fixed(0); }

  obCerts chain_;
};

TEST_F(ValidatePath, ExpirationIsTheEarliestNotAfter) {
  obCerts early;
  ASSERT_EQ(3, LoadPemCerts(ChainCaseDir("ee_at_not_after_valid") + "/chain.pem", early));
  int index = 5;
  long expiration = 0;
  EXPECT_EQ(0, obValidatePath(early, index, expiration));
  EXPECT_EQ(-1, index);
  EXPECT_EQ(early.Get(0)->notAfter(), expiration);
  EXPECT_EQ(ChainSuiteTime(), expiration);
  EXPECT_LT(expiration, early.Get(1)->notAfter());
}

TEST_F(ValidatePath, FollowsTheLibraryClock) {
  obCerts early;
  ASSERT_EQ(3, LoadPemCerts(ChainCaseDir("ee_at_not_after_valid") + "/chain.pem", early));
  int index = 0;
  long expiration = 0;
  ob_time_set_fixed(early.Get(0)->notAfter() + 1);
  EXPECT_EQ(-998, obValidatePath(early, index, expiration));
  EXPECT_EQ(0, index);
  ValidateParams lenient;
  lenient.Set_cert_end_grace(10);
  EXPECT_EQ(0, obValidatePath(early, index, expiration, lenient));
}

TEST_F(ValidatePath, EmptyChainsAndSlotsAreBadInput) {
  obCerts empty;
  int index = 5;
  long expiration = 0;
  EXPECT_EQ(-1000, obValidatePath(empty, index, expiration));
  EXPECT_EQ(-1, index);
  EXPECT_EQ(0, obValidateSignatures(empty, index));

  obCerts gap(4);
  gap.Set(0, chain_.Get(0));
  gap.Set(2, chain_.Get(1));
  obSaveSigned(chain_.Get(0));
  obSaveSigned(chain_.Get(1));
  EXPECT_EQ(-1000, obValidatePath(gap, index, expiration));
  EXPECT_EQ(1, index);
  EXPECT_EQ(-1000, obValidateSignatures(gap, index));
  EXPECT_EQ(1, index);
}

TEST_F(ValidatePath, UndecodableTopIsBadInput) {
  obCerts chain;
  const unsigned char junk[] = {0x30, 0x03, 0x02, 0x01, 0x05};
  chain.Add(new obCert(junk, sizeof junk));
  int index = 0;
  long expiration = 0;
  EXPECT_EQ(-1000, obValidatePath(chain, index, expiration));
  EXPECT_EQ(0, index);
}

}  // namespace
