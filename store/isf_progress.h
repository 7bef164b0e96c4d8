// Progress notifications of the long item store file operations (opening
// walks the block chain; recovery also counts entries).
#pragma once

#include <cstdint>

namespace quillon {

class ProgressSink {
 public:
  virtual ~ProgressSink() = default;
  // Called after every 64th block walked, with the number of blocks walked so
  // far, the file offset reached and the file size. Must not throw.
  virtual void OnBlocksWalked(std::uint32_t blocks_walked, std::uint64_t position,
                              std::uint64_t file_size) = 0;
};

}  // namespace quillon
