// General names and their lists: text forms, the equality rules (other-name
// type identity, kinds that never compare equal), list operations, and DER
// round trips, with subjectAltName extensions made by openssl.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "names_test_util.h"
#include "nycert/asn1/modules/name_attributes.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/names/general_names.h"
#include "nycert/platform/obstream.h"

namespace {

const obAsnOid kUpn(1, 3, 6, 1, 4, 1, 311, 20, 2, 3);  // equal by value to obASN_id_principalName
const obAsnOid kPrivate(1, 2, 3, 4);

obGeneralName Text(obGNtype kind, const std::string& text) {
  return obGeneralName(kind, text.data(), static_cast<int>(text.size()));
}
obGeneralName Other(const obAsnOid& type, const std::string& text) {
  return obGeneralName(type, text.data(), static_cast<int>(text.size()));
}
obGeneralName Ip(const char* text) {
  unsigned char octets[16];
  bool v4 = inet_pton(AF_INET, text, octets) == 1;
  if (!v4) inet_pton(AF_INET6, text, octets);
  return obGeneralName(octets, v4 ? 4 : 16);
}

// The members of a list decoded from GeneralNames DER.
std::unique_ptr<obGeneralNames> Decode(const NameDer& der) {
  obASN_GeneralNames asn;
  if (obAsnDecode(asn, der.data(), der.size()) != 0) return nullptr;
  return std::unique_ptr<obGeneralNames>(new obGeneralNames(asn));
}

std::vector<std::string> Texts(const obGeneralNames& names) {
  std::vector<std::string> texts;
  for (int i = 0; i < names.Count(); ++i) texts.push_back(names.Get(i)->GetStr());
  return texts;
}

// x400Address (an empty ORAddress), ediPartyName "abc" and registeredID 1.2.3.4.
const char kKeptKinds[] = "30 12 A3 02 30 00 A5 07 A1 05 0C 03 61 62 63 88 03 2A 03 04";

TEST(GeneralName, TextForms) {
  in_addr v4;
  inet_pton(AF_INET, "10.1.2.3", &v4);
  const unsigned char masked[8] = {192, 168, 0, 0, 255, 255, 0, 0};
  struct Case {
    obGeneralName name;
    obGNtype kind;
    const char* text;
  } cases[] = {
      {Other(kUpn, "user@realm"), obGN_otherName, "principalName: user@realm"},
      {Other(kPrivate, "v"), obGN_otherName, "OID.1.2.3.4: v"},
      {obGeneralName(), obGN_otherName, ": "},
      {Text(obGN_rfc822Name, "a@b.example"), obGN_rfc822Name, "a@b.example"},
      {obGeneralName(obDN("cn=a, o=b")), obGN_directoryName, "CN=a,O=b"},
      {obGeneralName(static_cast<unsigned int>(v4.s_addr)), obGN_iPAddress, "10.1.2.3"},
      {Ip("2001:db8::1"), obGN_iPAddress, "2001:db8::1"},
      {obGeneralName(masked, 8), obGN_iPAddress, "192.168.0.0/255.255.0.0"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.name.GetType(), c.kind) << c.text;
    EXPECT_STREQ(c.name.GetStr(), c.text);
    EXPECT_EQ(c.name.GetDN() != nullptr, c.kind == obGN_directoryName) << c.text;
  }
  int len = 0;
  EXPECT_EQ(cases[5].name.GetIP(), v4.s_addr);
  EXPECT_EQ(cases[5].name.GetIPAddress(&len)[0], 10);
  EXPECT_EQ(len, 4);
  EXPECT_EQ(cases[3].name.GetIP(), 0u);
  EXPECT_EQ(cases[3].name.GetIPAddress(&len), nullptr);
  EXPECT_EQ(len, 0);
}

TEST(GeneralName, EqualityRules) {
  obGeneralName privateName = Other(kPrivate, "v");
  struct Case {
    obGeneralName a, b;
    int equal;
  } cases[] = {
      {Text(obGN_dNSName, "host.example"), Text(obGN_dNSName, "host.example"), 1},
      {Text(obGN_dNSName, "host.example"), Text(obGN_dNSName, "Host.example"), 0},  // case matters
      {Text(obGN_dNSName, "a"), Text(obGN_rfc822Name, "a"), 0},                      // kinds differ
      {Text(obGN_uniformResourceIdentifier, std::string("a\0b", 3)),
       Text(obGN_uniformResourceIdentifier, std::string("a\0c", 3)), 0},  // all octets count
      {obGeneralName(obDN("CN=a,O=b")), obGeneralName(obDN("cn=A, o=B")), 1},
      {Ip("10.1.2.3"), Ip("10.1.2.3"), 1},
      {Ip("10.1.2.3"), Ip("10.1.2.4"), 0},
      {Ip("::a01:203"), Ip("10.1.2.3"), 0},
      {Other(kUpn, "u@r"), Other(obASN_id_principalName, "u@r"), 1},  // the table's constant, whatever was given
      {Other(kUpn, "u@r"), Other(kUpn, "U@r"), 0},
      {Other(kPrivate, "v"), Other(kPrivate, "v"), 0},                 // private types are distinct objects
      {privateName, obGeneralName(privateName), 0},
      {obGeneralName(), obGeneralName(), 1},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.a.Equal(c.b), c.equal) << c.a.GetStr() << " / " << c.b.GetStr();
    EXPECT_EQ(c.a == c.b, c.equal == 1);
    EXPECT_EQ(c.a != c.b, c.equal == 0);
  }
  EXPECT_EQ(privateName.Equal(privateName), 1);
  EXPECT_EQ(Other(kUpn, "x").GetOtherOid(), &obASN_id_principalName);
  EXPECT_EQ(*privateName.GetOtherOid(), kPrivate);

