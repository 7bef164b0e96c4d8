#include <gtest/gtest.h>

#include "database/database.h"
#include "database/db_records.h"
#include "database/db_schema.h"
#include "database/internal/db_table_io.h"
#include "database/internal/db_text_reader.h"
#include "db_test_util.h"

namespace quillon {
namespace {

using dbtest::Dump;
using dbtest::TempDir;
using U16s = std::vector<std::u16string>;

U16s Lines(db::TextReader& reader) {
  U16s lines;
  std::u16string_view line;
  while (reader.ReadLine(line)) lines.emplace_back(line);
  return lines;
}

TEST(DbTextReader, ByteOrderMarkOptionalAndOddLengthIsAnsi) {
  TempDir dir;
  const std::u16string text = u"1^\"\u00e9\"\r\n2^\"b\"";
  dbtest::WriteUtf16(dir.path() / "bom.txt", text, true);
  dbtest::WriteUtf16(dir.path() / "nobom.txt", text, false);
  dbtest::WriteAnsi(dir.path() / "ansi.txt", "1^\"\xE9\"\r\n2^\"b\"");
  dbtest::WriteAnsi(dir.path() / "odd.txt", "1^\"\xE9\"\n2^\"b\"");  // 11 bytes
  for (const char* name : {"bom.txt", "nobom.txt", "ansi.txt", "odd.txt"}) {
    db::TextReader reader;
    ASSERT_EQ(reader.Open((dir.path() / name).u16string()), 0u) << name;
    EXPECT_EQ(Lines(reader), (U16s{u"1^\"\u00e9\"", u"2^\"b\""})) << name;
  }
}

TEST(DbTextReader, LinesAndErrors) {
  db::TextReader reader;
  EXPECT_EQ(reader.Open(u""), 2u);
  EXPECT_TRUE(Lines(reader).empty());
  TempDir dir;
  EXPECT_NE(reader.Open((dir.path() / "missing.txt").u16string()), 0u);
  EXPECT_FALSE(reader.IsOpen());
  // Only one carriage return is removed; empty lines count.
  reader.OpenText(u"a\r\r\n\nb\r");
  EXPECT_EQ(Lines(reader), (U16s{u"a\r", u"", u"b"}));
  // Files above eight megabytes are refused.
  dbtest::WriteAnsi(dir.path() / "big.txt", std::string(0x800001, 'a'));
  dbtest::WriteAnsi(dir.path() / "limit.txt", std::string(0x800000, 'a'));
  EXPECT_EQ(reader.Open((dir.path() / "big.txt").u16string()), 31u);
  EXPECT_EQ(reader.Open((dir.path() / "limit.txt").u16string()), 0u);
}

TEST(DbTableLoad, MessagesAndLineNumbers) {
  TempDir dir;
  dbtest::WriteAnsi(dir.path() / "Field.txt",
                    "^^^\n"                  // line 0: only carets
                    "1^\"a\"^8^0^2^0\n"      // line 1
                    "\n"                     // line 2: empty, silent
                    "1^\"b\"^16^0^4^0\r\n"   // line 3: duplicate key
                    "2^ \"c\"^8^0^2^0\n"     // line 4: leading blank
                    "3^\"d\" ^8^0^2^0\n"     // line 5: trailing blank is fine
                    "4abc^\"e\"^8x^0^2^0");  // line 6: numeric prefixes
  DbMessageList messages;
  Database db(&messages);
  EXPECT_FALSE(db.LoadTables(dir.u16(), false));
  EXPECT_EQ(Dump(messages),
            "2: DB [Field] Parsing error, line 0 (^^^)\n"
            "1: DB [Field] Duplicate key, line 3 (1^\"b\"^16^0^4^0)\n"
            "2: DB [Field] Parsing error, line 4 (2^ \"c\"^8^0^2^0)\n");
  ASSERT_TRUE(db.FindField(1) && db.FindField(3) && db.FindField(4));
  EXPECT_EQ(db.FindField(1)->name, u"b");  // the later line wins
  EXPECT_EQ(db.FindField(2), nullptr);
  EXPECT_EQ(db.FindField(4)->bit_size, 8u);
}

TEST(DbTableLoad, DuplicateKeyWarnsWithoutFailingButDiagKeysRepeat) {
  TempDir dir;
  dbtest::WriteTables(dir.path(),
                      {{"EventID.txt", "1^\"A\"^\"\"^-1\n1^\"B\"^\"\"^-1"},
                       {"Diag.txt", "5^\"100\"^\"First\"^-1^-1\n5^\"100\"^\"Second\"^-1^-1\n"}});
  DbMessageList messages;
  Database db(&messages);
  EXPECT_TRUE(db.LoadTables(dir.u16(), false)) << Dump(messages);
  EXPECT_EQ(Dump(messages), "1: DB [Event ID] Duplicate key, line 1 (1^\"B\"^\"\"^-1)\n");
  EXPECT_EQ(messages.CountAtLeast(kDbError), 0u);
  EXPECT_EQ(db.FindEvent(1)->name, u"B");
  // Diag rows with equal code lists are all kept; a name picks between them.
  EXPECT_EQ(db.Tables().diag.size(), 2u);
  EXPECT_EQ(db.FindDiagEntity({5, 100})->name, u"First");
  ASSERT_NE(db.FindDiagEntity({5, 100}, u"second"), nullptr);
  EXPECT_EQ(db.FindDiagEntity({5, 100}, u"second")->name, u"Second");
  EXPECT_EQ(db.FindDiagEntity({5, 100}, u"Third"), nullptr);
}

TEST(DbTableLoad, EmptyFileNameAndMissingFile) {
  DbMessageList messages;
  int calls = 0;
  auto handler = [&](std::u16string_view) {
    ++calls;
    return db::LineOutcome::kInserted;
  };
  EXPECT_FALSE(db::LoadTableFile(u"", u"Field", messages, handler));
  EXPECT_FALSE(db::LoadTableFile(u"", u"", messages, handler));
  TempDir dir;
  EXPECT_FALSE(
      db::LoadTableFile((dir.path() / "none.txt").u16string(), u"Field", messages, handler));
  EXPECT_EQ(Dump(messages), "2: DB [Field] Invalid file name\n2: DB [?] Invalid file name\n");
  EXPECT_EQ(calls, 0);
}

TEST(DbTableWrite, BomCrLfBetweenLinesAndConversionErrors) {
  TempDir dir;
  FieldMap fields;
  fields[1] = FieldRecord{1, u"a", 8, 0, 2, false, -1, false};
  fields[2] = FieldRecord{2, u"", 8, 0, 2, false, -1, false};  // fails its check
  fields[3] = FieldRecord{3, u"c", 8, 0, 2, true, -1, true};
  DbMessageList messages;
  const auto path = (dir.path() / "Field.txt").u16string();
  EXPECT_FALSE(db::WriteTableFile(path, u"Field", messages, fields, db::FormatFieldLine));
  EXPECT_FALSE(db::WriteTableFile(u"", u"Field", messages, fields, db::FormatFieldLine));
  // The file is created before any record is formatted: where it cannot be,
  // the record that fails its check is never reached.
  const auto missing = (dir.path() / "missing" / "Field.txt").u16string();
  EXPECT_FALSE(db::WriteTableFile(missing, u"Field", messages, fields, db::FormatFieldLine));
  EXPECT_EQ(Dump(messages),
            "2: DB [Field] Conversion error, line 1\n2: DB [Field] Invalid file name\n");
  std::string expected = "\xFF\xFE";
  for (const char c : std::string("1^\"a\"^8^0^2^0^-1^0\r\n3^\"c\"^8^0^2^1^-1^1")) {
    expected += {c, '\0'};
  }
  EXPECT_EQ(dbtest::ReadBytes(dir.path() / "Field.txt"), expected);
}

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
