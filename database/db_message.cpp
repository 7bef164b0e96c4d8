#include "database/internal/db_message.h"

#include "database/db_columns.h"

namespace quillon::db {

std::u16string FormatMessage(std::u16string_view format, std::initializer_list<MessageArg> args) {
  std::u16string out;
  out.reserve(format.size() + 64);
  auto next = args.begin();
  for (std::size_t i = 0; i < format.size(); ++i) {
    const char16_t c = format[i];
    if (c != u'%' || i + 1 >= format.size()) {
      out.push_back(c);
      continue;
    }
    const char16_t conv = format[i + 1];
    if (conv == u'%') {
      out.push_back(u'%');
      ++i;
      continue;
    }
    const bool wants_text = conv == u's';
    const bool wants_number = conv == u'u' || conv == u'd';
    if ((!wants_text && !wants_number) || next == args.end() || next->IsText() != wants_text) {
      out.push_back(c);
      continue;
    }
    if (wants_text) {
      out.append(next->Text());
    } else if (conv == u'u') {
      AppendUnsigned(out, static_cast<std::uint32_t>(next->Number()));
    } else {
      AppendSigned(out, static_cast<std::int32_t>(next->Number()));
    }
    ++next;
    ++i;
  }
  return out;
}

}  // namespace quillon::db
