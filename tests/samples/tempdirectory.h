#pragma once

#include <map>
#include <string>

#include "samples/bytes.h"

// A directory of its own that is removed, with all that is in it, at the end of its scope. Paths
// have forward slashes on every platform.
class tempdirectory {
 public:
  tempdirectory();
  ~tempdirectory();
  tempdirectory(const tempdirectory&) = delete;
  tempdirectory& operator=(const tempdirectory&) = delete;

  const std::string& Path() const { return path_; }
  // The path of a file in it; directories on the way ("models/x.mdc") are made.
  std::string File(const std::string& name) const;
  // Writes the file and gives its path.
  std::string Write(const std::string& name, const bytes& content) const;
  std::string Write(const std::string& name, const std::string& text) const;
  // The content of every file in it by its name; links are followed.
  std::map<std::string, std::string> Files() const;

 private:
  std::string path_;
};

// Empty when there is no such file.
bytes ReadBytes(const std::string& path);
