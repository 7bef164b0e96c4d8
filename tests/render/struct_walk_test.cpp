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

constexpr std::uint32_t kTop = 100, kSub = 200;
enum : std::uint32_t { kN = 1, kE, kT, kW, kD, kS, kB3, kB4, kW12, kQ, kValue };

// Entity {4, 1} "Ent" over struct 100, with fields for every test.
TestDb Base() {
  TestDb t;
  t.Entity({4, 1}, u"Ent", kTop);
  t.Field(kN, u"n", 8, kFieldU8).Field(kE, u"e", 8, kFieldU8).Field(kT, u"t", 8, kFieldU8);
  t.Field(kW, u"w", 16, kFieldU16).Field(kD, u"d", 32, kFieldU32).Field(kS, u"s", 8, kFieldI8);
  t.Field(kB3, u"b3", 3, kFieldU8).Field(kB4, u"b4", 4, kFieldU8);
  t.Field(kW12, u"w12", 12, kFieldU16).Field(kQ, u"q", 64, kFieldU64);
  t.Field(kValue, u"value", 8, kFieldU8);
  return t;
}

std::u16string Walk(const TestDb& t, std::vector<std::uint8_t> bytes) {
  return EventParse(t.db(), 1, std::move(bytes)).Dump();
}

std::string Narrow(const std::u16string& s) { return std::string(s.begin(), s.end()); }

TEST(StructWalk, FieldsStructsAndArraysBuildIndexedPaths) {
  EXPECT_EQ(Walk(Base().Member(kTop, kN).Member(kTop, kW).Member(kTop, kB4), {1, 0x34, 0x12, 15}),
            u"n=1@0 w=4660@8 b4=15@24");
  TestDb t = Base();
  t.Row(kTop, kMemberStruct, kSub, u"hdr").Member(kSub, kN);
  t.Row(kSub, kMemberStruct, 300, u"rec", kRepeatCountField, u"1").Member(300, kValue);
  EventParse p(t.db(), 1, {2, 10, 20});
  EXPECT_EQ(p.Dump(), u"hdr.n=2@0 hdr.rec[0].value=10@8 hdr.rec[1].value=20@16");
  EXPECT_EQ(p.list.Name(1, false), u"Ent.hdr.rec[0].value");
  EventParse unnamed(t.db(), 1, {2, 10, 20}, true, false);
  EXPECT_EQ(unnamed.Dump(), u"=2@0 =10@8 =20@16");
  EXPECT_EQ(unnamed.list.FindByName(u"hdr.n", {.wrap = true}), kNoIndex);
  EXPECT_EQ(unnamed.list.FindByName(u"", {.wrap = true}), 0u);
  // A labelled field array: label, field name, index.
  EXPECT_EQ(Walk(Base().Row(kTop, kMemberField, kE, u"vals", kRepeatFixed, u"3"), {1, 2, 3, 4}),
            u"vals.e[0]=1@0 vals.e[1]=2@8 vals.e[2]=3@16");
}

// Counts the enter and leave callbacks of a parse.
class CallbackCounter : public ParsedFieldList {
 public:
  using ParsedFieldList::ParsedFieldList;
  void EnterArray(const StructRow&, std::int64_t) override { ++arrays; }
  void LeaveArray(const StructRow&) override { --arrays; }
  void EnterStruct(std::u16string_view, std::int64_t) override { ++structs; }
  void LeaveStruct() override { --structs; }
  int arrays = 0;
  int structs = 0;
};

TEST(StructWalk, EnterAndLeaveStayBalancedWhenAnElementFails) {
  // Element 0 of the struct array holds a field array counted by a field the
  // walk never read: the inner array cannot start and the walk fails inside
  // both the outer array and the element's structure.
  TestDb t = Base();
  t.Row(kTop, kMemberStruct, kSub, u"rec", kRepeatFixed, u"2");
  t.Member(kSub, kE).Repeat(kSub, kT, kRepeatCountField, u"3");
  // A field array whose third element runs out of payload fails too.
  TestDb fields = Base();
  fields.Row(kTop, kMemberField, kW, u"vals", kRepeatFixed, u"3");
  for (const TestDb* db : {&t, &fields}) {
    std::vector<std::uint8_t> bytes = {1, 2, 3, 4, 5};
    CallbackCounter walk(db->db(), std::vector<std::uint32_t>{4, 1}, bytes.data(),
                         static_cast<std::uint32_t>(bytes.size()));
    EXPECT_FALSE(walk.Parse({}));
    EXPECT_EQ(walk.arrays, 0);
    EXPECT_EQ(walk.structs, 0);
  }
}

