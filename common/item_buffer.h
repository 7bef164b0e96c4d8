// The payload bytes of one item, shared by reference counting.
//
// A buffer is valid only when it holds 1..8208 bytes. Counts are atomic
// (ItemBufferRef only), which gives every holder on every thread the same
// guarantees as one process-wide lock without making readers wait on each
// other; the bytes never change after construction, so readers need no lock.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>

namespace quillon {

inline constexpr std::uint32_t kMaxItemPayload = 8208;

class ItemBuffer {
 public:
  // Copies `length` bytes when 1 <= length <= 8208 and data is non-null;
  // otherwise the buffer stays empty and invalid. Throws std::bad_alloc.
  ItemBuffer(const void* data, std::size_t length);
  ~ItemBuffer();
  ItemBuffer(const ItemBuffer&) = delete;
  ItemBuffer& operator=(const ItemBuffer&) = delete;

  bool IsValid() const { return data_ != nullptr && length_ >= 1 && length_ <= kMaxItemPayload; }
  const std::uint8_t* Data() const { return data_; }
  std::uint32_t Length() const { return length_; }
  std::span<const std::uint8_t> Bytes() const { return {data_, length_}; }

 private:
  friend class ItemBufferRef;
  struct InlineTag {};
  // A buffer whose bytes follow it in the same allocation (ItemBufferRef::
  // Make): one allocation per payload instead of two.
  ItemBuffer(InlineTag, const void* data, std::uint32_t length);
  static void Destroy(ItemBuffer* buffer);

  std::uint8_t* data_ = nullptr;
  std::uint32_t length_ = 0;
  bool inline_bytes_ = false;
  std::atomic<std::uint32_t> ref_count_{0};
};

// A holder of one reference. Holding an invalid buffer holds nothing: the
// buffer is deleted if nobody else references it and the holder is empty.
class ItemBufferRef {
 public:
  ItemBufferRef() = default;
  // Takes ownership of a freshly made buffer (reference count 0).
  static ItemBufferRef Adopt(ItemBuffer* buffer);
  // Convenience: a new buffer with a copy of the bytes.
  static ItemBufferRef Make(const void* data, std::size_t length);
  ItemBufferRef(const ItemBufferRef& other);
  ItemBufferRef& operator=(const ItemBufferRef& other);
  // Moves and the destruction of an empty holder are inline: items pass
  // their buffer along by moving it, and that costs no atomic operation.
  ItemBufferRef(ItemBufferRef&& other) noexcept : buffer_(other.buffer_), valid_(other.valid_) {
    other.buffer_ = nullptr;
    other.valid_ = false;
  }
  ItemBufferRef& operator=(ItemBufferRef&& other) noexcept {
    if (this == &other) return *this;
    Release();
    buffer_ = other.buffer_;
    valid_ = other.valid_;
    other.buffer_ = nullptr;
    other.valid_ = false;
    return *this;
  }
  ~ItemBufferRef() {
    if (valid_) Release();
  }

  bool IsValid() const { return valid_; }
  const ItemBuffer* Get() const { return buffer_; }
  const std::uint8_t* Data() const { return valid_ ? buffer_->Data() : nullptr; }
  std::uint32_t Length() const { return valid_ ? buffer_->Length() : 0; }
  std::uint32_t RefCount() const;  // for tests

 private:
  void Release();  // drops the reference, if any
  ItemBuffer* buffer_ = nullptr;
  bool valid_ = false;
};

}  // namespace quillon
