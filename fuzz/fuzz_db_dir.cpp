// Loads a whole database directory made from arbitrary bytes: the input is
// cut at "\n~\n" into table files (main directory and one user database),
// loaded with descriptions and user databases, queried, saved and
// reloaded. Promises checked: no crash, no hang, and a saved database loads
// back to the same tables.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "database/database.h"

namespace {

namespace fs = std::filesystem;
using namespace quillon;

void Check(bool condition) {
  if (!condition) std::abort();
}

constexpr const char* kFiles[] = {"Field.txt",
                                  "Struct.txt",
                                  "Diag.txt",
                                  "FormatSpecifier.txt",
                                  "Enum.txt",
                                  "EnumEntry.txt",
                                  "EventID.txt",
                                  "EventCategory.txt",
                                  "LogItem.txt",
                                  "LogCategory.txt",
                                  "Description.txt",
                                  "OTAType.txt",
                                  "UserItemColor.txt",
                                  "user/Field.txt",
                                  "user/Struct.txt",
                                  "user/Diag.txt",
                                  "user/Enum.txt",
                                  "user/EnumEntry.txt",
                                  "user/LogCategory.txt",
                                  "user/LogItem.txt",
                                  "user/Description.txt"};

const fs::path& Root() {
  static const fs::path root = fs::temp_directory_path() / "quillon_fuzz_db_dir";
  return root;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fs::path& root = Root();
  std::error_code ec;
  fs::remove_all(root, ec);
  fs::create_directories(root / "user", ec);
  fs::create_directories(root / "saved.", ec);

  const std::string_view input(reinterpret_cast<const char*>(data), size);
  std::size_t start = 0;
  for (const char* name : kFiles) {
    const std::size_t end = std::min(input.find("\n~\n", start), input.size());
    std::ofstream(root / name, std::ios::binary)
        .write(input.data() + start, static_cast<std::streamsize>(end - start));
    start = std::min(end + 3, input.size());
  }

  DbMessageList messages;
  Database db(&messages);
  db.Load(root.u16string(), true);
  for (const auto& [key, entity] : db.Tables().diag) {
    db.GetReferencedFieldIds(entity);
    Check(db.FindDiagEntity(key) != nullptr);
    if (entity.struct_id >= 0) {
      for (const StructRow& row : db.FindStructRows(static_cast<std::uint32_t>(entity.struct_id))) {
        Check(row.struct_id == static_cast<std::uint32_t>(entity.struct_id));
      }
    }
  }
  for (const auto& [key, entry] : db.Tables().enum_entries) {
    db.GetEnumValueText(key.first, key.second, true, false);
  }
  db.FindUserItemColor(ItemKey{5, 0x1234});

  // What a save writes must read back as the same tables: the checks have
  // already repaired everything a reload could complain about. A merge that
  // failed may leave references for the reload's checks to repair.
  bool merge_failed = false;
  for (const auto& m : messages.Messages()) {
    merge_failed =
        merge_failed || (m.severity == DbSeverity::kError && m.text.starts_with(u"DB Merge ["));
  }
  const fs::path saved = root / "saved.";
  if (!merge_failed && db.Save(saved.u16string())) {
    Database again;
    again.Load(saved.u16string(), true);
    Check(again.Tables() == db.Tables());
  }
  return 0;
}
