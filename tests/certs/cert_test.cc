// Certificates: decoding of openssl-made and hand-shaped certificates checked
// against what `openssl x509` reports, the decode errors, printing, lists and
// the C interface.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_int.h"
#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/basic_constraint.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/extensions_list.h"
#include "nycert/certs/key_usage.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keys/rsa_import.h"
#include "nycert/names/general_names.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obstream.h"
#include "support/cert_pki.h"

namespace {

SignedPtr<obCert> Decode(const Bytes& der) { return Decoded<obCert>(der); }

std::string Printed(const obCert& cert, obCertHerrorDetails details, int indent = 0) {
  ObStream s;
  cert.Sprint(&s, details, indent);
  return s.str();
}

// The value of "key=value" in openssl's output.
std::string Field(const std::string& output, const std::string& key) {
  size_t at = output.find(key + "=");
  if (at == std::string::npos) return "";
  size_t end = output.find('\n', at);
  return output.substr(at + key.size() + 1, end - at - key.size() - 1);
}

long GmtSeconds(const std::string& text) {  // "Nov 21 10:58:33 2026 GMT"
  struct tm tm = {};
  EXPECT_NE(nullptr, strptime(text.c_str(), "%b %d %H:%M:%S %Y GMT", &tm)) << text;
  return static_cast<long>(timegm(&tm));
}

// Every accessor that openssl also reports, compared with its answer.
void ExpectMatchesOpenssl(const Bytes& der) {
  const TestPki& pki = SharedPki();
  auto cert = Decode(der);
  ASSERT_EQ(1, cert->OK()) << cert->Error().getstr();
  std::string out = pki.X509Output(der, "-noout -serial -subject -issuer -dates -nameopt RFC2253,-esc_msb");
  // openssl lists the values of a multi-valued RDN the other way round, so
  // the names are compared as names.
  EXPECT_TRUE(obDN(Field(out, "subject").c_str()).Equal(*cert->Subject())) << Field(out, "subject");
  EXPECT_TRUE(obDN(Field(out, "issuer").c_str()).Equal(*cert->Issuer())) << Field(out, "issuer");
  EXPECT_EQ(GmtSeconds(Field(out, "notBefore")), cert->notBefore());
  EXPECT_EQ(GmtSeconds(Field(out, "notAfter")), cert->notAfter());
  nyBinBuf serial;
  ASSERT_EQ(0, obAsnEncode(*cert->SerialNum(), serial));
  std::string ours = ToHex(serial.Data() + 2, serial.Len() - 2);  // content octets of a short INTEGER
  ours.erase(std::remove(ours.begin(), ours.end(), ' '), ours.end());
  // openssl prints the magnitude without a leading zero octet.
  if (ours.size() > Field(out, "serial").size() && ours.compare(0, 2, "00") == 0) ours.erase(0, 2);
  EXPECT_EQ(Field(out, "serial"), ours);
  EXPECT_EQ(obVfy_OK, cert->VerifySig(pki.CaKey()));
}

Bytes ServerCert() {
  static const Bytes der = [] {
    CertRequest request;
    request.subject = "/C=US/ST=California/L=San Francisco/O=Example Inc/CN=www.example.com";
    request.extensions =
        "basicConstraints=critical,CA:FALSE\nkeyUsage=critical,digitalSignature,keyEncipherment\n"
        "extendedKeyUsage=serverAuth,clientAuth\nsubjectAltName=DNS:www.example.com,DNS:example.com\n"
        "subjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid\n"
        "crlDistributionPoints=URI:http://crl.example.com/ca.crl\n"
        "authorityInfoAccess=OCSP;URI:http://ocsp.example.com,caIssuers;URI:http://ca.example.com/ca.crt\n"
        "certificatePolicies=2.23.140.1.2.2\n";
    return SharedPki().Issue("server", request);
  }();
  return der;
}

TEST(CertDecode, OpensslCertificatesMatchOpensslsReading) {
  struct Case {
    const char *name, *digest, *serial, *subject;
    int bits;
  };
  for (const Case& c : {Case{"rsa1024", "sha1", "7", "/CN=small", 1024},
                        Case{"rsa4096", "sha512", "0x7fffffffffffffffffffffffffffffffffffffff", "/O=Big/CN=big", 4096},
                        Case{"sha384", "sha384", "0x80", "/C=DE/O=Example GmbH/CN=de.example", 2048},
                        Case{"multi", "sha256", "0x0100", "/O=Example/OU=a+CN=b", 2048}}) {
    SCOPED_TRACE(c.name);
    CertRequest request;
    request.keyBits = c.bits;
    request.digest = c.digest;
    request.serial = c.serial;
    request.subject = c.subject;
    request.extensions = "subjectKeyIdentifier=hash\n";
    ExpectMatchesOpenssl(SharedPki().Issue(c.name, request));
  }
  ExpectMatchesOpenssl(ServerCert());
  ExpectMatchesOpenssl(SharedPki().CaDer());
}

TEST(CertDecode, ServerCertificateFields) {
  auto cert = Decode(ServerCert());
  ASSERT_EQ(1, cert->OK());
  EXPECT_EQ(3, cert->Version());
  int serial = 0;
  EXPECT_EQ(0, cert->SerialNum(serial));
  EXPECT_EQ(0x1001, serial);
  EXPECT_EQ(nullptr, cert->UnhandledCritExt());
  EXPECT_EQ(2, cert->AltNames()->Count());
  EXPECT_EQ(1, cert->DistPoints()->Count());
  EXPECT_EQ(1, cert->IsCritical(&obASN_id_ce_keyUsage));
  EXPECT_EQ(0, cert->IsCritical(&obASN_id_ce_subjectAltName));
  EXPECT_TRUE(cert->SubjectKeyId() && cert->AuthorityKeyId() && cert->AuthInfoAccess() && cert->ExtKeyUsage());
  EXPECT_EQ(nullptr, cert->GetExt(&obASN_id_ce_certificatePolicies));  // not handled: dropped
  EXPECT_EQ(1, cert->HasKeyUsage(obKU_keyEncipherment));
  EXPECT_EQ(0, cert->HasKeyUsage(obKU_keyCertSign));

  obPubKey* key = cert->PubKey();
  ASSERT_NE(nullptr, key);
  EXPECT_EQ(key, cert->PubKey());
  Bytes pem = ReadBytes(SharedPki().dir() + "/server.key");
  obPubKey* expected = obImportRSAKeyPEM(reinterpret_cast<const char*>(pem.data()), static_cast<unsigned>(pem.size()));
  EXPECT_EQ(1, obPubKey_Equal(key, expected));
  obFreePubKey(expected);
}

// Shapes the openssl tool does not make, built by editing and re-signing.
TEST(CertDecode, HandShapedCertificates) {
  auto resign = [](const std::function<void(obASN_TBSCertificate&)>& edit) {
    return Resign(ServerCert(), [&](obASN_Certificate& c) { edit(c.tbsCertificate); }, SharedPki().CaKey());
  };
  Bytes v1 = resign([](obASN_TBSCertificate& t) {
    t.version.reset();
    t.extensions.reset();
  });
  auto plain = Decode(v1);
  EXPECT_EQ(1, plain->Version());
  ASSERT_EQ(nullptr, plain->KeyUsage());  // no key usage allows every usage
  for (int usage = obKU_digitalSignature; usage <= obKU_decipherOnly; ++usage)
    EXPECT_EQ(1, plain->HasKeyUsage(static_cast<obKeyUsageType>(usage)));
  ExpectMatchesOpenssl(v1);

  int serial = 0;
  EXPECT_EQ(0, Decode(resign([](obASN_TBSCertificate& t) { t.serialNumber.Set(-5); }))->SerialNum(serial));
  EXPECT_EQ(-5, serial);

  static const unsigned char kLong[20] = {0x7f, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19};
  Bytes longSerial = resign([](obASN_TBSCertificate& t) { t.serialNumber.SetBytes(kLong, 20); });
  auto withLong = Decode(longSerial);
  EXPECT_EQ(-1, withLong->SerialNum(serial));
  EXPECT_EQ(20u, withLong->SerialNum()->BytesLen());
  ExpectMatchesOpenssl(longSerial);

  Bytes late = resign([](obASN_TBSCertificate& t) { t.validity.notAfter.Select_generalTime().Set("20510101000000Z"); });
  EXPECT_EQ(2556144000L, Decode(late)->notAfter());
  ExpectMatchesOpenssl(late);

  auto anonymous = Decode(resign([](obASN_TBSCertificate& t) {
    t.subject = obASN_Name();
    t.subject.Select_rdnSequence();
  }));
  ASSERT_EQ(1, anonymous->OK());
  EXPECT_EQ(0, anonymous->Subject()->Count());
  EXPECT_EQ(2, anonymous->AltNames()->Count());

  // An unknown critical extension in the middle stops the processing there.
  auto cert = Decode(resign([](obASN_TBSCertificate& t) {
    obASN_Extension unknown;
    unknown.extnID = obAsnOid("1.2.3.4.5");
    unknown.critical.emplace().Set(true);
    unknown.extnValue.Set(reinterpret_cast<const unsigned char*>("\x05\x00"), 2);
    t.extensions->items.insert(t.extensions->items.begin() + 2, unknown);
  }));
  ASSERT_EQ(1, cert->OK());
  ASSERT_NE(nullptr, cert->UnhandledCritExt());
  EXPECT_EQ(obAsnOid("1.2.3.4.5"), *cert->UnhandledCritExt());
  EXPECT_NE(nullptr, cert->KeyUsage());
  EXPECT_EQ(nullptr, cert->AltNames());  // after the unknown one
  EXPECT_NE(std::string::npos, Printed(*cert, obCertHerror_Details).find("Unhandled critical extension 1.2.3.4.5"));
}

TEST(CertDecode, KeyErrors) {
  auto keyAlg = [](const char* oid) {
    return [oid](obASN_Certificate& c) { c.tbsCertificate.subjectPublicKeyInfo.algorithm.algorithm = obAsnOid(oid); };
  };
  struct Case {
    std::function<void(obASN_Certificate&)> edit;
    const char* error;
  };
  for (const Case& c : {
           Case{keyAlg("1.2.840.10040.4.1"), "DSA key not supported"},
           Case{keyAlg("1.2.840.10045.2.1"), "EC key without named curve"},  // NULL parameters
           Case{keyAlg("1.3.101.110"), "Not RSA key"},                        // X25519
           Case{keyAlg("1.3.101.112"), "Ed25519 key with parameters"},
           Case{keyAlg("1.3.14.3.2.29"), nullptr},  // an old CA's name for an RSA key
           Case{[](obASN_Certificate& c) {
                  static const unsigned char kEven[] = {0x30, 0x08, 0x02, 0x03, 0x00, 0x80, 0x02, 0x02, 0x01, 0x01};
                  c.tbsCertificate.subjectPublicKeyInfo.subjectPublicKey.Set(kEven, sizeof kEven * 8);
                },
                "Error decoding key"},
       }) {
    auto cert = Decode(Resign(ServerCert(), c.edit, SharedPki().CaKey()));
    EXPECT_EQ(c.error ? 0 : 1, cert->OK());
    if (c.error) {
      EXPECT_STREQ(c.error, cert->Error());
    }
  }
}

TEST(CertDecode, MalformedInputFailsCleanly) {
  Bytes der = ServerCert();
  EXPECT_EQ(nullptr, obCert_Decode(der.data(), 0));
  EXPECT_EQ(nullptr, obCert_Decode(nullptr, 10));
  for (size_t len = 1; len < der.size(); len += (len < 64 ? 1 : 37)) {
    auto cert = Decode(Bytes(der.begin(), der.begin() + static_cast<long>(len)));
    EXPECT_EQ(0, cert->OK()) << len;
    EXPECT_STREQ("Error Decoding", cert->Error());
  }
  Bytes trailing = der;
  trailing.push_back(0);
  DiagCapture capture;
  EXPECT_EQ(0, Decode(trailing)->OK());
  EXPECT_TRUE(capture.Saw("obASN_DecodeBuf not all the buffer was decoded"));

  // Any single flipped octet: decodes or fails, and prints either way.
  for (size_t i = 0; i < der.size(); i += 3) {
    Bytes flipped = der;
    flipped[i] ^= 0xA5;
    EXPECT_FALSE(Printed(*Decode(flipped), obCertHerror_All).empty());
  }
}

TEST(CertCompare, EqualityIsByOctets) {
  Bytes der = ServerCert();
  // The same certificate with its outer length in a longer form.
  Bytes longForm = {0x30, 0x83, 0x00};
  longForm.insert(longForm.end(), der.begin() + 2, der.end());
  auto a = Decode(der), b = Decode(der), c = Decode(longForm);
  ASSERT_EQ(1, c->OK());
  EXPECT_EQ(1, *a == *b);
  EXPECT_EQ(0, *a == *c);
}

TEST(CertPrint, DetailLevels) {
  auto cert = Decode(ServerCert());
  std::string names = Printed(*cert, obCertHerror_Names);
  EXPECT_EQ("Issuer: CN=Example Test CA,O=Example Trust,C=US\n"
            "Subject: CN=www.example.com,O=Example Inc,L=San Francisco,ST=California,C=US\n",
            names);
  std::string details = Printed(*cert, obCertHerror_Details);
  EXPECT_EQ(0u, details.find("X509 Certificate Version 3\nSerial Number: 4097\nIssuer: "));
  EXPECT_NE(std::string::npos, details.find("\nNot valid before: "));
  EXPECT_NE(std::string::npos, details.find(" Local Time\nNot valid after:  "));
  EXPECT_NE(std::string::npos, details.find("Subject Alternate names"));
  EXPECT_EQ(0u, Printed(*cert, obCertHerror_Names, 2).find("\t\tIssuer: "));
  EXPECT_EQ("Error: Error Decoding\n", Printed(*Decode(Bytes{0x30, 0x00}), obCertHerror_All));
  EXPECT_EQ(names, ::Printed([&](FILE* f) { cert->Fprint(f, obCertHerror_Names, 0); }));
}

TEST(CertList, LookupEncodingAndCApi) {
  const Bytes& ca = SharedPki().CaDer();
  Bytes server = ServerCert();
  obCerts certs;
  certs.Add(obCert_Decode(server.data(), static_cast<int>(server.size())));
  certs.Add(obCert_Decode(ca.data(), static_cast<int>(ca.size())));
  certs.Add(obCert_Decode(ca.data(), static_cast<int>(ca.size())));
  EXPECT_EQ(certs.Get(1), certs.GetBySubjectDN(*certs.Get(2)->Subject()));
  EXPECT_EQ(nullptr, certs.GetBySubjectDN(obDN("CN=nobody")));

  int len = obCerts_2buf(&certs, nullptr, 0);
  Bytes buf(static_cast<size_t>(len));
  EXPECT_EQ(len, obCerts_2buf(&certs, buf.data(), len));
  EXPECT_EQ(-1, obCerts_2buf(&certs, buf.data(), len - 1));
  EXPECT_EQ(-1, obCerts_2buf(nullptr, buf.data(), len));
  obCerts* back = obCerts_buf2Certs(buf.data(), len);
  ASSERT_NE(nullptr, back);
  ASSERT_EQ(3, back->Count());
  for (int i = 0; i < 3; ++i) EXPECT_EQ(1, *back->Get(i) == *certs.Get(i));
  obCerts_Free(back);
  EXPECT_EQ(nullptr, obCerts_buf2Certs(buf.data(), len - 1));

  certs.Del(1);  // encoding stops at the first hole
  EXPECT_EQ(static_cast<int>(server.size()) + 4, obCerts_2buf(&certs, nullptr, 0));

  char* names = obCert_CertNamesToStr(certs.Get(0));
  EXPECT_STREQ("Subject: CN=www.example.com,O=Example Inc,L=San Francisco,ST=California,C=US, "
               "Issuer: CN=Example Test CA,O=Example Trust,C=US",
               names);
  delete[] names;
  ObStream listed;
  certs.Sprint(&listed, "Chain", obCertHerror_Names, 0);
  EXPECT_EQ(0u, listed.str().find("Chain: 2 certificates\nIssuer: "));
  obCerts_ClearAll(&certs);
  EXPECT_EQ(0, certs.Count());
}

// Certificates as writers send them, edited in place from what the openssl
// tool made and signed again, so the signature covers the octets as they stand.
Bytes CaCertificate(const std::string& name, const std::string& keyUsage) {
  CertRequest request;
  request.subject = "/C=US/O=Example Trust/CN=" + name;
  request.extensions = "basicConstraints=critical,CA:TRUE\nkeyUsage=" + keyUsage + "\n";
  return SharedPki().Issue(name, request);
}

// A critical flag of 0x01, a cA of 0x01, a keyUsage whose pad bit is set:
// read as BER reads them, verified, printed, and answered as openssl does.
TEST(CertBerForms, NonZeroBooleansAndPadBitsReadAsWritten) {
  Bytes der = ResignOctets(CaCertificate("ber-flags", "critical,keyCertSign,cRLSign"),
                           [](Bytes& tbs) {
                             ReplaceOnce(tbs, Hex("55 1D 13 01 01 FF 04 05 30 03 01 01 FF"),
                                         Hex("55 1D 13 01 01 01 04 05 30 03 01 01 01"));
                             ReplaceOnce(tbs, Hex("55 1D 0F 01 01 FF 04 04 03 02 01 06"),
                                         Hex("55 1D 0F 01 01 01 04 04 03 02 01 07"));
                           },
                           SharedPki().CaKey());
  auto cert = Decode(der);
  ASSERT_EQ(1, cert->OK()) << cert->Error().getstr();
  EXPECT_EQ(obVfy_OK, cert->VerifySig(SharedPki().CaKey()));
  EXPECT_EQ(nullptr, cert->UnhandledCritExt());
  EXPECT_EQ(1, cert->IsCritical(&obASN_id_ce_basicConstraints));
  EXPECT_EQ(1, cert->IsCritical(&obASN_id_ce_keyUsage));
  ASSERT_NE(nullptr, cert->GetBasicConstraint());
  EXPECT_EQ(1, cert->GetBasicConstraint()->IsCA());
  ASSERT_NE(nullptr, cert->KeyUsage());
  EXPECT_EQ((1u << obKU_keyCertSign) | (1u << obKU_cRLSign), cert->KeyUsage()->KeyUsageBits());
  EXPECT_EQ(0, cert->HasKeyUsage(obKU_digitalSignature));

  std::string openssl = SharedPki().X509Output(der, "-noout -ext basicConstraints,keyUsage");
  EXPECT_NE(std::string::npos, openssl.find("Basic Constraints: critical\n    CA:TRUE")) << openssl;
  EXPECT_NE(std::string::npos, openssl.find("Key Usage: critical\n    Certificate Sign, CRL Sign\n")) << openssl;
  std::string printed = Printed(*cert, obCertHerror_All);
  EXPECT_NE(std::string::npos, printed.find("is CA")) << printed;
  EXPECT_NE(std::string::npos, printed.find("keyCertSign\n")) << printed;
  EXPECT_NE(std::string::npos, printed.find("cRLSign\n")) << printed;
  EXPECT_EQ(std::string::npos, printed.find("digitalSignature")) << printed;
}

// A keyUsage that cannot be read restricts the key to nothing; unread it would
// have allowed every usage.
TEST(CertBerForms, UnreadableKeyUsageAllowsNothing) {
  Bytes der = ResignOctets(CaCertificate("bad-usage", "keyCertSign,cRLSign"),
                           [](Bytes& tbs) {
                             ReplaceOnce(tbs, Hex("55 1D 0F 04 04 03 02 01 06"), Hex("55 1D 0F 04 04 03 02 08 06"));
                           },
                           SharedPki().CaKey());
  auto cert = Decode(der);
  ASSERT_EQ(1, cert->OK()) << cert->Error().getstr();
  EXPECT_EQ(obVfy_OK, cert->VerifySig(SharedPki().CaKey()));
  for (int usage = obKU_digitalSignature; usage <= obKU_decipherOnly; ++usage)
    EXPECT_EQ(0, cert->HasKeyUsage(static_cast<obKeyUsageType>(usage))) << usage;
}

// The TBSCertificate with its subject Name in the indefinite-length form.
void SubjectIndefinite(Bytes& tbs) {
  obDerReader outer(tbs.data(), tbs.size());
  obDerSpan body;
  ASSERT_TRUE(outer.Read(kDerSequence, body));
  obDerReader fields(body);
  Bytes content;
  obDerElement field;
  for (int i = 0; fields.Next(field); ++i) {
    if (i != 5) {
      content.insert(content.end(), field.tlv.data, field.tlv.data + field.tlv.size);
      continue;
    }
    content.insert(content.end(), {0x30, 0x80});
    content.insert(content.end(), field.content.data, field.content.data + field.content.size);
    content.insert(content.end(), {0x00, 0x00});
  }
  tbs = Tlv(0x30, content);
}

// A Latin-1 octet in a UTF8String and a name of indefinite length: both
// decode and verify over the octets as sent, and the odd octet prints escaped.
TEST(CertBerForms, NamesKeptAsSent) {
  Bytes latin = ResignOctets(CaCertificate("latin-x", "keyCertSign"),
                             [](Bytes& tbs) {
                               ReplaceOnce(tbs, Hex("0C 07 6C 61 74 69 6E 2D 78"), Hex("0C 07 6C 61 74 69 6E 2D E9"));
                             },
                             SharedPki().CaKey());
  auto cert = Decode(latin);
  ASSERT_EQ(1, cert->OK()) << cert->Error().getstr();
  EXPECT_EQ(obVfy_OK, cert->VerifySig(SharedPki().CaKey()));
  EXPECT_STREQ("CN=latin-\\e9,O=Example Trust,C=US", cert->Subject()->GetStr());
  EXPECT_NE(std::string::npos, Printed(*cert, obCertHerror_All).find("CN=latin-\\e9,")) << Printed(*cert, obCertHerror_All);
  EXPECT_FALSE(cert->Subject()->Equal(obDN("CN=latin-x,O=Example Trust,C=US")));

  Bytes indefinite = ResignOctets(CaCertificate("indefinite", "keyCertSign"), SubjectIndefinite, SharedPki().CaKey());
  auto bent = Decode(indefinite);
  ASSERT_EQ(1, bent->OK()) << bent->Error().getstr();
  EXPECT_EQ(obVfy_OK, bent->VerifySig(SharedPki().CaKey()));
  EXPECT_STREQ("CN=indefinite,O=Example Trust,C=US", bent->Subject()->GetStr());
  EXPECT_TRUE(bent->Subject()->Equal(obDN("CN=indefinite,O=Example Trust,C=US")));
  EXPECT_EQ(1, bent->GetBasicConstraint()->IsCA());
  EXPECT_EQ(0, bent->HasKeyUsage(obKU_digitalSignature));
}

// A version past v3 is read as a number and refused after the structure;
// an extension list broken after an unhandled critical entry fails whole.
TEST(CertBerForms, StructureReadBeforeItIsJudged) {
  Bytes v4 = ResignOctets(CaCertificate("v4", "keyCertSign"),
                          [](Bytes& tbs) { ReplaceOnce(tbs, Hex("A0 03 02 01 02"), Hex("A0 03 02 01 03")); },
                          SharedPki().CaKey());
  auto future = Decode(v4);
  EXPECT_EQ(0, future->OK());
  EXPECT_STREQ("Unsupported version", future->Error());

  Bytes broken = ResignOctets(CaCertificate("broken-tail", "critical,keyCertSign"),
                              [](Bytes& tbs) {
                                ReplaceOnce(tbs, Hex("06 03 55 1D 13 01 01 FF"), Hex("06 03 55 1D 7F 01 01 FF"));
                                ReplaceOnce(tbs, Hex("06 03 55 1D 0F 01 01 FF"), Hex("07 03 55 1D 0F 01 01 FF"));
                              },
                              SharedPki().CaKey());
  auto cert = Decode(broken);
  EXPECT_EQ(0, cert->OK());
  EXPECT_STREQ("Error Decoding", cert->Error());
}

TEST(CertThreadStress, PubKeyIsMadeOnce) {
  auto cert = Decode(ServerCert());
  obPKobj::UseMutex();
  std::atomic<obPubKey*> seen[4] = {};
  std::vector<std::thread> threads;
  for (auto& slot : seen) threads.emplace_back([&] { slot = cert->PubKey(); });
  for (auto& t : threads) t.join();
  for (auto& slot : seen) EXPECT_EQ(seen[0].load(), slot.load());
}

// Extensions are made when first asked for; threads that ask at once all get
// the one object that was published.
TEST(CertThreadStress, ExtensionsAreMadeOnce) {
  auto cert = Decode(ServerCert());
  ASSERT_TRUE(cert->OK());
  std::atomic<obExtension*> seen[4] = {};
  std::vector<std::thread> threads;
  for (auto& slot : seen)
    threads.emplace_back([&] {
      for (int i = 0; i < cert->Extensions().Count(); ++i) cert->Extensions().At(i);
      slot = cert->GetExt(&obASN_id_ce_subjectAltName);
    });
  for (auto& t : threads) t.join();
  ASSERT_NE(nullptr, seen[0].load());
  for (auto& slot : seen) EXPECT_EQ(seen[0].load(), slot.load());
}

obPubKey* RefuseEveryKey(void*, obPK_Format, const void*, int) { return nullptr; }

// A key that cannot be made marks the shared certificate once; every thread
// sees the failure and the same message.
TEST(CertThreadStress, FailingKeyMarksTheCertificateOnce) {
  auto cert = Decode(ServerCert());
  obSetImportRSAKey_func(RefuseEveryKey, nullptr);
  std::atomic<int> keys{0}, failed{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&] {
      if (cert->PubKey()) ++keys;
      if (!cert->OK() && std::string(cert->Error().getstr()) == "Error decoding key") ++failed;
    });
  for (auto& t : threads) t.join();
  obSetImportRSAKey_func(nullptr, nullptr);
  EXPECT_EQ(0, keys.load());
  EXPECT_EQ(4, failed.load());
  EXPECT_EQ(nullptr, cert->PubKey());
}

}  // namespace
