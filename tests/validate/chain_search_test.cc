#include "nycert/validate/chain_search.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "nycert/certs/cert.h"
#include "nycert/certs/ext_key_id.h"
#include "support/chain_pki.h"

namespace {

// Sets DONT_USE_AUTHKID to value for its lifetime.
class AuthKidSwitch {
 public:
  explicit AuthKidSwitch(const char* value) { setenv("DONT_USE_AUTHKID", value, 1); }
  ~AuthKidSwitch() { unsetenv("DONT_USE_AUTHKID"); }
};

TEST(IssuerSearch, ByKeyIdentifierSkippingEmptySlots) {
  obCerts list(6);
  list.Set(2, ChainCertificate("root-twin").release());
  list.Set(4, ChainCertificate("root").release());
  SignedPtr<obCert> ca1 = ChainCertificate("ca1");
  EXPECT_EQ(4, obCerts_FindIssuer(&list, ca1.get())) << "the twin has the name but not the key";
  SignedPtr<obCert> crossed = ChainCertificate("x-ca1");
  EXPECT_EQ(-1, obCerts_FindIssuer(&list, crossed.get()));
  EXPECT_EQ(-1, obCerts_FindIssuer(&list, nullptr));
  EXPECT_EQ(-1, obCerts_FindIssuer(nullptr, ca1.get()));
}

TEST(IssuerSearch, AKeyIdentifierThatMatchesNothingIsNotFoundByName) {
  obCerts list;
  AddChainCerts(list, {"stray", "root-twin"});
  SignedPtr<obCert> ca1 = ChainCertificate("ca1");
  EXPECT_EQ(-1, obCerts_FindIssuer(&list, ca1.get()));
  {
    AuthKidSwitch off("");
    EXPECT_EQ(1, obCerts_FindIssuer(&list, ca1.get())) << "set but empty still switches key matching off";
  }
  EXPECT_EQ(-1, obCerts_FindIssuer(&list, ca1.get())) << "read again at every search";
}

TEST(IssuerSearch, ByNameWithoutKeyIdentifiers) {
  obCerts list;
  AddChainCerts(list, {"nk-leaf", "nk-ca2", "nk-ca1", "nk-root"});
  SignedPtr<obCert> ca2 = ChainCertificate("nk-ca2");
  EXPECT_EQ(2, obCerts_FindIssuer(&list, ca2.get()));
  SignedPtr<obCert> root = ChainCertificate("nk-root");
  EXPECT_EQ(3, obCerts_FindIssuer(&list, root.get())) << "a root is its own issuer";
}

TEST(IssuerSearch, ByIssuerAndSerialOfTheIssuersCertificate) {
  obCerts list;
  AddChainCerts(list, {"root-twin", "root"});
  SignedPtr<obCert> ca = ChainCertificate("is-ca1");
  const obExtKeyID* authorityKeyId = ca->AuthorityKeyId();
  ASSERT_NE(nullptr, authorityKeyId);
  ASSERT_EQ(0u, authorityKeyId->KIdBuf().size);
  EXPECT_EQ(1, obCerts_FindCertWithSubjectKId(&list, authorityKeyId)) << "the twin has another serial";
  EXPECT_EQ(1, obCerts_FindIssuer(&list, ca.get()));
  obCerts others;
  AddChainCerts(others, {"ca1", "other-root"});
  EXPECT_EQ(-1, obCerts_FindCertWithSubjectKId(&others, authorityKeyId));
  EXPECT_EQ(-1, obCerts_FindCertWithSubjectKId(&list, nullptr));
}

TEST(IssuerSearch, SkipsCertificatesThatDidNotDecode) {
  const Bytes& der = SharedChainPki().Der("root");
  obCerts list;
  list.Add(Decoded<obCert>(Bytes(der.begin(), der.begin() + 40)).release());
  list.Add(ChainCertificate("root").release());
  SignedPtr<obCert> ca1 = ChainCertificate("ca1");
  EXPECT_EQ(1, obCerts_FindCertWithSubjectKId(&list, ca1->AuthorityKeyId()));
}

TEST(SubordinateSearch, ByNameOnlyAndARootIsItsOwn) {
  obCerts list;
  AddChainCerts(list, {"stray", "ca1", "x-ca1", "root"});
  SignedPtr<obCert> root = ChainCertificate("root");
  EXPECT_EQ(1, obCerts_FindSubordinate(&list, root.get()));
  SignedPtr<obCert> other = ChainCertificate("other-root");
  EXPECT_EQ(2, obCerts_FindSubordinate(&list, other.get()));
  SignedPtr<obCert> stray = ChainCertificate("stray");
  EXPECT_EQ(0, obCerts_FindSubordinate(&list, stray.get()));
  SignedPtr<obCert> leaf = ChainCertificate("leaf");
  EXPECT_EQ(-1, obCerts_FindSubordinate(&list, leaf.get()));
  EXPECT_EQ(-1, obCerts_FindSubordinate(nullptr, leaf.get()));
}

}  // namespace
