// Keys, header lengths, device timestamps, default colours (COLORREF
// 0x00BBGGRR) and the legacy DLF packet form of each item class.
#include "store/item_classes.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>

#include "common/little_endian.h"
#include "item_test_payloads.h"

namespace quillon {
namespace {

using namespace testing_items;
using V = std::vector<std::uint8_t>;

// The factory makes the class of each type code, with the header time.
TEST(ItemKeys, KeyAndHeaderLengthOfEachClass) {
  struct Case {
    const char* what;
    std::uint32_t type;
    V payload;
    ItemKey key;
    std::optional<std::uint32_t> header;
  };
  const Case cases[] = {
      {"malformed", kItemMalformed, {121, 1, 2}, {0, 121}, 1},
      {"diag rx", kItemDiagRx, {0x00, 1, 2, 3}, {1, 0}, 1},
      {"diag tx", kItemDiagTx, {0xFF}, {2, 255}, 1},
      {"subsys tx", kItemSubsysTx, {0x4B, 18, 0x2A, 0x01, 9, 9}, {10, 18, 0x012A}, 4},
      {"subsys rx", kItemSubsysRx, {0x4B, 255, 0xFF, 0xFF}, {9, 255, 65535}, 4},
      {"delayed",
       kItemSubsysRx,
       Bytes().U8(0x80).U8(19).U16(7).U32(0).U16(1).U16(0),
       {9, 19, 7},
       12},
      // The delayed form's header length does not depend on the payload length.
      {"short delayed", kItemSubsysRx, {0x80, 19, 7, 0}, {9, 19, 7}, 12},
      // A request of the version-2 command keeps a 4-byte header.
      {"v2 request", kItemSubsysTx, Bytes().U8(0x80).U8(19).U16(7).U32(0), {10, 19, 7}, 4},
      {"gps", kItemGps, GpsPayload(1.0), {3}, 0},
      {"event no data", kItemEvent, EventPayload(412, 0, {}), {4, 412}, 13},
      {"event 2 bytes", kItemEvent, EventPayload(4095, 0, {1, 2}), {4, 4095}, 13},
      {"event counted", kItemEvent, EventPayload(639, 0, {1, 2, 3, 4}), {4, 639}, 14},
      // Truncated time: 2 bytes of time, then one payload byte.
      {"event short time",
       kItemEvent,
       Bytes().U8(0x60).U16(5).U16(100 | 1u << 13 | 0x8000).U16(7).U8(9),
       {4, 100},
       7},
      {"event reserved bit",
       kItemEvent,
       Bytes().U8(0x60).U16(10).U16(0x1000 | 5).U64(0),
       {4, 5},
       {}},
      {"log", kItemLog, LogPayload(0x108A, 0), {5, 0x108A}, 16},
      {"log without body", kItemLog, LogPayload(0xFFFF, 0, 0), {5, 0xFFFF}, 16},
      {"legacy message", kItemMsg, LegacyMessage(2, 0), {6, 0, 2}, {}},
      {"string bits 0-5 only", kItemString, Bytes().U32(0xFFFFFFC3), {7, 3}, 4},
      {"ota log with its channel type", kItemOtaLog, LogPayload(0x412F, 0), {8, 0x412F, 0xAB}, 16},
      {"ota log without content", kItemOtaLog, LogPayload(0x412F, 0, 0), {8, 0x412F}, 16},
      {"ota log of no known layout", kItemOtaLog, LogPayload(0x1076, 0), {8, 0x1076}, 16}};
  for (const Case& c : cases) {
    ItemPtr item = Make(c.type, c.payload);
    ASSERT_NE(item, nullptr) << c.what;
    EXPECT_TRUE(item->IsValid()) << c.what;
    EXPECT_EQ(item->Key(), c.key) << c.what;
    EXPECT_EQ(item->Timestamp(), ItemTimestamp(kHeaderTime));
    EXPECT_EQ(item->AuxValue(), 0xFFFFFFFFu);
    if (c.header) {
      EXPECT_EQ(item->GetHeaderLength(), *c.header) << c.what;
    }
  }
  for (std::uint32_t type = 0; type <= 4; ++type) {
    ItemPtr item = Make(kItemString, Bytes().U32(0xC0000000 | type).U16('a').U16(0));
    EXPECT_EQ(item->Key(), (ItemKey{7, type}));
  }
  const ItemPtr counted = Make(kItemEvent, cases[11].payload);
  EXPECT_EQ(static_cast<const EventItem&>(*counted).Record().payload_length, 4u);
}

TEST(ItemKeys, OtaKindFromTheFirstContentByte) {
  struct Case {
    std::uint32_t log_code;
    std::uint32_t first_byte;
    ItemKey key;
  };
  const Case cases[] = {
      {0x412F, 0x05, {8, 0x412F, 5}}, {0x512F, 0x83, {8, 0x512F, 3}},
      {0x5226, 0x81, {8, 0x5226, 1}}, {0x5226, 0x03, {8, 0x5226, 0}},
      {0x5230, 0x01, {8, 0x5230, 1}}, {0x713A, 0x00, {8, 0x713A, 0}},
      {0x1085, 0x07, {8, 0x1085}},  // HDR: no kind in the layout
  };
  for (const Case& c : cases) {
    Bytes payload = LogPayload(c.log_code, 0, 0);
    payload.U8(c.first_byte);
    EXPECT_EQ(Make(kItemLog, payload)->Key(), c.key) << std::hex << c.log_code;
  }
}

TEST(ItemKeys, ExtendedMessageSubsystemAndLevel) {
  const std::pair<std::uint32_t, std::uint32_t> cases[] = {{0x01, 0},        {0x02, 1}, {0x04, 2},
                                                           {0x08, 3},        {0x10, 4}, {0x06, 1},
                                                           {0x80000000, 31}, {0x20, 5}, {0, 32}};
  for (const auto& [mask, level] : cases) {
    ItemPtr item = Make(kItemMsg, ExtendedMessage(21, mask, 0, {}, "m", "f.c"));
    ASSERT_EQ(item->TypeCode(), kItemMsg) << mask;
    EXPECT_EQ(item->Key(), (ItemKey{6, 21, level})) << mask;
    EXPECT_EQ(item->GetHeaderLength(), 0u);
  }
  ItemPtr ext = Make(kItemMsg, ExtendedMessage(5, 4, 0, {10, 20}, "a=%d b=%d", "x.c", 1234));
  const auto& h = static_cast<const MessageItem&>(*ext).Header();
  EXPECT_TRUE(h.parsed && h.extended);
  EXPECT_EQ(h.arg_count, 2u);
  EXPECT_EQ(h.line, 1234u);
  EXPECT_EQ(h.args_offset, 20u);
  EXPECT_EQ(h.format_offset, 28u);
  const ItemPtr legacy_item = Make(kItemMsg, LegacyMessage(2, 0));
  const auto& legacy = static_cast<const MessageItem&>(*legacy_item);
  EXPECT_FALSE(legacy.Header().extended);
  EXPECT_EQ(legacy.Header().line, 42u);
  EXPECT_EQ(legacy.Header().format_offset, kLegacyMessageFormatOffset);
}

// Records that do not fit their payload: the key is still known, the item is
// not valid and has no header bytes.
TEST(ItemKeys, RecordsThatDoNotFitAreNotValid) {
  const std::pair<V, ItemKey> unvalidated[] = {
      // Event length byte claims more than is there; length code 2 with one byte.
      {Bytes().U8(0x60).U16(0).U16(7 | 3u << 13).U64(0).U8(5).U8(1), {4, 7}},
      {Bytes().U8(0x60).U16(0).U16(7 | 2u << 13).U64(0).U8(5), {4, 7}},
      // Fixed message fields alone make the key.
      {Bytes().U8(0x79).U8(0).U8(0).U8(0).U64(0).U16(1).U16(3).U32(2), {6, 3, 1}}};
  for (const auto& [payload, key] : unvalidated) {
    ItemPtr item = Make(payload[0] == 0x60 ? kItemEvent : kItemMsg, payload, false);
    EXPECT_FALSE(item->IsValid());
    EXPECT_EQ(item->Key(), key);
    EXPECT_EQ(item->GetHeaderLength(), 0u);
  }
  // An event whose length byte points exactly at the payload's end parses.
  V exact = Bytes().U8(0x60).U16(0).U16(3u << 13 | 1).U64(0).U8(3).U8(1).U8(2).U8(3);
  EXPECT_TRUE(Make(kItemEvent, exact, false)->IsValid());
  EXPECT_EQ(Make(kItemEvent, exact, false)->GetHeaderLength(), 14u);
  exact.pop_back();
  EXPECT_FALSE(Make(kItemEvent, exact, false)->IsValid());
  // Messages: arguments claimed but missing, last byte not zero, level 255.
  Bytes missing_args;
  missing_args.U8(0x79).U8(0).U8(9).U8(0).U64(0).U16(1).U16(1).U32(1).U8(0);
  EXPECT_EQ(Make(kItemMsg, missing_args)->TypeCode(), kItemMalformed);
  V open = ExtendedMessage(1, 1, 0, {}, "m", "f.c");
  open.back() = 'x';
  EXPECT_EQ(Make(kItemMsg, open)->TypeCode(), kItemMalformed);
  EXPECT_EQ(Make(kItemMsg, LegacyMessage(255, 0))->TypeCode(), kItemMalformed);
}

TEST(SpecificTimestamp, DeviceTimeOrTheGenericOne) {
  constexpr std::uint64_t kDevice = 0x00000ABCDEF01234ull;
  const ItemTimestamp device(kDevice);
  const ItemTimestamp generic(kHeaderTime);
  V cut_log = LogPayload(0x1234, kDevice, 0);
  cut_log.pop_back();
  V open_msg = ExtendedMessage(1, 1, kDevice, {}, "m", "f");
  open_msg.back() = 'x';
  V short_gps = GpsPayload(93015.25);
  short_gps.resize(48);
  struct Case {
    const char* what;
    std::uint32_t type;
    V payload;
    ItemTimestamp expected;
    bool validate = true;
  };
  const Case cases[] = {
      {"event", kItemEvent, EventPayload(276, kDevice, {1, 0}), device},
      {"event short time", kItemEvent, Bytes().U8(0x60).U16(4).U16(9 | 0x8000).U16(0x1234),
       generic},
      {"event not parsed", kItemEvent, {0x60, 0, 0, 1, 0, 1, 2, 3}, generic, false},
      {"log", kItemLog, LogPayload(0x1234, kDevice), device},
      {"ota log", kItemLog, LogPayload(0x713A, kDevice), device},
      {"log cut", kItemLog, cut_log, generic, false},
      {"extended msg", kItemMsg, ExtendedMessage(1, 1, kDevice, {}, "m", "f.c"), device},
      {"legacy msg", kItemMsg, LegacyMessage(1, kDevice), device},
      {"msg open", kItemMsg, open_msg, generic, false},
      {"diag time rsp", kItemDiagRx, Bytes().U8(29).U64(kDevice), generic},
      {"diag tx", kItemDiagTx, {0}, generic},
      {"subsys", kItemSubsysRx, {0x4B, 1, 2, 3}, generic},
      {"string", kItemString, Bytes().U32(0xC0000000).U16(0), generic},
      {"malformed", kItemMalformed, {1}, generic},
      {"gps no time", kItemGps, GpsPayload(-1.0), generic},
      {"gps past a day", kItemGps, GpsPayload(246000.0), generic},
      {"gps short", kItemGps, short_gps, generic, false}};
  for (const Case& c : cases) {
    EXPECT_EQ(Make(c.type, c.payload, c.validate)->GetSpecificTimestamp(), c.expected) << c.what;
  }
  // GPS: the time of day, today.
  platform::SystemTime got;
  ASSERT_TRUE(platform::FileTimeToSystemTime(
      Make(kItemGps, GpsPayload(93015.25))->GetSpecificTimestamp().ToFileTime(), got));
  EXPECT_EQ((std::array<int, 4>{got.hour, got.minute, got.second, got.milliseconds}),
            (std::array<int, 4>{9, 30, 15, 250}));
  EXPECT_NE(got.year, 1980);
}

TEST(SpecificTimestamp, ComparisonsAreStrict) {
  ItemPtr early = Make(kItemLog, LogPayload(1, 100));
  ItemPtr late = Make(kItemEvent, EventPayload(1, 200, {}));
  ItemPtr same = Make(kItemLog, LogPayload(2, 100));
  EXPECT_TRUE(late->IsLaterThan(*early));
  EXPECT_FALSE(early->IsLaterThan(*late));
  EXPECT_TRUE(early->IsEarlierThan(*late));
  EXPECT_FALSE(early->IsLaterThan(*same));
  EXPECT_FALSE(early->IsEarlierThan(*same));
  EXPECT_TRUE(Make(kItemDiagTx, {0})->IsLaterThan(*late));  // by its generic timestamp
}

TEST(ItemColors, ColourOfEachClass) {
  const auto delayed = [](std::uint32_t status) {
    return V(Bytes().U8(0x80).U8(1).U16(2).U32(status).U32(0));
  };
  const auto msg = [](std::uint32_t ss_id, std::uint32_t mask) {
    return V(ExtendedMessage(ss_id, mask, 0, {}, "m", "f.c"));
  };
  const auto str = [](std::uint32_t word) { return V(Bytes().U32(word).U16('a').U16(0)); };
  struct Case {
    std::uint32_t type;
    V payload;
    std::uint32_t color;
  };
  const Case cases[] = {
      {kItemMalformed, {1}, 0x0000FF},
      {kItemDiagTx, {0}, 0x80FF80},
      {kItemSubsysTx, {0x4B, 1, 0, 0}, 0x80FF80},
      {kItemGps, GpsPayload(0), 0x663399},
      {kItemEvent, EventPayload(1, 0, {}), 0xFFFFFF},
      {kItemLog, LogPayload(0x1234, 0), 0xC0C0C0},
      {kItemSubsysRx, {0x4B, 1, 0, 0}, 0xFF8080},
      {kItemSubsysRx, delayed(0), 0xFF9494},
      {kItemSubsysRx, delayed(0x100), 0x0000FF},
      {kItemSubsysRx, Bytes().U8(0x80).U8(1).U16(2).U8(1).U8(1).U8(1), 0xFF9494},
      {kItemMsg, msg(1, 1u << 0), 0xFFFFFF},
      {kItemMsg, msg(1, 1u << 1), 0xFFFF00},
      {kItemMsg, msg(1, 1u << 2), 0x00FFFF},
      {kItemMsg, msg(1, 1u << 3), 0xFF00FF},
      {kItemMsg, msg(1, 1u << 4), 0x0000FF},
      {kItemMsg, msg(0, 1u << 4), 0x0000FF},
      // Levels beyond fatal: by subsystem.
      {kItemMsg, msg(1, 1u << 5), 0x5055B8},
      {kItemMsg, msg(0, 1u << 5), 0xFF00FF},
      {kItemMsg, msg(7, 0), 0x5055B8},
      {kItemMsg, msg(0, 0), 0xFF00FF},
      {kItemMsg, {0x79, 0}, kColorUnknown},  // fixed fields missing: short key
      // String: red = bits 6..13, green = bits 14..21, blue = bits 29..22.
      {kItemString, str(MakeStringHeaderWord(0x123456, 2)), 0x123456},
      {kItemString, str(0x01u << 6 | 0x02u << 14 | 0x03u << 22), 0x030201},
      {kItemString, str(MakeStringHeaderWord(0x123400, 0)), 0xFFFFFF},
      {kItemString, str(MakeStringHeaderWord(0x120056, 0)), 0xFFFFFF},
      {kItemString, str(MakeStringHeaderWord(0x003456, 0)), 0xFFFFFF},
      {kItemString, str(0), 0xFFFFFF},
      {kItemOtaLog, LogPayload(0x1234, 0), kColorUnknown},
      {kItemOtaLog, {0x10, 0, 0}, kColorUnknown},  // key without the log code
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    // Only the two cut-short payloads are kept without validation.
    ItemPtr item = Make(cases[i].type, cases[i].payload, cases[i].payload.size() > 3);
    EXPECT_EQ(item->Color(), cases[i].color) << i;
  }
  EXPECT_EQ(MakeStringHeaderWord(0x123456, 2), 0xC0000000u | 0x123456u << 6 | 2u);
  EXPECT_EQ(MessageColor({6}), kColorUnknown);
  EXPECT_EQ(MessageColor({6, 1}), kColorUnknown);
  EXPECT_EQ(MessageColor({6, 0, 40}), 0xFF00FFu);
  EXPECT_EQ(OtaLogColor(0x1234), kColorUnknown);
}

TEST(ItemColors, DiagResponseErrorCodesAreRed) {
  for (std::uint32_t code = 0; code <= 255; ++code) {
    const bool error = (code >= 19 && code <= 24) || code == 66 || code == 71;
    EXPECT_EQ(Make(kItemDiagRx, {static_cast<std::uint8_t>(code), 0})->Color(),
              error ? 0x0000FFu : 0xFF8080u)
        << code;
    EXPECT_EQ(IsDiagErrorResponseCode(code), error);
  }
}

TEST(ItemColors, OtaTable) {
  const std::pair<std::uint32_t, std::uint32_t> table[] = {
      {0x1004, 0xF8F2E8}, {0x1005, 0xF2E8D8}, {0x1006, 0xECDCC2}, {0x1007, 0xE6D0AC},
      {0x1008, 0xE0C698}, {0x1090, 0xE0C698}, {0x1091, 0xF2E8D8}, {0x1076, 0xF0F4F0},
      {0x1077, 0xEBF0EB}, {0x1078, 0xE6ECE6}, {0x1079, 0xE1E8E1}, {0x1085, 0xFFF4F0},
      {0x1086, 0xFFF0EB}, {0x10D6, 0xFCF4F8}, {0x10D7, 0xF8E8EE}, {0x10D8, 0xF4DAE4},
      {0x412F, 0x00CCFF}, {0x512F, 0xC2D6FF}, {0x5226, 0x6496FF}, {0x5230, 0x0052FB},
      {0x713A, 0xBEF4FF}, {0x107C, 0xDCE4DC}};
  for (const auto& [code, color] : table) {
    EXPECT_EQ(OtaLogColor(code), color) << code;
    EXPECT_EQ(Make(kItemOtaLog, LogPayload(code, 0))->Color(), color) << code;
  }
}

V Dlf(const ItemRecord& item, std::uint32_t capacity = kMaxItemPayload) {
  V out(capacity + 16, 0xEE);
  out.resize(item.GetDLFBuffer(out.data(), capacity));
  return out;
}

TEST(DlfForm, LengthCodeTimeAndData) {
  const V request{0x00, 1, 2, 3};
  const V time_rsp = Bytes().U8(29).U64(0x1122334455667788ull).U8(0xAA);
  const V event = EventPayload(276, 0xABCDEF, {5, 0});
  const V ext = ExtendedMessage(1, 1, 0x5555, {1}, "%d", "a.c");
  const V legacy = LegacyMessage(1, 0x6666);
  struct Case {
    const char* what;
    std::uint32_t type;
    V payload;
    std::uint32_t code;
    std::uint64_t time;
    std::size_t data_from;  // the payload bytes after the 12-byte header
  };
  const Case cases[] = {
      {"diag tx", kItemDiagTx, request, 0x1FEA, 0, 0},
      {"subsys tx", kItemSubsysTx, request, 0x1FEA, 0, 0},
      {"diag time", kItemDiagRx, time_rsp, 0x1FF0, 0x1122334455667788ull, 0},
      {"subsys time", kItemSubsysRx, time_rsp, 0x1FF0, 0x1122334455667788ull, 0},
      // Command 29 but no room for the time; another command with enough bytes.
      {"short time", kItemDiagRx, Bytes().U8(29).U32(1).U16(2).U8(3), 0x1FF0, 0, 0},
      {"no time", kItemSubsysRx, Bytes().U8(0x4B).U8(1).U16(2).U64(0x99), 0x1FF0, 0, 0},
      {"event", kItemEvent, event, 0x1FFB, 0xABCDEF, 1},
      {"extended msg", kItemMsg, ext, 0x1FEB, 0x5555, 0},
      {"legacy msg", kItemMsg, legacy, 0x1FEC, 0x6666, 0},
      // Quillon's own codes; the generic timestamp (a GPS record has no date).
      {"gps", kItemGps, GpsPayload(1.0), 0x1FE8, kHeaderTime, 0},
      {"string", kItemString, Bytes().U32(0xC0000001).U16(u'a').U16(0), 0x1FE9, kHeaderTime, 0}};
  for (const Case& c : cases) {
    const V d = Dlf(*Make(c.type, c.payload, false));
    const std::size_t size = c.payload.size() - c.data_from + 12;
    ASSERT_EQ(d.size(), size) << c.what;
    EXPECT_EQ(LoadLE16(&d[0]), size) << c.what;
    EXPECT_EQ(LoadLE16(&d[2]), c.code) << c.what;
    EXPECT_EQ(LoadLE64(&d[4]), c.time) << c.what;
    EXPECT_EQ(V(d.begin() + 12, d.end()), V(c.payload.begin() + c.data_from, c.payload.end()))
        << c.what;
  }
  // Logs are copied from their packet.
  for (std::uint32_t code : {0x1234u, 0x713Au}) {
    const V log = LogPayload(code, 0x77, 6);
    EXPECT_EQ(Dlf(*Make(kItemLog, log)), V(log.begin() + 4, log.end())) << code;
  }
}

TEST(DlfForm, NothingWithoutAFormOrRoom) {
  const V event = EventPayload(1, 0, {});
  const auto event_size = static_cast<std::uint32_t>(event.size() + 11);
  struct Case {
    std::uint32_t type;
    V payload;
    bool validate;
    std::uint32_t capacity;
    std::size_t written;
  };
  const Case cases[] = {
      {kItemMalformed, {1, 2, 3}, true, 100, 0},
      {kItemGps, GpsPayload(1.0), true, 67, 0},
      {kItemString, Bytes().U32(0xC0000001).U16(0), true, 17, 0},
      {kItemEvent, {0x60, 0, 0, 1, 0}, false, 100, 0},
      {kItemLog, {0x10, 0, 0, 0, 0, 0, 1, 0}, false, 100, 0},
      {kItemMsg, {0x79}, false, 100, 0},
      {kItemSubsysTx, {0x4B, 1}, false, 100, 0},
      {kItemDiagTx, {0, 1, 2, 3}, true, 16, 16},
      {kItemDiagTx, {0, 1, 2, 3}, true, 15, 0},
      {kItemEvent, event, true, event_size, event_size},
      {kItemEvent, event, true, event_size - 1, 0},
      {kItemLog, LogPayload(1, 0, 0), true, 12, 12},
      {kItemLog, LogPayload(1, 0, 0), true, 11, 0},
      // The largest payload fits the callers' 8208 bytes only without a header.
      {kItemDiagTx, V(kMaxItemPayload, 0), true, kMaxItemPayload, 0},
      {kItemDiagTx, V(kMaxItemPayload, 0), true, kMaxItemPayload + 12, kMaxItemPayload + 12}};
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const Case& c = cases[i];
    EXPECT_EQ(Dlf(*Make(c.type, c.payload, c.validate), c.capacity).size(), c.written) << i;
  }
  // A failed call writes nothing.
  ItemPtr tx = Make(kItemDiagTx, {0x00, 1, 2, 3});
  std::array<std::uint8_t, 15> out;
  out.fill(0xEE);
  EXPECT_EQ(tx->GetDLFBuffer(out.data(), 15), 0u);
  for (auto b : out) EXPECT_EQ(b, 0xEE);
  EXPECT_EQ(tx->GetDLFBuffer(nullptr, 100), 0u);
}

}  // namespace
}  // namespace quillon
