// Certificate extensions: processing, the typed extensions, printing,
// composing, and extensions written by the openssl tool.
#include <gtest/gtest.h>

#include <algorithm>
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
#include "support/cert_pki.h"

namespace {

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

// Processes content into list, emptied first so that Gated may run it twice.
int Process(obExtensionsList& list, const Bytes& content, obAsnOid& unhandled,
            const obExtHandlerTable& table = obCertExtHandlers()) {
  list.Clear();
  return list.Process({content.data(), content.size()}, table, unhandled);
}

template <class T>
T* Typed(const obExtensionsList& list, const char* oid) {
  return dynamic_cast<T*>(list.Get(obAsnOid(oid)));
}

std::string Dotted(const obAsnOid& oid) {
  obString dotted = oid.Dotted();
  return dotted.getstr() ? dotted.getstr() : "";
}
std::string H(const Bytes& b) { return ToHex(b.data(), b.size()); }
std::string H(obDerSpan s) { return ToHex(s.data, s.size); }

// The handled extensions are kept in order and compose back exactly as they
// were encoded, followed by ones built here; setting the composed list gives
// the same list again.
TEST(CertExtProcess, TypicalSetDecodesAndComposesBack) {
  obExtensionsList list;
  obAsnOid unhandled;
  Bytes typical = TypicalExtensions();
  ASSERT_EQ(Process(list, typical, unhandled), 0);
  const char* order[] = {kBC, kKU, kEKU, kSAN, kSKI, kAKI, kCRLDP, kAIA};
  ASSERT_EQ(list.Count(), 8);  // the policies are dropped
  for (int i = 0; i < 8; ++i) EXPECT_EQ(Dotted(*list.OidAt(i)), order[i]);
  EXPECT_EQ(list.At(8), nullptr);
  EXPECT_EQ(list.IsCritical(obAsnOid(kKU)), 1);
  EXPECT_EQ(list.IsCritical(obAsnOid(kSAN)), 0);
  EXPECT_EQ(Typed<obBasicConstraint>(list, kBC)->PathLen(), -1);
  EXPECT_EQ(Typed<obKeyUsage>(list, kKU)->KeyUsageBits(), (1u << obKU_digitalSignature) | (1u << obKU_keyEncipherment));
  EXPECT_EQ(Typed<obExtKeyUsage>(list, kEKU)->HasUsage(obEKU_codeSigning), 0);
  EXPECT_STREQ(Typed<obExtGN>(list, kSAN)->Names()->Get(1)->GetStr(), "example.com");
  EXPECT_EQ(H(Typed<obExtKeyID>(list, kSKI)->KIdBuf()), H(kKeyId));
  EXPECT_TRUE(!Typed<obExtKeyID>(list, kAKI)->KIdGNs() && !Typed<obExtKeyID>(list, kAKI)->KIdSN());
  EXPECT_STREQ(Typed<obAuthorityInfoAccess>(list, kAIA)->GetAccessByID(obAsnOid(kCaIssuers)),
               "http://ca.example.com/ca.crt");
  EXPECT_EQ(Typed<obAuthorityInfoAccess>(list, kAIA)->GetAccessByID(obAsnOid("1.3.6.1.5.5.7.48.3")), nullptr);

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

// Objects made on first use read, print and compose as those made at once;
// a malformed plain one stays listed but gives null, and Get passes over it.
TEST(CertExtProcess, MadeOnFirstUseReadTheSame) {
  Bytes content = Cat({Ext(kSAN, false, Hex("30 02 82 05")), TypicalExtensions()});
  obExtensionsList now, later;
  obAsnOid unhandled;
  ASSERT_EQ(Process(now, content, unhandled), 0);
  ASSERT_EQ(later.Process({content.data(), content.size()}, obCertExtHandlers(), unhandled, obExtMaking::kOnFirstUse),
            0);
  EXPECT_EQ(now.Count(), 8);
  EXPECT_EQ(later.Count(), 9);
  EXPECT_EQ(later.At(0), nullptr);
  EXPECT_STREQ(Typed<obExtGN>(later, kSAN)->Names()->Get(1)->GetStr(), "example.com");
  EXPECT_EQ(later.At(4), later.Get(obAsnOid(kSAN)));
  ObStream nowText, laterText;
  now.Sprint(&nowText, 0);
  later.Sprint(&laterText, 0);
  EXPECT_STREQ(laterText.c_str(), nowText.c_str());
  obASN_Extensions nowList, laterList;
  nyBinBuf nowDer, laterDer;
  ASSERT_EQ(now.Compose(nowList), 0);
  ASSERT_EQ(later.Compose(laterList), 0);
  ASSERT_EQ(obAsnEncode(nowList, nowDer), 0);
  ASSERT_EQ(obAsnEncode(laterList, laterDer), 0);
  EXPECT_EQ(ToHex(laterDer), ToHex(nowDer));
}

TEST(CertExtProcess, UnknownCriticalStopsUnknownPlainIsDroppedIgnoredIsSkipped) {
  Bytes bc = Ext(kBC, false, Seq({})), ku = Ext(kKU, false, Hex("03 02 07 80"));
  for (bool critical : {true, false}) {
    obExtensionsList list;
    obAsnOid unhandled;
    EXPECT_EQ(Process(list, Cat({bc, Ext("1.2.3.4", critical, Hex("05 00")), ku}), unhandled), critical ? 1 : 0);
    EXPECT_EQ(list.Count(), critical ? 1 : 2);
    EXPECT_EQ(Dotted(unhandled), critical ? "1.2.3.4" : "");
  }
  // A table of the caller's own: a row without a handler skips even a critical one.
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
  for (const char* hex : {
           "30 03 06 01",                             // truncated
           "30 0C 06 03 55 1D 13 01 02 FF FF 04 01 00",  // BOOLEAN of two octets
           "30 05 06 03 55 1D 13",                    // no extnValue
           "30 0B 06 03 55 1D 13 04 02 30 00 05 00",  // an extra field
           "30 07 06 00 04 03 30 01 00",              // empty identifier
       }) {
    obExtensionsList list;
    obAsnOid unhandled;
    EXPECT_EQ(Gated([&] { return Process(list, Hex(hex), unhandled); },
                    "obExtensionsList::Process: malformed extension after 0 handled"),
              -1)
        << hex;
  }
}

// Each value is malformed for its extension: critical it is unhandled,
// plain it is dropped, except those that restrict: a keyUsage or an
// extKeyUsage is kept allowing nothing, a basicConstraints as no CA's.
TEST(CertExtProcess, HostileValues) {
  const struct {
    const char* oid;
    const char* message;
    std::vector<const char*> values;
  } cases[] = {
      {kBC, "obBasicConstraint::Handle: malformed basicConstraints",
       {"30 04 01 02 FF FF", "30 03 02 01 FF", "30 07 02 05 00 80 00 00 00", "30 06 02 01 01 01 01 FF"}},
      {kKU, "obKeyUsage::Handle: malformed keyUsage", {"04 02 07 80", "03 02 08 80", "03 01 07"}},
      {kEKU, "obExtKeyUsage::Handle: malformed extKeyUsage", {"30 00", "30 02 06 00"}},
      {kSAN, "obExtGN::HandleSubjectAltName: malformed subjectAltName", {"30 00", "30 02 89 00", "30 02 A4 00"}},
      {kSKI, "obExtKeyID::HandleSubjectKeyId: malformed subjectKeyIdentifier", {"30 00"}},
      {kAKI, "obExtKeyID::HandleAuthorityKeyId: malformed authorityKeyIdentifier", {"30 02 A1 00", "30 04 82 02 00 01"}},
      {kCRLDP, "handleCRLDistributionPoints: malformed cRLDistributionPoints",
       {"30 00", "30 04 30 02 A0 00", "30 06 30 04 A0 02 A2 00"}},
      {kAIA, "obAuthorityInfoAccess_imp: malformed AuthorityInfoAccessSyntax", {"30 05 30 03 06 01 2B", "30 02 04 00"}},
  };
  for (const auto& c : cases) {
    for (const char* value : c.values) {
      for (bool critical : {true, false}) {
        obExtensionsList list;
        obAsnOid unhandled;
        Bytes content = Cat({Ext(c.oid, critical, Hex(value)), Ext(kKU, false, Hex("03 01 00"))});
        EXPECT_EQ(Gated([&] { return Process(list, content, unhandled); }, c.message), critical ? 1 : 0) << value;
        bool restricts = c.oid == std::string(kKU) || c.oid == std::string(kEKU) || c.oid == std::string(kBC);
        bool kept = !critical && restricts;
        EXPECT_EQ(list.Count(), critical ? 0 : kept ? 2 : 1) << c.oid << " " << value;
        if (kept && c.oid == std::string(kBC)) {
          EXPECT_EQ(static_cast<obBasicConstraint*>(list.At(0))->IsCA(), 0);
        }
        if (kept && c.oid == std::string(kKU)) {
          EXPECT_EQ(static_cast<obKeyUsage*>(list.At(0))->KeyUsageBits(), 0u);
        }
        if (kept && c.oid == std::string(kEKU)) {
          auto* purposes = static_cast<obExtKeyUsage*>(list.At(0));
          for (int type = obEKU_serverAuth; type <= obEKU_smartCardLogon; ++type)
            EXPECT_EQ(purposes->HasUsage(static_cast<obExtKeyUsageType>(type)), 0) << type;
          EXPECT_TRUE(purposes->ExtKeyUsage_2_ASN().items.empty());
          obAsnBytes received;
          ASSERT_EQ(purposes->EncodeValue(received), 0);
          EXPECT_EQ(ToHex(received.data(), received.size()), value);
        }
        EXPECT_EQ(Dotted(unhandled), std::string(critical ? c.oid : ""));
      }
    }
  }
}

// Truncated and mutated lists fail or decode cleanly, and whatever decoded
// prints and composes.
TEST(CertExtProcess, TruncatedAndMutatedLists) {
  Bytes typical = TypicalExtensions();
  std::mt19937 rng(LoggedSeed(7));
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
      {Seq({withReasons, Point(Uri("http://b.example/"))}), "obParseCRLdp: unsuported options", 0, {"http://b.example/"}},
      {Seq({Seq({Tlv(0xA0, Tlv(0xA1, Seq({})))})}), "obParseCRLdp: unsuported options", 0, {}},
  };
  for (const Case& c : cases) {
    int accepted = 0;
    std::unique_ptr<obExtension> ext;
    Gated(
        [&] {
          accepted = 0;
          ext.reset(obExtGN::HandleCRLDistributionPoints({c.value.data(), c.value.size()}, 1, accepted));
          return accepted;
        },
        c.message);
    ASSERT_NE(ext, nullptr);
    EXPECT_EQ(accepted, c.accepted) << c.message;
    obGeneralNames* got = dynamic_cast<obExtGN*>(ext.get())->Names();
    if (c.names.empty()) continue;
    ASSERT_EQ(got->Count(), static_cast<int>(c.names.size()));
    for (int i = 0; i < got->Count(); ++i) EXPECT_EQ(got->Get(i)->GetStr(), c.names[static_cast<size_t>(i)]);
  }
}

TEST(CertExtPrint, ExactFormsOfEveryKind) {
  obExtensionsList list;
  obAsnOid unhandled;
  Bytes aki = Seq({Tlv(0x80, Hex("0A 0B")), Tlv(0xA1, Tlv(0x82, Text("ca.example"))), Hex("82 01 2A")});
  Bytes aia = Seq({Access(kOcsp, "http://o/"), Access("1.2.3", "ldap://x/")});
  ASSERT_EQ(Process(list, Cat({Ext(kAKI, false, aki), Ext(kAIA, false, aia)}), unhandled), 0);
  obGeneralNames names;
  names.Add(new obGeneralName(obGN_dNSName, "a.example", 9));
  const obExtKeyUsageType purposes[] = {obEKU_smartCardLogon, obEKU_serverAuth};
  list.Add(obAsnOid(kBC), 1, new obBasicConstraint(0, -1));
  list.Add(obAsnOid(kBC), 0, new obBasicConstraint(1, 0));
  list.Add(obAsnOid(kKU), 0, new obKeyUsage(0x161));
  list.Add(obAsnOid(kEKU), 0, new obExtKeyUsage(purposes, 2));
  list.Add(obAsnOid(kSKI), 0, new obExtKeyID(obAsnOcts(Hex("01 FE").data(), 2)));
  list.Add(obAsnOid(kSAN), 0, new obExtGN(names));
  const char kPrinted[] =
      "\tAuthority Key Identifier:\n\t\t\tKey Id: 0a:0b\n\t\t\tAuthority issuer name:\n\t\t\t\tdNSName: ca.example\n"
      "\t\t\tAuthority Serial Number: 42\n"
      "\tAuthority Info Access:\n\t\tOCSP: http://o/\n\t\t1.2.3: ldap://x/\n"
      "\tBasic Constraint (critical):\n\t\tnot CA\n\tBasic Constraint:\n\t\tis CA\n\t\t0 levels\n"
      "\tKey Usage:\n\t\tdigitalSignature\n\t\tkeyCertSign\n\t\tcRLSign\n\t\tdecipherOnly\n"
      "\tExtended Key Usage:\n\t\tserverAuth\n\t\tSmartCard Logon\n"
      "\tSubject Key Identifier:\n\t\t\tKey Id: 01:fe\n\tSubject Alternate names:\n\t\tdNSName: a.example\n";
  ObStream s;
  list.Sprint(&s, 1);
  EXPECT_EQ(s.str(), kPrinted);
  EXPECT_EQ(::Printed([&](FILE* f) { list.Fprint(f, 1); }), kPrinted);
  ObStream copy;
  std::unique_ptr<obExtension>(list.At(0)->Clone())->Sprint(&copy, 0);
  EXPECT_EQ(copy.str(), "\tKey Id: 0a:0b\n\tAuthority issuer name:\n\t\tdNSName: ca.example\n\tAuthority Serial Number: 42\n");
}

TEST(CertExtKinds, NamesAndTypeEdges) {
  EXPECT_STREQ(obExtKeyUsage::ExtKeyusageStr(obEKU_badValue), "bad value");
  EXPECT_EQ(obKeyUsage::KeyusageStr(static_cast<obKeyUsageType>(9)), nullptr);
  EXPECT_EQ(obKeyUsage(0x1FF).HasUsage(static_cast<obKeyUsageType>(-1)), 0);
  EXPECT_EQ(Gated([] { return obExtKeyUsage::ExtKeyusageStr(static_cast<obExtKeyUsageType>(10)) == nullptr; },
                  "obExtKeyUsage::ExtKeyusageStr: Unsupported type of extended key usage. type = 10."),
            1);
  const obExtKeyUsageType types[] = {obEKU_ipsecTunnel, static_cast<obExtKeyUsageType>(0)};
  std::unique_ptr<obExtKeyUsage> eku;
  Gated(
      [&] {
        eku.reset(new obExtKeyUsage(types, 2));
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
  nyBinBuf der;
  ASSERT_EQ(obAsnEncode(names->AsnNames(), der), 0);
  EXPECT_EQ(ToHex(der), H(san));
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

TEST(CertExtOpenssl, DecodesWhatTheToolWrote) {
  TempDir dir;
  std::string key = CachedKey(2048);
  WriteBytes(dir.File("ext.cnf"),
             Text("[v3]\nbasicConstraints=critical,CA:TRUE,pathlen:2\n"
                  "keyUsage=critical,digitalSignature,keyEncipherment,keyCertSign,cRLSign,decipherOnly\n"
                  "extendedKeyUsage=serverAuth,clientAuth,codeSigning,1.3.6.1.4.1.311.20.2.2,timeStamping,ipsecUser\n"
                  "subjectAltName=DNS:a.example,IP:192.0.2.1,email:x@example.com,URI:http://u.example/\n"
                  "subjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid:always,issuer:always\n"
                  "crlDistributionPoints=URI:http://crl.example/ca.crl\n"
                  "authorityInfoAccess=OCSP;URI:http://ocsp.example/,caIssuers;URI:http://ca.example/ca.crt\n"
                  "certificatePolicies=2.5.29.32.0\n"));
  ASSERT_TRUE(Openssl(dir.path(), "req -new -key " + key + " -subj /CN=t -out r.csr"));
  ASSERT_TRUE(Openssl(dir.path(), "x509 -req -in r.csr -signkey " + key +
                                      " -days 2 -set_serial 0x1234567890abcdef01 -extfile ext.cnf -extensions v3"
                                      " -outform DER -out c.der"));
  Bytes cert = ReadBytes(dir.File("c.der"));

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
  auto* san = Typed<obExtGN>(list, kSAN);
  auto* crldp = Typed<obExtGN>(list, kCRLDP);
  ASSERT_TRUE(bc && ku && eku && ski && aki && aia && san && crldp);
  EXPECT_EQ(list.IsCritical(obAsnOid(kBC)) + list.IsCritical(obAsnOid(kKU)) + list.IsCritical(obAsnOid(kSAN)), 2);

  EXPECT_EQ(bc->IsCA(), 1);
  EXPECT_EQ(bc->PathLen(), 2);
  EXPECT_EQ(ku->KeyUsageBits(), (1u << obKU_digitalSignature) | (1u << obKU_keyEncipherment) |
                                    (1u << obKU_keyCertSign) | (1u << obKU_cRLSign) | (1u << obKU_decipherOnly));
  std::string purposes;
  for (int type = obEKU_serverAuth; type <= obEKU_smartCardLogon; ++type)
    purposes += eku->HasUsage(static_cast<obExtKeyUsageType>(type)) ? '1' : '0';
  EXPECT_EQ(purposes, "111000111");
  std::string sans;
  for (int i = 0; i < san->Names()->Count(); ++i) sans += std::string(san->Names()->Get(i)->GetStr()) + " ";
  EXPECT_EQ(sans, "a.example 192.0.2.1 x@example.com http://u.example/ ");
  EXPECT_STREQ(crldp->Names()->Get(0)->GetStr(), "http://crl.example/ca.crl");
  EXPECT_STREQ(aia->GetAccessByID(obASN_id_ad_ocsp), "http://ocsp.example/");
  EXPECT_STREQ(aia->GetAccessByID(obASN_id_ad_caIssuers), "http://ca.example/ca.crt");

  // The key identifier is the one computed from the key; the self-signed
  // authority names it, its own name and serial.
  Bytes pem = ReadBytes(key);
  obPubKey* rsa = obImportRSAKeyPEM(reinterpret_cast<const char*>(pem.data()), static_cast<unsigned>(pem.size()));
  ASSERT_NE(rsa, nullptr);
  EXPECT_EQ(H(obExtKeyID(obKeyId_Subject, *rsa).KIdBuf()), H(ski->KIdBuf()));
  obFreePubKey(rsa);
  EXPECT_EQ(H(aki->KIdBuf()), H(ski->KIdBuf()));
  ASSERT_NE(aki->KIdGNs(), nullptr);
  EXPECT_STREQ(aki->KIdGNs()->Get(0)->GetStr(), "CN=t");
  EXPECT_EQ(ToHex(aki->KIdSN()->Bytes(), aki->KIdSN()->BytesLen()), "12 34 56 78 90 AB CD EF 01");
}

}  // namespace
