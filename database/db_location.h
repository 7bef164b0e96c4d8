// Where the database lives: derived from the path of the module that holds
// this code. Build trees ("\release\", "\debug\") look three levels up,
// installed binaries ("\bin\") one level up, anything else uses the
// module's own directory.
#pragma once

#include <string>
#include <string_view>

namespace quillon::db {

// The database directory for a module at `module_path`. The rule is written
// with backslashes; `separator` stands in for each of them (a backslash on
// Windows, '/' on POSIX). The path is lower-cased for the tests; with
// `keep_case` the result keeps the original case (file systems that are
// case-sensitive), otherwise it is the lower-cased path as on Windows.
std::u16string DatabaseDirectoryForModule(std::u16string_view module_path, char16_t separator,
                                          bool keep_case);

// The directory for this module on this platform.
std::u16string DatabaseDirectoryForThisModule();

// `directory` + separator + `name`.
std::u16string JoinDbPath(std::u16string_view directory, std::u16string_view name);

}  // namespace quillon::db
