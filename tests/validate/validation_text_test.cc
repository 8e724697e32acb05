// The result texts: the short and long tables to the byte (misspellings and
// trailing blanks included), the texts made from the certificate at fault,
// and the buffer rules.
#include <gtest/gtest.h>

#include <string>

#include "nycert/certs/cert.h"
#include "nycert/certs/print_text_internal.h"
#include "nycert/names/obdn.h"
#include "nycert/validate/validation_text.h"
#include "support/chain_files.h"

namespace {

std::string LongText(obCerts& chain, int code, int index, int size = 2048) {
  std::string buffer(size, 'x');
  EXPECT_EQ(0, obCert_ValErrToStr(chain, code, index, &buffer[0], size));
  return buffer.c_str();
}

std::string LongText(int code) {
  obCerts none;
  return LongText(none, code, -1);
}

TEST(ValidationShortText, KeepsTheirSpellingAndBlanks) {
  EXPECT_STREQ("validate certifcate OK", obValidationRC_GetString(0));
  EXPECT_STREQ("validate certificate async", obValidationRC_GetString(-1));
  EXPECT_STREQ("Certificate chain is inconsistent ", obValidationRC_GetString(-994));
  EXPECT_STREQ("The certificate's path length constraint has been exceeded. Please contact your administrator "
               "for an updated certificate (err -995)",
               obValidationRC_GetString(-995));
  EXPECT_STREQ("CRL has expired. Make sure that:\n- The time, daylight saving time and date on your machine are "
               "well configured.\n- The CA has issued and published a valid CRL.",
               obValidationRC_GetString(-984));
  EXPECT_STREQ("Entrust blocking error", obValidationRC_GetString(-988));
  EXPECT_STREQ("Certificate name constraints failed", obValidationRC_GetString(-987));
}

TEST(ValidationShortText, CodesOutsideTheTableAreGeneralErrors) {
  for (int code : {1, -2, -983, -974, -1001, -968})
    EXPECT_STREQ("validation general error", obValidationRC_GetString(code)) << code;
}

TEST(ValidationLongText, FixedTextsAndTheCodesWithout) {
  EXPECT_EQ("Internal error when handling certificate. ", LongText(-1000));
  EXPECT_EQ("Certificate chain is inconsistent. ", LongText(-994));
  EXPECT_EQ("Certificate is revoked. ", LongText(-991));
  EXPECT_EQ(obValidationRC_GetString(-985), LongText(-985));
  EXPECT_EQ("Problems connecting to the OCSP server. Make sure the server is up and running.", LongText(-982));
  EXPECT_EQ("No URL to address the OCSP request to.", LongText(-974));
  EXPECT_EQ("Filed to post an OCSP request to the OCSP responder.", LongText(-969));
  EXPECT_EQ("Failed to encode data.", LongText(-968));
  EXPECT_EQ("Unknown problem. rc = -988 ", LongText(-988));
  EXPECT_EQ("Unknown problem. rc = -976 ", LongText(-976));
  EXPECT_EQ("Unknown problem. rc = -967 ", LongText(-967));
  EXPECT_EQ("Unknown problem. rc = -1001 ", LongText(-1001));
  EXPECT_EQ("Unknown problem. rc = 0 ", LongText(0));
}

TEST(ValidationLongText, WithoutCertificateTheGenericForms) {
  EXPECT_EQ("Certificate is not yet valid. ", LongText(-999));
  EXPECT_EQ("Certificate has expired. ", LongText(-998));
  EXPECT_EQ("Certificate contains an unkown critical extension. ", LongText(-997));
  EXPECT_EQ("Issuer in not a CA. ", LongText(-996));
  EXPECT_EQ("The certificate's path length constraint has been exceeded. Please contact your administrator for an "
            "updated certificate (err -995)",
            LongText(-995));
}

TEST(ValidationLongText, NamesTheDatesExtensionAndIssuerOfTheCertificate) {
  obCerts chain;
  ASSERT_EQ(3, LoadPemCerts(ChainCaseDir("ee_unhandled_critical_extension") + "/chain.pem", chain));
  const obCert& ee = *chain.Get(0);
  EXPECT_EQ("Certificate will be valid only from " + obLocalTimeText(ee.notBefore()), LongText(chain, -999, 0));
  EXPECT_EQ("Certificate has expired in " + obLocalTimeText(ee.notAfter()), LongText(chain, -998, 0));
  EXPECT_EQ("Certificate contains an unkown critical extension - 1.3.6.1.4.1.99999.1", LongText(chain, -997, 0));
  // The intermediate has no unhandled extension.
  EXPECT_EQ("Certificate contains an unkown critical extension. ", LongText(chain, -997, 1));
  EXPECT_EQ(std::string("Issuer ") + ee.Issuer()->GetStr() + " is not a CA. ", LongText(chain, -996, 0));
  // An index past the chain reads as no certificate.
  EXPECT_EQ("Certificate has expired. ", LongText(chain, -998, 3));
}

TEST(ValidationLongText, CutToTheBufferAndAlwaysTerminated) {
  obCerts none;
  EXPECT_EQ("Certific", LongText(none, -991, -1, 9));
  EXPECT_EQ("", LongText(none, -991, -1, 1));
  EXPECT_EQ(-1, obCert_ValErrToStr(none, -991, -1, nullptr, 10));
  char one = 'x';
  EXPECT_EQ(-1, obCert_ValErrToStr(none, -991, -1, &one, 0));
  EXPECT_EQ('x', one);
}

}  // namespace
