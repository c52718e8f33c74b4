#include "gltf/read/poses.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "gltf/convention.h"
#include "gltf/read/badfile.h"

namespace gltf {

namespace {

// Keys of one scene: 700 MB. A small file gets what 200 bones in 20,000 frames take.
constexpr std::int64_t kMostKeys = std::int64_t{1} << 24;
constexpr std::int64_t kFreeKeys = std::int64_t{1} << 22;

// Scales that differ by no more than this are one scale with rounding.
constexpr double kSameScale = 1e-6;
// Change of the squared scale during a clip that is still none: 5e-4 of the scale.
constexpr double kSteadyScale = 1e-3;

struct placed {
  const animation* from;
  const channel* moved;
  std::size_t clip;
};

core::affine Linear(const core::affine& m) { return {{m.row[0], m.row[1], m.row[2]}, {}}; }

// Of a rotation.
core::affine Transposed(const core::affine& m) {
  return {{{m.row[0].x, m.row[1].x, m.row[2].x},
           {m.row[0].y, m.row[1].y, m.row[2].y},
           {m.row[0].z, m.row[1].z, m.row[2].z}},
          {}};
}

cquat Normalized(const cquat& q) {
  const double length = std::sqrt(static_cast<double>(q.x) * q.x + static_cast<double>(q.y) * q.y +
                                  static_cast<double>(q.z) * q.z + static_cast<double>(q.w) * q.w);
  cquat result;
  if (length > 0.0 && std::isfinite(length)) {
    result.x = static_cast<float>(q.x / length);
    result.y = static_cast<float>(q.y / length);
    result.z = static_cast<float>(q.z / length);
    result.w = static_cast<float>(q.w / length);
  }
  return result;
}

cquat ToScene(const cquat& from, const axismap& axes) {
  const core::vec3 axis = axes.ToScene(core::vec3{from.x, from.y, from.z});
  cquat result;
  result.x = static_cast<float>(axis.x);
  result.y = static_cast<float>(axis.y);
  result.z = static_cast<float>(axis.z);
  result.w = from.w;
  return result;
}

// Into the scene's axes and units.
transform ToScene(const transform& from, const axismap& axes, double scale) {
  transform result;
  result.translation = axes.ToScene(from.translation) * scale;
  result.rotation = ToScene(from.rotation, axes);
  result.scale = axes.ScaleToScene(from.scale);
  return result;
}

core::affine ToAffine(const transform& from) {
  core::affine result = core::FromQuat(from.rotation);
  result.row[0] = result.row[0] * from.scale.x;
  result.row[1] = result.row[1] * from.scale.y;
  result.row[2] = result.row[2] * from.scale.z;
  result.translation = from.translation;
  return result;
}

// A matrix that a clip moves parts of, as the three parts.
transform Decomposed(const core::affine& matrix) {
  const core::affine turn = core::RotationOf(matrix);
  transform result;
  result.translation = matrix.translation;
  result.rotation = core::ToQuat(turn);
  result.scale = {core::Dot(matrix.row[0], turn.row[0]), core::Dot(matrix.row[1], turn.row[1]),
                  core::Dot(matrix.row[2], turn.row[2])};
  return result;
}

// What a scale does whatever rotation stands behind it: the products of the rows.
using scaleform = std::array<double, 6>;

scaleform FormOf(const core::affine& m) {
  return {core::Dot(m.row[0], m.row[0]), core::Dot(m.row[1], m.row[1]),
          core::Dot(m.row[2], m.row[2]), core::Dot(m.row[0], m.row[1]),
          core::Dot(m.row[0], m.row[2]), core::Dot(m.row[1], m.row[2])};
}

// Of a scale along the axes, then any rotation, then one scale along all of them.
scaleform FormOf(const core::vec3& scale, double above) {
  const core::vec3 own = scale * above;
  return {own.x * own.x, own.y * own.y, own.z * own.z, 0.0, 0.0, 0.0};
}

bool SameScale(const scaleform& a, const scaleform& b) {
  const double most = std::max({a[0], a[1], a[2]});
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!(std::abs(a[i] - b[i]) <= kSteadyScale * most)) {
      return false;
    }
  }
  return true;
}

