#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace core {

// The path that a UTF-8 text names. A path made from the text itself is read otherwise on Windows.
inline std::filesystem::path PathOf(std::string_view text) {
  return {std::u8string(text.begin(), text.end())};
}

}  // namespace core
