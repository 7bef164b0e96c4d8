// The demo capture of the command-line tool: every record must make a valid
// item of the intended type. (That the records stay the same is checked by
// tests/cli, which compares the written sample with the committed one.)
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
  int delayed_ok = 0;
  int delayed_failed = 0;
  for (std::size_t i = 0; i < records.size(); ++i) {
    const DemoRecord& r = records[i];
    if (i > 0) {
      EXPECT_LT(records[i - 1].timestamp, r.timestamp) << i;
    }
    ItemPtr item = CreateItem({r.type_code, ItemTimestamp(r.timestamp)},
                              ItemBufferRef::Make(r.payload.data(), r.payload.size()), true,
                              NullItemDatabaseView::Instance());
    ASSERT_NE(item, nullptr) << i;
    EXPECT_TRUE(item->IsValid()) << i;
    // Only records filed as LOG may change type (to OTA LOG).
    if (r.type_code != kItemLog || item->TypeCode() != kItemOtaLog) {
      EXPECT_EQ(item->TypeCode(), r.type_code) << i;
    }
    ++per_type[item->TypeCode()];
    keys.insert(item->Key());
    if (r.type_code == kItemSubsysRx && r.payload[0] == 0x80) {
      EXPECT_EQ(item->GetHeaderLength(), 12u);
      (item->Color() == kColorRed ? delayed_failed : delayed_ok)++;
    }
  }
  for (std::uint32_t type = 0; type < kItemTypeCount; ++type) {
    EXPECT_GT(per_type[type], 0) << "no item of type " << type;
  }
  EXPECT_EQ(per_type[kItemMalformed], 1);
  for (std::uint32_t id : {276u, 277u, 278u, 639u}) {
    EXPECT_EQ(keys.count(ItemKey{kItemEvent, id}), 1u) << id;
  }
  // NAS logs in both directions; RRC logs on the downlink CCCH.
  EXPECT_EQ(keys.count(ItemKey{kItemOtaLog, 0x713A, 0}), 1u);
  EXPECT_EQ(keys.count(ItemKey{kItemOtaLog, 0x713A, 1}), 1u);
  EXPECT_EQ(keys.count(ItemKey{kItemOtaLog, 0x412F, 2}), 1u);
  EXPECT_GT(delayed_ok, 0);
  EXPECT_EQ(delayed_failed, 1);
  // The first item is received at 2024-03-01 09:30:00 UTC.
  EXPECT_EQ(ItemTimestamp(records.front().timestamp).ToFileTime(), 133537590000000000ULL);
}

}  // namespace
}  // namespace quillon
