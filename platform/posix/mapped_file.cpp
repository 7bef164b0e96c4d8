// Mapping on POSIX: the mapping object is a duplicate of the
// file's descriptor (so it outlives a moved or reopened File), each view an
// mmap of the file.
#include "platform/mapped_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/native_path.h"

namespace quillon::platform {

namespace {
#ifdef MAP_POPULATE
constexpr int kPopulate = MAP_POPULATE;
#else
constexpr int kPopulate = 0;
#endif
}  // namespace

std::uint32_t AllocationGranularity() {
  static const std::uint32_t granularity = [] {
    const long page = ::sysconf(_SC_PAGESIZE);
    return page > 0 ? static_cast<std::uint32_t>(page) : 4096u;
  }();
  return granularity;
}

std::uint32_t FileMapping::Create(const File& file, MappingAccess access) {
  Close();
  if (!file.IsOpen()) return error::kInvalidHandle;
  std::uint64_t size = 0;
  if (const std::uint32_t rc = file.Size(size); rc != error::kSuccess) return rc;
  if (size == 0) return 1006;  // ERROR_FILE_INVALID: an empty file has nothing to map
  const int fd = ::fcntl(static_cast<int>(file.NativeHandle()), F_DUPFD_CLOEXEC, 0);
  if (fd < 0) return posix::WindowsError(errno);
  handle_ = fd;
  size_ = size;
  access_ = access;
  return error::kSuccess;
}

bool FileMapping::IsOpen() const { return handle_ >= 0; }

void FileMapping::Close() {
  if (handle_ >= 0) {
    ::close(static_cast<int>(handle_));
    handle_ = -1;
    size_ = 0;
  }
}

std::uint32_t FileMapping::Map(std::uint64_t offset, std::size_t length, MappedView& view) const {
  view.Unmap();
  if (const std::uint32_t rc = CheckViewRange(offset, length); rc != error::kSuccess) return rc;

  const bool writable = access_ == MappingAccess::kReadWrite;
  // MAP_POPULATE: views are read through at once (a block and its records),
  // so their pages are set up in one go instead of one fault at a time.
  void* data =
      ::mmap(nullptr, length, writable ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED | kPopulate,
             static_cast<int>(handle_), static_cast<off_t>(offset));
  if (data == MAP_FAILED) return posix::WindowsError(errno);
  view.Attach(static_cast<const std::uint8_t*>(data), length, offset, writable);
  return error::kSuccess;
}

void MappedView::Unmap() {
  if (data_ != nullptr) {
    ::munmap(const_cast<std::uint8_t*>(data_), size_);
    data_ = nullptr;
    size_ = 0;
    offset_ = 0;
    writable_ = false;
  }
}

}  // namespace quillon::platform
