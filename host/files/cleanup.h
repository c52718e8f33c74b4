#pragma once

#include <memory>
#include <string>

namespace files {

// Removes the registered files when a signal ends the program, which then ends by that signal.
// Called once by a program's main; a library's user who does not call it keeps its own handlers.
// SIGPIPE of a write of the program's own is ignored: the write fails with EPIPE.
void CleanUpOnSignals();
// Whether a write of the program's own has met a pipe that nobody reads.
bool SawClosedPipe();

// A file that is removed when a signal ends the program, for as long as the object lives.
class cleanupentry {
 public:
  explicit cleanupentry(std::string path);
  ~cleanupentry();
  cleanupentry(const cleanupentry&) = delete;
  cleanupentry& operator=(const cleanupentry&) = delete;

 private:
  std::string path_;
  int slot_ = -1;  // -1: the table is full, and the next run removes the file
};

// Holds back the signals that end the program, for as long as the object lives.
class signalpause {
 public:
  signalpause();
  ~signalpause();
  signalpause(const signalpause&) = delete;
  signalpause& operator=(const signalpause&) = delete;

 private:
  struct state;
  std::unique_ptr<state> before_;
};

}  // namespace files
