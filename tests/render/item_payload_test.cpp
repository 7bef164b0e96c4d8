// Entity keys and parsed payloads of real items, and the ad-hoc field reads
// of the automation layer.
#include <gtest/gtest.h>

#include <vector>

#include "common/item_database_view.h"
#include "render/entity_payload.h"
#include "render/item_field_value.h"
#include "render/parsed_field_list.h"
#include "render_test_db.h"
#include "store/item_factory.h"

namespace quillon {
namespace {

using Keys = std::vector<std::uint32_t>;

ItemPtr MakeItem(std::uint32_t type, const std::vector<std::uint8_t>& bytes) {
  ItemRecord::Header header;
  header.type_code = type;
  return CreateItem(header, ItemBufferRef::Make(bytes.data(), bytes.size()), false,
                    NullItemDatabaseView::Instance());
}

// The parsed payload as offsets into the item's buffer.
struct Span {
  Keys keys;
  std::ptrdiff_t offset = -1;
  std::uint32_t length = 0;
};

Span SpanOf(const ItemRecord& item) {
  const EntityPayload p = EntityPayloadOf(item);
  Span s;
  s.keys = p.keys;
  if (p.data != nullptr) s.offset = p.data - item.GetPayload();
  s.length = p.length;
  return s;
}

TEST(EntityPayload, DiagItemsSkipTheirCommandCode) {
  auto rx = MakeItem(kItemDiagRx, {29, 1, 2, 3});
  const Span r = SpanOf(*rx);
  EXPECT_EQ(r.keys, (Keys{1, 29}));
  EXPECT_EQ(r.offset, 1);
  EXPECT_EQ(r.length, 3u);
  auto tx = MakeItem(kItemDiagTx, {29});
  const Span t = SpanOf(*tx);
  EXPECT_EQ(t.keys, (Keys{0, 29}));
  EXPECT_EQ(t.length, 0u);
}

std::vector<std::uint8_t> NvPacket(std::uint8_t command, std::uint16_t status) {
  std::vector<std::uint8_t> b(133, 0xAB);
  b[0] = command;
  b[1] = 0x02;
  b[2] = 0x01;  // NV item 0x0102
  b[131] = static_cast<std::uint8_t>(status);
  b[132] = static_cast<std::uint8_t>(status >> 8);
  return b;
}

TEST(EntityPayload, NvReadsAndWritesUseTheNvItemAndItsDataPart) {
  auto ok = MakeItem(kItemDiagRx, NvPacket(38, 0));
  const Span s = SpanOf(*ok);
  EXPECT_EQ(s.keys, (Keys{6, 0x0102}));
  EXPECT_EQ(s.offset, 3);
  EXPECT_EQ(s.length, 128u);
  auto failed = MakeItem(kItemDiagRx, NvPacket(39, 5));
  EXPECT_TRUE(SpanOf(*failed).keys.empty());
  // A request carries no status: its status bytes are not consulted.
  auto request = MakeItem(kItemDiagTx, NvPacket(39, 5));
  EXPECT_EQ(SpanOf(*request).keys, (Keys{6, 0x0102}));
  auto short_response = MakeItem(kItemDiagRx, {38, 2, 1, 0});
  EXPECT_TRUE(SpanOf(*short_response).keys.empty());
}

TEST(EntityPayload, EventsUseTheirOwnPayload) {
  // Event 5, payload length code 2 (two bytes), full time, then a stray byte.
  std::vector<std::uint8_t> b = {0x60, 0, 0, 0x05, 0x40};
  b.insert(b.end(), 8, 0);
  b.insert(b.end(), {0x11, 0x22, 0x99});
  auto item = MakeItem(kItemEvent, b);
  const Span s = SpanOf(*item);
  EXPECT_EQ(s.keys, (Keys{4, 5}));
  EXPECT_EQ(s.offset, 13);
  EXPECT_EQ(s.length, 2u);

  // Length code 3 with a truncated time: a length byte follows the time.
  std::vector<std::uint8_t> t = {0x60, 0, 0, 0x07, 0xE0, 0, 0, 3, 1, 2, 3};
  auto truncated = MakeItem(kItemEvent, t);
  const Span ts = SpanOf(*truncated);
  EXPECT_EQ(ts.keys, (Keys{4, 7}));
  EXPECT_EQ(ts.offset, 8);
  EXPECT_EQ(ts.length, 3u);

  std::vector<std::uint8_t> cut = {0x60, 0, 0, 0x07, 0xE0, 0, 0, 9, 1};
  EXPECT_TRUE(SpanOf(*MakeItem(kItemEvent, cut)).keys.empty());
}

TEST(EntityPayload, LogsSkipTheirHeaderAndMessagesKeepEverything) {
  std::vector<std::uint8_t> log = {0x10, 0, 0, 0, 0, 0, 0x34, 0x12};
  log.insert(log.end(), 8, 0);
  log.insert(log.end(), {1, 2});
  const Span l = SpanOf(*MakeItem(kItemLog, log));
  EXPECT_EQ(l.keys, (Keys{5, 0x1234}));
  EXPECT_EQ(l.offset, 16);
  EXPECT_EQ(l.length, 2u);

  const Span m = SpanOf(*MakeItem(kItemMsg, {0x79, 1, 2, 3}));
  EXPECT_EQ(m.keys, (Keys{8, 0}));
  EXPECT_EQ(m.offset, 0);
  EXPECT_EQ(m.length, 4u);
}

TEST(EntityPayload, SubsystemFamiliesFollowCommandAndDelayedHeader) {
  EXPECT_EQ(SpanOf(*MakeItem(kItemSubsysRx, {75, 18, 0x05, 0x00, 9})).keys, (Keys{3, 18, 5}));
  EXPECT_EQ(SpanOf(*MakeItem(kItemSubsysTx, {75, 18, 0x05, 0x00, 9})).keys, (Keys{2, 18, 5}));
  EXPECT_EQ(SpanOf(*MakeItem(kItemSubsysTx, {128, 18, 0x05, 0x00})).keys, (Keys{9, 18, 5}));

  auto delayed = [](std::uint16_t id, std::uint16_t count) {
    return std::vector<std::uint8_t>{0x80,
                                     18,
                                     5,
                                     0,
                                     0,
                                     0,
                                     0,
                                     0,
                                     static_cast<std::uint8_t>(id),
                                     static_cast<std::uint8_t>(id >> 8),
                                     static_cast<std::uint8_t>(count),
                                     static_cast<std::uint8_t>(count >> 8),
                                     0xEE};
  };
  const Span follow_up = SpanOf(*MakeItem(kItemSubsysRx, delayed(1, 1)));
  EXPECT_EQ(follow_up.keys, (Keys{11, 18, 5}));
  EXPECT_EQ(follow_up.offset, 12);
  EXPECT_EQ(follow_up.length, 1u);
  EXPECT_EQ(SpanOf(*MakeItem(kItemSubsysRx, delayed(1, 0))).keys[0], 10u);
  EXPECT_EQ(SpanOf(*MakeItem(kItemSubsysRx, delayed(1, 0x8000))).keys[0], 10u);
  EXPECT_EQ(SpanOf(*MakeItem(kItemSubsysRx, delayed(0, 2))).keys[0], 10u);
  EXPECT_EQ(SpanOf(*MakeItem(kItemSubsysRx, delayed(1, 0x8001))).keys[0], 11u);
}

TEST(EntityPayload, OtherItemTypesHaveNoEntity) {
  EXPECT_TRUE(SpanOf(*MakeItem(kItemString, {0, 0, 0, 0, 'a'})).keys.empty());
  EXPECT_TRUE(SpanOf(*MakeItem(kItemMalformed, {1})).keys.empty());
}

TEST(ParsedFieldListItem, ItemsAreParsedOverTheirEntityPayload) {
  rendertest::TestDb t;
  t.Entity({0, 29}, u"Req", 100).Entity({0, 29}, u"ReqWide", 200);
  t.Field(1, u"a", 8, kFieldU8).Field(2, u"w", 16, kFieldU16);
  t.Member(100, 1).Member(100, 1).Member(200, 2);
  auto item = MakeItem(kItemDiagTx, {29, 0x34, 0x12});
  ParsedFieldList list(t.db(), item.get());
  ASSERT_TRUE(list.Parse(false, true, true));
  EXPECT_EQ(list.Count(), 2u);
  EXPECT_EQ(list.ValueText(1), u"18");
  EXPECT_EQ(list.BitOffset(1), 8u);  // counted from the parsed payload

  ParsedFieldList named(t.db(), item.get(), u"reqwide");
  item.reset();  // the list keeps the payload alive
  ASSERT_TRUE(named.Parse(false, true, true));
  EXPECT_EQ(named.ValueText(0), u"4660");
  EXPECT_EQ(named.Name(0, false), u"ReqWide.w");

  ParsedFieldList none(t.db(), nullptr);
  EXPECT_FALSE(none.Parse(false, true, true));
}

TEST(ItemFieldValue, ReadsAfterTheHeaderUnlessAskedToIncludeIt) {
  auto item = MakeItem(kItemDiagTx, {29, 0x34, 0x12});
  EXPECT_EQ(GetItemFieldValue(item.get(), kFieldU16, 16, 0, false), Variant::UI2(0x1234));
  EXPECT_EQ(GetItemFieldValue(item.get(), kFieldU8, 8, 0, true), Variant::UI1(29));
  EXPECT_EQ(GetItemFieldValueText(item.get(), kFieldU16, 16, 0, false, true), u"0x1234");
  EXPECT_EQ(GetItemFieldValueText(item.get(), kFieldI8, 4, 12, false, false), u"1");
  EXPECT_EQ(GetItemFieldValueText(item.get(), kFieldU8, 8, 0, true, false), u"29");
}

TEST(ItemFieldValue, InvalidRequestsGiveEmptyResults) {
  auto item = MakeItem(kItemDiagTx, {29, 0x34, 0x12});
  // Past the end (the offset is clamped, so nothing is left to read).
  EXPECT_TRUE(GetItemFieldValue(item.get(), kFieldU8, 8, 1000, false).IsEmpty());
  EXPECT_EQ(GetItemFieldValueText(item.get(), kFieldU8, 8, 1000, false, false), u"");
  // A size the type cannot hold, a type outside 0..14, no item.
  EXPECT_TRUE(GetItemFieldValue(item.get(), kFieldU64, 65, 0, true).IsEmpty());
  EXPECT_TRUE(GetItemFieldValue(item.get(), kFieldU8, 9, 0, true).IsEmpty());
  EXPECT_TRUE(GetItemFieldValue(item.get(), 15, 8, 0, true).IsEmpty());
  EXPECT_TRUE(GetItemFieldValue(nullptr, kFieldU8, 8, 0, true).IsEmpty());
  // Fixed strings need at least one character.
  EXPECT_TRUE(GetItemFieldValue(item.get(), kFieldString8, 4, 0, true).IsEmpty());
  EXPECT_EQ(GetItemFieldValue(item.get(), kFieldZString8, 0, 0, true).Type(),
            VariantType::kEmpty);  // no terminator in the payload
}

}  // namespace
}  // namespace quillon
