// Read-only memory mapping of an open file.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/file.h"

namespace quillon::platform {

// The granularity that view start offsets must be multiples of
// (dwAllocationGranularity on Windows, the page size on POSIX).
std::uint32_t AllocationGranularity();

class MappedView;

// What the views of a mapping may do. Bytes stored through a writable view
// are in the system's file cache at once, like a completed WriteAt: they
// survive the end of the process, not a power cut.
enum class MappingAccess { kRead, kReadWrite };

// A mapping object over a whole file (CreateFileMappingW with PAGE_READONLY,
// or PAGE_READWRITE for a file opened for writing). Move-only. The file must
// stay open while views exist; while they do, it may grow but not shrink.
class FileMapping {
 public:
  FileMapping() = default;
  ~FileMapping();
  FileMapping(FileMapping&& other) noexcept;
  FileMapping& operator=(FileMapping&& other) noexcept;
  FileMapping(const FileMapping&) = delete;
  FileMapping& operator=(const FileMapping&) = delete;

  // Returns a Windows error code. An empty file cannot be mapped (1006).
  std::uint32_t Create(const File& file, MappingAccess access = MappingAccess::kRead);
  bool IsOpen() const;
  void Close();

  // Maps `length` bytes starting at `offset`, which must be a multiple of
  // AllocationGranularity() (87 otherwise). The range must lie inside the
  // file as it was when the mapping was created.
  std::uint32_t Map(std::uint64_t offset, std::size_t length, MappedView& view) const;

 private:
  // The checks every platform makes before mapping, so that all of them
  // refuse the same requests with the same code; a zero length becomes
  // "to the end of the file".
  std::uint32_t CheckViewRange(std::uint64_t offset, std::size_t& length) const;

  std::intptr_t handle_ = -1;  // mapping handle on Windows, dup'd fd on POSIX
  std::uint64_t size_ = 0;
  MappingAccess access_ = MappingAccess::kRead;
};

// One mapped view. Move-only; the destructor unmaps it.
class MappedView {
 public:
  MappedView() = default;
  ~MappedView();
  MappedView(MappedView&& other) noexcept;
  MappedView& operator=(MappedView&& other) noexcept;
  MappedView(const MappedView&) = delete;
  MappedView& operator=(const MappedView&) = delete;

  const std::uint8_t* data() const { return data_; }
  // The same bytes for storing; null unless the view was mapped from a
  // writable mapping.
  std::uint8_t* writable_data() const {
    return writable_ ? const_cast<std::uint8_t*>(data_) : nullptr;
  }
  std::size_t size() const { return size_; }
  std::uint64_t offset() const { return offset_; }
  bool IsMapped() const { return data_ != nullptr; }
  void Unmap();

 private:
  friend class FileMapping;
  void Attach(const std::uint8_t* data, std::size_t size, std::uint64_t offset, bool writable) {
    data_ = data;
    size_ = size;
    offset_ = offset;
    writable_ = writable;
  }

  const std::uint8_t* data_ = nullptr;
  std::size_t size_ = 0;
  std::uint64_t offset_ = 0;
  bool writable_ = false;
};

}  // namespace quillon::platform
