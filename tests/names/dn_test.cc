// Distinguished names: the string form (scanner quirks, keywords, escapes),
// comparison and subordination, edits, DER, the flat functions, and names
// made by openssl.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "names_test_util.h"
#include "nycert/asn1/modules/name_attributes.h"
#include "nycert/names/obdn.h"
#include "nycert/names/obdn_flat.h"
#include "nycert/platform/obstream.h"
#include "support/test_support.h"

namespace {

std::string Str(const obDN& dn) { return dn.GetStr() ? dn.GetStr() : "<null>"; }

// Universal tags of the DirectoryString alternatives.
enum : unsigned char { kTeletex = 0x14, kPrintable = 0x13, kUniversal = 0x1C, kUtf8 = 0x0C, kBmp = 0x1E, kIa5 = 0x16 };

// A name of one common-name assertion, decoded from DER whose value has the
// given tag and content (under 100 octets).
obDN ValueName(unsigned char tag, const std::string& content) {
  NameDer der = {0x30, 0, 0x31, 0, 0x30, 0, 0x06, 0x03, 0x55, 0x04, 0x03, tag,
                 static_cast<unsigned char>(content.size())};
  der.insert(der.end(), content.begin(), content.end());
  for (size_t at : {1, 3, 5}) der[at] = static_cast<unsigned char>(der.size() - at - 1);
  return obDN(der.data(), static_cast<int>(der.size()));
}

int ChoiceOf(const obDN& dn, size_t rdn = 0, size_t i = 0) { return dn.GetName()->items[rdn].items[i].value.choiceId; }

TEST(DnParse, PrintsBackInCanonicalForm) {
  struct Case {
    const char* text;
    const char* printed;
    int rdns;
  } cases[] = {
      {"CN=a, O=b ,C=US", "CN=a,O=b,C=US", 3},
      {"CN=a;OU=b", "CN=a+OU=b", 1},
      {"OID.2.5.4.3=x", "CN=x", 1},
      {"OID.1.2.3.4.5.6.7.8.9.10.11=v", "OID.1.2.3.4.5.6.7.8.9.10.11=v", 1},
      {"CN=\"a,b\",O=c", "CN=a\\,b,O=c", 2},
      {"CN=a\\\\x", "CN=ax", 1},                   // every backslash escapes: only the x is left
      {"CN=a\\", "CN=a\\", 1},                     // a final backslash stays
      {"CN=a  ,O=b", "CN=a,O=b", 2},               // blanks before a separator are dropped
      {"O=b,CN=a  ", "O=b,CN=a  ", 2},             // ... but kept at the end of the text
      {" CN \n= \"  q\"", "CN=  q", 1},
      {"CN=\"q\"x O=z", "CN=q+O=z", 1},            // any character after a closing quote separates
      {"CN=+OU=b", "CN=+OU=b", 1},                 // an empty value
      {"CN=\"a+b=c<d>e#f;g\"", "CN=a\\+b\\=c\\<d\\>e\\#f\\;g", 1},
      {"CN=\"x\\\"y\\\\z\"", "CN=x\"yz", 1},       // quotes and backslashes are not escaped when printed
      {"CN=\"l\nf\"", "CN=l\\\nf", 1},
      {"", "", 0},
      {"CN=caf\xc3\xa9,O=Z\xc3\xbcrich", "CN=caf\xc3\xa9,O=Z\xc3\xbcrich", 2},  // text beyond ASCII prints as given
      {"CN=1+CN=2+CN=3+CN=4+CN=5", "CN=1+CN=2+CN=3+CN=4+CN=5", 1},
      {"cn=1,c=2,st=3,o=4,ou=5,l=6,t=7,SERIALNUMBER=8,street=9,dc=10,EMAIL=11,uid=12,PRINCIPALNAME=13",
       "CN=1,C=2,ST=3,O=4,OU=5,L=6,T=7,serialNumber=8,STREET=9,DC=10,Email=11,UID=12,principalName=13", 13},
  };
  for (const Case& c : cases) {
    obDN dn(c.text);
    EXPECT_EQ(Str(dn), c.printed) << c.text;
    EXPECT_EQ(dn.Count(), c.rdns) << c.text;
    obDN again(c.printed);
    EXPECT_TRUE(dn == again) << c.text;
  }
  EXPECT_EQ(Str(obDN("CN=a\\ ,O=b")), "CN=a ,O=b");  // an escaped blank is kept before a separator
  // The assertions of an RDN are written as DER orders a SET OF, whatever
  // order the text gives: both spellings make the same octets.
  obDN multi("OU=b+CN=a,O=c");
  EXPECT_TRUE(multi.GetName()->items[1].items[0].type.Equal(obASN_id_at_commonName));
  EXPECT_TRUE(multi.GetName()->items[1].items[1].type.Equal(obASN_id_at_organizationalUnitName));
  unsigned char *left = nullptr, *right = nullptr;
  int leftLen = 0, rightLen = 0;
  ASSERT_EQ(0, multi.DerEncode(&left, &leftLen));
  ASSERT_EQ(0, obDN("CN=a+OU=b,O=c").DerEncode(&right, &rightLen));
  EXPECT_EQ(ToHex(left, static_cast<size_t>(leftLen)), ToHex(right, static_cast<size_t>(rightLen)));
  delete[] left;
  delete[] right;
}

TEST(DnParse, ChoosesTheStringType) {
  const int teletex = obASN_DirectoryString::teletexStringCid, printable = obASN_DirectoryString::printableStringCid,
            ia5 = obASN_DirectoryString::ia5StringCid;
  struct Case {
    const char* text;
    int choice;
  } cases[] = {{"CN=\"Az09'()+,-./:=? \\\"\"", printable},  // the double quote counts as printable here
               {"CN=a_b", teletex},
               {"CN=caf\xc3\xa9", teletex},
               {"Email=a@b.example", ia5},
               {"OID.0.9.2342.19200300.100.1.25=x", ia5}};
  for (const Case& c : cases) {
    obDN dn(c.text);
    ASSERT_EQ(dn.Count(), 1) << c.text;
    EXPECT_EQ(ChoiceOf(dn), c.choice) << c.text;
  }
}

TEST(DnParse, FailuresLeaveNoName) {
  struct Case {
    const char* text;
    const char* message;
  } cases[] = {
      {"CN=1+CN=2+CN=3+CN=4+CN=5+CN=6", "dn_explode_prefix: Too many assertions in prefix. 6 5"},
      {"CN=1;CN=2;CN=3;CN=4;CN=5;CN=6,O=x", "dn_explode_prefix: Too many assertions in prefix. 6 5"},
      {"CN", "dn_explode_prefix: unexpected end of name after CN"},
      {"CN x", "dn_explode_prefix: '=' expected after CN"},
      {"CN=\"a\" ,O=b", "obDNTypeOfKeyword: unknown attribute keyword ,O"},
      {"XX=a", "obDNTypeOfKeyword: unknown attribute keyword XX"},
      {"OID.1.2.x=a", "obNUM2OID: parse error at .x"},
      {"OID.=a", "obNUM2OID: parse error at "},
      {"OID.1.2.3.4.5.6.7.8.9.10.11.12=a", "obNUM2OID: parse error at 12"},
      {"OID.1.2.99999999999999999999999=a", "obNUM2OID: parse error at 99999999999999999999999"},
      {"OID.7.1=a", "obNUM2OID: parse error at 7.1"},
  };
  for (const Case& c : cases) {
    obDN dn("CN=kept");
    EXPECT_EQ(Gated([&] { return dn.Set(c.text); }, c.message), -1) << c.text;
    EXPECT_TRUE(!dn.GetName() && !dn.GetStr() && dn.Count() == 0) << c.text;
  }
  obDN none;
  EXPECT_EQ(Gated([&] { return none.Set(static_cast<const char*>(nullptr)); }, "obDN_imp::Set: no string"), -1);
}

TEST(DnValue, PrintsTextOrHex) {
  struct Case {
    unsigned char tag;
    std::string content;
    const char* printed;
  } cases[] = {
      {kUtf8, "a,b", "CN=a\\,b"},
      {kUtf8, "\xc3\xa9", "CN=#c3a9"},
      {kBmp, std::string("\0a\0b", 4), "CN=ab"},
      {kBmp, std::string("\0\xe9", 2), "CN=#00e9"},
      {kUniversal, std::string("\0\0\0a", 4), "CN=#00000061"},
      {kIa5, "x#y", "CN=x\\#y"},
      // Octets above ASCII print as they are where the type allows them and
      // escaped where it does not; controls and DEL always print escaped.
      {kTeletex, "caf\xe9", "CN=caf\xe9"},
      {kTeletex, "a\x1b[0m", "CN=a\\1b[0m"},
      {kUtf8, "caf\xe9", "CN=caf\\e9"},
      {kPrintable, "a\x01" "b\x7f", "CN=a\\01b\\7f"},
      {kIa5, "\xff@x", "CN=\\ff@x"},
  };
  for (const Case& c : cases) EXPECT_EQ(Str(ValueName(c.tag, c.content)), c.printed) << c.printed;

  obASN_RDNSequence broken;
  static_cast<obAsnOid&>(broken.Append().Append().type) = obASN_id_at_commonName;
  obDN dn(broken);
  EXPECT_EQ(Gated([&] { return dn.GetStr() ? 0 : -1; }, "obAvaStr: unknown choice type -1"), -1);
  EXPECT_EQ(dn.Equal(dn), 0);
}

TEST(DnCompare, ValuesFoldCaseAndBlanks) {
  EXPECT_TRUE(obDN("CN=A  B") == obDN("cn=a b"));
  EXPECT_TRUE(obDN("CN=\"  a\"") == obDN("CN=a"));     // leading blanks are ignored
  EXPECT_FALSE(obDN("CN=\"a \"") == obDN("CN=a"));     // trailing ones are not
  EXPECT_TRUE(obDN("CN=\"a\n b\"") == obDN("CN=a b"));  // line feeds are blanks too

  struct Case {
    unsigned char a;
    std::string va;
    unsigned char b;
    std::string vb;
    bool equal;
  } cases[] = {
      {kUtf8, "\xc3\xa9", kPrintable, "ab", false},  // binary never equals text
      {kUtf8, "\xc3\xa9", kUtf8, "\xc3\xa9", true},
      {kBmp, std::string("\0a\0B", 4), kIa5, "Ab", true},
      {kPrintable, "Example  CA", kUtf8, "example ca", true},  // different octets reach the value rules
      {kUniversal, std::string("\0\0\0\xe9", 4), kBmp, std::string("\0\0\0\xe9", 4), false},
      {kUtf8, "\xc3\xa9", kUtf8, "\xc3\x89", false},  // binary values are not folded
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ValueName(c.a, c.va) == ValueName(c.b, c.vb), c.equal) << c.va << " / " << c.vb;
  }
}

