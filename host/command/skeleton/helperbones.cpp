#include "command/skeleton/helperbones.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <numbers>
#include <optional>
#include <unordered_set>
#include <utility>

#include "command/skeleton/hanging.h"
#include "command/skeleton/names.h"
#include "core/pose.h"
#include "core/state.h"
#include "core/track.h"

namespace command {

namespace {

// A change of a bone's distance that is worth a helper, in units and as a share of the distance:
// the share is what a step of the stored angles, 65536 to the turn, moves the bone sideways.
constexpr double kWorthUnits = 1e-3;
constexpr double kWorthShare = 2.0 * std::numbers::pi / 65536.0;
// A helper's length against the bone's largest distance. At half of it the knee would be straight
// there and snap through its last degrees in no time.
constexpr double kHelperLength = 0.55;

// A bone that gets another parent, with its keys there.
struct topbone {
  cnode* bone = nullptr;
  cnode* parent = nullptr;
  std::vector<ckey> keys;
  bool strays = false;    // from the place of the first top bone
  double farthest = 0.0;  // from there
  bool rigid = true;
};

// The bones of a skeleton as an exporter sees it.
struct skeleton {
  std::vector<cnode*> jointed;   // with a parent bone
  std::vector<topbone> further;  // top bones behind the first
  cnode* top = nullptr;
};

skeleton SkeletonOf(core::scene& scene, filekind kind) {
  // What an exporter takes as the parent of a bone.
  std::unordered_set<const cnode*> parents;
  std::vector<cnode*> bones;
  for (cnode* node : InHierarchyOrder(scene)) {
    if (IsListedBone(*node, kind)) {
      bones.push_back(node);
      if ((node->GetFlags() & kNodeFlagNoBone) == 0) {
        parents.insert(node);
      }
    }
  }
  skeleton found;
  for (cnode* bone : bones) {
    cnode* above = bone->GetParent();
    if (parents.contains(above)) {
      found.jointed.push_back(bone);
    } else if (found.top == nullptr) {
      found.top = bone;
    } else {
      while (above != nullptr && !parents.contains(above)) {
        above = above->GetParent();
      }
      above = above == nullptr && parents.contains(found.top) ? found.top : above;
      if (above != nullptr) {
        found.further.push_back({bone, above, {}, false, 0.0, true});
      }
    }
  }
  return found;
}

bool Differs(double distance, double from) {
  return std::abs(distance - from) > std::max(kWorthUnits, kWorthShare * from);
}

// Of a bone that a file's one length does not do for, which is that of frame 0.
struct stretch {
  double longest = 0.0;  // distance from the parent
  double most = 0.0;     // change of it
};

std::optional<stretch> Stretch(const cnode& bone, const framespan& span) {
  if (bone.State().track->State().keys.size() < 2) {
    return {};
  }
  const double kept = DistanceFromParent(bone, 0);
  stretch found{kept, 0.0};
  bool stretches = false;
  for (std::size_t i = 0; i < span.Count(); ++i) {
    const double now = DistanceFromParent(bone, span.first + static_cast<int>(i));
    found.longest = std::max(found.longest, now);
    found.most = std::max(found.most, std::abs(now - kept));
    stretches = stretches || Differs(now, kept);
  }
  return stretches ? std::optional(found) : std::nullopt;
}

// Keys of the bones against the parents that they are to have, and how far they stray. Frame by
// frame, since a scene does not remember the poses of all frames.
void Measure(std::vector<topbone>& further, const cnode& top, const framespan& span) {
  if (further.empty()) {
    return;
  }
  for (std::size_t i = 0; i < span.Count(); ++i) {
    const int frame = span.first + static_cast<int>(i);
    const core::vec3 place = core::WorldAtFrame(top, frame).translation;
    for (topbone& one : further) {
      one.keys.push_back(KeyUnder(*one.parent, *one.bone, frame, one.rigid));
      const core::vec3 apart = core::WorldAtFrame(*one.bone, frame).translation - place;
      one.farthest = std::max(one.farthest, std::sqrt(core::Dot(apart, apart)));
      one.strays = Differs(one.farthest, 0.0);
    }
  }
}

// A direction across the line from parent to bone that turns along with it and never about it, so
// that a knee does not turn from one frame to the next unless it has to.
class across {
 public:
  core::vec3 Of(const core::vec3& line) {
    const core::vec3 now = core::Unit(line);
    if (core::IsZero(now)) {
      return core::IsZero(side_) ? core::vec3{0.0, 0.0, 1.0} : side_;
    }
    if (core::IsZero(side_)) {
      // Away from the axis that the line is least along.
      const core::vec3 size{std::abs(now.x), std::abs(now.y), std::abs(now.z)};
      side_ = size.z <= std::min(size.x, size.y) ? core::vec3{0.0, 0.0, 1.0}
              : size.y <= size.x                 ? core::vec3{0.0, 1.0, 0.0}
                                                 : core::vec3{1.0, 0.0, 0.0};
    } else if (const double turned = 1.0 + core::Dot(last_, now); turned > 1e-9) {
      // The smallest rotation that takes the last line to this one. A half turn keeps the side.
      side_ = side_ - (last_ + now) * (core::Dot(side_, now) / turned);
    }
    side_ = core::Unit(side_ - now * core::Dot(side_, now));
    last_ = now;
    return side_;
  }

