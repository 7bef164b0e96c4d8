// Entity keys and parsed payloads of real items, and the ad-hoc field reads
// of the automation layer.
#include <gtest/gtest.h>

#include <tuple>
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
using Bytes = std::vector<std::uint8_t>;

ItemPtr MakeItem(std::uint32_t type, const Bytes& bytes) {
  ItemRecord::Header header;
  header.type_code = type;
  return CreateItem(header, ItemBufferRef::Make(bytes.data(), bytes.size()), false,
                    NullItemDatabaseView::Instance());
}

// Keys, offset into the item's payload (-1 without data) and length.
std::tuple<Keys, std::ptrdiff_t, std::uint32_t> SpanOf(std::uint32_t type, const Bytes& bytes) {
  const ItemPtr item = MakeItem(type, bytes);
  const EntityPayload p = EntityPayloadOf(*item);
  return {p.keys, p.data != nullptr ? p.data - item->GetPayload() : -1, p.length};
}
Keys KeysOf(std::uint32_t type, const Bytes& bytes) { return std::get<0>(SpanOf(type, bytes)); }

Bytes Cat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

TEST(EntityPayload, KeysAndPayloadOfEachItemFamily) {
  Bytes nv(133, 0xAB);  // NV item 0x0102, status 0 at bytes 131..132
  nv[0] = 38, nv[1] = 0x02, nv[2] = 0x01, nv[131] = nv[132] = 0;
  Bytes nv_failed = nv;  // a failed write: status 5
  nv_failed[0] = 39, nv_failed[131] = 5;
  // A delayed response: id 1, count 1.
  const Bytes delayed = {0x80, 18, 5, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0xEE};
  const struct {
    std::uint32_t type;
    Bytes bytes;
    Keys keys;
    std::ptrdiff_t offset;
    std::uint32_t length;
  } cases[] = {
      {kItemDiagRx, {29, 1, 2, 3}, {1, 29}, 1, 3},  // diag items skip the command code
      {kItemDiagRx, nv, {6, 0x0102}, 3, 128},
      {kItemDiagTx, nv_failed, {6, 0x0102}, 3, 128},  // requests have no status
      // Event 5, length code 2, full time, a stray byte.
      {kItemEvent, Cat({{0x60, 0, 0, 0x05, 0x40}, Bytes(8), {0x11, 0x22, 0x99}}), {4, 5}, 13, 2},
      // Length code 3 with a truncated time: a length byte follows the time.
      {kItemEvent, {0x60, 0, 0, 0x07, 0xE0, 0, 0, 3, 1, 2, 3}, {4, 7}, 8, 3},
      {kItemLog, Cat({{0x10, 0, 0, 0, 0, 0, 0x34, 0x12}, Bytes(8), {1, 2}}), {5, 0x1234}, 16, 2},
      {kItemMsg, {0x79, 1, 2, 3}, {8, 0}, 0, 4},
      {kItemSubsysRx, delayed, {11, 18, 5}, 12, 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(SpanOf(c.type, c.bytes), std::tuple(c.keys, c.offset, c.length))
        << "type " << c.type << " keys " << c.keys.size();
  }
  EXPECT_EQ(KeysOf(kItemDiagTx, {29}), (Keys{0, 29}));
  EXPECT_EQ(std::get<2>(SpanOf(kItemDiagTx, {29})), 0u);
  EXPECT_EQ(KeysOf(kItemDiagRx, nv_failed), Keys{});
  EXPECT_EQ(KeysOf(kItemDiagRx, {38, 2, 1, 0}), Keys{});  // a short NV response
  EXPECT_EQ(KeysOf(kItemEvent, {0x60, 0, 0, 0x07, 0xE0, 0, 0, 9, 1}), Keys{});
  EXPECT_EQ(KeysOf(kItemString, {0, 0, 0, 0, 'a'}), Keys{});
  EXPECT_EQ(KeysOf(kItemMalformed, {1}), Keys{});

  EXPECT_EQ(KeysOf(kItemSubsysRx, {75, 18, 0x05, 0x00, 9}), (Keys{3, 18, 5}));
  EXPECT_EQ(KeysOf(kItemSubsysTx, {75, 18, 0x05, 0x00, 9}), (Keys{2, 18, 5}));
  EXPECT_EQ(KeysOf(kItemSubsysTx, {128, 18, 0x05, 0x00}), (Keys{9, 18, 5}));
  // Delayed responses: a first response (10) unless id and count say otherwise.
  for (const auto& [id, count, family] : {std::tuple{1, 0, 10u}, std::tuple{1, 0x8000, 10u},
                                          std::tuple{0, 2, 10u}, std::tuple{1, 0x8001, 11u}}) {
    Bytes b = delayed;
    b[8] = static_cast<std::uint8_t>(id);
    b[10] = static_cast<std::uint8_t>(count), b[11] = static_cast<std::uint8_t>(count >> 8);
    EXPECT_EQ(KeysOf(kItemSubsysRx, b)[0], family) << id << " " << count;
  }
}

TEST(ParsedFieldListItem, ItemsAreParsedOverTheirEntityPayload) {
  rendertest::TestDb t;
  t.Entity({0, 29}, u"Req", 100).Entity({0, 29}, u"ReqWide", 200);
  t.Field(1, u"a", 8, kFieldU8).Field(2, u"w", 16, kFieldU16);
  t.Member(100, 1).Member(100, 1).Member(200, 2);
  auto item = MakeItem(kItemDiagTx, {29, 0x34, 0x12});
  ParsedFieldList list(t.db(), item.get());
  ASSERT_TRUE(list.Parse({}));
  EXPECT_EQ(list.Count(), 2u);
  EXPECT_EQ(list.ValueText(1), u"18");
  EXPECT_EQ(list.BitOffset(1), 8u);  // counted from the parsed payload

  ParsedFieldList named(t.db(), item.get(), u"reqwide");
  item.reset();  // the list keeps the payload alive
  ASSERT_TRUE(named.Parse({}));
  EXPECT_EQ(named.ValueText(0), u"4660");
  EXPECT_EQ(named.Name(0, false), u"ReqWide.w");
  EXPECT_FALSE(ParsedFieldList(t.db(), nullptr).Parse({}));
}

TEST(ItemFieldValue, ReadsAfterTheHeaderUnlessAskedToIncludeIt) {
  auto item = MakeItem(kItemDiagTx, {29, 0x34, 0x12});
  ItemRecord* i = item.get();
  EXPECT_EQ(GetItemFieldValue(i, kFieldU16, 16, 0, false), Variant::UI2(0x1234));
  EXPECT_EQ(GetItemFieldValue(i, kFieldU8, 8, 0, true), Variant::UI1(29));
  EXPECT_EQ(GetItemFieldValueText(i, kFieldU16, 16, 0, false, true), u"0x1234");
  EXPECT_EQ(GetItemFieldValueText(i, kFieldI8, 4, 12, false, false), u"1");
  EXPECT_EQ(GetItemFieldValueText(i, kFieldU8, 8, 0, true, false), u"29");
  // Invalid requests: past the end (the offset is clamped), a size the type
  // cannot hold, a type outside 0..14, no item, a fixed string under one
  // character, a zero-terminated string without its terminator.
  EXPECT_TRUE(GetItemFieldValue(i, kFieldU8, 8, 1000, false).IsEmpty());
  EXPECT_EQ(GetItemFieldValueText(i, kFieldU8, 8, 1000, false, false), u"");
  EXPECT_TRUE(GetItemFieldValue(i, kFieldU64, 65, 0, true).IsEmpty());
  EXPECT_TRUE(GetItemFieldValue(i, kFieldU8, 9, 0, true).IsEmpty());
  EXPECT_TRUE(GetItemFieldValue(i, 15, 8, 0, true).IsEmpty());
  EXPECT_TRUE(GetItemFieldValue(nullptr, kFieldU8, 8, 0, true).IsEmpty());
  EXPECT_TRUE(GetItemFieldValue(i, kFieldString8, 4, 0, true).IsEmpty());
  EXPECT_TRUE(GetItemFieldValue(i, kFieldZString8, 0, 0, true).IsEmpty());
}

}  // namespace
}  // namespace quillon
