// A key holder to and from PKCS #12 files, and files of the openssl tool
// read into a holder.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "nycert/certs/cert.h"
#include "nycert/keystore/certified_key.h"
#include "nycert/keystore/key_holder.h"
#include "nycert/keystore/pkcs12.h"
#include "nycert/keystore/root_ca.h"
#include "support/p12_files.h"
#include "support/test_support.h"

namespace {

Bytes DerOf(const obCert* cert) { return cert ? Bytes(cert->GetBuf(), cert->GetBuf() + cert->BufLen()) : Bytes(); }

// The holder holds the leaf key, chained to the CA held as its root.
void ExpectLeafUnderCa(obKeyHolder& holder) {
  const P12TestFiles& files = SharedP12Files();
  std::unique_ptr<obCertKey_iterator> keys(holder.CertKeys());
  ASSERT_NE(nullptr, keys->Curr());
  obCertifiedKey* key = keys->Curr();
  EXPECT_STREQ("leaf name", key->Name());
  EXPECT_NE(nullptr, key->PubKey());
  EXPECT_EQ(files.certDer, DerOf(key->Chain().Get(0)));
  EXPECT_EQ(nullptr, key->Chain().Get(1));
  ASSERT_NE(nullptr, key->Root());
  EXPECT_EQ(files.caDer, DerOf(key->Root()->Cert()));
  keys->Next();
  EXPECT_EQ(nullptr, keys->Curr());
  std::unique_ptr<obRootCA_iterator> cas(holder.RootCAs());
  ASSERT_NE(nullptr, cas->Curr());
  EXPECT_EQ(files.caDer, DerOf(cas->Curr()->Cert()));
  cas->Next();
  EXPECT_EQ(nullptr, cas->Curr());
}

TEST(Pkcs12Holder, OpensslFileBecomesKeyAndRoot) {
  ASSERT_TRUE(SharedP12Files().Export("holder.p12", "-passout pass:holder-Pass"));
  Bytes file = ReadBytes(SharedP12Files().File("holder.p12"));
  nyBinBuf pfx(file.data(), static_cast<unsigned>(file.size()));
  std::unique_ptr<obKeyHolder> holder(obKeyHolder_New());
  obString message;
  ASSERT_EQ(0, obPKCS12_2KeyHolder(pfx, "holder-Pass", *holder, message)) << message.getstr();
  ExpectLeafUnderCa(*holder);

  std::unique_ptr<obKeyHolder> none(obKeyHolder_New());
  char text[16];
  EXPECT_EQ(-1, obPKCS12_2KeyHolder_C(pfx.Data(), static_cast<int>(pfx.Len()), "wrong", *none, text, sizeof text));
  EXPECT_STREQ("Error Encoding ", text);
  EXPECT_EQ(0, none->HasKeys());
  EXPECT_EQ(0, none->HasRootCAs());
}

TEST(Pkcs12Holder, HolderRoundTripsAndOpensslReadsIt) {
  ASSERT_TRUE(SharedP12Files().Export("holder_src.p12", "-passout pass:holder-Pass"));
  Bytes file = ReadBytes(SharedP12Files().File("holder_src.p12"));
  nyBinBuf pfx(file.data(), static_cast<unsigned>(file.size()));
  std::unique_ptr<obKeyHolder> holder(obKeyHolder_New());
  obString message;
  ASSERT_EQ(0, obPKCS12_2KeyHolder(pfx, "holder-Pass", *holder, message));
  for (PKCS12_ENC_ALG alg : {PKCS12_ENC_DEFAULT, PKCS12_ENC_LEGACY}) {
    nyBinBuf out;
    ASSERT_EQ(0, obKeyHolder_2PKCS12(out, "again-Pass", alg, 0, *holder, message)) << message.getstr();
    std::string name = alg == PKCS12_ENC_LEGACY ? "holder_legacy.p12" : "holder_default.p12";
    WriteBytes(SharedP12Files().File(name), Bytes(out.Data(), out.Data() + out.Len()));
    std::string info = OpensslOutput(SharedP12Files().dir, std::string("pkcs12 -nodes -passin pass:again-Pass ") +
                                                               (alg == PKCS12_ENC_LEGACY ? "-legacy " : "") +
                                                               "-in " + name);
    EXPECT_NE(std::string::npos, info.find("BEGIN PRIVATE KEY")) << info;
    EXPECT_NE(std::string::npos, info.find("friendlyName: leaf name")) << info;
    std::unique_ptr<obKeyHolder> again(obKeyHolder_New());
    ASSERT_EQ(0, obPKCS12_2KeyHolder(out, "again-Pass", *again, message)) << message.getstr();
    ExpectLeafUnderCa(*again);
  }
}

}  // namespace
