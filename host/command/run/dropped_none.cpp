#include "command/run/dropped.h"

namespace command {

std::optional<int> ConvertDropped(
    console& /*out*/, const std::vector<std::string>& /*arguments*/,
    const std::function<int(const std::vector<std::string>&)>& /*run*/) {
  return std::nullopt;
}

}  // namespace command
