#include "nycert/keystore/pk_named_obj.h"

#include <gtest/gtest.h>

#include <string>

#include "keystore/keystore_test_util.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keystore/pk_objects.h"
#include "nycert/names/general_names.h"
#include "nycert/names/obdn.h"
#include "support/test_support.h"

namespace {

std::string IdOf(const obPKNamedObj& obj) {
  return obj.Id() ? std::string(reinterpret_cast<const char*>(obj.Id()), static_cast<size_t>(obj.IdLen())) : "";
}

TEST(NamedObject, CopiesNameAndIdentifierAndHasNoDN) {
  std::string name = "entry";
  unsigned char id[] = {1, 2, 0, 4};
  PKPtr<obPKNamedObj> obj(new obPKNamedObj(name.c_str(), 0x101, id, sizeof id));
  name[0] = 'X';
  id[0] = 9;
  EXPECT_STREQ("entry", obj->Name());
  EXPECT_EQ(0x101, obj->Purpose());
  EXPECT_EQ(std::string("\x01\x02\x00\x04", 4), IdOf(*obj));
  EXPECT_EQ(nullptr, obj->DN());

  PKPtr<obPKNamedObj> bare(new obPKNamedObj(nullptr, 0, id, 0));
  EXPECT_EQ(nullptr, bare->Name());
  EXPECT_EQ(nullptr, bare->Id());
  EXPECT_EQ(0, bare->IdLen());
  PKPtr<obPKNamedObj> empty(new obPKNamedObj("", 0, nullptr, 5));
  EXPECT_STREQ("", empty->Name());
  EXPECT_EQ(0, empty->IdLen());
}

TEST(RootCA, DNIsTheCertificateSubjectAndNoneWithoutOne) {
  SignedPtr<obCert> cert = ChainCertificate("root");
  EXPECT_EQ(cert->Subject(), MakeRoot("r", cert.get())->DN());
  EXPECT_EQ(nullptr, MakeRoot("r", nullptr)->DN());
}

TEST(RootCA, HoldsItsOwnReferenceToTheCertificate) {
  SignedPtr<obCert> cert = ChainCertificate("root");
  obCert* raw = cert.get();
  PKPtr<obRootCA> ca = MakeRoot("r", raw);
  EXPECT_EQ(2, raw->RefCount());
  cert.reset();
  EXPECT_EQ(1, raw->RefCount());
  EXPECT_STREQ("CN=Root,O=Chain Test", ca->Cert()->Subject()->GetStr()) << "once the caller dropped its copy";
}

TEST(RootCA, ConstructorArgumentsLandInTheirFields) {
  SignedPtr<obCert> cert = ChainCertificate("root");
  obGeneralNames constraints;
  constraints.Add(new obGeneralName(obGN_dNSName, "example.com", 11));
  const unsigned char id[] = {7, 7};
  PKPtr<obRootCA> ca(new obRootCA("n", cert.get(), 0x30, obCaType_External, 0x42, id, 2, &constraints, 9));
  EXPECT_EQ(0x30u, ca->ValType());
  EXPECT_EQ(obCaType_External, ca->CAType());
  EXPECT_EQ(0x42, ca->Purpose());
  EXPECT_EQ(9, ca->CrlTo());
  EXPECT_EQ(obCaRevocation_CRL, ca->RevocationMethod());
  EXPECT_EQ(nullptr, ca->OcspServers());
  EXPECT_EQ(0, ca->IsMsEnterprise());
  EXPECT_EQ(0, ca->UseCN2FetchUser());
  ASSERT_NE(nullptr, ca->NameConstraints());
  EXPECT_NE(&constraints, ca->NameConstraints()) << "the constraints are the CA's own copy";
  constraints.Set(0, nullptr);
  ASSERT_EQ(1, ca->NameConstraints()->Count());
  EXPECT_STREQ("example.com", ca->NameConstraints()->Get(0)->GetStr());

  ca->SetValType(1);
  ca->SetCAType(obCaType_Internal);
  ca->SetMsEnterprise(5);
  ca->SetUseCN2FetchUser(1);
  ca->SetRevocationMethod(obCaRevocation_OCSP);
  EXPECT_EQ(1u, ca->ValType());
  EXPECT_EQ(obCaType_Internal, ca->CAType());
  EXPECT_EQ(1, ca->IsMsEnterprise());
  EXPECT_EQ(1, ca->UseCN2FetchUser());
  EXPECT_EQ(obCaRevocation_OCSP, ca->RevocationMethod());
  EXPECT_EQ(nullptr, MakeRoot("r", nullptr)->NameConstraints());
}

TEST(RootCA, OcspServersAreReferencedAndReplaced) {
  PKPtr<obPKObjects> first(new obPKObjects);
  PKPtr<obPKObjects> second(new obPKObjects);
  PKPtr<obRootCA> ca(new obRootCA(new obRootCA_imp("r", nullptr, 0, obCaType_Unknown, 0, nullptr, 0, nullptr, 0,
                                                   obCaRevocation_OCSP, first.get())));
  EXPECT_EQ(first.get(), ca->OcspServers());
  EXPECT_EQ(2, first->RefCount());
  ca->SetOcspServers(second.get());
  EXPECT_EQ(1, first->RefCount());
  EXPECT_EQ(2, second->RefCount());
  ca->SetOcspServers(second.get());
  EXPECT_EQ(2, second->RefCount()) << "setting the same collection again";
  ca->SetOcspServers(nullptr);
  EXPECT_EQ(1, second->RefCount());
}

TEST(CertifiedKey, DNIsItsOwnCertificateSubjectAndNoneForAnEmptyChain) {
  obCerts chain;
  chain.Add(ChainCertificate("leaf").release());
  chain.Add(ChainCertificate("ca2").release());
  EXPECT_STREQ("CN=leaf.example,O=Chain Test", MakeKey("k", &chain, nullptr)->DN()->GetStr());
  obCerts empty;
  EXPECT_EQ(nullptr, MakeKey("k", &empty, nullptr)->DN());
  EXPECT_EQ(nullptr, MakeKey("k", nullptr, nullptr)->DN());
}

TEST(CertifiedKey, CopiesTheChainWithoutGapsAndReferencesRootAndKey) {
  SignedPtr<obCert> leaf = ChainCertificate("leaf");
  obCerts chain(4);
  obSaveSigned(leaf.get());
  chain.Set(1, leaf.get());
  PKPtr<obRootCA> root = MakeRoot("r", nullptr);
  obPubKey* key = SharedPki().CaKey();
  int keyRefs = key->RefCount();
  {
    PKPtr<obCertifiedKey> certKey(new obCertifiedKey("k", &chain, root.get(), key, 3, nullptr, 0));
    chain.ClearAll();
    EXPECT_EQ(leaf.get(), certKey->Chain().Get(0));
    EXPECT_EQ(1, certKey->Chain().Count());
    EXPECT_EQ(2, leaf->RefCount());
    EXPECT_EQ(root.get(), certKey->Root());
    EXPECT_EQ(2, root->RefCount());
    EXPECT_EQ(key, certKey->PubKey());
    EXPECT_EQ(keyRefs + 1, key->RefCount());
    EXPECT_EQ(3, certKey->Purpose());
  }
  EXPECT_EQ(1, leaf->RefCount());
  EXPECT_EQ(1, root->RefCount());
  EXPECT_EQ(keyRefs, key->RefCount());
}

TEST(NamedObjectPrinting, NamesTheObjectAndItsSettings) {
  SignedPtr<obCert> cert = ChainCertificate("root");
  PKPtr<obRootCA> ca = MakeRoot("trusted", cert.get(), obCaType_Enrollment, "\xAB\x01");
  DiagCapture capture;
  ca->Herror();
  std::string all;
  for (const std::string& line : capture.Lines()) all += line + "\n";
  EXPECT_NE(std::string::npos, all.find("root CA \"trusted\": purpose 0x0, id AB01")) << all;
  EXPECT_NE(std::string::npos, all.find("DN: CN=Root,O=Chain Test")) << all;
  EXPECT_NE(std::string::npos, all.find("CA type 2")) << all;
  capture.Clear();
  MakeKey(nullptr, nullptr, ca.get())->Herror();
  EXPECT_TRUE(capture.Saw("certified key \"<no name>\"")) << capture.Lines().size();
  EXPECT_TRUE(capture.Saw("root trusted, no key"));
}

}  // namespace
