// Certificate extensions: processing, the typed extensions, printing,
// composing, and extensions written by the openssl tool.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/certs/authority_info_access.h"
#include "nycert/certs/basic_constraint.h"
#include "nycert/certs/ext_gn.h"
#include "nycert/certs/ext_key_id.h"
#include "nycert/certs/ext_key_usage.h"
#include "nycert/certs/extensions_list.h"
#include "nycert/certs/key_usage.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keys/rsa_import.h"
#include "nycert/platform/obstream.h"
#include "support/test_support.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Tlv(unsigned char tag, const Bytes& content) {
  Bytes out{tag};
  size_t n = content.size();
  if (n < 0x80) {
    out.push_back(static_cast<unsigned char>(n));
  } else {
    out.push_back(n < 0x100 ? 0x81 : 0x82);
    if (n >= 0x100) out.push_back(static_cast<unsigned char>(n >> 8));
    out.push_back(static_cast<unsigned char>(n));
  }
  out.insert(out.end(), content.begin(), content.end());
  return out;
}
Bytes Text(const std::string& s) { return Bytes(s.begin(), s.end()); }
Bytes Cat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}
Bytes Seq(std::initializer_list<Bytes> parts) { return Tlv(0x30, Cat(parts)); }
Bytes Oid(const char* dotted) {
  obAsnOid oid(dotted);
  return Tlv(0x06, Bytes(oid.data(), oid.data() + oid.size()));
}
Bytes Ext(const char* oid, bool critical, const Bytes& value) {
  return Seq({Oid(oid), critical ? Hex("01 01 FF") : Bytes(), Tlv(0x04, value)});
}
Bytes Uri(const std::string& s) { return Tlv(0x86, Text(s)); }
Bytes Access(const char* method, const std::string& url) { return Seq({Oid(method), Uri(url)}); }
Bytes Point(const Bytes& fullName) { return Seq({Tlv(0xA0, Tlv(0xA0, fullName))}); }

const char kBC[] = "2.5.29.19", kKU[] = "2.5.29.15", kEKU[] = "2.5.29.37", kSAN[] = "2.5.29.17", kSKI[] = "2.5.29.14",
           kAKI[] = "2.5.29.35", kCRLDP[] = "2.5.29.31", kAIA[] = "1.3.6.1.5.5.7.1.1", kPolicies[] = "2.5.29.32",
           kOcsp[] = "1.3.6.1.5.5.7.48.1", kCaIssuers[] = "1.3.6.1.5.5.7.48.2";

const Bytes kKeyId = Hex("00 11 22 33 44 55 66 77 88 99 AA BB CC DD EE FF 01 02 03 04");

// The extensions of a typical server certificate.
Bytes TypicalExtensions() {
  return Cat({
      Ext(kBC, true, Seq({})),
      Ext(kKU, true, Hex("03 02 05 A0")),
      Ext(kEKU, false, Seq({Oid("1.3.6.1.5.5.7.3.1"), Oid("1.3.6.1.5.5.7.3.2")})),
      Ext(kSAN, false, Seq({Tlv(0x82, Text("www.example.com")), Tlv(0x82, Text("example.com"))})),
      Ext(kSKI, false, Tlv(0x04, kKeyId)),
      Ext(kAKI, false, Seq({Tlv(0x80, kKeyId)})),
      Ext(kCRLDP, false, Seq({Point(Uri("http://crl.example.com/ca.crl"))})),
      Ext(kAIA, false,
          Seq({Access(kOcsp, "http://ocsp.example.com"), Access(kCaIssuers, "http://ca.example.com/ca.crt")})),
      Ext(kPolicies, false, Seq({Seq({Oid("2.23.140.1.2.1")})})),
  });
}

int Process(obExtensionsList& list, const Bytes& content, obAsnOid& unhandled,
            const obExtHandlerTable& table = obCertExtHandlers()) {
  return list.Process({content.data(), content.size()}, table, unhandled);
}
// The same from an empty list, for runs under Gated.
int Reprocess(obExtensionsList& list, const Bytes& content, obAsnOid& unhandled) {
  list.Clear();
  return Process(list, content, unhandled);
}

template <class T>
T* Typed(const obExtensionsList& list, const char* oid) {
  return dynamic_cast<T*>(list.Get(obAsnOid(oid)));
}

std::string PrintedExt(const obExtension& ext, int indent) {
  ObStream s;
  ext.Sprint(&s, indent);
  return s.str();
}

