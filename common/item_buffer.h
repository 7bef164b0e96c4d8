// The payload bytes of one item, shared by reference counting.
//
// A buffer is valid only when it holds 1..8208 bytes. Counts are guarded
// by one process-wide lock (ItemBufferRef only); the bytes never change
// after construction, so readers need no lock.
#pragma once

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
  std::uint8_t* data_ = nullptr;
  std::uint32_t length_ = 0;
  std::uint32_t ref_count_ = 0;
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
  ItemBufferRef(ItemBufferRef&& other) noexcept;
  ItemBufferRef& operator=(ItemBufferRef&& other) noexcept;
  ~ItemBufferRef();

  bool IsValid() const { return valid_; }
  const ItemBuffer* Get() const { return buffer_; }
  const std::uint8_t* Data() const { return valid_ ? buffer_->Data() : nullptr; }
  std::uint32_t Length() const { return valid_ ? buffer_->Length() : 0; }
  std::uint32_t RefCount() const;  // for tests

 private:
  void Release();
  ItemBuffer* buffer_ = nullptr;
  bool valid_ = false;
};

}  // namespace quillon
