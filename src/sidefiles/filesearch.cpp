#include "sidefiles/filesearch.h"

#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "binary/directory.h"
#include "sampling/wildcard.h"

struct cfilesearch {
  struct entry {
    std::string name;
    bool directory;
  };
  std::vector<entry> entries;
  std::size_t next = 0;
};

cfilesearch* OpenFileSearch(const char* pattern) {
  const std::string_view whole(pattern);
  const std::size_t separator = whole.find_last_of("/\\");
  const bool hasDirectory = separator != std::string_view::npos;
  try {
    const std::string directory(hasDirectory ? whole.substr(0, separator + 1)
                                             : std::string_view("./"));
    const std::string_view names = hasDirectory ? whole.substr(separator + 1) : whole;
    auto search = std::make_unique<cfilesearch>();
    for (std::string& name : NamesIn(directory)) {
      if (wildcard::Matches(names, name)) {
        const bool isDirectory = EntryAt(directory + name) == diskentry::Directory;
        search->entries.push_back({std::move(name), isDirectory});
      }
    }
    return search->entries.empty() ? nullptr : search.release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

bool NextFile(cfilesearch* search, cfoundfile& file) {
  if (search->next == search->entries.size()) {
    return false;
  }
  const cfilesearch::entry& entry = search->entries[search->next++];
  file = {entry.name.c_str(), entry.directory};
  return true;
}

void CloseFileSearch(cfilesearch* search) { delete search; }
