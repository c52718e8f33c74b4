#pragma once

// The program's commands. Each defines its options in the parser; when the parser meets the
// command it runs it and leaves the exit code.

#include <string>
#include <vector>

#include "command/console.h"
#include "command/memorylimit.h"

namespace CLI {
class App;
}  // namespace CLI

namespace command {

struct programstate {
  console out;
  std::string modulePath;  // empty: the module beside the program
  memorylimit memory;
  int exitCode = 0;
};

// The whole program: its own options and every command.
void DefineProgram(CLI::App& app, programstate& state);

void DefineHandlers(CLI::App& app, programstate& state);
void DefineImport(CLI::App& app, programstate& state);
void DefineExport(CLI::App& app, programstate& state);
void DefineConvert(CLI::App& app, programstate& state);
void DefineInfo(CLI::App& app, programstate& state);
void DefineSequences(CLI::App& app, programstate& state);
void DefineView(CLI::App& app, programstate& state);

// What every command has: --quiet with --progress, --module.
void DefineQuiet(CLI::App& app, programstate& state);
void DefineModule(CLI::App& app, programstate& state);

// The end of a command's help.
void AddExamples(CLI::App& app, const std::vector<std::string>& lines);

}  // namespace command
