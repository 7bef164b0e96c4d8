// The rendered texts of every item class (GetTexts) against the bundled
// database, and the GPS item's parsed text.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "database/database.h"
#include "store/item_classes.h"
#include "tests/store/item_test_payloads.h"

namespace quillon {
namespace {

using namespace testing_items;
using V = std::vector<std::uint8_t>;

// A parser library that summarises every item.
class SummarisingParsers final : public ItemParserService {
 public:
  bool ParseToText(const ItemRecord&, std::u16string&) const override { return false; }
  bool ParseToSummary(const ItemRecord&, std::u16string& out) const override {
    out = u"from a parser";
    return true;
  }
};

class ItemTexts : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    db_ = new Database();
    db_->Load((std::filesystem::path(QUILLON_TEST_DATA) / ".." / ".." / "Database").u16string(),
              false);
  }
  static void TearDownTestSuite() { delete db_; }

  // One kind of `item`'s texts, rendered with the bundled database.
  static std::u16string Text(const ItemRecord& item, ItemTextKind kind,
                             const ItemRenderOptions& options = {},
                             const ItemParserService* parsers = nullptr) {
    ItemTextRequest request{{kind, u"stale"}};
    const ItemRenderServices services{.database = db_, .parsers = parsers};
    item.GetTexts(request, options, &services);
    return request[kind];
  }
  static std::u16string Summary(const ItemRecord& item, bool combined = false) {
    return Text(item, ItemTextKind::kSummary, {.combined_texts = combined});
  }
  // A log whose content (after the 16-byte header) is `content`.
  static ItemPtr Log(std::uint32_t code, const V& content) {
    V payload = LogPayload(code, 0, 0);
    payload.insert(payload.end(), content.begin(), content.end());
    return Make(kItemLog, payload);
  }
  // A LOG item whatever its code (the factory makes OTA LOG items of OTA codes).
  static ItemPtr PlainLog(const V& payload) {
    return std::make_unique<LogItem>(ItemBufferRef::Make(payload.data(), payload.size()));
  }
  static ItemPtr String(std::uint32_t header_word, const V& text) {
    V payload = Bytes().U32(header_word);
    payload.insert(payload.end(), text.begin(), text.end());
    return Make(kItemString, payload);
  }
  static V Gps(double latitude, double longitude, double time, std::int32_t quality) {
    return Bytes().F64(latitude).F64(longitude).F64(-5.5).F64(270).F64(0.25).F64(time).U32(4).U32(
        static_cast<std::uint32_t>(quality));
  }

  static inline Database* db_ = nullptr;
};

std::u16string Padded(std::u16string name) {
  name.resize(32, u' ');
  return name;
}