TEST(DnCompare, IsSubAndEqual) {
  struct Case {
    const char* name;
    const char* other;
    int sub;
    int equal;
  } cases[] = {
      {"CN=x,O=y", "O=y", 1, 0},
      {"CN=x,O=y", "CN=x,O=y", 1, 1},
      {"O=y", "CN=x,O=y", 0, 0},
      {"CN=a+OU=b,O=c", "OU=b+CN=a,O=c", 1, 1},  // assertions of an RDN match in any order
      {"CN=a+OU=b,O=c", "CN=a,O=c", 0, 0},       // different assertion counts
      {"CN=x,O=y", "", 1, 0},
  };
  for (const Case& c : cases) {
    obDN name(c.name), other(c.other);
    EXPECT_EQ(name.IsSub(other), c.sub) << c.name << " / " << c.other;
    EXPECT_EQ(name.Equal(other), c.equal) << c.name << " / " << c.other;
    EXPECT_EQ(name != other, c.equal == 0);
  }
  obDN dn("CN=x,O=y"), none;
  EXPECT_EQ(none.Equal(none), 0);  // names without a tree are never equal
  EXPECT_EQ(dn.IsSub(none), 0);
  EXPECT_EQ(none.IsSub(dn), 0);
}

TEST(DnQuery, GetRdnCopiesThePrintedValue) {
  obDN dn("CN=host+CN=alt,OU=u1,OU=u2,O=a\\,b");
  char out[16];
  EXPECT_EQ(dn.GetCN(out, sizeof out), 0);
  EXPECT_STREQ(out, "alt");  // DER order within the most specific RDN
  EXPECT_EQ(dn.GetOU(out, sizeof out), 0);
  EXPECT_STREQ(out, "u1");  // the most specific first
  EXPECT_EQ(dn.GetO(out, 5), 0);
  EXPECT_STREQ(out, "a\\,b");  // printed, escapes included, and it fits exactly
  EXPECT_EQ(Gated([&] { return dn.GetO(out, 4); }, "obDN_imp::GetRDN: text of 4 octets does not fit 4"), -1);
  EXPECT_STREQ(out, "");
  EXPECT_EQ(Gated([&] { return dn.GetCN(nullptr, 8); }, "obDN_imp::GetRDN: no room for the text"), -1);
  EXPECT_EQ(Gated([&] { return dn.GetRDN(obASN_id_at_title, out, sizeof out); }), -1);
  EXPECT_EQ(Gated([&] { return dn.GetCN(out, 0); }), -1);
  EXPECT_EQ(Gated([&] { return obDN().GetCN(out, sizeof out); }), -1);
  EXPECT_EQ(obDN().IsContain(obASN_id_at_commonName), -1);
  EXPECT_EQ(dn.IsContain(obASN_id_at_organizationName), 0);  // 0 means found
  EXPECT_EQ(dn.IsContain(obASN_id_at_title), -1);
}

