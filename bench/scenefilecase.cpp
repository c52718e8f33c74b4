#include "scenefilecase.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <unordered_map>

#include "core/pose.h"
#include "core/state.h"
#include "files/replacement.h"
#include "gltf/convention.h"
#include "gltf/gltf.h"

namespace {

// What the command has where a user asks for nothing else.
gltf::options Options() { return {.scale = 40.0, .ownRates = true}; }

void Warn(const std::string& path, const std::string& text) {
  std::fprintf(stderr, "%s: %s\n", path.c_str(), text.c_str());
}

bool Near(float a, double b, double size = 1.0) { return std::abs(a - b) <= 1e-5 * size; }

bool Near(const cpoint3& a, const core::vec3& b, double size) {
  return Near(a.x, b.x, size) && Near(a.y, b.y, size) && Near(a.z, b.z, size);
}

// Each vertex stands where the mesh has it when the joints stand as in the first frame.
void BindToFirstFrame(cskin& skin) {
  core::skinstate& state = skin.Skin();
  std::unordered_map<const cnode*, core::affine> fromWorld;
  for (std::size_t v = 0; v < state.stretches.size(); ++v) {
    const core::skinstretch& stretch = state.stretches[v];
    for (std::size_t i = stretch.first; i < stretch.first + stretch.count; ++i) {
      cskinweight& weight = state.weights[i];
      const auto [found, fresh] = fromWorld.try_emplace(weight.bone);
      if (fresh) {
        found->second = core::WorldAtFrame(*weight.bone, 0);
        core::InvertInPlace(found->second);
      }
      const core::affine& to = found->second;
      weight.offset = core::ToPoint(core::TransformVector(core::ToVec(state.mesh.verts[v]), to) +
                                    to.translation);
      weight.normal = core::ToPoint(core::TransformVector(core::ToVec(state.mesh.normals[v]), to));
    }
  }
}

// Compares a scene with the arrays of its file.
class comparison {
 public:
  comparison(const core::scene& scene, const baremodel& model) : model_(model) {
    for (const cnode* each : scene.Nodes()) {
      nodes_.emplace(each->State().name, each);
    }
  }

  bool Holds() const {
    return nodes_.size() == model_.nodes.size() &&
           std::ranges::all_of(model_.nodes, [&](const barenode& from) {
             const auto found = nodes_.find(from.name);
             return found != nodes_.end() &&
                    (from.mesh < 0 ? SameKeys(*found->second, from)
                                   : SameSurface(static_cast<const cskin&>(*found->second), from));
           });
  }

 private:
  core::vec3 ToScene(const std::array<float, 3>& p) const {
    return axes_.ToScene(core::vec3{p[0], p[1], p[2]});
  }

  bool SameKeys(const cnode& node, const barenode& from) const {
    const std::vector<ckey>& keys = node.State().track->State().keys;
    return keys.size() == from.keys.size() &&
           std::ranges::equal(keys, from.keys, [&](const ckey& a, const barekey& b) {
             const core::vec3 axis = ToScene({b.rotation[0], b.rotation[1], b.rotation[2]});
             const double cosine = a.rot.x * axis.x + a.rot.y * axis.y + a.rot.z * axis.z +
                                   a.rot.w * double{b.rotation[3]};
             return a.frame == b.frame && Near(a.pos, ToScene(b.translation) * scale_, scale_) &&
                    Near(static_cast<float>(std::abs(cosine)), 1.0);
           });
  }

  bool SameSurface(const cskin& skin, const barenode& from) const {
    const baremesh& mesh = model_.meshes[static_cast<std::size_t>(from.mesh)];
    const core::meshstate& made = skin.Skin().mesh;
    const std::size_t count = mesh.positions.size();
    if (made.verts.size() != count || made.normals.size() != mesh.normals.size() ||
        made.tverts.size() != mesh.coordinates.size() || made.faces.size() != mesh.faces.size()) {
      return false;
    }
    for (std::size_t f = 0; f < made.faces.size(); ++f) {
      for (std::size_t c = 0; c < 3; ++c) {
        if (made.faces[f].v[c] != static_cast<std::int32_t>(mesh.faces[f][gltf::OtherCorner(c)])) {
          return false;
        }
      }
    }
    const bareskin& bound = model_.skins[static_cast<std::size_t>(from.skin)];
    for (std::size_t v = 0; v < count; ++v) {
      if (!Near(made.tverts[v].x, mesh.coordinates[v][0]) ||
          !SameWeights(skin.Skin(), v, mesh, bound)) {
        return false;
      }
    }
    return true;
  }

