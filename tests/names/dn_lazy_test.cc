// Names decoded from DER: the check made at construction must accept what the
// generated decoder accepts, less empty RDNs and never more,
// the tree must wait until a member needs it, and names shared between
// threads must build their tree and string form safely.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "names_test_util.h"
#include "nycert/names/obdn.h"
#include "support/test_support.h"

namespace {

const char kText[] = "CN=www.example.com,OU=Engineering,O=Example Inc,L=San Francisco,C=US";

// A name holding each of the six string kinds an attribute value may take,
// made by openssl from a description of its ASN.1.
const char kAllKindsConfig[] =
    "asn1 = SEQUENCE:name\n"
    "[name]\nc = SET:c\no = SET:o\ncn = SET:cn\n"
    "[c]\na = SEQUENCE:c_a\n[c_a]\nt = OID:countryName\nv = PRINTABLESTRING:US\n"
    "[o]\na = SEQUENCE:o_a\nb = SEQUENCE:o_b\n"
    "[o_a]\nt = OID:organizationName\nv = T61STRING:Example Inc\n"
    "[o_b]\nt = OID:organizationalUnitName\nv = UNIVERSALSTRING:Unit\n"
    "[cn]\na = SEQUENCE:cn_a\nb = SEQUENCE:cn_b\nc = SEQUENCE:cn_c\n"
    "[cn_a]\nt = OID:commonName\nv = BMPSTRING:host\n"
    "[cn_b]\nt = OID:emailAddress\nv = IA5STRING:admin@example.com\n"
    "[cn_c]\nt = OID:2.5.4.97\nv = UTF8:VATDE-123\n";

NameDer FromText(const char* text) { return DerOf(obDN(text)); }

NameDer Genconf(const char* config) {
  TempDir dir;
  std::FILE* f = std::fopen(dir.File("name.cnf").c_str(), "w");
  if (!f) return {};
  std::fputs(config, f);
  std::fclose(f);
  if (!Openssl(dir.path(), "asn1parse -genconf name.cnf -noout -out name.der")) return {};
  return ReadBytes(dir.File("name.der"));
}

// Names to damage: made here, by openssl's ASN.1 generator, and taken from
// the subjects and issuers of openssl certificates.
std::vector<NameDer> RealNames() {
  std::vector<NameDer> names;
  for (const char* text : {kText, "CN=a+OU=b,O=c", "CN=caf\xe9,Email=x@y,DC=z", "OID.1.2.840.113549.99999=v,C=DE", ""})
    names.push_back(FromText(text));
  OpensslCerts tool;
  if (!tool.available()) return names;
  names.push_back(Genconf(kAllKindsConfig));
  for (const char* subject : {"/C=US/ST=California/L=San Francisco/O=Example Inc/OU=Eng+OU=Ops/CN=www.example.com",
                              "/DC=com/DC=example/UID=jdoe/emailAddress=jdoe@example.com/CN=J\xc3\xb6rg"}) {
    std::unique_ptr<obASN_Certificate> cert = DecodeCert(tool.Cert(subject, "-multivalue-rdn"));
    if (!cert) continue;
    names.push_back(EncodeAsn(cert->tbsCertificate.subject));
    names.push_back(EncodeAsn(cert->tbsCertificate.issuer));
  }
  return names;
}

// What a damaged or hostile peer might send instead of der: every
// truncation, an extra octet, each octet dropped, flipped bit by bit or
// replaced by a telling value, and random damage to several octets.
std::vector<NameDer> Mutations(const NameDer& der, std::mt19937& rng) {
  std::vector<NameDer> out;
  for (size_t n = 0; n < der.size(); ++n) out.emplace_back(der.begin(), der.begin() + static_cast<long>(n));
  out.push_back(der);
  out.back().push_back(0x00);
  for (size_t i = 0; i < der.size(); ++i) {
    NameDer dropped = der;
    dropped.erase(dropped.begin() + static_cast<long>(i));
    out.push_back(dropped);
    for (unsigned bit = 0; bit < 8; ++bit) {
      out.push_back(der);
      out.back()[i] ^= static_cast<unsigned char>(1u << bit);
    }
    for (unsigned char value : {0x00, 0x01, 0x7F, 0x80, 0x81, 0x82, 0xFF, 0x13, 0x1E, 0x30, 0x31, 0x33}) {
      out.push_back(der);
      out.back()[i] = value;
    }
  }
  for (int round = 0; round < 300 && !der.empty(); ++round) {
    out.push_back(der);
    for (int n = 1 + static_cast<int>(rng() % 3); n > 0; --n)
      out.back()[rng() % der.size()] = static_cast<unsigned char>(rng());
  }
  return out;
}

bool HasEmptyRdn(const obASN_RDNSequence& tree) {
  for (const obASN_RelativeDistinguishedName& rdn : tree.items)
    if (rdn.empty()) return true;
  return false;
}


struct Agreement {
  int accepted = 0;  // by both
  int refused = 0;   // by both
  int stricter = 0;  // by the check only
  std::vector<std::string> wrong;
};

// What the check accepts, the generated decoder accepts too, with the same
// RDN count and tree, and the name hands its DER back as received. What it
// refuses and the decoder takes is an empty RDN.
void Compare(const NameDer& der, Agreement& tally) {
  obASN_RDNSequence tree;
  bool treeAccepts = obAsnDecode(tree, der.data(), der.size()) == 0;
  obDN dn;
  bool checkAccepts = dn.Decode(der.data(), static_cast<int>(der.size())) == 0;
  NameDer canonical = treeAccepts ? EncodeAsn(tree) : NameDer();
  bool right = checkAccepts ? treeAccepts && dn.Count() == static_cast<int>(tree.size()) && dn.GetName() &&
                                  EncodeAsn(*dn.GetName()) == canonical && DerOf(dn) == der
                            : !treeAccepts || HasEmptyRdn(tree);
  if (!right) tally.wrong.push_back(ToHex(der.data(), der.size()));
  if (checkAccepts)
    ++tally.accepted;
  else if (treeAccepts)
    ++tally.stricter;
  else
    ++tally.refused;
}

TEST(DnLazyCheck, AgreesWithTheTreeDecoderOnDamagedNames) {
  DiagCapture quiet(false);
  std::mt19937 rng(LoggedSeed(11));
  Agreement tally;
  for (const NameDer& name : RealNames()) {
    ASSERT_FALSE(name.empty());
    for (const NameDer& damaged : Mutations(name, rng)) Compare(damaged, tally);
  }
  EXPECT_TRUE(tally.wrong.empty()) << tally.wrong.size() << " disagreements, first " << tally.wrong.front();
  EXPECT_GT(tally.accepted, 100);
  EXPECT_GT(tally.refused, 1000);
}

// BER forms and values that fail their string type's check are read as the
// tree decoder reads them; only an empty RDN, which the tree takes, is refused.
TEST(DnLazyCheck, ReadsWhatTheTreeReadsButEmptyRdns) {
  const char* kFailed = "obDN_imp::Decode: failed to decode the name";
  struct Case {
    const char* hex;
    bool treeAccepts;
    bool checkAccepts;
  } cases[] = {
      {"30 02 31 00", true, false},                                                 // an empty RDN
      {"30 0F 31 0D 30 0B 06 03 55 04 03 33 04 04 02 61 62", true, true},           // a constructed string
      {"30 80 31 80 30 80 06 03 55 04 03 13 01 61 00 00 00 00 00 00", true, true},  // indefinite lengths
      {"30 0D 31 0B 30 09 06 03 55 04 03 0C 02 C3 28", true, true},                 // broken UTF-8
      {"30 0C 31 0A 30 08 06 03 55 04 03 1E 01 61", true, true},                    // an odd BMPString
      {"30 0B 31 09 30 07 06 03 55 04 03 13 00 00", false, false},                  // an octet after the name
      {"30 0C 31 0A 30 08 06 03 55 04 03 13 01 61 05 00", false, false},            // a third component
      {"30 0A 31 08 30 06 06 01 80 13 01 61", false, false},                        // an identifier of one 0x80
      {"30 80 31 80 30 80 06 03 55 04 03 13 01 61 00 00 00 00", false, false},      // unclosed
  };
  Agreement tally;
  for (const Case& c : cases) {
    NameDer der = Hex(c.hex);
    obASN_RDNSequence tree;
    EXPECT_EQ(Gated([&] { return obAsnDecode(tree, der.data(), der.size()); }) == 0, c.treeAccepts) << c.hex;
    Compare(der, tally);
    obDN dn("CN=kept");
    if (c.checkAccepts) {
      EXPECT_EQ(Gated([&] { return dn.Decode(der.data(), static_cast<int>(der.size())); }), 0) << c.hex;
      EXPECT_EQ(dn.Count(), 1);
      EXPECT_EQ(DerOf(dn), der);
    } else {
      EXPECT_EQ(Gated([&] { return dn.Decode(der.data(), static_cast<int>(der.size())); }, kFailed), -1) << c.hex;
      EXPECT_EQ(dn.Count(), 0);
    }
  }
  EXPECT_TRUE(tally.wrong.empty());
  EXPECT_EQ(tally.stricter, 1);

  // Definite lengths in a longer form than needed pass, as in the rest of
  // certificate decoding, and the name hands back the octets it was given.
  NameDer longForm = Hex("30 81 0C 31 0A 30 08 06 03 55 04 03 13 01 61");
  obDN dn(longForm.data(), static_cast<int>(longForm.size()));
  EXPECT_EQ(dn.Count(), 1);
  EXPECT_EQ(DerOf(dn), longForm);
  EXPECT_TRUE(dn == obDN("CN=a"));
}

// The walk leaves the tree for later: a counting hook shows when it is built.
TEST(DnLazyBuild, ConstructionDecodesNoTree) {
  NameDer der = FromText(kText);
  const unsigned long before = obDN_imp::TreesDecoded();
  obDN dn(der.data(), static_cast<int>(der.size()));
  obDN same(der.data(), static_cast<int>(der.size())), unedited(same);
  obDN copy(dn);
  EXPECT_EQ(dn.Count(), 5);
  EXPECT_TRUE(dn == same && copy == dn);
  EXPECT_EQ(DerOf(copy), der);
  EXPECT_EQ(obDN_imp::TreesDecoded(), before);
  const obASN_RDNSequence* tree = dn.GetName();
  EXPECT_STREQ(dn.GetStr(), kText);
  EXPECT_EQ(dn.GetName(), tree);
  EXPECT_EQ(obDN_imp::TreesDecoded(), before + 1);
  char cn[32];
  EXPECT_EQ(copy.GetCN(cn, sizeof cn), 0);  // the copy decodes its own
  EXPECT_STREQ(cn, "www.example.com");
  EXPECT_EQ(obDN_imp::TreesDecoded(), before + 2);

  // An edit of a name that has not built its tree yet; an edit removing nothing.
  EXPECT_EQ(same.RemoveCN(), 1);
  EXPECT_STREQ(same.GetStr(), "OU=Engineering,O=Example Inc,L=San Francisco,C=US");
  EXPECT_FALSE(same == dn);
  EXPECT_EQ(dn.IsSub(same), 1);
  EXPECT_EQ(DerOf(same), FromText(same.GetStr()));
  EXPECT_EQ(unedited.RemoveOid(obASN_id_at_title), 0);
  EXPECT_EQ(DerOf(unedited), der);
  EXPECT_TRUE(unedited == dn);
  obDN parsed("CN=old");  // decoding over a name with a tree
  ASSERT_EQ(parsed.Decode(der.data(), static_cast<int>(der.size())), 0);
  EXPECT_STREQ(parsed.GetStr(), kText);
}

// Run under ThreadSanitizer: threads race to build the tree and the string
// form of names they share, starting from different members.
TEST(DnLazyThreadStress, SharedNamesBuildOnceForAllThreads) {
  constexpr int kThreads = 8, kRounds = 150;
  const NameDer der = FromText(kText);
  const NameDer folded = FromText("cn=WWW.EXAMPLE.COM,ou=engineering,o=example  inc,l=san francisco,c=us");
  const obDN parsed(kText);
  for (int round = 0; round < kRounds; ++round) {
    const obDN shared(der.data(), static_cast<int>(der.size()));
    const obDN twin(der.data(), static_cast<int>(der.size()));
    const obDN other(folded.data(), static_cast<int>(folded.size()));
    std::vector<const char*> strs(kThreads);
    std::vector<const obASN_RDNSequence*> trees(kThreads);
    std::atomic<int> wrong{0};
    RunTogether(kThreads, [&](int t) {
      char cn[32];
      switch (t % 4) {
        case 0:
          strs[t] = shared.GetStr();
          break;
        case 1:
          if (!shared.Equal(other) || !other.Equal(shared)) ++wrong;
          break;
        case 2:
          if (shared.GetCN(cn, sizeof cn) != 0 || std::strcmp(cn, "www.example.com") != 0) ++wrong;
          break;
        default:
          if (shared.IsSub(parsed) != 1 || shared.IsContain(obASN_id_at_localityName) != 0) ++wrong;
          break;
      }
      if (!(shared == twin) || shared.Count() != 5 || !(shared == parsed)) ++wrong;
      trees[t] = shared.GetName();
      strs[t] = shared.GetStr();
    });
    EXPECT_EQ(wrong.load(), 0);
    for (int t = 0; t < kThreads; ++t) {
      EXPECT_EQ(trees[t], shared.GetName());
      EXPECT_EQ(strs[t], shared.GetStr());
    }
    EXPECT_STREQ(shared.GetStr(), kText);
  }
}

}  // namespace
