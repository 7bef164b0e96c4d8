// Shared libraries loaded at run time, with the Windows loader's semantics
// on every platform: a library already mapped into the process can be used
// without taking a reference, a probe mapping can precede the full load,
// and failures are Windows system error codes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillon::platform {

// A loaded library; null for none. Windows: an HMODULE; POSIX: a dlopen
// handle.
using LibraryModule = void*;

namespace error {
inline constexpr std::uint32_t kModuleNotFound = 126;  // ERROR_MOD_NOT_FOUND
inline constexpr std::uint32_t kBadExeFormat = 193;    // ERROR_BAD_EXE_FORMAT
}  // namespace error

enum class LibraryLoadMode {
  // Maps the library without running its initialisation and without
  // resolving its imports where the platform can (Windows:
  // LoadLibraryExW with DONT_RESOLVE_DLL_REFERENCES); enough to look up
  // exports, never to call them. POSIX has no such mapping: the probe is a
  // lazy dlopen, which runs the library's constructors.
  kProbe,
  // The ordinary load (Windows: LoadLibraryW; POSIX: dlopen RTLD_NOW |
  // RTLD_LOCAL).
  kFull,
};

struct LibraryOpenResult {
  LibraryModule module = nullptr;  // null on failure
  std::uint32_t error = 0;         // the Windows error code of a failure
  std::u16string message;          // the loader's own words, when it has any
};

// The module already mapped into the process under `path` (Windows:
// GetModuleHandleW; POSIX: dlopen RTLD_NOLOAD). No reference is taken:
// the caller must never free it. Null when it is not mapped.
LibraryModule FindOpenLibrary(std::u16string_view path);

// Loads `path`. A path without a directory is searched for the way the
// platform's loader searches. Every successful open must be balanced by
// one CloseLibrary.
LibraryOpenResult OpenLibrary(std::u16string_view path, LibraryLoadMode mode);

// Releases one reference taken by OpenLibrary.
void CloseLibrary(LibraryModule module);

// The address of the export `name` (spelled by ExportSpelling), or null.
void* LibrarySymbol(LibraryModule module, const char* name);

// How an export with a decorated name is spelled in this platform's
// libraries. Windows keeps the name. ELF cannot carry "@" in a symbol name
// (GNU ld reads "name@@version" as a versioned symbol), so POSIX spells
// every "@" as "$": "?RegisterParserW@@YAPAGXZ" is
// "?RegisterParserW$$YAPAGXZ".
std::string ExportSpelling(std::string_view decorated_name);

// The file name of the library with this base name on this platform:
// "X.dll" on Windows, "X.so" on ELF systems, "X.dylib" on macOS.
std::u16string SharedLibraryFileName(std::u16string_view base_name);

}  // namespace quillon::platform
