#include "sidefiles/filelist.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "binary/namefield.h"
#include "sidefiles/filesearch.h"

namespace {

bool Accepts(int mode, const cfoundfile& file) {
  return (mode == kListPlainFiles && !file.directory) ||
         (mode == kListDirectories && file.directory && file.name[0] != '.');
}

}  // namespace

void cfilelist::InsertSorted(const char* name) {
  blocks_.push_back(std::make_unique<filename>());
  char* const block = blocks_.back()->data();
  SetName(*blocks_.back(), name);
  const auto place =
      std::upper_bound(names_.begin(), names_.end(), block,
                       [](const char* a, const char* b) { return std::strcmp(a, b) < 0; });
  names_.insert(place, block);
}

int ListFiles(int mode, const char* pattern, cfilelist& files) {
  if (std::strpbrk(pattern, "*?") == nullptr) {
    return kNoWildcard;
  }
  const std::unique_ptr<cfilesearch, decltype(&CloseFileSearch)> search(OpenFileSearch(pattern),
                                                                        &CloseFileSearch);
  if (!search) {
    return kNothingFound;
  }
  cfilelist found;
  try {
    cfoundfile file{};
    while (NextFile(search.get(), file)) {
      if (Accepts(mode, file)) {
        found.InsertSorted(file.name);
      }
    }
  } catch (const std::bad_alloc&) {
    return kNoMemory;
  }
  files = std::move(found);
  return files.Count() > 0 ? kListed : kNoneAccepted;
}
