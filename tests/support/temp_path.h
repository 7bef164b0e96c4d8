// A unique path in the system's temporary folder, removed again when the
// object goes away: the one temporary-file word of every test folder.
#pragma once

#include <atomic>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <system_error>

namespace quillon::testsupport {

class TempPath {
 public:
  // `stem` is UTF-16 so that non-ASCII names mean the same on every
  // platform. The name also holds a per-process salt and a counter, so
  // test executables running side by side never share a path.
  explicit TempPath(std::u16string_view stem = u"file", std::u16string_view extension = u".bin") {
    static std::atomic<unsigned> counter{0};
    static const unsigned salt = std::random_device{}();
    std::filesystem::path name(u"quillon_" + std::u16string(stem));
    name += "_" + std::to_string(salt) + "_" + std::to_string(counter++);
    name += std::u16string(extension);
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

}  // namespace quillon::testsupport
