#include "nycert/keys/dh_groups.h"

#include <openssl/bn.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "nycert/keys/dh_group_load.h"
#include "nycert/keys/dh_params.h"
#include "nycert/platform/obstream.h"
#include "support/test_support.h"

namespace {

struct BnFree {
  void operator()(BIGNUM* bn) const { BN_free(bn); }
};
using Bn = std::unique_ptr<BIGNUM, BnFree>;

Bn FromBytes(const unsigned char* p, int len) { return Bn(BN_bin2bn(p, len, nullptr)); }

bool IsPrime(const BIGNUM* n) {
  std::unique_ptr<BN_CTX, void (*)(BN_CTX*)> ctx(BN_CTX_new(), BN_CTX_free);
  return BN_check_prime(n, ctx.get(), nullptr) == 1;
}

// p prime and (p-1)/2 prime.
bool IsSafePrime(const BIGNUM* p) {
  Bn q(BN_dup(p));
  BN_rshift1(q.get(), q.get());
  return IsPrime(p) && IsPrime(q.get());
}

TEST(DhGroupTable, RowsInOrderWithTheirSizes) {
  struct Want {
    const char* name;
    int privBits, modLen, genLen, grpNum;
  };
  const Want want[] = {{"isakmp", 160, 96, 1, 1},   {"isakmp1024", 192, 128, 1, 2}, {"isakmp1536", 256, 192, 1, 5},
                       {"group14", 256, 256, 1, 14}, {"skip512", 128, 64, 1, 0},     {"skip1024", 400, 128, 1, 0},
                       {"obz512", 128, 64, 64, 0}};
  const obDhGroupDef* row = obDhBuiltinGroups();
  for (const Want& w : want) {
    ASSERT_NE(row->name, nullptr);
    EXPECT_STREQ(row->name, w.name);
    EXPECT_EQ(row->privBits, w.privBits) << w.name;
    EXPECT_EQ(row->modLen, w.modLen) << w.name;
    EXPECT_EQ(row->genLen, w.genLen) << w.name;
    EXPECT_EQ(row->grpNum, w.grpNum) << w.name;
    ++row;
  }
  EXPECT_EQ(row->name, nullptr);
}

TEST(DhGroupTable, RfcPrimesMatchOpenSSL) {
  const std::pair<const char*, BIGNUM* (*)(BIGNUM*)> rfc[] = {{"isakmp", BN_get_rfc2409_prime_768},
                                                             {"isakmp1024", BN_get_rfc2409_prime_1024},
                                                             {"isakmp1536", BN_get_rfc3526_prime_1536},
                                                             {"group14", BN_get_rfc3526_prime_2048}};
  for (const auto& [name, get] : rfc) {
    const obDhGroupDef* row = obDhFindBuiltinGroup(name);
    ASSERT_NE(row, nullptr);
    Bn expected(get(nullptr));
    EXPECT_EQ(BN_cmp(FromBytes(row->modulus, row->modLen).get(), expected.get()), 0) << name;
    EXPECT_EQ(row->generator[0], 2);
  }
}

TEST(DhGroupTable, SkipAndOwnModuliAreSafePrimes) {
  for (const char* name : {"skip512", "skip1024", "obz512"}) {
    const obDhGroupDef* row = obDhFindBuiltinGroup(name);
    ASSERT_NE(row, nullptr);
    EXPECT_TRUE(IsSafePrime(FromBytes(row->modulus, row->modLen).get())) << name;
    EXPECT_NE(row->modulus[0], 0) << name;
  }
}

// The own group's generator fills its 64 octets and lies in the subgroup of
// prime order q = (p-1)/2: g^q = 1 and g is neither 1 nor p-1.
TEST(DhGroupTable, OwnGeneratorHasPrimeOrder) {
  const obDhGroupDef* row = obDhFindBuiltinGroup("obz512");
  ASSERT_NE(row, nullptr);
  ASSERT_EQ(row->genLen, 64);
  EXPECT_NE(row->generator[0], 0);
  Bn p = FromBytes(row->modulus, row->modLen);
  Bn g = FromBytes(row->generator, row->genLen);
  Bn q(BN_dup(p.get()));
  BN_rshift1(q.get(), q.get());
  Bn pMinus1(BN_dup(p.get()));
  BN_sub_word(pMinus1.get(), 1);
  Bn r(BN_new());
  std::unique_ptr<BN_CTX, void (*)(BN_CTX*)> ctx(BN_CTX_new(), BN_CTX_free);
  ASSERT_EQ(BN_mod_exp(r.get(), g.get(), q.get(), p.get(), ctx.get()), 1);
  EXPECT_TRUE(BN_is_one(r.get()));
  EXPECT_FALSE(BN_is_one(g.get()));
  EXPECT_NE(BN_cmp(g.get(), pMinus1.get()), 0);
  EXPECT_LT(BN_cmp(g.get(), p.get()), 0);
}

TEST(DhGroupLookup, OnlyIsakmpRowsAnswer) {
  EXPECT_EQ(FindIKEDHGroupByModSize(128), 2);
  EXPECT_EQ(FindIKEDHGroupByModSize(96), 1);
  EXPECT_EQ(FindIKEDHGroupByModSize(192), 5);
  EXPECT_EQ(FindIKEDHGroupByModSize(256), -1);
  EXPECT_EQ(FindIKEDHGroupByModSize(64), -1);
  EXPECT_STREQ(FindIKEDHGroupByGrpNum(5), "isakmp1536");
  EXPECT_STREQ(FindIKEDHGroupByGrpNum(1), "isakmp");
  EXPECT_EQ(FindIKEDHGroupByGrpNum(14), nullptr);
  EXPECT_EQ(FindIKEDHGroupByGrpNum(0), nullptr);
}

TEST(DhGroupNumbers, LegalRangeBoundaries) {
  for (int legal : {1, 2, 5, 14, 18, 32768, 65535}) EXPECT_EQ(GrpNumOutOfLegalRange(legal), 0) << legal;
  for (int illegal : {0, 3, 4, 13, 19, 32767, 65536, -1}) {
    EXPECT_EQ(Gated([&] { return GrpNumOutOfLegalRange(illegal); },
                    "GrpNumOutOfLegalRange: grpNum is out of legal range"),
              1)
        << illegal;
  }
}

DhGrpParams Record(int grpNum, int maxPrivLen) {
  DhGrpParams grp{};
  grp.grpNum = grpNum;
  grp.maxPrivLen = maxPrivLen;
  grp.modSize = 128;
  return grp;
}

TEST(DhGroupNumbers, Renumbering) {
  DhGrpParams a = Record(32768, 512), b = Record(32769, 512), c = Record(16, 512);
  DhGrpParams* list[] = {&a, &b, &c};
  EXPECT_EQ(VerifyDhGrpNum(3, list, 32769, 17), 0);
  EXPECT_EQ(Gated([&] { return VerifyDhGrpNum(3, list, 2, 17); },
                  "VerifyDhGrpNum: Can't change group number since it's predefined"),
            obDhGrp_Predefined);
  EXPECT_EQ(VerifyDhGrpNum(3, list, 32769, 19), obDhGrp_OutOfRange);
  EXPECT_EQ(Gated([&] { return VerifyDhGrpNum(3, list, 32769, 16); }, "VerifyDhGrpNum: new group number is not unique"),
            obDhGrp_NotUnique);
  // The clash with the first record is found before the old group.
  EXPECT_EQ(VerifyDhGrpNum(3, list, 16, 32768), obDhGrp_NotUnique);
  EXPECT_EQ(Gated([&] { return VerifyDhGrpNum(3, list, 40000, 17); },
                  "VerifyDhGrpNum: old group number does not exist in group list"),
            obDhGrp_OldNotFound);
}

TEST(DhGroupNumbers, PrivateLengthBounds) {
  DhGrpParams grp = Record(32768, 400);
  EXPECT_EQ(VerifyDhPrivLen(&grp, 128, nullptr, nullptr), 0);
  EXPECT_EQ(VerifyDhPrivLen(&grp, 400, nullptr, nullptr), 0);
  int lo = 0, hi = 0;
  EXPECT_EQ(Gated([&] { return VerifyDhPrivLen(&grp, 127, &lo, &hi); },
                  "VerifyDhPrivLen: Private key length is out of range"),
            obDhGrp_PrivLenOutOfRange);
  EXPECT_EQ(lo, 128);
  EXPECT_EQ(hi, 400);
  EXPECT_EQ(VerifyDhPrivLen(&grp, 401, nullptr, nullptr), obDhGrp_PrivLenOutOfRange);
  EXPECT_EQ(Gated([] { return VerifyDhPrivLen(nullptr, 200, nullptr, nullptr); },
                  "VerifyDhPrivLen: Received no struct as input"),
            obDhGrp_NoInput);
}

TEST(DhParamsPrint, BuiltinGroupAndNotOk) {
  obDhParams params(*obDhFindBuiltinGroup("skip1024"));
  ObStream out;
  params.Sprint(&out, 0);
  std::string text = out.str();
  EXPECT_EQ(text.rfind("DH parameters:\n==============\nPrivate bits 400:\nModulus:\nSize(bits): 1024\n  f4 88 fd", 0), 0u)
      << text;
  EXPECT_NE(text.find("Generator:\nSize(bits): 2\n"), std::string::npos);
  EXPECT_EQ(params.PrivBytes(), 50);
  obDhParams empty("none", nullptr, 0, nullptr, 0, 128);
  ObStream bad;
  empty.Sprint(&bad, 0);
  EXPECT_EQ(bad.str(), "Not Ok\n");
  EXPECT_EQ(empty.OK(), 0);
}

// A user-defined group object with the attributes the loader reads.
obset* UserGroup(const std::string& name, int grpNum, const std::string& modsize, int privLen) {
  const obDhGroupDef* skip = obDhFindBuiltinGroup("skip1024");
  obset* object = obset_new();
  auto put = [&](const char* attr, const std::string& text) {
    object->Put(attr, reinterpret_cast<const unsigned char*>(text.data()), static_cast<unsigned>(text.size()));
  };
  put("class", "IKE_DH_parameters");
  put("type", "user");
  put("Group", name);
  object->Put("value", skip->modulus, static_cast<unsigned>(skip->modLen));
  object->Put("root", skip->generator, 1);
  put("modsize", modsize);
  put("rootsize", "1");
  put("DH_group_number", std::to_string(grpNum));
  put("private_key_length", std::to_string(privLen));
  return object;
}

obset* Named(const char* kind, const char* type) {
  obset* object = obset_new();
  object->Put("class", reinterpret_cast<const unsigned char*>(kind), static_cast<unsigned>(std::strlen(kind)));
  object->Put("type", reinterpret_cast<const unsigned char*>(type), static_cast<unsigned>(std::strlen(type)));
  return object;
}

TEST(DhGroupLoading, LoadsEveryKindAndReportsTheRest) {
  DestroyDHP();
  std::unique_ptr<obset> single(Named("OBZ_DH_parameters", "obz512"));
  EXPECT_EQ(Gated([&] { return LoadDHGroup(single.get()); },
                  "LoadDHGroup: Can't create mutex or DHP, DHP was not initialized, can't create new DHParams."),
            -1);

  std::unique_ptr<obset> config(obset_new());
  config->PutSet("a", Named("IKE_DH_parameters", "isakmp1024"));
  config->PutSet("b", Named("SKIP_DH_parameters", "skip512"));
  config->PutSet("c", Named("SKIP_DH_parameters", "skip2048"));
  config->PutSet("d", Named("OBZ_DH_parameters", "obz512"));
  config->PutSet("e", UserGroup("mine", 32768, "128", 300));
  config->PutSet("f", Named("SKIP_DH_parameters", "skip4096"));
  config->PutSet("g", Named("OBZ_DH_parameters", "obz1024"));
  config->PutSet("h", UserGroup("wrongsize", 32769, "127", 300));
  DiagCapture diag;
  EXPECT_EQ(LoadAllDHGroups(config.get()), 4);
  EXPECT_TRUE(diag.Saw("LoadAllDHGroups: creating 8 groups"));
  EXPECT_TRUE(diag.Saw("LoadDHGroup: SKIP group: skip4096 not supported"));
  EXPECT_TRUE(diag.Saw("LoadDHGroup: OBZ group: obz1024 not supported"));
  EXPECT_TRUE(diag.Saw("GetDhParams: modsize in DB: 127 doesn't match actual modsize: 128"));
  std::unique_ptr<obDhParams> mine(obDhGroup_Find("mine"));
  ASSERT_NE(mine, nullptr);
  EXPECT_EQ(mine->ModLen(), 128);
  EXPECT_EQ(mine->PrivBits(), 300);
  EXPECT_NE(std::unique_ptr<obDhParams>(obDhGroup_Find("obz512")), nullptr);
  EXPECT_EQ(obDhGroup_Find("skip2048"), nullptr);
  diag.Clear();
  DestroyDHP();
  EXPECT_TRUE(diag.Saw("DestroyDHP: destroyed 4 groups"));
  EXPECT_EQ(obDhGroup_Count(), 0);
}

TEST(DhGroupLoading, UserGroupFaults) {
  struct Case {
    const char* drop;
    const char* message;
  };
  const Case cases[] = {
      {"root", "GetDhParams: Failed to get modulus or generator from group"},
      {"Group", "GetDhParams: Failed to get group name from group"},
      {"modsize", "GetDhParams: Error in reading modsize from DH group"},
      {"rootsize", "GetDhParams: Error in reading rootsize from DH group"},
      {"DH_group_number", "GetDhParams: Failed to get group number from group"},
      {"private_key_length", "GetDhParams: Failed to get private key length from group"},
  };
  for (const Case& c : cases) {
    std::unique_ptr<obset> object(UserGroup("g", 32768, "128", 300));
    object->Put(c.drop, nullptr, 0);
    DiagCapture diag;
    EXPECT_EQ(GetDhParams(object.get()), nullptr) << c.drop;
    EXPECT_TRUE(diag.Saw(c.message)) << c.drop;
  }
  std::unique_ptr<obset> bad(UserGroup("g", 32768, "128", 300));
  bad->Put("rootsize", reinterpret_cast<const unsigned char*>("2"), 1);
  DiagCapture diag;
  EXPECT_EQ(GetDhParams(bad.get()), nullptr);
  EXPECT_TRUE(diag.Saw("GetDhParams: gensize in DB: 2 doesn't match actual gensize: 1"));
}

TEST(DhGroupLoading, ValidatesUserGroupLists) {
  std::unique_ptr<obset> o1(UserGroup("one", 32768, "128", 300)), o2(UserGroup("two", 32769, "128", 1024)),
      o3(UserGroup("three", 32768, "128", 300)), o4(UserGroup("four", 32770, "128", 1025)),
      o5(UserGroup("five", 20, "128", 300));
  DhGrpParams* g1 = GetDhParams(o1.get());
  DhGrpParams* g2 = GetDhParams(o2.get());
  DhGrpParams* g3 = GetDhParams(o3.get());
  DhGrpParams* g4 = GetDhParams(o4.get());
  DhGrpParams* g5 = GetDhParams(o5.get());
  ASSERT_TRUE(g1 && g2 && g3 && g4 && g5);
  EXPECT_STREQ(g2->name, "two");
  DhGrpParams* good[] = {g1, g2};
  DhGrpParams* clash[] = {g1, g2, g3};
  DhGrpParams* tooLong[] = {g1, g4};
  DhGrpParams* outOfRange[] = {g5};
  EXPECT_EQ(ValidateDhGrpList(2, good), 0);
  EXPECT_EQ(ValidateDhGrpList(3, clash), obDhGrp_NotUnique);
  EXPECT_EQ(ValidateDhGrpList(2, tooLong), obDhGrp_PrivLenOutOfRange);
  EXPECT_EQ(ValidateDhGrpList(1, outOfRange), obDhGrp_OutOfRange);
  for (DhGrpParams* g : {g1, g2, g3, g4, g5}) DestroyDhGrpParams(g);
}

}  // namespace
