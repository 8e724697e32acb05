#include "nycert/keys/nysdh.h"

#include <openssl/bn.h>
#include <openssl/dh.h>
#include <openssl/evp.h>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "nycert/keys/dh_groups.h"
#include "nycert/keys/rsa_gen.h"
#include "nycert/platform/obset.h"
#include "support/test_support.h"

namespace {

using Bytes = std::vector<unsigned char>;

struct KeyFree {
  void operator()(obPubKey* key) const { obFreePubKey(key); }
};
using DhKey = std::unique_ptr<nySDH, KeyFree>;

DhKey NewKey(const char* group) { return DhKey(obPubKey_NewDH(obDhParams(*obDhFindBuiltinGroup(group)))); }

Bytes PublicValue(const nySDH& key) {
  BIGNUM* pub = key.DHImp()->Public();
  Bytes out(static_cast<size_t>(key.DHImp()->ModLen()));
  BN_bn2binpad(pub, out.data(), static_cast<int>(out.size()));
  BN_free(pub);
  return out;
}

Bytes Derive(nySDH& key, const Bytes& peer) {
  Bytes out(static_cast<size_t>(key.DHImp()->ModLen()));
  int n = key.Derive(obPKop_DigestInfo, peer.data(), static_cast<int>(peer.size()), out.data(),
                     static_cast<int>(out.size()));
  if (n < 0) return {};
  out.resize(static_cast<size_t>(n));
  return out;
}

// OpenSSL's own derivation with the same two keys, left-padded to the modulus.
Bytes OpensslDerive(const nySDH& mine, const nySDH& peer) {
  EVP_PKEY_CTX* ctx = EVP_PKEY_CTX_new_from_pkey(nullptr, const_cast<EVP_PKEY*>(mine.DHImp()->Key()), nullptr);
  Bytes out(static_cast<size_t>(mine.DHImp()->ModLen()));
  size_t len = out.size();
  bool ok = ctx && EVP_PKEY_derive_init(ctx) > 0 && EVP_PKEY_CTX_set_dh_pad(ctx, 1) > 0 &&
            EVP_PKEY_derive_set_peer(ctx, const_cast<EVP_PKEY*>(peer.DHImp()->Key())) > 0 &&
            EVP_PKEY_derive(ctx, out.data(), &len) > 0;
  EVP_PKEY_CTX_free(ctx);
  if (!ok) return {};
  out.resize(len);
  return out;
}

TEST(DhKeyExchange, BothSidesAgreeWithEachOtherAndOpenSSLInEveryGroup) {
  for (const obDhGroupDef* row = obDhBuiltinGroups(); row->name; ++row) {
    DhKey alice = NewKey(row->name), bob = NewKey(row->name);
    ASSERT_TRUE(alice && bob) << row->name;
    EXPECT_EQ(alice->algorithm(), obAlg_DH);
    EXPECT_EQ(alice->Flags(), unsigned{nySDH_Flag_Public | nySDH_Flag_Private});
    Bytes a = Derive(*alice, PublicValue(*bob));
    Bytes b = Derive(*bob, PublicValue(*alice));
    ASSERT_EQ(a.size(), static_cast<size_t>(row->modLen)) << row->name;
    EXPECT_EQ(a, b) << row->name;
    EXPECT_EQ(a, OpensslDerive(*alice, *bob)) << row->name;
    EXPECT_NE(PublicValue(*alice), PublicValue(*bob));
  }
}

TEST(DhKeyExchange, PrivateValueHasTheGroupsLength) {
  for (const char* group : {"isakmp", "skip1024", "obz512"}) {
    const obDhGroupDef* row = obDhFindBuiltinGroup(group);
    DhKey key = NewKey(group);
    ASSERT_TRUE(key);
    BIGNUM* priv = key->DHImp()->Private();
    ASSERT_NE(priv, nullptr);
    EXPECT_LE(BN_num_bits(priv), row->privBits) << group;
    EXPECT_GT(BN_num_bits(priv), row->privBits - 16) << group;
    BN_clear_free(priv);
  }
}

TEST(DhKeyExchange, RefusesDegeneratePeerValuesAndIllegalLengths) {
  const obDhGroupDef* row = obDhFindBuiltinGroup("skip512");
  DhKey key = NewKey("skip512");
  Bytes p(row->modulus, row->modulus + row->modLen);
  Bytes pMinus1 = p;
  pMinus1.back() -= 1;  // the SKIP prime is odd: no borrow
  Bytes out(64);
  for (const Bytes& bad : {Bytes{0}, Bytes{1}, pMinus1, p, Bytes(64, 0xff)}) {
    EXPECT_EQ(key->Derive(obPKop_DigestInfo, bad.data(), static_cast<int>(bad.size()), out.data(), 64), -1);
  }
  Bytes two{2};
  EXPECT_EQ(key->Derive(obPKop_DigestInfo, two.data(), 1, out.data(), 64), 64);
  Bytes tooLong(65, 1);
  EXPECT_EQ(Gated([&] { return key->Derive(obPKop_DigestInfo, tooLong.data(), 65, out.data(), 64); },
                  "nySDH_imp::Derive: Illegal key len (65)."),
            obPK_RC_LengthMismatch);
  EXPECT_EQ(key->Derive(obPKop_DigestInfo, two.data(), 0, out.data(), 64), obPK_RC_LengthMismatch);
  EXPECT_EQ(key->Derive(obPKop_DigestInfo, two.data(), 1, out.data(), 63), obPK_RC_BufferTooSmall);
  EXPECT_EQ(key->Derive(obPKop_DigestInfo, two.data(), 1, nullptr, 0), 64);
}

TEST(DhKeyOperations, SigningIsNotImplementedAndExportsAgree) {
  DhKey key = NewKey("isakmp");
  unsigned char buf[256];
  EXPECT_EQ(Gated([&] { return key->Sign(obPKop_DigestInfo, ob_md_sha1, buf, 20, buf, 256); },
                  "Sign not implemeted for nySDH_imp"),
            obPK_RC_NotImplemented);
  EXPECT_EQ(key->Encrypt(obPKop_DigestInfo, buf, 20, buf, 256), obPK_RC_NotImplemented);

  int len = key->Export(obPK_Format_PublicDER, nullptr, 0);
  ASSERT_GT(len, 96);
  Bytes der(static_cast<size_t>(len));
  ASSERT_EQ(key->Export(obPK_Format_PublicDER, der.data(), len), len);
  EXPECT_EQ(der[0], 0x02);  // INTEGER
  EXPECT_EQ(key->Export(obPK_Format_PublicDER, der.data(), len - 1), obPK_RC_BufferTooSmall);

  obset* set = nullptr;
  EXPECT_EQ(key->Export(obPK_Format_Set, &set, 3), obPK_RC_ExportFailed);
  ASSERT_EQ(key->Export(obPK_Format_Set, &set, 4), 0);
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(set->GetValue("modulus")->Len(), 96u);
  EXPECT_EQ(set->GetValue("public")->Len(), 96u);
  EXPECT_EQ(Bytes(set->GetValue("public")->Data(), set->GetValue("public")->Data() + 96), PublicValue(*key));
  EXPECT_NE(set->GetValue("private"), nullptr);
  obset_free(set);
  EXPECT_EQ(key->GetLen(obPK_Len_Bits), 768);
  EXPECT_EQ(key->GetLen(obPK_Len_Bytes), 96);
}

TEST(DhKeyOperations, EqualAcrossKindsAndGroups) {
  // Public values of the same DER length differ in their octets only.
  DhKey a = NewKey("isakmp1024"), b = NewKey("isakmp1024");
  for (int i = 0; i < 50 && a->Export(obPK_Format_PublicDER, nullptr, 0) != b->Export(obPK_Format_PublicDER, nullptr, 0);
       ++i)
    b = NewKey("isakmp1024");
  EXPECT_EQ(obPubKey_Equal(a.get(), a.get()), 1);
  EXPECT_EQ(Gated([&] { return obPubKey_Equal(a.get(), b.get()); }, "obPubKey_Equal: Different keys."), 0);
  std::unique_ptr<obPubKey, KeyFree> rsa(obGenerateRSA(1024));
  ASSERT_TRUE(rsa);
  EXPECT_EQ(Gated([&] { return obPubKey_Equal(a.get(), rsa.get()); }, "obPubKey_Equal: Different keys (length)."),
            0);
  EXPECT_EQ(rsa->Derive(obPKop_DigestInfo, nullptr, 0, nullptr, 0), obPK_RC_NotImplemented);
}

TEST(DhKeyOperations, BadGroupsGiveNoKey) {
  unsigned char two = 2;
  const obDhGroupDef* row = obDhFindBuiltinGroup("skip512");
  EXPECT_EQ(obPubKey_NewDH(nullptr, 0, &two, 1, 128), nullptr);
  EXPECT_EQ(obPubKey_NewDH(row->modulus, row->modLen, &two, 1, 0), nullptr);
  EXPECT_EQ(obPubKey_NewDH(row->modulus, row->modLen, &two, 1, 513), nullptr);
  EXPECT_EQ(obPubKey_NewDH(obDhParams("x", nullptr, 0, &two, 1, 128)), nullptr);
}

}  // namespace