std::string Dotted(const obAsnOid& oid) {
  obString dotted = oid.Dotted();
  return dotted.getstr() ? dotted.getstr() : "";
}
std::string H(const Bytes& b) { return ToHex(b.data(), b.size()); }

std::string HexColon(const unsigned char* p, size_t n, bool upper) {
  std::string out;
  char two[4];
  for (size_t i = 0; i < n; ++i) {
    std::snprintf(two, sizeof two, upper ? "%02X" : "%02x", p[i]);
    out += (i ? ":" : "") + std::string(two);
  }
  return out;
}

TEST(CertExtProcess, TypicalServerSetKeepsHandledInOrder) {
  obExtensionsList list;
  obAsnOid unhandled;
  ASSERT_EQ(Process(list, TypicalExtensions(), unhandled), 0);
  const char* order[] = {kBC, kKU, kEKU, kSAN, kSKI, kAKI, kCRLDP, kAIA};
  ASSERT_EQ(list.Count(), 8);  // the policies are dropped
  for (int i = 0; i < 8; ++i) EXPECT_EQ(Dotted(*list.OidAt(i)), order[i]);
  EXPECT_EQ(list.At(8), nullptr);
  EXPECT_EQ(list.IsCritical(obAsnOid(kKU)), 1);
  EXPECT_EQ(list.IsCritical(obAsnOid(kSAN)), 0);
  EXPECT_EQ(list.IsCritical(obAsnOid(kPolicies)), 0);

  EXPECT_EQ(Typed<obBasicConstraint>(list, kBC)->IsCA(), 0);
  EXPECT_EQ(Typed<obBasicConstraint>(list, kBC)->PathLen(), -1);
  EXPECT_EQ(Typed<obKeyUsage>(list, kKU)->KeyUsageBits(), (1u << obKU_digitalSignature) | (1u << obKU_keyEncipherment));
  EXPECT_EQ(Typed<obExtKeyUsage>(list, kEKU)->HasUsage(obEKU_clientAuth), 1);
  EXPECT_EQ(Typed<obExtKeyUsage>(list, kEKU)->HasUsage(obEKU_codeSigning), 0);
  obGeneralNames* san = Typed<obExtGN>(list, kSAN)->Names();
  ASSERT_EQ(san->Count(), 2);
  EXPECT_STREQ(san->Get(1)->GetStr(), "example.com");
  EXPECT_EQ(san, Typed<obExtGN>(list, kSAN)->Names());  // made once
  EXPECT_EQ(ToHex(Typed<obExtKeyID>(list, kSKI)->KIdBuf().data, 20), ToHex(kKeyId.data(), kKeyId.size()));
  EXPECT_EQ(Typed<obExtKeyID>(list, kAKI)->KIdType(), obKeyId_Authority);
  EXPECT_EQ(Typed<obExtKeyID>(list, kAKI)->KIdGNs(), nullptr);
  EXPECT_EQ(Typed<obExtKeyID>(list, kAKI)->KIdSN(), nullptr);
  EXPECT_STREQ(Typed<obExtGN>(list, kCRLDP)->Names()->Get(0)->GetStr(), "http://crl.example.com/ca.crl");
  auto* aia = Typed<obAuthorityInfoAccess>(list, kAIA);
  EXPECT_STREQ(aia->GetAccessByID(obAsnOid(kCaIssuers)), "http://ca.example.com/ca.crt");
  EXPECT_STREQ(aia->GetAccessByID(obAsnOid(kOcsp)), "http://ocsp.example.com");
  EXPECT_EQ(aia->GetAccessByID(obAsnOid("1.3.6.1.5.5.7.48.3")), nullptr);
}

TEST(CertExtProcess, UnknownCriticalStopsAndUnknownPlainIsDropped) {
  Bytes bc = Ext(kBC, false, Seq({})), ku = Ext(kKU, false, Hex("03 02 07 80"));
  struct Case {
    Bytes content;
    int rc, count;
    std::string unhandled;
  } cases[] = {
      {Cat({bc, Ext("1.2.3.4", true, Hex("05 00")), ku}), 1, 1, "1.2.3.4"},
      {Cat({bc, Ext("1.2.3.4", false, Hex("05 00")), ku}), 0, 2, ""},
      {Cat({Ext(kBC, true, Hex("30 03 01 01")), ku}), 1, 0, kBC},  // a critical malformed value
      {Cat({Ext(kBC, false, Hex("30 03 01 01")), ku}), 0, 1, ""},
  };
  for (const Case& c : cases) {
    obExtensionsList list;
    obAsnOid unhandled;
    EXPECT_EQ(Process(list, c.content, unhandled), c.rc);
    EXPECT_EQ(list.Count(), c.count);
    EXPECT_EQ(Dotted(unhandled), c.rc == 1 ? c.unhandled : std::string());
    EXPECT_EQ(list.Get(obAsnOid(kKU)) != nullptr, c.rc == 0);
  }
}

