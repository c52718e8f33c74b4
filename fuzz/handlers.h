#pragma once

#include <memory>
#include <string>

#include "core/scene.h"
#include "desktop/scripted.h"
#include "module/module.h"
#include "samples/tempdirectory.h"

// The module as a host loads it, for a fuzz target to run its handlers: every sequence is chosen,
// and the mdx of a pair is the file "a.mdx" of the target's own folder.
class handlers {
 public:
  // One for all inputs. Ends the program when the module cannot be loaded.
  static handlers& Loaded();

  const tempdirectory& Folder() const { return folder_; }
  void Import(const std::string& suffix, core::scene& into);
  // By one of three exporters or to a glTF file, which must read back when it was written.
  void Export(unsigned choice, core::scene& scene);

 private:
  handlers();

  tempdirectory folder_;
  desktop::scripteddesktop desk_;
  std::unique_ptr<module::library> module_;
};
