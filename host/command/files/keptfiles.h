#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <string>

#include "command/console.h"

namespace command {

// Keeps what stands under the names of files that a run is about to write: the old files are moved
// aside, in their own directory. Unless Keep is called the new ones are removed and the old ones
// stand in their places again at the end of the scope, and likewise when a signal ends the program.
// One object at a time.
class keptfiles {
 public:
  explicit keptfiles(console& out);
  ~keptfiles();
  keptfiles(const keptfiles&) = delete;
  keptfiles& operator=(const keptfiles&) = delete;

  // Fails, with everything as it was, when no file can be written under that name. At most
  // kMostFiles.
  void Add(const std::string& path);
  // The new files stand, with the old ones' permissions.
  void Keep();

  static constexpr std::size_t kMostFiles = 2;

 private:
  struct entry {
    std::string target;  // symbolic links resolved
    std::string aside;   // empty: there was no old file
    std::filesystem::perms permissions{};
  };

  void Restore();
  static void OnSignal(int signal);

  console& out_;
  // The handler of signals reads these: an entry counts when it is whole.
  std::array<entry, kMostFiles> entries_;
  std::atomic<std::size_t> count_{0};
  std::atomic<bool> kept_{false};
};

}  // namespace command
