// The subcommands of the quillon tool. Each Add*Command registers its
// subcommands (options and callbacks) on the application.
#pragma once

#include <CLI/CLI.hpp>

namespace quillon::cli {

void AddInfoCommand(CLI::App& app);
void AddDumpCommand(CLI::App& app);
void AddShowCommand(CLI::App& app);
void AddFieldsCommand(CLI::App& app);
void AddWriteCommands(CLI::App& app);  // add-strings, copy, recover
void AddEventCommands(CLI::App& app);
void AddSampleCommand(CLI::App& app);
void AddDbCommands(CLI::App& app);
void AddExportCommand(CLI::App& app);

}  // namespace quillon::cli
