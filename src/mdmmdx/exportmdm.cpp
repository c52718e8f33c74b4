#include <algorithm>
#include <optional>
#include <string>

#include "desktop/currentdesktop.h"
#include "dialogs/options.h"
#include "mdmmdx/records.h"
#include "mdmmdx/writemdx.h"
#include "plugin/handlers.h"
#include "plugin/hierarchies.h"
#include "plugin/run/progress.h"
#include "plugin/run/run.h"
#include "sampling/names.h"
#include "skeletal/exportsurfaces.h"

namespace {

constexpr char kFailureCaption[] = "Export MDM";

// Bones and tags of the file, with the parents' numbers among the bones.
struct mdmbones {
  std::vector<expbone> Bones;
  std::vector<expbone> Tags;
};

// The path for the mdx file; none when the user gave none.
std::optional<std::string> AskMDXFileName(const char* model) {
  constexpr int kFileFieldSize = 256;
  const cfiledialog dialog{"Save Animation File(MDX)",
                           "RTCW-ET MDX Files (*.mdx)",
                           "*.mdx",
                           "mdx",
                           kFileDialogFileMustExist | kFileDialogPathMustExist |
                               kFileDialogHideReadOnly | kFileDialogOverwritePrompt,
                           model};
  char field[kFileFieldSize] = {};
  if (CurrentDesktop().AskSaveFile(dialog, field, kFileFieldSize) == 0 || field[0] == '\0') {
    return std::nullopt;
  }
  std::string path(field);
  if (path.find('.') == std::string::npos) {
    path += ".mdx";
  }
  return path;
}

// The tag's place at scene frame 0 as seen from its parent in the scene, whatever node that is.
void PlaceTag(mdmTag& tag, cnode& node) {
  cmatrix4 parentRotation;
  cmatrix4 parentWorld;
  if (cnode* parent = node.GetParent(); parent != nullptr) {
    parentRotation = parent->GetTMAtFrame(0, kRotationOnly);
    parentWorld = parent->GetTMAtFrame(0, kWholeTransform);
  }
  const cmatrix4 axis = node.GetTMAtFrame(0, kRotationOnly) * Inverse(parentRotation);
  for (int row = 0; row < 3; ++row) {
    const cpoint3 direction = axis.GetRow3(row);
    tag.axis[static_cast<std::size_t>(row)] = {direction.x, direction.y, direction.z};
  }
  const cpoint3 offset = (node.GetTMAtFrame(0, kWholeTransform) * Inverse(parentWorld)).GetTrans();
  tag.offset = {offset.x, offset.y, offset.z};
}

void WriteTags(filewriter& file, const mdmbones& bones) {
  std::vector<little<std::int32_t>> chain;
  for (const expbone& entry : bones.Tags) {
    chain.clear();
    for (std::int32_t at = entry.info.parent; at >= 0;
         at = bones.Bones[static_cast<std::size_t>(at)].info.parent) {
      chain.emplace_back(at);
    }
    std::ranges::reverse(chain);
    mdmTag tag{};
    tag.name = entry.info.name;
    tag.boneIndex = entry.info.parent;
    PlaceTag(tag, *entry.node);
    tag.numBoneReferences = static_cast<std::int32_t>(chain.size());
    tag.ofsBoneReferences = sizeof(mdmTag);
    tag.ofsEnd = static_cast<std::int32_t>(sizeof(mdmTag) + sizeof(chain[0]) * chain.size());
    file.Put(tag);
    file.PutAll(chain);
  }
}

// 0: the file could not be opened or written.
int WriteMDM(const char* path, const bonelist& list, cprogress& progress) {
  filewriter file;
  if (!file.Open(path)) {
    return kRunFailed;
  }
  mdmbones bones;
  CollectBones(list, list.Bones(), bones.Bones, {"Bones", kMdmMdxSource});
  CollectBones(list, list.Tags(), bones.Tags, {"Bones", kMdmMdxSource});
  expsurfaces Surfaces;
  CollectSurfaces(list, bones.Bones, kMdmSurfaceIdent, kMdmMdxSource, progress, Surfaces);
  mdmHeader header{};
  std::ranges::copy(kMdmIdent, header.ident.begin());
  header.version = kMdmVersion;
  SetName(header.name, GetModelName(path).c_str());
  header.lodBias = 0.0F;
  header.lodScale = 1.0F;
  header.numSurfaces = static_cast<std::int32_t>(Surfaces.size());
  header.numTags = static_cast<std::int32_t>(bones.Tags.size());
  file.Put(header);
  header.ofsSurfaces = file.Position();
  for (const auto& surface : Surfaces) {
    WriteSurface<mdmVertex>(file, *surface);
  }
  header.ofsTags = file.Position();
  WriteTags(file, bones);
  header.ofsEnd = file.Position();
  file.Seek(0);
  file.Put(header);
  return file.Close() ? kRunDone : kRunFailed;
}

int Reported(int result, const char* failure) {
  if (result == kRunFailed) {
    CurrentDesktop().ShowMessage(failure, kFailureCaption, kMessageExclamation);
  }
  return result;
}

// Both files; what was collected is released with the last of them.
int WriteFiles(const char* path, const exportrange& range, bool exportmdx, cprogress& progress) {
  const bonelist list(tagbones::Apart, mdmmdxhierarchy);
  int result = Reported(WriteMDM(path, list, progress), "Failed To Export MDM file!");
  if (result == kRunDone && exportmdx) {
    if (const auto mdxpath = AskMDXFileName(path); mdxpath) {
      progress.SetFocus();
      result =
          Reported(WriteMDX(mdxpath->c_str(), list, range, progress), "Failed To Export MDX file!");
    }
  }
  return result;
}

int ExportMdm(const char* path) {
  if (Interface::NumNodes() == 0) {
    CurrentDesktop().ShowMessage("No objects in scene!", "Export MDM/MDX", kMessageExclamation);
    return kRunNothing;
  }
  exportrange range{Interface::GetAnimStart(), Interface::GetAnimEnd(), {}};
  int exportmdx = 0;
  if (ShowMDXExportOptions(&range.start, &range.end, range.originname, &exportmdx, 1) == 0) {
    return kRunNothing;
  }
  cprogress progress;
  progress.Open("Exporting MDM - Please wait...");
  const int result = WriteFiles(path, range, exportmdx != 0, progress);
  progress.Finish();
  return result;
}

}  // namespace

int cexpmdmmdx::Export(const char* path) {
  return RunToEdge([&] { return ExportMdm(path); });
}
