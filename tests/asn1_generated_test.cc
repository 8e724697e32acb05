// The code the ASN.1 compiler generates, on the test module
// tests/asn1/constructs.asn1 (IMPLICIT TAGS by default).
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "asn1test/constructs.h"
#include "asn_value_util.h"
#include "nycert/asn1/runtime/asn_null.h"
#include "support/test_support.h"

namespace {

// Record with only its mandatory components: id 5, pick number 7.
const char kMinimalRecord[] = "30 06 02 01 05 02 01 07";

// Record with every component present.
const char kFullRecord[] =
    "30 30"
    " 02 01 05"               // id
    " 80 01 09"               // level [0] IMPLICIT: high
    " 01 01 00"               // active FALSE
    " 81 03 06 80 40"         // rights [1] IMPLICIT: read, admin
    " 0A 01 01"               // colour blue
    " A2 04 0C 02 68 69"      // label [2] EXPLICIT "hi"
    " 0C 02 6F 6B"            // pick: text "ok"
    " 43 01 03"               // app [APPLICATION 3]
    " A3 06 02 01 01 02 01 02"  // items [3] IMPLICIT SEQUENCE OF
    " A4 05 A5 03 02 01 04"   // wrapped [4] EXPLICIT [5] EXPLICIT
    " 86 01 6E";              // note [6] IMPLICIT IA5String, an extension addition

obASN_Record FullRecord() {
  obASN_Record r;
  r.id.Set(5);
  r.level.emplace().Set(obASN_Level::high);
  r.active.emplace().Set(false);
  r.rights.emplace().SetBit(obASN_Rights::read);
  r.rights->SetBit(obASN_Rights::admin);
  r.colour.emplace().Set(obASN_Colour::blue);
  r.label.emplace().Set("hi");
  r.pick.Select_text().Set("ok");
  r.app.emplace().Set(3);
  obASN_Record_items& items = r.items.emplace();
  items.Append().Set(1);
  items.Append().Set(2);
  r.wrapped.emplace().Set(4);
  r.note.emplace().Set("n");
  return r;
}

// hex in the spacing ToHex gives.
std::string Canon(const std::string& hex) {
  std::vector<unsigned char> der = Hex(hex);
  return ToHex(der.data(), der.size());
}

// Decodes hex into a fresh T and expects it to encode back to canon (to hex when empty).
template <typename T>
void ExpectReencodes(const std::string& hex, const std::string& canon = "") {
  SCOPED_TRACE(hex);
  T value;
  ASSERT_EQ(DecodeHex(value, hex), 0);
  EXPECT_EQ(EncodeHex(value), Canon(canon.empty() ? hex : canon));
  EXPECT_TRUE(MeasureMatchesWrite(value));
}

// Each input fails to decode into a T with its message (and silently with the
// gate shut). A generated value is left partly decoded: the caller drops it.
template <typename T>
void ExpectFails(std::initializer_list<AsnFailure> cases) {
  for (const AsnFailure& c : cases) {
    SCOPED_TRACE(c.hex);
    T value;
    EXPECT_EQ(Gated([&] { return DecodeHex(value, c.hex); }, c.message), -1);
  }
}

}  // namespace

// ---- SEQUENCE ----

TEST(AsnGenSequence, BuiltValueEncodesAsExpected) {
  obASN_Record r = FullRecord();
  EXPECT_EQ(EncodeHex(r), Canon(kFullRecord));
  EXPECT_TRUE(MeasureMatchesWrite(r));
}

