// Enrollment result and operation texts: the exact bytes of the texts that
// differ subtly, the boundaries of the table and the unassigned gap.
#include <gtest/gtest.h>

#include <string>

#include "nycert/enroll/cert_enroll_rc.h"

namespace {

nyCertEnroll_RC RC(int v) { return static_cast<nyCertEnroll_RC>(v); }

TEST(CertEnrollRC, TextsKeepTheirLineBreaksAndBlanks) {
  EXPECT_STREQ(
      "Cannot connect to the Enforcement Module.\nCheck that the Module is accessible and that\n"
      "'Tessaly Foundation' service is started.",
      nyCertEnroll_RC_2str(RC(-46)));
  EXPECT_STREQ(
      "Cannot connect to the Enforcement Module. \nCheck that the Module is accessible and that\n"
      "'Tessaly Foundation' service is started on the module.",
      nyCertEnroll_RC_2str(RC(-40)));
  EXPECT_STREQ(
      "Timeout exceeded. Check that the Enforcement Module is\naccessible and that 'Tessaly Foundation' service "
      "is started.",
      nyCertEnroll_RC_2str(RC(-43)));
  EXPECT_STREQ("DN is not valid.", nyCertEnroll_RC_2str(RC(-41)));
  EXPECT_STREQ("Failed to generate keys on module.", nyCertEnroll_RC_2str(RC(-24)));
  EXPECT_STREQ("Bad CA certificate.", nyCertEnroll_RC_2str(RC(-3)));
  EXPECT_STREQ("Internal Error.", nyCertEnroll_RC_2str(RC(-1)));
  EXPECT_STREQ("No Problem.", nyCertEnroll_RC_2str(RC(0)));
  EXPECT_STREQ("Operation finished successfully (software keys).", nyCertEnroll_RC_2str(RC(3)));
}

TEST(CertEnrollRC, ValuesWithoutATextGiveTheEmptyString) {
  for (int v : {-47, -39, -30, -25, 4, 1000, -1000000}) {
    SCOPED_TRACE(v);
    ASSERT_NE(nullptr, nyCertEnroll_RC_2str(RC(v)));
    EXPECT_STREQ("", nyCertEnroll_RC_2str(RC(v)));
  }
  // Every assigned value has a text of its own.
  for (int v = -46; v <= 3; ++v) {
    if (v >= -39 && v <= -25) continue;
    EXPECT_NE(std::string(), nyCertEnroll_RC_2str(RC(v))) << v;
  }
}

TEST(CertEnrollOperation, ThreeTextsAndNothingElse) {
  EXPECT_STREQ("Certificate Enrollment.", nyCertEnroll_Operation_2str(nyCertEnroll_Operation_Enroll));
  EXPECT_STREQ("Certificate Renewal.", nyCertEnroll_Operation_2str(nyCertEnroll_Operation_Renew));
  EXPECT_STREQ("Pending Certificate Retrieval.", nyCertEnroll_Operation_2str(nyCertEnroll_Operation_Pending));
  for (int v : {0, 4, -1}) EXPECT_STREQ("", nyCertEnroll_Operation_2str(static_cast<nyCertEnroll_Operation>(v)));
}

}  // namespace