// Takes the scale out of `whole`, a transform without move: whole = scale x rotation.
void SetScale(nodepose& pose, const core::affine& whole) {
  const core::affine scale = whole * Transposed(core::RotationOf(whole));
  const double factor = (scale.row[0].x + scale.row[1].y + scale.row[2].z) / 3.0;
  const core::vec3 off[] = {scale.row[0] - core::vec3{factor, 0.0, 0.0},
                            scale.row[1] - core::vec3{0.0, factor, 0.0},
                            scale.row[2] - core::vec3{0.0, 0.0, factor}};
  const double difference =
      std::sqrt(core::Dot(off[0], off[0]) + core::Dot(off[1], off[1]) + core::Dot(off[2], off[2]));
  pose.scale = scale;
  pose.factor = 0.0;
  if (factor > 0.0 && difference <= kSameScale * factor) {
    pose.factor = std::abs(factor - 1.0) <= kSameScale ? 1.0 : factor;
    pose.scale = {};
    for (core::vec3& row : pose.scale.row) {
      row = row * pose.factor;
    }
  }
}

// A node at every frame of the time line, in the scene's axes and units.
struct nodeframes {
  // One for each frame; empty: as at rest.
  std::vector<core::vec3> translations;
  std::vector<cquat> rotations;
  std::vector<core::vec3> scales;
  transform rest;

  void Start(const transform& from) {
    translations.clear();
    rotations.clear();
    scales.clear();
    rest = from;
  }
  transform At(std::size_t frame) const {
    return {translations.empty() ? rest.translation : translations[frame],
            rotations.empty() ? rest.rotation : rotations[frame],
            scales.empty() ? rest.scale : scales[frame]};
  }
};

class posemaker {
 public:
  posemaker(const document& doc, const plan& nodes, const timeline& line, const options& how,
            valuereader& values)
      : doc_(doc),
        nodes_(nodes),
        line_(line),
        axes_(how.front),
        scale_(how.scale),
        keepChanges_(how.keepChangingScale),
        values_(values) {}

  poselist Make() {
    made_.nodes.resize(doc_.nodes.size());
    for (std::size_t clip = 0; clip < doc_.animations.size(); ++clip) {
      clips_.emplace_back(doc_.animations[clip], line_.clips[clip], line_.lengths[clip],
                          line_.rates[clip]);
    }
    GatherChannels();
    for (const int index : nodes_.order) {
      MakePose(static_cast<std::size_t>(index));
    }
    return std::move(made_);
  }

 private:
  void GatherChannels() {
    channels_.resize(doc_.nodes.size());
    for (std::size_t clip = 0; clip < doc_.animations.size(); ++clip) {
      for (const channel& moved : doc_.animations[clip].channels) {
        if (moved.path == target::Weights) {
          continue;
        }
        // A clip has one channel for each part of a node's pose: the last that it names.
        std::vector<placed>& list = channels_[static_cast<std::size_t>(moved.node)];
        const auto same = std::find_if(list.rbegin(), list.rend(), [&](const placed& other) {
          return other.clip != clip || other.moved->path == moved.path;
        });
        if (same != list.rend() && same->clip == clip) {
          same->moved = &moved;
        } else {
          list.push_back({&doc_.animations[clip], &moved, clip});
        }
      }
    }
    for (const int index : nodes_.order) {
      moving_ += channels_[static_cast<std::size_t>(index)].empty() ? 0 : 1;
    }
    CheckNumKeys();
  }

  void CheckNumKeys() const {
    if (moving_ * line_.frames > std::min(kFreeKeys + doc_.Bytes(), kMostKeys)) {
      throw badfile("the clips have " + std::to_string(line_.frames) + " frames for " +
                    std::to_string(moving_) + " nodes, which is more than a scene can hold");
    }
  }

  void MakePose(std::size_t index) {
    const node& from = doc_.nodes[index];
    nodepose& pose = made_.nodes[index];
    const nodepose& parent =
        from.parent < 0 ? root_ : made_.nodes[static_cast<std::size_t>(from.parent)];
    const transform inFile = from.matrix ? Decomposed(*from.matrix) : from.local;
    const transform rest = ToScene(inFile, axes_, scale_);
    core::affine local = from.matrix ? axes_.ToScene(*from.matrix) : ToAffine(rest);
    local.translation = rest.translation;
    pose.local = local;
    const core::affine whole = Linear(local) * parent.scale;
    const bool bends = !parent.bent.empty();
    const bool moves = bends || !channels_[index].empty();
    bool keeps = true;
    if (moves) {
      if (channels_[index].empty()) {
        ++moving_;
        CheckNumKeys();
      }
      SampleNode(index, inFile, rest);
      keeps = KeepScale(pose, parent, whole);
      if (!keeps && keepChanges_) {
        pose.scale = {};
        pose.factor = 1.0;
      } else if (!keeps && HoldOwnScale(rest.scale)) {
        made_.scaled.push_back(static_cast<int>(index));
      }
    } else {
      SetScale(pose, whole);
    }
    unscaled_ = pose.scale;
    invertible_ = core::InvertInPlace(unscaled_);
    const core::affine own = RigidOf(local, parent.scale);
    pose.rest = own * parent.rest;
    if (moves) {
      MakeKeys(pose, parent);
    } else {
      pose.keys.push_back(KeyOf(own.translation, IsPlain(pose, parent, rest.scale)
                                                     ? Normalized(rest.rotation)
                                                     : core::ToQuat(own)));
    }
    if (!keeps && (keepChanges_ || bends || parent.factor == 0.0)) {
      Bend(pose, parent);
      if (!keepChanges_) {
        made_.bent.push_back(static_cast<int>(index));
      }
    }
    for (const ckey& key : pose.keys) {
      if (!IsFinite(key)) {
        throw badfile("node " + std::to_string(index) + ": translation out of range");
      }
    }
  }