TEST(AsnGenSequence, DecodesEveryComponentAndRoundTrips) {
  obASN_Record r;
  ASSERT_EQ(DecodeHex(r, kFullRecord), 0);
  EXPECT_EQ(r.id.Value(), 5);
  ASSERT_TRUE(r.level && r.active && r.rights && r.colour && r.label && r.app && r.items && r.wrapped && r.note);
  EXPECT_EQ(r.level->Value(), obASN_Level::high);
  EXPECT_FALSE(r.active->Value());
  EXPECT_EQ(r.rights->BitLen(), 10u);
  EXPECT_EQ(r.rights->GetBit(obASN_Rights::admin), 1);
  EXPECT_EQ(r.rights->GetBit(obASN_Rights::write), 0);
  EXPECT_EQ(r.colour->Value(), obASN_Colour::blue);
  EXPECT_EQ(r.label->str(), "hi");
  EXPECT_EQ(r.pick.choiceId, obASN_Pick::textCid);
  EXPECT_EQ(r.app->Value(), 3);
  ASSERT_EQ(r.items->size(), 2u);
  EXPECT_EQ((*r.items)[1].Value(), 2);
  EXPECT_EQ(r.wrapped->Value(), 4);
  EXPECT_EQ(r.note->str(), "n");
  EXPECT_EQ(EncodeHex(r), Canon(kFullRecord));
}

TEST(AsnGenSequence, AbsentDefaultsStayAbsentAndAccessorsGiveTheDefault) {
  obASN_Record r;
  ASSERT_EQ(DecodeHex(r, kMinimalRecord), 0);
  EXPECT_FALSE(r.level);
  EXPECT_FALSE(r.active);
  EXPECT_FALSE(r.rights);
  EXPECT_FALSE(r.colour || r.label || r.app || r.items || r.wrapped || r.note);
  EXPECT_EQ(r.levelOrDefault().Value(), obASN_Level::low);
  EXPECT_TRUE(r.activeOrDefault().Value());
  EXPECT_EQ(r.rightsOrDefault().BitLen(), 1u);
  EXPECT_EQ(r.rightsOrDefault().GetBit(obASN_Rights::read), 1);
  EXPECT_EQ(EncodeHex(r), Canon(kMinimalRecord));
}

TEST(AsnGenSequence, DefaultValuesGivenInTheInputAreKept) {
  // active TRUE equals the default; DER would leave it out, but the value is kept as decoded.
  ExpectReencodes<obASN_Record>("30 09 02 01 05 01 01 FF 02 01 07");
  obASN_Record r;
  ASSERT_EQ(DecodeHex(r, "30 09 02 01 05 01 01 FF 02 01 07"), 0);
  ASSERT_TRUE(r.active);
  EXPECT_TRUE(r.activeOrDefault().Value());
}

TEST(AsnGenSequence, DecodingAgainReplacesEveryComponent) {
  obASN_Record r;
  ASSERT_EQ(DecodeHex(r, kFullRecord), 0);
  ASSERT_EQ(DecodeHex(r, kMinimalRecord), 0);
  EXPECT_FALSE(r.level || r.items || r.note);
  EXPECT_EQ(r.pick.choiceId, obASN_Pick::numberCid);
  EXPECT_FALSE(r.pick.text);
  EXPECT_EQ(EncodeHex(r), Canon(kMinimalRecord));
}

TEST(AsnGenSequence, UnknownTrailingElementsOfAnExtensibleTypeAreSkipped) {
  ExpectReencodes<obASN_Record>("30 0F 02 01 05 02 01 07 87 01 00 BF 20 03 02 01 01", kMinimalRecord);
  ExpectReencodes<obASN_Record>("30 80 02 01 05 02 01 07 A7 80 05 00 00 00 00 00", kMinimalRecord);
}

TEST(AsnGenSequence, BerInputDecodesAndEncodesAsDer) {
  // Indefinite lengths on the SEQUENCE, an explicit tag, an implicit SEQUENCE OF
  // and a constructed string; a long-form length.
  ExpectReencodes<obASN_Record>(
      "30 80 02 01 05 A2 80 2C 80 04 01 68 04 01 69 00 00 00 00 02 01 07 A3 80 02 01 01 00 00 00 00",
      "30 11 02 01 05 A2 04 0C 02 68 69 02 01 07 A3 03 02 01 01");
  ExpectReencodes<obASN_Record>("30 81 06 02 01 05 02 01 07", kMinimalRecord);
  ExpectReencodes<obASN_Record>("30 0B 02 01 05 81 03 06 80 40 02 01 07");
  ExpectReencodes<obASN_Record>("30 0C 02 01 05 A1 04 03 02 07 80 02 01 07",  // constructed bits
                                "30 0A 02 01 05 81 02 07 80 02 01 07");
}

