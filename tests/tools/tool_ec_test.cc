// The nycert program with elliptic-curve keys: ECDSA and Ed25519 keys it
// makes, chains mixing them with RSA that both it and openssl validate,
// CRLs and requests openssl checks, and openssl's EC certificates read back.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/test_support.h"
#include "support/tool_run.h"

#ifdef NYCERT_TOOL_PATH
namespace {

class ToolEc : public ::testing::Test {
 protected:
  // Two chains of root -> intermediate -> end entity: "a" with an RSA root,
  // a P-384 intermediate and an Ed25519 end entity, "b" the other way round
  // (Ed25519 root, P-256 intermediate, RSA end entity).
  static void SetUpTestSuite() {
    dir_ = new TempDir;
    WriteBytes(File("a-root.key"), ReadBytes(CachedKey(2048)));
    Run("genkey --ec P-384 -o " + File("a-int.key"));
    Run("genkey --ec ed25519 -o " + File("a-ee.key"));
    Run("genkey --ec ed25519 -o " + File("b-root.key"));
    Run("genkey --ec p-256 -o " + File("b-int.key"));
    WriteBytes(File("b-ee.key"), ReadBytes(CachedKey(2048)));
    for (const char* chain : {"a", "b"}) MakeChain(chain);
  }
  static void TearDownTestSuite() { delete dir_; }

  static void MakeChain(const std::string& c) {
    Run("req --key " + File(c + "-root.key") + " --subject 'CN=Root " + c + ",O=EC Test' -o " + File(c + "-root.csr"));
    Run("sign --ca-key " + File(c + "-root.key") + " --csr " + File(c + "-root.csr") + " --days 30 --ca -o " +
        File(c + "-root.pem"));
    Run("req --key " + File(c + "-int.key") + " --subject 'CN=Int " + c + ",O=EC Test' --digest sha384 -o " +
        File(c + "-int.csr"));
    Run("sign --ca-cert " + File(c + "-root.pem") + " --ca-key " + File(c + "-root.key") + " --csr " +
        File(c + "-int.csr") + " --days 20 --ca -o " + File(c + "-int.pem"));
    Run("req --key " + File(c + "-ee.key") + " --subject 'CN=ee." + c + ".test' --san dns:ee." + c + ".test -o " +
        File(c + "-ee.csr"));
    Run("sign --ca-cert " + File(c + "-int.pem") + " --ca-key " + File(c + "-int.key") + " --csr " +
        File(c + "-ee.csr") + " --days 10 --serial 0x77 -o " + File(c + "-ee.pem"));
    Run("crl-sign --ca-cert " + File(c + "-root.pem") + " --ca-key " + File(c + "-root.key") + " --days 7 -o " +
        File(c + "-root.crl"));
    Run("crl-sign --ca-cert " + File(c + "-int.pem") + " --ca-key " + File(c + "-int.key") +
        " --revoke 99 --days 7 -o " + File(c + "-int.crl"));
    std::vector<unsigned char> crls = ReadBytes(File(c + "-root.crl")), more = ReadBytes(File(c + "-int.crl"));
    crls.insert(crls.end(), more.begin(), more.end());
    WriteBytes(File(c + "-crls.pem"), crls);
  }

  static std::string File(const std::string& name) { return dir_->File(name); }
  static void Run(const std::string& args) {
    ToolResult r = RunNycert(args);
    ASSERT_EQ(0, r.status) << args << "\n" << r.output;
  }
  static std::string Tool(const std::string& args) { return OpensslOutput(dir_->path(), args); }