  // Kinds kept only as DER never compare equal, not even to themselves, and print as nothing.
  std::unique_ptr<obGeneralNames> kept = Decode(Hex(kKeptKinds));
  ASSERT_NE(kept, nullptr);
  EXPECT_EQ(Texts(*kept), std::vector<std::string>(3, ""));
  const obGNtype kinds[] = {obGN_x400Address, obGN_ediPartyName, obGN_registeredID};
  for (int i = 0; i < kept->Count(); ++i) {
    EXPECT_EQ(kept->Get(i)->GetType(), kinds[i]);
    EXPECT_EQ(kept->Get(i)->Equal(*kept->Get(i)), 0);
  }
}

TEST(GeneralName, FailuresAreReported) {
  EXPECT_EQ(Gated([] { return obGeneralName(obGN_directoryName, "CN=a", 4).GetType(); },
                  "obGeneralName_imp: kind 4 is not a text name"),
            obGN_otherName);
  const unsigned char five[5] = {1, 2, 3, 4, 5};
  EXPECT_EQ(
      Gated([&] { return obGeneralName(five, 5).GetType(); }, "obGeneralName_imp: unsupported iPAddress length 5"),
      obGN_otherName);
  obASN_GeneralName out, none, oddIp;
  EXPECT_EQ(Gated([&] { return obGeneralName().ToAsn(out); }, "obGeneralName_imp::ToAsn: other name without a type"),
            -1);
  obGeneralName name = Text(obGN_dNSName, "kept");
  EXPECT_EQ(
      Gated([&] { return name.FromAsn(none); }, "obGeneralName_imp::FromAsn: cannot convert GeneralName choice -1"),
      -1);
  EXPECT_STREQ(name.GetStr(), ": ");  // left empty
  oddIp.Select_iPAddress().Set(five, 3);
  obASN_GeneralNames list;
  list.items.push_back(oddIp);
  list.Append().Select_dNSName() = obAsnIA5String("ok");
  EXPECT_EQ(Gated([&] { return obGeneralNames(list).Count(); }), 1);  // the bad member is left out
  obGeneralNames withEmptyDn;
  withEmptyDn.Add(new obGeneralName(obDN("bad")));
  unsigned char* block = nullptr;
  int len = 0;
  EXPECT_EQ(Gated([&] { return withEmptyDn.DerEncode(&block, &len); },
                  "obGeneralNames_imp::ToAsn: a member cannot be converted"),
            -1);
}