TEST(AsnGenSequence, ComponentsOfAndAliasesDecodeLikeTheirSource) {
  obASN_Derived d;
  ASSERT_EQ(DecodeHex(d, "30 09 02 01 01 01 01 FF 16 01 78"), 0);
  EXPECT_EQ(d.a.Value(), 1);
  EXPECT_TRUE(d.b_.Value());  // "b" is renamed: it would hide the buffer parameters
  EXPECT_EQ(d.c.str(), "x");
  obASN_RecordAlias alias;
  ASSERT_EQ(DecodeHex(alias, kFullRecord), 0);
  EXPECT_STREQ(alias.TypeName(), "obASN_RecordAlias");
  EXPECT_EQ(EncodeHex(alias), Canon(kFullRecord));
}

TEST(AsnGenSequence, TypesFromAnotherModuleAreMembers) {
  obASN_Signed s;
  ASSERT_EQ(DecodeHex(s, "30 12 30 04 06 02 2A 03 30 00 30 08 30 06 02 01 05 02 01 07"), 0);
  EXPECT_EQ(s.algorithm.algorithm, obAsnOid("1.2.3"));
  EXPECT_EQ(s.issuer.choiceId, obASN_Name::rdnSequenceCid);
  ASSERT_EQ(s.records.size(), 1u);
  EXPECT_EQ(s.records[0].id.Value(), 5);
  EXPECT_EQ(EncodeHex(s), "30 12 30 04 06 02 2A 03 30 00 30 08 30 06 02 01 05 02 01 07");
}

// ---- decoding failures ----

TEST(AsnGenFailures, MissingAndUnexpectedComponentsNameTheType) {
  ExpectFails<obASN_Record>({
      {"30 03 0C 01 41", "obASN_Record::BDecContent missing mandatory component id before offset = 2"},
      {"30 03 02 01 05", "obASN_Record::BDecContent missing mandatory component pick before offset = 5"},
      {"31 06 02 01 05 02 01 07", "obASN_Record::BDec wrong tag 0x31 before offset = 1"},
      {"30 0D 02 01 05 A2 05 0C 01 68 02 00 02 01 07",
       "obASN_Record::BDecContent unexpected element (tag 0x2) before offset = 10"},
      {"30 08 02 01 05 A2 00 02 01 07",
       "obASN_Record::BDecContent missing mandatory component explicitly tagged value before offset = 7"},
      {"30 06 02 01 05 02 01 07 00", "obAsnDecode: 1 octets left after the value"},
      {"30 80 02 01 05 02 01 07", "Non zero byte in EOC or end of data reached before offset = 8"},
      {"30 06 02 01 05 04 01 07", "obASN_Record::BDecContent missing mandatory component pick before offset = 5"},
  });
  ExpectFails<obASN_Pick>({
      {"04 01 07", "obASN_Pick::BDecContent unknown alternative (tag 0x4) before offset = 2"},
      {"AB 06 02 01 03 02 01 03", "obASN_Pick::BDecContent unexpected element (tag 0x2) before offset = 5"},
  });
  ExpectFails<obASN_Strict>({
      {"30 06 02 01 01 02 01 02", "obASN_Strict::BDecContent unexpected element (tag 0x2) before offset = 5"},
      {"30 03 01 01 FF", "obASN_Strict::BDecContent missing mandatory component a before offset = 2"},
  });
}

TEST(AsnGenFailures, NestedLengthsAreBoundByTheirEnclosingContent) {
  DiagCapture diag(false);
  obASN_Record r;
  // The INTEGER claims 5 octets, the SEQUENCE holds 3 after its header.
  EXPECT_EQ(DecodeHex(r, "30 03 02 05 05 02 01 07 00 00"), -1);
  // The explicit tag claims more than the SEQUENCE has left.
  EXPECT_EQ(DecodeHex(r, "30 08 02 01 05 A2 06 0C 02 68 69 02 01 07"), -1);
  // An indefinite explicit tag whose end-of-contents lies outside the SEQUENCE.
  EXPECT_EQ(DecodeHex(r, "30 09 02 01 05 A2 80 0C 02 68 69 00 00 02 01 07"), -1);
  // A primitive encoding with an indefinite length.
  EXPECT_EQ(DecodeHex(r, "30 80 02 80 05 00 00 02 01 07 00 00"), -1);
}

