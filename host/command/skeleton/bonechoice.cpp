#include "command/skeleton/bonechoice.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <stdexcept>

#include "command/files/paths.h"
#include "command/skeleton/hanging.h"
#include "command/wording.h"
#include "core/deform.h"
#include "core/pose.h"
#include "core/state.h"
#include "gltf/write/skinning.h"
#include "sampling/wildcard.h"

namespace command {

namespace {

class patterns {
 public:
  explicit patterns(const std::vector<std::string>& texts) : texts_(texts), used_(texts.size()) {}

  bool Match(const std::string& name) {
    bool any = false;
    for (std::size_t i = 0; i < texts_.size(); ++i) {
      if (wildcard::Matches(texts_[i], name)) {
        used_[i] = true;
        any = true;
      }
    }
    return any;
  }
  void AddUnused(const std::string& option, std::vector<std::string>& to) const {
    for (std::size_t i = 0; i < used_.size(); ++i) {
      if (!used_[i]) {
        to.push_back(option + texts_[i]);
      }
    }
  }

 private:
  const std::vector<std::string>& texts_;
  std::vector<bool> used_;
};

class chooser {
 public:
  explicit chooser(core::scene& scene)
      : scene_(scene), leftOut_(scene.Nodes().size()), ancestors_(scene.Nodes().size()) {}

  chosenbones Choose(const bonechoice& choice) {
    chosenbones made;
    patterns only(choice.only);
    patterns without(choice.without);
    std::size_t bones = 0;
    std::size_t kept = 0;
    for (cnode* node : scene_.Nodes()) {
      if (node->GetType() != kNodeBone) {
        continue;
      }
      const std::string name = node->GetName();
      const bool tag = IsTagName(name);
      const bool chosen = (choice.only.empty() || only.Match(name) || tag) && !without.Match(name);
      leftOut_[Index(*node)] = !chosen;
      bones += tag ? 0 : 1;
      kept += tag || !chosen ? 0 : 1;
      if (!chosen) {
        made.leftOut.push_back(name);
      }
    }
    if (bones > 0 && kept == 0) {
      throw std::runtime_error("--bones and --no-bones leave out every bone: " +
                               JoinedFew(made.leftOut));
    }
    only.AddUnused("--bones ", made.unmatched);
    without.AddUnused("--no-bones ", made.unmatched);
    return made;
  }

  void LeaveOut() {
    FindAncestors();
    std::vector<hanging> hung;
    for (cnode* node : scene_.Nodes()) {
      cnode* const parent = node->GetParent();
      if (node->GetType() == kNodeBone && !leftOut_[Index(*node)] && parent != nullptr &&
          leftOut_[Index(*parent)]) {
        hung.push_back(
            {node, &AncestorOf(*parent, std::string("from which ") + node->GetName() + " hangs")});
      }
    }
    MoveWeights();
    Hang(hung, KeyedFrames(scene_));
    for (cnode* node : scene_.Nodes()) {
      if (leftOut_[Index(*node)]) {
        core::MakeDummy(*node);
      }
    }
  }

 private:
  static std::size_t Index(const cnode& node) {
    return static_cast<std::size_t>(node.State().index);
  }

  void FindAncestors() {
    for (cnode* node : InHierarchyOrder(scene_)) {
      cnode* const above = node->GetParent();
      if (above == nullptr) {
        continue;
      }
      const bool takes =
          above->GetType() == kNodeBone && !leftOut_[Index(*above)] && !IsTagName(above->GetName());
      ancestors_[Index(*node)] = takes ? above : ancestors_[Index(*above)];
    }
  }

  cnode& AncestorOf(const cnode& node, const std::string& why) const {
    cnode* const kept = ancestors_[Index(node)];
    if (kept == nullptr) {
      throw std::runtime_error("the bone " + node.State().name + ", " + why +
                               ", cannot be left out: no bone above it stays");
    }
    return *kept;
  }

