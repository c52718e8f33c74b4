#include <windows.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdio>

#include "files/cleanup.h"
#include "files/cleanupslots.h"

namespace files {

namespace {

void RemoveFiles() {
  _fcloseall();  // an open file cannot be removed
  // The newest first: a lock goes after the files that it protects.
  for (std::size_t i = cleanupSlots.size(); i-- > 0;) {
    if (const char* path = cleanupSlots[i].exchange(nullptr); path != nullptr) {
      std::remove(path);
    }
  }
}

void RemoveAndEnd(int signal) {
  RemoveFiles();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

BOOL WINAPI OnConsoleEnd(DWORD /*event*/) {
  RemoveFiles();
  return FALSE;  // the system's own handler ends the program
}

}  // namespace

void CleanUpOnSignals() {
  SetConsoleCtrlHandler(OnConsoleEnd, TRUE);
  for (const int signal : {SIGINT, SIGTERM, SIGABRT}) {
    std::signal(signal, RemoveAndEnd);
  }
}

bool SawClosedPipe() { return false; }

// Console events come on a thread of their own and cannot be held back.
struct signalpause::state {};
signalpause::signalpause() = default;
signalpause::~signalpause() = default;

}  // namespace files
