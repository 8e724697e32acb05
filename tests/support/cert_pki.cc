#include "support/cert_pki.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/runtime/asn_any.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/signature_alg.h"
#include "nycert/certs/signed.h"
#include "nycert/certs/x509_sign.h"
#include "nycert/certs/x509_time_internal.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keys/rsa_import.h"

namespace {

obPubKey* ImportPem(const std::string& path) {
  Bytes pem = ReadBytes(path);
  return obImportRSAKeyPEM(reinterpret_cast<const char*>(pem.data()), static_cast<unsigned>(pem.size()));
}

void WriteText(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

}  // namespace

void FreeSigned::operator()(obSigned* obj) const { obFreeSigned(obj); }

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

Bytes TestPki::Issue(const std::string& name, const CertRequest& request) const {
  std::string key = CachedKey(request.keyBits);
  std::string extArgs;
  if (!request.extensions.empty()) {
    WriteText(dir_.File(name + ".ext"), "[v3]\n" + request.extensions + "\n");
    extArgs = " -extfile " + name + ".ext -extensions v3";
  }
  EXPECT_TRUE(Openssl(dir(), "req -new -utf8 -key " + key + " -subj \"" + request.subject + "\" -out " + name + ".csr"));
  EXPECT_TRUE(Openssl(dir(), "x509 -req -in " + name + ".csr -CA ca.pem -CAkey " + caKey_ + " -set_serial " +
                                 request.serial + " -days " + std::to_string(request.days) + " -" + request.digest + extArgs +
                                 " -out " + name + ".pem"));
  EXPECT_TRUE(Openssl(dir(), "x509 -in " + name + ".pem -outform DER -out " + name + ".der"));
  WriteBytes(dir_.File(name + ".key"), ReadBytes(key));
  return ReadBytes(dir_.File(name + ".der"));
}

std::string TestPki::X509Output(const Bytes& der, const std::string& args) const {
  WriteBytes(dir_.File("probe.der"), der);
  return OpensslOutput(dir(), "x509 -inform DER -in probe.der " + args);
}

Bytes SignedBy(const obAsnType& tbs, obPubKey* key, ob_md_type md) {
  nyBinBuf out;
  EXPECT_EQ(0, obX509Sign(tbs, *key, md, out));
  return Bytes(out.Data(), out.Data() + out.Len());
}

void SetSignatureAlg(obASN_AlgorithmIdentifier& alg, ob_md_type md) {
  alg.algorithm = *obSignatureOid(md);
  alg.parameters.reset();
}

Bytes Resign(const Bytes& der, const std::function<void(obASN_Certificate&)>& edit, obPubKey* key, ob_md_type md) {
  obASN_Certificate cert;
  EXPECT_EQ(0, obAsnDecode(cert, der.data(), der.size()));
  edit(cert);
  SetSignatureAlg(cert.tbsCertificate.signature, md);
  return SignedBy(cert.tbsCertificate, key, md);
}

Bytes ResignOctets(const Bytes& der, const std::function<void(Bytes& tbs)>& edit, obPubKey* key, ob_md_type md) {
  obDerReader outer(der.data(), der.size());
  obDerSpan body;
  obDerElement tbs;
  EXPECT_TRUE(outer.Read(kDerSequence, body));
  EXPECT_TRUE(obDerReader(body).Next(tbs));
  Bytes edited(tbs.tlv.data, tbs.tlv.data + tbs.tlv.size);
  edit(edited);
  obAsnAny raw;
  EXPECT_EQ(0, obAsnDecode(raw, edited.data(), edited.size()));
  return SignedBy(raw, key, md);
}

void ReplaceOnce(Bytes& octets, const Bytes& from, const Bytes& to) {
  ASSERT_EQ(from.size(), to.size());
  auto at = std::search(octets.begin(), octets.end(), from.begin(), from.end());
  ASSERT_NE(at, octets.end()) << ToHex(from);
  ASSERT_EQ(std::search(at + 1, octets.end(), from.begin(), from.end()), octets.end()) << ToHex(from);
  std::copy(to.begin(), to.end(), at);
}

namespace {

void SetExtension(obASN_Extension& ext, const std::string& oid, bool critical, const Bytes& value) {
  EXPECT_EQ(0, ext.extnID.Set(oid.c_str()));
  if (critical) ext.critical.reset(new obAsnBool(true));
  ext.extnValue.Set(value.data(), value.size());
}

void SetRevoked(obASN_TBSCertList_revokedCertificates_elem& entry, const RevokedEntry& request) {
  obAsnReadBuf serial(request.serial.data(), request.serial.size());
  unsigned long consumed = 0;
  EXPECT_EQ(1, entry.userCertificate.BDecContent(serial, 0, static_cast<obAsnLen>(request.serial.size()), consumed));
  EXPECT_EQ(0, obX509SetTime(entry.revocationDate, request.revoked));
  if (request.reason >= 0)
    SetExtension(entry.crlEntryExtensions.emplace().Append(), "2.5.29.21", false,
                 Bytes{0x0A, 0x01, static_cast<unsigned char>(request.reason)});
}

}  // namespace

Bytes MakeCrl(const TestPki& pki, const std::vector<RevokedEntry>& revoked, const CrlOptions& options) {
  obASN_Certificate ca;
  EXPECT_EQ(0, obAsnDecode(ca, pki.CaDer().data(), pki.CaDer().size()));
  obASN_TBSCertList tbs;
  tbs.version.reset(new obASN_Version(obASN_Version::v2));
  SetSignatureAlg(tbs.signature, options.md);
  tbs.issuer = ca.tbsCertificate.subject;
  EXPECT_EQ(0, obX509SetTime(tbs.thisUpdate, options.thisUpdate));
  if (options.nextUpdate) {
    EXPECT_EQ(0, obX509SetTime(tbs.nextUpdate.emplace(), options.nextUpdate));
  }
  if (!revoked.empty()) {
    obASN_TBSCertList_revokedCertificates& list = tbs.revokedCertificates.emplace();
    list.items.reserve(revoked.size());
    for (const RevokedEntry& request : revoked) SetRevoked(list.Append(), request);
  }
  if (!options.extensions.empty()) {
    obASN_Extensions& extensions = tbs.crlExtensions.emplace();
    for (const CrlExtensionValue& ext : options.extensions)
      SetExtension(extensions.Append(), ext.oid, ext.critical, ext.value);
  }
  return SignedBy(tbs, pki.CaKey(), options.md);
}

Bytes SerialOctets(int64_t v) {
  Bytes octets;
  for (int shift = 56; shift >= 0; shift -= 8) octets.push_back(static_cast<unsigned char>(v >> shift));
  size_t start = 0;
  while (start + 1 < octets.size() && ((octets[start] == 0x00 && !(octets[start + 1] & 0x80)) ||
                                       (octets[start] == 0xFF && (octets[start + 1] & 0x80))))
    ++start;
  return Bytes(octets.begin() + static_cast<long>(start), octets.end());
}

Bytes Tlv(unsigned char tag, const Bytes& content) {
  size_t n = content.size();
  Bytes out = n < 0x80 ? Bytes{tag, static_cast<unsigned char>(n)}
                       : n < 0x100 ? Bytes{tag, 0x81, static_cast<unsigned char>(n)}
                                   : Bytes{tag, 0x82, static_cast<unsigned char>(n >> 8), static_cast<unsigned char>(n)};
  out.insert(out.end(), content.begin(), content.end());
  return out;
}

Bytes Cat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& part : parts) out.insert(out.end(), part.begin(), part.end());
  return out;
}

Bytes Text(const std::string& text) { return Bytes(text.begin(), text.end()); }

const TestPki& SharedPki() {
  static const TestPki pki;
  return pki;
}
