#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "command/console.h"

namespace command {

// Lines of a text file that are not read as they stand. What they lose never ends a run.
class linelosses {
 public:
  void Add(int line, const std::string& what);
  // A warning each for the first ten, and one with the total of more.
  void Tell(console& out, const std::string& path) const;

 private:
  std::int64_t count_ = 0;
  std::vector<std::string> first_;
};

}  // namespace command
