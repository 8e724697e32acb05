#include "support/chain_pki.h"

#include <gtest/gtest.h>

#include <fstream>

#include "nycert/certs/cert.h"
#include "nycert/names/obdn.h"
#include "support/tool_run.h"

#include <sys/stat.h>

namespace {

// The extension lines of a certificate.
std::string ExtensionLines(const ChainCert& cert) {
  std::string lines = cert.ca ? "basicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign\n"
                              : "basicConstraints=CA:FALSE\nkeyUsage=critical,digitalSignature\n";
  switch (cert.keyIds) {
    case KeyIds::kBoth:
      lines += "subjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid\n";
      break;
    case KeyIds::kNone:
      lines += "subjectKeyIdentifier=none\nauthorityKeyIdentifier=none\n";
      break;
    case KeyIds::kIssuerSerial:
      lines += "subjectKeyIdentifier=none\nauthorityKeyIdentifier=issuer:always\n";
      break;
  }
  return lines + cert.extra + "\n";
}

}  // namespace

const Bytes& ChainPki::Make(const std::string& name, const ChainCert& cert) {
  std::ofstream(dir_ + "/" + name + ".cnf") << "[req]\ndistinguished_name=dn\n[dn]\n[v3]\n" << ExtensionLines(cert);
  std::string key = CachedKey(2048, cert.key);
  std::string config = " -config " + name + ".cnf";
  std::string common = " -days " + std::to_string(cert.days) + " -sha256 -set_serial " + std::to_string(++serial_) +
                       " -out " + name + ".pem";
  if (cert.issuer.empty()) {
    EXPECT_TRUE(Openssl(dir(), "req -x509 -new -key " + key + " -subj \"" + cert.subject + "\"" + config +
                                   " -extensions v3" + common));
  } else {
    EXPECT_TRUE(
        Openssl(dir(), "req -new -key " + key + " -subj \"" + cert.subject + "\"" + config + " -out " + name + ".csr"));
    EXPECT_TRUE(Openssl(dir(), "x509 -req -in " + name + ".csr -CA " + cert.issuer + ".pem -CAkey " +
                                   CachedKey(2048, keys_.at(cert.issuer)) + " -extfile " + name + ".cnf -extensions v3" +
                                   common));
  }
  EXPECT_TRUE(Openssl(dir(), "x509 -in " + name + ".pem -outform DER -out " + name + ".der"));
  keys_[name] = cert.key;
  Load(name);
  return certs_[name];
}

void ChainPki::Load(const std::string& name) { certs_[name] = ReadBytes(dir_ + "/" + name + ".der"); }

namespace {

struct NamedCert {
  const char* name;
  ChainCert cert;
};

// Bump the folder's version when this list changes.
constexpr char kSharedFolder[] = "/chains-2";
const NamedCert kShared[] = {
    {"root", {"/O=Chain Test/CN=Root", "", 1, true, KeyIds::kBoth, 3650, ""}},
    {"ca1", {"/O=Chain Test/CN=CA 1", "root", 2, true, KeyIds::kBoth, 3650, ""}},
    {"ca2", {"/O=Chain Test/CN=CA 2", "ca1", 3, true, KeyIds::kBoth, 3650, ""}},
    {"leaf", {"/O=Chain Test/CN=leaf.example", "ca2", 4, false, KeyIds::kBoth, 400, ""}},
    {"nk-root", {"/O=Chain Test/CN=NK Root", "", 1, true, KeyIds::kNone, 3650, ""}},
    {"nk-ca1", {"/O=Chain Test/CN=NK CA 1", "nk-root", 2, true, KeyIds::kNone, 3650, ""}},
    {"nk-ca2", {"/O=Chain Test/CN=NK CA 2", "nk-ca1", 3, true, KeyIds::kNone, 3650, ""}},
    {"nk-leaf", {"/O=Chain Test/CN=nk-leaf.example", "nk-ca2", 4, false, KeyIds::kNone, 3650, ""}},
    {"other-root", {"/O=Chain Test/CN=Other Root", "", 5, true, KeyIds::kBoth, 3650, ""}},
    {"x-ca1", {"/O=Chain Test/CN=CA 1", "other-root", 2, true, KeyIds::kBoth, 3650, ""}},
    {"stray", {"/O=Elsewhere/CN=Stray", "", 6, true, KeyIds::kBoth, 3650, ""}},
    {"root-twin", {"/O=Chain Test/CN=Root", "", 7, true, KeyIds::kBoth, 3650, ""}},
    {"own", {"/O=Chain Test/CN=own.example", "ca1", 8, false, KeyIds::kBoth, 3650, ""}},
    {"is-ca1", {"/O=Chain Test/CN=IS CA 1", "root", 8, true, KeyIds::kIssuerSerial, 3650, ""}},
    {"loop-a", {"/O=Chain Test/CN=Loop A", "", 9, true, KeyIds::kNone, 3650, ""}},
    {"loop-b", {"/O=Chain Test/CN=Loop B", "loop-a", 10, true, KeyIds::kNone, 3650, ""}},
    {"loop-a2", {"/O=Chain Test/CN=Loop A", "loop-b", 9, true, KeyIds::kNone, 3650, ""}},
    {"upn-leaf", {"/O=Chain Test/CN=upn.example", "ca2", 8, false, KeyIds::kBoth, 3650, "subjectAltName=email:user@example.com,otherName:1.3.6.1.4.1.311.20.2.3;UTF8:user@realm.example"}},
};

}  // namespace

const ChainPki& SharedChainPki() {
  static const ChainPki* pki = [] {
    std::string dir = TestCacheDir() + kSharedFolder;
    MakeOnce(dir, [](const std::string& scratch) {
      if (mkdir(scratch.c_str(), 0700) != 0) return false;
      ChainPki maker(scratch);
      for (const NamedCert& cert : kShared) {
        if (maker.Make(cert.name, cert.cert).empty()) return false;
      }
      return true;
    });
    auto* made = new ChainPki(dir);
    for (const NamedCert& cert : kShared) made->Load(cert.name);
    return made;
  }();
  return *pki;
}

bool ExportChainPkcs12(const std::string& path, const std::string& holder, std::initializer_list<std::string> others,
                       const std::string& password) {
  const ChainPki& pki = SharedChainPki();
  int key = 0;
  for (const NamedCert& cert : kShared) {
    if (holder == cert.name) key = cert.cert.key;
  }
  std::string certFile;
  if (others.size()) {
    certFile = " -certfile " + ShellQuote(path + ".certs.pem");
    std::ofstream out(path + ".certs.pem");
    for (const std::string& name : others) out << std::ifstream(pki.PemPath(name)).rdbuf();
  }
  return Openssl(pki.dir(), "pkcs12 -export -inkey " + CachedKey(2048, key) + " -in " + holder + ".pem" + certFile +
                                " -passout " + ShellQuote("pass:" + password) + " -out " + ShellQuote(path));
}

SignedPtr<obCert> ChainCertificate(const std::string& name) { return Decoded<obCert>(SharedChainPki().Der(name)); }

void AddChainCerts(obCerts& list, std::initializer_list<std::string> names) {
  for (const std::string& name : names) list.Add(ChainCertificate(name).release());
}

std::vector<std::string> CommonNames(const obCerts& list) {
  std::vector<std::string> names;
  for (int i = 0; i <= list.Top(); ++i) {
    char cn[256] = "-";
    const obCert* cert = list.Get(i);
    if (cert && cert->Subject()) cert->Subject()->GetCN(cn, sizeof cn);
    names.push_back(cn);
  }
  return names;
}