TEST(GeneralNames, ListOperations) {
  obGeneralNames names;
  EXPECT_EQ(Gated([&] { return names.Add(nullptr); }, "obGeneralNames_imp::Add: no name"), -1);
  obGeneralName dns = Text(obGN_dNSName, "a.example");
  EXPECT_EQ(names.Match(&dns), 0);  // an empty list matches nothing
  EXPECT_EQ(names.Add(new obGeneralName(dns)), 0);
  EXPECT_EQ(names.Add_IfNotExist(new obGeneralName(dns)), 0);  // released
  EXPECT_EQ(names.Add_IfNotExist(Other(kPrivate, "v")), 1);
  EXPECT_EQ(names.Add_IfNotExist(Other(kPrivate, "v")), 1);  // private types never match
  EXPECT_EQ(names.Add_IfNotExist(new obGeneralName(Other(kUpn, "u"))), 1);
  EXPECT_EQ(names.Add_IfNotExist(Other(obASN_id_principalName, "u")), 0);
  EXPECT_EQ(names.Add_IfNotExist(static_cast<obGeneralName*>(nullptr)), -1);
  ASSERT_EQ(names.Count(), 4);
  EXPECT_EQ(names.Get(4), nullptr);
  EXPECT_EQ(names.Get(-1), nullptr);
  EXPECT_EQ(names.Match(nullptr), 0);
  EXPECT_EQ(names.GetFirstOfType(obGN_dNSName, nullptr), names.Get(0));
  EXPECT_EQ(names.GetFirstOfType(obGN_otherName, nullptr), nullptr);
  EXPECT_EQ(names.GetFirstOfType(obGN_otherName, &kPrivate), names.Get(1));  // by value here
  EXPECT_EQ(names.GetFirstOfType(obGN_otherName, &obASN_id_principalName), names.Get(3));
  EXPECT_EQ(Gated([&] { return names.Set(4, nullptr); }, "obGeneralNames_imp::Set: index 4 out of range (count 4)"),
            -1);
  EXPECT_EQ(names.Set(0, nullptr), 0);  // an empty slot
  EXPECT_EQ(names.Match(&dns), 0);
  EXPECT_EQ(names.GetFirstOfType(obGN_dNSName, nullptr), nullptr);
  EXPECT_EQ(names.Set(0, new obGeneralName(dns)), 0);
  obGeneralNames other, empty;
  other.Add(new obGeneralName(Ip("10.0.0.1")));
  EXPECT_EQ(names.Match(other), 0);
  other.Add(new obGeneralName(Text(obGN_dNSName, "a.example")));
  EXPECT_EQ(names.Match(other), 1);
  EXPECT_EQ(names.Match(empty), 0);
  EXPECT_EQ(empty.Match(names), 0);
  obGeneralNames copy(names);
  copy.Set(0, new obGeneralName(Ip("10.0.0.2")));
  EXPECT_STREQ(names.Get(0)->GetStr(), "a.example");
}

