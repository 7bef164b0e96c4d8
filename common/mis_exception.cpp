#include "common/mis_exception.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <new>

#include "platform/text_codec.h"

namespace quillon {

namespace mis {
const char* CodeTextOf(std::uint32_t code) noexcept {
  for (const CodeText& entry : kCodeTexts) {
    if (entry.code == code) return entry.text;
  }
  return "an unknown error";
}
}  // namespace mis

namespace {

// " (error N)" appended into [p, end); returns the new end.
char* AppendErrorNumber(char* p, char* end, std::uint32_t code) {
  constexpr char kError[] = " (error ";
  const std::size_t n = sizeof(kError) - 1;
  if (end - p < static_cast<std::ptrdiff_t>(n + 12)) return p;
  std::memcpy(p, kError, n);
  p = std::to_chars(p + n, end, code).ptr;
  *p++ = ')';
  return p;
}

}  // namespace

cMISException::cMISException(std::uint32_t category, std::uint32_t code,
                             std::u16string_view context, std::u16string_view reason) noexcept
    : category_(category), code_(code) {
  if (context.empty() && reason.empty()) return;
  try {
    auto detail = std::make_shared<Detail>();
    detail->context = context;
    detail->reason = reason;
    if (!context.empty()) detail->text = platform::Utf16ToUtf8(context) + ": ";
    detail->text +=
        reason.empty() ? std::string(mis::CodeTextOf(code)) : platform::Utf16ToUtf8(reason);
    char number[24];
    char* end = AppendErrorNumber(number, number + sizeof(number), code);
    detail->text.append(number, static_cast<std::size_t>(end - number));
    detail_ = std::move(detail);
  } catch (const std::bad_alloc&) {
    detail_.reset();  // the code alone still explains itself
  }
}

cMISException::cMISException(const cMISException& other, std::u16string_view context) noexcept
    : cMISException(
          other.category_, other.code_, context,
          other.detail_ ? std::u16string_view(other.detail_->reason) : std::u16string_view()) {}

void RethrowWithContext(const cMISException& e, std::u16string_view context) {
  if (!e.Context().empty()) throw;
  throw cMISException(e, context);
}

std::u16string_view cMISException::Context() const noexcept {
  return detail_ ? std::u16string_view(detail_->context) : std::u16string_view();
}

std::u16string cMISException::Reason() const {
  if (detail_ && !detail_->reason.empty()) return detail_->reason;
  return platform::Utf8ToUtf16(mis::CodeTextOf(code_));
}

const char* cMISException::what() const noexcept {
  if (detail_) return detail_->text.c_str();
  // Built on demand into the object's own buffer: no allocation, so what()
  // stays usable while memory is short. The longest code text and number
  // fit the buffer.
  char* p = text_;
  char* const end = text_ + sizeof(text_) - 1;
  const char* text = mis::CodeTextOf(code_);
  const std::size_t length = std::min<std::size_t>(std::strlen(text), sizeof(text_) - 24);
  std::memcpy(p, text, length);
  p = AppendErrorNumber(p + length, end, code_);
  *p = '\0';
  return text_;
}

}  // namespace quillon
