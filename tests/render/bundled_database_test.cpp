// Parsing and summaries of entities of the database that ships with the
// library.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <vector>

#include "common/item_database_view.h"
#include "database/database.h"
#include "render/field_xml.h"
#include "render/parsed_field_list.h"
#include "store/item_factory.h"

namespace quillon {
namespace {

class BundledDatabase : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    db_ = new Database();
    const auto dir = std::filesystem::path(QUILLON_TEST_DATA) / ".." / ".." / "Database";
    loaded_ = std::filesystem::exists(dir / "Diag.txt");
    if (loaded_) db_->Load(dir.u16string(), false);
  }
  static void TearDownTestSuite() {
    delete db_;
    db_ = nullptr;
  }
  void SetUp() override {
    if (!loaded_) GTEST_SKIP() << "no bundled database";
  }

  static std::u16string Summary(std::vector<std::uint32_t> keys, std::vector<std::uint8_t> bytes) {
    ParsedFieldList l(*db_, std::move(keys), bytes.data(),
                      static_cast<std::uint32_t>(bytes.size()));
    l.Parse(false, true, true);
    return l.Summary();
  }

  static Database* db_;
  static bool loaded_;
};

Database* BundledDatabase::db_ = nullptr;
bool BundledDatabase::loaded_ = false;

TEST_F(BundledDatabase, HandoffEventsAreSummarisedByTheirFixedRule) {
  EXPECT_EQ(Summary({4, 276}, {5, 0}), u"idle_handoff=5");
  const std::uint8_t payload[] = {0x2A, 0x00};
  ParsedFieldList l(*db_, 277, payload, 2);
  EXPECT_TRUE(l.Parse(false, true, true));
  EXPECT_EQ(l.Summary(), u"ms_access_handoff=42");
}

TEST_F(BundledDatabase, FixedAndNumericSummaries) {
  EXPECT_EQ(Summary({0, 0}, {}), u"Version information request");
  EXPECT_EQ(Summary({1, 1}, {0x78, 0x56, 0x34, 0x12}), u"ESN 0x12345678");
  EXPECT_EQ(Summary({1, 29}, {4, 3, 2, 1, 8, 7, 6, 5}), u"Time stamp 0x0506070801020304");
}

TEST_F(BundledDatabase, NestedMostSignificantBitFirstHeaderOfAnIpPacket) {
  // A LOG item, code 4587: packet header, then an IPv4 header read
  // most-significant-bit first.
  std::vector<std::uint8_t> b = {0x10, 0, 0, 0, 0, 0, 0xEB, 0x11, 0, 0, 0, 0, 0, 0, 0, 0};
  b.insert(b.end(), {1, 0, 0, 0, 0, 0});
  b.insert(b.end(), {0x45, 0x00, 0x00, 0x54, 0x12, 0x34, 0x40, 0x00, 64, 1,
                     0xAB, 0xCD, 10,   0,    0,    1,    10,   0,    0,  2});
  ItemRecord::Header header;
  header.type_code = kItemLog;
  auto item = CreateItem(header, ItemBufferRef::Make(b.data(), b.size()), true,
                         NullItemDatabaseView::Instance());
  ASSERT_NE(item, nullptr);
  ParsedFieldList l(*db_, item.get());
  ASSERT_TRUE(l.Parse(false, true, true));
  EXPECT_EQ(l.Summary(), u"IPv4 ICMP, 84 bytes");
  const std::uint32_t ttl = l.FindByName(u"ip.ttl", true, true);
  ASSERT_NE(ttl, kNoIndex);
  EXPECT_EQ(l.ValueText(ttl), u"64");
  EXPECT_EQ(l.BitOffset(ttl), (6u + 8u) * 8u);
  EXPECT_EQ(l.Name(ttl, false), u"Protocol Packet IP.ip.ttl");
  EXPECT_EQ(l.FindByName(u"ip.options", true, true), kNoIndex);  // ihl 5: no options
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
      l.Parse(false, true, true);
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

}  // namespace
}  // namespace quillon
