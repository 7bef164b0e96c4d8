// A unique file name in the system's temporary folder, removed again when
// the object goes away.
#pragma once

#include <atomic>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/file.h"

namespace quillon::platform::testing {

class TempPath {
 public:
  // `stem` is UTF-16 so that non-ASCII names mean the same on every platform.
  explicit TempPath(std::u16string_view stem) {
    static std::atomic<unsigned> counter{0};
    std::filesystem::path name(u"quillon_platform_" + std::u16string(stem));
    name += "_" + std::to_string(CurrentThreadId()) + "_" + std::to_string(counter++) + ".bin";
    path_ = std::filesystem::temp_directory_path() / name;
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  ~TempPath() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  TempPath(const TempPath&) = delete;
  TempPath& operator=(const TempPath&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::u16string u16() const { return path_.u16string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace quillon::platform::testing
