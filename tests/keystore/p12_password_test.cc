// The password policy of PKCS #12 files and the BMP form of passwords.
#include "nycert/keystore/p12_password.h"

#include <gtest/gtest.h>

#include <string>

#include "support/test_support.h"

namespace {

const char kInvalid[] = "Password given is invalid. Password must contain at least 4 different characters";

TEST(Pkcs12PasswordPolicy, DistinctCharactersDecide) {
  obString message;
  EXPECT_EQ(0, Check_PKCS12_password("abcd", message));
  EXPECT_STREQ("Valid password supplied", message);
  EXPECT_EQ(0, Check_PKCS12_password("aAbB", message));
  EXPECT_EQ(0, Check_PKCS12_password("aaabbbcccd", message));
  for (const char* bad : {"aaaa", "abca", "aabbaabb", "AaAa"}) {
    EXPECT_EQ(-1, Check_PKCS12_password(bad, message)) << bad;
    EXPECT_STREQ(kInvalid, message) << bad;
  }
}

TEST(Pkcs12PasswordPolicy, ShortOrMissingPasswords) {
  obString message;
  {
    DiagCapture diag;
    EXPECT_EQ(-1, Check_PKCS12_password("abc", message));
    EXPECT_STREQ(kInvalid, message);
    EXPECT_TRUE(diag.Saw("Check_PKCS12_password: given password is less than 4 characters long"));
  }
  EXPECT_EQ(-1, Check_PKCS12_password("", message));
  EXPECT_STREQ("No password supplied", message);
  EXPECT_EQ(-1, Check_PKCS12_password(nullptr, message));
  EXPECT_STREQ("No password supplied", message);
}

TEST(Pkcs12PasswordForms, BmpFormsInOrder) {
  nyBinBuf bmp;
  ASSERT_EQ(0, obPKCS12_pass2bmp("ab\xC3\xA4", bmp, true));
  EXPECT_EQ("00 61 00 62 00 E4 00 00", ToHex(bmp));
  ASSERT_EQ(0, obPKCS12_pass2bmp("ab", bmp, false));
  EXPECT_EQ("00 61 00 62", ToHex(bmp));
  ASSERT_EQ(0, obPKCS12_pass2bmp("\xF0\x9F\x98\x80", bmp, true));
  EXPECT_EQ("D8 3D DE 00 00 00", ToHex(bmp));
  EXPECT_EQ(-1, obPKCS12_pass2bmp("\xED\xA0\x80", bmp, true));
  ASSERT_EQ(0, obPKCS12_pass2bmp("a\0b\0", 4, bmp, false));
  EXPECT_EQ("00 61 00 00 00 62 00 00", ToHex(bmp));

  auto forms = obP12PasswordForms("p\xC3\xA4");
  ASSERT_EQ(2u, forms.size());
  EXPECT_EQ("00 70 00 E4 00 00", ToHex(forms[0].bmp));
  EXPECT_EQ("00 70 00 C3 00 A4 00 00", ToHex(forms[1].bmp));
  EXPECT_EQ("70 C3 A4", ToHex(forms[1].raw));

  auto empty = obP12PasswordForms("");
  ASSERT_EQ(2u, empty.size());
  EXPECT_EQ("00 00", ToHex(empty[0].bmp));
  EXPECT_TRUE(empty[1].bmp.IsEmpty());
  auto none = obP12PasswordForms(nullptr);
  ASSERT_EQ(2u, none.size());
  EXPECT_TRUE(none[0].bmp.IsEmpty());
  EXPECT_EQ("00 00", ToHex(none[1].bmp));
  EXPECT_EQ(1u, obP12PasswordForms("ascii").size());
}

}  // namespace
