#pragma once

// A written model in memory, whose records are changed where they stand.

#include <string>

#include "binary/loadfile.h"

namespace command {

template <class File>
struct openmodel {
  loadedfile block;
  File file;  // its tables lead into the block

  bool Load(const std::string& path) {
    return LoadWholeFile(path.c_str(), block) && file.Parse(block.View());
  }
};

// A record that a table of an openmodel leads to. The tables are read-only for everybody else, but
// the block is the model's own.
template <class Record>
Record& Changed(const Record& record) {
  return const_cast<Record&>(record);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

}  // namespace command
