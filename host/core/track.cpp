#include "core/track.h"

#include <algorithm>

#include "core/changes.h"

namespace core {

namespace {

bool Earlier(const ckey& a, const ckey& b) { return a.frame < b.frame; }

affine FromKey(const ckey& key) {
  affine result = FromQuat(key.rot);
  result.row[0] = result.row[0] * key.scale.x;
  result.row[1] = result.row[1] * key.scale.y;
  result.row[2] = result.row[2] * key.scale.z;
  result.translation = ToVec(key.pos);
  return result;
}

cpoint3 Between(const cpoint3& a, const cpoint3& b, double t) {
  return ToPoint(ToVec(a) + (ToVec(b) - ToVec(a)) * t);
}

// What stands at a frame: a key of the track as it is, or one made between two, in `made`.
const ckey& At(const trackstate& track, int frame, ckey& made) {
  const std::vector<ckey>& keys = track.keys;
  if (keys.empty()) {
    return made;
  }
  if (frame <= keys.front().frame) {
    return keys.front();
  }
  if (frame >= keys.back().frame) {
    return keys.back();
  }
  // A track with a key at every frame has it at the frame's own place.
  const std::int64_t guess = static_cast<std::int64_t>(frame) - keys.front().frame;
  if (guess < static_cast<std::int64_t>(keys.size()) &&
      keys[static_cast<std::size_t>(guess)].frame == frame) {
    return keys[static_cast<std::size_t>(guess)];
  }
  const auto after =
      std::upper_bound(keys.begin(), keys.end(), frame,
                       [](int wanted, const ckey& key) { return wanted < key.frame; });
  if (after == keys.begin() || after == keys.end()) {
    return keys.back();  // keys out of order, before they are taken up
  }
  const ckey& a = *(after - 1);
  const ckey& b = *after;
  if (a.frame == frame || b.frame <= a.frame) {
    return a;
  }
  const double t =
      (static_cast<double>(frame) - a.frame) / (static_cast<double>(b.frame) - a.frame);
  made.pos = Between(a.pos, b.pos, t);
  made.rot = core::Between(a.rot, b.rot, t);
  made.scale = Between(a.scale, b.scale, t);
  return made;
}

}  // namespace

cquat Between(const cquat& a, const cquat& b, double t) {
  double cosine = static_cast<double>(a.x) * b.x + static_cast<double>(a.y) * b.y +
                  static_cast<double>(a.z) * b.z + static_cast<double>(a.w) * b.w;
  const double sign = cosine < 0.0 ? -1.0 : 1.0;
  cosine *= sign;
  double fromA = 1.0 - t;
  double fromB = t;
  // Nearly equal rotations: the arc is straight within single precision, and its sine too small
  // to divide by.
  if (cosine < 0.9999995) {
    const double arc = std::acos(cosine);
    const double sine = std::sin(arc);
    fromA = std::sin((1.0 - t) * arc) / sine;
    fromB = std::sin(t * arc) / sine;
  }
  fromB *= sign;
  cquat result;
  result.x = static_cast<float>(fromA * a.x + fromB * b.x);
  result.y = static_cast<float>(fromA * a.y + fromB * b.y);
  result.z = static_cast<float>(fromA * a.z + fromB * b.z);
  result.w = static_cast<float>(fromA * a.w + fromB * b.w);
  return result;
}

ckey KeyAtFrame(const trackstate& track, int frame) {
  ckey made;
  made = At(track, frame, made);
  made.frame = frame;
  return made;
}

affine LocalAtFrame(const trackstate& track, int frame) {
  ckey made;
  return FromKey(At(track, frame, made));
}

void SortKeys(trackstate& track) {
  if (!std::is_sorted(track.keys.begin(), track.keys.end(), Earlier)) {
    std::stable_sort(track.keys.begin(), track.keys.end(), Earlier);
  }
}

}  // namespace core

canim::canim() : state_(new core::trackstate) {}
canim::~canim() { delete state_; }

void canim::SetKey(const ckey& key) {
  state_->keys.assign(1, key);
  core::ForgetPoses();
}

int canim::SetNumKeys(int count, int /*mode*/) {
  if (count < 0) {
    return 0;
  }
  state_->keys.resize(static_cast<std::size_t>(count));
  core::ForgetPoses();
  return 1;
}

int canim::SetKeyAt(int index, ckey& key, int /*mode*/) {
  if (index < 0 || static_cast<std::size_t>(index) >= state_->keys.size()) {
    return 0;
  }
  state_->keys[static_cast<std::size_t>(index)] = key;
  core::ForgetPoses();
  return 1;
}