  // From the space of each left-out bone with weights into that of its ancestor that stays.
  void FindChanges() {
    std::vector<std::string> warnings;
    const gltf::skinning rest(scene_, warnings);
    std::vector<const core::affine*> binds(scene_.Nodes().size());
    for (std::size_t j = 0; j < rest.Joints().size(); ++j) {
      if (!rest.Joints()[j].ownPlace) {
        binds[rest.Joints()[j].node] = &rest.Binds()[j];
      }
    }
    changes_.resize(scene_.Nodes().size());
    for (const cnode* node : scene_.Nodes()) {
      const std::size_t index = Index(*node);
      if (!leftOut_[index] || binds[index] == nullptr) {
        continue;
      }
      const cnode& kept = AncestorOf(*node, "which surfaces hang from");
      const core::affine* const bind = binds[Index(kept)];
      // A bone without weights has no bind pose: then the scene's first frame stands for it.
      core::affine change = bind != nullptr ? *bind : core::WorldAtFrame(kept, scene_.animStart);
      core::InvertInPlace(change);
      changes_[index] =
          (bind != nullptr ? *binds[index] : core::WorldAtFrame(*node, scene_.animStart)) * change;
    }
  }

  void MoveWeights() {
    FindChanges();
    for (cnode* node : scene_.Nodes()) {
      if (node->GetType() != kNodeSkin) {
        continue;
      }
      core::skinstate& state = static_cast<cskin*>(node)->Skin();
      for (core::skinstretch& stretch : state.stretches) {
        MoveWeightsOf(state, stretch);
      }
      state.prepared.reset();
    }
  }

  void MoveWeightsOf(core::skinstate& state, core::skinstretch& stretch) const {
    const std::size_t begin = stretch.first;
    std::size_t end = begin;
    for (std::size_t i = begin; i < begin + stretch.count; ++i) {
      cskinweight weight = state.weights[i];
      if (weight.bone != nullptr && weight.bone->State().owner == &scene_ &&
          leftOut_[Index(*weight.bone)]) {
        const std::size_t from = Index(*weight.bone);
        if (!changes_[from] && ancestors_[from] == nullptr) {
          continue;  // it weighs nothing
        }
        if (changes_[from]) {
          const core::affine& change = *changes_[from];
          weight.offset = core::ToPoint(core::TransformVector(core::ToVec(weight.offset), change) +
                                        change.translation);
          weight.normal = core::ToPoint(core::TransformVector(core::ToVec(weight.normal), change));
        }
        weight.bone = ancestors_[from];
      }
      std::size_t same = begin;
      while (same < end && state.weights[same].bone != weight.bone) {
        ++same;
      }
      if (same == end) {
        state.weights[end++] = weight;
      } else {
        Join(state.weights[same], weight);
      }
    }
    stretch.count = static_cast<std::uint32_t>(end - begin);
  }

  // Two weights of one bone move the vertex as their mean does.
  static void Join(cskinweight& to, const cskinweight& with) {
    const float sum = to.weight + with.weight;
    if (sum != 0.0F) {
      const double share = with.weight / sum;
      const auto mean = [share](const cpoint3& a, const cpoint3& b) {
        return core::ToVec(a) * (1.0 - share) + core::ToVec(b) * share;
      };
      to.offset = core::ToPoint(mean(to.offset, with.offset));
      to.normal = core::ToPoint(core::Unit(mean(to.normal, with.normal)));
    }
    to.weight = sum;
  }

  core::scene& scene_;
  std::vector<bool> leftOut_;
  std::vector<cnode*> ancestors_;  // the nearest bone above that stays and is no tag
  std::vector<std::optional<core::affine>> changes_;
};

}  // namespace

chosenbones ChooseBones(core::scene& scene, const bonechoice& choice) {
  chooser choosing(scene);
  chosenbones made = choosing.Choose(choice);
  if (!made.leftOut.empty()) {
    choosing.LeaveOut();
  }
  return made;
}

}  // namespace command
