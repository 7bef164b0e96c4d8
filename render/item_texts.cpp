#include "render/item_texts.h"

#include <array>
#include <string_view>

#include "common/number_text.h"
#include "common/safe_format.h"
#include "database/database.h"
#include "items/gps_record.h"
#include "items/item_name.h"
#include "items/key_text.h"
#include "items/message_format.h"
#include "items/payload_reader.h"
#include "items/type_text.h"
#include "platform/text_codec.h"
#include "render/entity_payload.h"
#include "render/gps_text.h"
#include "render/parsed_field_list.h"

namespace quillon {

namespace {

// A combined event summary: the name left-aligned in 32 columns, a blank,
// the summary.
constexpr std::u16string_view kCombinedEventFormat = u"%-32s %s";

// STRING header word bits.
constexpr std::uint32_t kStringHeaderLength = 4;
constexpr std::uint32_t kEncodingGivenBit = 0x80000000u;
constexpr std::uint32_t kUtf16Bit = 0x40000000u;

// Log codes with a summary rule of their own.
constexpr std::array<std::uint32_t, 7> kPilotLogCodes = {4214, 4215, 4216, 4217, 4220, 4229, 4230};
constexpr std::uint32_t kNasLogCode = 28986;
constexpr std::uint32_t kRrcLogCode = 16687;

std::u16string TypeTextOf(const ItemRecord& item, ShortTypeText short_type,
                          const ItemRenderOptions& options) {
  if (!options.combined_texts) return TypeText(item.Key());
  switch (short_type) {
    case ShortTypeText::kNone:
      break;
    case ShortTypeText::kEvent:
      return u"EVT(-)";
    case ShortTypeText::kLog:
      return u"LOG(-)";
    case ShortTypeText::kMessage: {
      const ItemKey& key = item.Key();
      if (key.size() < 3) break;
      static constexpr std::u16string_view kLevelLetters = u"LMHEF";
      const std::uint32_t level = key[2];
      if (level < kLevelLetters.size()) {
        return std::u16string(u"MSG(") + kLevelLetters[level] + u")";
      }
      std::u16string text = u"MSG(";
      AppendDecimal(text, level);
      text += u')';
      return text;
    }
  }
  return TypeText(item.Key());
}

std::u16string NameOf(const ItemRecord& item, const ItemRenderServices* services) {
  if (services == nullptr) return {};
  return ItemName(item.Key(), services->database, /*with_key=*/false);
}

std::u16string TimestampTextOf(const ItemRecord& item, const ItemRenderOptions& options) {
  std::u16string text;
  (options.specific_timestamp ? item.GetSpecificTimestamp() : item.Timestamp())
      .AppendText(text,
                  {.want_date = options.want_date, .want_milliseconds = options.want_milliseconds});
  return text;
}

// "Length: %04u".
std::u16string LengthSummary(std::size_t length) {
  std::u16string text = u"Length: ";
  for (std::size_t limit = 1000; limit > 1 && length < limit; limit /= 10) text += u'0';
  AppendDecimal(text, length);
  return text;
}

// The database summary of the item's entity; empty when it has none. Most
// entities have no summary and many items no entity: the field list is
// made only for those that have one.
std::u16string DatabaseSummary(const ItemRecord& item, const Database& database) {
  EntityPayload payload = EntityPayloadOf(item);
  if (payload.keys.empty()) return {};
  const DiagEntity* entity = database.FindDiagEntity(payload.keys, {});
  if (entity == nullptr || entity->format_id < 0) return {};
  ParsedFieldList list(database, std::move(payload), item);
  list.Parse({.summary_only = true, .field_strings = true, .field_names = true});
  return list.Summary();
}

std::u16string EventSummary(const ItemRecord& item, const ItemRenderOptions& options,
                            const ItemRenderServices* services) {
  std::u16string summary = GenericSummary(item, options, services);
  if (!options.combined_texts) return summary;
  const ItemKey& key = item.Key();
  std::u16string name;
  if (key.size() >= 2) {
    if (services != nullptr && services->database != nullptr) {
      if (const ItemEntry* entry = services->database->FindEvent(key[1])) name = entry->name;
    }
    if (name.empty()) name = Format(u"ID: %u", {key[1]});
  }
  return Format(kCombinedEventFormat, {name, summary});
}

std::u16string LogSummary(const ItemRecord& item, const ItemRenderOptions& options,
                          const ItemRenderServices* services) {
  // The log content follows the log header, whether or not the options
  // count the header in lengths and dumps.
  const ItemKey& key = item.Key();
  const std::span<const std::uint8_t> content = TextPayload(item, {.include_header_bytes = false});
  if (key.size() >= 2) {
    if (auto summary = LogCodeSummary(key[1], content)) return std::move(*summary);
  }
  return GenericSummary(item, options, services);
}

std::u16string MessageSummary(const ItemRecord& item) {
  std::u16string line;
  FormatMessageItem(item, line);
  return line;
}

std::u16string GpsItemSummary(const ItemRecord& item, const ItemRenderServices* services) {
  std::u16string summary;
  if (services != nullptr && services->parsers != nullptr &&
      services->parsers->ParseToSummary(item, summary)) {
    return summary;
  }
  return GpsSummary(ReadGpsRecord({item.GetPayload(), item.GetPayloadLength()}));
}

std::u16string SummaryOf(const ItemRecord& item, SummaryRule rule, const ItemRenderOptions& options,
                         const ItemRenderServices* services) {
  switch (rule) {
    case SummaryRule::kGeneric:
      return GenericSummary(item, options, services);
    case SummaryRule::kEvent:
      return EventSummary(item, options, services);
    case SummaryRule::kLogCode:
      return LogSummary(item, options, services);
    case SummaryRule::kMessage:
      return MessageSummary(item);
    case SummaryRule::kString:
      return StringItemText({item.GetPayload(), item.GetPayloadLength()});
    case SummaryRule::kGps:
      return GpsItemSummary(item, services);
  }
  return {};
}

// UTF-16LE units up to the first zero unit; a last odd byte is dropped.
std::u16string Utf16Text(std::span<const std::uint8_t> bytes) {
  std::u16string text;
  text.reserve(bytes.size() / 2);
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto unit = static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8);
    if (unit == 0) break;
    text.push_back(unit);
  }
  return text;
}

