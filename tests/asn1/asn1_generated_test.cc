// The code the ASN.1 compiler generates, on the test module
// tests/asn1/constructs.asn1 (IMPLICIT TAGS by default).
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

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

}  // namespace

TEST(AsnGenSequence, BuiltAndDecodedValuesMatchTheFullEncoding) {
  obASN_Record built = FullRecord();
  EXPECT_EQ(EncodeHex(built), kFullRecord);
  EXPECT_TRUE(MeasureMatchesWrite(built));
  obASN_Record r;
  ASSERT_EQ(DecodeHex(r, kFullRecord), 0);
  ASSERT_TRUE(r.rights && r.items && r.note);
  EXPECT_EQ(r.rightsOrDefault().BitLen(), 10u);
  EXPECT_EQ(r.rights->GetBit(obASN_Rights::admin), 1);
  EXPECT_EQ(r.levelOrDefault().Value(), obASN_Level::high);  // given values win over defaults
  EXPECT_FALSE(r.activeOrDefault().Value());
  EXPECT_EQ(r.pick.choiceId, obASN_Pick::textCid);
  EXPECT_EQ((*r.items)[1].Value(), 2);
  EXPECT_EQ(r.note->str(), "n");
  EXPECT_EQ(EncodeHex(r), kFullRecord);
}

TEST(AsnGenSequence, AbsentDefaultsStayAbsentAndGivenOnesAreKept) {
  obASN_Record r;
  ASSERT_EQ(DecodeHex(r, kFullRecord), 0);
  ASSERT_EQ(DecodeHex(r, kMinimalRecord), 0);  // decoding again replaces every component
  EXPECT_FALSE(r.level || r.active || r.rights || r.colour || r.label || r.app || r.items || r.wrapped || r.note);
  EXPECT_EQ(r.pick.choiceId, obASN_Pick::numberCid);
  EXPECT_FALSE(r.pick.text);
  EXPECT_EQ(r.levelOrDefault().Value(), obASN_Level::low);
  EXPECT_TRUE(r.activeOrDefault().Value());
  EXPECT_EQ(r.rightsOrDefault().GetBit(obASN_Rights::read), 1);
  EXPECT_EQ(EncodeHex(r), kMinimalRecord);
  // active TRUE equals the default; DER would leave it out, but the value is kept as decoded.
  ExpectRecodes<obASN_Record>({{"30 09 02 01 05 01 01 FF 02 01 07"}});
}

TEST(AsnGenSequence, BerAndUnknownTrailingElementsDecodeAndEncodeAsDer) {
  ExpectRecodes<obASN_Record>({
      // Unknown trailing elements of an extensible type are skipped.
      {"30 0F 02 01 05 02 01 07 87 01 00 BF 20 03 02 01 01", kMinimalRecord},
      {"30 80 02 01 05 02 01 07 A7 80 05 00 00 00 00 00", kMinimalRecord},
      // Indefinite lengths on the SEQUENCE, an explicit tag, an implicit
      // SEQUENCE OF and a constructed string; a long-form length; constructed bits.
      {"30 80 02 01 05 A2 80 2C 80 04 01 68 04 01 69 00 00 00 00 02 01 07 A3 80 02 01 01 00 00 00 00",
       "30 11 02 01 05 A2 04 0C 02 68 69 02 01 07 A3 03 02 01 01"},
      {"30 81 06 02 01 05 02 01 07", kMinimalRecord},
      {"30 0C 02 01 05 A1 04 03 02 07 80 02 01 07", "30 0A 02 01 05 81 02 07 80 02 01 07"},
  });
}

TEST(AsnGenSequence, ComponentsOfAliasesAndImportedTypes) {
  obASN_Derived d;
  ASSERT_EQ(DecodeHex(d, "30 09 02 01 01 01 01 FF 16 01 78"), 0);
  EXPECT_EQ(d.a.Value(), 1);
  EXPECT_TRUE(d.b_.Value());  // "b" is renamed: it would hide the buffer parameters
  EXPECT_EQ(d.c.str(), "x");
  ExpectRecodes<obASN_RecordAlias>({{kFullRecord}});
  EXPECT_STREQ(obASN_RecordAlias().TypeName(), "obASN_RecordAlias");
  ExpectRecodes<obASN_Signed>({{"30 12 30 04 06 02 2A 03 30 00 30 08 30 06 02 01 05 02 01 07"}});
}

