// Keys and header lengths of each item class, built from the payload.
#include <gtest/gtest.h>

#include "item_test_payloads.h"
#include "store/item_classes.h"

namespace quillon {
namespace {

using testing_items::Bytes;
using testing_items::Make;

TEST(ItemKeys, MalformedTakesTheCommandCode) {
  ItemPtr item = Make(kItemMalformed, {121, 1, 2});
  EXPECT_EQ(item->Key(), (ItemKey{0, 121}));
  EXPECT_EQ(item->GetHeaderLength(), 1u);
}

TEST(ItemKeys, DiagTakesTheCommandCode) {
  ItemPtr rx = Make(kItemDiagRx, {0x00, 1, 2, 3});
  EXPECT_EQ(rx->Key(), (ItemKey{1, 0}));
  EXPECT_EQ(rx->GetHeaderLength(), 1u);
  ItemPtr tx = Make(kItemDiagTx, {0xFF});
  EXPECT_EQ(tx->Key(), (ItemKey{2, 255}));
  EXPECT_EQ(tx->GetHeaderLength(), 1u);
}

TEST(ItemKeys, SubsysTakesSubsystemAndCommand) {
  ItemPtr tx = Make(kItemSubsysTx, {0x4B, 18, 0x2A, 0x01, 9, 9});
  EXPECT_EQ(tx->Key(), (ItemKey{10, 18, 0x012A}));
  EXPECT_EQ(tx->GetHeaderLength(), 4u);

  ItemPtr rx = Make(kItemSubsysRx, {0x4B, 255, 0xFF, 0xFF});
  EXPECT_EQ(rx->Key(), (ItemKey{9, 255, 65535}));
  EXPECT_EQ(rx->GetHeaderLength(), 4u);

  ItemPtr delayed = Make(kItemSubsysRx, Bytes().U8(0x80).U8(19).U16(7).U32(0).U16(1).U16(0));
  EXPECT_EQ(delayed->Key(), (ItemKey{9, 19, 7}));
  EXPECT_EQ(delayed->GetHeaderLength(), 12u);
  // The delayed form's header length does not depend on the payload length.
  ItemPtr short_delayed = Make(kItemSubsysRx, {0x80, 19, 7, 0});
  EXPECT_EQ(short_delayed->GetHeaderLength(), 12u);

  // A request of the version-2 command keeps a 4-byte header.
  ItemPtr v2_request = Make(kItemSubsysTx, Bytes().U8(0x80).U8(19).U16(7).U32(0));
  EXPECT_EQ(v2_request->GetHeaderLength(), 4u);
}

TEST(ItemKeys, GpsKeyIsTheTypeAlone) {
  ItemPtr item = Make(kItemGps, testing_items::GpsPayload(1.0));
  EXPECT_EQ(item->Key(), (ItemKey{3}));
  EXPECT_EQ(item->GetHeaderLength(), 0u);
}

TEST(ItemKeys, EventIdAndPayloadOffset) {
  ItemPtr none = Make(kItemEvent, testing_items::EventPayload(412, 0, {}));
  EXPECT_EQ(none->Key(), (ItemKey{4, 412}));
  EXPECT_EQ(none->GetHeaderLength(), 13u);

  ItemPtr two = Make(kItemEvent, testing_items::EventPayload(4095, 0, {1, 2}));
  EXPECT_EQ(two->Key(), (ItemKey{4, 4095}));
  EXPECT_EQ(two->GetHeaderLength(), 13u);

  ItemPtr counted = Make(kItemEvent, testing_items::EventPayload(639, 0, {1, 2, 3, 4}));
  EXPECT_EQ(counted->GetHeaderLength(), 14u);
  const auto& record = static_cast<const EventItem&>(*counted).Record();
  EXPECT_EQ(record.payload_length, 4u);

  // Truncated time: 2 bytes of time, then one payload byte.
  ItemPtr truncated =
      Make(kItemEvent, Bytes().U8(0x60).U16(5).U16(100 | 1u << 13 | 0x8000).U16(7).U8(9));
  EXPECT_EQ(truncated->Key(), (ItemKey{4, 100}));
  EXPECT_EQ(truncated->GetHeaderLength(), 7u);
  EXPECT_TRUE(truncated->IsValid());
}

TEST(ItemKeys, EventReservedBitIsNotPartOfTheId) {
  ItemPtr item = Make(kItemEvent, Bytes().U8(0x60).U16(10).U16(0x1000 | 5).U64(0));
  EXPECT_EQ(item->Key(), (ItemKey{4, 5}));
}

TEST(ItemKeys, EventRecordMustFitThePayload) {
  // Length code 3 with a length byte that claims more than is there.
  ItemPtr item =
      Make(kItemEvent, Bytes().U8(0x60).U16(0).U16(7 | 3u << 13).U64(0).U8(5).U8(1), false);
  EXPECT_FALSE(item->IsValid());
  EXPECT_EQ(item->Key(), (ItemKey{4, 7}));  // the ID is known even so
  EXPECT_EQ(item->GetHeaderLength(), 0u);
  // Length code 2 with a single byte.
  ItemPtr two = Make(kItemEvent, Bytes().U8(0x60).U16(0).U16(7 | 2u << 13).U64(0).U8(5), false);
  EXPECT_FALSE(two->IsValid());
}

TEST(ItemKeys, LogCodeAtOffsetSix) {
  ItemPtr item = Make(kItemLog, testing_items::LogPayload(0x108A, 0));
  EXPECT_EQ(item->Key(), (ItemKey{5, 0x108A}));
  EXPECT_EQ(item->GetHeaderLength(), 16u);
  // Exactly the header, no body.
  ItemPtr bare = Make(kItemLog, testing_items::LogPayload(0xFFFF, 0, 0));
  EXPECT_EQ(bare->Key(), (ItemKey{5, 0xFFFF}));
  EXPECT_TRUE(bare->IsValid());
}

TEST(ItemKeys, ExtendedMessageSubsystemAndLevel) {
  struct Case {
    std::uint32_t mask;
    std::uint32_t level;
  } cases[] = {{0x01, 0}, {0x02, 1},        {0x04, 2}, {0x08, 3}, {0x10, 4},
               {0x06, 1}, {0x80000000, 31}, {0x20, 5}, {0, 32}};
  for (const auto& c : cases) {
    ItemPtr item = Make(kItemMsg, testing_items::ExtendedMessage(21, c.mask, 0, {}, "m", "f.c"));
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->TypeCode(), kItemMsg) << c.mask;
    EXPECT_EQ(item->Key(), (ItemKey{6, 21, c.level})) << c.mask;
    EXPECT_EQ(item->GetHeaderLength(), 0u);
  }
}

TEST(ItemKeys, LegacyMessageHasSubsystemZero) {
  ItemPtr item = Make(kItemMsg, testing_items::LegacyMessage(2, 0));
  ASSERT_EQ(item->TypeCode(), kItemMsg);
  EXPECT_EQ(item->Key(), (ItemKey{6, 0, 2}));
  const auto& h = static_cast<const MessageItem&>(*item).Header();
  EXPECT_FALSE(h.extended);
  EXPECT_EQ(h.line, 42u);
  EXPECT_EQ(h.format_offset, kLegacyMessageFormatOffset);

  // The "no level" marker 255 is no valid level.
  ItemPtr none = Make(kItemMsg, testing_items::LegacyMessage(255, 0));
  EXPECT_EQ(none->TypeCode(), kItemMalformed);
}

TEST(ItemKeys, MessageHeaderFields) {
  ItemPtr item =
      Make(kItemMsg, testing_items::ExtendedMessage(5, 4, 0, {10, 20}, "a=%d b=%d", "x.c", 1234));
  const auto& h = static_cast<const MessageItem&>(*item).Header();
  EXPECT_TRUE(h.parsed);
  EXPECT_TRUE(h.extended);
  EXPECT_EQ(h.arg_count, 2u);
  EXPECT_EQ(h.line, 1234u);
  EXPECT_EQ(h.args_offset, 20u);
  EXPECT_EQ(h.format_offset, 28u);
}

TEST(ItemKeys, MessageTextsMustBeInsideAndTerminated) {
  // Arguments claimed but missing: the format string would start past the end.
  Bytes missing_args;
  missing_args.U8(0x79).U8(0).U8(9).U8(0).U64(0).U16(1).U16(1).U32(1).U8(0);
  EXPECT_EQ(Make(kItemMsg, missing_args)->TypeCode(), kItemMalformed);

  // Last byte not zero.
  std::vector<std::uint8_t> open = testing_items::ExtendedMessage(1, 1, 0, {}, "m", "f.c");
  open.back() = 'x';
  EXPECT_EQ(Make(kItemMsg, open)->TypeCode(), kItemMalformed);

  // Fixed fields alone make the key but not a valid item.
  Bytes fixed;
  fixed.U8(0x79).U8(0).U8(0).U8(0).U64(0).U16(1).U16(3).U32(2);
  ItemPtr kept = Make(kItemMsg, fixed, false);
  EXPECT_EQ(kept->Key(), (ItemKey{6, 3, 1}));
  EXPECT_FALSE(kept->IsValid());
}

TEST(ItemKeys, StringTypeFromHeaderWord) {
  for (std::uint32_t type = 0; type <= 4; ++type) {
    ItemPtr item = Make(kItemString, Bytes().U32(0xC0000000 | type).U16('a').U16(0));
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->Key(), (ItemKey{7, type}));
    EXPECT_EQ(item->GetHeaderLength(), 4u);
  }
  // Only bits 0-5 carry the type.
  ItemPtr item = Make(kItemString, Bytes().U32(0xFFFFFFC3));
  EXPECT_EQ(item->Key(), (ItemKey{7, 3}));
}

TEST(ItemKeys, OtaLogKeyIsTheLogCode) {
  ItemPtr item = Make(kItemOtaLog, testing_items::LogPayload(0x412F, 0));
  EXPECT_EQ(item->Key(), (ItemKey{8, 0x412F}));
  EXPECT_EQ(item->GetHeaderLength(), 16u);
}

}  // namespace
}  // namespace quillon
