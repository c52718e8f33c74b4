#include "benchscene.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

#include "command/finish/finishmodel.h"
#include "command/finish/mdcframes.h"
#include "core/state.h"
#include "gltf/gltf.h"

namespace {

constexpr float kJointStep = 4.0F;  // units between neighbouring joints
constexpr int kJointsPerSurface = 6;
constexpr int kLongestChain = 128;  // joints
constexpr int kRow = 10;            // vertices in a row of a surface's grid

// The button that selects every sequence of dialog 101.
constexpr int kSkeletalImportDialog = 101;
constexpr int kSelectAllSequences = 1005;

std::string Numbered(const char* stem, int number) { return stem + std::to_string(number); }

cface Triangle(int a, int b, int c) {
  cface face;
  face.v[0] = face.tv[0] = a;
  face.v[1] = face.tv[1] = b;
  face.v[2] = face.tv[2] = c;
  return face;
}

}  // namespace

double modelsize::SceneBytes() const {
  // One normal and one texture vertex a vertex, and two triangles.
  const double vertex = 3.0 * sizeof(cpoint3) + 2.0 * sizeof(cface) +
                        static_cast<double>(weights) * sizeof(cskinweight) +
                        sizeof(core::skinstretch);
  return JointFrames() * sizeof(ckey) + Vertices() * vertex;
}

benchhost::benchhost(const modelsize& size) {
  std::string error;
  module_ = module::library::Load(MARROW_MODULE_PATH, error);
  if (!module_) {
    std::fprintf(stderr, "%s: %s\n", MARROW_MODULE_PATH, error.c_str());
    std::exit(EXIT_FAILURE);
  }
  desktop_.scripts[kSkeletalImportDialog] = [](desktop::scriptedwindow& window) {
    window.Click(kSelectAllSequences);
    window.Ok();
  };
  desktop::MakeCurrent(&desktop_);
  core::scene::MakeCurrent(&scene_);
  AddJoints(size);
  for (int surface = 0; surface < size.surfaces; ++surface) {
    AddSurface(size, surface);
  }
  SetFrames(size.frames);
}

benchhost::~benchhost() {
  desktop::MakeCurrent(nullptr);
  core::scene::MakeCurrent(nullptr);
}

void benchhost::AddJoints(const modelsize& size) {
  cbone* parent = nullptr;
  for (int joint = 0; joint < size.joints; ++joint) {
    parent = joint % kLongestChain == 0 ? nullptr : parent;
    cbone* const bone = CreateNewBone();
    bone->SetName(Numbered("joint", joint).c_str());
    Interface::AddToScene(bone, 0);
    bone->anim.SetNumKeys(size.frames, 0);
    for (int frame = 0; frame < size.frames; ++frame) {
      ckey key;
      key.frame = frame;
      key.pos = MakePt3(0.0F, 0.0F, parent != nullptr ? kJointStep : 0.0F);
      // No two frames are the same, which would share a morph target.
      const float drift = 5.0F * static_cast<float>(frame) / static_cast<float>(size.frames);
      const float swing = static_cast<float>((7 * frame + 3 * joint) % 20 - 10) + drift;
      key.rot = EulerToQuat(MakePt3(swing, 0.5F * swing, 0.0F));
      bone->anim.SetKeyAt(frame, key, 0);
    }
    if (parent != nullptr) {
      parent->AttachChild(bone, 1);
    }
    bone->UpdateAnim();
    parent = bone;
  }
}

