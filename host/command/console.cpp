#include "command/console.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "command/printable.h"
#include "command/wording.h"

namespace command {

namespace {

constexpr int kBarWidth = 24;
constexpr std::chrono::milliseconds kRedrawTime{40};

// One thing stays one line, whatever a file's names hold.
std::string OneLine(std::string text) {
  while (!text.empty() && static_cast<unsigned char>(text.back()) <= ' ') {
    text.pop_back();
  }
  std::ranges::replace_if(
      text, [](char letter) { return static_cast<unsigned char>(letter) < ' '; }, ' ');
  return Printable(text);
}

// Cut between characters, as UTF-8 has them.
std::string CutTo(std::string text, std::size_t bytes) {
  if (text.size() > bytes) {
    while (bytes > 0 && (static_cast<unsigned char>(text[bytes]) & 0xC0U) == 0x80U) {
      --bytes;
    }
    text.resize(bytes);
  }
  return text;
}

std::string Head(const std::string& subject) {
  return subject.empty() ? std::string() : OneLine(subject) + ": ";
}

}  // namespace

console::console() : terminal_(isatty(STDERR_FILENO) != 0) {}

console::~console() { EndProgress(); }

void console::Error(const std::string& subject, const std::string& text) {
  Line("error", subject, text);
}

void console::Warning(const std::string& subject, const std::string& text) {
  Line("warning", subject, text);
}

std::function<void(const std::string&, const std::string&)> console::Warnings() {
  return [this](const std::string& subject, const std::string& text) { Warning(subject, text); };
}

void console::Note(const std::string& subject, const std::string& text) {
  if (!quiet_) {
    Line("note", subject, text);
  }
}

void console::Result(const std::string& subject, const std::string& text) {
  if (!quiet_) {
    EndProgress();
    const std::string line = Head(subject) + OneLine(text);
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
    if (heard_) {
      heard_(line);
    }
  }
}

void console::Line(const char* kind, const std::string& subject, const std::string& text) {
  EndProgress();
  const std::string line = std::string(kind) + ": " + Head(subject) + OneLine(text);
  std::fprintf(stderr, "marrow: %s\n", line.c_str());
  if (heard_) {
    heard_(line);
  }
}

void console::Progress(int position, int high, const std::string& text) {
  const auto now = std::chrono::steady_clock::now();
  const bool drawn = terminal_ && !quiet_ && !progressLines_;
  if (!(drawn || progressLines_) || now - lastDrawn_ < kRedrawTime) {
    return;
  }
  lastDrawn_ = now;
  const double share = high > 0 ? std::clamp(static_cast<double>(position) / high, 0.0, 1.0) : 0.0;
  if (progressLines_) {
    std::fprintf(stderr, "marrow: progress: %d %s\n", static_cast<int>(share * 100),
                 OneLine(text).c_str());
    return;
  }
  const int full = static_cast<int>(share * kBarWidth);
  std::string line = "[";
  line.append(static_cast<std::size_t>(full), '#');
  line.append(static_cast<std::size_t>(kBarWidth - full), '.');
  line += "] ";
  line = CutTo(line + OneLine(text), kColumns);
  const std::size_t columns = line.size();
  line.append(drawn_ > columns ? drawn_ - columns : 0, ' ');
  drawn_ = columns;
  std::fprintf(stderr, "\r%s", line.c_str());
  std::fflush(stderr);
}

void console::EndProgress() {
  if (drawn_ > 0) {
    std::fprintf(stderr, "\r%s\r", std::string(drawn_, ' ').c_str());
    std::fflush(stderr);
    drawn_ = 0;
  }
}

}  // namespace command
