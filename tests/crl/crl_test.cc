// CRL objects: decoding, serial look-ups, issuing distribution points, use
// marks, printing, and CRLs made by the openssl tool.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_int.h"
#include "nycert/certs/ext_gn.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/issuing_dp.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/hash_table.h"
#include "nycert/platform/obstream.h"
#include "support/cert_pki.h"

namespace {

// A CRL with the protected table and entry look-ups opened up.
class CrlProbe : public obCRL {
 public:
  using obCRL::GetEntry;
  using obCRL::GetTable;
  using obCRL::obCRL;
};
using CrlPtr = SignedPtr<CrlProbe>;
using CertPtr = SignedPtr<obCert>;

CrlPtr Crl(const Bytes& der) { return Decoded<CrlProbe>(der); }
CertPtr Cert(const Bytes& der) { return Decoded<obCert>(der); }

CertPtr Issue(const std::string& name, const std::string& serial, const std::string& extensions = "") {
  CertRequest request;
  request.serial = serial;
  request.extensions = extensions;
  return Cert(SharedPki().Issue(name, request));
}

const long kRevoked = 1700000000;  // 2023-11-14 22:13:20 UTC
const Bytes kRevokedTime = Tlv(0x17, Text("231114221320Z"));
const char kUri[] = "http://crl.example.com/ca.crl";

// An unsigned CRL of the shared CA written octet by octet, for encodings
// the codecs will not produce: redundant serial octets, negative serials of
// any length, an empty revoked list.
Bytes HandCrl(const std::vector<Bytes>& serials) {
  obASN_Certificate ca;
  EXPECT_EQ(0, obAsnDecode(ca, SharedPki().CaDer().data(), SharedPki().CaDer().size()));
  nyBinBuf subject;
  EXPECT_EQ(0, obAsnEncode(ca.tbsCertificate.subject, subject));
  Bytes entries;
  for (const Bytes& serial : serials) entries = Cat({entries, Tlv(0x30, Cat({Tlv(0x02, serial), kRevokedTime}))});
  Bytes algorithm = Tlv(0x30, Hex("06 09 2A 86 48 86 F7 0D 01 01 0B 05 00"));
  Bytes tbs = Tlv(0x30, Cat({Hex("02 01 01"), algorithm, Bytes(subject.Data(), subject.Data() + subject.Len()),
                             kRevokedTime, Tlv(0x30, entries)}));
  return Tlv(0x30, Cat({tbs, algorithm, Hex("03 02 00 00")}));
}

std::vector<RevokedEntry> Revoked(const std::vector<int64_t>& serials) {
  std::vector<RevokedEntry> out;
  long when = kRevoked;
  for (int64_t serial : serials) out.push_back(RevokedEntry{SerialOctets(serial), when += 60, -1});
  return out;
}

// A CRL of the shared CA with one issuing distribution point of kind, or none for kind -1.
Bytes CrlWithIdp(int kind, const char* uri = kUri) {
  CrlOptions options;
  if (kind < 0) return MakeCrl(SharedPki(), {}, options);
  obGeneralNames names;
  if (uri) names.Add(new obGeneralName(obGN_uniformResourceIdentifier, uri, static_cast<int>(std::strlen(uri))));
  std::unique_ptr<obIssuingDP> dp(obIssuingDP_new(obCRL_contents(kind), uri ? &names : nullptr));
  obAsnBytes value;
  EXPECT_EQ(0, dp->EncodeValue(value));
  options.extensions = {{"2.5.29.28", true, Bytes(value.data(), value.data() + value.size())}};
  return MakeCrl(SharedPki(), {}, options);
}

std::string PrintedCrl(const obCRL& crl, obCertHerrorDetails details) {
  ObStream text;
  crl.Sprint(&text, details, 1);
  return text.c_str();
}

TEST(CrlDecode, FieldsEntriesAndUpdateTimes) {
  const std::vector<int64_t> serials = {0x1001, 0x80, 0, -5, -129, 0x7FFFFFFF, INT32_MIN};
  std::vector<RevokedEntry> revoked = Revoked(serials);
  revoked[0].reason = 1;
  Bytes der = MakeCrl(SharedPki(), revoked);
  DiagCapture diag;
  CrlPtr crl = Crl(der);
  ASSERT_TRUE(crl->OK()) << crl->Error().getstr();
  EXPECT_TRUE(diag.Saw("obCRL::obCRL - 7 revoked"));
  EXPECT_EQ(7, crl->GetSize());
  EXPECT_STREQ("CN=Example Test CA,O=Example Trust,C=US", crl->Issuer()->GetStr());
  EXPECT_EQ(1700000000, crl->thisUpdate());
  EXPECT_EQ(1700000000 + 7 * 86400, crl->nextUpdate());
  EXPECT_EQ(nullptr, crl->UnhandledCritExt());
  EXPECT_EQ(obCRL_AllCerts, crl->Type());
  EXPECT_EQ(nullptr, crl->DistPoints());
  for (size_t i = 0; i < revoked.size(); ++i) {
    int serial = static_cast<int>(serials[i]);
    long when = 0;
    EXPECT_EQ(1, crl->IsEntryExist(serial)) << serial;
    EXPECT_EQ(0, crl->revDate(serial, &when));
    EXPECT_EQ(revoked[i].revoked, when);
  }
  for (int absent : {0x1002, -0x80, 1, -1, 0x100, 0x7FFFFFFE}) EXPECT_EQ(0, crl->IsEntryExist(absent)) << absent;
  long untouched = 42;
  EXPECT_EQ(-1, crl->revDate(0x1002, &untouched));
  EXPECT_EQ(42, untouched);
  EXPECT_EQ(obVfy_OK, crl->VerifySig(SharedPki().CaKey()));
}

TEST(CrlDecode, TableIsKeyedByShortestSerialAndReadThroughGetEntry) {
  CrlPtr crl = Crl(MakeCrl(SharedPki(), Revoked({0x1001, 0xABCDEF0123})));
  ASSERT_TRUE(crl->OK());
  EXPECT_EQ(2u, hash_count(crl->GetTable()));
  obAsnInt small(0x1001), large, other(0x1002);
  large.SetBytes(Hex("AB CD EF 01 23").data(), 5);
  ASSERT_NE(nullptr, crl->GetEntry(&small));
  EXPECT_EQ("10 01", ToHex(crl->GetEntry(&small)->Serial().data, crl->GetEntry(&small)->Serial().size));
  ASSERT_NE(nullptr, crl->GetEntry(&large));
  EXPECT_EQ("00 AB CD EF 01 23", ToHex(crl->GetEntry(&large)->Serial().data, crl->GetEntry(&large)->Serial().size));
  EXPECT_EQ(nullptr, crl->GetEntry(&other));
  EXPECT_EQ(nullptr, crl->GetEntry(static_cast<const obAsnInt*>(nullptr)));
  const Bytes redundant = Hex("00 00 10 01");
  EXPECT_NE(nullptr, crl->GetEntry(obDerSpan{redundant.data(), redundant.size()}));
}

TEST(CrlDecode, NoRevokedCertificatesAnswersNothing) {
  CertPtr ca = Cert(SharedPki().CaDer());
  for (const Bytes& der : {MakeCrl(SharedPki(), {}), HandCrl({})}) {  // no list, an empty list
    DiagCapture diag;
    CrlPtr crl = Crl(der);
    ASSERT_TRUE(crl->OK());
    EXPECT_TRUE(diag.Saw("obCRL::obCRL no revoked certificates"));
    EXPECT_EQ(0, crl->GetSize());
    EXPECT_EQ(nullptr, crl->GetTable());
    long when = 0;
    EXPECT_EQ(0, crl->IsEntryExist(0));
    EXPECT_EQ(-1, crl->revDate(0x1001, &when));
    EXPECT_EQ(0, crl->IsEntryExist(ca.get()));
    EXPECT_EQ(0, crl->IsEntryExist(static_cast<const obCert*>(nullptr)));
    EXPECT_EQ(-1, crl->revDate(ca.get(), &when));
  }
}

TEST(CrlDecode, SerialsOfEveryLengthAndSignAreFoundByCertificate) {
  struct Case {
    const char* name;
    const char* serial;  // as the openssl tool takes it
    Bytes listed;        // the content the hand-made CRL lists it under
    int asInt;           // its value when it fits 32 bits, else 0
  } cases[] = {
      {"s_small", "0x1001", Hex("00 00 10 01"), 0x1001},  // redundant leading octets in the CRL
      {"s_top_bit", "0x80", Hex("00 80"), 0x80},
      {"s_negative", "-5", Hex("FF FF FB"), -5},
      {"s_20byte", "0x80112233445566778899AABBCCDDEEFF00112233",
       Hex("00 80 11 22 33 44 55 66 77 88 99 AA BB CC DD EE FF 00 11 22 33"), 0},
      {"s_neg40", "-0x123456789A", Hex("ED CB A9 87 66"), 0},
  };
  std::vector<Bytes> listed;
  for (const Case& c : cases) listed.push_back(c.listed);
  CrlPtr crl = Crl(HandCrl(listed));
  ASSERT_TRUE(crl->OK());
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CertPtr cert = Issue(c.name, c.serial);
    ASSERT_TRUE(cert->OK());
    long when = 0;
    EXPECT_EQ(1, crl->IsEntryExist(cert.get()));
    EXPECT_EQ(0, crl->revDate(cert.get(), &when));
    EXPECT_EQ(kRevoked, when);
    EXPECT_TRUE(c.asInt == 0 || crl->IsEntryExist(c.asInt) == 1);
  }
  EXPECT_EQ(0, crl->IsEntryExist(Issue("s_unlisted", "0x123456789ABCDEF1").get()));
  EXPECT_EQ(0, crl->IsEntryExist(0x12));  // a suffix of a listed serial is not that serial
}

