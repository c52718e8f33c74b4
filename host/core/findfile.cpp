#include "core/findfile.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <utility>

#include "core/directory.h"

namespace core {

namespace {

namespace fs = std::filesystem;

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameLetters(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return Lower(x) == Lower(y); });
}

bool Exists(const fs::path& path) {
  std::error_code error;
  return fs::exists(path, error);
}

// The directory's entry of that name in whatever case; empty for none.
std::string EntryOf(const fs::path& directory, std::string_view name) {
  std::string found;
  for (std::string& entry : NamesIn(directory.empty() ? "." : directory.string())) {
    if (SameLetters(entry, name) && (found.empty() || entry < found)) {
      found = std::move(entry);
    }
  }
  return found;
}

bool IsFile(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

}  // namespace

std::string FindFile(const std::string& path) {
  std::string slashed = path;
  std::replace(slashed.begin(), slashed.end(), '\\', '/');
  if (IsFile(slashed)) {
    return slashed;
  }
  fs::path at = slashed.starts_with('/') ? fs::path("/") : fs::path();
  std::size_t start = 0;
  while (start < slashed.size()) {
    const std::size_t end = std::min(slashed.find('/', start), slashed.size());
    const std::string name = slashed.substr(start, end - start);
    start = end + 1;
    if (name.empty()) {
      continue;
    }
    if (Exists(at / name)) {
      at /= name;
      continue;
    }
    const std::string entry = EntryOf(at, name);
    if (entry.empty()) {
      return {};
    }
    at /= entry;
  }
  return IsFile(at) ? at.string() : std::string();
}

}  // namespace core
