// Full database load (all tables, validation, index rebuild) of a large
// synthetic database: 20,000 fields, 5,000 structures and Diag entities,
// 50,000 enum entries, 5,000 events, 3,000 log codes. The tables are
// written once by the database's own writer (UTF-16LE, as a saved database
// is), and once more as ANSI text. Goal: at least 100 MB/s of table text on
// one thread.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "database/database.h"

namespace {

namespace fs = std::filesystem;
using namespace quillon;

constexpr std::uint32_t kEnums = 1000;
constexpr std::uint32_t kEntriesPerEnum = 50;
constexpr std::uint32_t kFields = 20000;
constexpr std::uint32_t kStructs = 5000;
constexpr std::uint32_t kEvents = 5000;
constexpr std::uint32_t kLogs = 3000;
constexpr std::uint32_t kCategories = 40;

std::u16string Decimal(std::uint32_t n) {
  const std::string s = std::to_string(n);
  return std::u16string(s.begin(), s.end());
}

std::u16string Name(const char* prefix, std::uint32_t n) {
  const std::string s = std::string(prefix) + "_" + std::to_string(n) + "_synthetic_name";
  return std::u16string(s.begin(), s.end());
}

void Generate(DbTables& t) {
  for (std::uint32_t e = 0; e < kEnums; ++e) {
    t.enums[e] = EnumRecord{e, Name("enum", e), static_cast<std::int32_t>(e % 100), false};
    for (std::uint32_t v = 0; v < kEntriesPerEnum; ++v) {
      const auto value = static_cast<std::int32_t>(v * 3);
      t.enum_entries[{e, value}] = EnumEntryRecord{e, value, v % 2 == 0, Name("value", v), -1};
    }
  }
  for (std::uint32_t f = 0; f < kFields; ++f) {
    FieldRecord r{f, Name("field", f), 8, 0, kFieldU8, false, -1, f % 50 == 0};
    if (f % 4 == 1) {
      r.kind = kFieldEnumUnsigned;
      r.type = f % kEnums;
    } else if (f % 4 == 2) {
      r.bit_size = 16;
      r.type = kFieldU16;
    } else if (f % 4 == 3) {
      r.bit_size = 32;
      r.type = kFieldU32;
      r.description_id = static_cast<std::int32_t>(f % 100);
    }
    t.fields[f] = r;
  }
  for (std::uint32_t s = 0; s < kStructs; ++s) {
    const std::uint32_t base = s * 4;
    for (std::uint32_t i = 0; i < 4; ++i) {
      StructRow row;
      row.struct_id = s;
      row.index = i;
      row.member_kind = kMemberField;
      row.reference = base + i;
      row.label = i == 3 ? u"values" : u"";
      if (i == 3) {
        row.repetition = kRepeatCountField;
        row.specifier = Decimal(base);
      }
      t.structs[{s, i}] = row;
    }
    if (s % 5 == 4) {  // nest the previous structure
      StructRow row;
      row.struct_id = s;
      row.index = 4;
      row.member_kind = kMemberStruct;
      row.reference = s - 1;
      row.label = u"inner";
      row.repetition = kRepeatOptional;
      row.specifier = std::u16string(u"") + Decimal(base) + u" != 0";
      t.structs[{s, 4}] = row;
    }
    t.formats[s] = FormatSpecifierRecord{s, u"count %u, value %u",
                                         Name("field", base) + u"," + Name("field", base + 2)};
    DiagEntity e;
    e.codes = s < kLogs ? std::vector<std::uint32_t>{5, 0x1000 + s}
                        : std::vector<std::uint32_t>{4, s - kLogs};
    e.name = Name("entity", s);
    e.struct_id = static_cast<std::int32_t>(s);
    e.format_id = static_cast<std::int32_t>(s);
    t.diag.emplace(e.codes, e);
  }
  for (std::uint32_t c = 0; c < kCategories; ++c) {
    const std::int32_t parent = c < 4 ? -1 : static_cast<std::int32_t>(c % 4);
    t.Categories(DbItemTable::kEvent)[c] = CategoryRecord{c, Name("event_cat", c), -1, parent};
    t.Categories(DbItemTable::kLog)[c] = CategoryRecord{c, Name("log_cat", c), -1, parent};
  }
  for (std::uint32_t e = 0; e < kEvents; ++e) {
    ItemEntry item;
    item.first = e;
    item.name = Name("EVENT", e);
    item.categories = {static_cast<std::int32_t>(e % kCategories)};
    item.description_id = static_cast<std::int32_t>(e % 100);
    t.Items(DbItemTable::kEvent)[MakeItemKey(e)] = item;
  }
  for (std::uint32_t l = 0; l < kLogs; ++l) {
    ItemEntry item;
    item.first = 0x1000 + l;
    item.name = Name("LOG", l);
    item.categories = {static_cast<std::int32_t>(l % kCategories), 1};
    std::sort(item.categories.begin(), item.categories.end());
    t.Items(DbItemTable::kLog)[MakeItemKey(item.first)] = item;
  }
  for (std::uint32_t d = 0; d < 100; ++d) {
    t.descriptions[d] = DescriptionRecord{d, Name("description text", d)};
  }
}

// Where the generated database lives, and its size in bytes.
struct Generated {
  fs::path utf16;
  fs::path ansi;
  std::uint64_t utf16_bytes = 0;
  std::uint64_t ansi_bytes = 0;
};

const Generated& Database() {
  static const Generated g = [] {
    Generated out;
    const fs::path root = fs::temp_directory_path() / "quillon_db_bench";
    out.utf16 = root / "utf16";
    out.ansi = root / "ansi";
    fs::remove_all(root);
    fs::create_directories(out.utf16);
    fs::create_directories(out.ansi);
    quillon::Database db;
    Generate(db.MutableTables());
    db.Save(out.utf16.u16string());
    for (const auto& entry : fs::directory_iterator(out.utf16)) {
      std::ifstream in(entry.path(), std::ios::binary);
      const std::string bytes((std::istreambuf_iterator<char>(in)),
                              std::istreambuf_iterator<char>());
      std::string narrow;
      for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) narrow.push_back(bytes[i]);
      std::ofstream(out.ansi / entry.path().filename(), std::ios::binary) << narrow;
      out.utf16_bytes += bytes.size();
      out.ansi_bytes += narrow.size();
    }
    return out;
  }();
  return g;
}

void Load(benchmark::State& state, const fs::path& dir, std::uint64_t bytes) {
  for (auto _ : state) {
    quillon::Database db;
    const bool ok = db.Load(dir.u16string(), true);
    benchmark::DoNotOptimize(ok);
    if (!ok) state.SkipWithError("the generated database did not load cleanly");
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
  state.counters["MB"] = static_cast<double>(bytes) / 1e6;
}

void BM_DbLoadUtf16(benchmark::State& state) {
  Load(state, Database().utf16, Database().utf16_bytes);
}
void BM_DbLoadAnsi(benchmark::State& state) { Load(state, Database().ansi, Database().ansi_bytes); }

// Start-up with the bundled database: what loading the library costs.
void BM_BundledDatabaseStartUp(benchmark::State& state) {
  const std::u16string dir = (std::filesystem::path(QUILLON_SOURCE_DIR) / "Database").u16string();
  for (auto _ : state) {
    quillon::Database db;
    benchmark::DoNotOptimize(db.Load(dir, true));
  }
}

BENCHMARK(BM_DbLoadUtf16)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BundledDatabaseStartUp)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DbLoadAnsi)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
