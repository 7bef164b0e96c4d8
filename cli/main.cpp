// quillon: the command-line tool over item store files.
#include <CLI/CLI.hpp>

#include "cli/cli_support.h"
#include "cli/commands.h"

int main(int argc, char** argv) {
  CLI::App app{"quillon: read, write and render item store files (.isf)"};
  app.require_subcommand(1);
  // Arguments such as "/data/x.isf" are paths, never "/option" switches,
  // on every platform (subcommands inherit this).
  app.allow_windows_style_options(false);
  quillon::cli::AddDumpCommand(app);
  quillon::cli::AddInfoCommand(app);
  quillon::cli::AddSampleCommand(app);
  quillon::cli::AddDbCommands(app);
  quillon::cli::AddExportCommand(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  } catch (const quillon::cli::ExitStatus& exit) {
    return exit.status;
  }
  return 0;
}
