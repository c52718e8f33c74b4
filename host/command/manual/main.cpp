// Writes the manual pages and the shells' completions into a folder.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>

#include "command/commands.h"
#include "command/manual/manual.h"

namespace {

bool Write(const std::filesystem::path& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) {
    std::fprintf(stderr, "marrow_manual: error: %s: cannot be written\n", path.string().c_str());
  }
  return !file.fail();
}

int WriteAll(const std::filesystem::path& folder) {
  command::programstate state;
  CLI::App program;
  command::DefineProgram(program, state);
  std::filesystem::create_directories(folder / "man1");
  bool written = Write(folder / "marrow", manual::BashCompletion(program)) &&
                 Write(folder / "_marrow", manual::ZshCompletion(program)) &&
                 Write(folder / "marrow.fish", manual::FishCompletion(program));
  for (const manual::manpage& page : manual::ManPages(program)) {
    written = Write(folder / "man1" / (page.name + ".1"), page.text) && written;
  }
  return written ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::fputs("usage: marrow_manual FOLDER\n", stderr);
    return 2;
  }
  return WriteAll(argv[1]);
} catch (const std::exception& failure) {
  std::fprintf(stderr, "marrow_manual: error: %s\n", failure.what());
  return 1;
}
