#include "cli/cli_support.h"

#include <cstdio>
#include <filesystem>

#include "automation/module.h"
#include "common/number_text.h"
#include "database/database.h"
#include "platform/clock.h"
#include "platform/text_codec.h"

#if defined(_WIN32)
#include <io.h>
#define QUILLON_ISATTY(fd) _isatty(fd)
#else
#include <unistd.h>
#define QUILLON_ISATTY(fd) ::isatty(fd)
#endif

namespace quillon::cli {

bool IsTerminal(int fd) { return QUILLON_ISATTY(fd) != 0; }

GlobalOptions& Globals() {
  static GlobalOptions options;
  return options;
}

void UseDatabase() {
  static bool used = false;
  if (used) return;
  used = true;
  const std::string& directory = Globals().database;
  if (!directory.empty()) {
    std::error_code ec;
    if (!std::filesystem::is_directory(std::filesystem::path(PathArgument(directory)), ec)) {
      Fail("database directory not found: " + directory);
    }
    automation::LoadProcessDatabase(PathArgument(directory));
  }
  if (automation::ProcessDatabase().Tables() == DbTables()) {
    std::fprintf(stderr,
                 "quillon: warning: no database tables in %s: names are Unknown and summaries "
                 "show lengths (use --db DIR)\n",
                 ToUtf8(automation::ProcessDatabaseDirectory()).c_str());
  }
}

std::u16string PathArgument(std::string_view utf8) { return platform::Utf8ToUtf16(utf8); }

std::string ToUtf8(std::u16string_view text) { return platform::Utf16ToUtf8(text); }

int ReportFailure(const cMISException& error, std::string_view operation) {
  const cMISException named =
      error.Context().empty() ? cMISException(error, platform::Utf8ToUtf16(operation)) : error;
  std::fprintf(stderr, "quillon: %s\n", named.what());
  return kExitFailure;
}

void Fail(std::string_view message, int status) {
  std::fflush(stdout);
  std::fprintf(stderr, "quillon: %.*s\n", static_cast<int>(message.size()), message.data());
  throw ExitStatus{status};
}

OpenedStore OpenForReading(const std::string& path, ProgressSink* progress) {
  UseDatabase();
  OpenedStore opened;
  try {
    opened = OpenStore(PathArgument(path),
                       {.mode = StoreMode::kRead, .recover = true, .progress = progress});
  } catch (const cMISException& error) {
    throw ExitStatus{ReportFailure(error, "cannot open " + path)};
  }
  if (opened.recovered) {
    std::fprintf(stderr,
                 "quillon: note: %s was never closed; its items were recovered in memory and "
                 "the file was left as it is ('quillon recover' gives it its trailer)\n",
                 path.c_str());
  }
  return opened;
}

void UnreadableItems::Report(std::uint32_t index, const cMISException& error) {
  ++count_;
  std::fflush(stdout);
  const std::string context = "cannot read item " + std::to_string(index);
  ReportFailure(error, context);
}

int UnreadableItems::ExitStatusAtEnd() const {
  if (count_ == 0) return kExitOk;
  std::fflush(stdout);
  std::fprintf(stderr, "quillon: %u item%s could not be read\n", count_, count_ == 1 ? "" : "s");
  return kExitUnreadable;
}

Progress::Progress(std::string what, bool streams_output)
    : what_(std::move(what)),
      terminal_(IsTerminal(2) && !(streams_output && IsTerminal(1))),
      start_(std::chrono::steady_clock::now()),
      last_(start_) {}

Progress::~Progress() {
  if (drawn_) std::fprintf(stderr, "\r\033[K");
}

void Progress::Update(std::uint64_t done, std::uint64_t total) {
  if (!terminal_ || total == 0) return;
  const auto now = std::chrono::steady_clock::now();
  if (now - start_ < std::chrono::seconds(1)) return;
  if (drawn_ && now - last_ < std::chrono::milliseconds(100)) return;
  last_ = now;
  drawn_ = true;
  constexpr int kWidth = 30;
  const int filled = static_cast<int>(done * kWidth / total);
  std::fprintf(stderr, "\r%s [%.*s%*s] %3d%%", what_.c_str(), filled,
               "##############################", kWidth - filled, "",
               static_cast<int>(done * 100 / total));
  std::fflush(stderr);
}

void Progress::OnBlocksWalked(std::uint32_t, std::uint64_t position, std::uint64_t file_size) {
  Update(position, file_size);
}

std::string IsoTime(ItemTimestamp timestamp) {
  platform::SystemTime t;
  const std::uint64_t rounded = (timestamp.ToFileTime() + 5000) / 10000 * 10000;
  if (!platform::FileTimeToSystemTime(rounded, t)) return {};
  char text[64];
  std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ", t.year, t.month, t.day,
                t.hour, t.minute, t.second, t.milliseconds);
  return text;
}

