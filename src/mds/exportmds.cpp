#include <algorithm>
#include <utility>

#include "desktop/currentdesktop.h"
#include "dialogs/options.h"
#include "mds/records.h"
#include "plugin/handlers.h"
#include "plugin/hierarchies.h"
#include "plugin/run/progress.h"
#include "plugin/run/run.h"
#include "sampling/names.h"
#include "skeletal/exportframes.h"
#include "skeletal/exportsurfaces.h"
#include "skeletal/torso.h"

namespace {

constexpr char kSource[] = "ExportMDS";

// A tag is a bone of the list with a flag; its record here names that bone.
std::vector<mdsTag> MakeTags(const std::vector<expbone>& Bones) {
  std::vector<mdsTag> tags;
  std::int32_t boneIndex = 0;
  for (const expbone& bone : Bones) {
    if (bone.info.flags != 0) {
      tags.push_back(
          {bone.info.name, GetTagTorsoWeight(NameText(bone.info.name).data()), boneIndex});
    }
    ++boneIndex;
  }
  return tags;
}

void WriteFile(filewriter& file, const char* path, int numFrames, int torsoParent,
               const expskeleton& skeleton, const expsurfaces& Surfaces) {
  const std::vector<mdsTag> tags = MakeTags(skeleton.Bones);
  mdsHeader header{};
  std::ranges::copy(kMdsIdent, header.ident.begin());
  header.version = kMdsVersion;
  SetName(header.name, GetModelName(path).c_str());
  header.lodScale = 1.0F;
  header.lodBias = 0.0F;
  header.numFrames = numFrames;
  header.numBones = static_cast<std::int32_t>(skeleton.Bones.size());
  header.torsoParent = torsoParent;
  header.numSurfaces = static_cast<std::int32_t>(Surfaces.size());
  header.numTags = static_cast<std::int32_t>(tags.size());
  file.Put(header);
  header.ofsFrames = file.Position();
  WriteFrames(file, skeleton);
  header.ofsBones = file.Position();
  WriteBones(file, skeleton);
  header.ofsSurfaces = file.Position();
  for (const auto& surface : Surfaces) {
    WriteSurface<mdsVertex>(file, *surface);
  }
  header.ofsTags = file.Position();
  file.PutAll(tags);
  header.ofsEnd = file.Position();
  file.Seek(0);
  file.Put(header);
  // A failure is for whoever reads the file to find: the run has reached its end.
  file.Close();
}

// Everything that is collected is released when the file stands.
void CollectAndWrite(bonelist list, const exportrange& range, int torsoParent, filewriter& file,
                     const char* path, cprogress& progress) {
  expskeleton skeleton;
  expsurfaces Surfaces;
  CalcFrames(list, range, kSource, progress, skeleton);
  CollectSurfaces(list, skeleton.Bones, kMdsSurfaceIdent, kSource, progress, Surfaces);
  WriteFile(file, path, range.NumFrames(), torsoParent, skeleton, Surfaces);
}

int ExportMds(const char* path) {
  if (Interface::NumNodes() == 0) {
    CurrentDesktop().ShowMessage("No objects in scene!", "Export MDS", kMessageExclamation);
    return kRunNothing;
  }
  bonelist list(tagbones::Listed, mdshierarchy);
  const int torsoParent = FindTorsoParent(list.Names());
  exportrange range{Interface::GetAnimStart(), Interface::GetAnimEnd(), {}};
  int usemodels = 0;  // disabled in the dialog: shaders always have the folder
  if (ShowExportOptions(&range.start, &range.end, &usemodels, range.originname, 0) == 0) {
    return kRunNothing;
  }
  filewriter file;
  if (!file.Open(path)) {
    return kRunFailed;
  }
  cprogress progress;
  progress.Open("Exporting MDS - Please wait...");
  CollectAndWrite(std::move(list), range, torsoParent, file, path, progress);
  progress.Finish();
  return kRunDone;
}

}  // namespace

int cexpmds::Export(const char* path) {
  return RunToEdge([&] { return ExportMds(path); });
}
