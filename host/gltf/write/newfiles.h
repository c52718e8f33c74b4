#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace gltf {

// Files that are written under other names beside their places, and take their places when all of
// them are whole, with the permissions of what stood there. Until then that stays; what is not
// committed is removed again.
class newfiles {
 public:
  newfiles() = default;
  ~newfiles();
  newfiles(const newfiles&) = delete;
  newfiles& operator=(const newfiles&) = delete;

  // Writes a file of these pieces for the place. Throws writefault.
  void Write(const std::string& place, std::span<const std::span<const std::uint8_t>> pieces);
  // In the order in which they were written.
  void Commit();

 private:
  struct pending {
    std::string written;
    std::string place;
    std::filesystem::perms permissions;  // of the old file; unknown without one
  };
  std::vector<pending> files_;
};

}  // namespace gltf
