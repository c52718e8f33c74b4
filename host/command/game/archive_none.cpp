#include "command/game/archive.h"

// A build without the library for archives.

namespace command {

struct archive::opened {};

archive::~archive() = default;

bool ReadsArchives() { return false; }

std::unique_ptr<archive> archive::Open(const std::string& /*path*/, std::string& fault) {
  fault = "this build reads no pk3 archives";
  return nullptr;
}

std::optional<std::uint64_t> archive::Find(const std::string& /*path*/) const {
  return std::nullopt;
}

std::optional<std::vector<std::uint8_t>> archive::Read(std::uint64_t /*entry*/, budget& /*left*/,
                                                       std::string& /*fault*/) const {
  return std::nullopt;
}

}  // namespace command
