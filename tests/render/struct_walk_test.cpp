// The struct walk over small purpose-made databases: every member kind,
// repetition kind and condition operator, positioning and bit order.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "render_test_db.h"

namespace quillon {
namespace {

using rendertest::EventParse;
using rendertest::TestDb;
using Names = std::vector<std::u16string>;

constexpr std::uint32_t kTop = 100;

// Entity {4, 1} "Ent" over struct 100.
TestDb Base() {
  TestDb t;
  t.Entity({4, 1}, u"Ent", kTop);
  return t;
}

std::vector<std::uint32_t> Offsets(const EventParse& p) {
  std::vector<std::uint32_t> out;
  for (const auto& e : p.list.Entries()) out.push_back(e.bit_offset);
  return out;
}

TEST(StructWalk, PlainFieldsInOrderWithOffsetsAndNames) {
  TestDb t = Base();
  t.Field(1, u"a", 8, kFieldU8).Field(2, u"b", 16, kFieldU16).Field(3, u"c", 4, kFieldU8);
  t.Member(kTop, 1).Member(kTop, 2).Member(kTop, 3);
  EventParse p(t.db(), 1, {0x01, 0x34, 0x12, 0x0F});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.Names(), (Names{u"a", u"b", u"c"}));
  EXPECT_EQ(p.Texts(), (Names{u"1", u"4660", u"15"}));
  EXPECT_EQ(Offsets(p), (std::vector<std::uint32_t>{0, 8, 24}));
  EXPECT_EQ(p.list.Entity().name, u"Ent");
}

TEST(StructWalk, NestedArrayOfStructsBuildsIndexedPaths) {
  TestDb t = Base();
  t.Field(1, u"count", 8, kFieldU8).Field(2, u"value", 8, kFieldU8);
  t.Row(kTop, kMemberStruct, 200, u"hdr");
  t.Member(200, 1).Row(200, kMemberStruct, 300, u"rec", kRepeatCountField, u"1");
  t.Member(300, 2);
  EventParse p(t.db(), 1, {2, 10, 20});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.Names(), (Names{u"hdr.count", u"hdr.rec[0].value", u"hdr.rec[1].value"}));
  EXPECT_EQ(p.list.Name(1, false), u"Ent.hdr.rec[0].value");
  EXPECT_EQ(p.Texts(), (Names{u"2", u"10", u"20"}));

  EventParse unnamed(t.db(), 1, {2, 10, 20}, true, false);
  ASSERT_TRUE(unnamed.ok);
  EXPECT_EQ(unnamed.Names(), (Names{u"", u"", u""}));
  EXPECT_EQ(unnamed.list.FindByName(u"hdr.count", true, true), kNoIndex);
  EXPECT_EQ(unnamed.list.FindByName(u"", true, true), 0u);
}

TEST(StructWalk, LabelledFieldArraysAppendLabelThenFieldNameThenIndex) {
  TestDb t = Base();
  t.Field(1, u"v", 8, kFieldU8);
  t.Row(kTop, kMemberField, 1, u"vals", kRepeatFixed, u"3");
  EventParse p(t.db(), 1, {1, 2, 3, 4});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.Names(), (Names{u"vals.v[0]", u"vals.v[1]", u"vals.v[2]"}));
  EXPECT_EQ(p.list.CurrentPosition(), 24u);
}

TEST(StructWalk, ZeroCountMakesTheMemberAbsent) {
  TestDb t = Base();
  t.Field(1, u"n", 8, kFieldU8).Field(2, u"x", 8, kFieldU8).Field(3, u"tail", 8, kFieldU8);
  t.Member(kTop, 1).Row(kTop, kMemberField, 2, {}, kRepeatCountField, u"1").Member(kTop, 3);
  EventParse p(t.db(), 1, {0, 0x55});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.Names(), (Names{u"n", u"tail"}));
  EXPECT_EQ(p.Texts()[1], u"85");
}

TEST(StructWalk, RangeArraysIndexFromTheFirstBound) {
  TestDb t = Base();
  t.Field(1, u"first", 8, kFieldU8).Field(2, u"last", 8, kFieldU8).Field(3, u"e", 8, kFieldU8);
  t.Member(kTop, 1).Member(kTop, 2).Row(kTop, kMemberField, 3, {}, kRepeatRange, u"1 2");
  EventParse p(t.db(), 1, {5, 7, 0xA, 0xB, 0xC});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.Names(), (Names{u"first", u"last", u"e[5]", u"e[6]", u"e[7]"}));

  EventParse inverted(t.db(), 1, {7, 5, 0xA, 0xB, 0xC});
  EXPECT_FALSE(inverted.ok);
  EXPECT_EQ(inverted.Names(), (Names{u"first", u"last"}));

  EventParse single(t.db(), 1, {3, 3, 0xA});
  ASSERT_TRUE(single.ok);
  EXPECT_EQ(single.Names().back(), u"e[3]");
}