  // A weight's offset is the vertex in its joint's space.
  bool SameWeights(const core::skinstate& skin, std::size_t v, const baremesh& mesh,
                   const bareskin& bound) const {
    const core::skinstretch& stretch = skin.stretches[v];
    std::uint32_t number = 0;
    for (std::size_t c = 0; c < 4; ++c) {
      const float weight = mesh.weights[v][c];
      if (weight == 0.0F) {
        continue;
      }
      if (number == stretch.count) {
        return false;
      }
      const cskinweight& made = skin.weights[stretch.first + number++];
      const std::size_t joint = mesh.joints[v][c];
      const std::array<float, 16>& m = bound.inverseBinds[joint];
      const std::array<float, 3>& p = mesh.positions[v];
      std::array<float, 3> offset{};
      for (std::size_t i = 0; i < 3; ++i) {
        offset[i] = p[0] * m[i] + p[1] * m[4 + i] + p[2] * m[8 + i] + m[12 + i];
      }
      if (made.weight != weight ||
          made.bone->State().name !=
              model_.nodes[static_cast<std::size_t>(bound.joints[joint])].name ||
          !Near(made.offset, ToScene(offset) * scale_, 100.0 * scale_)) {
        return false;
      }
    }
    return number == stretch.count;
  }

  const baremodel& model_;
  const gltf::axismap axes_{Options().front};
  const double scale_ = Options().scale;
  std::unordered_map<std::string, const cnode*> nodes_;
};

}  // namespace

scenefilecase::scenefilecase(const core::scene& scene, const benchfile& file, measuredrun what)
    : scene_(scene), path_(file.ScenePath()), barePath_(file.BareScenePath()), what_(what) {
  for (cnode* each : scene.Nodes()) {
    if (each->GetType() == kNodeSkin) {
      BindToFirstFrame(static_cast<cskin&>(*each));
    }
  }
  if (!Write()) {
    std::exit(EXIT_FAILURE);
  }
  if (what == measuredrun::BareWrite) {
    model_ = ReadBareGltf(path_);
  }
}

bool scenefilecase::Read() {
  gltf::report told;
  const bool read = gltf::ReadScene(path_, Options(), read_, told);
  if (!read) {
    Warn(path_, told.fault);
  }
  return read;
}

bool scenefilecase::Write() {
  gltf::report told;
  const bool written = gltf::WriteScene(scene_, path_, Options(), told);
  if (!written) {
    Warn(path_, told.fault);
  }
  return written;
}

bool scenefilecase::WriteUnnamed() {
  gltf::report told;
  files::replacement into(Warn);
  return gltf::WriteScene(scene_, path_, Options(), into, told);
}

int scenefilecase::Run() {
  switch (what_) {
    case measuredrun::ReadFile:
      return Read() ? 1 : 0;
    case measuredrun::BareRead:
      model_ = ReadBareGltf(path_);
      return 1;
    case measuredrun::WriteFile:
      return WriteUnnamed() ? 1 : 0;
    case measuredrun::ReplaceFile:
      return Write() ? 1 : 0;
    default:
      return WriteBareGltf(model_, barePath_) > 0 ? 1 : 0;
  }
}

bool scenefilecase::Agrees() {
  switch (what_) {
    case measuredrun::ReadFile:
      return comparison(read_, ReadBareGltf(path_)).Holds();
    case measuredrun::BareRead:
      return Read() && comparison(read_, model_).Holds();
    case measuredrun::BareWrite:
      return ReadBareGltf(barePath_) == ReadBareGltf(path_);
    default:
      // A file without its name is gone by now.
      return (what_ == measuredrun::ReplaceFile || Write()) &&
             comparison(scene_, ReadBareGltf(path_)).Holds();
  }
}
