// File on POSIX: a file descriptor with pread/pwrite. No locks are taken:
// the Windows share mode (readers only) has no portable POSIX counterpart.
#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <limits>

#include "platform/posix/native_path.h"

namespace quillon::platform {
namespace {

using posix::WindowsError;

constexpr std::int64_t kUnixEpochSeconds = 11'644'473'600;  // 1601 -> 1970
constexpr std::int64_t kTicksPerSecond = 10'000'000;
constexpr std::uint64_t kMaxOffset = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());

int Fd(std::intptr_t handle) { return static_cast<int>(handle); }

// Every byte of [offset, offset + length) must be addressable by off_t.
bool RangeValid(std::uint64_t offset, std::size_t length) {
  return offset <= kMaxOffset && length <= kMaxOffset - offset;
}

}  // namespace

std::uint32_t File::Open(std::u16string_view path, FileAccess access, FileDisposition disposition,
                         FileCaching caching) {
  Close();
  const auto native = posix::NativePath(path);
  if (!native) return posix::BadPathError(path);

  int flags = O_CLOEXEC | (access == FileAccess::kReadWrite ? O_RDWR : O_RDONLY);
  switch (disposition) {
    case FileDisposition::kCreateAlways:
      flags |= O_CREAT | O_TRUNC;
      break;
    case FileDisposition::kOpenAlways:
      flags |= O_CREAT;
      break;
    case FileDisposition::kOpenExisting:
      break;
  }
  int fd;
  do {
    fd = ::open(native->c_str(), flags, 0666);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) {
    const int err = errno;
    return err == ENOENT ? posix::MissingPathError(*native) : WindowsError(err);
  }
  // Opening a folder as a file is refused on Windows with access denied.
  struct stat info {};
  if (::fstat(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
    ::close(fd);
    return error::kAccessDenied;
  }
#if defined(POSIX_FADV_RANDOM)
  if (caching == FileCaching::kRandomAccess) ::posix_fadvise(fd, 0, 0, POSIX_FADV_RANDOM);
  if (caching == FileCaching::kSequentialScan) ::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
#else
  (void)caching;
#endif
  handle_ = fd;
  return error::kSuccess;
}

void File::Close() {
  if (handle_ >= 0) {
    ::close(Fd(handle_));
    handle_ = -1;
  }
}

bool File::IsOpen() const { return handle_ >= 0; }

std::uint32_t File::ReadAt(std::uint64_t offset, void* buffer, std::size_t length,
                           std::size_t* bytes_read) const {
  if (bytes_read != nullptr) *bytes_read = 0;
  if (!IsOpen()) return error::kInvalidHandle;
  if (length == 0) return error::kSuccess;
  if (buffer == nullptr || !RangeValid(offset, length)) return error::kInvalidParameter;

  auto* out = static_cast<unsigned char*>(buffer);
  std::size_t done = 0;
  while (done < length) {
    const ssize_t n =
        ::pread(Fd(handle_), out + done, length - done, static_cast<off_t>(offset + done));
    if (n < 0) {
      if (errno == EINTR) continue;
      const int err = errno;
      if (bytes_read != nullptr) *bytes_read = done;
      return WindowsError(err);
    }
    if (n == 0) break;  // end of file
    done += static_cast<std::size_t>(n);
  }
  if (bytes_read != nullptr) *bytes_read = done;
  return done == length ? error::kSuccess : error::kHandleEof;
}

std::uint32_t File::WriteAt(std::uint64_t offset, const void* buffer, std::size_t length) {
  if (!IsOpen()) return error::kInvalidHandle;
  if (length == 0) return error::kSuccess;
  if (buffer == nullptr || !RangeValid(offset, length)) return error::kInvalidParameter;

  const auto* in = static_cast<const unsigned char*>(buffer);
  std::size_t done = 0;
  while (done < length) {
    const ssize_t n =
        ::pwrite(Fd(handle_), in + done, length - done, static_cast<off_t>(offset + done));
    if (n < 0) {
      if (errno == EINTR) continue;
      return WindowsError(errno);
    }
    if (n == 0) return error::kDiskFull;
    done += static_cast<std::size_t>(n);
  }
  return error::kSuccess;
}

std::uint32_t File::Size(std::uint64_t& size) const {
  if (!IsOpen()) return error::kInvalidHandle;
  struct stat info {};
  if (::fstat(Fd(handle_), &info) != 0) return WindowsError(errno);
  size = static_cast<std::uint64_t>(info.st_size);
  return error::kSuccess;
}

std::uint32_t File::Truncate(std::uint64_t size) {
  if (!IsOpen()) return error::kInvalidHandle;
  if (size > kMaxOffset) return error::kInvalidParameter;
  int rc;
  do {
    rc = ::ftruncate(Fd(handle_), static_cast<off_t>(size));
  } while (rc != 0 && errno == EINTR);
  return rc == 0 ? error::kSuccess : WindowsError(errno);
}

std::uint32_t File::GetLastWriteTime(FileTime& time) const {
  if (!IsOpen()) return error::kInvalidHandle;
  struct stat info {};
  if (::fstat(Fd(handle_), &info) != 0) return WindowsError(errno);
  const std::int64_t seconds = static_cast<std::int64_t>(info.st_mtim.tv_sec) + kUnixEpochSeconds;
  if (seconds < 0) return error::kInvalidParameter;  // before 1601: no file time
  time = static_cast<FileTime>(seconds * kTicksPerSecond + info.st_mtim.tv_nsec / 100);
  return error::kSuccess;
}

std::uint32_t File::SetLastWriteTime(FileTime time) {
  if (!IsOpen()) return error::kInvalidHandle;
  // A zero file time leaves the time unchanged, as SetFileTime does.
  if (time == 0) return error::kSuccess;
  if (time >= 0x8000000000000000ULL) return error::kInvalidParameter;
  const auto ticks = static_cast<std::int64_t>(time);
  struct timespec times[2]{};
  times[0].tv_nsec = UTIME_OMIT;  // access time
  times[1].tv_sec = static_cast<time_t>(ticks / kTicksPerSecond - kUnixEpochSeconds);
  times[1].tv_nsec = static_cast<long>(ticks % kTicksPerSecond * 100);
  return ::futimens(Fd(handle_), times) == 0 ? error::kSuccess : WindowsError(errno);
}

}  // namespace quillon::platform