TEST(StructWalk, ComputedCountsApplyEachOperator) {
  struct Case {
    std::u16string specifier;
    std::size_t elements;
  };
  // The count field holds 6.
  const Case cases[] = {{u"1 + 1", 7}, {u"1 - 2", 4}, {u"1 * 2", 12},
                        {u"1 / 4", 1}, {u"1 % 4", 2}, {u"1 / 0", 0}};
  for (const Case& c : cases) {
    TestDb t = Base();
    t.Field(1, u"n", 8, kFieldU8).Field(2, u"e", 8, kFieldU8);
    t.Member(kTop, 1).Row(kTop, kMemberField, 2, {}, kRepeatComputed, c.specifier);
    std::vector<std::uint8_t> bytes(20, 1);
    bytes[0] = 6;
    EventParse p(t.db(), 1, bytes);
    ASSERT_TRUE(p.ok) << std::string(c.specifier.begin(), c.specifier.end());
    EXPECT_EQ(p.list.Count(), 1 + c.elements)
        << std::string(c.specifier.begin(), c.specifier.end());
  }
}

TEST(StructWalk, NegativeOrUnavailableCountsStopTheWalk) {
  TestDb t = Base();
  t.Field(1, u"n", 8, kFieldI8).Field(2, u"e", 8, kFieldU8);
  t.Member(kTop, 1).Row(kTop, kMemberField, 2, {}, kRepeatCountField, u"1");
  EventParse negative(t.db(), 1, {0xFF, 1, 2});
  EXPECT_FALSE(negative.ok);
  EXPECT_EQ(negative.list.Count(), 1u);

  TestDb later = Base();  // the count field comes after the array
  later.Field(1, u"n", 8, kFieldU8).Field(2, u"e", 8, kFieldU8);
  later.Member(kTop, 2).Row(kTop, kMemberField, 2, {}, kRepeatCountField, u"1").Member(kTop, 1);
  EventParse missing(later.db(), 1, {1, 1, 1});
  EXPECT_FALSE(missing.ok);
  EXPECT_EQ(missing.Names(), (Names{u"e"}));

  TestDb computed = Base();
  computed.Field(1, u"n", 8, kFieldU8).Field(2, u"e", 8, kFieldU8);
  computed.Member(kTop, 1).Row(kTop, kMemberField, 2, {}, kRepeatComputed, u"1 - 9");
  EXPECT_FALSE(EventParse(computed.db(), 1, {3, 1, 1, 1}).ok);
}

TEST(StructWalk, NewestOccurrenceOfACountFieldWins) {
  TestDb t = Base();
  t.Field(1, u"n", 8, kFieldU8).Field(2, u"e", 8, kFieldU8);
  t.Member(kTop, 1).Member(kTop, 1).Row(kTop, kMemberField, 2, {}, kRepeatCountField, u"1");
  EventParse p(t.db(), 1, {5, 2, 9, 9, 9, 9, 9});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.list.Count(), 4u);
}

TEST(StructWalk, ConditionsApplyEachOperator) {
  struct Case {
    std::u16string specifier;
    bool present;
  };
  // The governing field holds 6.
  const Case cases[] = {
      {u"1 < 7", true},  {u"1 < 6", false},  {u"1 <= 6", true}, {u"1 <= 5", false},
      {u"1 = 6", true},  {u"1 = 7", false},  {u"1 != 5", true}, {u"1 != 6", false},
      {u"1 >= 6", true}, {u"1 >= 7", false}, {u"1 > 5", true},  {u"1 > 6", false},
      {u"1 % 3", true},  {u"1 % 4", false},  {u"1 !% 4", true}, {u"1 !% 3", false},
      {u"1 % 0", false}, {u"1 !% 0", true},  {u"1 > -1", true}, {u"1 < 0x10", true},
  };
  for (const Case& c : cases) {
    TestDb t = Base();
    t.Field(1, u"n", 8, kFieldU8).Field(2, u"opt", 8, kFieldU8).Field(3, u"tail", 8, kFieldU8);
    t.Member(kTop, 1).Row(kTop, kMemberField, 2, {}, kRepeatOptional, c.specifier).Member(kTop, 3);
    EventParse p(t.db(), 1, {6, 0x11, 0x22});
    ASSERT_TRUE(p.ok);
    const Names want = c.present ? Names{u"n", u"opt", u"tail"} : Names{u"n", u"tail"};
    EXPECT_EQ(p.Names(), want) << std::string(c.specifier.begin(), c.specifier.end());
    // An absent member reads nothing: the next field takes its place.
    EXPECT_EQ(p.Texts().back(), c.present ? u"34" : u"17");
  }
}

