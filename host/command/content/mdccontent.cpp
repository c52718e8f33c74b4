#include <algorithm>
#include <cmath>
#include <deque>

#include "command/content/contentcheck.h"
#include "command/content/surfaces.h"
#include "command/finish/normals.h"
#include "command/surfaces.h"
#include "command/wording.h"
#include "plugin/host/scene.h"
#include "sampling/storednames.h"

namespace command {

namespace {

// A coordinate was truncated to a step, and its low 16 bits kept.
bool IsStepOf(std::int16_t found, float wanted) {
  constexpr double kModulus = 65536.0;
  constexpr double kRounding = 1e-6;     // of a coordinate, in single precision
  constexpr double kMostSteps = 1.0e18;  // beyond, a number's low bits are not kept
  const double steps = double{wanted} * double{kMdcStepsPerUnit};
  const double tolerance = 1.01 + kRounding * std::abs(steps);
  return std::abs(found - steps) <= tolerance || !(std::abs(steps) < kMostSteps) ||
         std::abs(std::remainder(found - steps, kModulus)) <= tolerance;
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
  mdccheck(const cmdcfile& file, const writtenfrom& from) : file_(file), from_(from) {
    for (cnode* node : SurfacesOf(from.scene)) {
      sources_.emplace_back(*node);
    }
  }

  std::string Fault() {
    // Which the reader of an mdc passes over.
    const mdcHeader& header = *file_.header;
    if (!std::ranges::equal(header.ident, kMdcIdent) || header.version != kMdcVersion) {
      return "it does not begin as an mdc does";
    }
    for (std::size_t s = 0; s < sources_.size(); ++s) {
      if (const std::string fault = FaultOfSurface(s); !fault.empty()) {
        return SurfaceAt(s) + ": " + fault;
      }
    }
    if (from_.range) {
      for (const std::int32_t frame : SpreadOf(header.numFrames)) {
        if (const std::string fault = FaultOfFrame(frame); !fault.empty()) {
          return "frame " + std::to_string(frame) + ": " + fault;
        }
      }
    }
    return {};
  }

 private:
  std::string SurfaceAt(std::size_t s) const {
    return NumberedName("surface", s, sources_[s].Node().GetName());
  }

  std::string FaultOfSurface(std::size_t s) const {
    const cmdcsurfentry& entry = file_.surfaces[s];
    cnode& node = sources_[s].Node();
    const cexpmesh& mesh = sources_[s].Mesh();
    if (!HasName(entry.surface->name, node.GetName())) {
      return "its name is " + std::string(NameText(entry.surface->name).data());
    }
    const bool image = HasImage(node);
    if (entry.numShaders != (image ? 1 : 0) || (image && !IsShader(entry.shaders->name, node))) {
      return "its shader is not that of the scene";
    }
    std::string fault = FaultOfCount("vertices", entry.numVerts, mesh.numVerts);
    if (fault.empty()) {
      fault = FaultOfTriangles(entry.triangles, entry.numTriangles, mesh);
    }
    for (std::int32_t v = 0; fault.empty() && v < mesh.numVerts; ++v) {
      if (!HasTexCoords(entry.st[v], mesh.verts[v])) {
        fault = "vertex " + std::to_string(v) + " has other texture coordinates than in the scene";
      }
    }
    return fault;
  }

  std::string FaultOfFrame(std::int32_t frame) {
    std::string fault;
    if (!file_.HoldsFrame(frame, fault)) {
      return fault;
    }
    const int sceneFrame = static_cast<int>(from_.range->start) + frame;
    framebounds bounds;
    for (std::size_t s = 0; s < sources_.size(); ++s) {
      const posedsurface posed = PoseOf(sources_[s].Node(), sceneFrame);
      bounds.Add(posed);
      if (fault = FaultOfVertices(s, frame, posed); !fault.empty()) {
        return SurfaceAt(s) + ": " + fault;
      }
    }
    fault = bounds.FaultOf(file_.frames[frame], from_.origin);
    return fault.empty() ? FaultOfTags(frame, sceneFrame) : fault;
  }

  std::string FaultOfVertices(std::size_t s, std::int32_t frame, const posedsurface& posed) {
    const cmdcsurfentry& entry = file_.surfaces[s];
    const cexpmesh& mesh = sources_[s].Mesh();
    const auto f = static_cast<std::size_t>(frame);
    if (mesh.numVerts > 0 && entry.compByFrame[f] != nullptr) {
      return "it is compressed";
    }
    for (std::int32_t v = 0; v < mesh.numVerts; ++v) {
      const cpoint3& local = posed.positions[mesh.vertMap.Data()[v]];
      if (!IsAt(entry.baseByFrame[f][v].xyz, posed.world * local - from_.origin)) {
        return "vertex " + std::to_string(v) + " is not where the scene has it";
      }
    }
    if (!from_.finish.normals) {
      return {};
    }
    const std::vector<std::uint16_t>& normals =
        sources_[s].NormalsAt(static_cast<int>(from_.range->start) + frame);
    for (std::size_t v = 0; v < normals.size(); ++v) {
      if (entry.baseByFrame[f][v].normal != normals[v]) {
        return "vertex " + std::to_string(v) + " has another normal than in the scene";
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
      const auto number = static_cast<std::size_t>(tag - file_.tagTable.begin());
      if (!HasName(*tag->name, LowerCase(node->GetName())) ||
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
  std::deque<mdcsource> sources_;  // of the surfaces
};

}  // namespace

std::string ContentFault(const cmdcfile& file, const writtenfrom& from) {
  return mdccheck(file, from).Fault();
}

}  // namespace command
