// Certificates and CRLs with elliptic-curve keys: the system's trusted
// roots, ECDSA and Ed25519 objects openssl makes read and verified, and
// hostile keys and signatures refused.
#include <gtest/gtest.h>
#include <dirent.h>

#include <functional>
#include <string>
#include <vector>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/buffers/pem.h"
#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/keys/pubkey.h"
#include "nycert/platform/obstream.h"
#include "support/cert_pki.h"

namespace {

const char kMozillaRoots[] = "/usr/share/ca-certificates/mozilla";

Bytes PemDer(const std::string& path) {
  Bytes text = ReadBytes(path);
  obPemBlock block;
  unsigned offset = 0;
  if (obPem_Next(reinterpret_cast<const char*>(text.data()), static_cast<unsigned>(text.size()), offset, block) != 1)
    return {};
  return Bytes(block.der.Data(), block.der.Data() + block.der.Len());
}

std::string Printed(const obCert& cert) {
  ObStream s;
  cert.Sprint(&s, obCertHerror_All, 0);
  return s.str();
}

TEST(SystemRoots, EveryRootDecodesPrintsAndVerifiesItself) {
  DIR* dir = opendir(kMozillaRoots);
  if (!dir) GTEST_SKIP() << kMozillaRoots << " is missing";
  int count = 0, ec = 0;
  while (dirent* entry = readdir(dir)) {
    std::string name = entry->d_name;
    if (name.size() < 5 || name.compare(name.size() - 4, 4, ".crt") != 0) continue;
    ++count;
    auto cert = Decoded<obCert>(PemDer(std::string(kMozillaRoots) + "/" + name));
    ASSERT_EQ(1, cert->OK()) << name << ": " << cert->Error().getstr();
    std::string text = Printed(*cert);
    EXPECT_NE(std::string::npos, text.find("Public key: ")) << name;
    obPubKey* key = cert->PubKey();
    ASSERT_NE(nullptr, key) << name;
    ec += key->algorithm() == obAlg_EC;
    if (cert->Subject()->Equal(*cert->Issuer())) {
      EXPECT_EQ(obVfy_OK, cert->VerifySig(key)) << name;
    }
  }
  closedir(dir);
  EXPECT_GT(count, 0);
  EXPECT_GT(ec, 0);
}

// A self-signed CA certificate openssl makes with newkey ("ec -pkeyopt
// ec_paramgen_curve:P-384", "ed25519") and its key in dir/name.key.
Bytes OpensslRoot(const TempDir& dir, const std::string& name, const std::string& newkey, const std::string& md) {
  EXPECT_TRUE(Openssl(dir.path(), "req -x509 -newkey " + newkey + " -nodes -keyout " + name + ".key -subj /CN=" +
                                      name + " -days 5 " + md + " -addext basicConstraints=critical,CA:TRUE -out " +
                                      name + ".pem -outform DER"));
  return ReadBytes(dir.File(name + ".pem"));
}

// A CRL openssl's ca command signs with the root name made.
Bytes OpensslCrl(const TempDir& dir, const std::string& name, const std::string& md) {
  WriteBytes(dir.File("index.txt"), {});
  WriteBytes(dir.File("crlnumber"), Text("01\n"));
  WriteBytes(dir.File("ca.cnf"), Text("[ca]\ndefault_ca=d\n[d]\ndatabase=index.txt\ncrlnumber=crlnumber\n"
                                      "default_crl_days=5\ndefault_md=" + (md.empty() ? "default" : md) + "\n"));
  EXPECT_TRUE(Openssl(dir.path(), "x509 -inform DER -in " + name + ".pem -out " + name + ".crt"));
  EXPECT_TRUE(Openssl(dir.path(), "ca -gencrl -config ca.cnf -keyfile " + name + ".key -cert " + name +
                                      ".crt -out " + name + ".crl"));
  return PemDer(dir.File(name + ".crl"));
}

struct OpensslCase {
  const char* name;
  const char* newkey;
  const char* md;  // the digest openssl signs with; empty for Ed25519
  const char* printed;
};

class OpensslEcTest : public ::testing::TestWithParam<OpensslCase> {};

TEST_P(OpensslEcTest, CertificatesAndCrlsAreReadAndVerified) {
  const OpensslCase& c = GetParam();
  TempDir dir;
  auto cert = Decoded<obCert>(OpensslRoot(dir, c.name, c.newkey, *c.md ? std::string("-") + c.md : ""));
  ASSERT_EQ(1, cert->OK()) << cert->Error().getstr();
  EXPECT_NE(std::string::npos, Printed(*cert).find(c.printed)) << Printed(*cert);
  ASSERT_NE(nullptr, cert->PubKey());
  EXPECT_EQ(obVfy_OK, cert->VerifySig(cert->PubKey()));
  EXPECT_EQ(obVfy_BadSignature, cert->VerifySig(SharedPki().CaKey()));

  auto crl = Decoded<obCRL>(OpensslCrl(dir, c.name, c.md));
  ASSERT_EQ(1, crl->OK()) << crl->Error().getstr();
  EXPECT_EQ(obVfy_OK, crl->VerifySig(cert->PubKey()));
}

INSTANTIATE_TEST_SUITE_P(
    Keys, OpensslEcTest,
    ::testing::Values(OpensslCase{"p256", "ec -pkeyopt ec_paramgen_curve:P-256", "sha256", "ECDSA P-256 256 bits"},
                      OpensslCase{"p384", "ec -pkeyopt ec_paramgen_curve:P-384", "sha384", "ECDSA P-384 384 bits"},
                      OpensslCase{"p521", "ec -pkeyopt ec_paramgen_curve:P-521", "sha512", "ECDSA P-521 521 bits"},
                      OpensslCase{"ed25519", "ed25519", "", "EdDSA Ed25519 256 bits"}),
    [](const ::testing::TestParamInfo<OpensslCase>& p) { return std::string(p.param.name); });

// The three parts of a signed structure: to-be-signed, algorithm, and the
// signature's octets.
struct SignedParts {
  Bytes tbs, alg, sig;
};

SignedParts Split(const Bytes& der) {
  obDerReader outer(der.data(), der.size());
  obDerSpan body, bits;
  obDerElement tbs, alg;
  SignedParts parts;
  EXPECT_TRUE(outer.Read(kDerSequence, body));
  obDerReader fields(body);
  EXPECT_TRUE(fields.Next(tbs) && fields.Next(alg) && fields.Read(kDerBitString, bits) && bits.size > 1);
  parts.tbs.assign(tbs.tlv.data, tbs.tlv.data + tbs.tlv.size);
  parts.alg.assign(alg.tlv.data, alg.tlv.data + alg.tlv.size);
  parts.sig.assign(bits.data + 1, bits.data + bits.size);
  return parts;
}

Bytes Join(const SignedParts& parts) {
  return Tlv(0x30, Cat({parts.tbs, parts.alg, Tlv(0x03, Cat({{0}, parts.sig}))}));
}

// ECDSA-Sig-Value from the content octets of r and s.
Bytes SigValue(const Bytes& r, const Bytes& s) { return Tlv(0x30, Cat({Tlv(0x02, r), Tlv(0x02, s)})); }

TEST(EcSignatures, LaxOrOutOfRangeEcdsaSignaturesAreRefused) {
  TempDir dir;
  Bytes der = OpensslRoot(dir, "p256", "ec -pkeyopt ec_paramgen_curve:P-256", "-sha256");
  auto good = Decoded<obCert>(der);
  ASSERT_EQ(1, good->OK());
  obPubKey* key = good->PubKey();
  ASSERT_EQ(obVfy_OK, good->VerifySig(key));
  SignedParts parts = Split(der);
  // The signature's r and s as openssl wrote them.
  obDerReader sigReader(parts.sig.data(), parts.sig.size());
  obDerSpan body, r, s;
  ASSERT_TRUE(sigReader.Read(kDerSequence, body));
  obDerReader ints(body);
  ASSERT_TRUE(ints.Read(kDerInteger, r) && ints.Read(kDerInteger, s));
  Bytes rBytes(r.data, r.data + r.size), sBytes(s.data, s.data + s.size);
  const Bytes order = Hex("00 ff ff ff ff 00 00 00 00 ff ff ff ff ff ff ff ff bc e6 fa ad a7 17 9e 84 f3 b9 ca c2 fc 63 25 51");

  Bytes trailing = parts.sig;
  trailing.push_back(0);
  const struct {
    const char* what;
    Bytes sig;
  } cases[] = {
      {"trailing octet", trailing},
      {"r with a leading zero", SigValue(Cat({{0}, rBytes}), sBytes)},
      {"s with a leading zero", SigValue(rBytes, Cat({{0}, sBytes}))},
      {"r zero", SigValue({0}, sBytes)},
      {"s zero", SigValue(rBytes, {0})},
      {"r the order", SigValue(order, sBytes)},
      {"s beyond the order", SigValue(rBytes, Hex("01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
                                                   " 00 00 00 00 00 00 00 00 00 00"))},
      {"a long-form length", Cat({{0x30, 0x81, static_cast<unsigned char>(parts.sig.size() - 2)},
                                  Bytes(parts.sig.begin() + 2, parts.sig.end())})},
  };
  for (const auto& c : cases) {
    SignedParts bad = parts;
    bad.sig = c.sig;
    auto cert = Decoded<obCert>(Join(bad));
    ASSERT_EQ(1, cert->OK()) << c.what;
    EXPECT_EQ(obVfy_BadSignature, cert->VerifySig(key)) << c.what;
  }
  // An ECDSA signature under an Ed25519 or RSA algorithm identifier.
  SignedParts renamed = parts;
  renamed.alg = Hex("30 05 06 03 2b 65 70");
  EXPECT_EQ(obVfy_BadSignature, Decoded<obCert>(Join(renamed))->VerifySig(key));
  renamed.alg = Hex("30 0d 06 09 2a 86 48 86 f7 0d 01 01 0b 05 00");
  EXPECT_EQ(obVfy_BadSignature, Decoded<obCert>(Join(renamed))->VerifySig(key));
}

TEST(EcSignatures, Ed25519SignaturesOfTheWrongLengthAreRefused) {
  TempDir dir;
  Bytes der = OpensslRoot(dir, "ed", "ed25519", "");
  auto good = Decoded<obCert>(der);
  ASSERT_EQ(obVfy_OK, good->VerifySig(good->PubKey()));
  SignedParts parts = Split(der);
  for (size_t len : {size_t{63}, size_t{65}}) {
    SignedParts bad = parts;
    bad.sig.resize(len, 0);
    EXPECT_EQ(obVfy_BadSignature, Decoded<obCert>(Join(bad))->VerifySig(good->PubKey())) << len;
  }
}

// der with its subject public key info edited, re-signed by the shared CA.
Bytes WithKey(const Bytes& der, const std::function<void(obASN_SubjectPublicKeyInfo&)>& edit) {
  return Resign(der, [&](obASN_Certificate& c) { edit(c.tbsCertificate.subjectPublicKeyInfo); },
                SharedPki().CaKey());
}

TEST(EcKeys, HostileSubjectKeysAreRefused) {
  TempDir dir;
  Bytes p256 = OpensslRoot(dir, "p256", "ec -pkeyopt ec_paramgen_curve:P-256", "-sha256");
  auto offCurve = Decoded<obCert>(WithKey(p256, [](obASN_SubjectPublicKeyInfo& k) {
    Bytes point(k.subjectPublicKey.Octets(), k.subjectPublicKey.Octets() + k.subjectPublicKey.BitLen() / 8);
    point.back() ^= 1;
    k.subjectPublicKey.Set(point.data(), point.size() * 8);
  }));
  ASSERT_EQ(1, offCurve->OK());
  EXPECT_EQ(nullptr, offCurve->PubKey());
  EXPECT_STREQ("Error decoding key", offCurve->Error());

  auto shortPoint = Decoded<obCert>(WithKey(p256, [](obASN_SubjectPublicKeyInfo& k) {
    Bytes point(k.subjectPublicKey.Octets(), k.subjectPublicKey.Octets() + k.subjectPublicKey.BitLen() / 8 - 1);
    k.subjectPublicKey.Set(point.data(), point.size() * 8);
  }));
  EXPECT_STREQ("Bad EC point", shortPoint->Error());

  ASSERT_TRUE(Openssl(dir.path(), "ecparam -name prime256v1 -param_enc explicit -out explicit.pem"));
  auto explicitCurve = Decoded<obCert>(OpensslRoot(dir, "explicit", "ec:explicit.pem", "-sha256"));
  EXPECT_STREQ("Explicit EC curve parameters not supported", explicitCurve->Error());

  auto k1 = Decoded<obCert>(OpensslRoot(dir, "k1", "ec -pkeyopt ec_paramgen_curve:secp256k1", "-sha256"));
  EXPECT_STREQ("Unsupported EC curve", k1->Error());

  Bytes ed = OpensslRoot(dir, "ed", "ed25519", "");
  for (unsigned octets : {31u, 33u}) {
    auto wrong = Decoded<obCert>(WithKey(ed, [octets](obASN_SubjectPublicKeyInfo& k) {
      Bytes key(octets, 0x42);
      k.subjectPublicKey.Set(key.data(), key.size() * 8);
    }));
    EXPECT_STREQ("Wrong Ed25519 key length", wrong->Error()) << octets;
  }
}

}  // namespace
