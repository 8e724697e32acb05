#include "support/cert_pki.h"

#include <gtest/gtest.h>

#include <fstream>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/certs/signature_alg.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keys/rsa_import.h"
#include "nycert/platform/nybcrypt.h"

namespace {

obPubKey* ImportPem(const std::string& path) {
  Bytes pem = ReadBytes(path);
  return obImportRSAKeyPEM(reinterpret_cast<const char*>(pem.data()), static_cast<unsigned>(pem.size()));
}

void WriteText(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

}  // namespace

TestPki::TestPki() : caKey_(CachedKey(2048)) {
  WriteText(dir_.File("ca.cnf"),
            "[req]\ndistinguished_name=dn\n[dn]\n[ca]\nbasicConstraints=critical,CA:TRUE\n"
            "keyUsage=critical,keyCertSign,cRLSign\nsubjectKeyIdentifier=hash\n");
  EXPECT_TRUE(Openssl(dir(), "req -x509 -new -key " + caKey_ +
                                 " -subj \"/C=US/O=Example Trust/CN=Example Test CA\" -days 3650 -sha256"
                                 " -config ca.cnf -extensions ca -set_serial 1 -out ca.pem"));
  EXPECT_TRUE(Openssl(dir(), "x509 -in ca.pem -outform DER -out ca.der"));
  caDer_ = ReadBytes(dir_.File("ca.der"));
  caKeyHandle_.reset(ImportPem(caKey_), [](obPubKey* key) { obFreePubKey(key); });
}

Bytes TestPki::Issue(const std::string& name, const CertSpec& spec) const {
  std::string key = CachedKey(spec.keyBits);
  std::string extArgs;
  if (!spec.extensions.empty()) {
    WriteText(dir_.File(name + ".ext"), "[v3]\n" + spec.extensions + "\n");
    extArgs = " -extfile " + name + ".ext -extensions v3";
  }
  EXPECT_TRUE(Openssl(dir(), "req -new -key " + key + " -subj \"" + spec.subject + "\" -out " + name + ".csr"));
  EXPECT_TRUE(Openssl(dir(), "x509 -req -in " + name + ".csr -CA ca.pem -CAkey " + caKey_ + " -set_serial " +
                                 spec.serial + " -days " + std::to_string(spec.days) + " -" + spec.digest + extArgs +
                                 " -out " + name + ".pem"));
  EXPECT_TRUE(Openssl(dir(), "x509 -in " + name + ".pem -outform DER -out " + name + ".der"));
  WriteBytes(dir_.File(name + ".key"), ReadBytes(key));
  return ReadBytes(dir_.File(name + ".der"));
}

std::string TestPki::X509Output(const Bytes& der, const std::string& args) const {
  WriteBytes(dir_.File("probe.der"), der);
  return OpensslOutput(dir(), "x509 -inform DER -in probe.der " + args);
}

Bytes Resign(const Bytes& der, const std::function<void(obASN_Certificate&)>& edit, obPubKey* key, ob_md_type md) {
  obASN_Certificate cert;
  EXPECT_EQ(0, obAsnDecode(cert, der.data(), der.size()));
  edit(cert);
  cert.tbsCertificate.signature.algorithm = *obSignatureOid(md);
  cert.signatureAlgorithm.algorithm = *obSignatureOid(md);
  nyBinBuf tbs;
  EXPECT_EQ(0, obAsnEncode(cert.tbsCertificate, tbs));
  unsigned char digest[kObMaxDigestLen];
  int digestLen = ny_md_hashbuf(md, tbs.Data(), tbs.Len(), digest);
  Bytes signature(static_cast<size_t>(key->Sign(obPKop_DigestInfo, md, digest, digestLen, nullptr, 0)));
  EXPECT_GT(key->Sign(obPKop_DigestInfo, md, digest, digestLen, signature.data(), static_cast<int>(signature.size())),
            0);
  cert.signature.Set(signature.data(), signature.size() * 8);
  nyBinBuf out;
  EXPECT_EQ(0, obAsnEncode(cert, out));
  return Bytes(out.Data(), out.Data() + out.Len());
}

const TestPki& SharedPki() {
  static const TestPki* pki = new TestPki;
  return *pki;
}
