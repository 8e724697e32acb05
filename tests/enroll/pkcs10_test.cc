// PKCS#10 requests: ours checked by openssl (signature, subject, extensions,
// password), openssl's decoded by us, every digest both ways, and the edge
// cases: empty extension lists, two passwords, no key, bad signatures.
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>

#include "nycert/asn1/modules/pkcs10.h"
#include "nycert/asn1/modules/pkcs1.h"
#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/certs/basic_constraint.h"
#include "nycert/certs/ext_gn.h"
#include "nycert/certs/extensions_list.h"
#include "nycert/certs/x509_sign.h"
#include "nycert/enroll/cert_template.h"
#include "nycert/enroll/pkcs10.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keys/rsa_import.h"
#include "nycert/names/general_name.h"
#include "nycert/names/general_names.h"
#include "nycert/names/obdn.h"
#include "support/cert_pki.h"

namespace {

struct KeyFree {
  void operator()(obPubKey* key) const { obFreePubKey(key); }
};
using Key = std::unique_ptr<obPubKey, KeyFree>;

const char kSubject[] = "CN=Request Test,OU=Devices,O=Example Inc,C=US";

obPubKey* RequestKey() {
  static const Key key = [] {
    Bytes pem = ReadBytes(CachedKey(2048));
    return Key(obImportRSAKeyPEM(reinterpret_cast<const char*>(pem.data()), static_cast<unsigned>(pem.size())));
  }();
  return key.get();
}

obExtGN AltNames() {
  obGeneralNames names;
  names.Add(new obGeneralName(obGN_dNSName, "req.example", 11));
  names.Add(new obGeneralName(obGN_rfc822Name, "ops@example.com", 15));
  return obExtGN(names);
}

Bytes Request(const obExtensionsList* extensions, const char* password, ob_md_type md) {
  nyBinBuf out;
  EXPECT_EQ(0, obEncode_full_pkcs10_with_password(*RequestKey(), obDN(kSubject), out, extensions, password, md));
  return Bytes(out.Data(), out.Data() + out.Len());
}

int Decode(const Bytes& der, obCertTemplate& t, nyBinBuf* password) {
  return obDecode_full_pkcs10_with_password(nyBinBuf(der.data(), static_cast<unsigned>(der.size())), t, password);
}

std::string Str(const nyBinBuf& b) { return std::string(reinterpret_cast<const char*>(b.Data()), b.Len()); }

// What `openssl req` prints for the DER request with args.
std::string ReqOutput(const Bytes& der, const std::string& args) {
  WriteBytes(SharedPki().dir() + "/ours.csr.der", der);
  return OpensslOutput(SharedPki().dir(), "req -inform DER -in ours.csr.der " + args);
}

TEST(Pkcs10Encode, OpensslVerifiesAndReadsOurRequests) {
  obExtensionsList extensions;
  extensions.Add(obASN_id_ce_subjectAltName, 0, AltNames().Clone());
  extensions.Add(obASN_id_ce_basicConstraints, 1, new obBasicConstraint(0, -1));
  struct Case {
    ob_md_type md;
    bool full;
  };
  for (Case c : {Case{ob_md_sha1, false}, Case{ob_md_sha1, true}, Case{ob_md_sha256, false}, Case{ob_md_sha256, true}}) {
    SCOPED_TRACE(std::to_string(c.md) + (c.full ? " with extensions and password" : " bare"));
    Bytes der = Request(c.full ? &extensions : nullptr, c.full ? "s3cret pass" : nullptr, c.md);
    std::string text = ReqOutput(der, "-verify -noout -text");
    EXPECT_NE(std::string::npos, text.find("verify OK")) << text;
    EXPECT_NE(std::string::npos, text.find("Subject: C = US, O = Example Inc, OU = Devices, CN = Request Test"))
        << text;
    EXPECT_NE(std::string::npos, text.find(c.md == ob_md_sha1 ? "sha1WithRSAEncryption" : "sha256WithRSAEncryption"));
    EXPECT_EQ(c.full, text.find("DNS:req.example, email:ops@example.com") != std::string::npos) << text;
    EXPECT_EQ(c.full, text.find("CA:FALSE") != std::string::npos) << text;
    EXPECT_EQ(c.full, text.find("challengePassword        :s3cret pass") != std::string::npos) << text;
  }
}

TEST(Pkcs10Encode, AttributesInOrderAndEmptyListsLeftOut) {
  obExtensionsList extensions;
  extensions.Add(obASN_id_ce_subjectAltName, 0, AltNames().Clone());
  Bytes der = Request(&extensions, "pw", ob_md_sha256);
  obASN_CertificationRequest request;
  ASSERT_EQ(0, obAsnDecode(request, der.data(), der.size()));
  const auto& attributes = request.certificationRequestInfo.attributes.items;
  ASSERT_EQ(2u, attributes.size());
  EXPECT_EQ(obASN_extensionReq, attributes[0].type);
  EXPECT_EQ(obASN_challengePassword, attributes[1].type);
  // The password is a PrintableString: 13 02 'p' 'w'.
  EXPECT_EQ("13 02 70 77", ToHex(attributes[1].values.items[0].Raw().data(), attributes[1].values.items[0].Raw().size()));

  obExtensionsList empty;
  nyBinBuf out;
  DiagCapture capture;
  ASSERT_EQ(0, obEncode_full_pkcs10(*RequestKey(), obDN(kSubject), out, &empty));
  EXPECT_TRUE(capture.Saw(
      "obEncode_pkcs10_with_extensions: Got empty extension list. Will not request extensions in the PKCS#10. "));
  ASSERT_EQ(0, obAsnDecode(request, out.Data(), out.Len()));
  EXPECT_TRUE(request.certificationRequestInfo.attributes.items.empty());
  EXPECT_EQ(obASN_sha1WithRSAEncryption, request.signatureAlgorithm.algorithm);

  ASSERT_EQ(0, obEncode_pkcs10_with_extensions(*RequestKey(), obDN(kSubject), out, nullptr));
  obCertTemplate t;
  EXPECT_EQ(0, obDecode_full_pkcs10_with_password(out, t, nullptr));
  EXPECT_EQ(0, t.Extensions().Count());
  obExtGN alt = AltNames();
  ASSERT_EQ(0, obEncode_pkcs10_with_extensions(*RequestKey(), obDN(kSubject), out, &alt));
  EXPECT_EQ(0, obDecode_full_pkcs10_with_password(out, t, nullptr));
  EXPECT_NE(nullptr, t.GetExt(obASN_id_ce_subjectAltName));

  nyBinBuf kept(reinterpret_cast<const unsigned char*>("keep"), 4);
  EXPECT_EQ(-1, Gated([&] { return obEncode_pkcs10(*RequestKey(), obDN(), kept); },
                      "obEncode_pkcs10_with_extensions: Invalid dn."));
  EXPECT_EQ(4u, kept.Len());
}

TEST(Pkcs10Decode, RoundTripsUnderEveryDigest) {
  obExtensionsList extensions;
  extensions.Add(obASN_id_ce_basicConstraints, 1, new obBasicConstraint(1, 2));
  for (ob_md_type md : {ob_md_md5, ob_md_sha1, ob_md_sha256, ob_md_sha384, ob_md_sha512}) {
    SCOPED_TRACE(md);
    Bytes der = Request(&extensions, "round trip", md);
    obCertTemplate t;
    nyBinBuf password;
    EXPECT_EQ(0, Decode(der, t, &password));
    EXPECT_STREQ(kSubject, t.Subject()->GetStr());
    EXPECT_EQ(1, obPubKey_Equal(t.PubKey(), RequestKey()));
    EXPECT_EQ("round trip", Str(password));
    auto* bc = static_cast<obBasicConstraint*>(t.GetExt(obASN_id_ce_basicConstraints));
    ASSERT_NE(nullptr, bc);
    EXPECT_EQ(1, bc->IsCA());
    EXPECT_EQ(2, bc->PathLen());
    der[der.size() - 5] ^= 0x01;  // inside the signature
    EXPECT_EQ(-1, Decode(der, t, nullptr));
    EXPECT_STREQ(kSubject, t.Subject()->GetStr());  // the fields stay
  }
}

TEST(Pkcs10Decode, ReadsOpensslRequestsWithExtensionsAndPassword) {
  const TestPki& pki = SharedPki();
  std::ofstream(pki.dir() + "/req.cnf") << "[req]\ndistinguished_name=dn\nattributes=attrs\nprompt=no\n"
                                           "[dn]\nC=US\nO=Example Inc\nCN=From Openssl\n"
                                           "[attrs]\nchallengePassword=openssl-pw\n";
  for (const char* digest : {"sha1", "sha256", "sha384"}) {
    SCOPED_TRACE(digest);
    ASSERT_TRUE(Openssl(pki.dir(), std::string("req -new -config req.cnf -key ") + CachedKey(2048) + " -" + digest +
                                       " -addext \"subjectAltName=DNS:a.example,IP:10.0.0.1\""
                                       " -addext \"basicConstraints=critical,CA:TRUE,pathlen:1\""
                                       " -addext \"keyUsage=critical,digitalSignature,keyCertSign\""
                                       " -outform DER -out theirs.csr.der"));
    obCertTemplate t;
    nyBinBuf password;
    EXPECT_EQ(0, Decode(ReadBytes(pki.dir() + "/theirs.csr.der"), t, &password));
    EXPECT_STREQ("CN=From Openssl,O=Example Inc,C=US", t.Subject()->GetStr());
    EXPECT_EQ("openssl-pw", Str(password));
    EXPECT_EQ(1, obPubKey_Equal(t.PubKey(), RequestKey()));
    EXPECT_EQ(3, t.Extensions().Count());
    auto* alt = static_cast<obExtGN*>(t.GetExt(obASN_id_ce_subjectAltName));
    ASSERT_NE(nullptr, alt);
    EXPECT_EQ(2, alt->Names()->Count());
    auto* bc = static_cast<obBasicConstraint*>(t.GetExt(obASN_id_ce_basicConstraints));
    ASSERT_NE(nullptr, bc);
    EXPECT_EQ(1, bc->PathLen());
    EXPECT_EQ(1, t.Extensions().IsCritical(obASN_id_ce_keyUsage));
  }
}

// A request built by hand from info, signed with the request key.
Bytes SignedInfo(obASN_CertificationRequestInfo& info) {
  nyBinBuf out;
  EXPECT_EQ(0, obX509Sign(info, *RequestKey(), ob_md_sha256, out));
  return Bytes(out.Data(), out.Data() + out.Len());
}

void AddPassword(obASN_CertificationRequestInfo& info, const char* text) {
  obASN_Attribute& attribute = info.attributes.Append();
  static_cast<obAsnOid&>(attribute.type) = obASN_challengePassword;
  auto* value = new obASN_DirectoryString;
  value->Select_utf8String().Set(text);
  attribute.values.Append().SetValue(value);
}

TEST(Pkcs10Decode, LastPasswordWinsAndMissingKeysFail) {
  Bytes der = Request(nullptr, nullptr, ob_md_sha256);
  obASN_CertificationRequest request;
  ASSERT_EQ(0, obAsnDecode(request, der.data(), der.size()));
  obASN_CertificationRequestInfo info = request.certificationRequestInfo;
  AddPassword(info, "first");
  AddPassword(info, "second");
  obCertTemplate t;
  nyBinBuf password;
  EXPECT_EQ(0, Decode(SignedInfo(info), t, &password));
  EXPECT_EQ("second", Str(password));

  // An empty subject key: no key in the template, and the signature cannot be checked.
  info.subjectPKInfo.subjectPublicKey.Set(nullptr, 0);
  EXPECT_EQ(-1, Decode(SignedInfo(info), t, &password));
  EXPECT_EQ(nullptr, t.PubKey());
  EXPECT_STREQ(kSubject, t.Subject()->GetStr());

  Bytes garbage = Hex("30 03 02 01 05");
  EXPECT_EQ(-1, Gated([&] { return Decode(garbage, t, nullptr); },
                      "obDecode_full_pkcs10_with_password: Error decoding signed buffer"));
  Bytes notInfo = Hex("30 0D 30 03 02 01 05 30 03 06 01 00 03 01 00");  // a signed structure around an INTEGER
  EXPECT_EQ(-1, Gated([&] { return Decode(notInfo, t, nullptr); },
                      "obDecode_full_pkcs10_with_password: Error decoding unsigned buffer"));
  request.signatureAlgorithm.algorithm = obAsnOid("1.2.840.10040.4.3");  // DSA with SHA-1
  nyBinBuf dsa;
  ASSERT_EQ(0, obAsnEncode(request, dsa));
  EXPECT_EQ(-1, Gated([&] { return obDecode_full_pkcs10_with_password(dsa, t, nullptr); },
                      "obDecode_full_pkcs10_with_password: unsupported signature algorithm"));
}

}  // namespace
