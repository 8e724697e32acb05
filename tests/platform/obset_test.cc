// The attribute set used as the export form of keys.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "nycert/platform/obset.h"
#include "support/test_support.h"

namespace {

int PutText(obset* set, const char* name, const std::string& text) {
  return set->Put(name, reinterpret_cast<const unsigned char*>(text.data()), static_cast<unsigned>(text.size()));
}

int PutHex(obset* set, const char* name, const std::string& hex) {
  std::vector<unsigned char> bytes = Hex(hex);
  return set->Put(name, bytes.data(), static_cast<unsigned>(bytes.size()));
}

std::string Text(const ObBytes* value) {
  return value ? std::string(value->begin(), value->end()) : "<none>";
}

std::vector<std::string> Names(const obset& set) {
  std::vector<std::string> names;
  for (const ObAtom& atom : set) names.push_back(atom.name);
  return names;
}

}  // namespace

TEST(ObsetAttributes, PutReplacesInPlaceAndGetFindsExactNames) {
  obset set;
  EXPECT_EQ(PutHex(&set, "modulus", "00 c3 11"), 0);
  EXPECT_EQ(PutHex(&set, "public", "01 00 01"), 0);
  EXPECT_EQ(set.Put("empty", nullptr, 0), 0);
  EXPECT_EQ(PutText(&set, "modulus", "longer modulus"), 0);  // replaces, keeps its place
  EXPECT_EQ(set.Count(), 3u);
  EXPECT_EQ(Names(set), (std::vector<std::string>{"modulus", "public", "empty"}));
  EXPECT_EQ(Text(set.GetValue("modulus")), "longer modulus");
  EXPECT_EQ(set.GetValue("public")->size(), 3u);
  ASSERT_NE(set.Get("empty"), nullptr);
  EXPECT_EQ(set.Get("empty")->value.size(), 0u);
  EXPECT_EQ(set.Get("Modulus"), nullptr);  // names are case-sensitive
  EXPECT_EQ(set.Get(nullptr), nullptr);
  EXPECT_EQ(set.GetSet("modulus"), nullptr);  // a value, not a nested set

  // A value copied from the very attribute it replaces.
  const ObBytes* own = set.GetValue("public");
  EXPECT_EQ(set.Put("public", own->data() + 1, 2), 0);
  EXPECT_EQ(ToHex(*set.GetValue("public")), "00 01");
}

TEST(ObsetAttributes, BadArgumentsAreRefusedWithoutChange) {
  obset set;
  const unsigned char byte = 7;
  EXPECT_EQ(set.Put(nullptr, &byte, 1), -1);
  EXPECT_EQ(set.Put("", &byte, 1), -1);
  EXPECT_EQ(set.Put("x", nullptr, 1), -1);
  EXPECT_EQ(set.PutSet("x", nullptr), -1);
  EXPECT_EQ(set.PutSet("", obset_new()), -1);  // taken over and freed: the sanitizer build checks
  EXPECT_EQ(set.PutSet("self", &set), -1);
  EXPECT_EQ(set.Count(), 0u);
  obset_free(nullptr);
}

TEST(ObsetAttributes, NestedSetsHoldKeyPartsAndReplaceValues) {
  obset* key = obset_new();
  PutText(key, "modulus", "mod");
  obset* priv = obset_new();
  PutText(priv, "pkcs8", "pkcs8 der");
  PutText(priv, "pkcs1", "pkcs1 der");
  ASSERT_EQ(key->PutSet("private", priv), 0);
  const obset* got = key->GetSet("private");
  ASSERT_EQ(got, priv);
  EXPECT_EQ(Names(*got), (std::vector<std::string>{"pkcs8", "pkcs1"}));
  EXPECT_EQ(Text(got->GetValue("pkcs8")), "pkcs8 der");
  EXPECT_EQ(key->GetValue("private"), nullptr);  // a nested set, not a value
  EXPECT_TRUE(key->Get("private")->value.empty());

  // A set replaces a value under the same name, and a value a set.
  obset* inner = obset_new();
  ASSERT_EQ(key->PutSet("modulus", inner), 0);
  EXPECT_EQ(key->GetSet("modulus"), inner);
  EXPECT_EQ(PutText(key, "private", "flat"), 0);  // frees the nested set
  EXPECT_EQ(key->GetSet("private"), nullptr);
  EXPECT_EQ(Text(key->GetValue("private")), "flat");
  EXPECT_EQ(key->Count(), 2u);
  obset_free(key);
}

TEST(ObsetAttributes, WipeZeroesEveryValueNestedOnesToo) {
  obset set;
  PutHex(&set, "public", "01 00 01");
  obset* priv = obset_new();
  PutText(priv, "exponent", "secret exponent");
  set.PutSet("private", priv);
  set.Wipe();
  EXPECT_EQ(set.Count(), 2u);  // attributes stay, contents are gone
  EXPECT_EQ(ToHex(*set.GetValue("public")), "00 00 00");
  EXPECT_EQ(*set.GetSet("private")->GetValue("exponent"), ObBytes(15, 0));
}