TEST(CrlUse, MarksCountAndClear) {
  CrlPtr crl = Crl(MakeCrl(SharedPki(), {}));
  long before = static_cast<long>(std::time(nullptr));
  crl->SetUsed();
  crl->SetUsed();
  EXPECT_EQ(2, crl->GetUsed());
  EXPECT_GE(crl->LastUsed(), before);
  crl->UnSetUsed();
  EXPECT_EQ(0, crl->GetUsed());
  EXPECT_EQ(0, crl->LastUsed());
}

TEST(CrlExtensions, HandlingOfCriticalAndUnknownExtensions) {
  const Bytes idpAll = Hex("30 00");
  struct Case {
    std::vector<CrlExtensionValue> extensions;
    const char* unhandled;  // dotted, or null
    const char* message;    // a diagnostic line expected, or null
  } cases[] = {
      {{{"2.5.29.26", true, idpAll}}, nullptr, nullptr},  // the superseded identifier is skipped
      {{{"1.2.3.4", true, Hex("05 00")}, {"2.5.29.28", true, idpAll}}, "1.2.3.4", nullptr},
      {{{"1.2.3.4", false, Hex("05 00")}, {"2.5.29.20", false, Hex("02 01 10")}}, nullptr, nullptr},
      {{{"2.5.29.28", true, Hex("30 03 84 01 FF")}}, "2.5.29.28", "obParseIssuingDP: unsupported options"},
      {{{"2.5.29.28", true, Hex("30 0D A0 0B A1 09 31 07 30 05 06 03 55 04 03")}}, "2.5.29.28",
       "obParseIssuingDP: unsupported options"},  // a name relative to the issuer
      {{{"2.5.29.28", true, Hex("30 04 81 02 FF FF")}}, "2.5.29.28",  // a BOOLEAN of two octets
       "obIssuingDP::Handle: malformed issuingDistributionPoint"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.extensions[0].oid);
    CrlOptions options;
    options.extensions = c.extensions;
    DiagCapture diag;
    CrlPtr crl = Crl(MakeCrl(SharedPki(), {}, options));
    EXPECT_TRUE(crl->OK());
    const obAsnOid* unhandled = crl->UnhandledCritExt();
    EXPECT_STREQ(c.unhandled ? c.unhandled : "", unhandled ? unhandled->Dotted().getstr() : "");
    EXPECT_TRUE(!c.message || diag.Saw(c.message)) << c.message;
  }
}