TEST(GeneralNames, DerRoundTripsAndPrinting) {
  obGeneralNames names;
  names.Add(new obGeneralName(Text(obGN_dNSName, "a")));
  names.Add(new obGeneralName(Other(kUpn, "u")));
  NameDer der = DerOf(names);
  EXPECT_EQ(ToHex(der.data(), der.size()), "30 16 82 01 61 A0 11 06 0A 2B 06 01 04 01 82 37 14 02 03 A0 03 0C 01 75");
  std::unique_ptr<obGeneralNames> back = Decode(der);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->Get(1)->Equal(*names.Get(1)), 1);
  NameDer kept = DerOf(*Decode(Hex(kKeptKinds)));
  EXPECT_EQ(ToHex(kept.data(), kept.size()), kKeptKinds);
  EXPECT_EQ(ToHex(DerOf(obGeneralNames()).data(), 2), "30 00");
  EXPECT_EQ(Gated([&] { return names.DerEncode(nullptr, nullptr); }, "obGeneralNames_imp::DerEncode: no output"), -1);

  names.Set(1, new obGeneralName(Ip("10.1.2.3")));
  ObStream s;
  names.Sprint(&s, "alt", 1);
  EXPECT_EQ(s.str(), "\talt:\n\t\tdNSName: a\n\t\tiPAddress: 10.1.2.3\n");
  EXPECT_EQ(Printed([&](FILE* f) { names.Fprint(f, 0); }), "\tdNSName: a\n\tiPAddress: 10.1.2.3\n");
  EXPECT_EQ(Printed([&](FILE* f) { names.Get(0)->Fprint(f, 2); }), "\t\tdNSName: a\n");
  DiagCapture diag;
  names.Herror("names");
  names.Get(1)->Herror("ip");
  EXPECT_TRUE(diag.Saw("\tiPAddress: 10.1.2.3"));
  EXPECT_TRUE(diag.Saw("ip: iPAddress: 10.1.2.3"));
}

// A subjectAltName made by openssl converts member by member and encodes back unchanged.
TEST(GeneralNames, OpensslSubjectAltName) {
  OpensslCerts tool;
  if (!tool.available()) GTEST_SKIP() << "openssl not available";
  tool.Write("san.cnf",
             "[ ext ]\nsubjectAltName = @alt\n[ alt ]\n"
             "DNS.1 = www.example.com\nDNS.2 = WWW.example.com\nIP.1 = 10.1.2.3\nIP.2 = 2001:db8::1\n"
             "email.1 = user@example.com\nURI.1 = https://example.com/path\ndirName.1 = altdir\n"
             "otherName.1 = 1.3.6.1.4.1.311.20.2.3;UTF8:user@realm.example.com\n"
             "otherName.2 = 1.2.3.4;UTF8:custom\notherName.3 = 1.2.3.5;INT:7\nRID.1 = 1.2.3.4\n"
             "[ altdir ]\nC = DE\nO = Alt Org\nCN = Alt Name\n");
  std::unique_ptr<obASN_Certificate> cert = DecodeCert(tool.Cert("/CN=san", "-extensions ext", "san.cnf"));
  ASSERT_TRUE(cert && cert->tbsCertificate.extensions);
  NameDer der;
  for (const obASN_Extension& ext : cert->tbsCertificate.extensions->items)
    if (ext.extnID == obASN_id_ce_subjectAltName)
      der.assign(ext.extnValue.data(), ext.extnValue.data() + ext.extnValue.size());
  std::unique_ptr<obGeneralNames> names = Decode(der);
  ASSERT_NE(names, nullptr);
  EXPECT_EQ(Texts(*names), (std::vector<std::string>{"www.example.com", "WWW.example.com", "10.1.2.3", "2001:db8::1",
                                                     "user@example.com", "https://example.com/path",
                                                     "CN=Alt Name,O=Alt Org,C=DE",
                                                     "principalName: user@realm.example.com", "OID.1.2.3.4: custom",
                                                     "OID.1.2.3.5: #020107", ""}));
  EXPECT_EQ(DerOf(*names), der);
  EXPECT_EQ(names->Get(0)->Equal(*names->Get(1)), 0);
  obGeneralName upn = Other(kUpn, "user@realm.example.com"), dir(obDN("cn=alt name,o=alt org,c=de")),
                private_ = Other(kPrivate, "custom");
  EXPECT_EQ(names->Match(&upn), 1);  // decoded and given types meet in the table's constant
  EXPECT_EQ(names->Match(&dir), 1);
  EXPECT_EQ(names->Match(&private_), 0);
  EXPECT_EQ(names->GetFirstOfType(obGN_otherName, &kPrivate), names->Get(8));
}

}  // namespace
