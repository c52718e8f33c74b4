#include "core/findfile.h"

#include <algorithm>
#include <string_view>

#include "binary/directory.h"

namespace core {

namespace {

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameLetters(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return Lower(x) == Lower(y); });
}

// The directory's entry of that name in whatever case; empty for none.
std::string EntryOf(const std::string& directory, std::string_view name) {
  std::string found;
  for (const std::string& entry : NamesIn(directory.empty() ? "." : directory)) {
    if (SameLetters(entry, name) && (found.empty() || entry < found)) {
      found = entry;
    }
  }
  return found;
}

}  // namespace

std::string FindFile(const std::string& path) {
  std::string slashed = path;
  std::replace(slashed.begin(), slashed.end(), '\\', '/');
  if (EntryAt(slashed) == diskentry::File) {
    return slashed;
  }
  // What is found so far, with a separator behind it.
  std::string at = slashed.starts_with('/') ? "/" : "";
  diskentry found = diskentry::None;
  std::size_t start = 0;
  while (start < slashed.size()) {
    const std::size_t end = std::min(slashed.find('/', start), slashed.size());
    std::string name = slashed.substr(start, end - start);
    start = end + 1;
    if (name.empty()) {
      continue;
    }
    found = EntryAt(at + name);
    if (found == diskentry::None) {
      name = EntryOf(at, name);
      if (name.empty()) {
        return {};
      }
      found = EntryAt(at + name);
    }
    at += name + '/';
  }
  if (found != diskentry::File) {
    return {};
  }
  at.pop_back();
  return at;
}

}  // namespace core
