#include "command/content/surfaces.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/deform.h"
#include "plugin/host/scene.h"

namespace command {

namespace {

constexpr std::uint32_t kUnknown = std::numeric_limits<std::uint32_t>::max();

// Of single precision, after some steps of it.
constexpr double kRounding = 1e-5;

bool IsWhole(const cface& face, const core::meshstate& mesh) {
  const auto inside = [](std::int32_t index, std::size_t size) {
    return index >= 0 && static_cast<std::size_t>(index) < size;
  };
  return std::ranges::all_of(face.v,
                             [&](std::int32_t v) { return inside(v, mesh.verts.size()); }) &&
         (mesh.tverts.empty() || std::ranges::all_of(face.tv, [&](std::int32_t tv) {
            return inside(tv, mesh.tverts.size());
          }));
}

}  // namespace

std::vector<std::int32_t> SpreadOf(std::int32_t numFrames) {
  constexpr std::int32_t kFramesForOne = 32;
  constexpr std::int32_t kAtLeast = 4;
  const std::int64_t count = std::min(numFrames, std::max(kAtLeast, numFrames / kFramesForOne));
  std::vector<std::int32_t> spread;
  for (std::int64_t i = 0; i < count; ++i) {
    spread.push_back(count == 1 ? 0 : static_cast<std::int32_t>(i * (numFrames - 1) / (count - 1)));
  }
  return spread;
}

bool IsSame(float found, float wanted) {
  return found == wanted || (std::isnan(found) && std::isnan(wanted));
}

bool IsNear(double found, double wanted, double tolerance) {
  return !std::isfinite(wanted) ||
         std::abs(found - wanted) <= tolerance + kRounding * std::abs(wanted);
}

bool IsNear(const std::array<little<float>, 3>& found, const cpoint3& wanted, double tolerance) {
  return IsNear(float{found[0]}, wanted.x, tolerance) &&
         IsNear(float{found[1]}, wanted.y, tolerance) &&
         IsNear(float{found[2]}, wanted.z, tolerance);
}

std::string NumberedName(const char* what, std::size_t number, const std::string& name) {
  return std::string(what) + " " + std::to_string(number) + " (" + name + ")";
}

std::string FaultOfFaces(const facelist& written, const core::meshstate& mesh,
                         std::vector<std::uint32_t>& sources) {
  const std::size_t numVerts = written.texCoords.size();
  sources.assign(numVerts, kUnknown);
  for (std::size_t v = 0; v < std::min(mesh.verts.size(), numVerts); ++v) {
    sources[v] = static_cast<std::uint32_t>(v);
  }
  std::int32_t triangle = 0;
  for (const cface& face : mesh.faces) {
    if (!IsWhole(face, mesh)) {
      continue;
    }
    const auto place = [triangle] { return "triangle " + std::to_string(triangle); };
    if (triangle == written.numTriangles) {
      return place() + " is missing";
    }
    for (std::size_t c = 0; c < 3; ++c) {
      const std::int32_t index = written.triangles[triangle][c];
      const auto wanted = static_cast<std::uint32_t>(face.v[c]);
      if (index < 0 || static_cast<std::size_t>(index) >= numVerts) {
        return place() + " names vertex " + std::to_string(index) + " of " +
               std::to_string(numVerts);
      }
      const auto vertex = static_cast<std::size_t>(index);
      if (sources[vertex] != wanted && sources[vertex] != kUnknown) {
        return place() + " has other vertices than in the scene";
      }
      sources[vertex] = wanted;
      if (mesh.tverts.empty()) {
        continue;
      }
      const cpoint3& st = mesh.tverts[static_cast<std::size_t>(face.tv[c])];
      if (!IsSame(written.texCoords[vertex][0], st.x) ||
          !IsSame(written.texCoords[vertex][1], st.y)) {
        return "vertex " + std::to_string(index) +
               " has other texture coordinates than in the scene";
      }
    }
    ++triangle;
  }
  if (triangle != written.numTriangles) {
    return "it has " + std::to_string(written.numTriangles) + " triangles instead of " +
           std::to_string(triangle);
  }
  if (numVerts < mesh.verts.size() || std::ranges::count(sources, kUnknown) != 0) {
    return "it has other vertices than in the scene";
  }
  return {};
}

const core::meshstate& MeshOf(cnode& surface) {
  return surface.GetType() == kNodeSkin ? static_cast<cskin&>(surface).Skin().mesh
                                        : static_cast<cmesh&>(surface).Mesh();
}

posedsurface PoseOf(cnode& surface, int frame) {
  const cmatrix4 world = surface.GetTMAtFrame(frame, kWholeTransform);
  if (surface.GetType() == kNodeSkin) {
    const core::deformer& deformed =
        core::DeformAtFrame(static_cast<cskin&>(surface), frame, false);
    return {deformed.positions, deformed.low, deformed.high, world};
  }
  posedsurface posed{MeshOf(surface).verts, {}, {}, world};
  surface.GetBBoxAtFrame(frame, posed.low, posed.high);
  return posed;
}

void framebounds::Add(const posedsurface& surface) {
  cpoint3 low = surface.low;
  cpoint3 high = surface.high;
  CalcTMBBox(low, high, surface.world);
  low_ = any_ ? MakePt3(std::min(low_.x, low.x), std::min(low_.y, low.y), std::min(low_.z, low.z))
              : low;
  high_ = any_ ? MakePt3(std::max(high_.x, high.x), std::max(high_.y, high.y),
                         std::max(high_.z, high.z))
               : high;
  any_ = true;
}

std::string framebounds::FaultOf(const std::array<std::array<little<float>, 3>, 2>& bounds,
                                 const std::array<little<float>, 3>& localOrigin,
                                 const cpoint3& origin) const {
  // Bounds that a scene remembers from an mdc are up to a step wider (SetFrameBounds).
  constexpr double kStep = 1.0 / 64.0;
  // An exporter's box begins at 100,000 units from the scene's origin.
  constexpr double kFar = 100000.0;
  if (!IsNear(localOrigin, origin, kRounding)) {
    return "its origin is not that of the scene";
  }
  const auto far = [](const cpoint3& p) {
    return !(std::max({std::abs(p.x), std::abs(p.y), std::abs(p.z)}) < kFar);
  };
  if (any_ && !far(low_) && !far(high_) &&
      (!IsNear(bounds[0], low_ - origin, kStep) || !IsNear(bounds[1], high_ - origin, kStep))) {
    return "its bounds are not those of the scene";
  }
  return {};
}

}  // namespace command