 private:
  core::vec3 side_;
  core::vec3 last_;
};

// A name that no other node has, within what a file keeps, and that the exporters take for what it
// is: they look the share of the torso up by name, in names with Bip from the seventh character
// on, so that a helper has that of its bone; and a name that ends in spine says where the torso
// begins, which is not here.
class helpernames {
 public:
  explicit helpernames(const core::scene& scene) {
    for (cnode* node : scene.Nodes()) {
      taken_.insert(Kept(node->GetName()));
    }
  }

  std::string For(const std::string& bone) {
    constexpr std::size_t kPrefix = 6;
    const bool prefixed = bone.size() > kPrefix && bone.find("Bip") != std::string::npos;
    std::string own = prefixed ? bone.substr(kPrefix) : bone;
    if (const std::size_t spine = Folded(own).find("spine");
        spine != std::string::npos && spine + 5 == own.size()) {
      own.pop_back();
    }
    std::string name = Kept("Bip++ " + own);
    for (int number = 1; number < 1000 && !taken_.insert(name).second; ++number) {
      std::string prefix = "Bip" + std::to_string(number);
      prefix.resize(kPrefix, ' ');
      name = Kept(prefix.append(own));
    }
    return name;
  }

 private:
  static std::string Kept(const std::string& name) { return StartOf(name, kKeptOfName); }

  std::unordered_set<std::string> taken_;
};

// Puts a helper between the bone and its parent. Its axes are the parent's, so the bone keeps all
// of its track but the places.
void AddHelper(core::scene& scene, cnode& bone, double longest, const framespan& span,
               const std::string& name) {
  const double length = kHelperLength * longest;
  const core::trackstate& track = bone.State().track->State();
  std::vector<ckey> upper;
  std::vector<ckey> lower;
  upper.reserve(span.Count());
  lower.reserve(span.Count());
  across sides;
  for (std::size_t i = 0; i < span.Count(); ++i) {
    ckey key = core::KeyAtFrame(track, span.first + static_cast<int>(i));
    const core::vec3 line = core::ToVec(key.pos);
    const core::vec3 half = line * 0.5;
    const core::vec3 side = sides.Of(line) * std::sqrt(length * length - core::Dot(half, half));
    key.pos = core::ToPoint(half - side);
    lower.push_back(key);
    ckey knee;
    knee.frame = key.frame;
    knee.pos = core::ToPoint(half + side);
    knee.scale = MakePt3(1.0F, 1.0F, 1.0F);
    upper.push_back(knee);
  }
  core::SetKeys(bone, std::move(lower));
  cbone* const helper = CreateNewBone();
  if (helper == nullptr) {
    throw std::bad_alloc();
  }
  core::SetKeys(*helper, std::move(upper));
  scene.Add(helper);
  helper->SetName(name.c_str());
  bone.GetParent()->AttachChild(helper, 1);
  helper->AttachChild(&bone, 1);
}

}  // namespace

helperbones AddHelperBones(core::scene& scene, filekind kind) {
  helperbones made;
  skeleton found = SkeletonOf(scene, kind);
  if (found.top == nullptr) {
    return made;
  }
  const framespan span = KeyedFrames(scene);
  Measure(found.further, *found.top, span);
  for (topbone& one : found.further) {
    if (one.strays && one.rigid) {
      core::SetKeys(*one.bone, std::move(one.keys));
      one.parent->AttachChild(one.bone, 1);
      found.jointed.push_back(one.bone);
      made.hung.push_back({one.bone->GetName(), one.farthest});
    }
  }
  helpernames names(scene);
  for (cnode* bone : found.jointed) {
    if (const auto change = Stretch(*bone, span)) {
      AddHelper(scene, *bone, change->longest, span, names.For(bone->GetName()));
      made.stretching.push_back({bone->GetName(), change->most});
    }
  }
  return made;
}

}  // namespace command
