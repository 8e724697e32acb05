// Replacing the password of a PKCS #12 file: all or nothing.
#include "nycert/keystore/pkcs12.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <random>
#include <string>

#include "support/p12_files.h"
#include "support/test_support.h"
#include "support/tool_run.h"

namespace {

class Pkcs12Replace : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(SharedP12Files().Export("replace_src.p12", "-passout pass:old-Pass"));
    file_ = dir_.File("keys.p12");
    WriteBytes(file_, ReadBytes(SharedP12Files().File("replace_src.p12")));
    chmod(file_.c_str(), 0600);
    before_ = ReadBytes(file_);
  }
  int Opens(const char* password) {
    nyBinBuf pfx;
    return obpkcs12_fromfile(file_.c_str(), pfx) == 0 ? obPKCS12_AuthenticatePFX(pfx, password) : -2;
  }

  TempDir dir_;
  std::string file_;
  Bytes before_;
};

TEST_F(Pkcs12Replace, ReplacesUnderTheNewPasswordKeepingMode) {
  obString message;
  DiagCapture diag;
  ASSERT_EQ(0, ReplacePassword_2PKCS12_file_with_passwd_check(file_.c_str(), "old-Pass", "New-Pass", message));
  EXPECT_STREQ("Your password was replaced successfully", message);
  EXPECT_TRUE(diag.Saw("Changed password of PKCS#12 file " + file_ + " successfuly"));
  EXPECT_EQ(0, Opens("New-Pass"));
  EXPECT_EQ(-1, Opens("old-Pass"));
  struct stat st;
  ASSERT_EQ(0, stat(file_.c_str(), &st));
  EXPECT_EQ(0600u, st.st_mode & 07777);
  EXPECT_TRUE(Openssl(dir_.path(), "pkcs12 -nodes -passin pass:New-Pass -in keys.p12 -out /dev/null"));
}

TEST_F(Pkcs12Replace, FailuresLeaveTheFileUntouched) {
  obString message;
  DiagCapture diag;
  EXPECT_EQ(-1, ReplacePassword_2PKCS12_file_with_passwd_check(file_.c_str(), "old-pass", "New-Pass", message));
  EXPECT_STREQ(
      "The password you have typed is incorrect. \nPlease note that the password is case-sensitive.\n"
      "Make sure the Caps Lock is not accidentally on",
      message);
  EXPECT_TRUE(diag.Saw("Failed to change password of PKCS#12 file " + file_ + ", file remains untouched"));
  EXPECT_EQ(-1, ReplacePassword_2PKCS12_file_with_passwd_check(file_.c_str(), "old-Pass", "aaaa", message));
  EXPECT_STREQ("Password given is invalid. Password must contain at least 4 different characters", message);
  EXPECT_EQ(-1, ReplacePassword_2PKCS12_file_with_passwd_check(file_.c_str(), "old-Pass", nullptr, message));
  EXPECT_STREQ("No password supplied", message);
  EXPECT_EQ(before_, ReadBytes(file_));
  EXPECT_EQ(-1, ReplacePassword_2PKCS12_file_with_passwd_check(dir_.File("none.p12").c_str(), "old-Pass",
                                                               "New-Pass", message));
}

// A writer killed at random moments leaves a whole file that opens under
// the old password or the new one.
TEST_F(Pkcs12Replace, KillNineLeavesOldOrNew) {
  unsigned seed = std::random_device()();
  std::printf("seed %u\n", seed);
  std::mt19937 random(seed);
  const char* passwords[] = {"old-Pass", "New-Pass"};
  for (int round = 0; round < 12; ++round) {
    // The previous round may have left either password in force.
    int current = Opens("old-Pass") == 0 ? 0 : 1;
    pid_t child = Spawn([this, &passwords, current] {
      obString message;
      for (int i = current;; i ^= 1) {
        if (ReplacePassword_2PKCS12_file_with_passwd_check(file_.c_str(), passwords[i], passwords[i ^ 1], message) <
            0)
          return 3;
      }
    });
    usleep(std::uniform_int_distribution<useconds_t>(0, 60000)(random));
    kill(child, SIGKILL);
    EXPECT_EQ(128 + SIGKILL, Wait(child)) << "round " << round;
    EXPECT_NE(Opens("old-Pass") == 0, Opens("New-Pass") == 0) << "round " << round << ", seed " << seed;
  }
}

TEST_F(Pkcs12Replace, TheOldEntryAlwaysRefuses) {
  DiagCapture diag;
  EXPECT_EQ(-1, ReplacePassword_2PKCS12_file(file_.c_str(), "old-Pass", "New-Pass"));
  EXPECT_EQ(-1, ReplacePassword_2PKCS12_file(nullptr, nullptr, nullptr));
  EXPECT_TRUE(diag.Saw("ReplacePassword_2PKCS12_file: Do not use this function, use "
                       "ReplacePassword_2PKCS12_file_with_passwd_check instead"));
  EXPECT_EQ(before_, ReadBytes(file_));
}

}  // namespace
