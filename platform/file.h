// Positioned file access with Windows semantics on every platform.
//
// Errors are returned as Windows system error codes (2 file not found,
// 5 access denied, 32 sharing violation, 38 end of file, 87 invalid
// parameter, 112 disk full ...). POSIX errno values are mapped onto those
// codes so callers see the same numbers everywhere.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillon::platform {

// Windows system error codes used across the platform layer.
namespace error {
inline constexpr std::uint32_t kSuccess = 0;
inline constexpr std::uint32_t kFileNotFound = 2;
inline constexpr std::uint32_t kPathNotFound = 3;
inline constexpr std::uint32_t kAccessDenied = 5;
inline constexpr std::uint32_t kInvalidHandle = 6;
inline constexpr std::uint32_t kNotEnoughMemory = 8;
inline constexpr std::uint32_t kWriteProtect = 19;
inline constexpr std::uint32_t kSharingViolation = 32;
inline constexpr std::uint32_t kHandleEof = 38;
inline constexpr std::uint32_t kFileExists = 80;
inline constexpr std::uint32_t kInvalidParameter = 87;
inline constexpr std::uint32_t kDiskFull = 112;
inline constexpr std::uint32_t kAlreadyExists = 183;
inline constexpr std::uint32_t kFilenameTooLong = 206;
inline constexpr std::uint32_t kGenericFailure = 31;  // ERROR_GEN_FAILURE
}  // namespace error

// 100 ns intervals since 1601-01-01 00:00:00 UTC (a Windows FILETIME).
using FileTime = std::uint64_t;

enum class FileAccess { kRead, kReadWrite };

// Mirrors CreateFileW's creation dispositions.
enum class FileDisposition {
  kCreateAlways,  // create or replace, truncating an existing file
  kOpenAlways,    // open, creating an empty file when missing
  kOpenExisting,  // open, failing with 2 when missing
};

// Caching hint; only meaningful on Windows, ignored elsewhere.
enum class FileCaching { kNormal, kRandomAccess, kSequentialScan };

// An open file. Move-only; the destructor closes the handle.
// Every operation returns a Windows error code (0 on success).
// Other processes may read the file while it is open; writers are refused
// (share mode FILE_SHARE_READ).
class File {
 public:
  File() = default;
  ~File();
  File(File&& other) noexcept;
  File& operator=(File&& other) noexcept;
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  // Opens `path` (UTF-16). On failure the object stays closed.
  std::uint32_t Open(std::u16string_view path, FileAccess access, FileDisposition disposition,
                     FileCaching caching = FileCaching::kNormal);
  void Close();
  bool IsOpen() const;

  // Reads exactly `length` bytes at `offset`. A short read (end of file)
  // returns kHandleEof and leaves `bytes_read` at what was read.
  std::uint32_t ReadAt(std::uint64_t offset, void* buffer, std::size_t length,
                       std::size_t* bytes_read = nullptr) const;
  // Writes all `length` bytes at `offset`, growing the file as needed.
  std::uint32_t WriteAt(std::uint64_t offset, const void* buffer, std::size_t length);
  std::uint32_t Size(std::uint64_t& size) const;
  // Sets the end of file to `size` (shrinks or grows with zeros).
  std::uint32_t Truncate(std::uint64_t size);
  std::uint32_t GetLastWriteTime(FileTime& time) const;
  std::uint32_t SetLastWriteTime(FileTime time);

  // The native handle (an int file descriptor on POSIX, a HANDLE on
  // Windows) for the memory-mapping code of this layer.
  std::intptr_t NativeHandle() const { return handle_; }

 private:
  std::intptr_t handle_ = -1;
};

// True when the path names an existing file or directory (its attributes
// can be read, as GetFileAttributesW != INVALID_FILE_ATTRIBUTES).
bool PathExists(std::u16string_view path);
// Deletes a file; returns a Windows error code.
std::uint32_t DeleteFilePath(std::u16string_view path);
// GetDriveTypeW(root) == DRIVE_FIXED. `root` is "C:\" on Windows. On POSIX
// there are no drive letters and this is always false; callers apply their
// own POSIX rule (see IsLocalFixedPath).
bool IsFixedDriveRoot(std::u16string_view root);
// POSIX only: true when an absolute path lies on a local, non-network file
// system. Always false on Windows (drive letters decide there).
bool IsLocalFixedPath(std::u16string_view path);
// The platform's path separator: u'\\' on Windows, u'/' on POSIX.
char16_t PathSeparator();
// Identifier of the calling thread (GetCurrentThreadId on Windows).
std::uint32_t CurrentThreadId();
// The full path of the module (shared library or executable) holding this
// code, as GetModuleFileNameW would give it. Empty on failure.
std::u16string ModulePath();

}  // namespace quillon::platform
