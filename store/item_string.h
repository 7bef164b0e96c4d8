// STRING (type 7): free text added to a store by a user or a script.
//
// Payload layout:
//   offset 0  u32  header word:
//                    bits 0-5    string type (0..4 valid)
//                    bits 6-13   red of the display colour
//                    bits 14-21  green of the display colour
//                    bits 22-29  blue of the display colour
//                    bit  30     with bit 31: the text is UTF-16
//                    bit  31     the encoding is given by bit 30; when
//                                clear, the reader guesses it
//          4  ...  the text, zero-terminated
//
// Key: (7, string type); (7) alone without a header word. Header: 4 bytes.
// Valid only with the header word and a string type 0..4: a STRING item
// that is not valid is dropped, not kept as MALFORMED.
// Colour: from the header word when red, green and blue are all non-zero;
// otherwise white (the colour of text added without one; the store may
// still apply a user colour for the key afterwards).
// DLF form: packet code 0x1FE9 (Quillon's own: the legacy log-file format
// has no text packet), the generic timestamp and the whole payload, header
// word included, so that the text keeps its encoding.
// Texts: the summary is the text itself (StringItemText in
// render/item_texts.h); the name is the string type's entry in the
// database enumeration 10009 ("Information", "Warning" ...).
#pragma once

#include <cstdint>
#include <optional>

#include "common/item_record.h"

namespace quillon {

inline constexpr std::uint32_t kStringHeaderLength = 4;
inline constexpr std::uint32_t kStringFallbackColor = 0xFFFFFF;

// The header word for a string of `string_type` shown in `color`
// (COLORREF), marked as UTF-16 text: the word the store writes.
std::uint32_t MakeStringHeaderWord(std::uint32_t color, std::uint32_t string_type);

// The colour carried by a header word, when all three components are set.
std::optional<std::uint32_t> StringHeaderColor(std::uint32_t header_word);

class StringItem final : public ItemRecord {
 public:
  explicit StringItem(ItemBufferRef buffer, ItemTimestamp received = ItemTimestamp::Now());

  std::uint32_t GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const override;
  std::uint32_t GetHeaderLength() const override {
    return buffer_.IsValid() ? kStringHeaderLength : 0;
  }
  void GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                const ItemRenderServices* services) const override;
  bool SetDefaultColor() override;

  std::optional<std::uint32_t> HeaderWord() const;
};

}  // namespace quillon