TEST(DnEdit, RemovalsAndDeepCopies) {
  obDN dn("CN=x,O=y"), notLast("O=y,CN=x");
  dn.GetStr();  // the cached text must follow the edit
  EXPECT_EQ(dn.RemoveCN(), 1);
  EXPECT_EQ(Str(dn), "O=y");
  EXPECT_EQ(dn.RemoveCN(), 0);
  EXPECT_EQ(notLast.RemoveCN(), 0);  // only the most specific RDN counts
  EXPECT_EQ(obDN().RemoveCN(), 0);
  obDN multi("CN=a+OU=b,OU=c,O=d");
  EXPECT_EQ(multi.RemoveOid(obASN_id_at_organizationalUnitName), 2);
  EXPECT_EQ(Str(multi), "CN=a,O=d");
  obDN deep("CN=x,OU=u,O=y");
  EXPECT_EQ(deep.RemoveSubDN(obDN("O=z")), 0);
  EXPECT_EQ(deep.RemoveSubDN(obDN("O=y")), 1);
  EXPECT_EQ(Str(deep), "CN=x,OU=u");
  EXPECT_EQ(deep.RemoveSubDN(deep), 1);
  EXPECT_EQ(Str(deep), "");

  obDN original("CN=x,O=y"), copy(original), assigned;
  assigned = original;
  copy.RemoveCN();
  assigned.Set("C=US");
  assigned = *&assigned;
  EXPECT_EQ(Str(original) + " " + Str(copy) + " " + Str(assigned), "CN=x,O=y O=y C=US");
  obDN fromTree(*original.GetName());
  EXPECT_TRUE(fromTree == original);
  EXPECT_NE(fromTree.GetName(), original.GetName());
}

