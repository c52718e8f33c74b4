#include <optional>

#include "mds/mdsfile.h"
#include "plugin/handlers.h"
#include "plugin/run/run.h"
#include "skeletal/importrun.h"

namespace {

constexpr importformat kFormat{"ImportMDS", "RTCW", "", skinform::Plain};

struct importrun {
  cmdsfile file;
  cskelimport model{kFormat};
};

std::optional<importrun> run;

}  // namespace

int cimpmds::Import(const char* path) {
  return RunToEdge([&] {
    const runscope scope(run);
    cmdsfile& file = run->file;
    cskelimport& model = run->model;
    if (!file.Load(path)) {
      return kRunFailed;
    }
    model.Begin(path, file, file);
    LoadAnimConfig();
    CacheSkinFiles();
    return model.Run({
        .loadSkinFile = [&](const char* skin) { LoadSkinFile(skin); },
        .addModelNote = [&] { model.AddModelNote(*file.header, *file.header); },
        .createTags = {},
        .calcBoneFrame = [&](unsigned long frame) { CalcBoneFrame(&file, frame); },
        .createSurfMaterials = [&] { CreateSurfMaterials(); },
        .findMatBySurface = [&](const char* surface) { return FindMatBySurface(surface); },
    });
  });
}

bool cimpmds::CalcBoneFrame(void* file, unsigned long frame) {
  CalcBonePoses(*static_cast<cmdsfile*>(file), frame, run->model.Poses());
  return true;
}

void cimpmds::CacheSkinFiles() { run->model.CacheSkinFiles(); }

bool cimpmds::LoadSkinFile(const char* path) { return run->model.LoadSkinFile(path); }

void cimpmds::CreateSurfMaterials() { run->model.CreateSurfMaterials(); }

cmaterial* cimpmds::FindMatBySurface(const char* surface) {
  return run->model.FindMatBySurface(surface);
}

bool cimpmds::LoadAnimConfig() {
  return LoadWolfanim(run->model.Modeldir(), run->model.Sequences());
}
