// The span readers behind obCert and obCRL against the generated decoders,
// over certificates and CRLs the openssl tool made, cut short, with octets
// changed at random, and rewritten in the BER forms a writer may send.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "decode_differential.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/key_usage.h"
#include "support/cert_pki.h"

namespace {

const std::string kChains = std::string(NYCERT_TEST_DATA) + "/chains";

// The first CRL of a chain case, made by the openssl tool.
Bytes CrlDer(const TempDir& dir, const std::string& chainCase) {
  std::string out = dir.File(chainCase + ".der");
  EXPECT_TRUE(Openssl(dir.path(), "crl -in " + kChains + "/" + chainCase + "/crls.pem -outform DER -out " + out));
  return ReadBytes(out);
}

Bytes Octets(obDerSpan span) { return Bytes(span.data, span.data + span.size); }

// The signed structure with the issuer name of its to-be-signed part (the
// first SEQUENCE there that holds a SET) in the indefinite-length form, as
// BER lets a writer send it; the signature is left as it was.
Bytes IndefiniteIssuer(const Bytes& der) {
  obDerReader outer(der.data(), der.size());
  obDerSpan body;
  obDerElement tbs, field;
  EXPECT_TRUE(outer.Read(kDerSequence, body));
  obDerReader parts(body);
  EXPECT_TRUE(parts.Next(tbs));
  obDerReader fields(tbs.content);
  Bytes content;
  bool done = false;
  while (fields.Next(field)) {
    if (done || field.tag != kDerSequence || field.content.empty() || field.content.data[0] != 0x31) {
      content = Cat({content, Octets(field.tlv)});
      continue;
    }
    content = Cat({content, Hex("30 80"), Octets(field.content), Hex("00 00")});
    done = true;
  }
  Bytes algorithmAndSignature(body.data + tbs.tlv.size, body.data + body.size);
  return Tlv(0x30, Cat({Tlv(0x30, content), algorithmAndSignature}));
}

// The same with the end-of-contents octets left out, so the lengths around
// no longer hold: both readers must refuse it.
Bytes IndefiniteIssuerUnclosed(const Bytes& der) {
  Bytes bent = IndefiniteIssuer(der);
  for (size_t i = 0; i + 1 < bent.size(); ++i) {
    if (bent[i] == 0x30 && bent[i + 1] == 0x80) {
      bent.erase(bent.begin() + static_cast<long>(i) + 2);
      break;
    }
  }
  return bent;
}

// The extensions of a to-be-signed certificate with each extnValue in the
// constructed BER form, split into two segments; the signature is left as it was.
Bytes SegmentedExtensionValues(const Bytes& der) {
  obDerReader outer(der.data(), der.size());
  obDerSpan body, list;
  obDerElement tbs, field, extension, part;
  EXPECT_TRUE(outer.Read(kDerSequence, body));
  obDerReader parts(body);
  EXPECT_TRUE(parts.Next(tbs));
  obDerReader fields(tbs.content);
  Bytes content;
  while (fields.Next(field)) {
    if (field.tag != obDerContextCons(3)) {
      content = Cat({content, Octets(field.tlv)});
      continue;
    }
    obDerReader wrapped(field.content);
    EXPECT_TRUE(wrapped.Read(kDerSequence, list));
    obDerReader extensions(list);
    Bytes rewritten;
    while (extensions.Next(extension)) {
      obDerReader members(extension.content);
      Bytes members_out;
      while (members.Next(part)) {
        if (part.tag != kDerOctetString) {
          members_out = Cat({members_out, Octets(part.tlv)});
          continue;
        }
        size_t half = part.content.size / 2;
        Bytes value = Octets(part.content);
        Bytes first(value.begin(), value.begin() + static_cast<long>(half));
        Bytes second(value.begin() + static_cast<long>(half), value.end());
        members_out = Cat({members_out, Tlv(0x24, Cat({Tlv(0x04, first), Tlv(0x04, second)}))});
      }
      rewritten = Cat({rewritten, Tlv(0x30, members_out)});
    }
    content = Cat({content, Tlv(0xA3, Tlv(0x30, rewritten))});
  }
  Bytes algorithmAndSignature(body.data + tbs.tlv.size, body.data + body.size);
  return Tlv(0x30, Cat({Tlv(0x30, content), algorithmAndSignature}));
}

class DecodeDifferential : public ::testing::Test {
 protected:
  static void ExpectAgreement(const Bytes& input) {
    EXPECT_EQ("", decode_differential::CompareCert(input.data(), input.size())) << ToHex(input);
    EXPECT_EQ("", decode_differential::CompareCrl(input.data(), input.size())) << ToHex(input);
  }

  static const std::vector<Bytes>& Originals() {
    static TempDir dir;
    CertRequest v1;
    v1.extensions = "";
    CertRequest ca;
    ca.subject = "/C=US/O=Example Trust/CN=Sub CA+OU=Issuing";
    ca.extensions = "basicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign\n";
    CertRequest leaf;
    leaf.extensions = "subjectAltName=DNS:www.example.com\nextendedKeyUsage=serverAuth\n";
    const TestPki& pki = SharedPki();
    static const std::vector<Bytes> originals = {
        pki.CaDer(), pki.Issue("diff-v1", v1), pki.Issue("diff-ca", ca), pki.Issue("diff-leaf", leaf),
        CrlDer(dir, "crl_ee_revoked"), CrlDer(dir, "crl_ica_revoked")};
    return originals;
  }
};

TEST_F(DecodeDifferential, OriginalsAndTheirBerForms) {
  for (const Bytes& der : Originals()) {
    ExpectAgreement(der);
    Bytes indefinite = IndefiniteIssuer(der);
    ExpectAgreement(indefinite);
    ExpectAgreement(IndefiniteIssuerUnclosed(der));
    auto cert = Decoded<obCert>(indefinite);
    auto crl = Decoded<obCRL>(indefinite);
    EXPECT_TRUE(cert->OK() || crl->OK()) << "the indefinite-length name is read";
  }
}

TEST_F(DecodeDifferential, SegmentedExtensionValuesReadAsJoined) {
  const Bytes& der = Originals()[2];
  Bytes segmented = SegmentedExtensionValues(der);
  ASSERT_NE(der, segmented);
  ExpectAgreement(segmented);
  auto original = Decoded<obCert>(der);
  auto cert = Decoded<obCert>(segmented);
  ASSERT_TRUE(cert->OK());
  EXPECT_EQ(original->Extensions().Count(), cert->Extensions().Count());
  ASSERT_NE(nullptr, cert->GetBasicConstraint());
  EXPECT_EQ(1, cert->IsCritical(&obASN_id_ce_basicConstraints));
  EXPECT_EQ(1, cert->HasKeyUsage(obKU_keyCertSign));
  EXPECT_EQ(0, cert->HasKeyUsage(obKU_digitalSignature));
}

TEST_F(DecodeDifferential, CutShort) {
  for (const Bytes& der : Originals()) {
    for (size_t cut = 0; cut < der.size(); cut += 3) ExpectAgreement(Bytes(der.begin(), der.begin() + cut));
  }
}

TEST_F(DecodeDifferential, OctetsChangedAtRandom) {
  std::mt19937 rng(LoggedSeed(12));
  for (const Bytes& der : Originals()) {
    for (int round = 0; round < 1500; ++round) {
      Bytes input = der;
      for (int k = 1 + static_cast<int>(rng() % 3); k > 0; --k)
        input[rng() % input.size()] = static_cast<unsigned char>(rng() % 2 ? rng() : input[rng() % input.size()] ^ 0x80);
      ExpectAgreement(input);
    }
  }
}

}  // namespace
