#include <optional>
#include <string>
#include <utility>

#include "desktop/currentdesktop.h"
#include "mdmmdx/mdmfile.h"
#include "mdmmdx/mdxfile.h"
#include "plugin/handlers.h"
#include "plugin/run/allocation.h"
#include "plugin/run/run.h"
#include "skeletal/importrun.h"

namespace {

constexpr importformat kFormat{"ImportMDMMDX", "RTCW-ET", "MDM/MDX Importer(beta) - Options",
                               skinform::Quoted};
// Room for the path of the mdx file.
constexpr int kPathSize = 512;

struct importrun {
  cmdmfile mesh;
  cmdxfile skeleton;
  cprogress progress;
  std::optional<cskelimport> model{std::in_place, kFormat, progress};
};

std::optional<importrun> run;

// The run's tables; null when no run has any.
cskelimport* Model() { return run && run->model ? &*run->model : nullptr; }

int AskOpenMDXFileName(const char* model, char* path) {
  const cfiledialog dialog{
      "Load Animation File(MDX)",
      "RTCW-ET MDX Files (*.mdx)",
      "*.mdx",
      "mdx",
      kFileDialogFileMustExist | kFileDialogPathMustExist | kFileDialogHideReadOnly,
      model};
  return CurrentDesktop().AskOpenFile(dialog, path, kPathSize);
}

// A tag keeps one key, relative to its parent bone, and follows that bone.
void CreateTag(const cskelimport& model, const mdmTag& tag) {
  ownednode<cbone> tagbone =
      model.CreateBone(NameText(tag.name).data(), tag.boneIndex, {"tagbone", kFormat.source});
  cmatrix4 axis;
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t c = 0; c < 3; ++c) {
      axis.m[row][c] = tag.axis[row][c];
    }
  }
  ckey key;
  key.pos = MakePt3(tag.offset[0], tag.offset[1], tag.offset[2]);
  key.rot = QuatFromMatrix(axis);
  tagbone->anim.SetKey(key);
  HandOver(std::move(tagbone));
}

void CreateTags() {
  for (const mdmTag* tag : run->mesh.tags) {
    CreateTag(*run->model, *tag);
  }
}

}  // namespace

int cimpmdmmdx::Import(const char* path) {
  return RunToEdge([&] {
    const runscope scope(run);
    cmdmfile& mesh = run->mesh;
    cmdxfile& skeleton = run->skeleton;
    cskelimport& model = *run->model;
    char mdxPath[kPathSize] = {};
    if (AskOpenMDXFileName(path, mdxPath) == 0) {
      return kRunNothing;
    }
    std::string fault;
    if (!mesh.Load(path) || !skeleton.Load(mdxPath) || !mesh.FitsTo(skeleton, fault)) {
      return kRunFailed;
    }
    model.Begin(path, skeleton, mesh);
    LoadAnimConfig(mdxPath);
    CacheSkinFiles();
    const int result = model.Run({
        .loadSkinFile = [&](const char* skin) { LoadSkinFile(skin); },
        .addModelNote = [&] { model.AddModelNote(*mesh.header, *skeleton.header); },
        .createTags = CreateTags,
        .calcBoneFrame = [&](unsigned long frame) { CalcBoneFrame(&mesh, &skeleton, frame); },
        .createSurfMaterials = [&] { CreateSurfMaterials(); },
        .findMatBySurface = [&](const char* surface) { return FindMatBySurface(surface); },
    });
    run->model.reset();
    run->progress.Finish();
    return result;
  });
}

bool cimpmdmmdx::CalcBoneFrame(void* /*mesh*/, void* skeleton, unsigned long frame) {
  cskelimport* const model = Model();
  if (model == nullptr || skeleton == nullptr) {
    return false;
  }
  CalcBonePoses(*static_cast<cmdxfile*>(skeleton), frame, model->Poses());
  return true;
}

void cimpmdmmdx::CacheSkinFiles() {
  if (cskelimport* const model = Model(); model != nullptr) {
    model->CacheSkinFiles();
  }
}

bool cimpmdmmdx::LoadSkinFile(const char* path) {
  cskelimport* const model = Model();
  return model != nullptr && model->LoadSkinFile(path);
}

void cimpmdmmdx::CreateSurfMaterials() {
  if (cskelimport* const model = Model(); model != nullptr) {
    model->CreateSurfMaterials();
  }
}

cmaterial* cimpmdmmdx::FindMatBySurface(const char* surface) {
  const cskelimport* const model = Model();
  return model != nullptr ? model->FindMatBySurface(surface) : nullptr;
}

bool cimpmdmmdx::LoadAnimConfig(const char* mdxPath) {
  cskelimport* const model = Model();
  return model != nullptr && LoadAninc(mdxPath, model->Sequences());
}