TEST_F(ItemTexts, SummaryOfEachClass) {
  const V nas_out = Bytes().U8(1).U32(300);
  const struct {
    const char* what;
    ItemPtr item;
    bool combined;
    std::u16string summary;
  } cases[] = {
      {"unknown event", Make(kItemEvent, EventPayload(1234, 0, {1, 2, 3, 4, 5})), false,
       u"Length: 0005"},
      {"unknown event, combined", Make(kItemEvent, EventPayload(1234, 0, {1, 2, 3, 4, 5})), true,
       Padded(u"ID: 1234") + u" Length: 0005"},
      {"named event, combined", Make(kItemEvent, EventPayload(256, 0, {})), true,
       Padded(u"EVENT_DROP_ID") + u" Length: 0000"},
      {"handoff, 16 bits", Make(kItemEvent, EventPayload(276, 0, {5, 0})), false,
       u"idle_handoff=5"},
      {"handoff, 3 bytes", Make(kItemEvent, EventPayload(276, 0, {5, 0, 7})), false,
       u"idle_handoff=5"},
      {"NAS uplink", Log(28986, nas_out), false, u"Direction: MS To Network, Length: 300"},
      {"NAS downlink", Log(28986, Bytes().U8(0).U32(12)), false,
       u"Direction: Network To MS, Length: 12"},
      {"RRC", Log(16687, Bytes().U8(2).U8(3).U16(70)), false, u"Radio Bearer ID: 3, Length: 70"},
      {"pilot log, short", Log(4214, Bytes().U8(1).U16(283)), false, u"Length: 0003"},
      {"plain LOG of a pilot code", PlainLog(LogPayload(4214, 0, 5)), false, u"Length: 0005"},
      {"other log", Log(0x119C, V(6, 0)), false, u"Length: 0006"},
      {"message", Make(kItemMsg, ExtendedMessage(21, 1, 0, {7}, "v=%d\n", "a.c", 9)), false,
       u"               a.c  00009  v=7"},
      {"GPS", Make(kItemGps, Gps(-33.5, -70.126, 5.0, 0)), false,
       u"Lat:-33.50; Lon:-70.13; Alt:-5.50; Dir:270.00; Spd:0.25; #Sat:04; Qual:00"},
      {"database summary", Make(kItemDiagTx, {0x00}), false, u"Version information request"},
      {"no database summary", Make(kItemSubsysTx, {0x4B, 0x12, 0x21, 0, 1, 2, 3}), false,
       u"Length: 0003"},
      {"malformed", Make(kItemMalformed, {0x60, 0x0D}), false, u"Length: 0001"},
      {"header beyond the payload", Make(kItemSubsysRx, {0x80, 1, 2, 0, 0}, false), false,
       u"Length: 0000"},
  };
  for (const auto& c : cases) {
    ASSERT_NE(c.item, nullptr) << c.what;
    EXPECT_EQ(Summary(*c.item, c.combined), c.summary) << c.what;
  }
}

TEST_F(ItemTexts, PilotLogFamily) {
  for (std::uint32_t code : {4214u, 4215u, 4216u, 4217u, 4220u, 4229u, 4230u}) {
    const ItemPtr log = Log(code, Bytes().U8(1).U16(283).U16(168));
    EXPECT_EQ(log->TypeCode(), kItemOtaLog);
    EXPECT_EQ(Summary(*log), u"Channel: 283, Pilot PN: 168") << code;
  }
}

TEST_F(ItemTexts, StringEncodings) {
  const V utf16 = Bytes().U16(u'h').U16(0x20AC).U16(0).U16(u'x');
  const struct {
    std::uint32_t header;
    V text;
    std::u16string summary;
  } cases[] = {
      {0xC0000001, utf16, u"h\u20AC"},                             // declared UTF-16
      {0x80000001, Bytes().Text("plain").Text("rest"), u"plain"},  // declared 8-bit
      {0x00000001, Bytes().Text("odd!"), u"odd!"},                 // undeclared, odd length
      {0x00000001, Bytes().U16(u'h').U16(u'i'), u"hi"},            // undeclared, looks UTF-16
      {0x00000001, Bytes().Text("even").U8(0), u"even"},           // undeclared, 8-bit
      {0x00000001, Bytes().Text("\r\n"), u"\r\n"},                 // only a line break
      {0xC0000001, {}, u""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Summary(*String(c.header, c.text)), c.summary) << std::hex << c.header;
  }
}

TEST_F(ItemTexts, TypeTexts) {
  const struct {
    ItemPtr item;
    std::u16string plain;
    std::u16string combined;
  } cases[] = {
      {Make(kItemEvent, EventPayload(1, 0, {})), u"EVENT", u"EVT(-)"},
      {Make(kItemLog, LogPayload(0x119C, 0)), u"LOG", u"LOG(-)"},
      {Make(kItemLog, LogPayload(0x713A, 0)), u"OTA LOG", u"LOG(-)"},
      {Make(kItemMsg, ExtendedMessage(1, 1u << 0, 0, {}, "", "f")), u"MSG", u"MSG(L)"},
      {Make(kItemMsg, ExtendedMessage(1, 1u << 1, 0, {}, "", "f")), u"MSG", u"MSG(M)"},
      {Make(kItemMsg, ExtendedMessage(1, 1u << 2, 0, {}, "", "f")), u"MSG", u"MSG(H)"},
      {Make(kItemMsg, ExtendedMessage(1, 1u << 3, 0, {}, "", "f")), u"MSG", u"MSG(E)"},
      {Make(kItemMsg, LegacyMessage(4, 0)), u"MSG", u"MSG(F)"},
      {Make(kItemMsg, ExtendedMessage(1, 1u << 7, 0, {}, "", "f")), u"MSG", u"MSG(7)"},
      {Make(kItemMsg, LegacyMessage(33, 0), false), u"Unknown", u"MSG(33)"},
      {Make(kItemGps, Gps(1, 1, 1, 1)), u"GPS", u"GPS"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Text(*c.item, ItemTextKind::kTypeText), c.plain);
    EXPECT_EQ(Text(*c.item, ItemTextKind::kTypeText, {.combined_texts = true}), c.combined);
  }
}