TEST(DnDer, RoundTrips) {
  // SEQUENCE { SET { SEQUENCE { countryName, "US" } }, SET { SEQUENCE { commonName, "a" } } }
  const std::string kDer = "30 1A 31 0B 30 09 06 03 55 04 06 13 02 55 53 31 0B 30 09 06 03 55 04 03 13 02 61 62";
  obDN dn("CN=ab,C=US");
  NameDer der = DerOf(dn);
  EXPECT_EQ(ToHex(der.data(), der.size()), kDer);
  obDN decoded(der.data(), static_cast<int>(der.size()));
  EXPECT_EQ(Str(decoded), "CN=ab,C=US");
  EXPECT_TRUE(decoded == dn);

  for (const char* text : {"CN=a+OU=b,O=c", "CN=caf\xe9,Email=x@y,DC=z,OID.1.2.3=v", ""}) {
    obDN parsed(text);
    NameDer bytes = DerOf(parsed);
    ASSERT_FALSE(bytes.empty()) << text;
    obDN back(bytes.data(), static_cast<int>(bytes.size()));
    EXPECT_TRUE(back == parsed) << text;
    EXPECT_EQ(Str(back), Str(parsed));
    EXPECT_EQ(DerOf(back), bytes);
  }
  EXPECT_EQ(Gated([] { return obDN().DerEncode(nullptr, nullptr); }, "obDN_imp::DerEncode: no name"), -1);
  unsigned char* block = nullptr;
  int len = 0;
  // E-mail values are IA5Strings whatever they hold, and only ASCII encodes.
  EXPECT_EQ(Gated([&] { return obDN("Email=caf\xe9").DerEncode(&block, &len); }), -1);
}

