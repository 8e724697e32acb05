// Validation settings: defaults, the constructor's normalisation (and what
// it leaves alone), plain setters, copies and the C entries.
#include <gtest/gtest.h>

#include "nycert/crl/validate_params.h"

namespace {

void ExpectFields(const ValidateParams& p, int crl, int ocsp, int certStart, int certEnd, int crlStart, int crlEnd,
                  int thisUpd, int nextUpd) {
  EXPECT_EQ(crl, p.CRL_validation());
  EXPECT_EQ(ocsp, p.OCSP_validation());
  EXPECT_EQ(certStart, p.Cert_start_grace());
  EXPECT_EQ(certEnd, p.Cert_end_grace());
  EXPECT_EQ(crlStart, p.Crl_start_grace());
  EXPECT_EQ(crlEnd, p.Crl_end_grace());
  EXPECT_EQ(thisUpd, p.Check_this_upd());
  EXPECT_EQ(nextUpd, p.Check_next_upd());
}

TEST(ValidateParams, DefaultsCheckCrlsWithGlobalGraces) {
  ExpectFields(ValidateParams(), 1, 0, -1, -1, -1, -1, 1, 1);
}

TEST(ValidateParams, ConstructorNormalisesTheFlagsButNotOcspOrGraces) {
  ExpectFields(ValidateParams(5, 7, 10, 20, 30, 40, -3, 9), 1, 7, 10, 20, 30, 40, 1, 1);
  ExpectFields(ValidateParams(0, -2, -5, 0, 0, -1, 0, 0), 0, -2, -5, 0, 0, -1, 0, 0);
}

TEST(ValidateParams, SettersStoreAsGiven) {
  ValidateParams p;
  p.Set_crl_validation(4);
  p.Set_ocsp_validation(3);
  p.Set_cert_start_grace(11);
  p.Set_cert_end_grace(12);
  p.Set_crl_start_grace(13);
  p.Set_crl_end_grace(14);
  p.Set_check_this_upd(2);
  p.Set_check_next_upd(-1);
  ExpectFields(p, 4, 3, 11, 12, 13, 14, 2, -1);
}

TEST(ValidateParams, CopiesAreIndependent) {
  ValidateParams original(1, 1, 100, 200, 300, 400, 0, 1);
  ValidateParams copy(original);
  ValidateParams assigned;
  assigned = original;
  ValidateParams set;
  set.Set(original);
  original.Set_cert_start_grace(0);
  for (const ValidateParams* p : {&copy, &assigned, &set}) ExpectFields(*p, 1, 1, 100, 200, 300, 400, 0, 1);
}

TEST(ValidateParams, CEntriesAcceptNull) {
  ValidateParams* a = ValidateParams_New();
  ValidateParams* b = ValidateParams_New();
  ASSERT_TRUE(a && b);
  ExpectFields(*a, 1, 0, -1, -1, -1, -1, 1, 1);
  b->Set_crl_end_grace(77);
  ValidateParams_Set(a, b);
  EXPECT_EQ(77, a->Crl_end_grace());
  ValidateParams_Set(a, nullptr);
  ValidateParams_Set(nullptr, b);
  EXPECT_EQ(77, a->Crl_end_grace());
  ValidateParams_Free(a);
  ValidateParams_Free(b);
  ValidateParams_Free(nullptr);
}

}  // namespace