TEST(StructWalk, ConditionOnAValueNotReadMakesTheMemberAbsent) {
  TestDb t = Base();
  t.Field(1, u"n", 8, kFieldU8).Field(2, u"opt", 8, kFieldU8);
  t.Row(kTop, kMemberField, 2, {}, kRepeatOptional, u"1 = 0").Member(kTop, 1);
  EventParse p(t.db(), 1, {9});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.Names(), (Names{u"n"}));
}

TEST(StructWalk, BrokenSpecifiersStopTheWalk) {
  TestDb t = Base();
  t.Field(1, u"n", 8, kFieldU8).Field(2, u"e", 8, kFieldU8);
  t.Member(kTop, 1).Row(kTop, kMemberField, 2, {}, kRepeatOptional, u"1 =< 3");
  EXPECT_FALSE(EventParse(t.db(), 1, {1, 2}).ok);
  TestDb u = Base();
  u.Field(1, u"n", 8, kFieldU8);
  u.Member(kTop, 1).Row(kTop, kMemberField, 1, {}, kRepeatFixed, u"");
  EXPECT_FALSE(EventParse(u.db(), 1, {1, 2}).ok);
}

TEST(StructWalk, MovesGoForwardButNeverBehindTheExtent) {
  TestDb t = Base();
  t.Field(1, u"a", 8, kFieldU8).Field(2, u"b", 8, kFieldU8);
  t.Member(kTop, 1).Row(kTop, kMemberMove, 24).Member(kTop, 2);
  EventParse forward(t.db(), 1, {1, 2, 3, 4});
  ASSERT_TRUE(forward.ok);
  EXPECT_EQ(Offsets(forward), (std::vector<std::uint32_t>{0, 24}));

  TestDb back = Base();  // a move to bit 8 after reading 16 bits is ignored
  back.Field(1, u"a", 16, kFieldU16).Field(2, u"b", 8, kFieldU8);
  back.Member(kTop, 1).Row(kTop, kMemberMove, 8).Member(kTop, 2);
  EventParse ignored(back.db(), 1, {1, 2, 3});
  ASSERT_TRUE(ignored.ok);
  EXPECT_EQ(Offsets(ignored), (std::vector<std::uint32_t>{0, 16}));
}

TEST(StructWalk, PadsMoveByAFieldValueInBitsOrBytes) {
  TestDb t = Base();
  t.Field(1, u"off", 8, kFieldU8).Field(2, u"x", 8, kFieldU8);
  t.Member(kTop, 1).Row(kTop, kMemberPadBits, 1).Member(kTop, 2);
  EventParse bits(t.db(), 1, {16, 0, 0x77});
  ASSERT_TRUE(bits.ok);
  EXPECT_EQ(Offsets(bits), (std::vector<std::uint32_t>{0, 16}));

  TestDb b = Base();
  b.Field(1, u"off", 8, kFieldU8).Field(2, u"x", 8, kFieldU8);
  b.Member(kTop, 1).Row(kTop, kMemberPadBytes, 1).Member(kTop, 2);
  EventParse bytes(b.db(), 1, {3, 0, 0, 0x77});
  ASSERT_TRUE(bytes.ok);
  EXPECT_EQ(Offsets(bytes), (std::vector<std::uint32_t>{0, 24}));
  EXPECT_EQ(bytes.Texts()[1], u"119");

  TestDb missing = Base();  // the pad's field was never read
  missing.Field(1, u"off", 8, kFieldU8).Field(2, u"x", 8, kFieldU8);
  missing.Member(kTop, 2).Row(kTop, kMemberPadBits, 1);
  EventParse failed(missing.db(), 1, {1, 2});
  EXPECT_FALSE(failed.ok);
  EXPECT_EQ(failed.list.Count(), 1u);
}

TEST(StructWalk, AlignMovesToTheNextByteOfTheExtent) {
  TestDb t = Base();
  t.Field(1, u"a", 3, kFieldU8).Field(2, u"b", 8, kFieldU8);
  t.Member(kTop, 1)
      .Row(kTop, kMemberAlign, 0)
      .Member(kTop, 2)
      .Row(kTop, kMemberAlign, 0)
      .Member(kTop, 2);
  EventParse p(t.db(), 1, {0xFF, 0x12, 0x34});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(Offsets(p), (std::vector<std::uint32_t>{0, 8, 16}));
}

