#pragma once

#include <functional>
#include <memory>
#include <string>

#include "command/console.h"
#include "command/memorylimit.h"
#include "command/run/answers.h"
#include "command/run/askuser.h"
#include "core/scene.h"
#include "desktop/scripted.h"
#include "module/module.h"

namespace command {

// A loaded module and the desktop that its runs talk to. Message boxes become error lines, progress
// goes to the console, nothing waits.
class modelhost {
 public:
  // An empty path: the module beside the program. Fails when that is none.
  modelhost(console& out, const std::string& modulePath, const memorylimit& memory = {});
  ~modelhost();
  modelhost(const modelhost&) = delete;
  modelhost& operator=(const modelhost&) = delete;

  const module::library& Module() const { return *module_; }
  const memorylimit& Memory() const { return memory_; }

  // The handler of the file's suffix. Fails as wrong usage when the module has none.
  const module::handler& ImporterOf(const std::string& path) const;
  const module::handler& ExporterOf(const std::string& path) const;

  // A run over the scene; its result. The host's assertion ends it as a failure. The last argument
  // is told of the mdx file that the user chose in a window, or gives the file to write in its
  // place: none when it cannot be. An export writes the file `written`, and is told as of `path`.
  int Import(const module::handler& handler, core::scene& scene, const std::string& path,
             importanswers& answers, const std::function<void(const std::string&)>& onMdx);
  int Export(const module::handler& handler, core::scene& scene, const std::string& path,
             const std::string& written, exportanswers& answers,
             const std::function<std::string(const std::string&)>& onMdx);
  // Whether the last run showed a message.
  bool Told() const { return told_; }
  // Why the last run could not write, where a system call or an allocation of it failed; else
  // empty.
  const std::string& WriteFault() const { return writeFault_; }

 private:
  template <class Answers, class Body>
  int Run(core::scene& scene, const std::string& path, Answers& answers, askhooks hooks,
          Body&& body);

  console& out_;
  memorylimit memory_;
  std::unique_ptr<module::library> module_;
  bool told_ = false;
  std::string writeFault_;
};

}  // namespace command