TEST(AsnGenFailures, MissingAndUnexpectedComponentsNameTheType) {
  ExpectDecodeFailures<obASN_Record>({
      {"30 03 0C 01 41", "obASN_Record::BDecContent missing mandatory component id before offset = 2"},
      {"30 03 02 01 05", "obASN_Record::BDecContent missing mandatory component pick before offset = 5"},
      {"31 06 02 01 05 02 01 07", "obASN_Record::BDec wrong tag 0x31 before offset = 1"},
      {"30 0D 02 01 05 A2 05 0C 01 68 02 00 02 01 07",
       "obASN_Record::BDecContent unexpected element (tag 0x2) before offset = 10"},
      {"30 08 02 01 05 A2 00 02 01 07",
       "obASN_Record::BDecContent missing mandatory component explicitly tagged value before offset = 7"},
      {"30 06 02 01 05 02 01 07 00", "obAsnDecode: 1 octets left after the value"},
      {"30 80 02 01 05 02 01 07", "Non zero byte in EOC or end of data reached before offset = 8"},
  });
  ExpectDecodeFailures<obASN_Pick>({
      {"04 01 07", "obASN_Pick::BDecContent unknown alternative (tag 0x4) before offset = 2"},
      {"AB 06 02 01 03 02 01 03", "obASN_Pick::BDecContent unexpected element (tag 0x2) before offset = 5"},
  });
  ExpectDecodeFailures<obASN_Strict>({
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

TEST(AsnGenFailures, HostileNestingFailsInsteadOfExhaustingTheStack) {
  // A Tree nested depth levels deep: each level is a SEQUENCE holding a SEQUENCE OF.
  auto nested = [](int depth) {
    obASN_Tree root;
    obASN_Tree* at = &root;
    for (int level = 0; level < depth; ++level) {
      at->value.Set(level);
      at = &at->children.emplace().Append();
    }
    return EncodeHex(root);
  };
  ExpectRecodes<obASN_Tree>({{nested(30).c_str()}});
  obASN_Tree tree;
  EXPECT_EQ(Gated([&] { return DecodeHex(tree, nested(40)); },
                  "obAsnReadBuf: nesting deeper than 64 levels before offset = 287"),
            -1);
}

TEST(AsnGenSet, AnyOrderInCanonicalOrderOut) {
  ExpectRecodes<obASN_Unordered>(
      {{"31 09 81 01 79 80 01 01 01 01 FF", "31 09 01 01 FF 80 01 01 81 01 79"}, {"31 06 01 01 00 80 01 02"}});
  ExpectDecodeFailures<obASN_Unordered>({
      {"31 09 80 01 01 80 01 02 01 01 FF", "obASN_Unordered::BDecContent component x given twice before offset = 5"},
      {"31 03 80 01 01", "obASN_Unordered::BDecContent missing mandatory component z before offset = 5"},
      {"31 08 80 01 01 01 01 FF 82 00", "obASN_Unordered::BDecContent unexpected element (tag 0x82) before offset = 8"},
  });
}

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
    obASN_Pick p;
    ASSERT_EQ(DecodeHex(p, c.hex), 0) << c.hex;
    EXPECT_EQ(p.choiceId, c.id) << c.hex;
    EXPECT_EQ(EncodeHex(p), c.hex);
  }
  EXPECT_TRUE(obASN_Pick::HasTag(0x8D));
  EXPECT_TRUE(obASN_Pick::HasTag(0x2C));   // a constructed UTF8String
  EXPECT_FALSE(obASN_Pick::HasTag(0x8C));  // [12] is explicit: constructed only
}

TEST(AsnGenChoice, OneAlternativeLiveAndNoneFailsToEncode) {
  obASN_Pick p;
  p.Select_number().Set(3);
  p.Select_flag().Set(true);
  EXPECT_FALSE(p.number);
  EXPECT_EQ(EncodeHex(p), "8A 01 FF");
  p.Clear();
  EXPECT_EQ(Gated([&] { return EncodeIntoRoom(p, 16); }, "obASN_Pick::BEncContent no alternative chosen"), -1);
  obASN_Record r;
  r.id.Set(1);
  EXPECT_EQ(Gated([&] { return EncodeIntoRoom(r, 16); }, "obASN_Record::BEncContent attempt to encode pick failed"),
            -1);
  r.pick.choiceId = obASN_Pick::textCid;  // chosen but never made
  EXPECT_EQ(Gated([&] { return EncodeIntoRoom(r, 16); }, "obASN_Pick::BEncContent no alternative chosen"), -1);
}

TEST(AsnGenTagged, OwnTagsImplicitExplicitAndNested) {
  EXPECT_EQ(EncodeHex(obASN_AppNumber(5)), "43 01 05");
  EXPECT_EQ(EncodeHex(obASN_WrappedNumber(5)), "64 03 02 01 05");
  obASN_WrappedPick pick;
  pick.Select_number().Set(7);
  EXPECT_EQ(EncodeHex(pick), "A5 03 02 01 07");
  ExpectRecodes<obASN_WrappedNumber>({{"64 80 02 01 05 00 00", "64 03 02 01 05"}});
  ExpectRecodes<obASN_NestedTags>({{"A6 06 A7 04 04 02 61 62"}});
  ExpectRecodes<obASN_WrappedPick>({{"A5 04 06 02 2A 03"}});
  ExpectDecodeFailures<obASN_WrappedNumber>({
      {"44 01 05", "obASN_WrappedNumber::BDec wrong tag 0x44 before offset = 1"},
      {"64 06 02 01 05 02 01 06", "obASN_WrappedNumber::BDecContent unexpected element (tag 0x2) before offset = 5"},
  });
  static_assert(obASN_Level::low == 1 && obASN_Rights::admin == 9, "named numbers and bits");
  // Items without a number take the lowest numbers the others leave free.
  static_assert(obASN_Colour::red == 0 && obASN_Colour::green == 5 && obASN_Colour::blue == 1, "enumeration");
  EXPECT_EQ(obASN_id_test_leaf, obAsnOid("1.2.840.99999.7"));
  EXPECT_EQ(obASN_test_limit, 100);
}

TEST(AsnGenOpen, AnyDefinedByKeepsTheRawValueForLaterResolution) {
  ExpectRecodes<obASN_Algorithm>({{"30 04 06 02 2A 03"}, {"30 0B 06 02 2A 03 30 80 02 01 01 00 00"}});  // BER kept
  obASN_Algorithm a;
  ASSERT_EQ(DecodeHex(a, "30 06 06 02 2A 03 05 00"), 0);
  EXPECT_EQ(ToHex(a.params->Raw().data(), a.params->Raw().size()), "05 00");
  EXPECT_EQ(a.params->Resolve(new obAsnNull), 1);
  EXPECT_STREQ(a.params->Value()->TypeName(), "obAsnNull");
  EXPECT_EQ(EncodeHex(a), "30 06 06 02 2A 03 05 00");
  ExpectRecodes<obASN_Holder>({{"30 09 06 02 2A 03 A0 03 02 01 05"}});
}

TEST(AsnGenList, SetOfKeepsItsStoredOrder) {
  ExpectRecodes<obASN_Names>({{"31 80 16 01 62 16 01 61 00 00", "31 06 16 01 62 16 01 61"}});
  obASN_Names names;
  names.Append().Set("z");
  names.Append().Set("a");
  EXPECT_EQ(EncodeHex(names), "31 06 16 01 7A 16 01 61");
  ExpectDecodeFailures<obASN_Names>({{"31 03 02 01 01", "obAsnIA5String::BDec wrong tag before offset = 3"}});
}

TEST(AsnGenCopy, CopiesAreDeep) {
  obASN_Record original;
  ASSERT_EQ(DecodeHex(original, kFullRecord), 0);
  obASN_Record copy(original), assigned;
  copy.label->Set("zz");
  (*copy.items)[0].Set(9);
  copy.pick.Select_number().Set(1);
  copy.note.reset();
  assigned = original;
  obASN_Record moved(std::move(assigned));
  std::unique_ptr<obASN_Record> dup(original.Copy());
  original.items->Append().Set(3);
  EXPECT_EQ(EncodeHex(moved), kFullRecord);
  EXPECT_EQ(EncodeHex(*dup), kFullRecord);
  std::unique_ptr<obAsnType> fresh(original.Clone());
  EXPECT_NE(fresh->IsType("obASN_Record"), nullptr);
  ASSERT_EQ(DecodeHex(*fresh, kMinimalRecord), 0);
}

TEST(AsnGenPrint, ComponentsPrintByName) {
  obASN_Unordered u;
  ASSERT_EQ(DecodeHex(u, "31 09 01 01 FF 80 01 01 81 01 79"), 0);
  EXPECT_EQ(SprintText(u, 1), "  obASN_Unordered\n    x: 1\n    y: y\n    z: TRUE\n");
  obASN_Record r;
  ASSERT_EQ(DecodeHex(r, "30 0B 02 01 05 02 01 07 A3 03 02 01 01"), 0);
  EXPECT_EQ(SprintText(r, 0), "obASN_Record\n  id: 5\n  pick: number: 7\n  items:\n    obASN_Record_items\n      1\n");
  EXPECT_EQ(SprintText(obASN_Pick(), 2), "    (no alternative)\n");
  obASN_Holder unresolved;  // an open value never decoded cannot print
  EXPECT_EQ(unresolved.Sprint(nullptr, 0), -1);
}
