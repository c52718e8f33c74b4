#include "command/outputs.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <set>
#include <thread>

#include "command/failure.h"
#include "command/files/paths.h"
#include "command/wording.h"
#include "core/utf8path.h"

namespace command {

namespace {

constexpr unsigned kMostJobs = 256;

bool IsFolder(const std::string& path) {
  std::error_code error;
  return KindOf(path) == filekind::Other &&
         std::filesystem::is_directory(core::PathOf(path), error);
}

}  // namespace

outputoptions::outputoptions()
    : jobs(std::clamp(std::thread::hardware_concurrency(), 1U, kMostJobs)) {}

void outputoptions::Define(CLI::App& app, const std::string& what, const std::string& value,
                           const std::vector<std::string>& kinds) {
  kinds_ = Joined(kinds);
  app.add_option("-o,--output", target,
                 what +
                     "; or a folder for files of the inputs' names (default: the input's name "
                     "with the new suffix, beside it)")
      ->option_text(value);
  app.add_option("--to", kind, "The kind of file to write, where -o names none: " + kinds_)
      ->option_text("KIND")
      ->check(CLI::IsMember(kinds));
  app.add_option("--jobs", jobs,
                 "Of several inputs: how many are worked on at a time, each in a process of its "
                 "own (default: the machine's processors; on Windows one after the other)")
      ->option_text("N")
      ->check(CLI::Range(1U, kMostJobs));
}

std::vector<std::string> outputoptions::For(const std::vector<std::string>& inputs) const {
  const bool folder = IsFolder(target);
  if (inputs.size() == 1 && !target.empty() && !folder) {
    if (!kind.empty() && SuffixOf(target) != kind) {
      throw failure(target, "does not end in ." + kind + ", as --to says", kExitUsage);
    }
    return {target};
  }
  if (!target.empty() && !folder) {
    throw failure(target, "is not a folder, which -o has to name for several inputs", kExitUsage);
  }
  const std::string& suffix = kind.empty() ? usual : kind;
  if (suffix.empty()) {
    throw failure(
        inputs.front(),
        "which kind of file to write is told by the name behind -o, or by --to: " + kinds_,
        kExitUsage);
  }
  std::vector<std::string> outputs;
  std::set<std::string> taken;
  for (const std::string& input : inputs) {
    const std::filesystem::path named = core::PathOf(input);
    std::filesystem::path made = folder ? core::PathOf(target) : named.parent_path();
    made /= core::PathOf(named.stem().string() + "." + suffix);
    outputs.push_back(made.string());
    if (FullPath(outputs.back()) == FullPath(input)) {
      throw failure(input, "would be written over itself; -o names another file or folder",
                    kExitUsage);
    }
    if (!taken.insert(FullPath(outputs.back())).second) {
      throw failure(input, "would be written to " + outputs.back() + ", as another input is",
                    kExitUsage);
    }
  }
  return outputs;
}

}  // namespace command
