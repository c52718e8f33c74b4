#include "gltf/bind/bindpose.h"

#include <algorithm>
#include <numeric>
#include <queue>

#include "gltf/bind/bindrefine.h"
#include "gltf/bind/bindsums.h"
#include "gltf/bind/rigidfit.h"

namespace gltf {

namespace {

constexpr std::uint32_t kNone = UINT32_MAX;

// A first pose: joint by joint, the one that is held most firmly next, each fitted to all that it
// shares with those that stand already.
class assembly {
 public:
  assembly(const bindsums& sums, const std::vector<rigid>& pose)
      : binds(pose),
        group(pose.size(), kNone),
        sums_(sums),
        pose_(pose),
        pairsOf_(pose.size()),
        held_(pose.size()) {
    for (std::uint32_t p = 0; p < sums.pairs.size(); ++p) {
      pairsOf_[sums.pairs[p].joints[0]].push_back(p);
      pairsOf_[sums.pairs[p].joints[1]].push_back(p);
    }
  }

  void Run() {
    std::vector<std::uint32_t> order(binds.size());
    std::iota(order.begin(), order.end(), 0U);
    std::stable_sort(order.begin(), order.end(), [this](std::uint32_t a, std::uint32_t b) {
      return sums_.joints[a].weight > sums_.joints[b].weight;
    });
    for (const std::uint32_t first : order) {
      if (group[first] != kNone) {
        continue;
      }
      Place(first);
      while (!queue_.empty()) {
        const candidate next = queue_.top();
        queue_.pop();
        if (group[next.joint] == kNone && next.version == held_[next.joint].version) {
          binds[next.joint] = held_[next.joint].motion;
          Place(next.joint);
        }
      }
      ++numGroups;
    }
  }

  std::vector<rigid> binds;
  std::vector<std::uint32_t> group;  // of each joint: those that hang together
  std::uint32_t numGroups = 0;

 private:
  struct candidate {
    double certainty;
    std::uint32_t joint;
    std::uint32_t version;
    bool operator<(const candidate& other) const { return certainty < other.certainty; }
  };
  // What a joint that does not stand yet shares with those that do.
  struct hold {
    fitsums sums;
    rigid motion;
    std::uint32_t version = 0;
    double heaviest = 0.0;  // weight of the pair that the prior is from
    Eigen::Matrix3d prior = Eigen::Matrix3d::Identity();
  };

  void Place(std::uint32_t joint) {
    group[joint] = numGroups;
    const rigid& bind = binds[joint];
    for (const std::uint32_t p : pairsOf_[joint]) {
      const pairsums& pair = sums_.pairs[p];
      const std::size_t own = pair.joints[0] == joint ? 0 : 1;
      const std::size_t far = 1 - own;
      const std::uint32_t other = pair.joints[far];
      if (group[other] != kNone) {
        continue;
      }
      hold& to = held_[other];
      fitsums shared;
      shared.weight = pair.weight;
      shared.x = pair.at[far];
      shared.y = bind.rotation * pair.at[own] + pair.weight * bind.translation;
      const Eigen::Matrix3d cross = own == 1 ? pair.cross : Eigen::Matrix3d(pair.cross.transpose());
      shared.xy = cross * bind.rotation.transpose() + shared.x * bind.translation.transpose();
      to.sums.Add(shared);
      if (pair.weight > to.heaviest) {
        to.heaviest = pair.weight;
        to.prior = bind.rotation * pose_[joint].rotation.transpose() * pose_[other].rotation;
      }
      const fit found = FitRigid(to.sums, to.prior);
      to.motion = found.motion;
      queue_.push({found.certainty, other, ++to.version});
    }
  }

  const bindsums& sums_;
  const std::vector<rigid>& pose_;
  std::vector<std::vector<std::uint32_t>> pairsOf_;
  std::vector<hold> held_;
  std::priority_queue<candidate> queue_;
};

// Joints that hang together may stand anywhere: they go where the given pose has their vertices,
// as well as one motion can take them there.
void Anchor(const bindsums& sums, const std::vector<rigid>& pose, assembly& made) {
  std::vector<fitsums> groups(made.numGroups);
  for (std::size_t j = 0; j < pose.size(); ++j) {
    const jointsums& joint = sums.joints[j];
    const rigid& bind = made.binds[j];
    fitsums add;
    add.weight = joint.weight;
    add.x = bind.rotation * joint.at + joint.weight * bind.translation;
    add.y = pose[j].rotation * joint.at + joint.weight * pose[j].translation;
    add.xy = MoveCross(bind, pose[j], joint.weight, joint.at, joint.at, joint.own);
    groups[made.group[j]].Add(add);
  }
  std::vector<rigid> motions(groups.size());
  for (std::size_t g = 0; g < groups.size(); ++g) {
    if (groups[g].weight > 0.0) {
      motions[g] = FitRigid(groups[g], Eigen::Matrix3d::Identity()).motion;
    }
  }
  for (std::size_t j = 0; j < pose.size(); ++j) {
    const rigid& motion = motions[made.group[j]];
    rigid& bind = made.binds[j];
    bind.rotation = motion.rotation * bind.rotation;
    bind.translation = motion.rotation * bind.translation + motion.translation;
  }
}

}  // namespace

std::vector<core::affine> RecoverBinds(const bindvertices& vertices,
                                       const std::vector<core::affine>& pose) {
  const bindsums sums = Gather(vertices, pose.size());
  std::vector<rigid> start;
  start.reserve(pose.size());
  for (const core::affine& joint : pose) {
    start.push_back(ToRigid(joint));
    start.back().translation /= sums.size;
  }
  assembly made(sums, start);
  made.Run();
  RefineBinds(sums.pairs, made.binds);
  Anchor(sums, start, made);
  std::vector<core::affine> binds;
  binds.reserve(pose.size());
  for (rigid& bind : made.binds) {
    bind.translation *= sums.size;
    binds.push_back(ToAffine(bind));
  }
  return binds;
}

core::vec3 RestPlace(const bindvertices& vertices, std::size_t vertex,
                     const std::vector<core::affine>& binds) {
  core::vec3 place;
  for (std::size_t i = vertices.starts[vertex]; i < vertices.starts[vertex + 1]; ++i) {
    const bindweight& in = vertices.weights[i];
    const core::affine& bind = binds[in.joint];
    place = place + (core::TransformVector(in.offset, bind) + bind.translation) * in.weight;
  }
  return place;
}

}  // namespace gltf