TEST(CertExtProcess, IgnoreHandlerSkipsEvenCriticalAndTablesAreOwnChoice) {
  const obExtHandler rows[] = {{&obASN_id_ce_basicConstraints, nullptr}, {&obASN_id_ce_keyUsage, obKeyUsage::Handle}};
  obExtensionsList list;
  obAsnOid unhandled;
  Bytes content = Cat({Ext(kBC, true, Seq({})), Ext(kKU, true, Hex("03 01 00")), Ext(kSAN, true, Hex("30 00"))});
  EXPECT_EQ(Process(list, content, unhandled, {rows, 2}), 1);
  EXPECT_EQ(Dotted(unhandled), kSAN);
  ASSERT_EQ(list.Count(), 1);
  EXPECT_EQ(Dotted(*list.OidAt(0)), kKU);
  EXPECT_EQ(list.CriticalAt(0), 1);
}

TEST(CertExtProcess, MalformedListFails) {
  const char* lists[] = {
      "30 03 06 01",                             // truncated
      "31 00",                                   // not a SEQUENCE
      "30 08 06 03 55 1D 13 04 01 00 00",        // an octet after the last extension
      "30 0B 06 03 55 1D 13 01 01 01 04 01 00",  // BOOLEAN not DER
      "30 05 06 03 55 1D 13",                    // no extnValue
      "30 0B 06 03 55 1D 13 04 02 30 00 05 00",  // an extra field
      "30 07 06 00 04 03 30 01 00",              // empty identifier
  };
  for (const char* hex : lists) {
    obExtensionsList list;
    obAsnOid unhandled;
    EXPECT_EQ(Gated([&] { return Reprocess(list, Hex(hex), unhandled); }), -1) << hex;
  }
}

// Each value is malformed for its extension: critical it is unhandled,
// plain it is dropped.
TEST(CertExtProcess, HostileValues) {
  const struct {
    const char* oid;
    std::vector<const char*> values;
  } cases[] = {
      {kBC,
       {"30 03 01 01", "30 03 02 01 FF", "30 00 00", "30 06 02 01 01 01 01 FF", "30 03 01 01 01",
        "30 07 02 05 01 00 00 00 00"}},
      {kKU, {"04 02 07 80", "03 02 08 80", "03 02 07 81", "03 00"}},
      {kEKU, {"30 00", "30 03 02 01 01", "30 02 06 00"}},
      {kSAN, {"30 00", "30 02 89 00", "30 02 A4 00", "30 04 82 01 61", "30 03 82 01 61 00"}},
      {kSKI, {"30 00", "04 01 01 00"}},
      {kAKI, {"30 04 82 00 80 00", "30 02 A1 00", "30 03 82 01", "30 04 82 02 00 01"}},
      {kCRLDP, {"30 00", "30 02 04 00", "30 04 30 02 A0 00", "30 06 30 04 A0 02 A2 00"}},
      {kAIA, {"30 00", "30 05 30 03 06 01 2B", "30 07 30 05 06 01 2B 89 00", "30 02 04 00"}},
  };
  for (const auto& c : cases) {
    for (const char* value : c.values) {
      for (bool critical : {true, false}) {
        obExtensionsList list;
        obAsnOid unhandled;
        Bytes content = Cat({Ext(c.oid, critical, Hex(value)), Ext(kKU, false, Hex("03 01 00"))});
        EXPECT_EQ(Gated([&] { return Reprocess(list, content, unhandled); }), critical ? 1 : 0) << c.oid << value;
        EXPECT_EQ(list.Count(), critical ? 0 : 1) << c.oid << " " << value;
        EXPECT_EQ(Dotted(unhandled), std::string(critical ? c.oid : ""));
      }
    }
  }
}