TEST(DnDer, DecodeFailures) {
  const char* kFailed = "obDN_imp::Decode: failed to decode the name";
  for (const char* hex : {"", "31 00", "30 0B 31 09 30 07 06 03 55 04 03 02 00"}) {  // last: not a string
    std::vector<unsigned char> der = Hex(hex);
    obDN dn("CN=kept");
    EXPECT_EQ(Gated([&] { return dn.Decode(der.data(), static_cast<int>(der.size())); }, kFailed), -1) << hex;
    EXPECT_EQ(dn.GetName(), nullptr);
  }
  EXPECT_EQ(Gated([] { return obDN().Decode(nullptr, 3); }, kFailed), -1);
  std::vector<unsigned char> empty = Hex("30 00");
  EXPECT_EQ(Gated([&] { return obDN().Decode(empty.data(), -1); }, kFailed), -1);

  // An attribute type too long for the shared 256-octet buffer cannot be printed.
  std::vector<unsigned char> arcs(200, 0x81);
  arcs.insert(arcs.begin(), 0x2A);
  arcs.push_back(0x01);
  obASN_RDNSequence seq;
  obASN_AttributeTypeAndValue& a = seq.Append().Append();
  ASSERT_EQ(a.type.SetContent(arcs.data(), arcs.size()), 0);
  a.value.Select_printableString() = obAsnPrintableString("v");
  EXPECT_EQ(Gated([&] { return obDN(seq).GetStr() ? 0 : -1; }, "obDNTypeText: attribute type too long to print"),
            -1);
}

TEST(DnHostile, RandomTextAndOversizedInput) {
  std::mt19937 rng(LoggedSeed(7));
  const char alphabet[] = "CNOU=,+;\"\\ \n.01aZ#";
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    for (int n = static_cast<int>(rng() % 40); n > 0; --n) text += alphabet[rng() % (sizeof alphabet - 1)];
    obDN dn(text.c_str());
    EXPECT_TRUE(!dn.GetName() || dn.GetStr()) << text;
  }
  std::string huge;
  for (int i = 0; i < 20000; ++i) huge += "OU=unit" + std::to_string(i) + ",";
  obDN big(huge.c_str());
  EXPECT_EQ(big.Count(), 20000);
  NameDer der = DerOf(big);
  obDN back(der.data(), static_cast<int>(der.size()));
  EXPECT_TRUE(back == big);
  std::string longValue = "CN=" + std::string(100000, 'v');
  EXPECT_EQ(std::strlen(obDN(longValue.c_str()).GetStr()), longValue.size());

  std::vector<unsigned char> nested;  // constructed strings nested far too deep
  for (int i = 0; i < 200; ++i) nested.insert(nested.end(), {0x33, 0x80});
  std::vector<unsigned char> deep = Hex("30 80 31 80 30 80 06 03 55 04 03");
  deep.insert(deep.end(), nested.begin(), nested.end());
  EXPECT_EQ(Gated([&] { return obDN().Decode(deep.data(), static_cast<int>(deep.size())); }), -1);
}

