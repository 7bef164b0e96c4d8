// The subcommands of the quillon tool. Each Add*Command registers one
// subcommand (its options and its callback) on the application.
#pragma once

#include <CLI/CLI.hpp>

namespace quillon::cli {

void AddDumpCommand(CLI::App& app);
void AddInfoCommand(CLI::App& app);
void AddSampleCommand(CLI::App& app);
void AddDbCommands(CLI::App& app);
void AddExportCommand(CLI::App& app);

}  // namespace quillon::cli
