#include "gltf/read/sampling.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>

#include "core/timeline.h"
#include "core/track.h"
#include "gltf/convention.h"
#include "gltf/read/badfile.h"

namespace gltf {

namespace {

// Frames of one scene: at 20 a second they last for half a day.
constexpr std::int64_t kMostSceneFrames = std::int64_t{1} << 20;

// What `read` reads, with the words for it in front of a fault.
template <class Read>
auto Named(const sampler& from, const char* what, const Read& read) {
  try {
    return read();
  } catch (const badfile& fault) {
    throw badfile(from.Place() + what + fault.what());
  }
}

std::vector<float> TimesOf(const sampler& from, valuereader& values) {
  std::vector<float> times =
      Named(from, ": its times", [&] { return values.Floats(from.input, shape::Scalar, {}); });
  if (times.empty() || !std::is_sorted(times.begin(), times.end())) {
    throw badfile(from.Place() + ": its times do not ascend");
  }
  return times;
}

// Goes through times that ascend, and never back in the keys.
class keywalk {
 public:
  explicit keywalk(const std::vector<float>& times) : times_(times) {}

  keyspan At(double time) {
    while (key_ + 1 < times_.size() && times_[key_ + 1] <= time) {
      ++key_;
    }
    if (key_ + 1 == times_.size() || time <= times_[key_]) {
      return {key_, 0.0, 0.0};
    }
    const double from = times_[key_];
    const double seconds = times_[key_ + 1] - from;
    return {key_, (time - from) / seconds, seconds};
  }

 private:
  const std::vector<float>& times_;
  std::size_t key_ = 0;
};

// The values of one channel's keys.
struct curve {
  std::vector<float> keys;
  std::size_t each;  // components
  interpolation mode;

  // A component of key `key`: its value, or the tangent before (-1) or behind (1) it.
  double Component(std::size_t key, std::size_t c, int tangent = 0) const {
    const std::size_t entry =
        mode == interpolation::Cubic ? 3 * key + static_cast<std::size_t>(1 + tangent) : key;
    return keys[entry * each + c];
  }

  // Between two keys as the interpolation says; rotations on an arc are the caller's.
  double Value(const keyspan& at, std::size_t c) const {
    const double from = Component(at.key, c);
    if (at.factor == 0.0 || mode == interpolation::Step) {
      return from;
    }
    const double to = Component(at.key + 1, c);
    const double u = at.factor;
    if (mode == interpolation::Linear) {
      return from + (to - from) * u;
    }
    const double out = Component(at.key, c, 1) * at.seconds;
    const double in = Component(at.key + 1, c, -1) * at.seconds;
    const double u2 = u * u;
    const double u3 = u2 * u;
    return from * (2.0 * u3 - 3.0 * u2 + 1.0) + out * (u3 - 2.0 * u2 + u) +
           to * (3.0 * u2 - 2.0 * u3) + in * (u3 - u2);
  }

  core::vec3 Vector(const keyspan& at) const { return {Value(at, 0), Value(at, 1), Value(at, 2)}; }

  cquat Key(std::size_t key) const { return Rotation({key, 0.0, 0.0}); }

