#include "command/finish/normals.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include "command/finish/openmodel.h"
#include "command/surfaces.h"
#include "core/deform.h"
#include "core/pose.h"
#include "core/state.h"

namespace command {

namespace {

void RequireCount(std::size_t found, std::size_t wanted, const std::string& what) {
  if (found != wanted) {
    throw std::runtime_error("it has " + std::to_string(found) + " " + what + " instead of " +
                             std::to_string(wanted));
  }
}

void RequireVertices(std::int32_t found, const cexpmesh& mesh, std::size_t surface) {
  RequireCount(static_cast<std::size_t>(found), static_cast<std::size_t>(mesh.numVerts),
               "vertices in surface " + std::to_string(surface));
}

// The source of a surface of an mdc.
struct source {
  cnode* node = nullptr;
  cskin* skin = nullptr;  // null: a mesh
  cexpmesh mesh;
  core::affine before;  // of a mesh in the frame before: what turned its normals
};

std::vector<source> SourcesOf(const cmdcfile& file, const core::scene& scene) {
  const std::vector<cnode*> nodes = SurfacesOf(scene);
  RequireCount(file.surfaces.size(), nodes.size(), "surfaces");
  std::vector<source> sources(nodes.size());
  for (std::size_t s = 0; s < nodes.size(); ++s) {
    source& from = sources[s];
    from.node = nodes[s];
    if (nodes[s]->GetType() == kNodeSkin) {
      from.skin = static_cast<cskin*>(nodes[s]);
      from.mesh.BuildFromSkin(from.skin, 2);
    } else {
      from.mesh.BuildFromMesh(static_cast<cmesh*>(nodes[s]), 2);
    }
    RequireVertices(file.surfaces[s].numVerts, from.mesh, s);
  }
  return sources;
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

void SetMdcNormals(const cmdcfile& file, const core::scene& scene, int start) {
  std::vector<source> sources = SourcesOf(file, scene);
  // All surfaces of a frame, so that each pose is evaluated once.
  for (std::int32_t f = 0; f < file.header->numFrames; ++f) {
    const int frame = start + f;
    for (std::size_t s = 0; s < sources.size(); ++s) {
      source& from = sources[s];
      const mdcXyzNormal* const stored = file.surfaces[s].baseByFrame[static_cast<std::size_t>(f)];
      const auto count = static_cast<std::size_t>(from.mesh.numVerts);
      const core::affine axes = InRange(core::ForNormals(core::WorldAtFrame(*from.node, frame)));
      const turner turn(axes);
      if (from.skin != nullptr) {
        const std::vector<cpoint3>& normals = core::DeformAtFrame(*from.skin, frame, true).normals;
        const std::uint32_t* const vertex = from.mesh.vertMap.Data();
        for (std::size_t v = 0; v < count; ++v) {
          Changed(stored[v]).normal = turn.Code(normals[vertex[v]]);
        }
      } else if (f > 0 && SameAxes(axes, from.before)) {
        const mdcXyzNormal* const last =
            file.surfaces[s].baseByFrame[static_cast<std::size_t>(f - 1)];
        for (std::size_t v = 0; v < count; ++v) {
          Changed(stored[v]).normal = last[v].normal;
        }
      } else {
        for (std::size_t v = 0; v < count; ++v) {
          Changed(stored[v]).normal = turn.Code(from.mesh.verts[v].normal);
        }
        from.before = axes;
      }
    }
  }
}

void SetSkinNormals(const skelmesh& file, const core::scene& scene) {
  const std::vector<cskin*> skins = SkinsOf(scene);
  RequireCount(file.surfaces.size(), skins.size(), "surfaces");
  for (std::size_t s = 0; s < skins.size(); ++s) {
    cskin& skin = *skins[s];
    const core::skinstate& state = skin.Skin();
    cexpmesh mesh;
    mesh.BuildFromSkin(&skin, 2);
    const skelsurfentry& entry = file.surfaces[s];
    RequireVertices(entry.numVerts, mesh, s);
    cvertexwalk walk = file.Vertices(entry);
    for (std::int32_t v = 0; v < mesh.numVerts; ++v, walk.Next()) {
      const core::skinstretch& weights = state.stretches[mesh.vertMap.Data()[v]];
      if (weights.count == 0 || walk.Vertex().numWeights == 0 || walk.Weights()->boneIndex < 0) {
        continue;
      }
      const cpoint3 normal =
          core::ToPoint(core::Unit(core::ToVec(state.weights[weights.first].normal)));
      if (normal.Length() > 0.0F) {
        Changed(walk.Vertex()).normal = {normal.x, normal.y, normal.z};
      }
    }
  }
}

}  // namespace command
