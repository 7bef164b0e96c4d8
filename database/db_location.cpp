#include "database/db_location.h"

#include <algorithm>

#include "database/internal/db_validation.h"
#include "platform/file.h"

namespace quillon::db {

namespace {

// Only this many characters of the module path are used.
constexpr std::size_t kMaxModulePath = 260;

std::u16string WithSeparator(std::u16string_view pattern, char16_t separator) {
  std::u16string out(pattern);
  std::replace(out.begin(), out.end(), u'\\', separator);
  return out;
}

}  // namespace

std::u16string DatabaseDirectoryForModule(std::u16string_view module_path, char16_t separator,
                                          bool keep_case) {
  const std::u16string original(
      module_path.substr(0, std::min(module_path.size(), kMaxModulePath)));
  const std::u16string lower = FoldCase(original);
  const std::u16string& path = keep_case ? original : lower;
  const std::size_t last = lower.rfind(separator);
  if (last == std::u16string::npos) return u".";
  std::u16string directory = path.substr(0, last + 1);
  const std::u16string lower_directory = lower.substr(0, last + 1);
  if (lower_directory.find(WithSeparator(u"\\release\\", separator)) != std::u16string::npos ||
      lower_directory.find(WithSeparator(u"\\debug\\", separator)) != std::u16string::npos) {
    directory += WithSeparator(u"..\\..\\..\\Database", separator);
  } else if (lower_directory.find(WithSeparator(u"\\bin\\", separator)) != std::u16string::npos) {
    directory += WithSeparator(u"..\\Database\\", separator);
  }
  return directory;
}

std::u16string DatabaseDirectoryForThisModule() {
  const char16_t separator = platform::PathSeparator();
  return DatabaseDirectoryForModule(platform::ModulePath(), separator, separator != u'\\');
}

std::u16string JoinDbPath(std::u16string_view directory, std::u16string_view name) {
  std::u16string path(directory);
  path.push_back(platform::PathSeparator());
  path += name;
  return path;
}

}  // namespace quillon::db
