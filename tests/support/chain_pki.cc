#include "support/chain_pki.h"

#include <gtest/gtest.h>

#include <fstream>

#include <sys/stat.h>

namespace {

constexpr char kExtensions[] =
    "[req]\ndistinguished_name=dn\n[dn]\n"
    "[ca]\nbasicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign\n"
    "subjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid\n"
    "[ca_nokid]\nbasicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign\n"
    "subjectKeyIdentifier=none\nauthorityKeyIdentifier=none\n"
    "[ee]\nbasicConstraints=CA:FALSE\nkeyUsage=critical,digitalSignature\n"
    "subjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid\n"
    "[ee_nokid]\nbasicConstraints=CA:FALSE\nkeyUsage=critical,digitalSignature\n"
    "subjectKeyIdentifier=none\nauthorityKeyIdentifier=none\n";

}  // namespace

const Bytes& ChainPki::Make(const std::string& name, const ChainCert& spec) {
  if (certs_.empty()) std::ofstream(dir_ + "/chain.cnf") << kExtensions;
  std::string key = CachedKey(2048, spec.key);
  std::string section = std::string(spec.ca ? "ca" : "ee") + (spec.keyIds ? "" : "_nokid");
  std::string common = " -days 3650 -sha256 -set_serial " + std::to_string(++serial_) + " -out " + name + ".pem";
  if (spec.issuer.empty()) {
    EXPECT_TRUE(Openssl(dir(), "req -x509 -new -key " + key + " -subj \"" + spec.subject +
                                   "\" -config chain.cnf -extensions " + section + common));
  } else {
    EXPECT_TRUE(Openssl(dir(), "req -new -key " + key + " -subj \"" + spec.subject + "\" -config chain.cnf -out " +
                                   name + ".csr"));
    EXPECT_TRUE(Openssl(dir(), "x509 -req -in " + name + ".csr -CA " + spec.issuer + ".pem -CAkey " +
                                   CachedKey(2048, keys_.at(spec.issuer)) + " -extfile chain.cnf -extensions " +
                                   section + common));
  }
  EXPECT_TRUE(Openssl(dir(), "x509 -in " + name + ".pem -outform DER -out " + name + ".der"));
  keys_[name] = spec.key;
  Load(name);
  return certs_[name];
}

void ChainPki::Load(const std::string& name) { certs_[name] = ReadBytes(dir_ + "/" + name + ".der"); }

namespace {

struct NamedCert {
  const char* name;
  ChainCert spec;
};

// Bump the folder's version when this list changes.
constexpr char kSharedFolder[] = "/chains-1";
const NamedCert kShared[] = {
    {"root", {"/O=Chain Test/CN=Root", "", 1}},
    {"ca1", {"/O=Chain Test/CN=CA 1", "root", 2}},
    {"ca2", {"/O=Chain Test/CN=CA 2", "ca1", 3}},
    {"leaf", {"/O=Chain Test/CN=leaf.example", "ca2", 4, false}},
    {"nk-root", {"/O=Chain Test/CN=NK Root", "", 1, true, false}},
    {"nk-ca1", {"/O=Chain Test/CN=NK CA 1", "nk-root", 2, true, false}},
    {"nk-ca2", {"/O=Chain Test/CN=NK CA 2", "nk-ca1", 3, true, false}},
    {"nk-leaf", {"/O=Chain Test/CN=nk-leaf.example", "nk-ca2", 4, false, false}},
    {"other-root", {"/O=Chain Test/CN=Other Root", "", 5}},
    {"x-ca1", {"/O=Chain Test/CN=CA 1", "other-root", 2}},
    {"stray", {"/O=Elsewhere/CN=Stray", "", 6}},
    {"root-twin", {"/O=Chain Test/CN=Root", "", 7}},
};

}  // namespace

const ChainPki& SharedChainPki() {
  static const ChainPki* pki = [] {
    std::string dir = TestCacheDir() + kSharedFolder;
    MakeOnce(dir, [](const std::string& scratch) {
      if (mkdir(scratch.c_str(), 0700) != 0) return false;
      ChainPki maker(scratch);
      for (const NamedCert& cert : kShared) {
        if (maker.Make(cert.name, cert.spec).empty()) return false;
      }
      return true;
    });
    auto* made = new ChainPki(dir);
    for (const NamedCert& cert : kShared) made->Load(cert.name);
    return made;
  }();
  return *pki;
}
