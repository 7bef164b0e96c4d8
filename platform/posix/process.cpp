// Thread, module and clock queries on POSIX.
#include <dlfcn.h>
#include <pthread.h>
#include <time.h>
#include <unistd.h>
#if defined(__linux__)
#include <sys/syscall.h>
#endif

#include <cstdint>
#include <functional>
#include <string>

#include "platform/clock.h"
#include "platform/file.h"
#include "platform/text_codec.h"

namespace quillon::platform {

std::uint32_t CurrentThreadId() {
#if defined(__linux__)
  // Kernel thread ids are pid_t values, positive and below 2^22 by default.
  return static_cast<std::uint32_t>(::syscall(SYS_gettid));
#else
  return static_cast<std::uint32_t>(std::hash<pthread_t>{}(::pthread_self()));
#endif
}

std::u16string ModulePath() {
  // dladdr on a function of this library names the shared object holding
  // it; for a library linked statically into a program it names the
  // program, which glibc may report by its argv[0], so that case is
  // resolved through /proc.
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&ModulePath), &info) != 0 && info.dli_fname != nullptr &&
      info.dli_fname[0] == '/') {
    return Utf8ToUtf16(info.dli_fname);
  }
  std::string buffer(4096, '\0');
  const ssize_t n = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
  if (n <= 0 || static_cast<std::size_t>(n) >= buffer.size()) return {};
  buffer.resize(static_cast<std::size_t>(n));
  return Utf8ToUtf16(buffer);
}

FileTime CurrentFileTime() {
  struct timespec now {};
  ::clock_gettime(CLOCK_REALTIME, &now);
  const auto seconds = static_cast<std::uint64_t>(now.tv_sec) + 11'644'473'600ULL;
  return seconds * 10'000'000ULL + static_cast<std::uint64_t>(now.tv_nsec) / 100;
}

}  // namespace quillon::platform
