#include "command/finish/normals.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include "command/finish/openmodel.h"
#include "command/surfaces.h"
#include "command/wording.h"
#include "core/deform.h"
#include "core/pose.h"
#include "core/state.h"

namespace command {

namespace {

void RequireCount(std::int64_t found, std::int64_t wanted, const std::string& what) {
  if (const std::string fault = FaultOfCount(what, found, wanted); !fault.empty()) {
    throw std::runtime_error(fault);
  }
}

void RequireVertices(std::int32_t found, const cexpmesh& mesh, std::size_t surface) {
  RequireCount(found, mesh.numVerts, "vertices in surface " + std::to_string(surface));
}

// In single precision, which is finer than a step by far: this is done for each vertex and frame.
struct turner {
  float m[3][3];

  explicit turner(const core::affine& turn) {
    for (int i = 0; i < 3; ++i) {
      // Rows of any length would do, but not ones that leave the range of single precision.
      const core::vec3& row = turn.row[i];
      m[i][0] = static_cast<float>(row.x);
      m[i][1] = static_cast<float>(row.y);
      m[i][2] = static_cast<float>(row.z);
    }
  }
  std::uint16_t Code(const cpoint3& n) const {
    return MdcNormal(n.x * m[0][0] + n.y * m[1][0] + n.z * m[2][0],
                     n.x * m[0][1] + n.y * m[1][1] + n.z * m[2][1],
                     n.x * m[0][2] + n.y * m[1][2] + n.z * m[2][2]);
  }
};

core::affine InRange(const core::affine& turn) {
  double size = 0.0;
  for (const core::vec3& row : turn.row) {
    size = std::max({size, std::abs(row.x), std::abs(row.y), std::abs(row.z)});
  }
  const double factor = size > 0.0 && std::isfinite(size) ? 1.0 / size : 0.0;
  return {{turn.row[0] * factor, turn.row[1] * factor, turn.row[2] * factor}, {}};
}

bool SameAxes(const core::affine& a, const core::affine& b) {
  for (int i = 0; i < 3; ++i) {
    if (!core::IsZero(a.row[i] - b.row[i])) {
      return false;
    }
  }
  return true;
}

}  // namespace

std::uint16_t MdcNormal(float x, float y, float z) {
  constexpr float kSteps = 128.0F / std::numbers::pi_v<float>;
  // What rounding leaves of a direction that is meant to be vertical has no angle about Z.
  constexpr float kVertical = 1e-5F;
  const float across = std::sqrt(x * x + y * y);
  if (!std::isfinite(across + z) || (across == 0.0F && z == 0.0F)) {
    return 0;
  }
  const auto fromUp = static_cast<unsigned>(std::lround(std::atan2(across, z) * kSteps));
  if (across <= kVertical * std::abs(z)) {
    return static_cast<std::uint16_t>(fromUp);
  }
  const auto about = static_cast<unsigned>(std::lround(std::atan2(y, x) * kSteps)) & 0xFFU;
  return static_cast<std::uint16_t>(about << 8U | fromUp);
}

cpoint3 MdcDirection(std::uint16_t code) {
  struct turn {
    float cos = 0.0F;
    float sin = 0.0F;
  };
  // Of each of the 256 steps: there is a normal for each vertex and frame.
  static const std::array<turn, 256> kTurns = [] {
    std::array<turn, 256> made{};
    for (std::size_t i = 0; i < made.size(); ++i) {
      const float angle = static_cast<float>(i) * (std::numbers::pi_v<float> / 128.0F);
      made[i] = {std::cos(angle), std::sin(angle)};
    }
    return made;
  }();
  const turn& fromUp = kTurns[code & 0xFFU];
  const turn& about = kTurns[code >> 8U];
  return {about.cos * fromUp.sin, about.sin * fromUp.sin, fromUp.cos};
}

mdcsource::mdcsource(cnode& surface) : node_(&surface) {
  if (surface.GetType() == kNodeSkin) {
    skin_ = static_cast<cskin*>(&surface);
    mesh_.BuildFromSkin(skin_, 2);
  } else {
    mesh_.BuildFromMesh(static_cast<cmesh*>(&surface), 2);
  }
}

const std::vector<std::uint16_t>& mdcsource::NormalsAt(int frame) {
  const core::affine axes = InRange(core::ForNormals(core::WorldAtFrame(*node_, frame)));
  if (skin_ == nullptr && !codes_.empty() && SameAxes(axes, before_)) {
    return codes_;
  }
  const turner turn(axes);
  codes_.resize(static_cast<std::size_t>(mesh_.numVerts));
  if (skin_ != nullptr) {
    const std::vector<cpoint3>& normals = core::DeformAtFrame(*skin_, frame, true).normals;
    const std::uint32_t* const vertex = mesh_.vertMap.Data();
    for (std::size_t v = 0; v < codes_.size(); ++v) {
      codes_[v] = turn.Code(normals[vertex[v]]);
    }
  } else {
    for (std::size_t v = 0; v < codes_.size(); ++v) {
      codes_[v] = turn.Code(mesh_.verts[v].normal);
    }
    before_ = axes;
  }
  return codes_;
}

void SetMdcNormals(const cmdcfile& file, const core::scene& scene, int start) {
  const std::vector<cnode*> nodes = SurfacesOf(scene);
  RequireCount(std::ssize(file.surfaces), std::ssize(nodes), "surfaces");
  std::deque<mdcsource> sources;
  for (std::size_t s = 0; s < nodes.size(); ++s) {
    RequireVertices(file.surfaces[s].numVerts, sources.emplace_back(*nodes[s]).Mesh(), s);
  }
  // All surfaces of a frame, so that each pose is evaluated once.
  for (std::int32_t f = 0; f < file.header->numFrames; ++f) {
    if (std::string fault; !file.HoldsFrame(f, fault)) {
      throw std::runtime_error(fault);
    }
    for (std::size_t s = 0; s < sources.size(); ++s) {
      const std::vector<std::uint16_t>& codes = sources[s].NormalsAt(start + f);
      for (std::size_t v = 0; v < codes.size(); ++v) {
        Changed(file.surfaces[s].baseByFrame[static_cast<std::size_t>(f)][v]).normal = codes[v];
      }
    }
  }
}

cpoint3 BoneNormal(const core::skinstate& skin, std::uint32_t vertex) {
  const core::skinstretch& weights = skin.stretches[vertex];
  return weights.count == 0
             ? cpoint3()
             : core::ToPoint(core::Unit(core::ToVec(skin.weights[weights.first].normal)));
}

void SetSkinNormals(const skelmesh& file, const core::scene& scene) {
  const std::vector<cskin*> skins = SkinsOf(scene);
  RequireCount(std::ssize(file.surfaces), std::ssize(skins), "surfaces");
  for (std::size_t s = 0; s < skins.size(); ++s) {
    cexpmesh mesh;
    mesh.BuildFromSkin(skins[s], 2);
    const skelsurfentry& entry = file.surfaces[s];
    RequireVertices(entry.numVerts, mesh, s);
    cvertexwalk walk = file.Vertices(entry);
    for (std::int32_t v = 0; v < mesh.numVerts; ++v, walk.Next()) {
      const cpoint3 normal = BoneNormal(skins[s]->Skin(), mesh.vertMap.Data()[v]);
      if (normal.Length() > 0.0F && walk.NumWeights() > 0 && walk.Weights()->boneIndex >= 0) {
        Changed(walk.Vertex()).normal = {normal.x, normal.y, normal.z};
      }
    }
  }
}

}  // namespace command
