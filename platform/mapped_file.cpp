// The parts of read-only mapping that are the same on every platform:
// ownership transfer and the range checks.
#include "platform/mapped_file.h"

namespace quillon::platform {

FileMapping::~FileMapping() { Close(); }

FileMapping::FileMapping(FileMapping&& other) noexcept
    : handle_(other.handle_), size_(other.size_), access_(other.access_) {
  other.handle_ = -1;
  other.size_ = 0;
}

FileMapping& FileMapping::operator=(FileMapping&& other) noexcept {
  if (this != &other) {
    Close();
    handle_ = other.handle_;
    size_ = other.size_;
    access_ = other.access_;
    other.handle_ = -1;
    other.size_ = 0;
  }
  return *this;
}

std::uint32_t FileMapping::CheckViewRange(std::uint64_t offset, std::size_t& length) const {
  if (!IsOpen()) return error::kInvalidHandle;
  if (offset % AllocationGranularity() != 0 || offset >= size_) return error::kInvalidParameter;
  if (length == 0) length = static_cast<std::size_t>(size_ - offset);
  if (length > size_ - offset) return error::kInvalidParameter;
  return error::kSuccess;
}

MappedView::~MappedView() { Unmap(); }

MappedView::MappedView(MappedView&& other) noexcept
    : data_(other.data_), size_(other.size_), offset_(other.offset_), writable_(other.writable_) {
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
    writable_ = other.writable_;
    other.data_ = nullptr;
    other.size_ = 0;
    other.offset_ = 0;
  }
  return *this;
}

}  // namespace quillon::platform
