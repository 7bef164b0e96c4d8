#include <gtest/gtest.h>

#include "database/database.h"
#include "db_test_util.h"

namespace quillon {
namespace {

using dbtest::TempDir;
using dbtest::WriteAnsi;

// A small database touching every writable table, in mixed encodings.
void WriteSample(const dbtest::fs::path& dir) {
  dbtest::WriteTables(dir);
  WriteAnsi(dir / "DiagRequest.txt", "0^\"Version Information\"^\"0\"\n75^\"Subsystem\"^\"\"\n");
  WriteAnsi(dir / "DiagReqCategory.txt", "0^\"General\"^-1^-1\n");
  dbtest::WriteUtf16(dir / "DiagResponse.txt", u"0^\"Version Information\"^\"\"", false);
  WriteAnsi(dir / "SubsysRequest.txt", "18^1^\"Ping\"^\"\"\n");
  WriteAnsi(dir / "SubsysResponse.txt", "18^1^\"Ping\"\n");
  WriteAnsi(dir / "EventID.txt", "276^\"EVENT_HANDOFF\"^\"1\"^3\n");
  WriteAnsi(dir / "EventCategory.txt", "1^\"Call\"^-1^-1\n2^\"Sub\"^3^1\n");
  WriteAnsi(dir / "LogItem.txt", "0x713A^\"GSM L3\"^\"\"^1\n");
  WriteAnsi(dir / "MessageLevel.txt", "5000^2^\"High\"^\"\"\n");
  WriteAnsi(dir / "OTAType.txt", "0x713A^7^\"GSM\"^\"\"\n");
  WriteAnsi(dir / "NVItem.txt", "10^\"ESN\"^\"\"^-1\n");
  WriteAnsi(dir / "Display.txt", "1^\"Main\"^\"\"^-1\n");
  WriteAnsi(dir / "Enum.txt", "1^\"E\"^-1^1\n");
  WriteAnsi(dir / "EnumEntry.txt", "1^0x1F^\"hex\"\n1^31^\"dup of hex\"\n1^-3^\"neg\"^3\n");
  WriteAnsi(dir / "Field.txt", "1^\"len\"^8^0^2^0\n2^\"mode\"^8^1^1^1^3^1\n");
  WriteAnsi(dir / "Struct.txt",
            "1^0^7^0^\"\"^-1^0^\"\"\n1^1^0^1^\"\"^-1^0^\"\"\n1^2^0^2^\"m\"^16^2^\"1\"\n");
  WriteAnsi(dir / "Diag.txt", "5^\"0x713A\"^\"GSM\"^1^0^1\n");
  WriteAnsi(dir / "FormatSpecifier.txt", "0^\"len %u\"^\"len\"\n");
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
  auto text = [&](const char* name) {
    const std::string bytes = dbtest::ReadBytes(saved / name);
    std::u16string out;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
      out.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                          static_cast<unsigned char>(bytes[i + 1]) << 8));
    }
    return out;
  };
  EXPECT_EQ(text("EnumEntry.txt"), u"1^-3^\"neg\"^3\r\n1^31^\"dup of hex\"^-1");
  EXPECT_EQ(text("LogItem.txt"), u"0x713A^\"GSM L3\"^\"\"^1");
  EXPECT_EQ(text("OTAType.txt"), u"0x713A^\"7\"^\"GSM\"^\"\"");
  EXPECT_EQ(text("Diag.txt"), u"5^\"28986\"^\"GSM\"^1^0^1");
  EXPECT_EQ(text("EventCategory.txt"), u"1^\"Call\"^-1^-1\r\n2^\"Sub\"^3^1");
  EXPECT_EQ(text("SubsysResponse.txt"), u"18^1^\"Ping\"^\"\"");
}

}  // namespace
}  // namespace quillon