TEST(AsnGenFailures, TruncatedAndRandomInputFailsCleanly) {
  ExpectHostileInputHandled<obASN_Record>(0x30, kFullRecord, 11);
  ExpectHostileInputHandled<obASN_Unordered>(0x31, "31 09 01 01 FF 80 01 01 81 01 79", 12);
  ExpectHostileInputHandled<obASN_Pick>(0xAC, "AC 04 06 02 2A 03", 13);
}

namespace {

// A Tree nested depth levels deep: each level is a SEQUENCE holding a SEQUENCE OF.
obASN_Tree Nested(int depth) {
  obASN_Tree root;
  obASN_Tree* at = &root;
  for (int level = 0; level < depth; ++level) {
    at->value.Set(level);
    at = &at->children.emplace().Append();
  }
  return root;
}

}  // namespace

TEST(AsnGenFailures, HostileNestingFailsInsteadOfExhaustingTheStack) {
  ExpectReencodes<obASN_Tree>(EncodeHex(Nested(30)));
  std::string deep = EncodeHex(Nested(40));
  ASSERT_NE(deep, "error");
  obASN_Tree tree;
  EXPECT_EQ(Gated([&] { return DecodeHex(tree, deep); },
                  "obAsnReadBuf: nesting deeper than 64 levels before offset = 287"),
            -1);
}

// ---- SET ----

TEST(AsnGenSet, AnyOrderInCanonicalOrderOut) {
  const char* canonical = "31 09 01 01 FF 80 01 01 81 01 79";
  ExpectReencodes<obASN_Unordered>(canonical);
  ExpectReencodes<obASN_Unordered>("31 09 81 01 79 80 01 01 01 01 FF", canonical);
  ExpectReencodes<obASN_Unordered>("31 06 01 01 00 80 01 02");
  obASN_Unordered u;
  ASSERT_EQ(DecodeHex(u, "31 09 81 01 79 80 01 01 01 01 FF"), 0);
  EXPECT_EQ(u.x.Value(), 1);
  EXPECT_EQ(u.y->str(), "y");
  EXPECT_TRUE(u.z.Value());
}

TEST(AsnGenSet, DuplicateMissingAndUnknownComponentsFail) {
  ExpectFails<obASN_Unordered>({
      {"31 09 80 01 01 80 01 02 01 01 FF", "obASN_Unordered::BDecContent component x given twice before offset = 5"},
      {"31 03 80 01 01", "obASN_Unordered::BDecContent missing mandatory component z before offset = 5"},
      {"31 08 80 01 01 01 01 FF 82 00", "obASN_Unordered::BDecContent unexpected element (tag 0x82) before offset = 8"},
  });
}

// ---- CHOICE ----

TEST(AsnGenChoice, EveryAlternativeDecodesToItsIdAndRoundTrips) {
  struct Case {
    const char* hex;
    obASN_Pick::ChoiceId id;
  } cases[] = {
      {"02 01 07", obASN_Pick::numberCid},       {"0C 02 6F 6B", obASN_Pick::textCid},
      {"8A 01 FF", obASN_Pick::flagCid},         {"AB 03 02 01 03", obASN_Pick::taggedCid},
      {"AC 04 06 02 2A 03", obASN_Pick::nestedCid}, {"8D 02 61 62", obASN_Pick::innerCid},
      {"06 02 2A 03", obASN_Pick::innerCid},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.hex);
    obASN_Pick p;
    ASSERT_EQ(DecodeHex(p, c.hex), 0);
    EXPECT_EQ(p.choiceId, c.id);
    EXPECT_EQ(EncodeHex(p), Canon(c.hex));
  }
  obASN_Pick p;
  ASSERT_EQ(DecodeHex(p, "8D 02 61 62"), 0);
  EXPECT_EQ(p.inner->choiceId, obASN_Inner::octetsCid);
  EXPECT_EQ(ToHex(p.inner->octets->data(), p.inner->octets->size()), "61 62");
  EXPECT_TRUE(obASN_Pick::HasTag(0x06));
  EXPECT_TRUE(obASN_Pick::HasTag(0x8D));
  EXPECT_TRUE(obASN_Pick::HasTag(0x2C));  // a constructed UTF8String
  EXPECT_FALSE(obASN_Pick::HasTag(0x8C));  // [12] is explicit: constructed only
}