// Truncated and mutated lists fail or decode cleanly, and whatever decoded
// prints and composes.
TEST(CertExtProcess, TruncatedAndMutatedLists) {
  Bytes typical = TypicalExtensions();
  std::mt19937 rng(7);
  for (size_t i = 0; i < 3000; ++i) {
    Bytes input(typical.begin(), typical.begin() + static_cast<long>(std::min(i, typical.size())));
    if (i >= typical.size()) {
      input = typical;
      for (int k = 0; k < 3; ++k) input[rng() % input.size()] = static_cast<unsigned char>(rng());
    }
    obExtensionsList list;
    obAsnOid unhandled;
    int rc = Process(list, input, unhandled);
    EXPECT_TRUE(rc >= -1 && rc <= 1);
    ObStream printed;
    list.Sprint(&printed, 0);
    obASN_Extensions composed;
    EXPECT_EQ(list.Compose(composed), 0);
  }
}

TEST(CertExtDistPoints, ReducedToFetchableUrisWithExactMessages) {
  Bytes names = Cat({Uri("ldap://dir.example/cn=ca"), Uri("file:///crl"), Tlv(0x82, Text("crl.example")),
                     Uri("http://crl.example/a.crl")});
  Bytes withReasons = Seq({Tlv(0xA0, Tlv(0xA0, Uri("http://r.example/"))), Hex("81 02 05 60")});
  Bytes relative = Seq({Tlv(0xA0, Tlv(0xA1, Seq({})))});
  struct Case {
    Bytes value;
    std::string message;
    int accepted;
    std::vector<std::string> names;
  } cases[] = {
      {Seq({Point(names)}),
       "handleCRLDistributionPoints: unsupported uri format file:///crl",
       1,
       {"ldap://dir.example/cn=ca", "http://crl.example/a.crl"}},
      {Seq({Point(names)}), "handleCRLDistributionPoints: unsupported name format 2", 1, {}},
      {Seq({withReasons, Point(Uri("http://b.example/"))}),
       "obParseCRLdp: unsuported options",
       0,
       {"http://b.example/"}},
      {Seq({relative}), "obParseCRLdp: unsuported options", 0, {}},
      {Seq({Seq({Tlv(0xA2, Tlv(0xA4, Seq({})))})}), "obParseCRLdp: unsuported options", 0, {}},
  };
  for (const Case& c : cases) {
    int accepted = 0;
    obExtension* ext = nullptr;
    Gated(
        [&] {
          delete ext;
          accepted = 0;
          ext = obExtGN::HandleCRLDistributionPoints({c.value.data(), c.value.size()}, 1, accepted);
          return accepted;
        },
        c.message);
    ASSERT_NE(ext, nullptr);
    EXPECT_EQ(accepted, c.accepted) << c.message;
    obGeneralNames* got = dynamic_cast<obExtGN*>(ext)->Names();
    if (!c.names.empty()) {
      ASSERT_EQ(got->Count(), static_cast<int>(c.names.size()));
      for (int i = 0; i < got->Count(); ++i) EXPECT_EQ(got->Get(i)->GetStr(), c.names[static_cast<size_t>(i)]);
    }
    delete ext;
  }
}

