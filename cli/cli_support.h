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

// Prints "quillon: " and the error's own text to stderr; an error that names
// no operation is given `operation` ("cannot open x.isf"). Returns the exit
// status to use (1).
int ReportFailure(const cMISException& error, std::string_view operation);

// Thrown by a subcommand callback to end the program with `status`.
struct ExitStatus {
  int status = 0;
};

}  // namespace quillon::cli
