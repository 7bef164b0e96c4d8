// quillon: the command-line tool over item store files.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

#include "cli/cli_support.h"
#include "cli/commands.h"

namespace {

constexpr const char* kFooter =
    "Reading commands never write to FILE: a capture that was never closed is recovered in\n"
    "memory (only 'recover' writes its trailer), and unreadable items are reported on stderr\n"
    "while the rest is shown.\n"
    "\n"
    "The database is found from the tool's location (../Database beside bin/) unless --db\n"
    "names one; its subdirectories are user databases.\n"
    "\n"
    "Exit status: 0 done; 1 failed (a file could not be opened, read or written, a bad index);\n"
    "2 bad command, option or argument; 3 done, but some items could not be read.";

// The first argument that is neither an option nor the value of --db.
std::string CommandWord(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--db") {
      ++i;
    } else if (arg.empty() || arg[0] != '-') {
      return arg;
    }
  }
  return {};
}

}  // namespace

int main(int argc, char** argv) {
  using namespace quillon::cli;
  CLI::App app{"quillon: read, write and render item store files (.isf)"};
  app.require_subcommand(1);
  app.fallthrough();
  app.footer(kFooter);
  // Arguments such as "/data/x.isf" are paths, never "/option" switches,
  // on every platform (subcommands inherit this).
  app.allow_windows_style_options(false);
  app.add_option("--db", Globals().database,
                 "Database directory (default: found from the tool's location)");
  AddInfoCommand(app);
  AddDumpCommand(app);
  AddShowCommand(app);
  AddFieldsCommand(app);
  AddWriteCommands(app);
  AddEventCommands(app);
  AddSampleCommand(app);
  AddDbCommands(app);
  AddExportCommand(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& help) {
    return app.exit(help);
  } catch (const CLI::CallForAllHelp& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    const std::string word = CommandWord(argc, argv);
    std::string commands;
    bool known = false;
    for (const CLI::App* sub : app.get_subcommands({})) {
      commands += (commands.empty() ? "" : ", ") + sub->get_name();
      known = known || sub->get_name() == word;
    }
    if (app.get_subcommands().empty() && !word.empty() && !known) {
      std::fprintf(stderr, "quillon: unknown command '%s' (commands: %s; see quillon --help)\n",
                   word.c_str(), commands.c_str());
      return kExitUsage;
    }
    app.exit(error);
    return kExitUsage;
  } catch (const ExitStatus& exit) {
    return exit.status;
  }
  return kExitOk;
}
