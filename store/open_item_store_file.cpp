#include "store/open_item_store_file.h"

#include <array>

#include "common/mis_exception.h"
#include "store/isf_format.h"
#include "store/mapped_item_store_file.h"

namespace quillon {

using namespace isf;

namespace {

[[noreturn]] void Throw(std::uint32_t code) { throw cMISException(kMisCategorySystem, code); }

void Read(const platform::File& file, std::uint64_t offset, std::uint8_t* out, std::size_t size) {
  if (const std::uint32_t error = file.ReadAt(offset, out, size)) Throw(error);
}

}  // namespace

IsfLayout DetectIsfLayout(const platform::File& file) {
  std::uint64_t size = 0;
  if (const std::uint32_t error = file.Size(size)) Throw(error);
  std::array<std::uint8_t, 4> bytes{};
  // The trailer's magic is the file's last word.
  const std::uint64_t last_word = size - (kTrailerSize - kTrailerMagicOffset);
  if (size >= kMagicSize + kTrailerSize) {
    Read(file, last_word, bytes.data(), 4);
    if (LoadLE32(bytes.data()) == kMagic) return IsfLayout::kTerminated;
  }
  if (size >= kMagicSize) {
    Read(file, 0, bytes.data(), 4);
    if (LoadLE32(bytes.data()) == kMagic) return IsfLayout::kUnterminated;
  }
  if (size >= kOlderTrailerSize) {
    Read(file, size - 4, bytes.data(), 4);
    if (LoadLE32(bytes.data()) == kOlderTrailerMark) return IsfLayout::kOlder;
  }
  return IsfLayout::kUnknown;
}

std::unique_ptr<ItemStoreFile> OpenItemStoreFile(std::u16string_view path,
                                                 const IsfOpenOptions& options,
                                                 const ItemDatabaseView& database) try {
  const bool read_only = options.read_only;
  ProgressSink* const progress = options.progress;
  if (path.empty()) Throw(mis::kBadArguments);
  IsfLayout layout = IsfLayout::kUnknown;
  {
    platform::File look;
    if (const std::uint32_t error = look.Open(path, platform::FileAccess::kRead,
                                              platform::FileDisposition::kOpenExisting)) {
      Throw(error);
    }
    layout = DetectIsfLayout(look);
  }  // closed before the file classes open it again
  switch (layout) {
    case IsfLayout::kTerminated: {
      std::unique_ptr<ItemStoreFile> file;
      if (read_only) {
        file = std::make_unique<MappedItemStoreFile>(database);
      } else {
        file = std::make_unique<ItemStoreFile>(database);
      }
      file->Open(path, read_only, progress);
      return file;
    }
    case IsfLayout::kUnterminated: {
      if (!options.allow_recover) {
        throw cMISException(kMisCategorySystem, mis::kInvalidData, {},
                            u"the file was not closed (it has no trailer); open it with recovery");
      }
      auto file = std::make_unique<ItemStoreFile>(database);
      if (options.recover_in_memory) {
        file->RecoverReadOnly(path, progress);
      } else {
        file->OpenUnterminated(path, progress);
      }
      return file;
    }
    case IsfLayout::kOlder:
      throw cMISException(kMisCategorySystem, mis::kNotSupported, {},
                          u"the file has the older item store layout, which cannot be read");
    case IsfLayout::kUnknown:
      break;
  }
  throw cMISException(kMisCategorySystem, mis::kInvalidData, {}, u"not an item store file");
} catch (const cMISException& e) {
  RethrowWithContext(e, u"cannot open " + std::u16string(path));
}

}  // namespace quillon
