// Ownership of an open file, the same on every platform.
#include "platform/file.h"

namespace quillon::platform {

File::~File() { Close(); }

File::File(File&& other) noexcept : handle_(other.handle_) { other.handle_ = -1; }

File& File::operator=(File&& other) noexcept {
  if (this != &other) {
    Close();
    handle_ = other.handle_;
    other.handle_ = -1;
  }
  return *this;
}

}  // namespace quillon::platform
