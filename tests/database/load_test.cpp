#include <gtest/gtest.h>

#include "database/database.h"
#include "database/db_records.h"
#include "database/db_schema.h"
#include "database/internal/db_table_io.h"
#include "database/internal/db_text_reader.h"
#include "db_test_util.h"

namespace quillon {
namespace {

using dbtest::Has;
using dbtest::TempDir;

std::vector<std::u16string> Lines(db::TextReader& reader) {
  std::vector<std::u16string> lines;
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
  for (const char* name : {"bom.txt", "nobom.txt", "ansi.txt"}) {
    db::TextReader reader;
    ASSERT_EQ(reader.Open((dir.path() / name).u16string()), 0u) << name;
    EXPECT_EQ(Lines(reader), (std::vector<std::u16string>{u"1^\"\u00e9\"", u"2^\"b\""})) << name;
  }
  dbtest::WriteAnsi(dir.path() / "odd.txt", "1^\"a\"\n");  // 7 bytes
  db::TextReader odd;
  ASSERT_EQ(odd.Open((dir.path() / "odd.txt").u16string()), 0u);
  EXPECT_EQ(Lines(odd), std::vector<std::u16string>{u"1^\"a\""});
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
  EXPECT_EQ(Lines(reader), (std::vector<std::u16string>{u"a\r", u"", u"b"}));
}

TEST(DbTextReader, FilesAboveEightMegabytesAreRefused) {
  TempDir dir;
  dbtest::WriteAnsi(dir.path() / "big.txt", std::string(0x800001, 'a'));
  dbtest::WriteAnsi(dir.path() / "limit.txt", std::string(0x800000, 'a'));
  db::TextReader reader;
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
  EXPECT_TRUE(Has(messages, u"DB [Field] Parsing error, line 0 (^^^)", kDbError))
      << dbtest::Dump(messages);
  EXPECT_TRUE(Has(messages, u"DB [Field] Duplicate key, line 3 (1^\"b\"^16^0^4^0)", kDbWarning));
  EXPECT_TRUE(Has(messages, u"DB [Field] Parsing error, line 4 (2^ \"c\"^8^0^2^0)", kDbError));
  EXPECT_EQ(messages.Messages().size(), 3u) << dbtest::Dump(messages);
  ASSERT_NE(db.FindField(1), nullptr);
  EXPECT_EQ(db.FindField(1)->name, u"b");  // the later line wins
  EXPECT_EQ(db.FindField(2), nullptr);
  EXPECT_NE(db.FindField(3), nullptr);
  ASSERT_NE(db.FindField(4), nullptr);
  EXPECT_EQ(db.FindField(4)->bit_size, 8u);
}

TEST(DbTableLoad, DuplicateKeyWarnsWithoutFailingButDiagKeysRepeat) {
  TempDir dir;
  dbtest::WriteEmptyTables(dir.path());
  dbtest::WriteAnsi(dir.path() / "EventID.txt", "1^\"A\"^\"\"^-1\n1^\"B\"^\"\"^-1");
  dbtest::WriteAnsi(dir.path() / "Diag.txt",
                    "5^\"100\"^\"First\"^-1^-1\n5^\"100\"^\"Second\"^-1^-1\n");
  DbMessageList messages;
  Database db(&messages);
  EXPECT_TRUE(db.LoadTables(dir.u16(), false)) << dbtest::Dump(messages);
  EXPECT_EQ(messages.CountAtLeast(kDbError), 0u);
  EXPECT_EQ(messages.CountAtLeast(kDbWarning), 1u);  // the event's duplicate key only
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
  EXPECT_TRUE(Has(messages, u"DB [Field] Invalid file name", kDbError));
  EXPECT_FALSE(db::LoadTableFile(u"", u"", messages, handler));
  EXPECT_TRUE(Has(messages, u"DB [?] Invalid file name", kDbError));
  messages.Clear();
  TempDir dir;
  EXPECT_FALSE(
      db::LoadTableFile((dir.path() / "none.txt").u16string(), u"Field", messages, handler));
  EXPECT_TRUE(messages.Messages().empty());
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
  EXPECT_TRUE(Has(messages, u"DB [Field] Conversion error, line 1", kDbError))
      << dbtest::Dump(messages);
  std::string expected = "\xFF\xFE";
  for (const char c : std::string("1^\"a\"^8^0^2^0^-1^0\r\n3^\"c\"^8^0^2^1^-1^1")) {
    expected.push_back(c);
    expected.push_back('\0');
  }
  EXPECT_EQ(dbtest::ReadBytes(dir.path() / "Field.txt"), expected);
  EXPECT_FALSE(db::WriteTableFile(u"", u"Field", messages, fields, db::FormatFieldLine));
  EXPECT_TRUE(Has(messages, u"DB [Field] Invalid file name", kDbError));
}

TEST(DbTableWrite, FileThatCannotBeCreatedFailsWithoutAMessage) {
  // The file is created before any record is formatted, so the record that
  // fails its check is never reached.
  TempDir dir;
  FieldMap fields;
  fields[2] = FieldRecord{2, u"", 8, 0, 2, false, -1, false};
  DbMessageList messages;
  const auto path = (dir.path() / "missing" / "Field.txt").u16string();
  EXPECT_FALSE(db::WriteTableFile(path, u"Field", messages, fields, db::FormatFieldLine));
  EXPECT_TRUE(messages.Messages().empty()) << dbtest::Dump(messages);
}

}  // namespace
}  // namespace quillon
