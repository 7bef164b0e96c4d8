#include "common/item_buffer.h"

#include <cstring>
#include <new>

namespace quillon {

ItemBuffer::ItemBuffer(const void* data, std::size_t length) {
  if (data == nullptr || length < 1 || length > kMaxItemPayload) return;
  data_ = new std::uint8_t[length];
  std::memcpy(data_, data, length);
  length_ = static_cast<std::uint32_t>(length);
}

ItemBuffer::ItemBuffer(InlineTag, const void* data, std::uint32_t length)
    : data_(reinterpret_cast<std::uint8_t*>(this + 1)), length_(length), inline_bytes_(true) {
  std::memcpy(data_, data, length);
}

ItemBuffer::~ItemBuffer() {
  if (!inline_bytes_) delete[] data_;
}

void ItemBuffer::Destroy(ItemBuffer* buffer) {
  if (!buffer->inline_bytes_) {
    delete buffer;
    return;
  }
  buffer->~ItemBuffer();
  ::operator delete(static_cast<void*>(buffer));
}

ItemBufferRef ItemBufferRef::Adopt(ItemBuffer* buffer) {
  ItemBufferRef ref;
  if (buffer == nullptr) return ref;
  if (!buffer->IsValid()) {
    if (buffer->ref_count_.load(std::memory_order_acquire) == 0) ItemBuffer::Destroy(buffer);
    return ref;
  }
  buffer->ref_count_.fetch_add(1, std::memory_order_relaxed);
  ref.buffer_ = buffer;
  ref.valid_ = true;
  return ref;
}

ItemBufferRef ItemBufferRef::Make(const void* data, std::size_t length) {
  if (data == nullptr || length < 1 || length > kMaxItemPayload) return {};
  void* memory = ::operator new(sizeof(ItemBuffer) + length);
  // Nobody else can see the new buffer yet: its first reference needs no
  // atomic increment.
  ItemBufferRef ref;
  ref.buffer_ =
      new (memory) ItemBuffer(ItemBuffer::InlineTag{}, data, static_cast<std::uint32_t>(length));
  ref.buffer_->ref_count_.store(1, std::memory_order_relaxed);
  ref.valid_ = true;
  return ref;
}

ItemBufferRef::ItemBufferRef(const ItemBufferRef& other) {
  if (!other.valid_) return;
  other.buffer_->ref_count_.fetch_add(1, std::memory_order_relaxed);
  buffer_ = other.buffer_;
  valid_ = true;
}

ItemBufferRef& ItemBufferRef::operator=(const ItemBufferRef& other) {
  if (this == &other || (valid_ && buffer_ == other.buffer_)) return *this;
  ItemBufferRef copy(other);
  *this = std::move(copy);
  return *this;
}

std::uint32_t ItemBufferRef::RefCount() const {
  if (!valid_) return 0;
  return buffer_->ref_count_.load(std::memory_order_acquire);
}

void ItemBufferRef::Release() {
  if (!valid_) return;
  // A sole holder deletes without an atomic decrement: nobody else can take
  // a reference, since taking one needs a holder to copy from. Otherwise the
  // last holder sees every other holder's release before it deletes.
  if (buffer_->ref_count_.load(std::memory_order_acquire) == 1 ||
      buffer_->ref_count_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    ItemBuffer::Destroy(buffer_);
  }
  buffer_ = nullptr;
  valid_ = false;
}

}  // namespace quillon
