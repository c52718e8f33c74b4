#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "command/commands.h"
#include "command/failure.h"

namespace {

int Parse(int argc, char** argv, command::programstate& state) {
  CLI::App app;
  command::DefineProgram(app, state);
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
