#include "command/finish/filenormals.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <type_traits>
#include <vector>

#include "command/files/readers.h"
#include "command/finish/normals.h"
#include "command/finish/openmodel.h"
#include "command/surfaces.h"
#include "core/deform.h"
#include "core/smooth.h"
#include "core/state.h"
#include "gltf/write/fault.h"
#include "gltf/write/skinning.h"

namespace command {

namespace {

// As the importers smooth.
constexpr double kAgreeing = 60.0;  // degrees

enum class reading { Smoothed, RestPose, FirstBone };

struct surface {
  cskin* skin = nullptr;
  core::meshstate rest;                   // in the rest pose, with smoothed normals
  std::vector<core::vec3> own;            // the file's normals; zero where it has none
  std::vector<const core::affine*> bind;  // of the bone of each vertex's first weight, or null
};

// The mean angle of each reading from the smoothed normals, which follow the faces.
struct agreement {
  double restPose = 0.0;
  double firstBone = 0.0;
  std::size_t count = 0;
};

double Degrees(const core::vec3& a, const cpoint3& b) {
  return std::acos(std::clamp(core::Dot(a, core::ToVec(b)), -1.0, 1.0)) *
         (180.0 / std::numbers::pi);
}

// Of a rotation.
core::vec3 RotateBack(const core::vec3& v, const core::affine& m) {
  return {core::Dot(v, m.row[0]), core::Dot(v, m.row[1]), core::Dot(v, m.row[2])};
}

class normaltaker {
 public:
  normaltaker(core::scene& scene, const skelmesh& file)
      : scene_(scene), rest_(scene, warnings_), binds_(scene.Nodes().size()) {
    for (std::size_t j = 0; j < rest_.Joints().size(); ++j) {
      if (!rest_.Joints()[j].ownPlace) {
        binds_[rest_.Joints()[j].node] = &rest_.Binds()[j];
      }
    }
    const std::vector<cskin*> skins = SkinsOf(scene);
    for (std::size_t s = 0; s < skins.size() && skins.size() == file.surfaces.size(); ++s) {
      const skelsurfentry& entry = file.surfaces[s];
      if (static_cast<std::size_t>(entry.numVerts) == skins[s]->Skin().mesh.verts.size() &&
          rest_.IsSkinned(Index(*skins[s]))) {
        Add(*skins[s], entry, file);
      }
    }
  }

  const agreement& Agreement() const { return agreement_; }
  bool Any() const { return !surfaces_.empty(); }

  void Set(reading chosen) {
    for (surface& each : surfaces_) {
      SetSurface(each, chosen);
    }
  }

 private:
  static std::size_t Index(const cskin& skin) {
    return static_cast<std::size_t>(skin.State().index);
  }

  const core::affine* BindOf(const cskinweight& weight) const {
    return weight.bone == nullptr || weight.bone->State().owner != &scene_
               ? nullptr
               : binds_[static_cast<std::size_t>(weight.bone->State().index)];
  }

  void Add(cskin& skin, const skelsurfentry& entry, const skelmesh& file) {
    surface& made = surfaces_.emplace_back();
    const core::skinstate& state = skin.Skin();
    const std::size_t count = state.mesh.verts.size();
    made.skin = &skin;
    made.rest.faces = state.mesh.faces;
    made.rest.verts.reserve(count);
    for (std::size_t v = 0; v < count; ++v) {
      made.rest.verts.push_back(core::ToPoint(rest_.RestPlace(Index(skin), v)));
    }
    core::SmoothNormals(made.rest, kSmoothingAngle);
    made.own.reserve(count);
    made.bind.reserve(count);
    cvertexwalk walk = file.Vertices(entry);
    for (std::size_t v = 0; v < count; ++v, walk.Next()) {
      const auto& stored = walk.Vertex().normal;
      const core::vec3 own = core::Unit({stored[0], stored[1], stored[2]});
      const core::skinstretch& weights = state.stretches[v];
      const bool first = weights.count > 0 && walk.Weights()->boneIndex >= 0;
      const core::affine* const bind = first ? BindOf(state.weights[weights.first]) : nullptr;
      made.own.push_back(own);
      made.bind.push_back(bind);
      if (bind != nullptr && !core::IsZero(own)) {
        agreement_.restPose += Degrees(own, made.rest.normals[v]);
        agreement_.firstBone += Degrees(core::TransformVector(own, *bind), made.rest.normals[v]);
        ++agreement_.count;
      }
    }
  }

  void SetSurface(surface& from, reading chosen) {
    core::skinstate& state = from.skin->Skin();
    state.mesh.verts = std::move(from.rest.verts);
    state.mesh.normals = std::move(from.rest.normals);
    for (std::size_t v = 0; v < state.mesh.verts.size(); ++v) {
      cpoint3& normal = state.mesh.normals[v];
      if (!core::IsZero(from.own[v]) && from.bind[v] != nullptr && chosen != reading::Smoothed) {
        normal = core::ToPoint(chosen == reading::RestPose
                                   ? from.own[v]
                                   : core::TransformVector(from.own[v], *from.bind[v]));
      }
      const core::skinstretch& weights = state.stretches[v];
      for (std::size_t i = weights.first; i < weights.first + weights.count; ++i) {
        if (const core::affine* const bind = BindOf(state.weights[i])) {
          state.weights[i].normal = core::ToPoint(RotateBack(core::ToVec(normal), *bind));
        }
      }
    }
    state.prepared.reset();
  }

  core::scene& scene_;
  std::vector<std::string> warnings_;  // the writer of the scene tells them
  gltf::skinning rest_;
  std::vector<const core::affine*> binds_;  // by the scene's nodes; null: moves no vertex
  std::vector<surface> surfaces_;
  agreement agreement_;
};

std::string Rounded(double degrees) {
  char text[32];
  std::snprintf(text, sizeof text, "%.0f", degrees);
  return text;
}

void Take(console& out, const std::string& path, const skelmesh& file, core::scene& scene) {
  normaltaker taker(scene, file);
  if (!taker.Any()) {
    return;
  }
  const agreement& sums = taker.Agreement();
  if (sums.count == 0) {
    taker.Set(reading::Smoothed);
    out.Note(path, "has no normals: smoothed ones are taken");
    return;
  }
  const double restPose = sums.restPose / static_cast<double>(sums.count);
  const double firstBone = sums.firstBone / static_cast<double>(sums.count);
  if (std::min(restPose, firstBone) > kAgreeing) {
    taker.Set(reading::Smoothed);
    out.Note(path, "its normals are " + Rounded(std::min(restPose, firstBone)) +
                       " degrees from the faces in the mean: smoothed ones are taken");
  } else if (firstBone <= restPose) {
    taker.Set(reading::FirstBone);
    out.Note(path, "its normals are taken, in the spaces of the vertices' first bones");
  } else {
    taker.Set(reading::RestPose);
    out.Note(path, "its normals are taken, in the space of the rest pose");
  }
}

}  // namespace

void TakeFileNormals(console& out, const std::string& path, filekind kind, core::scene& scene) {
  try {
    WithReader(kind, [&]<class File>(File&& file) {
      if constexpr (std::is_base_of_v<skelmesh, File>) {
        if (LoadAgain(path, path, file)) {
          Take(out, path, file, scene);
        }
      }
    });
  } catch (const gltf::writefault& fault) {
    out.Warning(path, "its normals are not taken: " + std::string(fault.what()));
  }
}

}  // namespace command
