#include <CLI/CLI.hpp>
#include <cstdio>

#include "command/commands.h"
#include "command/run/modelrun.h"
#include "command/wording.h"

namespace command {

namespace {

void ListHandlers(programstate& state) {
  const modelhost host(state.out, state.modulePath);
  std::printf("%-5s  %-8s  %-12s  %s\n", "index", "kind", "name", "suffix");
  for (const module::handler& row : host.Module().Handlers()) {
    std::printf("%-5d  %-8s  %-12s  %s\n", row.index,
                row.importer != nullptr ? "importer" : "exporter", row.name.c_str(),
                Joined(row.extensions).c_str());
  }
  std::printf("module version %d\n", host.Module().Version());
}

}  // namespace

void DefineHandlers(CLI::App& app, programstate& state) {
  CLI::App* command = app.add_subcommand("handlers", "List what the module can import and export");
  DefineModule(*command, state);
  AddExamples(*command, {"marrow handlers", "marrow handlers --module build/lib/libmarrow.so"});
  command->callback([&state] { ListHandlers(state); });
}

void DefineQuiet(CLI::App& app, programstate& state) {
  app.add_flag_callback(
      "--quiet,-q", [&state] { state.out.SetQuiet(true); },
      "Say nothing but warnings and errors, and draw no progress bar");
  app.add_flag_callback(
      "--progress", [&state] { state.out.SetProgressLines(true); },
      "Print progress as lines of a percentage and a text on standard error, for a program that "
      "reads them");
}

void AddExamples(CLI::App& app, const std::vector<std::string>& lines) {
  std::string text = "Examples:";
  for (const std::string& line : lines) {
    text += "\n  " + line;
  }
  app.footer(text);
}

void DefineModule(CLI::App& app, programstate& state) {
  app.add_option("--module", state.modulePath,
                 "The module to load (default: the one installed with this program)")
      ->option_text("FILE");
}

}  // namespace command
