#pragma once

#include <stdexcept>
#include <string>

namespace command {

// How the program ends.
inline constexpr int kExitDone = 0;     // the run reached its end
inline constexpr int kExitFailed = 1;   // a run or anything else failed
inline constexpr int kExitUsage = 2;    // the arguments make no sense
inline constexpr int kExitNothing = 3;  // the run did nothing: an empty scene, a refused dialog

// Ends a command with a line about a file, or about nothing in particular ("").
class failure : public std::runtime_error {
 public:
  failure(std::string subject, const std::string& text, int exitCode = kExitFailed)
      : std::runtime_error(text), subject_(std::move(subject)), exitCode_(exitCode) {}

  const std::string& Subject() const { return subject_; }
  int ExitCode() const { return exitCode_; }

 private:
  std::string subject_;
  int exitCode_;
};

}  // namespace command
