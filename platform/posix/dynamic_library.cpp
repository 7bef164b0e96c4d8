// Shared libraries on POSIX: dlopen, dlsym, dlclose.
#include "platform/dynamic_library.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <string>

#include "platform/posix/native_path.h"
#include "platform/text_codec.h"

namespace quillon::platform {

namespace {

using posix::BadPathError;
using posix::NativePath;

std::u16string LastLoaderMessage() {
  const char* text = ::dlerror();
  return text != nullptr ? Utf8ToUtf16(text) : std::u16string();
}

// dlopen has no error number: a file that is not there is reported as
// Windows reports a module it cannot find, anything else as a file that is
// not a loadable library.
std::uint32_t OpenError(const std::string& path) {
  if (path.find('/') == std::string::npos) return error::kModuleNotFound;
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 ? error::kBadExeFormat : error::kModuleNotFound;
}

}  // namespace

LibraryModule FindOpenLibrary(std::u16string_view path) {
  const auto native = NativePath(path);
  if (!native) return nullptr;
  void* module = ::dlopen(native->c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (module == nullptr) {
    ::dlerror();  // clear the message of the failed look-up
    return nullptr;
  }
  // RTLD_NOLOAD took a reference; give it back so that the module stays
  // owned by whoever loaded it, as a Windows module handle from
  // GetModuleHandleW is.
  ::dlclose(module);
  return module;
}

LibraryOpenResult OpenLibrary(std::u16string_view path, LibraryLoadMode mode) {
  LibraryOpenResult result;
  const auto native = NativePath(path);
  if (!native) {
    result.error = BadPathError(path);
    return result;
  }
  const int flags = (mode == LibraryLoadMode::kProbe ? RTLD_LAZY : RTLD_NOW) | RTLD_LOCAL;
  result.module = ::dlopen(native->c_str(), flags);
  if (result.module == nullptr) {
    result.message = LastLoaderMessage();
    result.error = OpenError(*native);
  }
  return result;
}

void CloseLibrary(LibraryModule module) {
  if (module != nullptr) ::dlclose(module);
}

void* LibrarySymbol(LibraryModule module, const char* name) {
  if (module == nullptr || name == nullptr) return nullptr;
  void* address = ::dlsym(module, name);
  if (address == nullptr) ::dlerror();
  return address;
}

std::string ExportSpelling(std::string_view decorated_name) {
  std::string name(decorated_name);
  for (char& c : name) {
    if (c == '@') c = '$';
  }
  return name;
}

std::u16string SharedLibraryFileName(std::u16string_view base_name) {
#if defined(__APPLE__)
  return std::u16string(base_name) + u".dylib";
#else
  return std::u16string(base_name) + u".so";
#endif
}

}  // namespace quillon::platform
