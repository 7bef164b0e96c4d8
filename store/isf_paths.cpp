#include "store/internal/isf_paths.h"

#include "common/safe_format.h"
#include "platform/file.h"

namespace quillon::isf {

namespace {

bool StartsWith(std::u16string_view text, std::u16string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

}  // namespace

LocalDriveRules PlatformLocalDriveRules() {
  LocalDriveRules rules;
  rules.separator = platform::PathSeparator();
  rules.is_fixed_drive_root = [](std::u16string_view root) {
    return platform::IsFixedDriveRoot(root);
  };
  rules.is_local_path = [](std::u16string_view path) { return platform::IsLocalFixedPath(path); };
  return rules;
}

bool IsLocalFixedDrivePath(std::u16string_view path, const LocalDriveRules& rules) {
  const char16_t sep = rules.separator;
  const std::u16string long_prefix{sep, sep, u'?', sep};
  const std::u16string share_prefix{sep, sep};
  bool long_form = false;
  if (StartsWith(path, long_prefix)) {
    path.remove_prefix(long_prefix.size());
    if (StartsWith(path, u"UNC")) return false;
    long_form = true;
  }
  if (StartsWith(path, share_prefix)) return false;
  if (sep == u'\\') {
    if (path.size() < 2 || path[1] != u':') return false;
    const std::u16string root{path[0], u':', u'\\'};
    return rules.is_fixed_drive_root && rules.is_fixed_drive_root(root);
  }
  // Without drive letters the long form "//?/x" stands for the absolute
  // path "/x".
  std::u16string absolute(path);
  if (long_form) absolute.insert(absolute.begin(), sep);
  if (absolute.empty() || absolute[0] != sep) return false;
  return rules.is_local_path && rules.is_local_path(absolute);
}

std::u16string FormatTemporaryName(std::u16string_view directory, std::uint32_t number,
                                   char16_t separator) {
  if (directory.empty()) return u"Items.isf";
  std::u16string dir(directory);
  if (dir.back() != separator) dir.push_back(separator);
  return Format(u"%s%s%05x.%s", {dir, u"Items", number, u"isf"});
}

}  // namespace quillon::isf