TEST(StructWalk, CountsFromFieldsAndRanges) {
  // A zero count makes the member absent.
  EXPECT_EQ(Walk(Base().Member(kTop, kN).Repeat(kTop, kE, kRepeatCountField, u"1").Member(kTop, kT),
                 {0, 0x55}),
            u"n=0@0 t=85@8");
  // The newest occurrence of the count field wins.
  EXPECT_EQ(Walk(Base().Member(kTop, kN).Member(kTop, kN).Repeat(kTop, kE, kRepeatCountField, u"1"),
                 {5, 1, 9, 9}),
            u"n=5@0 n=1@8 e[0]=9@16");
  EXPECT_EQ(Walk(Base().Member(kTop, kS).Repeat(kTop, kE, kRepeatCountField, u"6"), {0xFF, 1, 2}),
            u"s=-1@0 FAIL");
  // The count field comes after the array.
  EXPECT_EQ(Walk(Base().Member(kTop, kE).Repeat(kTop, kE, kRepeatCountField, u"1").Member(kTop, kN),
                 {1, 1, 1}),
            u"e=1@0 FAIL");
  // Ranges index from the first bound.
  TestDb range = Base();
  range.Member(kTop, kN).Member(kTop, kT).Repeat(kTop, kE, kRepeatRange, u"1 3");
  EXPECT_EQ(Walk(range, {5, 7, 0xA, 0xB, 0xC}), u"n=5@0 t=7@8 e[5]=10@16 e[6]=11@24 e[7]=12@32");
  EXPECT_EQ(Walk(range, {7, 5, 0xA, 0xB, 0xC}), u"n=7@0 t=5@8 FAIL");
  EXPECT_EQ(Walk(range, {3, 3, 0xA}), u"n=3@0 t=3@8 e[3]=10@16");
}

TEST(StructWalk, ComputedCountsApplyEachOperator) {
  // The count field holds 6.
  const std::pair<std::u16string, std::size_t> cases[] = {
      {u"1 + 1", 7}, {u"1 - 2", 4}, {u"1 * 2", 12}, {u"1 / 4", 1}, {u"1 % 4", 2}, {u"1 / 0", 0}};
  std::vector<std::uint8_t> bytes(20, 1);
  bytes[0] = 6;
  for (const auto& [specifier, elements] : cases) {
    TestDb t = Base();
    EventParse p(t.Member(kTop, kN).Repeat(kTop, kE, kRepeatComputed, specifier).db(), 1, bytes);
    EXPECT_TRUE(p.ok) << Narrow(specifier);
    EXPECT_EQ(p.list.Count(), 1 + elements) << Narrow(specifier);
  }
  EXPECT_EQ(Walk(Base().Member(kTop, kN).Repeat(kTop, kE, kRepeatComputed, u"1 - 9"), {3, 1, 1}),
            u"n=3@0 FAIL");
}

TEST(StructWalk, ConditionsApplyEachOperator) {
  // The governing field holds 6.
  const std::pair<std::u16string, bool> cases[] = {
      {u"1 < 7", true},  {u"1 < 6", false},  {u"1 <= 6", true}, {u"1 <= 5", false},
      {u"1 = 6", true},  {u"1 = 7", false},  {u"1 != 5", true}, {u"1 != 6", false},
      {u"1 >= 6", true}, {u"1 >= 7", false}, {u"1 > 5", true},  {u"1 > 6", false},
      {u"1 % 3", true},  {u"1 % 4", false},  {u"1 !% 4", true}, {u"1 !% 3", false},
      {u"1 % 0", false}, {u"1 !% 0", true},  {u"1 > -1", true}, {u"1 < 0x10", true},
  };
  for (const auto& [specifier, present] : cases) {
    // An absent member reads nothing: the next field takes its place.
    EXPECT_EQ(
        Walk(Base().Member(kTop, kN).Repeat(kTop, kE, kRepeatOptional, specifier).Member(kTop, kT),
             {6, 0x11, 0x22}),
        present ? u"n=6@0 e=17@8 t=34@16" : u"n=6@0 t=17@8")
        << Narrow(specifier);
  }
  // A condition on a value not read yet is false; broken specifiers fail.
  EXPECT_EQ(Walk(Base().Repeat(kTop, kE, kRepeatOptional, u"1 = 0").Member(kTop, kN), {9}),
            u"n=9@0");
  EXPECT_EQ(Walk(Base().Member(kTop, kN).Repeat(kTop, kE, kRepeatOptional, u"1 =< 3"), {1, 2}),
            u"n=1@0 FAIL");
  EXPECT_EQ(Walk(Base().Member(kTop, kN).Repeat(kTop, kN, kRepeatFixed, u""), {1, 2}),
            u"n=1@0 FAIL");
}