  static TempDir* dir_;
};
TempDir* ToolEc::dir_ = nullptr;

TEST_F(ToolEc, KeysAreOnTheirCurves) {
  EXPECT_NE(std::string::npos, Tool("pkey -in a-int.key -noout -text").find("NIST CURVE: P-384"));
  EXPECT_NE(std::string::npos, Tool("pkey -in a-ee.key -noout -text").find("ED25519 Private-Key"));
  EXPECT_NE(std::string::npos, Tool("pkey -in b-int.key -check -noout").find("Key is valid"));
  ToolResult bad = RunNycert("genkey --ec secp256k1 -o " + File("x.key"));
  EXPECT_EQ(2, bad.status) << bad.output;
  EXPECT_NE(std::string::npos, bad.output.find("--ec takes P-256, P-384, P-521 or ed25519")) << bad.output;
}

TEST_F(ToolEc, OpensslVerifiesTheMixedChainsAndTheirCrlsAndRequests) {
  for (const std::string c : {"a", "b"}) {
    std::string chain = Tool("verify -CAfile " + c + "-root.pem -untrusted " + c + "-int.pem " + c + "-ee.pem");
    EXPECT_NE(std::string::npos, chain.find(c + "-ee.pem: OK")) << chain;
    std::string checked = Tool("verify -crl_check_all -CAfile " + c + "-root.pem -untrusted " + c + "-int.pem -CRLfile " +
                               c + "-crls.pem " + c + "-ee.pem");
    EXPECT_NE(std::string::npos, checked.find(c + "-ee.pem: OK")) << checked;
    for (const std::string crl : {"root", "int"}) {
      std::string issuer = c + "-" + crl + ".pem";
      std::string text = Tool("crl -in " + c + "-" + crl + ".crl -noout -CAfile " + issuer);
      EXPECT_NE(std::string::npos, text.find("verify OK")) << c << crl << text;
    }
    for (const std::string req : {"root", "int", "ee"}) {
      std::string text = Tool("req -in " + c + "-" + req + ".csr -verify -noout");
      EXPECT_NE(std::string::npos, text.find("verify OK")) << c << req << text;
    }
  }
  std::string sig = Tool("x509 -in a-int.pem -noout -text");
  EXPECT_NE(std::string::npos, sig.find("Signature Algorithm: sha256WithRSAEncryption")) << sig;
  EXPECT_NE(std::string::npos, Tool("x509 -in a-ee.pem -noout -text").find("Signature Algorithm: ecdsa-with-SHA256"));
  EXPECT_NE(std::string::npos, Tool("x509 -in b-int.pem -noout -text").find("Signature Algorithm: ED25519"));
}

TEST_F(ToolEc, NycertValidatesTheMixedChains) {
  for (const std::string c : {"a", "b"}) {
    ToolResult run = RunNycert("verify --root " + File(c + "-root.pem") + " --crl " + File(c + "-crls.pem") + " " +
                               File(c + "-int.pem") + " " + File(c + "-ee.pem"));
    EXPECT_EQ(0, run.status) << c << "\n" << run.output;
    EXPECT_EQ("verdict: validate certifcate OK\n", run.output);
    // The chain does not anchor at the other chain's root.
    std::string other = c == "a" ? "b" : "a";
    ToolResult wrong = RunNycert("verify --root " + File(other + "-root.pem") + " --checks path,sig " +
                                 File(c + "-int.pem") + " " + File(c + "-ee.pem"));
    EXPECT_NE(0, wrong.status) << wrong.output;
  }
}

TEST_F(ToolEc, ShowPrintsTheCurve) {
  ToolResult a = RunNycert("show -d 3 " + File("a-int.pem") + " " + File("a-ee.pem"));
  ASSERT_EQ(0, a.status) << a.output;
  EXPECT_NE(std::string::npos, a.output.find("Public key: ECDSA P-384 384 bits")) << a.output;
  EXPECT_NE(std::string::npos, a.output.find("Public key: EdDSA Ed25519 256 bits")) << a.output;
}

TEST_F(ToolEc, OpensslMadeEcCertificatesAndRequestsAreRead) {
  for (const std::string curve : {"P-256", "P-521"}) {
    ASSERT_TRUE(Openssl(dir_->path(), "req -x509 -newkey ec -pkeyopt ec_paramgen_curve:" + curve +
                                          " -nodes -keyout o.key -subj /CN=OsslRoot -days 5 -sha512"
                                          " -addext basicConstraints=critical,CA:TRUE"
                                          " -addext keyUsage=critical,keyCertSign,cRLSign -out o-root.pem"));
    ASSERT_TRUE(Openssl(dir_->path(), "req -new -newkey ed25519 -nodes -keyout oee.key -subj /CN=oee -out oee.csr"));
    ASSERT_TRUE(Openssl(dir_->path(), "x509 -req -in oee.csr -CA o-root.pem -CAkey o.key -set_serial 5 -days 3"
                                      " -out oee.pem"));
    ToolResult run = RunNycert("verify --root " + File("o-root.pem") + " --checks path,sig,names " + File("oee.pem"));
    EXPECT_EQ(0, run.status) << curve << "\n" << run.output;
    // nycert issues from openssl's Ed25519 request under openssl's EC root.
    Run("sign --ca-cert " + File("o-root.pem") + " --ca-key " + File("o.key") + " --csr " + File("oee.csr") +
        " --days 2 --serial 6 --digest sha384 -o " + File("nee.pem"));
    std::string ok = Tool("verify -CAfile o-root.pem nee.pem");
    EXPECT_NE(std::string::npos, ok.find("nee.pem: OK")) << curve << ok;
  }
}

TEST_F(ToolEc, Pkcs12FilesCarryEcKeys) {
  WriteBytes(File("password"), {'p', 'w', '\n'});
  Run("p12 export --key " + File("a-int.key") + " --cert " + File("a-int.pem") + " --root " + File("a-root.pem") +
      " --pass file:" + File("password") + " -o " + File("a-int.p12"));
  Tool("pkcs12 -in a-int.p12 -passin pass:pw -nocerts -nodes -out back.key");
  EXPECT_EQ(Tool("pkey -in a-int.key -pubout"), Tool("pkey -in back.key -pubout"));
  // Reading the file into a key holder imports its P-384 key.
  ToolResult run = RunNycert("verify --key-holder-from " + File("a-int.p12") + " --pass file:" + File("password") +
                             " --checks path,sig " + File("a-int.pem") + " " + File("a-ee.pem"));
  EXPECT_EQ(0, run.status) << run.output;
  Tool("pkcs12 -export -inkey b-int.key -in b-int.pem -certfile b-root.pem -passout pass:pw -out b-int.p12");
  ToolResult theirs = RunNycert("verify --key-holder-from " + File("b-int.p12") + " --pass file:" +
                                File("password") + " --checks path,sig " + File("b-int.pem") + " " + File("b-ee.pem"));
  EXPECT_EQ(0, theirs.status) << theirs.output;
}

}  // namespace
#endif  // NYCERT_TOOL_PATH
