#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "command/commands.h"
#include "command/failure.h"
#include "command/helpformat.h"

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

int Parse(int argc, char** argv, command::programstate& state) {
  CLI::App app(kAbout, "marrow");
  app.set_version_flag("--version", MARROW_VERSION);
  app.formatter(std::make_shared<command::helpformat>());
  app.allow_windows_style_options(false);  // a path may begin with a slash there too
  app.require_subcommand(1);
  command::DefineHandlers(app, state);
  command::DefineImport(app, state);
  command::DefineExport(app, state);
  command::DefineConvert(app, state);
  command::DefineInfo(app, state);
  command::DefineSequences(app, state);
  app.footer(kMore);  // of the program alone: commands would take over one that is set before
  try {
    app.parse(argc, argv);
    return state.exitCode;
  } catch (const CLI::Success& wanted) {
    return app.exit(wanted);  // --help, --version
  } catch (const CLI::ParseError& wrong) {
    // The parser misses a command before it looks at what stands in its place.
    const std::vector<std::string> left = app.remaining();
    const bool unknown = app.get_subcommands().empty() && !left.empty() && left[0][0] != '-';
    state.out.Error("", (unknown ? "there is no command " + left[0] : std::string(wrong.what())) +
                            " (--help tells more)");
    return command::kExitUsage;
  }
}

// A full disk behind standard output is found when the last of it is written.
int Finish(command::programstate& state, int exitCode) {
  std::cout.flush();
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout.good()) {
    return exitCode;
  }
  state.out.Error("", "standard output cannot be written");
  return exitCode == command::kExitDone ? command::kExitFailed : exitCode;
}

}  // namespace

int main(int argc, char** argv) {
#ifdef SIGXFSZ
  // A write beyond the limit of file sizes is to fail and be told, not to end the program.
  std::signal(SIGXFSZ, SIG_IGN);
#endif
  command::programstate state;
  try {
    return Finish(state, Parse(argc, argv, state));
  } catch (const command::failure& failed) {
    state.out.Error(failed.Subject(), failed.what());
    return failed.ExitCode();
  } catch (const std::bad_alloc&) {
    state.out.Error("", "there is not enough memory");
  } catch (const std::exception& failed) {
    state.out.Error("", failed.what());
  }
  return command::kExitFailed;
}