TEST(CrlExtensions, IssuingDistributionPointRoundTrips) {
  for (obCRL_contents kind : {obCRL_AllCerts, obCRL_ARL, obCRL_UserCerts}) {
    SCOPED_TRACE(kind);
    Bytes der = CrlWithIdp(kind);
    CrlPtr crl = Crl(der);
    ASSERT_TRUE(crl->OK());
    EXPECT_EQ(nullptr, crl->UnhandledCritExt());
    EXPECT_EQ(kind, crl->Type());
    EXPECT_EQ(1, crl->IsCritical(&obASN_id_ce_issuingDistributionPoint));
    ASSERT_NE(nullptr, crl->DistPoints());
    ASSERT_EQ(1, crl->DistPoints()->Count());

    obASN_IssuingDistributionPoint composed;
    ASSERT_EQ(0, obComposeIssuingDP(crl->IssuingDP(), composed));
    nyBinBuf value;
    ASSERT_EQ(0, obAsnEncode(composed, value));
    EXPECT_NE(der.end(), std::search(der.begin(), der.end(), value.Data(), value.Data() + value.Len()));
    std::unique_ptr<obIssuingDP> copy(crl->IssuingDP()->Clone());
    EXPECT_EQ(kind, copy->Type());
  }
  obASN_IssuingDistributionPoint unused;
  EXPECT_EQ(-1, obComposeIssuingDP(nullptr, unused));
  obIssuingDP empty(obCRL_AllCerts, nullptr);
  obAsnBytes value;
  ASSERT_EQ(0, empty.EncodeValue(value));
  EXPECT_EQ("30 00", ToHex(value.data(), value.size()));
}

