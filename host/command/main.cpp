#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "command/commands.h"
#include "command/failure.h"
#include "command/run/dropped.h"
#include "command/run/eachinput.h"
#include "command/wording.h"
#include "files/cleanup.h"

namespace {

// As shells tell of a program that a signal ended.
[[maybe_unused]] constexpr int kSignalExit = 128;

// What is wrong with the arguments. An unknown option comes before what may follow from it, such
// as a name that is missing.
std::string Fault(const CLI::App& app, const CLI::ParseError& wrong) {
  const std::vector<CLI::App*> chosen = app.get_subcommands();
  const CLI::App& command = chosen.empty() ? app : *chosen.front();
  const std::vector<std::string> left = command.remaining();
  for (const std::string& argument : left) {
    if (argument.size() > 1 && argument[0] == '-') {
      const std::string typed = argument.substr(0, argument.find('='));
      std::vector<std::string> names;
      for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
          names.push_back("--" + name);
        }
      }
      return typed + " is not an option of " + command.get_name() +
             command::DidYouMean(typed, names);
    }
  }
  // The parser misses a command before it looks at what stands in its place.
  if (chosen.empty() && !left.empty()) {
    std::vector<std::string> names;
    for (const CLI::App* known : app.get_subcommands({})) {
      names.push_back(known->get_name());
    }
    return "there is no command " + left[0] + command::DidYouMean(left[0], names);
  }
  return wrong.what();
}

int Parse(std::vector<std::string> words, command::programstate& state) {
  CLI::App app;
  command::DefineProgram(app, state);
  std::ranges::reverse(words);  // as the parser takes them
  try {
    app.parse(std::move(words));
    return state.exitCode;
  } catch (const CLI::Success& wanted) {
    return app.exit(wanted);  // --help, --version
  } catch (const CLI::ParseError& wrong) {
    state.out.Error("", Fault(app, wrong) + " (--help tells more)");
    return command::kExitUsage;
  }
}

// A full disk behind standard output is found when the last of it is written. A reader that has
// gone wants no more of it, as the code by its signal says.
int Finish(command::programstate& state, int exitCode) {
  std::cout.flush();
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout.good()) {
    return exitCode;
  }
#ifdef SIGPIPE
  if (files::SawClosedPipe()) {
    return exitCode == command::kExitDone ? kSignalExit + SIGPIPE : exitCode;
  }
#endif
  state.out.Error("", "standard output cannot be written");
  return exitCode == command::kExitDone ? command::kExitFailed : exitCode;
}

}  // namespace

int main(int argc, char** argv) {
#ifdef SIGXFSZ
  // A write beyond the limit of file sizes is to fail and be told, not to end the program.
  std::signal(SIGXFSZ, SIG_IGN);
#endif
  files::CleanUpOnSignals();
  command::programstate state;
  const std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
  const auto run = [&](const std::vector<std::string>& line) {
    return command::Guarded(state.out, [&] { return Finish(state, Parse(line, state)); });
  };
  const std::optional<int> dropped = command::ConvertDropped(state.out, words, run);
  return dropped ? *dropped : run(words);
}