// Thin wrappers over obDN: one case per outcome.
TEST(DnFlat, StringFunctions) {
  EXPECT_EQ(obDN_cmp_strings("CN=a,O=b", "cn=A, o=B"), 1);
  EXPECT_EQ(obDN_cmp_strings(nullptr, "CN=a"), 0);
  EXPECT_EQ(Gated([] { return obDN_cmp_strings("bad", "bad"); }), 0);
  EXPECT_EQ(obDN_contains_suffix("CN=x,O=y", "O=y"), 1);
  EXPECT_EQ(obDN_contains_suffix("CN=x", nullptr), -1);
  EXPECT_EQ(obDN_IsLegalDN("CN=x"), 1);
  EXPECT_EQ(obDN_IsLegalDN(""), 0);
  EXPECT_EQ(Gated([] { return obDN_IsLegalDN("CN"); }), 0);
  EXPECT_EQ(obDN_IsLegalDN(nullptr), 0);
  char out[32];
  auto text = [&](int rc) { return rc == 0 ? std::string(out) : "rc " + std::to_string(rc); };
  EXPECT_EQ(text(obDN_CN_from_string("CN=x,OU=u,O=y", out, sizeof out)), "x");
  EXPECT_EQ(text(obDN_OU_from_string("CN=x,OU=u,O=y", out, sizeof out)), "u");
  EXPECT_EQ(Gated([&] { return obDN_CN_from_string(nullptr, out, sizeof out); }), -1);
  EXPECT_EQ(text(obDN_add_CN("O=y", "new, host", out, sizeof out)), "CN=new\\, host,O=y");
  EXPECT_EQ(text(obDN_add_CN("CN=old,O=y", "new", out, sizeof out)), "CN=new,O=y");
  EXPECT_EQ(text(obDN_add_CN("", "only", out, sizeof out)), "CN=only");
  EXPECT_EQ(Gated([&] { return obDN_add_CN("O=y", nullptr, out, sizeof out); }, "obDN_add_CN: no valid name"), -1);
  EXPECT_EQ(text(obDN_remove_CN("CN=x,O=y", out, sizeof out)), "O=y");
  EXPECT_EQ(
      Gated([&] { return obDN_remove_CN("CN=x,O=y", out, 3); }, "obDN_remove_CN: text of 3 octets does not fit 3"), -1);
  NameDer der = DerOf(obDN("CN=x,O=y"));
  obDN* dn = obDN_DER_Decode(der.data(), static_cast<int>(der.size()));
  EXPECT_STREQ(obDN_GetStr(dn), "CN=x,O=y");
  obDN_Free(dn);
  EXPECT_EQ(Gated([&] { return obDN_DER_Decode(der.data(), 3) ? 0 : -1; }), -1);
  EXPECT_EQ(obDN_GetStr(nullptr), nullptr);
  obDN_Free(nullptr);
}

TEST(DnPrint, SprintFprintHerror) {
  obDN dn("CN=x,O=y");
  ObStream s;
  dn.Sprint(&s, "subject", 2);
  obDN().Sprint(&s, nullptr, 0);
  EXPECT_EQ(s.str(), "\t\tsubject: CN=x,O=y\n<none>\n");
  EXPECT_EQ(Printed([&](FILE* f) { dn.Fprint(f, 1); }), "\tCN=x,O=y\n");
  DiagCapture diag;
  dn.Herror("issuer");
  EXPECT_TRUE(diag.Saw("issuer: CN=x,O=y"));
}

// Subjects made by openssl decode, print as expected and equal their parsed string forms.
TEST(DnOpenssl, SubjectsFromCertificates) {
  OpensslCerts tool;
  if (!tool.available()) GTEST_SKIP() << "openssl not available";
  struct Case {
    const char* subject;
    const char* printed;
    bool parsedEqual;
  } cases[] = {
      {"/C=US/ST=California/L=San Francisco/O=Example Inc/OU=Eng+OU=Ops/CN=www.example.com",
       "CN=www.example.com,OU=Eng+OU=Ops,O=Example Inc,L=San Francisco,ST=California,C=US", true},
      {"/DC=com/DC=example/UID=jdoe/emailAddress=jdoe@example.com/serialNumber=A123/title=Dr/street=1 Main St",
       "STREET=1 Main St,T=Dr,serialNumber=A123,Email=jdoe@example.com,UID=jdoe,DC=example,DC=com", true},
      {"/O=a\\,b/CN=x\\+y", "CN=x\\+y,O=a\\,b", true},
      {"/givenName=Ann/CN=n", "CN=n,OID.2.5.4.42=Ann", true},
      {"/CN=Zo\xc3\xab", "CN=#5a6fc3ab", false},
      {"/CN=  Spaced   Out", "CN=  Spaced   Out", true},
  };
  for (const Case& c : cases) {
    std::unique_ptr<obASN_Certificate> cert = DecodeCert(tool.Cert(c.subject, "-multivalue-rdn"));
    ASSERT_NE(cert, nullptr) << c.subject;
    NameDer der = EncodeAsn(cert->tbsCertificate.subject);
    obDN dn(der.data(), static_cast<int>(der.size()));
    EXPECT_EQ(Str(dn), c.printed) << c.subject;
    obDN parsed(c.printed);
    EXPECT_EQ(dn == parsed, c.parsedEqual) << c.subject;
    EXPECT_EQ(DerOf(dn), der);
  }
}

}  // namespace