TEST(StructWalk, MovesPadsAlignsAndExplicitOffsets) {
  EXPECT_EQ(Walk(Base().Member(kTop, kN).Row(kTop, kMemberMove, 24).Member(kTop, kE), {1, 2, 3, 4}),
            u"n=1@0 e=4@24");
  // A move to bit 8 after reading 16 bits is ignored.
  EXPECT_EQ(Walk(Base().Member(kTop, kW).Row(kTop, kMemberMove, 8).Member(kTop, kE), {1, 2, 3}),
            u"w=513@0 e=3@16");
  EXPECT_EQ(
      Walk(Base().Member(kTop, kN).Row(kTop, kMemberPadBits, kN).Member(kTop, kE), {16, 0, 0x77}),
      u"n=16@0 e=119@16");
  EXPECT_EQ(Walk(Base().Member(kTop, kN).Row(kTop, kMemberPadBytes, kN).Member(kTop, kE),
                 {3, 0, 0, 0x77}),
            u"n=3@0 e=119@24");
  // The pad's field was never read.
  EXPECT_EQ(Walk(Base().Member(kTop, kE).Row(kTop, kMemberPadBits, kN), {1, 2}), u"e=1@0 FAIL");
  TestDb align = Base();
  align.Member(kTop, kB3).Row(kTop, kMemberAlign, 0).Member(kTop, kE);
  align.Row(kTop, kMemberAlign, 0).Member(kTop, kE);
  EXPECT_EQ(Walk(align, {0xFF, 0x12, 0x34}), u"b3=7@0 e=18@8 e=52@16");
  // Explicit offsets are relative to the enclosing struct.
  TestDb offsets = Base();
  offsets.Member(kTop, kN).Row(kTop, kMemberStruct, kSub, u"s");
  offsets.Row(kSub, kMemberField, kE, {}, kRepeatNone, {}, 16);
  offsets.Row(kSub, kMemberField, kE, {}, kRepeatNone, {}, 0);
  EXPECT_EQ(Walk(offsets, {1, 2, 3, 4}), u"n=1@0 s.e=4@24 s.e=2@8");
  // So are moves.
  TestDb move = Base();
  move.Member(kTop, kN).Row(kTop, kMemberStruct, kSub, u"s");
  EXPECT_EQ(Walk(move.Row(kSub, kMemberMove, 16).Member(kSub, kE), {1, 2, 3, 4}),
            u"n=1@0 s.e=4@24");
}

TEST(StructWalk, AlignAndMovesFollowTheExtentNotTheReaderAfterAStepBack) {
  // 12 bits read, then a field at the explicit offset 0 puts the reader
  // back at bit 3 while the extent stays 12. A move to bit 8 lies ahead of
  // the reader but behind the extent: ignored.
  for (bool move : {false, true}) {
    TestDb t = Base();
    t.Member(kTop, kW12).Row(kTop, kMemberField, kB3, {}, kRepeatNone, {}, 0);
    t.Row(kTop, move ? kMemberMove : kMemberAlign, move ? 8 : 0).Member(kTop, kE);
    EXPECT_EQ(Walk(t, {0xFF, 0xFF, 0x42}),
              move ? u"w12=4095@0 b3=7@0 e=255@3" : u"w12=4095@0 b3=7@0 e=66@16");
  }
}

