// Path rules of item store files: the local fixed drive test and temporary
// file names.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace quillon::isf {

// The rules for one platform. With separator '\\' the drive-letter rules
// apply literally: a "\\?\" prefix is skipped ("UNC" after it is not local),
// a "\\" prefix is not local, and "X:..." is local when its root "X:\" is a
// fixed drive. With any other separator the same prefixes written with that
// separator are recognised ("//?/x" standing for "/x"), and an absolute
// path (starting with the separator) is local when `is_local_path` says so.
struct LocalDriveRules {
  char16_t separator = u'\\';
  std::function<bool(std::u16string_view root)> is_fixed_drive_root;
  std::function<bool(std::u16string_view path)> is_local_path;
};

// The rules of the platform this code runs on.
LocalDriveRules PlatformLocalDriveRules();

bool IsLocalFixedDrivePath(std::u16string_view path, const LocalDriveRules& rules);

// "Items.isf" when `directory` is empty; otherwise directory (a separator is
// added when it does not end in one), "Items", `number` as at least five
// lower-case hex digits, ".isf".
std::u16string FormatTemporaryName(std::u16string_view directory, std::uint32_t number,
                                   char16_t separator);

}  // namespace quillon::isf