  cquat Rotation(const keyspan& at) const {
    if (mode == interpolation::Linear && at.factor != 0.0) {
      return core::Between(Key(at.key), Key(at.key + 1), at.factor);
    }
    cquat made;
    made.x = static_cast<float>(Value(at, 0));
    made.y = static_cast<float>(Value(at, 1));
    made.z = static_cast<float>(Value(at, 2));
    made.w = static_cast<float>(Value(at, 3));
    return made;
  }
};

// Keys of `each` components, as many as there are times.
curve CurveOf(const sampler& from, shape form, std::size_t each, std::size_t numTimes,
              valuereader& values) {
  curve made{Named(from, ": its values", [&] { return values.Floats(from.output, form, {}); }),
             each, from.mode};
  const std::size_t entries = from.mode == interpolation::Cubic ? 3 : 1;
  if (made.keys.size() != numTimes * entries * made.each) {
    throw badfile(from.Place() + ": it has " + std::to_string(made.keys.size() / made.each) +
                  " values for " + std::to_string(numTimes) + " times");
  }
  return made;
}

// Where a clip of this length is sampled for the frame. A step at a frame's own time is taken at
// that frame, however the two times were rounded.
double TimeOf(int frame, double fps, double length, interpolation mode) {
  const double ahead = mode == interpolation::Step ? kWholeFrame / fps : 0.0;
  return std::min(static_cast<double>(FrameTime(frame, fps)), length) + ahead;
}

// The whole rate of the channel with the most keys a second that has one at each frame; 0 where
// none has, or where keys of other channels lie between its frames. A rate below kLeastRate counts
// only where it is the noted one: keys that a person set are often that regular.
int WholeRateOf(const std::vector<std::vector<float>>& channels, int noted) {
  constexpr int kLeastRate = 20;
  const auto onFrame = [](float time, int rate, double& frame) {
    const double exact = double{time} * rate;
    frame = std::round(exact);
    return std::abs(exact - frame) <= FrameRounding(exact);
  };
  int rate = 0;
  for (const std::vector<float>& times : channels) {
    const double length = double{times.back()} - times.front();
    if (times.size() < 2 || !(length > 0.0)) {
      continue;
    }
    const double steps = static_cast<double>(times.size() - 1) / length;
    const int whole = static_cast<int>(std::lround(std::min(steps, kHighestRate + 1.0)));
    if (whole > kHighestRate || whole < 1 || (whole < kLeastRate && whole != noted)) {
      continue;
    }
    double before = 0.0;
    double frame = 0.0;
    bool dense = onFrame(times.front(), whole, before);
    for (std::size_t k = 1; k < times.size() && dense; ++k) {
      dense = onFrame(times[k], whole, frame) && frame == before + 1.0;
      before = frame;
    }
    rate = dense ? std::max(rate, whole) : rate;
  }
  double frame = 0.0;
  for (const std::vector<float>& times : channels) {
    if (rate == 0 ||
        !std::ranges::all_of(times, [&](float time) { return onFrame(time, rate, frame); })) {
      return 0;
    }
  }
  return rate;
}

// Other programs end a clip at a frame of theirs, which is not the sequence's at another rate.
bool LastsAs(const core::clip& sequence, double length) {
  constexpr double kCut = 0.99;  // frames; a whole one is a change
  return sequence.rate > 0 && sequence.frames > 0 &&
         std::abs(length * sequence.rate - (sequence.frames - 1)) < kCut;
}

}  // namespace

timeline LayOut(const document& doc, const options& how, valuereader& values) {
  timeline line;
  std::unordered_map<std::string, core::clip> noted;  // what keys do not say
  for (const core::clip& sequence : core::NotedSequences(doc.notes)) {
    noted.emplace(sequence.name, sequence);
  }
  std::int64_t end = 0;
  for (const animation& from : doc.animations) {
    std::vector<int> used = from.timing;
    std::sort(used.begin(), used.end());
    used.erase(std::unique(used.begin(), used.end()), used.end());
    double length = 0.0;
    bool curved = false;
    std::vector<std::vector<float>> channels;
    std::unordered_set<int> seen;  // channels share their times
    for (const int index : used) {
      const sampler& part = from.samplers[static_cast<std::size_t>(index)];
      curved = curved || part.mode == interpolation::Cubic;
      if (seen.insert(part.input).second) {
        channels.push_back(TimesOf(part, values));
        length = std::max(length, static_cast<double>(channels.back().back()));
      }
    }
    core::clip told = noted[from.name];
    if (const core::clip* known = how.sequenceOf ? how.sequenceOf(from.name) : nullptr) {
      told = *known;
    }
    const bool kept = how.ownRates && LastsAs(told, length);
    const bool counts = how.ownRates && !curved && !kept;
    const int rate = kept ? told.rate : counts ? WholeRateOf(channels, told.rate) : 0;
    line.rates.push_back(rate != 0 ? rate : how.fps);
    const int frames = kept ? told.frames : FramesOf(length, line.rates.back());
    line.clips.push_back({from.name, static_cast<int>(end), frames, told.loop, rate});
    line.lengths.push_back(length);
    end += frames;
    if (end > kMostSceneFrames) {
      throw badfile("clip " + from.name + ": the clips have more than " +
                    std::to_string(kMostSceneFrames) + " frames");
    }
  }
  line.frames = static_cast<int>(end);
  return line;
}

void clipkeys::Find(const sampler& part, valuereader& values) {
  if (part.input == input_ && part.mode == mode_) {
    Named(part, ": its times", [&] { values.Reread(part.input, shape::Scalar, {}); });
    return;
  }
  const std::vector<float> times = TimesOf(part, values);
  input_ = part.input;
  mode_ = part.mode;
  numKeys_ = times.size();
  dense_ = true;
  spans_.clear();
  spans_.reserve(static_cast<std::size_t>(clip_->frames));
  keywalk walk(times);
  for (int frame = 0; frame < clip_->frames; ++frame) {
    spans_.push_back(walk.At(TimeOf(frame, fps_, length_, mode_)));
    const keyspan& at = spans_.back();
    dense_ = dense_ && at.key == static_cast<std::size_t>(frame) &&
             (at.factor == 0.0 || mode_ == interpolation::Step);
  }
}

void clipkeys::SampleVectors(const channel& moved, valuereader& values, core::vec3* frames) {
  const sampler& part = from_->samplers[static_cast<std::size_t>(moved.sampler)];
  Find(part, values);
  const curve keys = CurveOf(part, shape::Vec3, 3, numKeys_, values);
  for (const keyspan& at : spans_) {
    *frames++ = keys.Vector(at);
  }
}

void clipkeys::SampleRotations(const channel& moved, valuereader& values, cquat* frames) {
  static_assert(sizeof(cquat) == 4 * sizeof(float) && std::is_trivially_copyable_v<cquat>);
  const sampler& part = from_->samplers[static_cast<std::size_t>(moved.sampler)];
  Find(part, values);
  const curve keys = CurveOf(part, shape::Vec4, 4, numKeys_, values);
  if (dense_ && part.mode != interpolation::Cubic) {
    std::memcpy(static_cast<void*>(frames), keys.keys.data(), spans_.size() * sizeof(cquat));
    return;
  }
  for (const keyspan& at : spans_) {
    *frames++ = keys.Rotation(at);
  }
}

void SampleWeights(const animation& from, const channel& moved, const core::clip& clip,
                   double length, double fps, std::size_t numTargets, valuereader& values,
                   const std::function<void(const std::vector<float>&)>& take) {
  const sampler& part = from.samplers[static_cast<std::size_t>(moved.sampler)];
  const std::vector<float> times = TimesOf(part, values);
  const curve keys = CurveOf(part, shape::Scalar, numTargets, times.size(), values);
  keywalk walk(times);
  std::vector<float> weights(numTargets);
  for (int frame = 0; frame < clip.frames; ++frame) {
    const keyspan at = walk.At(TimeOf(frame, fps, length, keys.mode));
    for (std::size_t t = 0; t < numTargets; ++t) {
      weights[t] = static_cast<float>(keys.Value(at, t));
    }
    take(weights);
  }
}

}  // namespace gltf