  // The node at every frame of the time line, in the scene's axes and units.
  void SampleNode(std::size_t index, const transform& inFile, const transform& rest) {
    frames_.Start(rest);
    for (const placed& part : channels_[index]) {
      clipkeys& clip = clips_[part.clip];
      const int start = line_.clips[part.clip].start;
      switch (part.moved->path) {
        case target::Translation:
          clip.SampleVectors(*part.moved, values_,
                             Moved(frames_.translations, inFile.translation) + start);
          break;
        case target::Rotation:
          clip.SampleRotations(*part.moved, values_,
                               Moved(frames_.rotations, inFile.rotation) + start);
          break;
        case target::Scale:
          clip.SampleVectors(*part.moved, values_, Moved(frames_.scales, inFile.scale) + start);
          break;
        case target::Weights:
          break;
      }
    }
    for (core::vec3& each : frames_.translations) {
      each = axes_.ToScene(each) * scale_;
    }
    for (cquat& each : frames_.rotations) {
      each = ToScene(each, axes_);
    }
    for (core::vec3& each : frames_.scales) {
      each = axes_.ScaleToScene(each);
    }
  }

  // A part of the node at each frame, at rest where no clip has moved it yet.
  template <class T>
  T* Moved(std::vector<T>& part, const T& rest) const {
    if (part.empty()) {
      part.assign(static_cast<std::size_t>(line_.frames), rest);
    }
    return part.data();
  }

  // Sets the scale of a node that moves; false when it is not the same at all frames. One that is
  // the same in all clips and another at rest is the clips'.
  bool KeepScale(nodepose& pose, const nodepose& parent, const core::affine& rest) const {
    const core::affine first = WholeAt(0, parent);
    const scaleform form = FormOf(first);
    // Below one scale along all axes a rotation changes nothing of the node's own.
    const bool alike = parent.bent.empty() && parent.factor > 0.0;
    const bool steady = alike && frames_.scales.empty() && SameScale(form, form);
    const bool own = alike && !frames_.scales.empty();
    for (std::size_t f = 1; f < NumFrames() && !steady; ++f) {
      if (!SameScale(form,
                     own ? FormOf(frames_.scales[f], parent.factor) : FormOf(WholeAt(f, parent)))) {
        SetScale(pose, rest);
        return false;
      }
    }
    SetScale(pose, SameScale(form, FormOf(rest)) ? rest : first);
    return true;
  }

  core::affine WholeAt(std::size_t frame, const nodepose& parent) const {
    return Linear(ToAffine(frames_.At(frame))) * ScaleAt(parent, frame);
  }

  // Gives all frames the scale of rest; false when they had it.
  bool HoldOwnScale(const core::vec3& rest) {
    const double least =
        kSteadyScale * std::max({std::abs(rest.x), std::abs(rest.y), std::abs(rest.z)});
    const bool changed = std::ranges::any_of(frames_.scales, [&](const core::vec3& scale) {
      const core::vec3 off = scale - rest;
      return !(core::Dot(off, off) <= least * least);
    });
    frames_.scales.clear();
    return changed;
  }

  static const core::affine& ScaleAt(const nodepose& parent, std::size_t frame) {
    return parent.bent.empty() ? parent.scale : parent.bent[frame];
  }

  // The node's scale at each frame, beside its rigid pose.
  void Bend(nodepose& pose, const nodepose& parent) const {
    pose.bent.reserve(NumFrames());
    for (std::size_t f = 0; f < NumFrames(); ++f) {
      const ckey& key = pose.keys[pose.keys.size() == 1 ? 0 : f];
      pose.bent.push_back(Linear(ToAffine(frames_.At(f))) * ScaleAt(parent, f) *
                          Transposed(core::FromQuat(key.rot)));
    }
  }

