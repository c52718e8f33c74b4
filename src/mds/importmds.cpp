#include <optional>
#include <utility>

#include "mds/mdsfile.h"
#include "plugin/handlers.h"
#include "plugin/run/run.h"
#include "skeletal/importrun.h"

namespace {

constexpr importformat kFormat{"ImportMDS", "RTCW", "", skinform::Plain};

struct importrun {
  cmdsfile file;
  cprogress progress;
  std::optional<cskelimport> model{std::in_place, kFormat, progress};
};

std::optional<importrun> run;

// The run's tables; null when no run has any.
cskelimport* Model() { return run && run->model ? &*run->model : nullptr; }

}  // namespace

int cimpmds::Import(const char* path) {
  return RunToEdge([&] {
    const runscope scope(run);
    cmdsfile& file = run->file;
    cskelimport& model = *run->model;
    if (!file.Load(path)) {
      return kRunFailed;
    }
    model.Begin(path, file, file);
    LoadAnimConfig();
    CacheSkinFiles();
    const int result = model.Run({
        .loadSkinFile = [&](const char* skin) { LoadSkinFile(skin); },
        .addModelNote = [&] { model.AddModelNote(*file.header, *file.header); },
        .createTags = {},
        .calcBoneFrame = [&](unsigned long frame) { CalcBoneFrame(&file, frame); },
        .createSurfMaterials = [&] { CreateSurfMaterials(); },
        .findMatBySurface = [&](const char* surface) { return FindMatBySurface(surface); },
    });
    run->model.reset();
    run->progress.Finish();
    return result;
  });
}

bool cimpmds::CalcBoneFrame(void* file, unsigned long frame) {
  cskelimport* const model = Model();
  if (model == nullptr || file == nullptr) {
    return false;
  }
  CalcBonePoses(*static_cast<cmdsfile*>(file), frame, model->Poses());
  return true;
}

void cimpmds::CacheSkinFiles() {
  if (cskelimport* const model = Model(); model != nullptr) {
    model->CacheSkinFiles();
  }
}

bool cimpmds::LoadSkinFile(const char* path) {
  cskelimport* const model = Model();
  return model != nullptr && model->LoadSkinFile(path);
}

void cimpmds::CreateSurfMaterials() {
  if (cskelimport* const model = Model(); model != nullptr) {
    model->CreateSurfMaterials();
  }
}

cmaterial* cimpmds::FindMatBySurface(const char* surface) {
  const cskelimport* const model = Model();
  return model != nullptr ? model->FindMatBySurface(surface) : nullptr;
}

bool cimpmds::LoadAnimConfig() {
  cskelimport* const model = Model();
  return model != nullptr && LoadWolfanim(model->Modeldir(), model->Sequences());
}