TEST_F(ItemTexts, NamesKeysAndDumps) {
  const ItemPtr handoff = Make(kItemEvent, EventPayload(276, 0, {0xA8, 0x00}));
  EXPECT_EQ(Text(*handoff, ItemTextKind::kName), u"EVENT_IDLE_HANDOFF");
  EXPECT_EQ(Text(*Make(kItemEvent, EventPayload(1234, 0, {})), ItemTextKind::kName), u"Unknown");
  EXPECT_EQ(Text(*String(0xC0000000, {}), ItemTextKind::kName), u"Information");
  EXPECT_EQ(Text(*String(0xC0000004, {}), ItemTextKind::kName), u"Marker");
  EXPECT_EQ(Text(*handoff, ItemTextKind::kKeyText), u"00276");
  EXPECT_EQ(Text(*handoff, ItemTextKind::kBufferText), u"A8 00");
  EXPECT_EQ(Text(*handoff, ItemTextKind::kBufferText, {.include_header_bytes = true}).substr(0, 9),
            u"60 0C 00 ");
  EXPECT_EQ(Text(*Make(kItemEvent, EventPayload(1, 0, {})), ItemTextKind::kBufferText), u"None");
  EXPECT_EQ(Text(*Make(kItemSubsysRx, {0x80, 1, 2}, false), ItemTextKind::kBufferText), u"None");
  EXPECT_EQ(
      Text(*handoff, ItemTextKind::kTimestampText, {.want_date = true, .specific_timestamp = true}),
      u"01/06/1980 00:00:00.000");
  // Without services there is no name.
  ItemTextRequest request{{ItemTextKind::kName, u"stale"}};
  handoff->GetTexts(request, {}, nullptr);
  EXPECT_EQ(request[ItemTextKind::kName], u"");
}

TEST_F(ItemTexts, OnlyTheKindsAsked) {
  ItemTextRequest request{{ItemTextKind::kKeyText, {}}};
  Make(kItemGps, Gps(1, 1, 1, 1))->GetTexts(request, {}, nullptr);
  EXPECT_EQ(request.size(), 1u);
  EXPECT_EQ(request[ItemTextKind::kKeyText], u"-");
}

TEST_F(ItemTexts, ParserSummariesComeFirst) {
  const SummarisingParsers parsers;
  for (const ItemPtr& item :
       {Make(kItemEvent, EventPayload(276, 0, {5, 0})), Make(kItemGps, Gps(1, 1, 1, 1))}) {
    EXPECT_EQ(Text(*item, ItemTextKind::kSummary, {}, &parsers), u"from a parser");
  }
}

TEST_F(ItemTexts, GpsParsedText) {
  std::u16string text;
  ASSERT_TRUE(Make(kItemGps, Gps(-33.5, -151.25, 5.0, 0))->GetParsedText(text, nullptr));
  EXPECT_EQ(text,
            u"GPS Time:    00:00:05.000\r\n"
            u"Quality:        0\r\n"
            u"Latitude:       33.500000 Degrees S\r\n"
            u"Longitude:     151.250000 Degrees W\r\n"
            u"Altitude:       -5.500000 Meters\r\n"
            u"Course:        270.000000 Degrees\r\n"
            u"Speed:           0.250000 Knots\r\n"
            u"Satellites:      4\r\n");
}

}  // namespace
}  // namespace quillon
