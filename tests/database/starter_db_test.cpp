#include <gtest/gtest.h>

#include <filesystem>

#include "database/database.h"
#include "db_test_util.h"

namespace quillon {
namespace {

std::u16string StarterDirectory() {
  return (std::filesystem::path(QUILLON_TEST_DATA) / ".." / ".." / "Database").u16string();
}

TEST(StarterDatabase, LoadsWithoutAnyMessage) {
  for (const bool descriptions : {false, true}) {
    DbMessageList messages;
    Database db(&messages);
    EXPECT_TRUE(db.Load(StarterDirectory(), descriptions)) << dbtest::Dump(messages);
    EXPECT_TRUE(messages.Messages().empty()) << dbtest::Dump(messages);
  }
}

TEST(StarterDatabase, NamesCommonCommandsLogsAndEntities) {
  Database db;
  ASSERT_TRUE(db.Load(StarterDirectory(), false));
  // clang-format off
  const std::pair<std::uint32_t, std::u16string_view> commands[] = {
      {0, u"Version Information"}, {12, u"Status"}, {16, u"Log"}, {29, u"Time"},
      {75, u"Subsystem dispatch"}, {96, u"Event report"}, {115, u"Log config"},
      {121, u"Extended message"}};
  // clang-format on
  for (const auto& [code, name] : commands) {
    ASSERT_NE(db.FindDiagRequest(code), nullptr) << code;
    EXPECT_EQ(db.FindDiagRequest(code)->name, name);
    EXPECT_EQ(db.FindDiagResponse(code)->name, name);
  }
  for (const std::uint32_t code : {0x1076u, 0x1079u, 0x412Fu, 0x5226u, 0x713Au, 0x1004u, 0x10D8u}) {
    EXPECT_TRUE(db.IsOtaLogCode(code)) << std::hex << code;
    EXPECT_NE(db.FindLogItem(code), nullptr) << std::hex << code;
  }
  EXPECT_FALSE(db.IsOtaLogCode(0xB0C0));
  // String types 0..4 are named by enumeration 10009.
  for (std::int32_t type = 0; type <= 4; ++type) {
    EXPECT_FALSE(db.GetEnumValueText(10009, type, false, false).starts_with(u"Unknown")) << type;
  }
  EXPECT_NE(db.FindSubsysRequest(19, 2), nullptr);
  EXPECT_NE(db.FindMessageLevel(5, 2), nullptr);
  std::size_t complete = 0;
  for (const auto& [key, e] : db.Tables().diag) {
    complete += e.struct_id >= 0 && e.format_id >= 0 &&
                !db.FindStructRows(static_cast<std::uint32_t>(e.struct_id)).empty() &&
                db.FindFormatSpecifier(static_cast<std::uint32_t>(e.format_id)) != nullptr;
  }
  EXPECT_GE(complete, 12u);  // a dozen entities with structures and summaries
}

}  // namespace
}  // namespace quillon
