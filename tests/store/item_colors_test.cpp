// Default colours (COLORREF 0x00BBGGRR) of each item class.
#include <gtest/gtest.h>

#include "item_test_payloads.h"
#include "store/item_classes.h"

namespace quillon {
namespace {

using testing_items::Bytes;
using testing_items::Make;

TEST(ItemColors, FixedColours) {
  EXPECT_EQ(Make(kItemMalformed, {1})->Color(), 0x0000FFu);
  EXPECT_EQ(Make(kItemDiagTx, {0})->Color(), 0x80FF80u);
  EXPECT_EQ(Make(kItemSubsysTx, {0x4B, 1, 0, 0})->Color(), 0x80FF80u);
  EXPECT_EQ(Make(kItemGps, testing_items::GpsPayload(0))->Color(), 0x663399u);
  EXPECT_EQ(Make(kItemEvent, testing_items::EventPayload(1, 0, {}))->Color(), 0xFFFFFFu);
  EXPECT_EQ(Make(kItemLog, testing_items::LogPayload(0x1234, 0))->Color(), 0xC0C0C0u);
}

TEST(ItemColors, DiagResponseErrorCodesAreRed) {
  for (std::uint32_t code = 0; code <= 255; ++code) {
    const bool error = code == 19 || code == 20 || code == 21 || code == 22 || code == 23 ||
                       code == 24 || code == 66 || code == 71;
    ItemPtr item = Make(kItemDiagRx, {static_cast<std::uint8_t>(code), 0});
    EXPECT_EQ(item->Color(), error ? 0x0000FFu : 0xFF8080u) << code;
    EXPECT_EQ(IsDiagErrorResponseCode(code), error);
  }
}

TEST(ItemColors, SubsysResponse) {
  EXPECT_EQ(Make(kItemSubsysRx, {0x4B, 1, 0, 0})->Color(), 0xFF8080u);
  // Delayed responses: by status word.
  EXPECT_EQ(Make(kItemSubsysRx, Bytes().U8(0x80).U8(1).U16(2).U32(0).U32(0))->Color(), 0xFF9494u);
  EXPECT_EQ(Make(kItemSubsysRx, Bytes().U8(0x80).U8(1).U16(2).U32(0x100).U32(0))->Color(),
            0x0000FFu);
  // Status word not all there.
  EXPECT_EQ(Make(kItemSubsysRx, Bytes().U8(0x80).U8(1).U16(2).U8(1).U8(1).U8(1))->Color(),
            0xFF9494u);
}

std::uint32_t MessageColorOf(std::uint32_t ss_id, std::uint32_t mask) {
  ItemPtr item = Make(kItemMsg, testing_items::ExtendedMessage(ss_id, mask, 0, {}, "m", "f.c"));
  EXPECT_EQ(item->TypeCode(), kItemMsg);
  return item->Color();
}

TEST(ItemColors, MessageLevels) {
  EXPECT_EQ(MessageColorOf(1, 1u << 0), 0xFFFFFFu);
  EXPECT_EQ(MessageColorOf(1, 1u << 1), 0xFFFF00u);
  EXPECT_EQ(MessageColorOf(1, 1u << 2), 0x00FFFFu);
  EXPECT_EQ(MessageColorOf(1, 1u << 3), 0xFF00FFu);
  EXPECT_EQ(MessageColorOf(1, 1u << 4), 0x0000FFu);
  // Levels beyond fatal: by subsystem.
  EXPECT_EQ(MessageColorOf(1, 1u << 5), 0x5055B8u);
  EXPECT_EQ(MessageColorOf(0, 1u << 5), 0xFF00FFu);
  EXPECT_EQ(MessageColorOf(7, 0), 0x5055B8u);  // level 32
  EXPECT_EQ(MessageColorOf(0, 0), 0xFF00FFu);
  // The level rule holds for subsystem 0 too.
  EXPECT_EQ(MessageColorOf(0, 1u << 4), 0x0000FFu);
}

TEST(ItemColors, MessageKeyRule) {
  EXPECT_EQ(MessageColor({6}), kColorUnknown);
  EXPECT_EQ(MessageColor({6, 1}), kColorUnknown);
  EXPECT_EQ(MessageColor({6, 1, 2}), 0x00FFFFu);
  EXPECT_EQ(MessageColor({6, 1, 40}), 0x5055B8u);
  EXPECT_EQ(MessageColor({6, 0, 40}), 0xFF00FFu);
  // A message whose fixed fields are missing keeps the short key.
  ItemPtr item = Make(kItemMsg, {0x79, 0}, false);
  EXPECT_EQ(item->Color(), kColorUnknown);
}

std::uint32_t StringColorOf(std::uint32_t word) {
  ItemPtr item = Make(kItemString, Bytes().U32(word).U16('a').U16(0));
  EXPECT_NE(item, nullptr);
  return item ? item->Color() : 0;
}

TEST(ItemColors, StringFromHeaderWord) {
  EXPECT_EQ(StringColorOf(MakeStringHeaderWord(0x123456, 2)), 0x123456u);
  EXPECT_EQ(MakeStringHeaderWord(0x123456, 2), 0xC0000000u | 0x123456u << 6 | 2u);
  // red = bits 6..13, green = bits 14..21, blue = bits 29..22.
  EXPECT_EQ(StringColorOf(0x01u << 6 | 0x02u << 14 | 0x03u << 22), 0x030201u);
}

TEST(ItemColors, StringFallsBackWhenAComponentIsZero) {
  EXPECT_EQ(StringColorOf(MakeStringHeaderWord(0x123400, 0)), kStringFallbackColor);  // red
  EXPECT_EQ(StringColorOf(MakeStringHeaderWord(0x120056, 0)), kStringFallbackColor);  // green
  EXPECT_EQ(StringColorOf(MakeStringHeaderWord(0x003456, 0)), kStringFallbackColor);  // blue
  EXPECT_EQ(StringColorOf(MakeStringHeaderWord(0, 0)), kStringFallbackColor);
  EXPECT_EQ(kStringFallbackColor, 0xFFFFFFu);
}

TEST(ItemColors, OtaTable) {
  const std::pair<std::uint32_t, std::uint32_t> table[] = {
      {0x1004, 0xF8F2E8}, {0x1005, 0xF2E8D8}, {0x1006, 0xECDCC2}, {0x1007, 0xE6D0AC},
      {0x1008, 0xE0C698}, {0x1090, 0xE0C698}, {0x1091, 0xF2E8D8}, {0x1076, 0xF0F4F0},
      {0x1077, 0xEBF0EB}, {0x1078, 0xE6ECE6}, {0x1079, 0xE1E8E1}, {0x1085, 0xFFF4F0},
      {0x1086, 0xFFF0EB}, {0x10D6, 0xFCF4F8}, {0x10D7, 0xF8E8EE}, {0x10D8, 0xF4DAE4},
      {0x412F, 0x00CCFF}, {0x512F, 0xC2D6FF}, {0x5226, 0x6496FF}, {0x5230, 0x0052FB},
      {0x713A, 0xBEF4FF}, {0x107C, 0xDCE4DC},
  };
  for (const auto& [code, color] : table) {
    EXPECT_EQ(OtaLogColor(code), color) << code;
    ItemPtr item = Make(kItemOtaLog, testing_items::LogPayload(code, 0));
    EXPECT_EQ(item->Color(), color) << code;
  }
  EXPECT_EQ(OtaLogColor(0x1234), kColorUnknown);
  EXPECT_EQ(Make(kItemOtaLog, testing_items::LogPayload(0x1234, 0))->Color(), kColorUnknown);
  // A key without the log code.
  ItemPtr short_item = Make(kItemOtaLog, {0x10, 0, 0}, false);
  EXPECT_EQ(short_item->Key(), (ItemKey{8}));
  EXPECT_EQ(short_item->Color(), kColorUnknown);
}

}  // namespace
}  // namespace quillon
