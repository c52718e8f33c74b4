#include <algorithm>
#include <cmath>

#include "command/content/contentcheck.h"
#include "command/content/surfaces.h"
#include "command/surfaces.h"
#include "plugin/host/scene.h"
#include "sampling/storednames.h"

namespace command {

namespace {

// A coordinate was truncated to a step, and its low 16 bits kept.
bool IsStepOf(std::int16_t found, float wanted) {
  constexpr double kModulus = 65536.0;
  constexpr double kTolerance = 1.01;    // steps
  constexpr double kRounding = 1e-6;     // of a coordinate, in single precision
  constexpr double kMostSteps = 1.0e18;  // beyond, a number's low bits are not kept
  const double steps = double{wanted} * double{kMdcStepsPerUnit};
  return !(std::abs(steps) < kMostSteps) || std::abs(std::remainder(found - steps, kModulus)) <=
                                                kTolerance + kRounding * std::abs(steps);
}

bool IsAt(const std::array<little<std::int16_t>, 3>& found, const cpoint3& wanted) {
  return IsStepOf(found[0], wanted.x) && IsStepOf(found[1], wanted.y) &&
         IsStepOf(found[2], wanted.z);
}

// Up to half a degree, by the cosine of half the angle: 1 less 1e-5.
bool IsRotation(const cquat& found, const cquat& wanted) {
  const auto dot = [](const cquat& a, const cquat& b) {
    return double{a.x} * b.x + double{a.y} * b.y + double{a.z} * b.z + double{a.w} * b.w;
  };
  return !(std::abs(dot(found, wanted)) <
           (1.0 - 1e-5) * std::sqrt(dot(found, found) * dot(wanted, wanted)));
}

class mdccheck {
 public:
  mdccheck(const cmdcfile& file, const writtenfrom& from)
      : file_(file), from_(from), nodes_(SurfacesOf(from.scene)), sources_(nodes_.size()) {}

  std::string Fault() {
    // Which the reader of an mdc passes over.
    const mdcHeader& header = *file_.header;
    if (!std::ranges::equal(header.ident, kMdcIdent) || header.version != kMdcVersion) {
      return "it does not begin as an mdc does";
    }
    for (std::size_t s = 0; s < nodes_.size(); ++s) {
      if (const std::string fault = FaultOfSurface(s); !fault.empty()) {
        return SurfaceAt(s) + ": " + fault;
      }
    }
    if (from_.range) {
      for (const std::int32_t frame : SpreadOf(file_.header->numFrames)) {
        if (const std::string fault = FaultOfFrame(frame); !fault.empty()) {
          return "frame " + std::to_string(frame) + ": " + fault;
        }
      }
    }
    return {};
  }

 private:
  std::string SurfaceAt(std::size_t s) const {
    return NumberedName("surface", s, nodes_[s]->GetName());
  }

  std::string FaultOfSurface(std::size_t s) {
    const cmdcsurfentry& entry = file_.surfaces[s];
    namefield<64> name;
    SetName(name, nodes_[s]->GetName());
    if (entry.surface->name != name) {
      return "its name is " + std::string(NameText(entry.surface->name).data());
    }
    facelist faces{entry.triangles, entry.numTriangles, {}};
    faces.texCoords.reserve(static_cast<std::size_t>(entry.numVerts));
    for (std::int32_t v = 0; v < entry.numVerts; ++v) {
      faces.texCoords.push_back({float{entry.st[v][0]}, float{entry.st[v][1]}});
    }
    return FaultOfFaces(faces, MeshOf(*nodes_[s]), sources_[s]);
  }

  std::string FaultOfFrame(std::int32_t frame) const {
    std::string fault;
    if (!file_.HoldsFrame(frame, fault)) {
      return fault;
    }
    const int sceneFrame = static_cast<int>(from_.range->start) + frame;
    framebounds bounds;
    for (std::size_t s = 0; s < nodes_.size(); ++s) {
      const posedsurface posed = PoseOf(*nodes_[s], sceneFrame);
      bounds.Add(posed);
      if (fault = FaultOfVertices(s, frame, posed); !fault.empty()) {
        return SurfaceAt(s) + ": " + fault;
      }
    }
    fault =
        bounds.FaultOf(file_.frames[frame].bounds, file_.frames[frame].localOrigin, from_.origin);
    return fault.empty() ? FaultOfTags(frame, sceneFrame) : fault;
  }

  std::string FaultOfVertices(std::size_t s, std::int32_t frame, const posedsurface& posed) const {
    const cmdcsurfentry& entry = file_.surfaces[s];
    if (entry.numVerts == 0) {
      return {};
    }
    const auto f = static_cast<std::size_t>(frame);
    const mdcXyzNormal* const found = entry.baseByFrame[f];
    if (entry.compByFrame[f] != nullptr) {
      return "it is compressed";
    }
    for (std::size_t v = 0; v < sources_[s].size(); ++v) {
      const cpoint3& local = posed.positions[sources_[s][v]];
      if (!IsAt(found[v].xyz, posed.world * local - from_.origin)) {
        return "vertex " + std::to_string(v) + " is not where the scene has it";
      }
    }
    return {};
  }

  std::string FaultOfTags(std::int32_t frame, int sceneFrame) const {
    auto tag = file_.tagTable.begin();
    for (cnode* node : from_.scene.Nodes()) {
      if (!IsTagName(node->GetName())) {
        continue;
      }
      namefield<64> name;
      SetName(name, LowerCase(node->GetName()).c_str());
      const auto number = static_cast<std::size_t>(tag - file_.tagTable.begin());
      if (*tag->name != name ||
          !IsAt(tag->poses[frame].xyz, node->GetPosAtFrame(sceneFrame) - from_.origin) ||
          !IsRotation(TagRotation(*tag, frame), node->GetRotAtFrame(sceneFrame))) {
        return NumberedName("tag", number, node->GetName()) + " is not as in the scene";
      }
      ++tag;
    }
    return {};
  }

  static cquat TagRotation(const cmdctagentry& tag, std::int32_t frame) {
    const std::array<float, 3> angles = cmdcfile::TagAngles(tag, frame);
    return EulerToQuat(MakePt3(angles[0], angles[1], angles[2]));
  }

  const cmdcfile& file_;
  const writtenfrom& from_;
  std::vector<cnode*> nodes_;
  std::vector<std::vector<std::uint32_t>> sources_;  // of each surface's vertices
};

}  // namespace

std::string ContentFault(const cmdcfile& file, const writtenfrom& from) {
  return mdccheck(file, from).Fault();
}

}  // namespace command
