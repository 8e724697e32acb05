// One certificate's validity: the grace periods on both sides with their
// sources (parameters, the process-wide setting), the order of the checks
// and the log lines.
#include <gtest/gtest.h>

#include "nycert/certs/cert.h"
#include "nycert/validate/cert_validity.h"
#include "support/chain_files.h"
#include "support/test_support.h"

namespace {

class CertValidity : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(3, LoadPemCerts(ChainCaseDir("valid_three_level") + "/chain.pem", chain_));
    ASSERT_EQ(3, LoadPemCerts(ChainCaseDir("ee_unhandled_critical_extension") + "/chain.pem", critical_));
  }
  void TearDown() override { obCertValidate_SetGracePeriod(obCertValidate_GetDefaultGracePeriod()); }

  const obCert& ee() const { return *chain_.Get(0); }
  int At(long now, const ValidateParams& params = ValidateParams()) const {
    return obValidateCert(ee(), now, params);
  }

  obCerts chain_;
  obCerts critical_;
};

TEST_F(CertValidity, DefaultStartGraceIsTwoHoursAndNoEndGrace) {
  long notBefore = ee().notBefore(), notAfter = ee().notAfter();
  EXPECT_EQ(0, At(notBefore - 7200));
  EXPECT_EQ(-999, At(notBefore - 7201));
  EXPECT_EQ(0, At(notAfter));
  EXPECT_EQ(-998, At(notAfter + 1));
}

TEST_F(CertValidity, ParametersOverrideBothGraces) {
  long notBefore = ee().notBefore(), notAfter = ee().notAfter();
  ValidateParams strict;
  strict.Set_cert_start_grace(0);
  strict.Set_cert_end_grace(5);
  EXPECT_EQ(-999, At(notBefore - 1, strict));
  EXPECT_EQ(0, At(notAfter + 5, strict));
  EXPECT_EQ(-998, At(notAfter + 6, strict));
}

TEST_F(CertValidity, ProcessWideStartGraceIsUsedForMinusOneOnly) {
  long notBefore = ee().notBefore();
  {
    DiagCapture capture;
    obCertValidate_SetGracePeriod(100);
    EXPECT_TRUE(capture.Saw("obCertValidate_SetGracePeriod: 100"));
  }
  EXPECT_EQ(100, obCertValidate_GetGracePeriod());
  EXPECT_EQ(7200, obCertValidate_GetDefaultGracePeriod());
  EXPECT_EQ(0, At(notBefore - 100));
  EXPECT_EQ(-999, At(notBefore - 101));
  ValidateParams own;
  own.Set_cert_start_grace(1000);
  EXPECT_EQ(0, At(notBefore - 1000, own));
}

TEST_F(CertValidity, UnhandledCriticalExtensionComesFirst) {
  const obCert& cert = *critical_.Get(0);
  EXPECT_EQ(-997, obValidateCert(cert, cert.notAfter() + 100000, ValidateParams()));
  EXPECT_EQ(-997, obValidateCert(cert, cert.notBefore(), ValidateParams()));
}

TEST_F(CertValidity, LogsTheTimesAndWhyItAccepted) {
  DiagCapture capture;
  EXPECT_EQ(0, At(ee().notBefore() - 60));
  EXPECT_TRUE(capture.Saw("obValidateCert: subject: CN=host.suite.test"));
  EXPECT_TRUE(capture.Saw("cert start grace period=7200   cert end grace period=0"));
  EXPECT_TRUE(capture.Saw("obValidateCert: certificate valid due to grace start period"));
  ValidateParams late;
  late.Set_cert_end_grace(60);
  EXPECT_EQ(0, At(ee().notAfter() + 30, late));
  EXPECT_TRUE(capture.Saw("obValidateCert: certificate valid due to grace end period"));
  EXPECT_EQ(-998, At(ee().notAfter() + 61, late));
  EXPECT_TRUE(capture.Saw("obValidateCert: certificate is obsolete"));
  EXPECT_EQ(-999, At(ee().notBefore() - 7201));
  EXPECT_TRUE(capture.Saw("obValidateCert: certificate is not valid yet"));
}

}  // namespace