TEST(CertExtPrint, ExactForms) {
  obGeneralNames names;
  names.Add(new obGeneralName(obGN_dNSName, "a.example", 9));
  obExtensionsList list;
  obAsnOid unhandled;
  Bytes aki = Seq({Tlv(0x80, Hex("0A 0B")), Tlv(0xA1, Tlv(0x82, Text("ca.example"))), Hex("82 01 2A")});
  ASSERT_EQ(Process(list,
                    Cat({Ext(kAKI, false, aki),
                         Ext(kAIA, false, Seq({Access(kOcsp, "http://o/"), Access("1.2.3", "ldap://x/")}))}),
                    unhandled),
            0);
  const obExtKeyUsageType purposes[] = {obEKU_smartCardLogon, obEKU_serverAuth};
  struct Case {
    std::unique_ptr<obExtension> ext;
    int indent;
    const char* printed;
  } cases[] = {
      {std::make_unique<obBasicConstraint>(0, -1), 1, "\tnot CA\n"},
      {std::make_unique<obBasicConstraint>(1, 0), 0, "is CA\n0 levels\n"},
      {std::make_unique<obKeyUsage>(0x161), 1, "\tdigitalSignature\n\tkeyCertSign\n\tcRLSign\n\tdecipherOnly\n"},
      {std::make_unique<obExtKeyUsage>(purposes, 2), 0, "serverAuth\nSmartCard Logon\n"},
      {std::make_unique<obExtKeyID>(obAsnOcts(Hex("01 FE").data(), 2)), 1, "\t\tKey Id: 01:fe\n"},
      {std::unique_ptr<obExtension>(list.At(0)->Clone()), 0,
       "\tKey Id: 0a:0b\n\tAuthority issuer name:\n\t\tdNSName: ca.example\n\tAuthority Serial Number: 42\n"},
      {std::unique_ptr<obExtension>(list.At(1)->Clone()), 1, "\tOCSP: http://o/\n\t1.2.3: ldap://x/\n"},
      {std::make_unique<obExtGN>(names), 2, "\t\tdNSName: a.example\n"},
  };
  for (const Case& c : cases) EXPECT_EQ(PrintedExt(*c.ext, c.indent), c.printed) << c.ext->ExtName();

  obExtensionsList shown;
  shown.Add(obAsnOid(kBC), 1, new obBasicConstraint(1, -1));
  shown.Add(obAsnOid(kSAN), 0, new obExtGN(names));
  const char kList[] =
      "\tBasic Constraint (critical):\n\t\tis CA\n\tSubject Alternate names:\n\t\tdNSName: a.example\n";
  ObStream s;
  shown.Sprint(&s, 1);
  EXPECT_EQ(s.str(), kList);
  EXPECT_EQ(::Printed([&](FILE* f) { shown.Fprint(f, 1); }), kList);
  DiagCapture diag(true);
  shown.At(0)->Herror();
  EXPECT_TRUE(diag.Saw("is CA"));
}

TEST(CertExtKinds, NamesAndTypeEdges) {
  EXPECT_STREQ(obExtKeyUsage::ExtKeyusageStr(obEKU_badValue), "bad value");
  EXPECT_STREQ(obExtKeyUsage::ExtKeyusageStr(obEKU_smartCardLogon), "SmartCard Logon");
  EXPECT_STREQ(obKeyUsage::KeyusageStr(obKU_decipherOnly), "decipherOnly");
  EXPECT_EQ(obKeyUsage::KeyusageStr(static_cast<obKeyUsageType>(9)), nullptr);
  EXPECT_EQ(Dotted(*obExtKeyUsage::ExtKeyusageOid(obEKU_ipsecUser)), "1.3.6.1.5.5.7.3.7");
  EXPECT_EQ(Gated([] { return obExtKeyUsage::ExtKeyusageStr(static_cast<obExtKeyUsageType>(10)) == nullptr; },
                  "obExtKeyUsage::ExtKeyusageStr: Unsupported type of extended key usage. type = 10."),
            1);
  const obExtKeyUsageType types[] = {obEKU_ipsecTunnel, static_cast<obExtKeyUsageType>(0)};
  obExtKeyUsage* eku = nullptr;
  Gated(
      [&] {
        delete eku;
        eku = new obExtKeyUsage(types, 2);
        return 0;
      },
      "obExtKeyUsage_imp::obExtKeyUsage_imp: Unsupported type of extended key usage. type = 0.");
  EXPECT_EQ(eku->HasUsage(obEKU_ipsecTunnel), 1);
  EXPECT_EQ(Gated([&] { return eku->HasUsage(obEKU_badValue); },
                  "obExtKeyUsage_imp::HasUsage: Unsupported type of extended key usage. type = 0."),
            0);
  obASN_ExtKeyUsageSyntax asn = eku->ExtKeyUsage_2_ASN();
  ASSERT_EQ(asn.size(), 1u);
  EXPECT_EQ(Dotted(asn[0]), "1.3.6.1.5.5.7.3.6");
  delete eku;
  EXPECT_EQ(obKeyUsage(0x1FF).HasUsage(static_cast<obKeyUsageType>(-1)), 0);
  EXPECT_EQ(obExtensionsList_Add(nullptr, nullptr, 0, new obKeyUsage(1)), -1);  // taken over and freed
  obExtensionsList* list = obExtensionsList_New();
  obAsnOid ku(kKU);
  EXPECT_EQ(obExtensionsList_Add(list, &ku, 1, new obKeyUsage(1)), 0);
  EXPECT_EQ(list->Add(ku, 0, nullptr), -1);
  EXPECT_EQ(list->Count(), 1);
  obExtensionsList_Delete(list);
}

