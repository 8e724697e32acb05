// The nycert program's show command, run as a user runs it.
#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

#include "support/cert_pki.h"
#include "support/tool_run.h"

#ifdef NYCERT_TOOL_PATH
namespace {

class ToolShow : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const TestPki& pki = SharedPki();
    CertRequest request;
    request.extensions = "subjectAltName=DNS:tool.example.com\n";
    pki.Issue("tool_leaf", request);
    // Three certificates with openssl's text output around each one.
    ASSERT_TRUE(Openssl(pki.dir(), "x509 -in tool_leaf.pem -text -out tool_bundle.pem"));
    ASSERT_TRUE(Openssl(pki.dir(), "x509 -in ca.pem -text -out tool_ca.pem"));
    std::string bundle = pki.dir() + "/bundle3.pem";
    Bytes all = ReadBytes(pki.dir() + "/tool_bundle.pem");
    Bytes ca = ReadBytes(pki.dir() + "/tool_ca.pem");
    all.insert(all.end(), ca.begin(), ca.end());
    all.insert(all.end(), ca.begin(), ca.end());
    WriteBytes(bundle, all);
  }
  std::string File(const std::string& name) const { return SharedPki().dir() + "/" + name; }
};

TEST_F(ToolShow, PrintsEveryCertificateOfABundle) {
  ToolResult run = RunNycert("show " + File("bundle3.pem"));
  EXPECT_EQ(0, run.status) << run.output;
  EXPECT_EQ(3u, CountOccurrences(run.output, ": certificate "));
  EXPECT_EQ(2u, CountOccurrences(run.output, "\tSubject: CN=Example Test CA"));
  EXPECT_NE(std::string::npos, run.output.find("\tX509 Certificate Version 3"));

  ToolResult names = RunNycert("show -d 1 " + File("ca.der"));
  EXPECT_EQ(0, names.status);
  EXPECT_EQ(std::string::npos, names.output.find("Version"));
  EXPECT_NE(std::string::npos, names.output.find("\tIssuer: CN=Example Test CA,O=Example Trust,C=US\n"));
}

// At detail 3 the public key prints: the same modulus and exponent as
// openssl reads from the certificate.
TEST_F(ToolShow, PublicKeyAtDetailThreeMatchesOpenssl) {
  ToolResult run = RunNycert("show -d 3 " + File("ca.pem"));
  ASSERT_EQ(0, run.status) << run.output;
  size_t at = run.output.find("\tPublic key: RSA 2048 bits\n\t\tExponent: 65537\n\t\tModulus:\n");
  ASSERT_NE(std::string::npos, at) << run.output;
  std::string modulus;
  for (size_t i = run.output.find("Modulus:\n", at) + 9; i < run.output.size() && run.output.compare(i, 3, "\t\t\t") == 0;
       i = run.output.find('\n', i) + 1) {
    for (size_t j = i + 3; run.output[j] != '\n'; ++j)
      if (run.output[j] != ':') modulus += static_cast<char>(std::toupper(static_cast<unsigned char>(run.output[j])));
  }
  std::string openssl = SharedPki().X509Output(ReadBytes(File("ca.der")), "-noout -modulus");
  EXPECT_EQ("Modulus=" + modulus + "\n", openssl);
  EXPECT_EQ(std::string::npos, RunNycert("show -d 2 " + File("ca.pem")).output.find("Public key:"));
}

TEST_F(ToolShow, FailsCleanlyOnBadFiles) {
  Bytes pem = ReadBytes(File("bundle3.pem"));
  WriteBytes(File("truncated.pem"), Bytes(pem.begin(), pem.end() - 200));
  Bytes der = ReadBytes(File("ca.der"));
  WriteBytes(File("truncated.der"), Bytes(der.begin(), der.begin() + 300));

  struct Case {
    std::string args;
    int status;
    std::string message;
  };
  for (const Case& c : {
           Case{"show " + File("truncated.pem"), 1, "object 3: malformed PEM block"},
           Case{"show " + File("truncated.der"), 1,
                "object 1 is neither a certificate (Error Decoding) nor a CRL (Error Decoding)"},
           Case{"show " + File("missing.pem"), 1, "missing.pem: cannot open: No such file or directory"},
           Case{"show -d 4 " + File("ca.der"), 2, "-d takes 1, 2 or 3"},
           Case{"show", 2, "no file given"},
           Case{"frobnicate", 2, "unknown command 'frobnicate'"},
       }) {
    SCOPED_TRACE(c.args);
    ToolResult run = RunNycert(c.args);
    EXPECT_EQ(c.status, run.status);
    EXPECT_NE(std::string::npos, run.output.find(c.message)) << run.output;
  }
  ToolResult truncated = RunNycert("show " + File("truncated.pem"));
  EXPECT_EQ(2u, CountOccurrences(truncated.output, ": certificate "));  // the whole blocks still print
}

