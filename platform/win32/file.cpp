// File on Windows: a HANDLE from CreateFileW, shared with readers only, read
// and written at explicit offsets through OVERLAPPED.
#include "platform/file.h"

#include <windows.h>

#include <cstdint>
#include <limits>

#include "platform/win32/wide_path.h"

namespace quillon::platform {
namespace {

constexpr std::uint64_t kMaxOffset =
    static_cast<std::uint64_t>(std::numeric_limits<LONGLONG>::max());
// ReadFile and WriteFile take DWORD lengths; larger requests go in chunks.
constexpr std::size_t kMaxChunk = 0x40000000;

HANDLE Handle(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

bool RangeValid(std::uint64_t offset, std::size_t length) {
  return offset <= kMaxOffset && length <= kMaxOffset - offset;
}

OVERLAPPED At(std::uint64_t offset) {
  OVERLAPPED overlapped{};
  overlapped.Offset = static_cast<DWORD>(offset);
  overlapped.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return overlapped;
}

}  // namespace

std::uint32_t File::Open(std::u16string_view path, FileAccess access, FileDisposition disposition,
                         FileCaching caching) {
  Close();
  const auto wide = win32::WidePath(path);
  if (!wide) return win32::BadPathError(path);

  const DWORD desired =
      access == FileAccess::kReadWrite ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ;
  DWORD creation = OPEN_EXISTING;
  if (disposition == FileDisposition::kCreateAlways) creation = CREATE_ALWAYS;
  if (disposition == FileDisposition::kOpenAlways) creation = OPEN_ALWAYS;
  DWORD flags = FILE_ATTRIBUTE_NORMAL;
  if (caching == FileCaching::kRandomAccess) flags |= FILE_FLAG_RANDOM_ACCESS;
  if (caching == FileCaching::kSequentialScan) flags |= FILE_FLAG_SEQUENTIAL_SCAN;

  const HANDLE h =
      ::CreateFileW(wide->c_str(), desired, FILE_SHARE_READ, nullptr, creation, flags, nullptr);
  if (h == INVALID_HANDLE_VALUE) return ::GetLastError();
  handle_ = reinterpret_cast<std::intptr_t>(h);
  return error::kSuccess;
}

void File::Close() {
  if (IsOpen()) {
    ::CloseHandle(Handle(handle_));
    handle_ = -1;
  }
}

bool File::IsOpen() const { return handle_ != -1; }

std::uint32_t File::ReadAt(std::uint64_t offset, void* buffer, std::size_t length,
                           std::size_t* bytes_read) const {
  if (bytes_read != nullptr) *bytes_read = 0;
  if (!IsOpen()) return error::kInvalidHandle;
  if (length == 0) return error::kSuccess;
  if (buffer == nullptr || !RangeValid(offset, length)) return error::kInvalidParameter;

  auto* out = static_cast<unsigned char*>(buffer);
  std::size_t done = 0;
  std::uint32_t result = error::kSuccess;
  while (done < length) {
    const auto chunk = static_cast<DWORD>(length - done < kMaxChunk ? length - done : kMaxChunk);
    OVERLAPPED overlapped = At(offset + done);
    DWORD got = 0;
    if (!::ReadFile(Handle(handle_), out + done, chunk, &got, &overlapped)) {
      result = ::GetLastError();  // ERROR_HANDLE_EOF at or past the end
      break;
    }
    if (got == 0) {
      result = error::kHandleEof;
      break;
    }
    done += got;
  }
  if (bytes_read != nullptr) *bytes_read = done;
  return result;
}

std::uint32_t File::WriteAt(std::uint64_t offset, const void* buffer, std::size_t length) {
  if (!IsOpen()) return error::kInvalidHandle;
  if (length == 0) return error::kSuccess;
  if (buffer == nullptr || !RangeValid(offset, length)) return error::kInvalidParameter;

  const auto* in = static_cast<const unsigned char*>(buffer);
  std::size_t done = 0;
  while (done < length) {
    const auto chunk = static_cast<DWORD>(length - done < kMaxChunk ? length - done : kMaxChunk);
    OVERLAPPED overlapped = At(offset + done);
    DWORD written = 0;
    if (!::WriteFile(Handle(handle_), in + done, chunk, &written, &overlapped)) {
      return ::GetLastError();
    }
    if (written == 0) return error::kDiskFull;
    done += written;
  }
  return error::kSuccess;
}

std::uint32_t File::Size(std::uint64_t& size) const {
  if (!IsOpen()) return error::kInvalidHandle;
  LARGE_INTEGER value{};
  if (!::GetFileSizeEx(Handle(handle_), &value)) return ::GetLastError();
  size = static_cast<std::uint64_t>(value.QuadPart);
  return error::kSuccess;
}

std::uint32_t File::Truncate(std::uint64_t size) {
  if (!IsOpen()) return error::kInvalidHandle;
  if (size > kMaxOffset) return error::kInvalidParameter;
  LARGE_INTEGER position{};
  position.QuadPart = static_cast<LONGLONG>(size);
  if (!::SetFilePointerEx(Handle(handle_), position, nullptr, FILE_BEGIN) ||
      !::SetEndOfFile(Handle(handle_))) {
    // A failure must never read as success: without a code of its own it is
    // a general failure, as on POSIX.
    const DWORD code = ::GetLastError();
    return code != 0 ? code : error::kGenericFailure;
  }
  return error::kSuccess;
}

std::uint32_t File::GetLastWriteTime(FileTime& time) const {
  if (!IsOpen()) return error::kInvalidHandle;
  FILETIME written{};
  if (!::GetFileTime(Handle(handle_), nullptr, nullptr, &written)) return ::GetLastError();
  time = (static_cast<FileTime>(written.dwHighDateTime) << 32) | written.dwLowDateTime;
  return error::kSuccess;
}

std::uint32_t File::SetLastWriteTime(FileTime time) {
  if (!IsOpen()) return error::kInvalidHandle;
  // Zero means "leave unchanged" to SetFileTime; values with the top bit
  // set are refused. Both are decided here so every platform agrees.
  if (time == 0) return error::kSuccess;
  if (time >= 0x8000000000000000ULL) return error::kInvalidParameter;
  FILETIME written{};
  written.dwLowDateTime = static_cast<DWORD>(time);
  written.dwHighDateTime = static_cast<DWORD>(time >> 32);
  if (!::SetFileTime(Handle(handle_), nullptr, nullptr, &written)) return ::GetLastError();
  return error::kSuccess;
}

}  // namespace quillon::platform
