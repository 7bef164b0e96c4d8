// Parse throughput of database-driven field parsing: a generated database of
// entities with 10 to 50 fields each (plain numbers, enumerations, bit
// fields, nested arrays of structures) walked over generated payloads.
// Reported as fields per second, with names and value texts and without.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "database/database.h"
#include "database/db_specifier.h"
#include "render/parsed_field_list.h"

namespace quillon {
namespace {

constexpr std::uint32_t kEntities = 64;
constexpr std::uint32_t kPayloadBytes = 1024;

struct Rng {
  explicit Rng(std::uint32_t seed) : engine(seed) {}
  std::uint32_t Below(std::uint32_t n) { return static_cast<std::uint32_t>(engine() % n); }
  std::mt19937 engine;
};

struct Fixture {
  std::unique_ptr<Database> db = std::make_unique<Database>();
  std::vector<std::vector<std::uint8_t>> payloads;
  std::uint32_t next_field = 1;
  std::uint32_t next_struct = 1;

  std::uint32_t AddField(Rng& rng) {
    FieldRecord f;
    f.id = next_field++;
    f.name = u"field_" + std::u16string(1, static_cast<char16_t>(u'a' + f.id % 26)) +
             static_cast<char16_t>(u'0' + f.id % 10);
    switch (rng.Below(6)) {
      case 0:
        f.type = kFieldU8, f.bit_size = 8;
        break;
      case 1:
        f.type = kFieldU16, f.bit_size = 16;
        break;
      case 2:
        f.type = kFieldU32, f.bit_size = 32, f.hexadecimal = true;
        break;
      case 3:
        f.type = kFieldI16, f.bit_size = 12;
        break;
      case 4:
        f.type = kFieldBool, f.bit_size = 1;
        break;
      default:
        f.kind = kFieldEnumUnsigned, f.type = 1, f.bit_size = 8;
        break;
    }
    db->MutableTables().fields[f.id] = f;
    return f.id;
  }

  void AddRow(std::uint32_t sid, std::uint32_t index, std::int32_t kind, std::uint32_t ref,
              std::u16string label, std::int32_t repetition = 0,
              std::u16string specifier_text = {}) {
    StructRow r;
    r.struct_id = sid;
    r.index = index;
    r.member_kind = kind;
    r.reference = ref;
    r.label = std::move(label);
    r.repetition = repetition;
    r.specifier = std::move(specifier_text);
    r.parsed = ParseRowSpecifier(repetition, r.specifier);
    db->MutableTables().structs[{sid, index}] = r;
  }

  // A structure of plain fields and one nested array of small records; the
  // total field count lies in 10..50.
  std::uint32_t AddEntityStruct(Rng& rng) {
    const std::uint32_t top = next_struct++;
    const std::uint32_t record = next_struct++;
    const std::uint32_t record_fields = 2 + rng.Below(3);
    for (std::uint32_t i = 0; i < record_fields; ++i)
      AddRow(record, i, kMemberField, AddField(rng), {});
    const std::uint32_t elements = 2 + rng.Below(5);
    const std::uint32_t plain = 6 + rng.Below(50 - 6 - record_fields * elements);
    std::uint32_t index = 0;
    for (std::uint32_t i = 0; i < plain; ++i) AddRow(top, index++, kMemberField, AddField(rng), {});
    AddRow(top, index++, kMemberStruct, record, u"rec", kRepeatFixed,
           std::u16string(1, static_cast<char16_t>(u'0' + elements)));
    return top;
  }

  Fixture() {
    Rng rng(2024);
    for (std::int32_t v = 0; v < 256; v += 3) {
      EnumEntryRecord e;
      e.enum_id = 1;
      e.value = v;
      e.name = u"Value" + std::u16string(1, static_cast<char16_t>(u'A' + v % 26));
      db->MutableTables().enum_entries[{1, v}] = e;
    }
    for (std::uint32_t i = 0; i < kEntities; ++i) {
      DiagEntity e;
      e.codes = {4, i};
      e.name = u"Entity";
      e.struct_id = static_cast<std::int32_t>(AddEntityStruct(rng));
      db->MutableTables().diag.emplace(e.codes, e);
      std::vector<std::uint8_t> bytes(kPayloadBytes);
      for (auto& b : bytes) b = static_cast<std::uint8_t>(rng.Below(256));
      payloads.push_back(std::move(bytes));
    }
  }
};

const Fixture& TheFixture() {
  static const Fixture f;
  return f;
}

void Parse(benchmark::State& state, bool texts_and_names) {
  const Fixture& f = TheFixture();
  std::uint64_t fields = 0;
  std::uint32_t i = 0;
  for (auto _ : state) {
    const auto& bytes = f.payloads[i];
    ParsedFieldList list(*f.db, i, bytes.data(), static_cast<std::int32_t>(bytes.size()));
    if (!list.Parse({.field_strings = texts_and_names, .field_names = texts_and_names}))
      state.SkipWithError("walk failed");
    fields += list.Count();
    benchmark::DoNotOptimize(list.Entries().data());
    i = (i + 1) % kEntities;
  }
  state.counters["fields/s"] =
      benchmark::Counter(static_cast<double>(fields), benchmark::Counter::kIsRate);
}

void BM_ParseWithNamesAndTexts(benchmark::State& state) { Parse(state, true); }
void BM_ParsePlain(benchmark::State& state) { Parse(state, false); }

BENCHMARK(BM_ParseWithNamesAndTexts);
BENCHMARK(BM_ParsePlain);

}  // namespace
}  // namespace quillon

BENCHMARK_MAIN();
