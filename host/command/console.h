#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

namespace command {

// What the program says: results on standard output, everything else on standard error, one line
// a thing. The subject is the file that a line is about, or empty.
class console {
 public:
  console();
  ~console();
  console(const console&) = delete;
  console& operator=(const console&) = delete;

  // Quiet leaves warnings and errors alone.
  void SetQuiet(bool quiet) { quiet_ = quiet; }
  // Progress as lines "marrow: progress: PERCENT TEXT" for a program that reads them, whatever
  // standard error is.
  void SetProgressLines(bool lines) { progressLines_ = lines; }

  // Each line but those of progress is also given to this.
  void SetListener(std::function<void(const std::string& line)> heard) {
    heard_ = std::move(heard);
  }

  // For output that is shown later, as a whole.
  void HideProgress() { terminal_ = progressLines_ = false; }

  void Error(const std::string& subject, const std::string& text);
  void Warning(const std::string& subject, const std::string& text);
  void Note(const std::string& subject, const std::string& text);
  // Warning as a function; the console outlives it.
  std::function<void(const std::string& subject, const std::string& text)> Warnings();
  // On standard output.
  void Result(const std::string& subject, const std::string& text);

  // A bar with a text, drawn over the one before. Nothing is drawn when quiet and when standard
  // error is no terminal.
  void Progress(int position, int high, const std::string& text);
  void EndProgress();

 private:
  void Line(const char* kind, const std::string& subject, const std::string& text);

  bool quiet_ = false;
  bool progressLines_ = false;
  bool terminal_;
  std::function<void(const std::string&)> heard_;
  std::size_t drawn_ = 0;  // columns of the bar's line
  std::chrono::steady_clock::time_point lastDrawn_;
};

}  // namespace command
