#include <CLI/CLI.hpp>
#include <memory>

#include "command/commands.h"
#include "command/helpformat.h"

namespace command {

namespace {

constexpr char kAbout[] = "Moves game models (mdc, mds, mdm with mdx) in and out of glTF scenes.";
constexpr char kMore[] =
    "Examples:\n"
    "  marrow export walk.glb -o models/walk.mdc\n"
    "  marrow import models/players/body.mds -o body.glb\n"
    "  marrow info models/walk.mdc\n"
    "  marrow COMMAND --help tells all of a command.\n"
    "\n"
    "Exit codes: 0 done; 1 failed; 2 wrong usage; 3 nothing was done (an empty scene, a range\n"
    "whose start lies above its end). Errors, warnings and notes go to standard error, one line\n"
    "each.";

}  // namespace

void DefineProgram(CLI::App& app, programstate& state) {
  app.name("marrow");
  app.description(kAbout);
  app.set_version_flag("--version", MARROW_VERSION);
  app.formatter(std::make_shared<helpformat>());
  app.allow_windows_style_options(false);  // a path may begin with a slash there too
  app.require_subcommand(1);
  DefineHandlers(app, state);
  DefineImport(app, state);
  DefineExport(app, state);
  DefineConvert(app, state);
  DefineInfo(app, state);
  DefineSequences(app, state);
  DefineView(app, state);
  app.footer(kMore);  // of the program alone: commands would take over one that is set before
}

}  // namespace command
