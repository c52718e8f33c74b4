#pragma once

#include <array>
#include <memory>
#include <vector>

// Names of files, ascending by their bytes. A name has at most 63 characters; a longer one is cut.
class cfilelist {
 public:
  // Behind those that are equal to it.
  void InsertSorted(const char* name);

  // Zero-terminated names, valid as long as the list.
  char** Names() { return names_.data(); }
  int Count() const { return static_cast<int>(names_.size()); }

 private:
  using filename = std::array<char, 64>;

  std::vector<char*> names_;
  std::vector<std::unique_ptr<filename>> blocks_;
};

// Which entries ListFiles accepts.
inline constexpr int kListPlainFiles = 0;
inline constexpr int kListDirectories = 1;  // but none whose name begins with a full stop

// What ListFiles gives. Only the first two touch the list.
inline constexpr int kListed = 0;
inline constexpr int kNoneAccepted = -1;  // and the list is empty
inline constexpr int kNothingFound = 1;
inline constexpr int kNoWildcard = 2;  // the pattern has neither * nor ?
inline constexpr int kNoMemory = 3;

// The entries that a wildcard search finds: a directory, then a name with * and ?.
int ListFiles(int mode, const char* pattern, cfilelist& files);
