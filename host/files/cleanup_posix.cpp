#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>

#include "files/cleanup.h"
#include "files/cleanupslots.h"

namespace files {

namespace {

// Signals that end a program unless somebody listens. One that was ignored when the program
// started stays ignored.
constexpr std::array kEnding{SIGINT,  SIGTERM, SIGHUP,  SIGQUIT, SIGALRM,  SIGXCPU,
                             SIGUSR1, SIGUSR2, SIGABRT, SIGPIPE, SIGVTALRM};

std::atomic<bool> sawClosedPipe{false};

void RemoveAndEnd(int signal, siginfo_t* info, void* /*context*/) {
  if (signal == SIGPIPE && info->si_pid == getpid()) {
    sawClosedPipe = true;
    return;  // a write of our own, which fails with EPIPE
  }
  // The newest first: a lock goes after the files that it protects.
  for (std::size_t i = cleanupSlots.size(); i-- > 0;) {
    if (const char* path = cleanupSlots[i].exchange(nullptr); path != nullptr) {
      unlink(path);
    }
  }
  std::signal(signal, SIG_DFL);
  sigset_t unblocked;
  sigemptyset(&unblocked);
  sigaddset(&unblocked, signal);
  sigprocmask(SIG_UNBLOCK, &unblocked, nullptr);
  std::raise(signal);
}

sigset_t EndingSignals() {
  sigset_t all;
  sigemptyset(&all);
  for (const int signal : kEnding) {
    sigaddset(&all, signal);
  }
  return all;
}

}  // namespace

void CleanUpOnSignals() {
  struct sigaction action {};
  action.sa_sigaction = RemoveAndEnd;
  action.sa_flags = SA_SIGINFO | SA_RESTART;
  action.sa_mask = EndingSignals();
  for (const int signal : kEnding) {
    struct sigaction old {};
    if (sigaction(signal, nullptr, &old) == 0 && old.sa_handler != SIG_IGN) {
      sigaction(signal, &action, nullptr);
    }
  }
}

bool SawClosedPipe() { return sawClosedPipe; }

struct signalpause::state {
  sigset_t mask;
};

signalpause::signalpause() : before_(std::make_unique<state>()) {
  const sigset_t ending = EndingSignals();
  sigprocmask(SIG_BLOCK, &ending, &before_->mask);
}

signalpause::~signalpause() { sigprocmask(SIG_SETMASK, &before_->mask, nullptr); }

}  // namespace files
