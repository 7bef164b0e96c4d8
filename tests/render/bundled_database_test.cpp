// Parsing and summaries of entities of the database that ships with the
// library.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <vector>

#include "common/item_database_view.h"
#include "database/database.h"
#include "render/event_service.h"
#include "render/field_xml.h"
#include "render/parsed_field_list.h"
#include "store/item_factory.h"

namespace quillon {
namespace {

class BundledDatabase : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    const auto dir = std::filesystem::path(QUILLON_TEST_DATA) / ".." / ".." / "Database";
    if (std::filesystem::exists(dir / "Diag.txt")) {
      db_ = new Database();
      db_->Load(dir.u16string(), false);
    }
  }
  static void TearDownTestSuite() {
    delete db_;
    db_ = nullptr;
  }
  void SetUp() override {
    if (db_ == nullptr) GTEST_SKIP() << "no bundled database";
  }
  static inline Database* db_ = nullptr;
};

TEST_F(BundledDatabase, Summaries) {
  const struct {
    std::vector<std::uint32_t> keys;
    std::vector<std::uint8_t> bytes;
    std::u16string summary;
  } cases[] = {
      {{4, 276}, {5, 0}, u"idle_handoff=5"},  // handoffs follow a fixed rule
      {{4, 277}, {0x2A, 0x00}, u"ms_access_handoff=42"},
      {{0, 0}, {}, u"Version information request"},
      {{1, 1}, {0x78, 0x56, 0x34, 0x12}, u"ESN 0x12345678"},
      {{1, 29}, {4, 3, 2, 1, 8, 7, 6, 5}, u"Time stamp 0x0506070801020304"},
  };
  for (const auto& c : cases) {
    ParsedFieldList l(*db_, c.keys, c.bytes.data(), static_cast<std::uint32_t>(c.bytes.size()));
    EXPECT_TRUE(l.Parse({}));
    EXPECT_EQ(l.Summary(), c.summary);
  }
}

TEST_F(BundledDatabase, NestedMostSignificantBitFirstHeaderOfAnIpPacket) {
  // A LOG item, code 4587: packet header, then an IPv4 header read
  // most-significant-bit first.
  const std::vector<std::uint8_t> b = {0x10, 0,    0,    0,    0,    0,    0xEB, 0x11, 0,  0, 0,
                                       0,    0,    0,    0,    0,    1,    0,    0,    0,  0, 0,
                                       0x45, 0x00, 0x00, 0x54, 0x12, 0x34, 0x40, 0x00, 64, 1, 0xAB,
                                       0xCD, 10,   0,    0,    1,    10,   0,    0,    2};
  ItemRecord::Header header;
  header.type_code = kItemLog;
  auto item = CreateItem(header, ItemBufferRef::Make(b.data(), b.size()), true,
                         NullItemDatabaseView::Instance());
  ASSERT_NE(item, nullptr);
  ParsedFieldList l(*db_, item.get());
  ASSERT_TRUE(l.Parse({}));
  EXPECT_EQ(l.Summary(), u"IPv4 ICMP, 84 bytes");
  const std::uint32_t ttl = l.FindByName(u"ip.ttl", {.wrap = true});
  ASSERT_NE(ttl, kNoIndex);
  EXPECT_EQ(l.ValueText(ttl), u"64");
  EXPECT_EQ(l.BitOffset(ttl), (6u + 8u) * 8u);
  EXPECT_EQ(l.Name(ttl, false), u"Protocol Packet IP.ip.ttl");
  EXPECT_EQ(l.FindByName(u"ip.options", {.wrap = true}),
            kNoIndex);  // ihl 5: no options
}

// Every entity over random payloads of many lengths: the walk either
// succeeds or stops, and whatever it recorded lies inside the payload.
TEST_F(BundledDatabase, EveryEntityWalksArbitraryPayloadsSafely) {
  std::mt19937 rng(7);
  std::size_t walked = 0;
  for (const auto& [codes, entity] : db_->Tables().diag) {
    for (std::uint32_t length : {0u, 1u, 2u, 3u, 7u, 16u, 64u, 300u}) {
      std::vector<std::uint8_t> bytes(length);
      for (auto& b : bytes) b = static_cast<std::uint8_t>(rng());
      ParsedFieldList l(*db_, codes, bytes.data(), length, entity.name);
      l.Parse({});
      for (const ParsedField& e : l.Entries()) {
        ASSERT_LE(e.bit_offset, length * 8);
        ASSERT_TRUE(e.valid);
      }
      EXPECT_FALSE(FieldListXml(l).empty());
      ++walked;
    }
  }
  EXPECT_GT(walked, 100u);
}

TEST_F(BundledDatabase, EventNameTableHoldsEveryEvent) {
  const EventNameTable names(*db_);
  EXPECT_EQ(names.size(), db_->Tables().Items(DbItemTable::kEvent).size());
  EXPECT_EQ(names.Name(276), u"EVENT_IDLE_HANDOFF");
  EXPECT_EQ(names.Name(1938), u"EVENT_LTE_RRC_TIMER_STATUS");
  EXPECT_EQ(names.Name(4095), u"");
  EXPECT_EQ(EventNameTable().Name(276), u"");
}

}  // namespace
}  // namespace quillon
