#include "common/item_buffer.h"

#include <cstring>
#include <mutex>

namespace quillon {

namespace {

// One lock for every buffer's count. Counts change only when items are
// made, copied or destroyed, so contention is low and a single lock keeps
// the count and the delete decision trivially consistent.
std::mutex& CountLock() {
  static std::mutex lock;
  return lock;
}

}  // namespace

ItemBuffer::ItemBuffer(const void* data, std::size_t length) {
  if (data == nullptr || length < 1 || length > kMaxItemPayload) return;
  data_ = new std::uint8_t[length];
  std::memcpy(data_, data, length);
  length_ = static_cast<std::uint32_t>(length);
}

ItemBuffer::~ItemBuffer() { delete[] data_; }

ItemBufferRef ItemBufferRef::Adopt(ItemBuffer* buffer) {
  ItemBufferRef ref;
  if (buffer == nullptr) return ref;
  if (!buffer->IsValid()) {
    // Nobody can reference a fresh buffer yet, so an invalid one is simply
    // discarded and the holder stays empty.
    bool unreferenced;
    {
      std::lock_guard<std::mutex> guard(CountLock());
      unreferenced = buffer->ref_count_ == 0;
    }
    if (unreferenced) delete buffer;
    return ref;
  }
  {
    std::lock_guard<std::mutex> guard(CountLock());
    ++buffer->ref_count_;
  }
  ref.buffer_ = buffer;
  ref.valid_ = true;
  return ref;
}

ItemBufferRef ItemBufferRef::Make(const void* data, std::size_t length) {
  return Adopt(new ItemBuffer(data, length));
}

ItemBufferRef::ItemBufferRef(const ItemBufferRef& other) {
  if (!other.valid_) return;
  {
    std::lock_guard<std::mutex> guard(CountLock());
    ++other.buffer_->ref_count_;
  }
  buffer_ = other.buffer_;
  valid_ = true;
}

ItemBufferRef& ItemBufferRef::operator=(const ItemBufferRef& other) {
  if (this == &other || (valid_ && buffer_ == other.buffer_)) return *this;
  ItemBufferRef copy(other);
  *this = std::move(copy);
  return *this;
}

ItemBufferRef::ItemBufferRef(ItemBufferRef&& other) noexcept
    : buffer_(other.buffer_), valid_(other.valid_) {
  other.buffer_ = nullptr;
  other.valid_ = false;
}

ItemBufferRef& ItemBufferRef::operator=(ItemBufferRef&& other) noexcept {
  if (this == &other) return *this;
  Release();
  buffer_ = other.buffer_;
  valid_ = other.valid_;
  other.buffer_ = nullptr;
  other.valid_ = false;
  return *this;
}

ItemBufferRef::~ItemBufferRef() { Release(); }

std::uint32_t ItemBufferRef::RefCount() const {
  if (!valid_) return 0;
  std::lock_guard<std::mutex> guard(CountLock());
  return buffer_->ref_count_;
}

void ItemBufferRef::Release() {
  if (!valid_) return;
  bool last;
  {
    std::lock_guard<std::mutex> guard(CountLock());
    last = --buffer_->ref_count_ == 0;
  }
  // The last holder is the only one left that can see the buffer, so it
  // may be deleted outside the lock.
  if (last) delete buffer_;
  buffer_ = nullptr;
  valid_ = false;
}

}  // namespace quillon