  // The pose relative to the parent's, of a local transform.
  core::affine RigidOf(const core::affine& local, const core::affine& parentScale) const {
    const core::affine whole = Linear(local) * parentScale;
    core::affine result = core::RotationOf(invertible_ ? unscaled_ * whole : whole);
    result.translation = TransformVector(local.translation, parentScale);
    return result;
  }

  // The scales leave the rotation as it is. Two negative factors are a half turn and no scale.
  static bool IsPlain(const nodepose& pose, const nodepose& parent, const core::vec3& own) {
    return pose.factor > 0.0 && parent.factor > 0.0 && own.x > 0.0 && own.y > 0.0 && own.z > 0.0;
  }

  static ckey KeyOf(const core::vec3& move, const cquat& rotation) {
    ckey key;
    key.pos = core::ToPoint(move);
    key.rot = rotation;
    return key;
  }

  void MakeKeys(nodepose& pose, const nodepose& parent) const {
    const bool plain =
        parent.bent.empty() && frames_.scales.empty() && IsPlain(pose, parent, frames_.rest.scale);
    const core::vec3 still = TransformVector(frames_.rest.translation, parent.scale);
    pose.keys.reserve(NumFrames());
    bool moves = false;
    for (std::size_t f = 0; f < NumFrames(); ++f) {
      ckey key = !plain ? FrameKey(f, pose, parent)
                        : KeyOf(frames_.translations.empty()
                                    ? still
                                    : TransformVector(frames_.translations[f], parent.scale),
                                Normalized(frames_.rotations.empty() ? frames_.rest.rotation
                                                                     : frames_.rotations[f]));
      if (!pose.keys.empty()) {
        const ckey& last = pose.keys.back();
        if (key.rot.x * last.rot.x + key.rot.y * last.rot.y + key.rot.z * last.rot.z +
                key.rot.w * last.rot.w <
            0.0F) {
          key.rot.x = -key.rot.x;
          key.rot.y = -key.rot.y;
          key.rot.z = -key.rot.z;
          key.rot.w = -key.rot.w;
        }
        moves = moves || !SamePlace(key, last);
      }
      key.frame = static_cast<int>(f);
      pose.keys.push_back(key);
    }
    if (!moves) {
      pose.keys.resize(1);
      pose.keys.shrink_to_fit();
    }
  }

  // Of a node whose scales, or those above it, may change what its transform is without them.
  ckey FrameKey(std::size_t f, const nodepose& pose, const nodepose& parent) const {
    const transform frame = frames_.At(f);
    const core::affine& above = ScaleAt(parent, f);
    if (parent.bent.empty() && IsPlain(pose, parent, frame.scale)) {
      return KeyOf(TransformVector(frame.translation, above), Normalized(frame.rotation));
    }
    const core::affine rigid = RigidOf(ToAffine(frame), above);
    return KeyOf(rigid.translation, core::ToQuat(rigid));
  }

  std::size_t NumFrames() const { return static_cast<std::size_t>(line_.frames); }

  static bool IsFinite(const ckey& key) {
    return std::isfinite(key.pos.x) && std::isfinite(key.pos.y) && std::isfinite(key.pos.z) &&
           std::isfinite(key.rot.x) && std::isfinite(key.rot.y) && std::isfinite(key.rot.z) &&
           std::isfinite(key.rot.w);
  }

  static bool SamePlace(const ckey& a, const ckey& b) {
    return a.pos.x == b.pos.x && a.pos.y == b.pos.y && a.pos.z == b.pos.z && a.rot.x == b.rot.x &&
           a.rot.y == b.rot.y && a.rot.z == b.rot.z && a.rot.w == b.rot.w;
  }

  const document& doc_;
  const plan& nodes_;
  const timeline& line_;
  const axismap axes_;
  const double scale_;
  const bool keepChanges_;
  valuereader& values_;

  std::vector<std::vector<placed>> channels_;  // of each node
  const nodepose root_;
  poselist made_;
  std::int64_t moving_ = 0;  // nodes with a key at each frame

  std::vector<clipkeys> clips_;
  // Of the node at work.
  nodeframes frames_;
  core::affine unscaled_;  // the inverse of its scale
  bool invertible_ = true;
};

}  // namespace

poselist MakePoses(const document& doc, const plan& nodes, const timeline& line, const options& how,
                   valuereader& values) {
  return posemaker(doc, nodes, line, how, values).Make();
}

}  // namespace gltf
