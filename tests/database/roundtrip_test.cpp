#include <gtest/gtest.h>

#include "database/database.h"
#include "db_test_util.h"

namespace quillon {
namespace {

using dbtest::TempDir;
using dbtest::WriteAnsi;

// A small database touching every writable table, in mixed encodings.
void WriteSample(const dbtest::fs::path& dir) {
  dbtest::WriteTables(
      dir,
      {{"DiagRequest.txt", "0^\"Version Information\"^\"0\"\n75^\"Subsystem\"^\"\"\n"},
       {"DiagReqCategory.txt", "0^\"General\"^-1^-1\n"},
       {"SubsysRequest.txt", "18^1^\"Ping\"^\"\"\n"},
       {"SubsysResponse.txt", "18^1^\"Ping\"\n"},
       {"EventID.txt", "276^\"EVENT_HANDOFF\"^\"1\"^3\n"},
       {"EventCategory.txt", "1^\"Call\"^-1^-1\n2^\"Sub\"^3^1\n"},
       {"LogItem.txt", "0x713A^\"GSM L3\"^\"\"^1\n"},
       {"MessageLevel.txt", "5000^2^\"High\"^\"\"\n"},
       {"OTAType.txt", "0x713A^7^\"GSM\"^\"\"\n"},
       {"NVItem.txt", "10^\"ESN\"^\"\"^-1\n"},
       {"Display.txt", "1^\"Main\"^\"\"^-1\n"},
       {"Enum.txt", "1^\"E\"^-1^1\n"},
       {"EnumEntry.txt", "1^0x1F^\"hex\"\n1^31^\"dup of hex\"\n1^-3^\"neg\"^3\n"},
       {"Field.txt", "1^\"len\"^8^0^2^0\n2^\"mode\"^8^1^1^1^3^1\n"},
       {"Struct.txt", "1^0^7^0^\"\"^-1^0^\"\"\n1^1^0^1^\"\"^-1^0^\"\"\n1^2^0^2^\"m\"^16^2^\"1\"\n"},
       {"Diag.txt", "5^\"0x713A\"^\"GSM\"^1^0^1\n"},
       {"FormatSpecifier.txt", "0^\"len %u\"^\"len\"\n"}});
  dbtest::WriteUtf16(dir / "DiagResponse.txt", u"0^\"Version Information\"^\"\"", false);
  dbtest::WriteUtf16(dir / "Description.txt", u"3^\"Handoff \u00e9\"");
}

TEST(DbRoundTrip, SaveAndReloadGiveTheSameTables) {
  TempDir dir;
  WriteSample(dir.path());
  DbMessageList messages;
  Database first(&messages);
  first.Load(dir.u16(), true);
  const auto saved = dir.Sub("saved.");  // not taken as a user database
  ASSERT_TRUE(first.Save(saved.u16string())) << dbtest::Dump(messages);
  Database second(&messages);
  second.Load(saved.u16string(), true);
  EXPECT_TRUE(first.Tables() == second.Tables());
  EXPECT_EQ(second.FindEnumEntry(1, 31)->name, u"dup of hex");
  EXPECT_EQ(second.FindDescription(3) ? *second.FindDescription(3) : u"", u"Handoff \u00e9");
  // A second save writes the same bytes.
  const auto again = dir.Sub("again.");
  ASSERT_TRUE(second.Save(again.u16string()));
  for (const auto& entry : dbtest::fs::directory_iterator(saved)) {
    EXPECT_EQ(dbtest::ReadBytes(entry.path()), dbtest::ReadBytes(again / entry.path().filename()))
        << entry.path().filename().string();
  }
  // User Item Color is never written.
  EXPECT_FALSE(dbtest::fs::exists(saved / "UserItemColor.txt"));
  // Written lines keep their forms (UTF-16LE after the mark).
  const std::pair<const char*, std::u16string> written[] = {
      {"EnumEntry.txt", u"1^-3^\"neg\"^3\r\n1^31^\"dup of hex\"^-1"},
      {"LogItem.txt", u"0x713A^\"GSM L3\"^\"\"^1"},
      {"OTAType.txt", u"0x713A^\"7\"^\"GSM\"^\"\""},
      {"Diag.txt", u"5^\"28986\"^\"GSM\"^1^0^1"},
      {"EventCategory.txt", u"1^\"Call\"^-1^-1\r\n2^\"Sub\"^3^1"},
      {"SubsysResponse.txt", u"18^1^\"Ping\"^\"\""}};
  for (const auto& [name, text] : written) {
    dbtest::WriteUtf16(dir.path() / "expected.txt", text);
    EXPECT_EQ(dbtest::ReadBytes(saved / name), dbtest::ReadBytes(dir.path() / "expected.txt"))
        << name;
  }
}

}  // namespace
}  // namespace quillon
