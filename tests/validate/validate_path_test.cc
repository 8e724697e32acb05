// The path and signature stages beyond the test chains: the expiration they
// report, bad input, and the clock they read.
#include <gtest/gtest.h>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/certs/cert.h"
#include "nycert/platform/obclock.h"
#include "nycert/validate/validate_path.h"
#include "support/cert_pki.h"
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

// Basic constraints that are present but cannot be read make no CA (when
// critical, the extension is not handled at all), while absent ones are
// deliberately accepted.
TEST_F(ValidatePath, UnreadableBasicConstraintsMakeNoCa) {
  auto der = [](const obCert* cert) { return Bytes(cert->GetBuf(), cert->GetBuf() + cert->BufLen()); };
  // The chain with its intermediate's critical basicConstraints replaced by
  // value, critical or not, or dropped for null.
  auto validate = [&](const Bytes* value, bool critical, int& index) {
    Bytes ica = Resign(der(chain_.Get(1)), [&](obASN_Certificate& c) {
      auto& items = c.tbsCertificate.extensions->items;
      for (auto e = items.begin(); e != items.end(); ++e) {
        if (e->extnID != obASN_id_ce_basicConstraints) continue;
        if (!value) {
          items.erase(e);
          break;
        }
        e->extnValue = obAsnOcts(value->data(), value->size());
        if (!critical) e->critical.reset();
      }
    }, SharedPki().CaKey());
    obCerts chain;
    for (const Bytes& cert : {der(chain_.Get(0)), ica, der(chain_.Get(2))})
      chain.Add(new obCert(cert.data(), static_cast<unsigned>(cert.size())));
    long expiration = 0;
    return obValidatePath(chain, index, expiration);
  };
  const Bytes truncated{0x30, 0x03, 0x01, 0x01}, wrongType{0x04, 0x00};
  int index = 5;
  EXPECT_EQ(-996, validate(&truncated, false, index));
  EXPECT_EQ(0, index);
  EXPECT_EQ(-996, validate(&wrongType, false, index));
  EXPECT_EQ(-997, validate(&truncated, true, index));
  EXPECT_EQ(1, index);
  EXPECT_EQ(0, validate(nullptr, false, index));
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
