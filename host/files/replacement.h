#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "files/cleanup.h"
#include "files/lockfile.h"

namespace files {

// A file that cannot be written, and why.
class fault : public std::runtime_error {
 public:
  fault(std::string path, const std::string& cause)
      : std::runtime_error(cause), path_(std::move(path)) {}

  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

struct member;

// Replaces one file, or several that belong together, in one step.
//
// Every target gets a new file beside it, NAME.marrow-new, which the caller writes; the target
// itself is not touched before Commit, whatever ends the program. A target is locked
// (NAME.marrow-lock) from Add to the end of the object, so that two runs never mix their files.
// Commit flushes the new files to the disk and renames them. With several files it first leaves a
// journal beside each (NAME.marrow-journal) and keeps the old files (NAME.marrow-old) until all
// have their names: a rename that fails undoes the ones before it, and what a killed run left
// between two renames, or while it undid them, is finished by the next Add of any of the files.
// What a run left that was killed before is removed by the next Add. Without Commit the destructor
// removes the new files.
//
// A symbolic link is followed to its file. The new file takes over the old one's permissions and,
// where the system allows it, owner and group.
//
// Paths are UTF-8. All operations throw fault.
class replacement {
 public:
  // What a user should know that is no failure: the path and a sentence.
  using teller = std::function<void(const std::string& path, const std::string& text)>;

  explicit replacement(teller warn);
  ~replacement();
  replacement(const replacement&) = delete;
  replacement& operator=(const replacement&) = delete;

  // Makes the empty new file of a target and gives its path. Adding a target again gives the same
  // path. Throws when the target is not a regular file, must not be written, lies in no folder, or
  // is still locked by another run after kLockWait.
  const std::string& Add(const std::string& target);

  // Add, and writes the new file whole. Throws with the system's reason, as a full disk.
  void Write(const std::string& target, std::span<const std::span<const std::uint8_t>> pieces);

  // The new files take their targets' names. Nothing may be added afterwards.
  void Commit();

  // The path under which the target's new file is being written; the target itself when it was not
  // added.
  const std::string& NewPath(const std::string& target) const;

  static constexpr std::chrono::seconds kLockWait{10};

 private:
  struct part {
    std::string asked;     // as the caller named it
    std::string target;    // absolute, links resolved
    std::string fresh;     // the new file
    bool existed = false;  // when the commit began
    bool renamed = false;
    std::unique_ptr<cleanupentry> cleanup;  // of the new file
  };

  void Lock(const std::string& target, const std::string& asked);
  void Recover(const std::string& target, const std::string& asked);
  void KeepOld();
  void RenameAll();
  void Undo(const std::vector<member>& set);

  teller warn_;
  std::vector<std::unique_ptr<part>> parts_;
  std::vector<std::unique_ptr<lockfile>> locks_;
};

}  // namespace files
