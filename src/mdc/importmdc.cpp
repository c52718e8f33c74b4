#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "dialogs/options.h"
#include "mdc/mdcfile.h"
#include "plugin/handlers.h"
#include "plugin/host/scene.h"
#include "plugin/run/allocation.h"
#include "plugin/run/owned.h"
#include "plugin/run/run.h"
#include "sidefiles/directories.h"
#include "sidefiles/materials.h"

namespace {

constexpr char kSource[] = "ImportMDC";
constexpr float kSmoothingAngle = 45.0F;

struct importrun {
  cmdcfile file;
  std::string gamedir;
  cmaterials materials{kSource};
  // One for each surface; null where the surface has no shader.
  std::vector<cmaterial*> surfmaterials;
};

std::optional<importrun> run;

cpoint3 Point(const std::array<float, 3>& values) {
  return MakePt3(values[0], values[1], values[2]);
}

void AddModelNote() {
  const mdcHeader& header = *run->file.header;
  const std::string ident(header.ident.data(), header.ident.size());
  char text[1024];
  const int length =
      std::snprintf(text, sizeof text,
                    "RTCW MDC Model: %s\nident:        %s\nversion:      %d\nNum Frames:   %d\n"
                    "Num Surfaces: %d\nNum Skins:    %d\nNum Tags:     %d\n\n",
                    NameText(header.name).data(), ident.c_str(), std::int32_t{header.version},
                    std::int32_t{header.numFrames}, std::int32_t{header.numSurfaces},
                    std::int32_t{header.numSkins}, std::int32_t{header.numTags});
  Interface::AddNotes(text, length);
}

void CreateTagBone(const cmdctagentry& tag, int frame) {
  ownednode<cbone> bone(RequireNew(CreateNewBone(), {"bone", kSource}));
  bone->SetName(NameText(*tag.name).data());
  ckey key;
  key.pos = Point(run->file.TagPosition(tag, frame));
  key.rot = EulerToQuat(Point(cmdcfile::TagAngles(tag, frame)));
  bone->anim.SetKey(key);
  bone->UpdateAnim();
  HandOver(std::move(bone));
}

// Every shader becomes a material; a surface wears its first.
void CreateShaderMaterials(const cmdcfile& file) {
  run->materials.FindUnused();
  run->surfmaterials.assign(file.surfaces.size(), nullptr);
  for (std::size_t s = 0; s < file.surfaces.size(); ++s) {
    const cmdcsurfentry& entry = file.surfaces[s];
    for (std::int32_t k = 0; k < entry.numShaders; ++k) {
      std::string path = run->gamedir + NameText(entry.shaders[k].name).data();
      cmaterial* material = run->materials.Require(path);
      if (k == 0) {
        run->surfmaterials[s] = material;
      }
    }
  }
}

void CreateSurfaceMesh(const cmdcsurfentry& entry, cmaterial* material, int frame) {
  const std::int32_t numVerts = entry.numVerts;
  const std::int32_t numTriangles = entry.numTriangles;
  ownednode<cmesh> m(RequireNew(CreateNewMesh(), {"m", kSource}));
  if (m->Allocate(numVerts, numVerts, numTriangles) == 0) {
    return;
  }
  m->SetName(NameText(entry.surface->name).data());
  if (material != nullptr) {
    m->SetMaterial(material);
  }
  for (std::int32_t v = 0; v < numVerts; ++v) {
    m->SetVert(v, Point(run->file.VertexPosition(entry, frame, v)));
    m->SetTVert(v, MakePt3(entry.st[v][0], entry.st[v][1], 0.0F));
  }
  for (std::int32_t t = 0; t < numTriangles; ++t) {
    cface face;
    for (std::size_t c = 0; c < 3; ++c) {
      face.v[c] = entry.triangles[t][c];
      face.tv[c] = entry.triangles[t][c];
    }
    m->SetFace(t, face);
  }
  m->AutoSmooth(kSmoothingAngle, 0);
  HandOver(std::move(m));
}

int ImportMdc(const char* path) {
  const runscope scope(run);
  if (!run->file.Load(path)) {
    return kRunFailed;
  }
  const cmdcfile& file = run->file;
  int frame = 0;
  if (ShowMDCImportOptions(file.header->numFrames, &frame) == 0) {
    return kRunNothing;
  }
  if (std::string fault; !file.HoldsFrame(frame, fault)) {
    return kRunFailed;
  }
  run->gamedir = GameDirectoryOrOwn(path);
  AddModelNote();
  for (const cmdctagentry& tag : file.tagTable) {
    CreateTagBone(tag, frame);
  }
  CreateShaderMaterials(file);
  for (std::size_t s = 0; s < file.surfaces.size(); ++s) {
    CreateSurfaceMesh(file.surfaces[s], run->surfmaterials[s], frame);
  }
  return kRunDone;
}

}  // namespace

int cimpmdc::Import(const char* path) {
  return RunToEdge([&] { return ImportMdc(path); });
}
