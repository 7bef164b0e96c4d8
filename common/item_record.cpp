#include "common/item_record.h"

#include "common/item_type_text.h"

namespace quillon {

ItemRecord::ItemRecord(std::uint32_t type_code, const ItemBufferRef& buffer)
    : ItemRecord(type_code, buffer, ItemTimestamp::Now()) {}

ItemRecord::ItemRecord(std::uint32_t type_code, ItemBufferRef buffer, ItemTimestamp received)
    : type_code_(type_code),
      timestamp_(received),
      buffer_(buffer.IsValid() ? std::move(buffer) : ItemBufferRef()) {}

std::uint32_t ItemRecord::GetDLFBuffer(std::uint8_t*, std::uint32_t) const { return 0; }

bool ItemRecord::GetParsedText(std::u16string& out, const ItemParserService* parsers) const {
  return parsers != nullptr && parsers->ParseToText(*this, out);
}

void ItemRecord::GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                          const ItemRenderServices*) const {
  for (auto& [kind, text] : request) {
    switch (kind) {
      case ItemTextKind::kTypeText:
        text = key_.IsValid() ? ItemTypeText(key_[0]) : ItemTypeText(kItemTypeCount);
        break;
      case ItemTextKind::kTimestampText:
        text.clear();
        (options.specific_timestamp ? GetSpecificTimestamp() : timestamp_)
            .AppendText(text, {.want_date = options.want_date,
                               .want_milliseconds = options.want_milliseconds});
        break;
      default:
        // Names, summaries, buffer and key texts need services that the
        // concrete classes bring.
        break;
    }
  }
}

bool ItemRecord::IsValid() const {
  return type_code_ < kItemTypeCount && buffer_.IsValid() && key_.IsValid() &&
         key_[0] == type_code_;
}

}  // namespace quillon
