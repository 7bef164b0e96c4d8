// Helpers shared by the parser service and the OTA bindings: export look-up
// in the platform's spelling, calls into library code with faults and
// exceptions contained, and wide texts of either width.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/dynamic_library.h"
#include "platform/guarded_call.h"

namespace quillon::parsers_internal {

// An export looked up by its decorated (Windows) name.
inline void* FindExport(platform::LibraryModule module, std::string_view decorated_name) {
  return platform::LibrarySymbol(module, platform::ExportSpelling(decorated_name).c_str());
}

// Runs `call` (a callable returning std::uint32_t) with faults and C++
// exceptions contained; either gives `failure`.
template <class Call>
std::uint32_t CallContained(Call& call, std::uint32_t failure) {
  struct Frame {
    Call* call;
    std::uint32_t result;
    std::uint32_t failure;
  } frame{&call, failure, failure};
  const auto run = [](void* p) {
    auto* f = static_cast<Frame*>(p);
    try {
      f->result = (*f->call)();
    } catch (...) {
      f->result = f->failure;
    }
  };
  if (platform::CallGuarded(run, &frame) == platform::GuardedCallResult::kFaulted) return failure;
  return frame.result;
}

// The UTF-16 text of a zero-terminated wide string of the library's
// character type (wchar_t is UTF-32 on POSIX), reading at most `limit`
// characters.
template <class Char>
std::u16string WideToU16(const Char* text, std::size_t limit) {
  std::u16string out;
  if (text == nullptr) return out;
  for (std::size_t i = 0; i < limit && text[i] != 0; ++i) {
    const auto c = static_cast<std::uint32_t>(text[i]);
    if constexpr (sizeof(Char) == 2) {
      out.push_back(static_cast<char16_t>(c));
    } else if (c >= 0x10000 && c <= 0x10FFFF) {
      out.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
    } else {
      out.push_back(c > 0xFFFF ? u'\uFFFD' : static_cast<char16_t>(c));
    }
  }
  return out;
}

}  // namespace quillon::parsers_internal
