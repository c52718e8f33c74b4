#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <thread>
#include <vector>

#include "command/files/browser.h"

namespace command {

namespace {

using words = std::vector<std::string>;

// Without a shell, so that nothing in a path means anything to one.
bool Start(words command) {
  std::vector<char*> arguments;
  for (std::string& word : command) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  // What a browser says of itself is not this program's to say.
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
  }
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
#ifdef POSIX_SPAWN_SETSID
  // It outlives the terminal.
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
#endif
  pid_t child = 0;
  const int error =
      posix_spawnp(&child, arguments[0], &actions, &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    return false;
  }
  // One that cannot open the file ends soon, and says so by its code; a browser may run on.
  constexpr std::chrono::milliseconds kStep{20};
  constexpr int kMostSteps = 100;
  for (int step = 0; step < kMostSteps; ++step) {
    int status = 0;
    if (waitpid(child, &status, WNOHANG) == child) {
      return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }
    std::this_thread::sleep_for(kStep);
  }
  return true;
}

// One of the commands that BROWSER lists: words with blanks between, in which %s is the file, else
// it comes last.
words CommandOf(const std::string& text, const std::string& path) {
  constexpr std::string_view kFile = "%s";
  words command;
  bool named = false;
  std::istringstream stream(text);
  for (std::string word; stream >> word; command.push_back(word)) {
    if (const std::size_t at = word.find(kFile); at != std::string::npos) {
      word.replace(at, kFile.size(), path);
      named = true;
    }
  }
  if (!named && !command.empty()) {
    command.push_back(path);
  }
  return command;
}

}  // namespace

bool OpenInBrowser(const std::string& path) {
  if (const char* const chosen = std::getenv("BROWSER")) {
    std::istringstream list(chosen);
    for (std::string text; std::getline(list, text, ':');) {
      if (words command = CommandOf(text, path); !command.empty() && Start(std::move(command))) {
        return true;
      }
    }
  }
  const bool windows =
      std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr;
  return windows && Start({"xdg-open", path});
}

}  // namespace command
