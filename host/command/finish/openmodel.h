#pragma once

// A written model in memory, whose records are changed where they stand.

#include <string>

#include "binary/loadfile.h"
#include "command/failure.h"

namespace command {

// Loads a model again that a handler has read or written. False where it does not hold, which is
// told elsewhere; fails, under the name `told`, where the disk does not give it.
template <class File>
bool LoadAgain(const std::string& told, const std::string& path, File& file) {
  const bool loaded = file.Load(path.c_str());
  if (!loaded && file.Fault().empty()) {
    throw failure(told, "cannot be read again");
  }
  return loaded;
}

template <class File>
struct openmodel {
  loadedfile block;
  File file;  // its tables lead into the block

  // False where it does not hold. Fails, under the name `told`, where it cannot be read.
  bool Load(const std::string& told, const std::string& path) {
    if (!LoadWholeFile(path.c_str(), block)) {
      throw failure(told, "cannot be read back");
    }
    return file.Parse(block.View());
  }
};

// A record that a table of an openmodel leads to. The tables are read-only for everybody else, but
// the block is the model's own.
template <class Record>
Record& Changed(const Record& record) {
  return const_cast<Record&>(record);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

}  // namespace command
