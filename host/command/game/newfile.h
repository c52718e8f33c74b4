#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "command/console.h"

namespace command {

// Writes a file that a game needs beside a model, whole or not at all. False, with a warning, where
// one is there and `force` is not set. Fails when it cannot be written.
bool WriteNewFile(console& out, const std::string& path, const std::vector<std::uint8_t>& content,
                  bool force);

}  // namespace command
