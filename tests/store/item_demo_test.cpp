// The demo capture of the command-line tool: every record must make a valid
// item of the intended type.
#include <gtest/gtest.h>

#include <map>
#include <set>

// The demo generator belongs to the tool's sources; it is compiled in here
// so that its records are checked against the item classes.
#include "cli/demo_items.cpp"
#include "store/item_classes.h"
#include "store/item_factory.h"

namespace quillon {
namespace {

TEST(DemoItems, EveryRecordMakesAValidItem) {
  const std::vector<DemoRecord> records = MakeDemoItems();
  ASSERT_GE(records.size(), 200u);
  std::map<std::uint32_t, int> per_type;
  std::set<ItemKey> keys;
  for (const DemoRecord& r : records) {
    const ItemBufferRef buffer = ItemBufferRef::Make(r.payload.data(), r.payload.size());
    ItemPtr item = CreateItem({r.type_code, ItemTimestamp(r.timestamp)}, buffer, true,
                              NullItemDatabaseView::Instance());
    ASSERT_NE(item, nullptr) << r.type_code;
    EXPECT_TRUE(item->IsValid());
    // Only records filed as LOG may change type (to OTA LOG).
    if (r.type_code == kItemLog) {
      EXPECT_TRUE(item->TypeCode() == kItemLog || item->TypeCode() == kItemOtaLog);
    } else {
      EXPECT_EQ(item->TypeCode(), r.type_code) << keys.size();
    }
    ++per_type[item->TypeCode()];
    keys.insert(item->Key());
  }
  for (std::uint32_t type = 0; type < kItemTypeCount; ++type) {
    EXPECT_GT(per_type[type], 0) << "no item of type " << type;
  }
  EXPECT_EQ(per_type[kItemMalformed], 1);
  for (std::uint32_t id : {276u, 277u, 278u, 639u}) {
    EXPECT_EQ(keys.count(ItemKey{kItemEvent, id}), 1u) << id;
  }
  EXPECT_EQ(keys.count(ItemKey{kItemOtaLog, 0x713A}), 1u);
}

TEST(DemoItems, TimestampsIncrease) {
  const std::vector<DemoRecord> records = MakeDemoItems();
  for (std::size_t i = 1; i < records.size(); ++i) {
    EXPECT_LT(records[i - 1].timestamp, records[i].timestamp) << i;
  }
}

TEST(DemoItems, SameRecordsEveryTime) {
  const std::vector<DemoRecord> a = MakeDemoItems();
  const std::vector<DemoRecord> b = MakeDemoItems();
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    EXPECT_EQ(a[i].type_code, b[i].type_code);
    EXPECT_EQ(a[i].timestamp, b[i].timestamp);
    EXPECT_EQ(a[i].payload, b[i].payload);
  }
  // The first item is received at 2024-03-01 09:30:00 UTC.
  EXPECT_EQ(ItemTimestamp(a.front().timestamp).ToFileTime(), 133537590000000000ULL);
}

TEST(DemoItems, DelayedResponsesCarryTheirStatus) {
  int ok = 0;
  int failed = 0;
  for (const DemoRecord& r : MakeDemoItems()) {
    if (r.type_code != kItemSubsysRx || r.payload[0] != 0x80) continue;
    const ItemBufferRef buffer = ItemBufferRef::Make(r.payload.data(), r.payload.size());
    ItemPtr item = CreateItem({r.type_code, ItemTimestamp(r.timestamp)}, buffer, true,
                              NullItemDatabaseView::Instance());
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->GetHeaderLength(), 12u);
    (item->Color() == kColorRed ? failed : ok)++;
  }
  EXPECT_GT(ok, 0);
  EXPECT_EQ(failed, 1);
}

}  // namespace
}  // namespace quillon
