#include "command/files/pairfit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "command/files/paths.h"
#include "command/files/posedbox.h"
#include "command/files/readers.h"
#include "command/wording.h"

namespace command {

namespace {

// A bone's length is that of the skeleton's first frame, an mdm's may be of another pose.
constexpr double kShareOfLength = 0.1;
constexpr double kUnits = 0.5;
// Of the vertices. With the right skeleton none is wrong, with one that has a bone less 9 %.
constexpr double kDoubtfulShare = 0.01;

struct span {
  double length;  // of the bones between two joints: their distance in any pose is at most this
  bool direct;    // one is the other's parent, and the distance is this in all poses
};

// Parents stand before their children. Nothing where the bones do not meet, or far from both.
std::optional<span> SpanBetween(const skelrig& rig, std::int32_t a, std::int32_t b) {
  constexpr int kMostBetween = 16;
  double length = 0.0;
  int steps = 0;
  for (; a != b; ++steps) {
    std::int32_t& lower = a > b ? a : b;
    length += std::abs(double{rig.bones[lower].parentDist});
    lower = rig.Parent(static_cast<std::size_t>(lower));
    if (lower < 0 || steps == kMostBetween) {
      return std::nullopt;
    }
  }
  return span{length, steps == 1};
}

double Distance(const skelWeight& weight) {
  return std::hypot(double{weight.offset[0]}, double{weight.offset[1]}, double{weight.offset[2]});
}

// Where the mesh was bound a vertex has one place, which is the farther from either bone's joint
// the farther it is from the other's: a triangle of two offsets and the bones between.
bool CanMeet(const skelWeight& a, const skelWeight& b, const span& between) {
  const double slack = kShareOfLength * between.length + kUnits;
  const double one = Distance(a);
  const double other = Distance(b);
  return std::abs(one - other) <= between.length + slack &&
         (!between.direct || one + other >= between.length - slack);
}

class vertexcount {
 public:
  vertexcount(const cmdmfile& mesh, const skelrig& rig) : rig_(rig) {
    for (const skelsurfentry& entry : mesh.surfaces) {
      cvertexwalk walk = mesh.Vertices(entry);
      for (std::int32_t v = 0; v < entry.numVerts; ++v, walk.Next()) {
        Take(walk);
      }
    }
  }

  double Share() const {
    return told_ == 0 ? 0.0 : static_cast<double>(wrong_) / static_cast<double>(told_);
  }

 private:
  // Each weight against the next: a vertex may have any number of them.
  void Take(const cvertexwalk& walk) {
    bool told = false;
    bool wrong = false;
    for (std::int32_t w = 0; w + 1 < walk.NumWeights(); ++w) {
      const skelWeight& a = walk.Weights()[w];
      const skelWeight& b = walk.Weights()[w + 1];
      if (a.boneIndex < 0 || b.boneIndex < 0 || a.boneIndex == b.boneIndex) {
        continue;
      }
      if (const auto between = SpanBetween(rig_, a.boneIndex, b.boneIndex)) {
        told = true;
        wrong = wrong || !CanMeet(a, b, *between);
      }
    }
    told_ += told ? 1 : 0;
    wrong_ += wrong ? 1 : 0;
  }

  const skelrig& rig_;
  std::int64_t told_ = 0;
  std::int64_t wrong_ = 0;
};

// How far the mesh in the first frame and that frame's bounds are apart, in diagonals of the
// bounds.
struct misfit {
  double outside = 0.0;  // of what stands out of the bounds
  double either = 0.0;   // and of what the bounds have more
};

misfit MisfitOfBounds(const cmdmfile& mesh, const cmdxfile& skeleton) {
  misfit found;
  if (skeleton.frames.empty()) {
    return found;
  }
  const corners box = PosedBox(mesh, skeleton);
  const auto& bounds = skeleton.frames.front()->bounds;
  double square = 0.0;
  for (std::size_t i = 0; i < 3; ++i) {
    const double below = double{bounds[0][i]} - box[0][i];
    const double above = box[1][i] - double{bounds[1][i]};
    found.outside = std::max({found.outside, below, above});
    found.either = std::max({found.either, std::abs(below), std::abs(above)});
    square += std::pow(double{bounds[1][i]} - double{bounds[0][i]}, 2.0);
  }
  found.outside /= std::sqrt(square);
  found.either /= std::sqrt(square);
  return found;
}

bool HaveOneName(const cmdmfile& mesh, const cmdxfile& skeleton) {
  const auto stem = [](const namefield<64>& name) {
    return Folded(WithSuffix(NameText(name).data(), ""));
  };
  return stem(mesh.header->name) == stem(skeleton.header->name);
}

// A rig may be bound with other lengths than it moves with. Then the bounds of the frame are those
// of the mesh, or they hold it and what a mesh of the same name has left out.
bool BoundsAgree(const cmdmfile& mesh, const cmdxfile& skeleton) {
  constexpr double kShare = 0.01;
  const misfit found = MisfitOfBounds(mesh, skeleton);
  return found.either <= kShare || (found.outside <= kShare && HaveOneName(mesh, skeleton));
}

}  // namespace

std::vector<std::string> DoubtsOfPair(const std::string& mdmPath, const std::string& mdxPath) {
  cmdmfile mesh;
  cmdxfile skeleton;
  std::string fault;
  std::vector<std::string> doubts;
  if (!mesh.Load(mdmPath.c_str()) || !skeleton.Load(mdxPath.c_str()) ||
      !mesh.FitsTo(skeleton, fault)) {
    return doubts;
  }
  std::vector<std::string> tags;
  for (const mdmTag* tag : mesh.tags) {
    if (tag->boneIndex >= skeleton.numBones) {
      tags.push_back(std::string(NameText(tag->name).data()) + " (bone " +
                     std::to_string(tag->boneIndex) + ")");
    }
  }
  if (!tags.empty()) {
    doubts.push_back("tags hang from bones beyond its " + std::to_string(skeleton.numBones) + ": " +
                     JoinedFew(tags));
  }
  const double share = vertexcount(mesh, skeleton).Share();
  if (share > kDoubtfulShare && !BoundsAgree(mesh, skeleton)) {
    doubts.push_back(std::to_string(std::lround(100.0 * share)) +
                     " % of the vertices on several bones do not fit the lengths of its bones");
  }
  return doubts;
}

}  // namespace command