TEST(StructWalk, AlignAndMovesFollowTheExtentNotTheReaderAfterAStepBack) {
  // 12 bits read, then a field at the explicit offset 0 puts the reader
  // back at bit 3 while the extent stays 12.
  TestDb t = Base();
  t.Field(1, u"w", 12, kFieldU16).Field(2, u"n", 3, kFieldU8).Field(3, u"b", 8, kFieldU8);
  t.Member(kTop, 1).Row(kTop, kMemberField, 2, {}, kRepeatNone, {}, 0);
  t.Row(kTop, kMemberAlign, 0).Member(kTop, 3);
  EventParse aligned(t.db(), 1, {0xFF, 0xFF, 0x42});
  ASSERT_TRUE(aligned.ok);
  EXPECT_EQ(Offsets(aligned), (std::vector<std::uint32_t>{0, 0, 16}));

  // A move to bit 8 lies ahead of the reader (bit 3) but behind the
  // extent: ignored, the next field is read at bit 3.
  TestDb moved = Base();
  moved.Field(1, u"w", 12, kFieldU16).Field(2, u"n", 3, kFieldU8).Field(3, u"b", 8, kFieldU8);
  moved.Member(kTop, 1).Row(kTop, kMemberField, 2, {}, kRepeatNone, {}, 0);
  moved.Row(kTop, kMemberMove, 8).Member(kTop, 3);
  EventParse ignored(moved.db(), 1, {0xFF, 0xFF, 0x42});
  ASSERT_TRUE(ignored.ok);
  EXPECT_EQ(Offsets(ignored), (std::vector<std::uint32_t>{0, 0, 3}));
}

TEST(StructWalk, ExplicitOffsetsAreRelativeToTheEnclosingStruct) {
  TestDb t = Base();
  t.Field(1, u"a", 8, kFieldU8).Field(2, u"b", 8, kFieldU8);
  t.Member(kTop, 1).Row(kTop, kMemberStruct, 200, u"s");
  t.Row(200, kMemberField, 2, {}, kRepeatNone, {}, 16)
      .Row(200, kMemberField, 2, {}, kRepeatNone, {}, 0);
  EventParse p(t.db(), 1, {1, 2, 3, 4});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(Offsets(p), (std::vector<std::uint32_t>{0, 24, 8}));
  EXPECT_EQ(p.Texts(), (Names{u"1", u"4", u"2"}));
}

TEST(StructWalk, BitOrderMarkersSwitchAtByteBoundariesAndAreRestored) {
  TestDb t = Base();
  t.Field(1, u"w", 16, kFieldU16).Field(2, u"n", 4, kFieldU8).Field(3, u"pad", 4, kFieldU8);
  t.Row(kTop, kMemberStruct, 200, u"be").Member(kTop, 1);
  t.Row(200, kMemberMsbFirst, 0).Member(200, 1).Member(200, 2).Member(200, 3);
  EventParse p(t.db(), 1, {0x12, 0x34, 0xAB, 0x34, 0x12});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.Texts(), (Names{u"4660", u"10", u"11", u"4660"}));
  EXPECT_EQ(p.list.GetBitOrder(), kLsbFirst);
}

TEST(StructWalk, BitOrderSwitchOffAByteBoundaryFails) {
  TestDb t = Base();
  t.Field(1, u"a", 3, kFieldU8).Field(2, u"b", 8, kFieldU8);
  t.Member(kTop, 1).Row(kTop, kMemberStruct, 200);
  t.Row(200, kMemberMsbFirst, 0).Member(200, 2);
  EventParse p(t.db(), 1, {1, 2, 3});
  EXPECT_FALSE(p.ok);
  EXPECT_EQ(p.list.Count(), 1u);

  // A marker that names the current order needs no switch.
  TestDb same = Base();
  same.Field(1, u"a", 3, kFieldU8).Field(2, u"b", 8, kFieldU8);
  same.Member(kTop, 1).Row(kTop, kMemberStruct, 200);
  same.Row(200, kMemberLsbFirst, 0).Member(200, 2);
  EXPECT_TRUE(EventParse(same.db(), 1, {1, 2, 3}).ok);
}

