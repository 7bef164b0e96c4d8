// Mapping on Windows: a PAGE_READONLY (or PAGE_READWRITE) section over the
// whole file and MapViewOfFile views of it.
#include "platform/mapped_file.h"

#include <windows.h>

namespace quillon::platform {

std::uint32_t AllocationGranularity() {
  static const std::uint32_t granularity = [] {
    SYSTEM_INFO info{};
    ::GetSystemInfo(&info);
    return static_cast<std::uint32_t>(info.dwAllocationGranularity);
  }();
  return granularity;
}

std::uint32_t FileMapping::Create(const File& file, MappingAccess access) {
  Close();
  if (!file.IsOpen()) return error::kInvalidHandle;
  std::uint64_t size = 0;
  if (const std::uint32_t rc = file.Size(size); rc != error::kSuccess) return rc;
  if (size == 0) return ERROR_FILE_INVALID;
  const HANDLE section = ::CreateFileMappingW(
      reinterpret_cast<HANDLE>(file.NativeHandle()), nullptr,
      access == MappingAccess::kReadWrite ? PAGE_READWRITE : PAGE_READONLY, 0, 0, nullptr);
  if (section == nullptr) return ::GetLastError();
  handle_ = reinterpret_cast<std::intptr_t>(section);
  size_ = size;
  access_ = access;
  return error::kSuccess;
}

bool FileMapping::IsOpen() const { return handle_ != -1; }

void FileMapping::Close() {
  if (IsOpen()) {
    ::CloseHandle(reinterpret_cast<HANDLE>(handle_));
    handle_ = -1;
    size_ = 0;
  }
}

std::uint32_t FileMapping::Map(std::uint64_t offset, std::size_t length, MappedView& view) const {
  view.Unmap();
  if (const std::uint32_t rc = CheckViewRange(offset, length); rc != error::kSuccess) return rc;

  const bool writable = access_ == MappingAccess::kReadWrite;
  void* data = ::MapViewOfFile(
      reinterpret_cast<HANDLE>(handle_), writable ? FILE_MAP_READ | FILE_MAP_WRITE : FILE_MAP_READ,
      static_cast<DWORD>(offset >> 32), static_cast<DWORD>(offset), length);
  if (data == nullptr) return ::GetLastError();
  view.Attach(static_cast<const std::uint8_t*>(data), length, offset, writable);
  return error::kSuccess;
}

void MappedView::Unmap() {
  if (data_ != nullptr) {
    ::UnmapViewOfFile(data_);
    data_ = nullptr;
    size_ = 0;
    offset_ = 0;
    writable_ = false;
  }
}

}  // namespace quillon::platform
