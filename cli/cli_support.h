// Helpers shared by the quillon subcommands: text conversion at the
// terminal edge and reporting of core failures.
#pragma once

#include <string>
#include <string_view>

#include "common/mis_exception.h"

namespace quillon::cli {

// Command-line arguments are UTF-8; the core takes UTF-16.
std::u16string PathArgument(std::string_view utf8);
std::string ToUtf8(std::u16string_view text);

// A short explanation of an error code of the item store file classes.
std::string_view DescribeStoreError(std::uint32_t code);

// Prints "quillon: <what> <path>: <explanation> (error N, category C)" to
// stderr. Returns the exit status to use (1).
int ReportFailure(std::string_view what, std::string_view path, const cMISException& error);

// Thrown by a subcommand callback to end the program with `status`.
struct ExitStatus {
  int status = 0;
};

}  // namespace quillon::cli
