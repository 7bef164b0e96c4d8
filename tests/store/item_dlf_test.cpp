// The legacy DLF packet form of each item class.
#include <gtest/gtest.h>

#include <array>

#include "item_test_payloads.h"
#include "store/item_classes.h"

namespace quillon {
namespace {

using testing_items::Bytes;
using testing_items::Make;

struct Dlf {
  std::uint32_t written = 0;
  std::vector<std::uint8_t> bytes;
  std::uint16_t Length() const { return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8); }
  std::uint16_t Code() const { return static_cast<std::uint16_t>(bytes[2] | bytes[3] << 8); }
  std::uint64_t Time() const {
    std::uint64_t t = 0;
    for (int i = 7; i >= 0; --i) t = t << 8 | bytes[4 + i];
    return t;
  }
  std::vector<std::uint8_t> Data() const { return {bytes.begin() + 12, bytes.end()}; }
};

Dlf Render(const ItemRecord& item, std::uint32_t capacity = kMaxItemPayload) {
  std::vector<std::uint8_t> out(capacity + 16, 0xEE);
  Dlf d;
  d.written = item.GetDLFBuffer(out.data(), capacity);
  out.resize(d.written);
  d.bytes = out;
  return d;
}

std::vector<std::uint8_t> Tail(const std::vector<std::uint8_t>& v, std::size_t from) {
  return {v.begin() + static_cast<std::ptrdiff_t>(from), v.end()};
}

TEST(DlfForm, Requests) {
  const std::vector<std::uint8_t> payload = {0x00, 1, 2, 3};
  for (std::uint32_t type : {kItemDiagTx, kItemSubsysTx}) {
    ItemPtr item = Make(type, payload);
    Dlf d = Render(*item);
    ASSERT_EQ(d.written, 16u) << type;
    EXPECT_EQ(d.Length(), 16u);
    EXPECT_EQ(d.Code(), 0x1FEA);
    EXPECT_EQ(d.Time(), 0u);
    EXPECT_EQ(d.Data(), payload);
  }
}

TEST(DlfForm, ResponsesCarryTheTimeOfATimeQuery) {
  std::vector<std::uint8_t> time_rsp = Bytes().U8(29).U64(0x1122334455667788ull).U8(0xAA);
  for (std::uint32_t type : {kItemDiagRx, kItemSubsysRx}) {
    ItemPtr item = Make(type, time_rsp, false);
    Dlf d = Render(*item);
    ASSERT_EQ(d.written, time_rsp.size() + 12) << type;
    EXPECT_EQ(d.Code(), 0x1FF0);
    EXPECT_EQ(d.Time(), 0x1122334455667788ull);
    EXPECT_EQ(d.Data(), time_rsp);
  }
}

TEST(DlfForm, ResponsesWithoutTimeHaveZero) {
  // Command 29 but only 8 bytes: no room for the time.
  std::vector<std::uint8_t> short_time = Bytes().U8(29).U32(1).U16(2).U8(3);
  ItemPtr item = Make(kItemDiagRx, short_time);
  Dlf d = Render(*item);
  ASSERT_EQ(d.written, 20u);
  EXPECT_EQ(d.Time(), 0u);
  // Another command with plenty of bytes.
  ItemPtr other = Make(kItemSubsysRx, Bytes().U8(0x4B).U8(1).U16(2).U64(0x99));
  EXPECT_EQ(Render(*other).Time(), 0u);
}

TEST(DlfForm, Event) {
  std::vector<std::uint8_t> payload = testing_items::EventPayload(276, 0xABCDEF, {5, 0});
  ItemPtr item = Make(kItemEvent, payload);
  Dlf d = Render(*item);
  ASSERT_EQ(d.written, payload.size() + 11);
  EXPECT_EQ(d.Length(), payload.size() + 11);
  EXPECT_EQ(d.Code(), 0x1FFB);
  EXPECT_EQ(d.Time(), 0xABCDEFu);
  EXPECT_EQ(d.Data(), Tail(payload, 1));
}

TEST(DlfForm, Messages) {
  std::vector<std::uint8_t> ext = testing_items::ExtendedMessage(1, 1, 0x5555, {1}, "%d", "a.c");
  Dlf d = Render(*Make(kItemMsg, ext));
  ASSERT_EQ(d.written, ext.size() + 12);
  EXPECT_EQ(d.Code(), 0x1FEB);
  EXPECT_EQ(d.Time(), 0x5555u);
  EXPECT_EQ(d.Data(), ext);

  std::vector<std::uint8_t> legacy = testing_items::LegacyMessage(1, 0x6666);
  Dlf l = Render(*Make(kItemMsg, legacy));
  ASSERT_EQ(l.written, legacy.size() + 12);
  EXPECT_EQ(l.Code(), 0x1FEC);
  EXPECT_EQ(l.Time(), 0x6666u);
  EXPECT_EQ(l.Data(), legacy);
}

TEST(DlfForm, LogsAreCopiedFromTheirPacket) {
  for (std::uint32_t code : {0x1234u, 0x713Au}) {
    std::vector<std::uint8_t> payload = testing_items::LogPayload(code, 0x77, 6);
    ItemPtr item = Make(kItemLog, payload);
    Dlf d = Render(*item);
    ASSERT_EQ(d.written, payload.size() - 4);
    EXPECT_EQ(d.bytes, Tail(payload, 4));
  }
}

TEST(DlfForm, TypesWithoutAForm) {
  EXPECT_EQ(Render(*Make(kItemMalformed, {1, 2, 3})).written, 0u);
  EXPECT_EQ(Render(*Make(kItemGps, testing_items::GpsPayload(1.0))).written, 0u);
  EXPECT_EQ(Render(*Make(kItemString, Bytes().U32(0xC0000001).U16(0))).written, 0u);
}

TEST(DlfForm, CapacityMustHoldTheWholePacket) {
  std::vector<std::uint8_t> payload = {0x00, 1, 2, 3};
  ItemPtr tx = Make(kItemDiagTx, payload);
  EXPECT_EQ(Render(*tx, 16).written, 16u);
  EXPECT_EQ(Render(*tx, 15).written, 0u);
  EXPECT_EQ(Render(*tx, 0).written, 0u);

  std::vector<std::uint8_t> event = testing_items::EventPayload(1, 0, {});
  ItemPtr ev = Make(kItemEvent, event);
  EXPECT_EQ(Render(*ev, static_cast<std::uint32_t>(event.size() + 11)).written, event.size() + 11);
  EXPECT_EQ(Render(*ev, static_cast<std::uint32_t>(event.size() + 10)).written, 0u);

  std::vector<std::uint8_t> log = testing_items::LogPayload(1, 0, 0);
  ItemPtr lg = Make(kItemLog, log);
  EXPECT_EQ(Render(*lg, 12).written, 12u);
  EXPECT_EQ(Render(*lg, 11).written, 0u);

  // The largest payload fits the callers' 8208 bytes only without a header.
  ItemPtr big = Make(kItemDiagTx, std::vector<std::uint8_t>(kMaxItemPayload, 0));
  EXPECT_EQ(Render(*big, kMaxItemPayload).written, 0u);
  EXPECT_EQ(Render(*big, kMaxItemPayload + 12).written, kMaxItemPayload + 12);
}

TEST(DlfForm, NothingIsWrittenWhenItFails) {
  ItemPtr tx = Make(kItemDiagTx, {0x00, 1, 2, 3});
  std::array<std::uint8_t, 15> out;
  out.fill(0xEE);
  EXPECT_EQ(tx->GetDLFBuffer(out.data(), 15), 0u);
  for (auto b : out) EXPECT_EQ(b, 0xEE);
  EXPECT_EQ(tx->GetDLFBuffer(nullptr, 100), 0u);
}

TEST(DlfForm, InvalidItemsWriteNothing) {
  ItemPtr ev = Make(kItemEvent, {0x60, 0, 0, 1, 0}, false);
  ASSERT_FALSE(ev->IsValid());
  EXPECT_EQ(Render(*ev).written, 0u);
  ItemPtr log = Make(kItemLog, {0x10, 0, 0, 0, 0, 0, 1, 0}, false);
  EXPECT_EQ(Render(*log).written, 0u);
  ItemPtr msg = Make(kItemMsg, {0x79}, false);
  EXPECT_EQ(Render(*msg).written, 0u);
  ItemPtr subsys = Make(kItemSubsysTx, {0x4B, 1}, false);
  EXPECT_EQ(Render(*subsys).written, 0u);
}

}  // namespace
}  // namespace quillon
