#pragma once

#include <exception>
#include <optional>
#include <utility>

#include "plugin/host/handlers.h"

// Makes a source file's run object for the length of a scope. Its destruction is the release of
// all data of the run, on every way out.
template <class Run>
class runscope {
 public:
  // What stands behind the slot goes to the run object's constructor.
  template <class... Arguments>
  explicit runscope(std::optional<Run>& slot, Arguments&&... arguments) : slot_(slot) {
    slot_.emplace(std::forward<Arguments>(arguments)...);
  }
  ~runscope() { slot_.reset(); }
  runscope(const runscope&) = delete;
  runscope& operator=(const runscope&) = delete;

 private:
  std::optional<Run>& slot_;
};

// The outer edge of a handler: what the module's own code could not get (memory that no assertion
// names) ends the run as a failed one. The host's own unwinding is no std::exception and passes.
template <class Body>
int RunToEdge(Body&& body) {
  try {
    return body();
  } catch (const std::exception&) {
    return kRunFailed;
  }
}