std::u16string AnsiText(std::span<const std::uint8_t> bytes) {
  std::size_t end = 0;
  while (end < bytes.size() && bytes[end] != 0) ++end;
  return platform::AnsiToUtf16({reinterpret_cast<const char*>(bytes.data()), end});
}

}  // namespace

void RenderItemTexts(const ItemRecord& item, ItemTextRules rules, ItemTextRequest& request,
                     const ItemRenderOptions& options, const ItemRenderServices* services) {
  for (auto& [kind, text] : request) {
    switch (kind) {
      case ItemTextKind::kTypeText:
        text = TypeTextOf(item, rules.short_type, options);
        break;
      case ItemTextKind::kName:
        text = NameOf(item, services);
        break;
      case ItemTextKind::kTimestampText:
        text = TimestampTextOf(item, options);
        break;
      case ItemTextKind::kSummary:
        text = SummaryOf(item, rules.summary, options, services);
        break;
      case ItemTextKind::kBufferText:
        text = PayloadDump(TextPayload(item, options));
        break;
      case ItemTextKind::kKeyText:
        text = KeyText(item.Key());
        break;
    }
  }
}

std::span<const std::uint8_t> TextPayload(const ItemRecord& item,
                                          const ItemRenderOptions& options) {
  const std::uint8_t* data = item.GetPayload();
  const std::uint32_t length = item.GetPayloadLength();
  if (data == nullptr || length == 0 || length > kMaxItemPayload) return {};
  if (options.include_header_bytes) return {data, length};
  const std::uint32_t header = item.GetHeaderLength();
  if (header > length) return {};
  return {data + header, length - header};
}

std::u16string PayloadDump(std::span<const std::uint8_t> payload) {
  if (payload.empty()) return u"None";
  std::u16string text;
  text.reserve(payload.size() * 3);
  for (const std::uint8_t byte : payload) {
    if (!text.empty()) text += u' ';
    AppendHexDigits(text, byte, 2);
  }
  return text;
}

std::u16string GenericSummary(const ItemRecord& item, const ItemRenderOptions& options,
                              const ItemRenderServices* services) {
  std::u16string summary;
  if (services != nullptr) {
    if (services->parsers != nullptr && services->parsers->ParseToSummary(item, summary)) {
      return summary;
    }
    if (services->database != nullptr) {
      summary = DatabaseSummary(item, *services->database);
      if (!summary.empty()) return summary;
    }
  }
  return LengthSummary(TextPayload(item, options).size());
}

std::optional<std::u16string> LogCodeSummary(std::uint32_t log_code,
                                             std::span<const std::uint8_t> content) {
  const PayloadReader r(content);
  for (const std::uint32_t code : kPilotLogCodes) {
    if (code != log_code) continue;
    const auto channel = r.U16(1);
    const auto pilot = r.U16(3);
    if (!channel || !pilot) return std::nullopt;
    // "Channel: %hu, Pilot PN: %hu"
    std::u16string text = u"Channel: ";
    AppendDecimal(text, *channel);
    text += u", Pilot PN: ";
    AppendDecimal(text, *pilot);
    return text;
  }
  if (log_code == kNasLogCode) {
    const auto direction = r.U8(0);
    const auto length = r.U32(1);
    if (!direction || !length) return std::nullopt;
    // "Direction: %s, Length: %u"
    std::u16string text = u"Direction: ";
    text += *direction != 0 ? u"MS To Network" : u"Network To MS";
    text += u", Length: ";
    AppendDecimal(text, *length);
    return text;
  }
  if (log_code == kRrcLogCode) {
    const auto bearer = r.U8(1);
    const auto length = r.U16(2);
    if (!bearer || !length) return std::nullopt;
    // "Radio Bearer ID: %u, Length: %hu"
    std::u16string text = u"Radio Bearer ID: ";
    AppendDecimal(text, *bearer);
    text += u", Length: ";
    AppendDecimal(text, *length);
    return text;
  }
  return std::nullopt;
}

std::u16string StringItemText(std::span<const std::uint8_t> payload) {
  const auto header = PayloadReader(payload).U32(0);
  if (!header) return {};
  const std::span<const std::uint8_t> text = payload.subspan(kStringHeaderLength);
  bool utf16 = false;
  if ((*header & kEncodingGivenBit) != 0) {
    utf16 = (*header & kUtf16Bit) != 0;
  } else if (text.size() % 2 == 0) {
    utf16 = platform::LooksLikeUtf16(text.data(), text.size());
  }
  return utf16 ? Utf16Text(text) : AnsiText(text);
}

}  // namespace quillon
