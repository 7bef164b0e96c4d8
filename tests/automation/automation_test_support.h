// Shared words of the automation tests: the process-wide database loaded
// from the repository's tables, the bundled sample, and stores made in
// temporary files.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "automation/auto_color_item.h"
#include "automation/auto_item_store_files.h"
#include "automation/module.h"
#include "common/item_buffer.h"
#include "store/item_factory.h"
#include "store/item_store.h"
#include "tests/store/isf_test_support.h"

namespace quillon::testing {

inline std::u16string RepoPath(const std::string& relative) {
  return std::filesystem::path(std::string(QUILLON_TEST_DATA) + "/../../" + relative).u16string();
}

inline std::u16string SamplePath() { return RepoPath("samples/demo.isf"); }

// Loads the repository's tables as the process-wide database (once).
inline void UseRepositoryDatabase() { automation::LoadProcessDatabase(RepoPath("Database")); }

// Indexes of items of samples/demo.isf.
inline constexpr std::uint32_t kSampleString = 0;
inline constexpr std::uint32_t kSampleOtaLog = 16;
inline constexpr std::uint32_t kSampleEvent = 20;
inline constexpr std::uint32_t kSampleLog = 19;
inline constexpr std::uint32_t kSampleMessage = 18;
inline constexpr std::uint32_t kSampleMalformed = 321;

// ColorItems of items made as they are (not validated), for payloads no
// file would keep, rendered in the context of one empty store.
class RawItems {
 public:
  RawItems() : store_(std::make_shared<ItemStore>()) {}
  CAutoColorItem Item(std::uint32_t type_code, const std::vector<std::uint8_t>& payload) const {
    auto buffer = ItemBufferRef::Make(payload.data(), payload.size());
    return CAutoColorItem(
        store_, CreateItem({type_code, {}}, buffer, false, NullItemDatabaseView::Instance()));
  }
  // As if the store's handle were closed.
  void Close() { store_.reset(); }

 private:
  std::shared_ptr<ItemStore> store_;
};

}  // namespace quillon::testing