TEST(StructWalk, RestoringTheBitOrderOffAByteBoundaryFails) {
  TestDb t = Base();
  t.Field(1, u"n", 4, kFieldU8).Field(2, u"b", 8, kFieldU8);
  t.Row(kTop, kMemberStruct, 200).Member(kTop, 2);
  t.Row(200, kMemberMsbFirst, 0).Member(200, 1);
  EventParse p(t.db(), 1, {0xA0, 2, 3});
  EXPECT_FALSE(p.ok);
  EXPECT_EQ(p.Texts(), (Names{u"10"}));
}

TEST(StructWalk, PayloadOneByteShortKeepsEveryCompleteField) {
  TestDb t = Base();
  t.Field(1, u"a", 8, kFieldU8).Field(2, u"b", 16, kFieldU16).Field(3, u"c", 32, kFieldU32);
  t.Member(kTop, 1).Member(kTop, 2).Member(kTop, 3);
  EventParse full(t.db(), 1, {1, 2, 0, 3, 0, 0, 0});
  ASSERT_TRUE(full.ok);
  EXPECT_EQ(full.list.Count(), 3u);
  EventParse shorter(t.db(), 1, {1, 2, 0, 3, 0, 0});
  EXPECT_FALSE(shorter.ok);
  EXPECT_EQ(shorter.Names(), (Names{u"a", u"b"}));
}

TEST(StructWalk, UnknownMemberKindsAndMissingDefinitionsFail) {
  TestDb t = Base();
  t.Field(1, u"a", 8, kFieldU8);
  t.Member(kTop, 1).Row(kTop, 9, 0);
  EXPECT_FALSE(EventParse(t.db(), 1, {1, 2}).ok);

  TestDb no_field = Base();
  no_field.Member(kTop, 77);
  EXPECT_FALSE(EventParse(no_field.db(), 1, {1}).ok);

  TestDb no_struct = Base();
  no_struct.Field(1, u"a", 8, kFieldU8).Member(kTop, 1).Row(kTop, kMemberStruct, 555);
  EventParse nested(no_struct.db(), 1, {1, 2});
  EXPECT_FALSE(nested.ok);
  EXPECT_EQ(nested.list.Count(), 1u);
}

TEST(StructWalk, AStructThatContainsItselfStopsWithoutCrashing) {
  TestDb t = Base();
  t.Field(1, u"a", 1, kFieldU8);
  t.Member(kTop, 1).Row(kTop, kMemberStruct, kTop, u"self");
  EventParse p(t.db(), 1, std::vector<std::uint8_t>(64, 0xFF));
  EXPECT_FALSE(p.ok);
  EXPECT_EQ(p.list.Count(), kMaxWalkDepth);

  // Two structures that contain each other, twice each: the depth limit and
  // the step budget keep the walk finite.
  TestDb wide = Base();
  wide.Row(kTop, kMemberStruct, 200).Row(kTop, kMemberStruct, 200);
  wide.Row(200, kMemberStruct, kTop).Row(200, kMemberStruct, kTop);
  EXPECT_FALSE(EventParse(wide.db(), 1, {1}).ok);
}

TEST(StructWalk, HugeCountsOfElementsThatReadNothingAreCutOff) {
  TestDb t = Base();
  t.Field(1, u"a", 8, kFieldU8);
  t.Member(kTop, 1).Row(kTop, kMemberStruct, 200, {}, kRepeatFixed, u"4000000000");
  t.Row(200, kMemberAlign, 0);
  EventParse p(t.db(), 1, {1}, false, false);
  EXPECT_FALSE(p.ok);
  EXPECT_EQ(p.list.Count(), 1u);

  // A count read from the payload: 2^40 elements.
  TestDb counted = Base();
  counted.Field(1, u"n", 64, kFieldU64);
  counted.Member(kTop, 1).Row(kTop, kMemberStruct, 200, {}, kRepeatCountField, u"1");
  counted.Row(200, kMemberMove, 1);
  EXPECT_FALSE(EventParse(counted.db(), 1, {0, 0, 0, 0, 0, 1, 0, 0, 0}).ok);
}

TEST(StructWalk, ElementsThatRereadTheSameBitsStopAtTheEntryLimit) {
  // Each element reads a byte, then an alignment member with an explicit
  // offset of 0 moves the reader back to the element's start.
  TestDb t = Base();
  t.Field(1, u"a", 8, kFieldU8);
  t.Row(kTop, kMemberStruct, 200, {}, kRepeatFixed, u"4000000000");
  t.Member(200, 1).Row(200, kMemberAlign, 0, {}, kRepeatNone, {}, 0);
  EventParse p(t.db(), 1, {1}, false, false);
  EXPECT_FALSE(p.ok);
  EXPECT_EQ(p.list.Count(), kMaxParsedFields);
}

}  // namespace
}  // namespace quillon
