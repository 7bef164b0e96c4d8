// Where the database reports what it finds while loading, validating,
// merging and saving its tables. Problems never stop a load: they are
// reported here and repaired where a repair exists.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

// How serious a reported message is; ordered, so "at least a warning" is a
// comparison.
enum class DbSeverity : std::uint32_t {
  kInformation = 0,
  kWarning = 1,
  kError = 2,
};
// The older unscoped names.
inline constexpr DbSeverity kDbInformation = DbSeverity::kInformation;
inline constexpr DbSeverity kDbWarning = DbSeverity::kWarning;
inline constexpr DbSeverity kDbError = DbSeverity::kError;

class DbMessageSink {
 public:
  virtual ~DbMessageSink() = default;
  // Called once per message, in the order found; must not throw.
  virtual void Report(std::u16string_view text, DbSeverity severity) = 0;
};

// Drops every message.
class NullDbMessageSink final : public DbMessageSink {
 public:
  void Report(std::u16string_view, DbSeverity) override {}
};

// Keeps every message in order (tools and tests).
class DbMessageList final : public DbMessageSink {
 public:
  struct Message {
    std::u16string text;
    DbSeverity severity = DbSeverity::kInformation;
  };

  void Report(std::u16string_view text, DbSeverity severity) override {
    messages_.push_back({std::u16string(text), severity});
  }
  const std::vector<Message>& Messages() const { return messages_; }
  std::size_t CountAtLeast(DbSeverity severity) const {
    std::size_t n = 0;
    for (const auto& m : messages_) n += m.severity >= severity ? 1 : 0;
    return n;
  }
  void Clear() { messages_.clear(); }

 private:
  std::vector<Message> messages_;
};

}  // namespace quillon
