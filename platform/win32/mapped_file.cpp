// Read-only mapping on Windows: a PAGE_READONLY section over the whole file
// and MapViewOfFile views of it.
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

FileMapping::~FileMapping() { Close(); }

FileMapping::FileMapping(FileMapping&& other) noexcept
    : handle_(other.handle_), size_(other.size_) {
  other.handle_ = -1;
  other.size_ = 0;
}

FileMapping& FileMapping::operator=(FileMapping&& other) noexcept {
  if (this != &other) {
    Close();
    handle_ = other.handle_;
    size_ = other.size_;
    other.handle_ = -1;
    other.size_ = 0;
  }
  return *this;
}

std::uint32_t FileMapping::Create(const File& file) {
  Close();
  if (!file.IsOpen()) return error::kInvalidHandle;
  std::uint64_t size = 0;
  if (const std::uint32_t rc = file.Size(size); rc != error::kSuccess) return rc;
  if (size == 0) return ERROR_FILE_INVALID;
  const HANDLE section = ::CreateFileMappingW(reinterpret_cast<HANDLE>(file.NativeHandle()),
                                              nullptr, PAGE_READONLY, 0, 0, nullptr);
  if (section == nullptr) return ::GetLastError();
  handle_ = reinterpret_cast<std::intptr_t>(section);
  size_ = size;
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
  if (!IsOpen()) return error::kInvalidHandle;
  // The range is checked here rather than left to the system so that every
  // platform refuses the same requests with the same code.
  if (offset % AllocationGranularity() != 0 || offset >= size_) return error::kInvalidParameter;
  if (length == 0) length = static_cast<std::size_t>(size_ - offset);
  if (length > size_ - offset) return error::kInvalidParameter;

  void* data =
      ::MapViewOfFile(reinterpret_cast<HANDLE>(handle_), FILE_MAP_READ,
                      static_cast<DWORD>(offset >> 32), static_cast<DWORD>(offset), length);
  if (data == nullptr) return ::GetLastError();
  view.data_ = static_cast<const std::uint8_t*>(data);
  view.size_ = length;
  view.offset_ = offset;
  return error::kSuccess;
}

MappedView::~MappedView() { Unmap(); }

MappedView::MappedView(MappedView&& other) noexcept
    : data_(other.data_), size_(other.size_), offset_(other.offset_) {
  other.data_ = nullptr;
  other.size_ = 0;
  other.offset_ = 0;
}

MappedView& MappedView::operator=(MappedView&& other) noexcept {
  if (this != &other) {
    Unmap();
    data_ = other.data_;
    size_ = other.size_;
    offset_ = other.offset_;
    other.data_ = nullptr;
    other.size_ = 0;
    other.offset_ = 0;
  }
  return *this;
}

void MappedView::Unmap() {
  if (data_ != nullptr) {
    ::UnmapViewOfFile(data_);
    data_ = nullptr;
    size_ = 0;
    offset_ = 0;
  }
}

}  // namespace quillon::platform
