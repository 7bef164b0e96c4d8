// Where the database reports what it finds while loading, validating,
// merging and saving its tables. Problems never stop a load: they are
// reported here and repaired where a repair exists.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

enum DbSeverity : std::uint32_t {
  kDbInformation = 0,
  kDbWarning = 1,
  kDbError = 2,
};

class DbMessageSink {
 public:
  virtual ~DbMessageSink() = default;
  virtual void Report(std::u16string_view text, std::uint32_t severity) = 0;
};

// Drops every message.
class NullDbMessageSink final : public DbMessageSink {
 public:
  void Report(std::u16string_view, std::uint32_t) override {}
};

// Keeps every message in order (tools and tests).
class DbMessageList final : public DbMessageSink {
 public:
  struct Message {
    std::u16string text;
    std::uint32_t severity = 0;
  };

  void Report(std::u16string_view text, std::uint32_t severity) override {
    messages_.push_back({std::u16string(text), severity});
  }
  const std::vector<Message>& Messages() const { return messages_; }
  std::size_t CountAtLeast(std::uint32_t severity) const {
    std::size_t n = 0;
    for (const auto& m : messages_) n += m.severity >= severity ? 1 : 0;
    return n;
  }
  void Clear() { messages_.clear(); }

 private:
  std::vector<Message> messages_;
};

}  // namespace quillon