TEST(StructWalk, BitOrderSwitchesOnlyAtByteBoundaries) {
  TestDb t = Base();
  t.Row(kTop, kMemberStruct, kSub, u"be").Member(kTop, kW);
  t.Row(kSub, kMemberMsbFirst, 0).Member(kSub, kW).Member(kSub, kB4).Member(kSub, kB4);
  EventParse p(t.db(), 1, {0x12, 0x34, 0xAB, 0x34, 0x12});
  EXPECT_EQ(p.Dump(), u"be.w=4660@0 be.b4=10@16 be.b4=11@20 w=4660@24");
  EXPECT_EQ(p.list.GetBitOrder(), kLsbFirst);  // restored after the struct
  // After 3 bits; a marker that names the current order needs no switch.
  for (std::int32_t marker : {kMemberMsbFirst, kMemberLsbFirst}) {
    TestDb off = Base();
    off.Member(kTop, kB3).Row(kTop, kMemberStruct, kSub).Row(kSub, marker, 0).Member(kSub, kE);
    EXPECT_EQ(Walk(off, {1, 2, 3}), marker == kMemberMsbFirst ? u"b3=1@0 FAIL" : u"b3=1@0 e=64@3");
  }
  // Restoring after 4 bits.
  TestDb restore = Base();
  restore.Row(kTop, kMemberStruct, kSub).Member(kTop, kE);
  restore.Row(kSub, kMemberMsbFirst, 0).Member(kSub, kB4);
  EXPECT_EQ(Walk(restore, {0xA0, 2, 3}), u"b4=10@0 FAIL");
}

TEST(StructWalk, BadInputStopsTheWalkKeepingEveryCompleteField) {
  TestDb t = Base();
  t.Member(kTop, kN).Member(kTop, kW).Member(kTop, kD);
  EXPECT_EQ(Walk(t, {1, 2, 0, 3, 0, 0, 0}), u"n=1@0 w=2@8 d=3@24");
  EXPECT_EQ(Walk(t, {1, 2, 0, 3, 0, 0}), u"n=1@0 w=2@8 FAIL");  // one byte short
  EXPECT_EQ(Walk(Base().Member(kTop, kN).Row(kTop, 9, 0), {1, 2}), u"n=1@0 FAIL");  // kind 9
  EXPECT_EQ(Walk(Base().Member(kTop, 77), {1}), u" FAIL");                          // no such field
  EXPECT_EQ(Walk(Base().Member(kTop, kN).Row(kTop, kMemberStruct, 555), {1, 2}), u"n=1@0 FAIL");
}

TEST(StructWalk, RunawayWalksAreCutOff) {
  TestDb self = Base();  // a struct that contains itself
  self.Member(kTop, kB3).Row(kTop, kMemberStruct, kTop, u"self");
  EventParse p(self.db(), 1, std::vector<std::uint8_t>(64, 0xFF));
  EXPECT_FALSE(p.ok);
  EXPECT_EQ(p.list.Count(), kMaxWalkDepth);
  // Two structures that contain each other, twice each.
  TestDb wide = Base();
  wide.Row(kTop, kMemberStruct, kSub).Row(kTop, kMemberStruct, kSub);
  wide.Row(kSub, kMemberStruct, kTop).Row(kSub, kMemberStruct, kTop);
  EXPECT_FALSE(EventParse(wide.db(), 1, {1}).ok);

  // Huge counts of elements that read nothing: 4000000000 or 2^40.
  TestDb fixed = Base();
  fixed.Member(kTop, kN).Row(kTop, kMemberStruct, kSub, {}, kRepeatFixed, u"4000000000");
  EXPECT_EQ(Walk(fixed.Row(kSub, kMemberAlign, 0), {1}), u"n=1@0 FAIL");
  TestDb counted = Base();
  counted.Member(kTop, kQ).Row(kTop, kMemberStruct, kSub, {}, kRepeatCountField, u"10");
  EXPECT_FALSE(EventParse(counted.Row(kSub, kMemberMove, 1).db(), 1, {0, 0, 0, 0, 0, 1, 0, 0}).ok);
  // Elements that reread the same byte: an alignment with the explicit
  // offset 0 moves the reader back to the element's start.
  TestDb reread = Base();
  reread.Row(kTop, kMemberStruct, kSub, {}, kRepeatFixed, u"4000000000");
  reread.Member(kSub, kN).Row(kSub, kMemberAlign, 0, {}, kRepeatNone, {}, 0);
  EventParse limited(reread.db(), 1, {1}, false, false);
  EXPECT_FALSE(limited.ok);
  EXPECT_EQ(limited.list.Count(), kMaxParsedFields);
}

}  // namespace
}  // namespace quillon