TEST(AsnGenChoice, SelectKeepsOnlyOneAlternativeLive) {
  obASN_Pick p;
  p.Select_number().Set(3);
  p.Select_flag().Set(true);
  EXPECT_EQ(p.choiceId, obASN_Pick::flagCid);
  EXPECT_FALSE(p.number);
  EXPECT_EQ(EncodeHex(p), "8A 01 FF");
  p.Clear();
  EXPECT_EQ(p.choiceId, obASN_Pick::kNoChoice);
  EXPECT_FALSE(p.flag);
}

TEST(AsnGenChoice, EncodingWithoutAnAlternativeFails) {
  obASN_Pick p;
  EXPECT_EQ(Gated([&] { return EncodeIntoRoom(p, 16); }, "obASN_Pick::BEncContent no alternative chosen"), -1);
  obASN_Record r;
  r.id.Set(1);
  EXPECT_EQ(Gated([&] { return EncodeIntoRoom(r, 16); }, "obASN_Record::BEncContent attempt to encode pick failed"),
            -1);
  r.pick.choiceId = obASN_Pick::textCid;  // chosen but never made
  EXPECT_EQ(Gated([&] { return EncodeIntoRoom(r, 16); }, "obASN_Pick::BEncContent no alternative chosen"), -1);
}

// ---- tagged types of their own ----

TEST(AsnGenTagged, OwnTagsImplicitExplicitAndNested) {
  obASN_AppNumber app(5);
  EXPECT_EQ(EncodeHex(app), "43 01 05");
  obASN_WrappedNumber wrapped(5);
  EXPECT_EQ(EncodeHex(wrapped), "64 03 02 01 05");
  obASN_NestedTags nested;
  nested.Set(reinterpret_cast<const unsigned char*>("ab"), 2);
  EXPECT_EQ(EncodeHex(nested), "A6 06 A7 04 04 02 61 62");
  obASN_WrappedPick pick;
  pick.Select_number().Set(7);
  EXPECT_EQ(EncodeHex(pick), "A5 03 02 01 07");

  ExpectReencodes<obASN_AppNumber>("43 01 05");
  ExpectReencodes<obASN_WrappedNumber>("64 80 02 01 05 00 00", "64 03 02 01 05");
  ExpectReencodes<obASN_NestedTags>("A6 06 A7 04 04 02 61 62");
  ExpectReencodes<obASN_WrappedPick>("A5 04 06 02 2A 03");
  ExpectFails<obASN_WrappedNumber>({
      {"44 01 05", "obASN_WrappedNumber::BDec wrong tag 0x44 before offset = 1"},
      {"64 06 02 01 05 02 01 06", "obASN_WrappedNumber::BDecContent unexpected element (tag 0x2) before offset = 5"},
  });
}

TEST(AsnGenTagged, NamedValuesBecomeConstants) {
  static_assert(obASN_Level::low == 1 && obASN_Level::high == 9, "named numbers");
  static_assert(obASN_Rights::execute == 2 && obASN_Rights::admin == 9, "named bits");
  // Items without a number take the lowest numbers the others leave free.
  static_assert(obASN_Colour::red == 0 && obASN_Colour::green == 5 && obASN_Colour::blue == 1, "enumeration");
  EXPECT_EQ(obASN_id_test_leaf, obAsnOid("1.2.840.99999.7"));
  EXPECT_EQ(obASN_test_limit, 100);
}

// ---- open types ----

