// The abstract log item ("color item"). One concrete class per type code
// lives in store/; this header holds the fields, the non-virtual accessors
// and the virtual operations in their fixed slot order.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "common/item_buffer.h"
#include "common/item_key.h"
#include "common/item_render_context.h"
#include "common/item_timestamp.h"

namespace quillon {

// The texts an item can render.
enum class ItemTextKind : std::uint32_t {
  kTypeText = 0,
  kName = 1,
  kTimestampText = 2,
  kSummary = 3,
  kBufferText = 4,
  kKeyText = 5,
};

// The request map of GetTexts: the caller inserts the kinds it wants; the
// item fills the texts it can render.
using ItemTextRequest = std::map<ItemTextKind, std::u16string>;

// Colours (COLORREF, 0x00BBGGRR) shared by several item classes.
inline constexpr std::uint32_t kColorUnknown = 0xFF00FF;  // magenta
inline constexpr std::uint32_t kColorRed = 0x0000FF;

// The protocol revision of an item that carries none.
inline constexpr std::uint32_t kNoProtocolRevision = 0xFFFFFFFF;

class ItemRecord {
 public:
  // The header of a stored record: what CreateItem needs besides the buffer.
  struct Header {
    std::uint32_t type_code = 0;
    ItemTimestamp timestamp;
  };

  // slot 0
  virtual ~ItemRecord() = default;
  // slot 1: the legacy DLF packet form; 0 bytes when it does not fit or the
  // item is invalid.
  virtual std::uint32_t GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const;
  // slot 2: the parser-library text of this item. Base: the text of the
  // store's dynamic parser libraries (`parsers` may be null: no text),
  // replacing `out`; false, `out` untouched, when none produces one. DIAG
  // RX, DIAG TX, GPS and OTA LOG items append instead, and after the
  // dynamic libraries consult the over-the-air decoders.
  virtual bool GetParsedText(std::u16string& out, const ItemParserService* parsers) const;
  // slot 3: the single entry point for rendered texts.
  virtual void GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                        const ItemRenderServices* services) const;
  // slot 4: shared by all classes, not used by the automation layer.
  virtual void Reserved4() const {}
  // slot 5: the envelope bytes that precede the type's own content; 0 for
  // an item without a valid buffer, like every operation on one.
  virtual std::uint32_t GetHeaderLength() const = 0;
  // slot 6: the time the device stamped on the item; the generic timestamp
  // when the type has none or its header does not parse.
  virtual ItemTimestamp GetSpecificTimestamp() const { return timestamp_; }
  // slot 7
  virtual bool IsValid() const;
  // slots 8, 9: strict comparisons of specific timestamps.
  virtual bool IsLaterThan(const ItemRecord& other) const {
    return GetSpecificTimestamp() > other.GetSpecificTimestamp();
  }
  virtual bool IsEarlierThan(const ItemRecord& other) const {
    return GetSpecificTimestamp() < other.GetSpecificTimestamp();
  }
  // slot 10: always true.
  virtual bool SetDefaultColor() = 0;

  // Non-virtual accessors.
  std::uint32_t TypeCode() const { return type_code_; }
  std::uint32_t Color() const { return color_; }
  void SetColor(std::uint32_t color) { color_ = color; }
  std::uint32_t AuxValue() const { return aux_value_; }
  void SetAuxValue(std::uint32_t value) { aux_value_ = value; }
  ItemTimestamp Timestamp() const { return timestamp_; }
  void SetTimestamp(ItemTimestamp t) { timestamp_ = t; }
  // The protocol revision the store stamped on the item when it handed it
  // out; kNoProtocolRevision when it has none.
  std::uint32_t ProtocolRevision() const { return protocol_revision_; }
  void SetProtocolRevision(std::uint32_t revision) { protocol_revision_ = revision; }
  const ItemKey& Key() const { return key_; }
  const ItemBufferRef& Buffer() const { return buffer_; }
  // Null / 0 when the buffer is invalid.
  const std::uint8_t* GetPayload() const { return buffer_.Data(); }
  std::uint32_t GetPayloadLength() const { return buffer_.Length(); }

 protected:
  // Copies the header fields and takes a reference to the buffer (an
  // invalid buffer is dropped); the generic timestamp starts as "now".
  ItemRecord(std::uint32_t type_code, const ItemBufferRef& buffer);
  // The same with the generic timestamp given: the item factory passes the
  // stored time, which replaces "now" anyway, and so skips reading the clock.
  ItemRecord(std::uint32_t type_code, ItemBufferRef buffer, ItemTimestamp received);

  std::uint32_t type_code_;
  std::uint32_t color_ = 0;
  std::uint32_t aux_value_ = 0xFFFFFFFF;
  std::uint32_t reserved_ = 0;
  ItemTimestamp timestamp_;
  ItemBufferRef buffer_;
  ItemKey key_;
  std::uint32_t protocol_revision_ = kNoProtocolRevision;
};

using ItemPtr = std::unique_ptr<ItemRecord>;

}  // namespace quillon
