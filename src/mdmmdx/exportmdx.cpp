#include <algorithm>

#include "desktop/currentdesktop.h"
#include "dialogs/options.h"
#include "mdmmdx/records.h"
#include "mdmmdx/writemdx.h"
#include "plugin/handlers.h"
#include "plugin/hierarchies.h"
#include "plugin/run/progress.h"
#include "plugin/run/run.h"
#include "sampling/names.h"
#include "skeletal/torso.h"

int WriteMDX(const char* path, const bonelist& list, const exportrange& range,
             cprogress& progress) {
  filewriter file;
  if (!file.Open(path)) {
    return kRunFailed;
  }
  expskeleton skeleton;
  CalcFrames(list, range, kMdmMdxSource, progress, skeleton);
  mdxHeader header{};
  std::ranges::copy(kMdxIdent, header.ident.begin());
  header.version = kMdxVersion;
  SetName(header.name, GetModelName(path).c_str());
  header.numFrames = range.NumFrames();
  header.numBones = static_cast<std::int32_t>(skeleton.Bones.size());
  header.torsoParent = FindTorsoParent(list.Names());
  file.Put(header);
  header.ofsFrames = file.Position();
  WriteFrames(file, skeleton);
  header.ofsBones = file.Position();
  WriteBones(file, skeleton);
  header.ofsEnd = file.Position();
  file.Seek(0);
  file.Put(header);
  return file.Close() ? kRunDone : kRunFailed;
}

namespace {

int ExportMdx(const char* path) {
  if (Interface::NumNodes() == 0) {
    CurrentDesktop().ShowMessage("No objects in scene!", "Export MDX", kMessageExclamation);
    return kRunNothing;
  }
  exportrange range{Interface::GetAnimStart(), Interface::GetAnimEnd(), {}};
  int exportmdx = 1;  // checked and disabled in the dialog
  if (ShowMDXExportOptions(&range.start, &range.end, range.originname, &exportmdx, 0) == 0) {
    return kRunNothing;
  }
  cprogress progress;
  progress.Open("Exporting MDX - Please wait...");
  const int result = WriteMDX(path, bonelist(tagbones::Apart, mdmmdxhierarchy), range, progress);
  progress.Finish();
  return result;
}

}  // namespace

int cexpmdx::Export(const char* path) {
  return RunToEdge([&] { return ExportMdx(path); });
}