TEST(AsnGenOpen, AnyDefinedByKeepsTheRawValueForLaterResolution) {
  ExpectReencodes<obASN_Algorithm>("30 06 06 02 2A 03 05 00");
  ExpectReencodes<obASN_Algorithm>("30 04 06 02 2A 03");
  ExpectReencodes<obASN_Algorithm>("30 0B 06 02 2A 03 30 80 02 01 01 00 00");  // BER kept as it came
  obASN_Algorithm a;
  ASSERT_EQ(DecodeHex(a, "30 06 06 02 2A 03 05 00"), 0);
  ASSERT_TRUE(a.params);
  EXPECT_EQ(ToHex(a.params->Raw().data(), a.params->Raw().size()), "05 00");
  EXPECT_EQ(a.params->Resolve(new obAsnNull), 1);
  EXPECT_STREQ(a.params->Value()->TypeName(), "obAsnNull");
  EXPECT_EQ(EncodeHex(a), "30 06 06 02 2A 03 05 00");

  obASN_Holder h;
  ASSERT_EQ(DecodeHex(h, "30 09 06 02 2A 03 A0 03 02 01 05"), 0);
  EXPECT_EQ(ToHex(h.value.Raw().data(), h.value.Raw().size()), "02 01 05");
  EXPECT_EQ(EncodeHex(h), "30 09 06 02 2A 03 A0 03 02 01 05");
}

// ---- lists ----

TEST(AsnGenList, SetOfKeepsItsStoredOrder) {
  ExpectReencodes<obASN_Names>("31 06 16 01 62 16 01 61");
  ExpectReencodes<obASN_Names>("31 80 16 01 62 16 01 61 00 00", "31 06 16 01 62 16 01 61");
  obASN_Names names;
  names.Append().Set("z");
  names.Append().Set("a");
  EXPECT_EQ(EncodeHex(names), "31 06 16 01 7A 16 01 61");
  ExpectFails<obASN_Names>({
      {"31 03 02 01 01", "obAsnIA5String::BDec wrong tag before offset = 3"},
  });
}

// ---- copies and printing ----

TEST(AsnGenCopy, CopiesAreDeep) {
  obASN_Record original;
  ASSERT_EQ(DecodeHex(original, kFullRecord), 0);
  obASN_Record copy(original);
  copy.label->Set("zz");
  (*copy.items)[0].Set(9);
  copy.pick.Select_number().Set(1);
  copy.note.reset();
  EXPECT_EQ(EncodeHex(original), Canon(kFullRecord));

  obASN_Record assigned;
  assigned = original;
  EXPECT_EQ(EncodeHex(assigned), Canon(kFullRecord));
  obASN_Record moved(std::move(assigned));
  EXPECT_EQ(EncodeHex(moved), Canon(kFullRecord));

  std::unique_ptr<obASN_Record> dup(original.Copy());
  original.items->Append().Set(3);
  EXPECT_EQ(EncodeHex(*dup), Canon(kFullRecord));

  std::unique_ptr<obAsnType> fresh(original.Clone());
  EXPECT_STREQ(fresh->TypeName(), "obASN_Record");
  EXPECT_NE(fresh->IsType("obASN_Record"), nullptr);
  ASSERT_EQ(DecodeHex(*fresh, kMinimalRecord), 0);
  EXPECT_EQ(EncodeHex(*fresh), Canon(kMinimalRecord));
}

TEST(AsnGenPrint, ComponentsPrintByName) {
  obASN_Unordered u;
  ASSERT_EQ(DecodeHex(u, "31 09 01 01 FF 80 01 01 81 01 79"), 0);
  EXPECT_EQ(SprintText(u, 1),
            "  obASN_Unordered\n"
            "    x: 1\n"
            "    y: y\n"
            "    z: TRUE\n");
  obASN_Record r;
  ASSERT_EQ(DecodeHex(r, "30 0B 02 01 05 02 01 07 A3 03 02 01 01"), 0);
  EXPECT_EQ(SprintText(r, 0),
            "obASN_Record\n"
            "  id: 5\n"
            "  pick: number: 7\n"
            "  items:\n"
            "    obASN_Record_items\n"
            "      1\n");
  obASN_Pick none;
  EXPECT_EQ(SprintText(none, 2), "    (no alternative)\n");
  obASN_Holder unresolved;  // an open value never decoded cannot print
  EXPECT_EQ(unresolved.Sprint(nullptr, 0), -1);
}
