#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "command/failure.h"
#include "command/run/processes.h"

namespace command {

namespace {

struct closefile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using file = std::unique_ptr<std::FILE, closefile>;

struct child {
  std::size_t index = 0;
  file out;
  file err;
};

struct output {
  processend end;
  std::string out;
  std::string err;
};

std::string TextOf(std::FILE* from) {
  std::string text;
  std::array<char, 4096> block{};
  std::rewind(from);
  while (const std::size_t size = std::fread(block.data(), 1, block.size(), from)) {
    text.append(block.data(), size);
  }
  return text;
}

[[noreturn]] void RunChild(console& out, const child& own,
                           const std::function<int(std::size_t)>& work) {
#ifdef __linux__
  // One that is left alone ends, as by a signal of the user, and takes its unfinished files away.
  prctl(PR_SET_PDEATHSIG, SIGTERM);
#endif
  dup2(fileno(own.out.get()), STDOUT_FILENO);
  dup2(fileno(own.err.get()), STDERR_FILENO);
  out.HideProgress();
  const int code = work(own.index);
  std::cout.flush();
  _exit(std::fflush(nullptr) == 0 ? code : kExitFailed);
}

}  // namespace

unsigned SideBySide(std::size_t count, unsigned most) {
  return static_cast<unsigned>(std::min<std::size_t>(count, most));
}

void RunInProcesses(console& out, std::size_t count, std::size_t most,
                    const std::function<int(std::size_t)>& work,
                    const std::function<void(std::size_t, const processend&)>& ended) {
  std::signal(SIGCHLD, SIG_DFL);  // where a parent has it ignored, there is nothing to wait for
  std::map<pid_t, child> running;
  std::vector<std::optional<output>> outputs(count);
  std::size_t started = 0;
  for (std::size_t shown = 0; shown < count;) {
    for (; started < count && running.size() < most; ++started) {
      child made{started, file(std::tmpfile()), file(std::tmpfile())};
      std::fflush(nullptr);  // or the copy would print it again
      const pid_t id = made.out && made.err ? fork() : -1;
      if (id == 0) {
        RunChild(out, made, work);
      }
      if (id < 0 && !running.empty()) {
        break;  // as many as there can be
      }
      if (id < 0) {
        throw failure("",
                      std::string("no further process can be started: ") + std::strerror(errno));
      }
      running.emplace(id, std::move(made));
    }
    int status = 0;
    const pid_t id = waitpid(-1, &status, 0);
    if (id < 0 && errno != EINTR) {
      throw failure("", std::string("the processes cannot be waited for: ") + std::strerror(errno));
    }
    const auto found = running.find(id);
    if (found == running.end()) {
      continue;
    }
    const child& own = found->second;
    const processend end = WIFSIGNALED(status) ? processend{kExitFailed, WTERMSIG(status)}
                                               : processend{WEXITSTATUS(status), 0};
    outputs[own.index] = {end, TextOf(own.out.get()), TextOf(own.err.get())};
    running.erase(found);
    for (; shown < count && outputs[shown]; ++shown) {
      out.EndProgress();
      std::fputs(outputs[shown]->err.c_str(), stderr);
      std::fputs(outputs[shown]->out.c_str(), stdout);
      std::fflush(stdout);
      ended(shown, outputs[shown]->end);
      outputs[shown].reset();
    }
  }
}

}  // namespace command