void benchhost::AddSurface(const modelsize& size, int surface) {
  const int count = size.vertsPerSurface;
  const int rows = count / kRow;
  cmesh* const mesh = CreateNewMesh();
  mesh->Allocate(count, count, 2 * (rows - 1) * (kRow - 1));
  for (int vertex = 0; vertex < count; ++vertex) {
    const auto column = static_cast<float>(vertex % kRow);
    const int line = vertex / kRow;
    const auto row = static_cast<float>(line) * 0.1F;
    mesh->SetVert(vertex, MakePt3(column, row, static_cast<float>(surface)));
    mesh->SetTVert(vertex, MakePt3(column / kRow, row, 0.0F));
  }
  int face = 0;
  for (int row = 0; row + 1 < rows; ++row) {
    for (int column = 0; column + 1 < kRow; ++column) {
      const int corner = row * kRow + column;
      mesh->SetFace(face++, Triangle(corner, corner + 1, corner + kRow));
      mesh->SetFace(face++, Triangle(corner + 1, corner + kRow + 1, corner + kRow));
    }
  }
  cskin* const skin = CreateNewSkin();
  skin->Init(mesh);
  mesh->Destroy();
  skin->SetName(Numbered("surface", surface).c_str());
  for (int vertex = 0; vertex < count; ++vertex) {
    skin->SetVertNumWeights(vertex, size.weights);
    for (int i = 0; i < size.weights; ++i) {
      const int joint = (surface + (vertex + i) % kJointsPerSurface) % size.joints;
      cskinweight weight;
      weight.weight = 1.0F / static_cast<float>(size.weights);
      weight.offset = MakePt3(static_cast<float>(vertex % kRow) * 0.5F,
                              static_cast<float>(i) * kJointStep, 1.0F);
      weight.normal = MakePt3(0.0F, 0.0F, 1.0F);
      weight.bone = scene_.Nodes()[static_cast<std::size_t>(joint)];
      skin->SetVertWeight(vertex, i, weight);
    }
  }
  Interface::AddToScene(skin, 0);
}

int benchhost::Export(const benchfile& file) {
  desktop_.onSaveFile = [&](const cfiledialog& /*dialog*/, std::string& path) {
    path = file.SkeletonPath();
    return true;
  };
  return module_->FindExporter(file.Format())->exporter->Export(file.Path().c_str());
}

int benchhost::Import(const benchfile& file) {
  desktop_.onOpenFile = [&](const cfiledialog& /*dialog*/, std::string& path) {
    path = file.SkeletonPath();
    return true;
  };
  core::scene imported;
  core::scene::MakeCurrent(&imported);
  const int result = module_->FindImporter(file.Format())->importer->Import(file.Path().c_str());
  core::scene::MakeCurrent(&scene_);
  return result;
}

void benchhost::SetNormals(const benchfile& file, int frames) {
  command::console out;
  command::FinishModel(out, file.Path(), file.Path(), command::filekind::Mdc, {}, scene_,
                       command::framerange{0, frames});
}

int benchhost::WriteScene(const benchfile& file) {
  core::scene imported;
  int result = 0;
  {
    command::mdcframes frames(file.Path());
    frames.Choose({});
    core::scene::MakeCurrent(&imported);
    result = module_->FindImporter(file.Format())->importer->Import(file.Path().c_str());
    core::scene::MakeCurrent(&scene_);
    if (result == 1) {
      frames.Take(imported, true);
    }
  }
  if (result == 1) {
    gltf::report told;
    result = gltf::WriteScene(imported, file.ScenePath(), {.scale = 40.0}, told) ? 1 : 0;
  }
  return result;
}

benchfile::benchfile(const std::string& format, int frames) : format_(format) {
  std::string name = (std::filesystem::temp_directory_path() / "marrow_bench_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    std::perror(name.c_str());
    std::exit(EXIT_FAILURE);
  }
  directory_ = name;
  path_ = directory_ + "/bench." + format;
  const std::string sequence = "all 0 " + std::to_string(frames) + " 0 20\n";
  std::ofstream(directory_ + "/wolfanim.cfg") << "VERSION 2\nSTARTANIMS\n"
                                              << sequence << "ENDANIMS\n";
  std::ofstream(directory_ + "/bench.aninc") << sequence;
}

benchfile::~benchfile() {
  std::error_code error;
  std::filesystem::remove_all(directory_, error);
}