// The constructors from generated values keep the encoding; names are made
// once even when several threads ask at the same time.
TEST(CertExtKinds, FromGeneratedValuesAndSharedNames) {
  Bytes aki = Seq({Tlv(0x80, Hex("0A 0B")), Tlv(0xA1, Tlv(0x86, Text("http://i/"))), Hex("82 01 2A")});
  Bytes aia = Seq({Access(kCaIssuers, "ldap://l/"), Access(kCaIssuers, "http://h/")});
  obASN_AuthorityKeyIdentifier akiAsn;
  obASN_AuthorityInfoAccessSyntax aiaAsn;
  ASSERT_EQ(obAsnDecode(akiAsn, aki.data(), aki.size()), 0);
  ASSERT_EQ(obAsnDecode(aiaAsn, aia.data(), aia.size()), 0);
  obExtKeyID fromAki(akiAsn);
  obAuthorityInfoAccess fromAia(aiaAsn);
  obAsnBytes value;
  ASSERT_EQ(fromAki.EncodeValue(value), 0);
  EXPECT_EQ(ToHex(value.data(), value.size()), H(aki));
  EXPECT_EQ(fromAki.KIdSN()->Value(), 42);
  ASSERT_EQ(fromAia.EncodeValue(value), 0);
  EXPECT_EQ(ToHex(value.data(), value.size()), H(aia));
  EXPECT_STREQ(fromAia.GetAccessByID(obASN_id_ad_caIssuers), "http://h/");
  EXPECT_EQ(fromAia.AuthorityInfoAccess().size(), 2u);
  int accepted = 0;
  EXPECT_EQ(Gated(
                [&] {
                  return obAuthorityInfoAccess::Handle({nullptr, 0}, 1, accepted) == nullptr;
                },
                "obAuthorityInfoAccess_imp: malformed AuthorityInfoAccessSyntax"),
            1);

  Bytes san = Seq({Tlv(0x82, Text("a.example")), Tlv(0x87, Hex("C0 00 02 01")), Tlv(0xA4, Seq({}))});
  std::unique_ptr<obExtension> ext(obExtGN::HandleSubjectAltName({san.data(), san.size()}, 0, accepted));
  auto* names = dynamic_cast<obExtGN*>(ext.get());
  ASSERT_NE(names, nullptr);
  std::vector<obGeneralNames*> seen(4);
  std::vector<std::thread> readers;
  for (obGeneralNames*& out : seen) readers.emplace_back([&] { out = names->Names(); });
  for (std::thread& t : readers) t.join();
  for (obGeneralNames* got : seen) EXPECT_EQ(got, seen[0]);
  ASSERT_EQ(seen[0]->Count(), 3);
  EXPECT_STREQ(seen[0]->Get(1)->GetStr(), "192.0.2.1");
  obASN_GeneralNames asn = names->AsnNames();
  nyBinBuf der;
  ASSERT_EQ(obAsnEncode(asn, der), 0);
  EXPECT_EQ(ToHex(der), H(san));
}

// Composing gives back the handled extensions exactly as they were encoded;
// setting the composed list gives the same list again.
TEST(CertExtCompose, RoundTripsDecodedAndBuiltExtensions) {
  obExtensionsList list;
  obAsnOid unhandled;
  Bytes typical = TypicalExtensions();
  ASSERT_EQ(Process(list, typical, unhandled), 0);
  obGeneralNames names;
  names.Add(new obGeneralName(obGN_uniformResourceIdentifier, "http://x/", 9));
  list.Add(obAsnOid("2.5.29.46"), 0, new obExtGN(names, obExtGN_CRLDistributionPoints));
  list.Add(obAsnOid("2.5.29.99"), 1, new obBasicConstraint(1, 300));
  list.Add(obAsnOid("2.5.29.98"), 0, obExtKeyID(obAsnOcts(kKeyId.data(), 4)).Clone());

  obASN_Extensions composed, again;
  ASSERT_EQ(list.Compose(composed), 0);
  nyBinBuf der;
  ASSERT_EQ(obAsnEncode(composed, der), 0);
  Bytes policies = Ext(kPolicies, false, Seq({Seq({Oid("2.23.140.1.2.1")})}));
  Bytes handled(typical.begin(), typical.end() - static_cast<long>(policies.size()));
  Bytes built = Cat({Ext("2.5.29.46", false, Seq({Point(Uri("http://x/"))})),
                     Ext("2.5.29.99", true, Hex("30 07 01 01 FF 02 02 01 2C")),
                     Ext("2.5.29.98", false, Tlv(0x04, Bytes(kKeyId.begin(), kKeyId.begin() + 4)))});
  EXPECT_EQ(ToHex(der), H(Tlv(0x30, Cat({handled, built}))));

  obExtensionsList back;
  EXPECT_EQ(back.Set(composed, unhandled), 1);  // no handler takes the critical 2.5.29.99
  EXPECT_EQ(Dotted(unhandled), "2.5.29.99");
  EXPECT_EQ(back.Count(), 8);
  back.Clear();
  composed.items.erase(composed.items.end() - 2);
  EXPECT_EQ(back.Set(composed, unhandled), 0);  // the unknown plain ones are dropped
  ASSERT_EQ(back.Compose(again), 0);
  ASSERT_EQ(obAsnEncode(again, der), 0);
  EXPECT_EQ(ToHex(der), H(Tlv(0x30, handled)));
}

