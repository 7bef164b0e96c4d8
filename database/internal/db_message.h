// Building the database's messages. Their formats are fixed texts that use
// only "%s", "%u" and "%d" with typed arguments, so a small substitution is
// all they need.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "database/db_message_sink.h"

namespace quillon::db {

class MessageArg {
 public:
  MessageArg(std::u16string_view text) : text_(text), is_text_(true) {}
  MessageArg(const std::u16string& text) : text_(text), is_text_(true) {}
  MessageArg(const char16_t* text) : text_(text), is_text_(true) {}
  MessageArg(std::uint32_t v) : number_(v) {}
  MessageArg(std::int32_t v) : number_(v) {}

  bool IsText() const { return is_text_; }
  std::u16string_view Text() const { return text_; }
  std::int64_t Number() const { return number_; }

 private:
  std::u16string_view text_;
  std::int64_t number_ = 0;
  bool is_text_ = false;
};

// Substitutes the arguments in order: "%s" takes text, "%u" and "%d" a
// number (as unsigned or signed 32 bits), "%%" is a percent sign. A missing
// or mismatched argument leaves the conversion as written.
std::u16string FormatMessage(std::u16string_view format, std::initializer_list<MessageArg> args);

// An empty display name is shown as "?".
inline std::u16string_view DisplayOrUnknown(std::u16string_view display) {
  return display.empty() ? std::u16string_view(u"?") : display;
}

// Formats and reports one message; `severity` is a DbSeverity, never a bare
// number.
inline void Report(DbMessageSink& sink, DbSeverity severity, std::u16string_view format,
                   std::initializer_list<MessageArg> args) {
  sink.Report(FormatMessage(format, args), severity);
}

}  // namespace quillon::db
