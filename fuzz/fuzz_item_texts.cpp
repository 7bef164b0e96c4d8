// Renders every text of an item made from arbitrary bytes: the first byte
// picks the type code and the options, the rest is the payload. Items are
// made with and without validation (an item that fails validation keeps
// its class), against the bundled database. Any payload must give texts,
// never a crash or a read outside the payload.
#include <cstddef>
#include <cstdint>
#include <string>

#include "database/database.h"
#include "store/item_factory.h"

namespace {

const quillon::Database& BundledDatabase() {
  static const quillon::Database* database = [] {
    auto* db = new quillon::Database();
    const std::string dir = QUILLON_DATABASE_DIR;
    db->Load(std::u16string(dir.begin(), dir.end()), false);
    return db;
  }();
  return *database;
}

void RenderAll(const quillon::ItemRecord& item, std::uint8_t flags) {
  using quillon::ItemTextKind;
  quillon::ItemTextRequest request{
      {ItemTextKind::kTypeText, {}},      {ItemTextKind::kName, {}},
      {ItemTextKind::kTimestampText, {}}, {ItemTextKind::kSummary, {}},
      {ItemTextKind::kBufferText, {}},    {ItemTextKind::kKeyText, {}}};
  const quillon::ItemRenderServices services{.database = &BundledDatabase()};
  item.GetTexts(request,
                {.want_date = (flags & 1) != 0,
                 .specific_timestamp = (flags & 2) != 0,
                 .combined_texts = (flags & 4) != 0,
                 .include_header_bytes = (flags & 8) != 0},
                &services);
  std::u16string text;
  (void)item.GetParsedText(text, nullptr);
  std::uint8_t dlf[8208 + 12];
  (void)item.GetDLFBuffer(dlf, sizeof dlf);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::uint32_t type = data[0] % quillon::kItemTypeCount;
  const auto buffer = quillon::ItemBufferRef::Make(data + 1, size - 1);
  for (const bool validate : {false, true}) {
    quillon::ItemPtr item =
        quillon::CreateItem({type, quillon::ItemTimestamp()}, buffer, validate, BundledDatabase());
    if (item) RenderAll(*item, static_cast<std::uint8_t>(data[0] / quillon::kItemTypeCount));
  }
  return 0;
}