// The content of the Extensions in a certificate's DER.
obDerSpan ExtensionsOf(const Bytes& cert) {
  obDerSpan certificate, tbs, content;
  obDerElement field;
  obDerReader r(cert.data(), cert.size());
  if (!r.Read(kDerSequence, certificate) || !obDerReader(certificate).Read(kDerSequence, tbs)) return {};
  obDerReader fields(tbs);
  while (fields.Next(field)) {
    if (field.tag == obDerContextCons(3) && obDerReader(field.content).Read(kDerSequence, content)) return content;
  }
  return {};
}

// The line after the one holding header in the tool's text form, without its indentation.
std::string LineAfter(const std::string& text, const std::string& header) {
  size_t at = text.find(header);
  if (at == std::string::npos || (at = text.find('\n', at)) == std::string::npos) return "";
  size_t end = text.find('\n', ++at);
  std::string line = text.substr(at, end == std::string::npos ? std::string::npos : end - at);
  return line.substr(line.find_first_not_of(' '));
}

template <class Each>
std::string Joined(int count, const Each& each) {
  std::string out;
  for (int i = 0; i < count; ++i) out += (i ? ", " : "") + each(i);
  return out;
}

TEST(CertExtOpenssl, DecodesWhatTheToolWrote) {
  TempDir dir;
  std::string key = CachedKey(2048);
  const std::string conf =
      "[v3]\n"
      "basicConstraints=critical,CA:TRUE,pathlen:2\n"
      "keyUsage=critical,digitalSignature,keyEncipherment,keyCertSign,cRLSign,decipherOnly\n"
      "extendedKeyUsage=serverAuth,clientAuth,codeSigning,1.3.6.1.4.1.311.20.2.2,timeStamping,ipsecUser\n"
      "subjectAltName=DNS:a.example,DNS:b.example,IP:192.0.2.1,email:x@example.com,URI:http://u.example/\n"
      "subjectKeyIdentifier=hash\n"
      "authorityKeyIdentifier=keyid:always,issuer:always\n"
      "crlDistributionPoints=URI:http://crl.example/ca.crl\n"
      "authorityInfoAccess=OCSP;URI:http://ocsp.example/,caIssuers;URI:http://ca.example/ca.crt\n"
      "certificatePolicies=2.5.29.32.0\n";
  WriteBytes(dir.File("ext.cnf"), Text(conf));
  ASSERT_TRUE(Openssl(dir.path(), "req -new -key " + key + " -subj /CN=t -out r.csr"));
  ASSERT_TRUE(Openssl(dir.path(), "x509 -req -in r.csr -signkey " + key +
                                      " -days 2 -set_serial 0x1234567890abcdef01 -extfile ext.cnf -extensions v3"
                                      " -outform DER -out c.der"));
  Bytes cert = ReadBytes(dir.File("c.der"));
  std::string text = OpensslOutput(dir.path(), "x509 -inform DER -in c.der -noout -text");

  obExtensionsList list;
  obAsnOid unhandled;
  ASSERT_EQ(list.Process(ExtensionsOf(cert), obCertExtHandlers(), unhandled), 0);
  EXPECT_EQ(list.Count(), 8);
  auto* bc = Typed<obBasicConstraint>(list, kBC);
  auto* ku = Typed<obKeyUsage>(list, kKU);
  auto* eku = Typed<obExtKeyUsage>(list, kEKU);
  auto* ski = Typed<obExtKeyID>(list, kSKI);
  auto* aki = Typed<obExtKeyID>(list, kAKI);
  auto* aia = Typed<obAuthorityInfoAccess>(list, kAIA);
  obGeneralNames* san = Typed<obExtGN>(list, kSAN)->Names();
  obGeneralNames* crldp = Typed<obExtGN>(list, kCRLDP)->Names();
  ASSERT_TRUE(bc && ku && eku && ski && aki && aia && san && crldp);

  static const char* const kUsage[] = {"Digital Signature", "Non Repudiation", "Key Encipherment",
                                       "Data Encipherment", "Key Agreement",   "Certificate Sign",
                                       "CRL Sign",          "Encipher Only",   "Decipher Only"};
  static const char* const kPurpose[] = {"?",
                                         "TLS Web Server Authentication",
                                         "TLS Web Client Authentication",
                                         "Code Signing",
                                         "E-mail Protection",
                                         "IPSec End System",
                                         "IPSec Tunnel",
                                         "IPSec User",
                                         "Time Stamping",
                                         "Microsoft Smartcard Login"};
  static const char* const kKind[] = {"", "email:", "DNS:", "", "DirName:/", "", "URI:", "IP Address:", ""};
  std::vector<std::string> usages, purposes;
  for (int bit = 0; bit < 9; ++bit) {
    if (ku->HasUsage(static_cast<obKeyUsageType>(bit))) usages.push_back(kUsage[bit]);
  }
  obASN_ExtKeyUsageSyntax ekuAsn = eku->ExtKeyUsage_2_ASN();
  for (const obASN_KeyPurposeId& oid : ekuAsn) {
    for (int type = 1; type <= 9; ++type) {
      if (oid == *obExtKeyUsage::ExtKeyusageOid(static_cast<obExtKeyUsageType>(type))) {
        EXPECT_EQ(eku->HasUsage(static_cast<obExtKeyUsageType>(type)), 1);
        purposes.push_back(kPurpose[type]);
      }
    }
  }
  auto nameText = [](const obGeneralNames* names) {
    return Joined(names->Count(),
                  [&](int i) { return kKind[names->Get(i)->GetType()] + std::string(names->Get(i)->GetStr()); });
  };
  auto hexOf = [](obDerSpan b) { return HexColon(b.data, b.size, true); };
  struct Row {
    const char* header;
    std::string ours;
  } rows[] = {
      {"X509v3 Basic Constraints: critical",
       std::string(bc->IsCA() ? "CA:TRUE" : "CA:FALSE") + ", pathlen:" + std::to_string(bc->PathLen())},
      {"X509v3 Key Usage: critical",
       Joined(static_cast<int>(usages.size()), [&](int i) { return usages[static_cast<size_t>(i)]; })},
      {"X509v3 Extended Key Usage:",
       Joined(static_cast<int>(purposes.size()), [&](int i) { return purposes[static_cast<size_t>(i)]; })},
      {"X509v3 Subject Alternative Name:", nameText(san)},
      {"X509v3 Subject Key Identifier:", hexOf(ski->KIdBuf())},
      {"X509v3 Authority Key Identifier:", "keyid:" + hexOf(aki->KIdBuf())},
      {"keyid:", nameText(aki->KIdGNs())},
      {"DirName:", "serial:" + HexColon(aki->KIdSN()->Bytes(), aki->KIdSN()->BytesLen(), true)},
      {"Full Name:", nameText(crldp)},
      {"Authority Information Access:", std::string("OCSP - URI:") + aia->GetAccessByID(obASN_id_ad_ocsp)},
      {"OCSP - URI:", std::string("CA Issuers - URI:") + aia->GetAccessByID(obASN_id_ad_caIssuers)},
  };
  for (const Row& row : rows) EXPECT_EQ(LineAfter(text, row.header), row.ours) << row.header;
  EXPECT_EQ(list.IsCritical(obAsnOid(kBC)) + list.IsCritical(obAsnOid(kKU)) + list.IsCritical(obAsnOid(kSAN)), 2);

  // The identifier computed from the key is the one the tool computed.
  Bytes pem = ReadBytes(key);
  obPubKey* rsa = obImportRSAKeyPEM(reinterpret_cast<const char*>(pem.data()), static_cast<unsigned>(pem.size()));
  ASSERT_NE(rsa, nullptr);
  EXPECT_EQ(hexOf(obExtKeyID(obKeyId_Subject, *rsa).KIdBuf()), hexOf(ski->KIdBuf()));
  obFreePubKey(rsa);
}

}  // namespace
