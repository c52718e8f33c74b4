#include "command/content/surfaces.h"

#include <algorithm>
#include <cmath>

#include "command/finish/shaders.h"
#include "command/surfaces.h"
#include "command/wording.h"
#include "core/box.h"
#include "core/deform.h"
#include "plugin/host/scene.h"
#include "sampling/storednames.h"
#include "sampling/triangles.h"

namespace command {

namespace {

// Of single precision, after some steps of it.
constexpr double kRounding = 1e-5;

// The path that a material has for its colour image; "<empty>" without one.
std::string ImagePath(cmaterial& material) {
  constexpr std::size_t kImagePathSize = 512;
  std::array<char, kImagePathSize> path{};
  material.GetImage(0)->GetPathName(path.data());
  return path.data();
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

bool HasName(const namefield<64>& found, const std::string& text) {
  namefield<64> wanted;
  SetName(wanted, text.c_str());
  return found == wanted;
}

std::string NumberedName(const char* what, std::size_t number, const std::string& name) {
  return std::string(what) + " " + std::to_string(number) + " (" + name + ")";
}

bool HasImage(cnode& surface) {
  cmaterial* const material = surface.GetMaterial();
  return material != nullptr && !EqualsIgnoringCase(ImagePath(*material), kNoImagePath);
}

bool IsShader(const namefield<64>& found, cnode& surface) {
  const std::string path = PathInGame(surface);
  if (!path.empty() || surface.GetMaterial() == nullptr) {
    return HasName(found, path);
  }
  if (!HasImage(surface)) {
    return HasName(found, "(null)");
  }
  // A window may have asked whether names get the folder.
  const std::string image = ImagePath(*surface.GetMaterial());
  return HasName(found, MakeModelsPath(image, true)) ||
         HasName(found, MakeModelsPath(image, false));
}

std::string FaultOfTriangles(const std::array<little<std::int32_t>, 3>* found,
                             std::int32_t numFound, const cexpmesh& mesh) {
  std::string fault = FaultOfCount("triangles", numFound, mesh.numFaces);
  std::int32_t t = 0;
  ForEachTriangle(mesh, mesh.faceFlags.count, [&](std::int32_t a, std::int32_t b, std::int32_t c) {
    if (fault.empty() && !(found[t][0] == a && found[t][1] == b && found[t][2] == c)) {
      fault = "triangle " + std::to_string(t) + " has other vertices than in the scene";
    }
    ++t;
  });
  return fault;
}

bool HasTexCoords(const std::array<little<float>, 2>& found, const cexpvert& wanted) {
  return IsSame(found[0], wanted.u) && IsSame(found[1], wanted.v);
}

posedsurface PoseOf(cnode& surface, int frame) {
  const cmatrix4 world = surface.GetTMAtFrame(frame, kWholeTransform);
  if (surface.GetType() == kNodeSkin) {
    posedsurface posed{
        core::DeformAtFrame(static_cast<cskin&>(surface), frame, false).positions, {}, {}, world};
    core::BoxOf(posed.positions, posed.low, posed.high);
    return posed;
  }
  posedsurface posed{MeshOf(surface).verts, {}, {}, world};
  surface.GetBBoxAtFrame(frame, posed.low, posed.high);
  return posed;
}

void framebounds::Add(const posedsurface& surface) {
  cpoint3 low = surface.low;
  cpoint3 high = surface.high;
  CalcTMBBox(low, high, surface.world);
  low_ = MakePt3(std::min(low_.x, low.x), std::min(low_.y, low.y), std::min(low_.z, low.z));
  high_ = MakePt3(std::max(high_.x, high.x), std::max(high_.y, high.y), std::max(high_.z, high.z));
}

std::string framebounds::FaultOf(const std::array<std::array<little<float>, 3>, 2>& bounds,
                                 float radius, const std::array<little<float>, 3>& localOrigin,
                                 const cpoint3& origin) const {
  // Bounds that a scene remembers from an mdc are up to a step wider (SetFrameBounds).
  constexpr double kStep = 1.0 / 64.0;
  if (!IsNear(localOrigin, origin, kRounding)) {
    return "its origin is not that of the scene";
  }
  if (!IsNear(bounds[0], low_ - origin, kStep) || !IsNear(bounds[1], high_ - origin, kStep)) {
    return "its bounds are not those of the scene";
  }
  const auto edge = [&](std::size_t c) { return bounds[1][c] - bounds[0][c]; };
  return IsNear(radius, std::max({edge(0), edge(1), edge(2)}), kRounding)
             ? ""
             : "its radius is not that of its bounds";
}

}  // namespace command
