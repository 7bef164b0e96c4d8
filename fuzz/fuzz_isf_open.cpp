// Opens arbitrary bytes as an item store file through every path a client
// can take (mapped read-only, read-write, recovery in memory and for
// writing) and reads every item.
// Any input must end in items or a cMISException, never a crash or a read
// outside the file.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "common/mis_exception.h"
#include "store/open_item_store_file.h"

namespace {

void ReadAll(quillon::ItemStoreFile& file) {
  const std::uint32_t count = file.GetItemCount();
  // A hostile trailer can claim billions of items; the block table bounds
  // what can exist, so a few thousand reads cover every reachable entry.
  for (std::uint32_t i = 0; i < count && i < 20000; ++i) {
    try {
      auto item = file.ReadItem(i);
      if (item) (void)item->GetSpecificTimestamp();
    } catch (const quillon::cMISException&) {
    }
  }
}

void TryOpen(const std::filesystem::path& path, const std::string& bytes,
             const quillon::IsfOpenOptions& options) {
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  try {
    auto file = quillon::OpenItemStoreFile(path.u16string(), options);
    if (file) {
      ReadAll(*file);
      file->Close();
    }
  } catch (const quillon::cMISException&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::filesystem::path path =
      std::filesystem::temp_directory_path() / "quillon_fuzz_isf_open.isf";
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  TryOpen(path, bytes, {.read_only = true, .allow_recover = false});
  TryOpen(path, bytes, {.read_only = true, .allow_recover = true, .recover_in_memory = true});
  TryOpen(path, bytes, {.read_only = false, .allow_recover = true});
  return 0;
}
