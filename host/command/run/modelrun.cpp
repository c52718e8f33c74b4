#include "command/run/modelrun.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include "command/failure.h"
#include "command/files/paths.h"
#include "command/files/programpath.h"
#include "command/wording.h"
#include "core/assertion.h"
#include "files/disk.h"

namespace command {

namespace {

// Of the progress window.
constexpr int kProgressText = 1014;

std::string Suffixes(const module::library& loaded, bool importers) {
  std::vector<std::string> names;
  for (const module::handler& row : loaded.Handlers()) {
    if ((row.importer != nullptr) == importers) {
      names.insert(names.end(), row.extensions.begin(), row.extensions.end());
    }
  }
  return Joined(names);
}

const module::handler& Required(const module::handler* found, const module::library& loaded,
                                const std::string& path, bool importers) {
  if (found == nullptr) {
    throw failure(path,
                  std::string("the module has no ") + (importers ? "importer" : "exporter") +
                      " for this suffix; it has some for: " + Suffixes(loaded, importers),
                  kExitUsage);
  }
  return *found;
}

// Handlers give no reason, but leave errno as the call that failed has set it. Other calls of a run
// set it too: what neither a write nor an allocation can end with is none of it.
std::string FaultOf(int error) {
  constexpr std::array kOfWrites{ENOSPC, EIO, EFBIG, EINTR, EACCES, EPERM, EROFS, EMFILE, ENFILE,
#ifdef EDQUOT
                                 EDQUOT
#endif
  };
  if (error == ENOMEM) {
    return kNoMemory;
  }
  if (std::ranges::find(kOfWrites, error) == kOfWrites.end()) {
    return {};
  }
  return files::ErrnoMessage(error) + (error == EFBIG ? " (a model file may have 2 GiB)" : "");
}

// The module's assertions are lists that find no memory, each with its name.
std::string FaultOf(const core::assertionfailure& failed) {
  const bool list = failed.line > 0;
  return (list ? "there is not enough memory for the list " : "internal error: ") +
         std::string(failed.expression) +
         (list ? " (" + std::string(failed.file) + ", line " + std::to_string(failed.line) + ")"
               : "");
}

// What is current for the length of a run.
class currentrun {
 public:
  currentrun(core::scene& scene, desktop::idesktop& desk) {
    core::scene::MakeCurrent(&scene);
    desktop::MakeCurrent(&desk);
  }
  ~currentrun() {
    desktop::MakeCurrent(nullptr);
    core::scene::MakeCurrent(nullptr);
  }
  currentrun(const currentrun&) = delete;
  currentrun& operator=(const currentrun&) = delete;
};

}  // namespace

modelhost::modelhost(console& out, const std::string& modulePath, const memorylimit& memory)
    : out_(out), memory_(memory) {
  const std::string path = modulePath.empty() ? ModuleBesideProgram() : modulePath;
  std::string error;
  module_ = module::library::Load(path, error);
  if (!module_) {
    throw failure(path, "cannot be loaded as a module: " + error);
  }
}

modelhost::~modelhost() = default;

const module::handler& modelhost::ImporterOf(const std::string& path) const {
  return Required(module_->FindImporter(SuffixOf(path)), *module_, path, true);
}

const module::handler& modelhost::ExporterOf(const std::string& path) const {
  return Required(module_->FindExporter(SuffixOf(path)), *module_, path, false);
}

int modelhost::Import(const module::handler& handler, core::scene& scene, const std::string& path,
                      importanswers& answers,
                      const std::function<void(const std::string&)>& onMdx) {
  return Run(scene, path, answers, {{}, onMdx, {}},
             [&] { return handler.importer->Import(FullPath(path).c_str()); });
}

int modelhost::Export(const module::handler& handler, core::scene& scene, const std::string& path,
                      const std::string& written, exportanswers& answers,
                      const std::function<std::string(const std::string&)>& onMdx) {
  return Run(scene, path, answers, {{}, {}, onMdx},
             [&] { return handler.exporter->Export(FullPath(written).c_str()); });
}

template <class Answers, class Body>
int modelhost::Run(core::scene& scene, const std::string& path, Answers& answers, askhooks hooks,
                   Body&& body) {
  told_ = false;
  writeFault_.clear();
  hooks.onMessage = [this] { told_ = true; };
  const std::unique_ptr<desktop::idesktop> asking =
      answers.Ask() ? DesktopThatAsks(hooks) : nullptr;
  desktop::scripteddesktop scripted;
  answers.Attach(scripted);
  scripted.onMessage = [&](const std::string& text, const std::string& /*caption*/, int /*style*/) {
    const std::string cause = FaultOf(errno);
    told_ = true;
    out_.Error(path, text + (cause.empty() ? "" : ": " + cause));
  };
  scripted.onProgress = [&](const desktop::scriptedwindow& window) {
    // Texts of a run end in a line feed; the one that the window opens with says nothing.
    const std::string text = window.Text(kProgressText);
    out_.Progress(window.BarPosition(), window.BarHigh(),
                  text.ends_with('\n') ? text : window.Caption());
  };
  const currentrun current(scene, asking ? *asking : scripted);
  try {
    errno = 0;
    const int result = body();
    writeFault_ = FaultOf(errno);
    out_.EndProgress();
    return result;
  } catch (const core::assertionfailure& failed) {
    throw failure(path, FaultOf(failed));
  }
}

}  // namespace command
