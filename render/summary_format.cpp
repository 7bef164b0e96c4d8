#include "render/summary_format.h"

#include <bit>
#include <deque>

#include "common/safe_format.h"

namespace quillon {

namespace {

// Walks the format the way the formatter parses it and turns the words
// each conversion takes into the typed argument the formatter expects.
// Once the words run out no further argument is made, so the formatter
// reports the missing one.
class WordScanner {
 public:
  WordScanner(std::u16string_view format, std::span<const SummaryWord> words)
      : format_(format.substr(0, format.find(u'\0'))), words_(words) {}

  // False when a conversion would read memory it was not given.
  bool Scan() {
    std::size_t i = 0;
    while (!refused_ && (i = format_.find(u'%', i)) != std::u16string_view::npos) {
      i = ScanConversion(i + 1);
    }
    return !refused_;
  }

  std::span<const FormatArgument> Arguments() const { return args_; }

 private:
  bool At(std::size_t i, char16_t c) const { return i < format_.size() && format_[i] == c; }
  bool IsDigit(std::size_t i) const {
    return i < format_.size() && format_[i] >= u'0' && format_[i] <= u'9';
  }

  // From just after a '%' to the index after its conversion (the end of
  // the format for a tail the formatter refuses).
  std::size_t ScanConversion(std::size_t i) {
    if (At(i, u'%')) return i + 1;
    while (i < format_.size() &&
           std::u16string_view(u"-+ #0").find(format_[i]) != std::u16string_view::npos) {
      ++i;
    }
    if (At(i, u'*')) {
      TakeNumber();
      ++i;
    } else {
      while (IsDigit(i)) ++i;
    }
    if (At(i, u'.')) {
      ++i;
      if (At(i, u'*')) {
        TakeNumber();
        ++i;
      } else {
        while (IsDigit(i)) ++i;
      }
    }
    bool two_words = false;
    bool narrow = false;
    const std::u16string_view rest = format_.substr(i < format_.size() ? i : format_.size());
    if (rest.starts_with(u"ll") || rest.starts_with(u"hh")) {
      two_words = rest[0] == u'l';
      i += 2;
    } else if (rest.starts_with(u"I64") || rest.starts_with(u"I32")) {
      two_words = rest[1] == u'6';
      i += 3;
    } else if (rest.starts_with(u"I")) {
      return format_.size();  // refused by the formatter
    } else if (!rest.empty() &&
               std::u16string_view(u"hlLw").find(rest[0]) != std::u16string_view::npos) {
      narrow = rest[0] == u'h';
      ++i;
    }
    if (i >= format_.size()) return format_.size();
    switch (format_[i]) {
      case u'd':
      case u'i':
      case u'u':
      case u'o':
      case u'x':
      case u'X':
        two_words ? TakeWide() : TakeNumber();
        break;
      case u'f':
      case u'e':
      case u'E':
      case u'g':
      case u'G':
        TakeDouble();
        break;
      case u'c':
        TakeNumber();
        break;
      case u's':
        TakeText(narrow);
        break;
      default:  // refused by the formatter without an argument
        break;
    }
    return i + 1;
  }

  const SummaryWord* Next() {
    if (exhausted_ || next_ >= words_.size()) {
      exhausted_ = true;
      return nullptr;
    }
    return &words_[next_++];
  }

  // Two words, low first; false when they run out or one is an address.
  bool NextPair(std::uint64_t& value) {
    const SummaryWord* low = Next();
    const SummaryWord* high = Next();
    if (low == nullptr || high == nullptr) return false;
    if (low->text != nullptr || high->text != nullptr) {
      refused_ = true;
      return false;
    }
    value = std::uint64_t{low->bits} | std::uint64_t{high->bits} << 32;
    return true;
  }

  void TakeNumber() {
    const SummaryWord* w = Next();
    if (w == nullptr) return;
    if (w->text != nullptr) {
      refused_ = true;  // would show a text's address
      return;
    }
    args_.emplace_back(static_cast<unsigned>(w->bits));
  }

  void TakeWide() {
    std::uint64_t value = 0;
    if (NextPair(value)) args_.emplace_back(static_cast<unsigned long long>(value));
  }

  void TakeDouble() {
    std::uint64_t value = 0;
    if (NextPair(value)) args_.emplace_back(std::bit_cast<double>(value));
  }

  void TakeText(bool narrow) {
    const SummaryWord* w = Next();
    if (w == nullptr) return;
    if (w->text == nullptr) {
      // The null pointer prints as the runtime prints it; any other
      // number would be read as an address.
      if (w->bits != 0) {
        refused_ = true;
        return;
      }
      args_.emplace_back(static_cast<const char16_t*>(nullptr));
      return;
    }
    if (!narrow) {
      args_.emplace_back(std::u16string_view(*w->text));
      return;
    }
    // The wide text's bytes read as a narrow C string.
    std::string& bytes = narrow_texts_.emplace_back();
    for (const char16_t unit : *w->text) {
      const auto low = static_cast<char>(unit & 0xFF);
      if (low == 0) break;
      bytes.push_back(low);
      const auto high = static_cast<char>(unit >> 8);
      if (high == 0) break;
      bytes.push_back(high);
    }
    args_.push_back(FormatArgument::Narrow(bytes));
  }

  std::u16string_view format_;
  std::span<const SummaryWord> words_;
  std::vector<FormatArgument> args_;
  std::deque<std::string> narrow_texts_;  // stable addresses for the views
  std::size_t next_ = 0;
  bool exhausted_ = false;
  bool refused_ = false;
};

}  // namespace

void PackSummaryArgument(const ParsedField& entry, std::vector<SummaryWord>& words) {
  if (!entry.valid || entry.definition == nullptr) {
    words.push_back({});
    return;
  }
  const FieldRecord& def = *entry.definition;
  if (def.kind == kFieldEnumUnsigned || def.kind == kFieldEnumSigned) {
    words.push_back({0, &entry.value_text});
    return;
  }
  const std::uint64_t v = entry.value;
  const auto word = [&](std::uint32_t bits) { words.push_back({bits, nullptr}); };
  switch (def.type) {
    case kFieldBool:
    case kFieldU8:
      return word(static_cast<std::uint32_t>(v & 0xFF));
    case kFieldI8:
      return word(static_cast<std::uint32_t>(static_cast<std::int8_t>(v & 0xFF)));
    case kFieldI16:
      return word(static_cast<std::uint32_t>(static_cast<std::int16_t>(v & 0xFFFF)));
    case kFieldU16:
      return word(static_cast<std::uint32_t>(v & 0xFFFF));
    case kFieldI32:
    case kFieldU32:
    case kFieldFloat:  // the raw word, not converted
      return word(static_cast<std::uint32_t>(v));
    case kFieldI64:
    case kFieldU64:
    case kFieldDouble:
      word(static_cast<std::uint32_t>(v));
      return word(static_cast<std::uint32_t>(v >> 32));
    case kFieldString8:
    case kFieldString16:
    case kFieldZString8:
    case kFieldZString16:
      words.push_back({0, &entry.value_text});
      return;
    default:
      return word(0);
  }
}

bool FormatSummary(std::u16string_view format, std::span<const SummaryWord> words,
                   std::u16string& out) {
  WordScanner scanner(format, words);
  if (!scanner.Scan()) return false;
  FormatArgumentList args(scanner.Arguments());
  return FormatAppend(out, format, args).ok();
}

}  // namespace quillon