TEST(CrlExtensions, DistPointMatchesByKindIssuerAndNames) {
  CertPtr eeNoDp = Issue("dp_none", "0x2001");
  CertPtr eeDp = Issue("dp_same", "0x2002", std::string("crlDistributionPoints=URI:") + kUri + "\n");
  CertPtr eeOtherDp = Issue("dp_other", "0x2003", "crlDistributionPoints=URI:http://other.example.com/x.crl\n");
  CertPtr caCert = Cert(SharedPki().CaDer());
  CertPtr foreign = Cert(Resign(SharedPki().Issue("dp_foreign", CertRequest()),
                                [](obASN_Certificate& c) { c.tbsCertificate.issuer = c.tbsCertificate.subject; },
                                SharedPki().CaKey()));
  struct Case {
    int idp;  // -1: none, else the obCRL_contents
    const char* uri;
    obCert* cert;
    int certIsCA, expected;
    const char* message;
  } cases[] = {
      {-1, nullptr, eeNoDp.get(), 0, 1, ""},
      {-1, nullptr, foreign.get(), 0, 0, "obCRL::DistPointMatches: names doesn't match"},
      {obCRL_ARL, nullptr, eeDp.get(), 0, 0, "obCRL::DistPointMatches CRL is ARL but certificate not CA"},
      {obCRL_ARL, nullptr, caCert.get(), 1, 1, ""},
      {obCRL_UserCerts, nullptr, caCert.get(), 1, 0, "obCRL::DistPointMatches CRL doesnot contains CAs"},
      {obCRL_UserCerts, nullptr, eeNoDp.get(), 0, 1, ""},
      {obCRL_AllCerts, kUri, eeDp.get(), 0, 1, ""},
      {obCRL_AllCerts, kUri, eeOtherDp.get(), 0, 0, ""},
      {obCRL_AllCerts, kUri, eeNoDp.get(), 0, 0, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(&c - cases);
    ASSERT_TRUE(c.cert->OK());
    CrlPtr crl = Crl(CrlWithIdp(c.idp, c.uri));
    ASSERT_TRUE(crl->OK());
    EXPECT_EQ(c.expected, Gated([&] { return crl->DistPointMatches(*c.cert, c.certIsCA); }, c.message));
  }
}

TEST(CrlPrint, DetailLevelsListsAndBufferHelpers) {
  CrlOptions options;
  options.extensions = {{"2.5.29.28", true, Hex("30 03 82 01 FF")}};  // an ARL
  Bytes der = MakeCrl(SharedPki(), Revoked({0x1001, -5}), options);
  CrlPtr crl = Crl(der);
  ASSERT_TRUE(crl->OK());
  EXPECT_EQ("\tIssuer: CN=Example Test CA,O=Example Trust,C=US\n", PrintedCrl(*crl, obCertHerror_Names));
  std::string details = PrintedCrl(*crl, obCertHerror_Details);
  EXPECT_EQ(0u, details.find("\tIssuer: CN=Example Test CA,O=Example Trust,C=US\n\tThis update: "));
  EXPECT_NE(std::string::npos, details.find(" Local Time\n\tNext update: "));
  EXPECT_NE(std::string::npos, details.find("\tIssuing distribution points (critical):\n\t\tIs ARL\n"));
  EXPECT_EQ(std::string::npos, details.find("Certificate #"));
  std::string all = PrintedCrl(*crl, obCertHerror_All);
  EXPECT_EQ(0u, all.find(details));
  EXPECT_NE(std::string::npos, all.find("\tCertificate #4097\n\t\tRevoked at "));
  EXPECT_NE(std::string::npos, all.find("\tCertificate #-5\n\t\tRevoked at "));

  ObStream viaBuf, broken;
  obCert_Sprint_CRLbuf(&viaBuf, der.data(), static_cast<int>(der.size()), obCertHerror_All, 1);
  EXPECT_EQ(all, viaBuf.c_str());
  EXPECT_EQ(all, Printed([&](FILE* f) {
              obCert_Fprint_CRLbuf(f, der.data(), static_cast<int>(der.size()), obCertHerror_All, 1);
            }));
  obCert_Sprint_CRLbuf(&broken, der.data(), 10, obCertHerror_All, 0);
  EXPECT_STREQ("Error: Error Decoding\n", broken.c_str());

  obCRLs list;
  list.Add(new obCRL(der.data(), static_cast<unsigned>(der.size())));
  list.Add(new obCRL(der.data(), static_cast<unsigned>(der.size())));
  ObStream listed;
  list.Sprint(&listed, "CRLs", obCertHerror_Names, 0);
  EXPECT_STREQ("CRLs: 2 CRLs\nIssuer: CN=Example Test CA,O=Example Trust,C=US\n"
               "Issuer: CN=Example Test CA,O=Example Trust,C=US\n",
               listed.c_str());

  CrlPtr empty = Crl(MakeCrl(SharedPki(), {}));
  std::string none = PrintedCrl(*empty, obCertHerror_All);
  EXPECT_EQ(none.size() - strlen("\tNo revoked certificates\n"), none.find("\tNo revoked certificates\n")) << none;
}

// A listed serial never reads as unlisted: an entry whose date is not a time
// fails the whole CRL, with the reason.
TEST(CrlDecode, EntryWithInvalidDateFailsTheCrl) {
  RevokedEntry entry{SerialOctets(0x1001), 1600000000, -1};  // 200913122640Z
  Bytes der = MakeCrl(SharedPki(), {entry});
  ASSERT_TRUE(Crl(der)->OK());
  Bytes month13 = ResignOctets(
      der, [](Bytes& tbs) { ReplaceOnce(tbs, Hex("17 0D 32 30 30 39"), Hex("17 0D 32 30 31 33")); },
      SharedPki().CaKey());
  DiagCapture diag;
  CrlPtr crl = Crl(month13);
  EXPECT_FALSE(crl->OK());
  EXPECT_STREQ("Error Decoding", crl->Error().getstr());
  EXPECT_TRUE(diag.Saw("obCRL::obCRL: invalid revocation date"));
}

TEST(CrlOpenssl, ToolReadsOurCrlsAndWeReadTheTools) {
  const TestPki& pki = SharedPki();
  WriteBytes(pki.dir() + "/ours.crl", MakeCrl(pki, Revoked({0x1001, 0x123456789A})));
  std::string text = OpensslOutput(pki.dir(), "crl -inform DER -in ours.crl -CAfile ca.pem -text -noout");
  EXPECT_NE(std::string::npos, text.find("verify OK")) << text;
  EXPECT_NE(std::string::npos, text.find("Serial Number: 1001"));
  EXPECT_NE(std::string::npos, text.find("Serial Number: 123456789A"));
  EXPECT_NE(std::string::npos, text.find("Revocation Date: Nov 14 22:14:20 2023 GMT"));
  std::string dates = OpensslOutput(pki.dir(), "crl -inform DER -in ours.crl -noout -issuer -lastupdate -nextupdate");
  EXPECT_NE(std::string::npos, dates.find("issuer=C = US, O = Example Trust, CN = Example Test CA")) << dates;
  EXPECT_NE(std::string::npos, dates.find("lastUpdate=Nov 14 22:13:20 2023 GMT"));
  EXPECT_NE(std::string::npos, dates.find("nextUpdate=Nov 21 22:13:20 2023 GMT"));

  std::ofstream(pki.dir() + "/index.txt")
      << "R\t301231000000Z\t231114221320Z,keyCompromise\t1001\tunknown\t/CN=a\n"
         "R\t301231000000Z\t231115000000Z\t0123456789ABCDEF01\tunknown\t/CN=b\n"
         "V\t301231000000Z\t\t1003\tunknown\t/CN=c\n";
  std::ofstream(pki.dir() + "/crlnumber") << "10\n";
  std::ofstream(pki.dir() + "/gencrl.cnf")
      << "[ca]\ndefault_ca=d\n[d]\ndatabase=index.txt\ncrlnumber=crlnumber\ndefault_md=sha256\n"
         "default_crl_days=7\ncrl_extensions=e\n[e]\nissuingDistributionPoint=critical,@idp\n"
         "[idp]\nfullname=URI:http://crl.example.com/ca.crl\nonlyCA=TRUE\n";
  ASSERT_TRUE(Openssl(pki.dir(), "ca -config gencrl.cnf -gencrl -keyfile " + pki.CaKeyPath() +
                                     " -cert ca.pem -out tool.crl"));
  ASSERT_TRUE(Openssl(pki.dir(), "crl -in tool.crl -outform DER -out tool.der"));
  CrlPtr crl = Crl(ReadBytes(pki.dir() + "/tool.der"));
  ASSERT_TRUE(crl->OK());
  EXPECT_EQ(obVfy_OK, crl->VerifySig(pki.CaKey()));
  EXPECT_EQ(2, crl->GetSize());
  long when = 0;
  EXPECT_EQ(0, crl->revDate(0x1001, &when));
  EXPECT_EQ(1700000000, when);
  EXPECT_EQ(0, crl->IsEntryExist(0x1003));
  EXPECT_EQ(obCRL_ARL, crl->Type());
  EXPECT_EQ(nullptr, crl->UnhandledCritExt());
  ASSERT_NE(nullptr, crl->DistPoints());
  EXPECT_STREQ(kUri, crl->DistPoints()->Get(0)->GetStr());
  EXPECT_EQ(crl->nextUpdate() - crl->thisUpdate(), 7 * 86400);
  EXPECT_EQ(0, crl->DistPointMatches(*Cert(pki.CaDer()), 1));  // the CA certificate names no distribution point
}

TEST(CrlLarge, HundredThousandEntriesDecodeAndAnswer) {
  std::vector<RevokedEntry> revoked;
  for (int64_t i = 0; i < 100000; ++i)
    revoked.push_back(RevokedEntry{SerialOctets(0x10000000 + i * 7), kRevoked + i, -1});
  CrlPtr crl = Crl(MakeCrl(SharedPki(), revoked));
  ASSERT_TRUE(crl->OK());
  EXPECT_EQ(100000, crl->GetSize());
  long when = 0;
  EXPECT_EQ(1, crl->IsEntryExist(0x10000000));
  EXPECT_EQ(0, crl->revDate(0x10000000 + 99999 * 7, &when));
  EXPECT_EQ(kRevoked + 99999, when);
  EXPECT_EQ(0, crl->IsEntryExist(0x10000001));
  EXPECT_EQ(0, crl->IsEntryExist(0x10000000 + 100000 * 7));
  HashStats stats;
  hash_stats(crl->GetTable(), &stats);
  EXPECT_EQ(100000u, stats.count);
  EXPECT_LT(stats.mean_probes, 2.0);
}

TEST(CrlHostile, TruncatedAndFlippedInputNeverCrashes) {
  CrlOptions options;
  options.extensions = {{"2.5.29.28", true, Tlv(0x30, Cat({Tlv(0xA0, Tlv(0xA0, Tlv(0x86, Text(kUri)))), Hex("81 01 FF")}))},
                        {"2.5.29.20", false, Hex("02 01 10")}};
  std::vector<RevokedEntry> revoked = Revoked({0x1001, 0x123456789A, -5});
  revoked[1].reason = 4;
  Bytes der = MakeCrl(SharedPki(), revoked, options);
  CertPtr ca = Cert(SharedPki().CaDer());
  auto exercise = [&](const Bytes& input) {
    CrlPtr crl = Crl(input);
    ObStream text;
    for (int d = obCertHerror_Names; d <= obCertHerror_All; ++d) crl->Sprint(&text, obCertHerrorDetails(d), 0);
    long when = 0;
    crl->revDate(0x1001, &when);
    crl->IsEntryExist(ca.get());
    crl->DistPointMatches(*ca, 0);
    return crl->OK();
  };
  ASSERT_TRUE(exercise(der));
  for (size_t n = 0; n < der.size(); ++n) EXPECT_FALSE(exercise(Bytes(der.begin(), der.begin() + n))) << n;
  Bytes trailing = der;
  trailing.push_back(0);
  EXPECT_FALSE(exercise(trailing));
  for (size_t i = 0; i < der.size(); ++i) {
    for (unsigned char mask : {0x01, 0x80, 0xFF}) {
      Bytes flipped = der;
      flipped[i] ^= mask;
      exercise(flipped);
    }
  }
}

}  // namespace
