// The mixed items the file benchmarks write: requests, responses, log
// packets, strings and subsystem commands of realistic sizes, 2 to 260 bytes.
#pragma once

#include <cstdint>
#include <vector>

#include "common/item_database_view.h"
#include "common/item_key.h"
#include "store/item_factory.h"

namespace quillon::bench {

inline constexpr std::uint64_t kStartMs = 13347938400000ULL;  // early 2024

inline std::vector<ItemPtr> MakeTemplates() {
  std::vector<ItemPtr> items;
  const auto add = [&](std::uint32_t type, std::vector<std::uint8_t> payload) {
    ItemPtr item =
        CreateItem({type, ItemTimestamp()}, ItemBufferRef::Make(payload.data(), payload.size()),
                   true, NullItemDatabaseView::Instance());
    if (item) items.push_back(std::move(item));
  };
  for (std::uint8_t i = 0; i < 8; ++i) {
    add(kItemDiagTx, {0x0C, i});
    add(kItemDiagRx, std::vector<std::uint8_t>(20 + i * 4, i));
    std::vector<std::uint8_t> log(40 + i * 24, i);
    log[0] = 0x10;
    log[6] = 0x9C;
    log[7] = 0x11;
    add(kItemLog, log);
    std::vector<std::uint8_t> text(4 + 2 * (10 + i * 3) + 2, 0);
    text[0] = 0x01;
    text[3] = 0xC0;
    for (std::size_t c = 4; c + 2 < text.size(); c += 2) text[c] = 'a';
    add(kItemString, text);
    add(kItemSubsysTx, {0x4B, 0x12, i, 0x00, 1, 2, 3, 4});
  }
  return items;
}

}  // namespace quillon::bench
