// A printf-style formatter that never touches memory it was not given.
//
// Formats are UTF-16 and follow the Windows wide printf family
// (_snwprintf): "%s" and "%ls" take wide text, "%hs" narrow text, "%c" a
// wide character; "long" is 32 bits. Arguments come from a typed source:
// a conversion that its argument cannot satisfy (a "%s" given a number, a
// "%d" given nothing, "%n", an unknown conversion) is an error reported in
// the result, never a read of memory.
//
// Supported: flags "-+ #0", width and precision (digits or '*', which takes
// an integer argument), length modifiers h hh l ll I32 I64 (and L, w for
// compatibility), conversions d i u o x X c s f e E g G and "%%".
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace quillon {

// One typed argument. Text arguments are views: the caller keeps the text
// alive for the duration of the format call.
class FormatArgument {
 public:
  enum class Kind { kSigned, kUnsigned, kDouble, kWideText, kNarrowText };

  FormatArgument(int v) : kind_(Kind::kSigned), int_(v) {}
  FormatArgument(long v) : kind_(Kind::kSigned), int_(v) {}
  FormatArgument(long long v) : kind_(Kind::kSigned), int_(v) {}
  FormatArgument(unsigned v) : kind_(Kind::kUnsigned), int_(static_cast<std::int64_t>(v)) {}
  FormatArgument(unsigned long v) : kind_(Kind::kUnsigned), int_(static_cast<std::int64_t>(v)) {}
  FormatArgument(unsigned long long v)
      : kind_(Kind::kUnsigned), int_(static_cast<std::int64_t>(v)) {}
  FormatArgument(double v) : kind_(Kind::kDouble), double_(v) {}
  FormatArgument(std::u16string_view v) : kind_(Kind::kWideText), wide_(v) {}
  FormatArgument(const std::u16string& v) : kind_(Kind::kWideText), wide_(v) {}
  // A null pointer is printed as "(null)", as the C runtime does.
  FormatArgument(const char16_t* v)
      : kind_(Kind::kWideText), wide_(v != nullptr ? std::u16string_view(v) : u"(null)") {}
  // Narrow text is taken as the ANSI code page (Windows-1252 on POSIX).
  static FormatArgument Narrow(std::string_view v) {
    FormatArgument a(0);
    a.kind_ = Kind::kNarrowText;
    a.narrow_ = v;
    return a;
  }

  Kind kind() const { return kind_; }
  bool IsInteger() const { return kind_ == Kind::kSigned || kind_ == Kind::kUnsigned; }
  bool IsText() const { return kind_ == Kind::kWideText || kind_ == Kind::kNarrowText; }
  // The integer bits (two's complement for signed values).
  std::uint64_t Bits() const { return static_cast<std::uint64_t>(int_); }
  double Double() const { return double_; }
  std::u16string_view Wide() const { return wide_; }
  std::string_view NarrowText() const { return narrow_; }

 private:
  Kind kind_;
  std::int64_t int_ = 0;
  double double_ = 0;
  std::u16string_view wide_;
  std::string_view narrow_;
};

// Where arguments come from, one per request, in order.
class FormatArgumentSource {
 public:
  virtual ~FormatArgumentSource() = default;
  // The next argument, or nullptr when there are no more.
  virtual const FormatArgument* Next() = 0;
};

// A source over a fixed list.
class FormatArgumentList final : public FormatArgumentSource {
 public:
  explicit FormatArgumentList(std::span<const FormatArgument> args) : args_(args) {}
  const FormatArgument* Next() override { return next_ < args_.size() ? &args_[next_++] : nullptr; }
  std::size_t Consumed() const { return next_; }

 private:
  std::span<const FormatArgument> args_;
  std::size_t next_ = 0;
};

enum class FormatStatus {
  kOk,
  kOverflow,          // output would exceed the capacity
  kInvalidFormat,     // malformed or unsupported conversion ("%n", "%q", lone '%')
  kMissingArgument,   // the source ran out
  kArgumentMismatch,  // the argument's kind cannot satisfy the conversion
};

struct FormatResult {
  FormatStatus status = FormatStatus::kOk;
  std::size_t written = 0;  // characters appended (on success)
  bool ok() const { return status == FormatStatus::kOk; }
};

// No limit on the output length (beyond the per-conversion limits).
inline constexpr std::size_t kUnboundedFormat = static_cast<std::size_t>(-1);

// Appends the formatted text to `out`. `capacity` counts characters the way
// _snwprintf's count does: the output (without terminator) must fit in it,
// otherwise the result is kOverflow. On any failure `out` is left exactly as
// it was on entry. Widths and precisions above 65536 are kInvalidFormat.
FormatResult FormatAppend(std::u16string& out, std::u16string_view format,
                          FormatArgumentSource& args, std::size_t capacity = kUnboundedFormat);

// Convenience over a fixed list; returns an empty text on any failure.
std::u16string Format(std::u16string_view format, std::initializer_list<FormatArgument> args);

}  // namespace quillon