TEST_F(ToolShow, PrintsCrlsFromPemAndDer) {
  const TestPki& pki = SharedPki();
  std::vector<RevokedEntry> revoked{RevokedEntry{SerialOctets(0x1001), 1700000000, 1},
                                   RevokedEntry{SerialOctets(0x123456789A), 1700000060, -1}};
  WriteBytes(File("tool.crl"), MakeCrl(pki, revoked));
  ASSERT_TRUE(Openssl(pki.dir(), "crl -inform DER -in tool.crl -out tool_crl.pem"));
  Bytes mixed = ReadBytes(File("tool_ca.pem"));
  Bytes crlPem = ReadBytes(File("tool_crl.pem"));
  mixed.insert(mixed.end(), crlPem.begin(), crlPem.end());
  WriteBytes(File("mixed.pem"), mixed);

  ToolResult all = RunNycert("show -d 3 " + File("mixed.pem"));
  EXPECT_EQ(0, all.status) << all.output;
  EXPECT_NE(std::string::npos, all.output.find("mixed.pem: certificate 1\n"));
  EXPECT_NE(std::string::npos, all.output.find("mixed.pem: CRL 2\n\tIssuer: CN=Example Test CA,O=Example Trust,C=US\n"
                                               "\tThis update: "))
      << all.output;
  EXPECT_NE(std::string::npos, all.output.find("\tCertificate #4097\n\t\tRevoked at "));
  EXPECT_NE(std::string::npos, all.output.find("\tCertificate #78187493530\n"));

  ToolResult der = RunNycert("show " + File("tool.crl"));
  EXPECT_EQ(0, der.status) << der.output;
  EXPECT_EQ(0u, der.output.find(File("tool.crl") + ": CRL 1\n"));
  EXPECT_NE(std::string::npos, der.output.find("\tNext update: "));
  EXPECT_EQ(std::string::npos, der.output.find("Certificate #"));

  std::string text(crlPem.begin(), crlPem.end());
  std::string broken = text.substr(0, text.find('\n') + 1) + "MAMCAQA=\n" + text.substr(text.rfind("-----END"));
  WriteBytes(File("broken_crl.pem"), Bytes(broken.begin(), broken.end()));
  ToolResult bad = RunNycert("show " + File("broken_crl.pem"));
  EXPECT_EQ(1, bad.status);
  EXPECT_NE(std::string::npos, bad.output.find("object 1 is not a CRL: Error Decoding")) << bad.output;
}

TEST_F(ToolShow, HelpOnEveryCommand) {
  for (const char* args : {"--help", "show --help"}) {
    ToolResult run = RunNycert(args);
    EXPECT_EQ(0, run.status);
    EXPECT_EQ(0u, run.output.find("usage: nycert")) << args;
  }
}

TEST_F(ToolShow, PrintsPkcs7BundlesFromDerAndPem) {
  const TestPki& pki = SharedPki();
  WriteBytes(File("p7.crl"), MakeCrl(pki, {}));
  ASSERT_TRUE(Openssl(pki.dir(), "crl -inform DER -in p7.crl -out p7_crl.pem"));
  ASSERT_TRUE(Openssl(pki.dir(), "crl2pkcs7 -in p7_crl.pem -certfile tool_leaf.pem -certfile ca.pem -outform DER "
                                 "-out tool.p7b"));
  ASSERT_TRUE(Openssl(pki.dir(), "crl2pkcs7 -nocrl -certfile ca.pem -out tool_pem.p7c"));

  ToolResult der = RunNycert("show -d 1 " + File("tool.p7b"));
  EXPECT_EQ(0, der.status) << der.output;
  EXPECT_EQ(0u, der.output.find(File("tool.p7b") + ": PKCS#7 bundle 1: 2 certificates, 1 CRLs\n")) << der.output;
  EXPECT_EQ(2u, CountOccurrences(der.output, ": certificate "));
  EXPECT_EQ(1u, CountOccurrences(der.output, "tool.p7b bundle 1: CRL 1\n"));

  ToolResult pem = RunNycert("show " + File("tool_pem.p7c"));
  EXPECT_EQ(0, pem.status) << pem.output;
  EXPECT_NE(std::string::npos, pem.output.find("PKCS#7 bundle 1: 1 certificates, 0 CRLs"));
  EXPECT_NE(std::string::npos, pem.output.find("\tSubject: CN=Example Test CA"));

  WriteBytes(File("junk.p7b"), Bytes{0x30, 0x03, 0x02, 0x01, 0x01});
  ToolResult junk = RunNycert("show " + File("junk.p7b"));
  EXPECT_EQ(1, junk.status);
  EXPECT_NE(std::string::npos, junk.output.find("is not a PKCS#7 bundle"));
}

}  // namespace
#endif  // NYCERT_TOOL_PATH
