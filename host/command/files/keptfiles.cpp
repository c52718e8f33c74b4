#include "command/files/keptfiles.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "command/failure.h"
#include "core/utf8path.h"

namespace command {

namespace {

namespace fs = std::filesystem;

std::atomic<keptfiles*> current{nullptr};

// Signals that end the program unless somebody listens. One that was ignored stays so.
constexpr std::array kSignals{SIGINT, SIGTERM,
#ifndef _WIN32
                              SIGHUP, SIGQUIT
#endif
};

void Listen(void (*handler)(int)) {
  for (const int signal : kSignals) {
    if (std::signal(signal, handler) == SIG_IGN) {
      std::signal(signal, SIG_IGN);
    }
  }
}

// The file behind the name, where the name is a link.
fs::path Resolved(const std::string& path) {
  fs::path named = core::PathOf(path);
  std::error_code error;
  if (!fs::is_symlink(fs::symlink_status(named, error))) {
    return named;
  }
  fs::path target = fs::canonical(named, error);
  if (error) {
    throw failure(path, "is a link that leads nowhere");
  }
  return target;
}

std::string Reason() { return std::strerror(errno); }

void RequireOldFileWritable(const std::string& path, const fs::file_status& status) {
  if (fs::is_directory(status)) {
    throw failure(path, "is a directory: a file is needed");
  }
  if (!fs::is_regular_file(status)) {
    throw failure(path, "is not a regular file");
  }
  if (access(path.c_str(), W_OK) != 0) {
    throw failure(path, "cannot be written: " + Reason());
  }
}

// Tries the name, so that an error is told before a long run and with its reason.
void RequireNewFileWritable(const std::string& path) {
  const fs::path directory = core::PathOf(path).parent_path();
  std::error_code error;
  if (!directory.empty() && !fs::is_directory(directory, error)) {
    throw failure(path, "there is no directory " + directory.string());
  }
  std::FILE* stream = std::fopen(path.c_str(), "wb");
  if (stream == nullptr) {
    throw failure(path, "cannot be written: " + Reason());
  }
  std::fclose(stream);
  fs::remove(core::PathOf(path), error);
}

std::string FreeNameBeside(const fs::path& target) {
  std::error_code error;
  std::string name = target.string() + ".old";
  for (int i = 1; fs::exists(fs::symlink_status(core::PathOf(name), error)); ++i) {
    name = target.string() + ".old" + std::to_string(i);
  }
  return name;
}

}  // namespace

keptfiles::keptfiles(console& out) : out_(out) {
  current = this;
  Listen(OnSignal);
}

keptfiles::~keptfiles() {
  if (!kept_) {
    Restore();
  }
  Listen(SIG_DFL);
  current = nullptr;
}

void keptfiles::Add(const std::string& path) {
  entry& file = entries_.at(count_);
  std::error_code error;
  const fs::path target = Resolved(path);
  const fs::file_status status = fs::status(target, error);
  file.target = target.string();
  if (!fs::exists(status)) {
    ++count_;
    RequireNewFileWritable(path);
    return;
  }
  RequireOldFileWritable(path, status);
  file.permissions = status.permissions();
  file.aside = FreeNameBeside(target);
  // From here on the handler of signals moves back what was moved, if it was.
  ++count_;
  fs::rename(target, core::PathOf(file.aside), error);
  if (error) {
    --count_;
    throw failure(path, "the old file cannot be moved aside: " + error.message());
  }
}

void keptfiles::Keep() {
  kept_ = true;
  for (std::size_t i = 0; i < count_; ++i) {
    const entry& file = entries_[i];
    if (!file.aside.empty()) {
      std::error_code error;
      fs::permissions(core::PathOf(file.target), file.permissions, error);
      fs::remove(core::PathOf(file.aside), error);
    }
  }
}

void keptfiles::Restore() {
  for (std::size_t i = 0; i < count_; ++i) {
    const entry& file = entries_[i];
    std::error_code error;
    if (file.aside.empty()) {
      fs::remove(core::PathOf(file.target), error);
      continue;
    }
    fs::rename(core::PathOf(file.aside), core::PathOf(file.target), error);
    if (error) {
      out_.Error(file.target, "the old file could not be moved back (" + error.message() +
                                  "); it is now " + file.aside);
    }
  }
}

// Only what a handler of signals may do.
void keptfiles::OnSignal(int signal) {
#ifdef _WIN32
  _fcloseall();  // an open file can be neither removed nor replaced
#endif
  if (const keptfiles* files = current; files != nullptr) {
    for (std::size_t i = 0; i < files->count_; ++i) {
      const entry& file = files->entries_[i];
      if (files->kept_) {
        unlink(file.aside.c_str());
      } else if (file.aside.empty()) {
        unlink(file.target.c_str());
      } else {
#ifdef _WIN32
        if (access(file.aside.c_str(), F_OK) == 0) {
          unlink(file.target.c_str());  // a rename does not replace
        }
#endif
        std::rename(file.aside.c_str(), file.target.c_str());
      }
    }
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

}  // namespace command