bool ParseIsoTime(std::string_view text, ItemTimestamp& out) {
  if (!text.empty() && (text.back() == 'Z' || text.back() == 'z')) text.remove_suffix(1);
  unsigned year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, ms = 0;
  const std::string s(text);
  int used = 0;
  if (std::sscanf(s.c_str(), "%4u-%2u-%2u%n", &year, &month, &day, &used) != 3 || used != 10) {
    return false;
  }
  std::string_view rest = text.substr(10);
  if (!rest.empty()) {
    if (rest[0] != 'T' && rest[0] != ' ') return false;
    const std::string time(rest.substr(1));
    int n = 0;
    if (std::sscanf(time.c_str(), "%2u:%2u%n", &hour, &minute, &n) != 2 || n != 5) return false;
    std::string_view tail = std::string_view(time).substr(5);
    if (!tail.empty()) {
      const std::string secs(tail);
      int m = 0;
      if (std::sscanf(secs.c_str(), ":%2u%n", &second, &m) != 1 || m != 3) return false;
      tail.remove_prefix(3);
      if (!tail.empty()) {
        if (tail[0] != '.' || tail.size() < 2 || tail.size() > 4) return false;
        unsigned digits = 0;
        for (const char c : tail.substr(1)) {
          if (c < '0' || c > '9') return false;
          ms = ms * 10 + static_cast<unsigned>(c - '0');
          ++digits;
        }
        for (; digits < 3; ++digits) ms *= 10;
      }
    }
  }
  platform::SystemTime t;
  t.year = static_cast<std::uint16_t>(year);
  t.month = static_cast<std::uint16_t>(month);
  t.day = static_cast<std::uint16_t>(day);
  t.hour = static_cast<std::uint16_t>(hour);
  t.minute = static_cast<std::uint16_t>(minute);
  t.second = static_cast<std::uint16_t>(second);
  t.milliseconds = static_cast<std::uint16_t>(ms);
  platform::FileTime file_time = 0;
  if (!platform::SystemTimeToFileTime(t, file_time)) return false;
  out = ItemTimestamp::FromFileTime(file_time);
  return true;
}

std::u16string OneLine(std::u16string_view text) {
  std::u16string line;
  line.reserve(text.size());
  for (const char16_t c : text) {
    if (c >= 0x20 && c != 0x7F) {
      line += c;
    } else if (c == u'\r') {
      line += u"\\r";
    } else if (c == u'\n') {
      line += u"\\n";
    } else if (c == u'\t') {
      line += u"\\t";
    } else {
      line += u"\\x";
      AppendHexDigits(line, c, 2);
    }
  }
  return line;
}

void AppendJson(std::string& out, std::string_view text) {
  static constexpr char kHex[] = "0123456789abcdef";
  out.push_back('"');
  for (const char c : text) {
    const auto u = static_cast<unsigned char>(c);
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (u < 0x20) {
          out += "\\u00";
          out.push_back(kHex[u >> 4]);
          out.push_back(kHex[u & 15]);
        } else {
          out.push_back(c);
        }
    }
  }
  out.push_back('"');
}

void AppendCsv(std::string& out, std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
    out += text;
    return;
  }
  out.push_back('"');
  for (const char c : text) {
    if (c == '"') out.push_back('"');
    out.push_back(c);
  }
  out.push_back('"');
}

std::string Hex(const std::uint8_t* bytes, std::size_t length) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::string out(length * 2, '0');
  for (std::size_t i = 0; i < length; ++i) {
    out[2 * i] = kHex[bytes[i] >> 4];
    out[2 * i + 1] = kHex[bytes[i] & 15];
  }
  return out;
}

}  // namespace quillon::cli
