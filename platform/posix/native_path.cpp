#include "platform/posix/native_path.h"

#include <sys/stat.h>

#include <cerrno>

#include "platform/file.h"
#include "platform/text_codec.h"

namespace quillon::platform::posix {

std::optional<std::string> NativePath(std::u16string_view path) {
  if (path.empty() || path.find(u'\0') != std::u16string_view::npos) return std::nullopt;
  return Utf16ToUtf8(path);
}

std::uint32_t BadPathError(std::u16string_view path) {
  // Windows finds no path in an empty name; a NUL inside a counted path is
  // a caller error that Windows would silently cut the name at.
  return path.empty() ? error::kPathNotFound : error::kInvalidParameter;
}

std::uint32_t WindowsError(int err) {
  switch (err) {
    case 0:
      return error::kSuccess;
    case ENOENT:
      return error::kFileNotFound;
    case ENOTDIR:
      return error::kPathNotFound;
    case EACCES:
    case EPERM:
    case EISDIR:
      return error::kAccessDenied;
    case EBADF:
      return error::kInvalidHandle;
    case ENOMEM:
      return error::kNotEnoughMemory;
    case EROFS:
      return error::kWriteProtect;
    case EBUSY:
    case ETXTBSY:
      return error::kSharingViolation;
    case EEXIST:
      return error::kFileExists;
    case EINVAL:
    case EOVERFLOW:
      return error::kInvalidParameter;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return error::kDiskFull;
    case ENAMETOOLONG:
      return error::kFilenameTooLong;
    case EMFILE:
    case ENFILE:
      return 4;  // ERROR_TOO_MANY_OPEN_FILES
    case ELOOP:
      return 1921;  // ERROR_CANT_RESOLVE_FILENAME
    default:
      return error::kGenericFailure;
  }
}

std::uint32_t MissingPathError(const std::string& path) {
  std::string::size_type end = path.find_last_not_of('/');
  if (end == std::string::npos) return error::kFileNotFound;
  const std::string::size_type slash = path.rfind('/', end);
  if (slash == std::string::npos) return error::kFileNotFound;  // in the current folder
  const std::string parent = slash == 0 ? std::string("/") : path.substr(0, slash);
  struct stat info {};
  if (::stat(parent.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) return error::kFileNotFound;
  return error::kPathNotFound;
}

}  // namespace quillon::platform::posix
