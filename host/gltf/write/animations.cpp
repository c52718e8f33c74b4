#include "gltf/write/animations.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <tuple>
#include <utility>

#include "core/timeline.h"
#include "gltf/convention.h"
#include "gltf/write/fault.h"
#include "gltf/write/localpose.h"
#include "gltf/write/meshes.h"
#include "gltf/write/utf8.h"

namespace gltf {

namespace {

constexpr char kWholeName[] = "all";

// What of a node a channel animates.
struct property {
  const char* path;
  const char* type;
  std::size_t components;
};
constexpr property kProperties[] = {
    {"translation", "VEC3", 3}, {"rotation", "VEC4", 4}, {"scale", "VEC3", 3}};

using values = std::span<const float>;

values PartOf(const localpose& pose, std::size_t which) {
  switch (which) {
    case 0:
      return pose.translation;
    case 1:
      return pose.rotation;
    default:
      return pose.scale;
  }
}

// Whether all elements of the list are the one.
bool AllAre(values list, values one) {
  for (; !list.empty(); list = list.subspan(one.size())) {
    if (!std::equal(one.begin(), one.end(), list.begin())) {
      return false;
    }
  }
  return true;
}

bool Same(const cpoint3& a, const cpoint3& b) { return a.x == b.x && a.y == b.y && a.z == b.z; }

// Adds what `convert` makes of each key; only once where all have the part that `same` compares in
// common. False when a number is not finite.
template <std::size_t Count, class Compare, class Make>
bool Convert(std::span<const ckey> keys, const Compare& same, const Make& convert,
             std::vector<float>& to) {
  const bool still =
      std::ranges::all_of(keys, [&](const ckey& key) { return same(key, keys.front()); });
  float sum = 0.0F;
  const std::size_t begin = to.size();
  const std::size_t count = still ? 1 : keys.size();
  to.resize(begin + Count * count);
  float* out = to.data() + begin;
  for (const ckey& key : keys.first(count)) {
    const std::array<float, Count> part = convert(key);
    out = std::copy(part.begin(), part.end(), out);
    sum += std::apply([](auto... each) { return (each + ...) * 0.0F; }, part);  // 0 or no number
  }
  return sum == 0.0F;
}

bool Far(const core::vec3& a, const core::vec3& b, double limit) {
  const core::vec3 apart = a - b;
  return core::Dot(apart, apart) > limit * limit;
}

// Of each node of the file: whether it is a joint that stands otherwise at the start than the skin
// has it at rest. Some programs take the skin's for what a clip does not move.
std::vector<bool> PosedJoints(const core::scene& scene, const skinning& skins, const layout& plan) {
  constexpr double kTurned = 1e-5;
  constexpr double kAway = 1e-3;  // scene units
  std::vector<int> joints(plan.nodes.size(), -1);
  for (std::size_t j = 0; j < plan.joints.size(); ++j) {
    joints[static_cast<std::size_t>(plan.joints[j])] = static_cast<int>(j);
  }
  std::vector<bool> posed(plan.nodes.size(), false);
  for (std::size_t i = 0; i < posed.size(); ++i) {
    const filenode& node = plan.nodes[i];
    const int parent = node.parent < 0 ? -1 : joints[static_cast<std::size_t>(node.parent)];
    if (joints[i] < 0 || parent < 0 || node.track == nullptr) {
      continue;
    }
    core::affine above = skins.Binds()[static_cast<std::size_t>(parent)];
    if (!core::InvertInPlace(above)) {
      continue;
    }
    const core::affine rest = skins.Binds()[static_cast<std::size_t>(joints[i])] * above;
    const core::affine pose = core::LocalAtFrame(*node.track, scene.animStart);
    posed[i] = Far(rest.translation, pose.translation, kAway);
    for (int row = 0; row < 3; ++row) {
      posed[i] = posed[i] || Far(rest.row[row], pose.row[row], kTurned);
    }
  }
  return posed;
}

class animationwriter {
 public:
  animationwriter(std::vector<core::clip> clips, const layout& plan, const options& how,
                  scenefile& file)
      : clips_(std::move(clips)),
        made_(clips_.size()),
        plan_(plan),
        how_(how),
        file_(file),
        convert_(how) {}

  // With `posed`, clips have the node's pose even where nothing of it moves.
  void AddNode(int node, const localpose& rest, bool posed) {
    for (partvalues& part : parts_) {
      part.values.clear();
      part.starts.assign(1, 0);
    }
    for (const core::clip& clip : clips_) {
      if (clip.frames < 1) {
        continue;  // of a scene whose keys all lie before its first frame, which is the only clip
      }
      AddPoses(plan_.nodes[static_cast<std::size_t>(node)], clip, rest);
    }
    for (std::size_t which = 0; which < std::size(kProperties); ++which) {
      if (!posed && AllAre(parts_[which].values, PartOf(rest, which))) {
        continue;
      }
      for (std::size_t c = 0; c < clips_.size(); ++c) {
        AddChannel(c, node, which, parts_[which].OfClip(c));
      }
    }
  }

  void AddMorph(int node, const core::meshstate& mesh) {
    for (std::size_t c = 0; c < clips_.size(); ++c) {
      const core::clip& clip = clips_[c];
      const std::size_t count = mesh.targets.size();
      std::vector<scenefile::placedvalue> weights;
      for (int k = 0; k < clip.frames; ++k) {
        for (const core::morphweights::entry& each : mesh.morph->AtFrame(clip.start + k)) {
          weights.push_back(
              {static_cast<std::uint32_t>(static_cast<std::size_t>(k) * count + each.target),
               each.weight});
        }
      }
      if (weights.empty()) {
        continue;
      }
      AddSampler(c, node, "weights", Times(c),
                 file_.AddSparse(static_cast<std::size_t>(clip.frames) * count, weights));
      made_[c].whole = true;
    }
  }

  // A clip in which nothing differs from the rest pose still has its name and its length: from one
  // node that holds still. Without a node to hold still there is no such clip.
  void Finish(int still, const localpose& rest) {
    for (std::size_t c = 0; c < clips_.size(); ++c) {
      animation& made = made_[c];
      if (made.channels.empty() && made.constants.empty()) {
        if (still < 0) {
          continue;
        }
        const auto [x, y, z] = rest.translation;
        made.constants.push_back({still, 0, {x, y, z}});
      }
      for (const constant& each : made.constants) {
        WriteConstant(c, each);
      }
      WriteAnimation(clips_[c].name, made);
    }
  }

 private:
  struct constant {
    int node;
    std::size_t which;
    std::array<float, 4> value;
  };
  // A part of a node over the clips, one behind the other: a value for each frame, or one alone
  // where all are the same.
  struct partvalues {
    std::vector<float> values;
    std::vector<std::size_t> starts;  // of each clip's, and the end

    std::span<const float> OfClip(std::size_t c) const {
      return std::span(values).subspan(starts[c], starts[c + 1] - starts[c]);
    }
  };
  // Each has a sampler of its own.
  struct channel {
    int node;
    const char* path;
    int times;  // accessors
    int values;
  };
  struct animation {
    std::vector<channel> channels;
    std::vector<constant> constants;  // not written yet
    bool whole = false;               // some channel lasts as long as the clip
  };

  // The node's keys at the clip's frames: where the track has one at each, the track's own.
  std::span<const ckey> KeysOf(const core::trackstate& track, const core::clip& clip) {
    const std::vector<ckey>& all = track.keys;
    const auto count = static_cast<std::size_t>(clip.frames);
    if (!all.empty() && clip.start >= all.front().frame) {
      const auto first = static_cast<std::size_t>(std::int64_t{clip.start} - all.front().frame);
      if (first + count <= all.size()) {
        const auto keys = std::span(all).subspan(first, count);
        int frame = clip.start;
        const bool dense =
            std::ranges::all_of(keys, [&](const ckey& key) { return key.frame == frame++; });
        // Of keys that share the last frame the last one counts.
        if (dense && (first + count == all.size() || keys.back().frame < all.back().frame)) {
          return keys;
        }
      }
    }
    keys_.clear();
    for (int k = 0; k < clip.frames; ++k) {
      keys_.push_back(core::KeyAtFrame(track, clip.start + k));
    }
    return keys_;
  }

  // Adds the node's parts over the clip.
  void AddPoses(const filenode& owner, const core::clip& clip, const localpose& rest) {
    const std::span<const ckey> keys = KeysOf(*owner.track, clip);
    std::array<float, 4> before = rest.rotation;
    const bool finite[] = {
        Convert<3>(
            keys, [](const ckey& a, const ckey& b) { return Same(a.pos, b.pos); },
            [&](const ckey& key) { return convert_.Translation(key); }, parts_[0].values),
        Convert<4>(
            keys,
            [](const ckey& a, const ckey& b) {
              return a.rot.x == b.rot.x && a.rot.y == b.rot.y && a.rot.z == b.rot.z &&
                     a.rot.w == b.rot.w;
            },
            [&](const ckey& key) { return before = convert_.Rotation(key, before); },
            parts_[1].values),
        Convert<3>(
            keys, [](const ckey& a, const ckey& b) { return Same(a.scale, b.scale); },
            [&](const ckey& key) { return convert_.Scale(key); }, parts_[2].values)};
    for (int k = 0; !std::ranges::all_of(finite, std::identity()) && k < clip.frames; ++k) {
      PoseAt(*owner.track, clip.start + k, how_, rest, owner.name);  // tells of the frame
    }
    for (partvalues& part : parts_) {
      part.starts.push_back(part.values.size());
    }
  }

  void AddChannel(std::size_t c, int node, std::size_t which, values part) {
    const values first = part.first(kProperties[which].components);
    if (AllAre(part, first)) {
      constant& made = made_[c].constants.emplace_back(constant{node, which, {}});
      std::ranges::copy(first, made.value.begin());
      return;
    }
    Write(c, node, which, Times(c), part);
    made_[c].whole = true;
  }

  // One key; one for each frame where nothing else would tell the clip's length and rate.
  void WriteConstant(std::size_t c, const constant& each) {
    const values part = values(each.value).first(kProperties[each.which].components);
    const int keys = made_[c].whole ? 1 : clips_[c].frames;
    std::vector<float> list;
    for (int k = 0; k < keys; ++k) {
      list.insert(list.end(), part.begin(), part.end());
    }
    Write(c, each.node, each.which, made_[c].whole ? Start() : Times(c), list);
    made_[c].whole = true;
  }

  void Write(std::size_t c, int node, std::size_t which, int times, values list) {
    const property& what = kProperties[which];
    AddSampler(c, node, what.path, times,
               file_.AddFloats(View(), list, what.type, scenefile::bounds::None));
  }

  void AddSampler(std::size_t c, int node, const char* path, int times, int output) {
    made_[c].channels.push_back({node, path, times, output});
  }

  void WriteAnimation(const std::string& name, const animation& made) {
    jsonwriter& entry = file_.AddWritten("animations");
    entry.StartObject();
    if (!name.empty()) {
      entry.Member("name", ToUtf8(name));
    }
    entry.Key("channels");
    entry.StartArray();
    for (std::size_t i = 0; i < made.channels.size(); ++i) {
      entry.StartObject();
      entry.Member("sampler", i);
      entry.Key("target");
      entry.StartObject();
      entry.Member("node", made.channels[i].node);
      entry.Member("path", made.channels[i].path);
      entry.EndObject();
      entry.EndObject();
    }
    entry.EndArray();
    entry.Key("samplers");
    entry.StartArray();
    for (const channel& each : made.channels) {
      entry.StartObject();
      entry.Member("input", each.times);
      entry.Member("output", each.values);
      if (how_.stepped) {
        entry.Member("interpolation", "STEP");
      }
      entry.EndObject();
    }
    entry.EndArray();
    entry.EndObject();
  }

  int Times(std::size_t c) {
    const core::clip& clip = clips_[c];
    const bool own = how_.ownRates && clip.rate > 0 && clip.rate <= kHighestRate;
    return Times(clip.frames, own ? clip.rate : how_.fps);
  }
  int Start() { return Times(1, how_.fps); }

  // Clips of one length and rate share their times.
  int Times(int frames, double rate) {
    const auto [place, fresh] = times_.try_emplace({frames, rate}, 0);
    if (fresh) {
      std::vector<float> times;
      times.reserve(static_cast<std::size_t>(frames));
      for (int k = 0; k < frames; ++k) {
        times.push_back(FrameTime(k, rate));
      }
      place->second = file_.AddFloats(View(), times, "SCALAR", scenefile::bounds::Written);
    }
    return place->second;
  }

  int View() {
    if (view_ < 0) {
      view_ = file_.AddView(scenefile::use::Nothing);
    }
    return view_;
  }

  std::vector<core::clip> clips_;
  std::vector<animation> made_;
  const layout& plan_;
  const options& how_;
  scenefile& file_;
  int view_ = -1;  // of all animation data
  std::map<std::pair<int, double>, int> times_;
  keyconverter convert_;
  // Of the node at work.
  std::array<partvalues, std::size(kProperties)> parts_;
  std::vector<ckey> keys_;
};

}  // namespace

void WriteAnimations(const core::scene& scene, const skinning& skins, const layout& plan,
                     const std::vector<int>& meshes, const options& how, scenefile& file) {
  std::vector<core::clip> clips = core::NamedClips(scene);
  std::erase_if(clips, [](const core::clip& clip) { return clip.frames < 1; });
  const bool named = !clips.empty();
  if (!named) {
    clips.push_back({kWholeName, scene.animStart, core::LastKeyFrame(scene) - scene.animStart + 1});
  }
  const std::vector<bool> posed =
      clips.size() > 1 ? PosedJoints(scene, skins, plan) : std::vector<bool>(plan.nodes.size());
  animationwriter writer(std::move(clips), plan, how, file);
  int still = -1;
  localpose stillRest;
  for (std::size_t i = 0; i < plan.nodes.size(); ++i) {
    const filenode& node = plan.nodes[i];
    if (node.track == nullptr) {
      continue;
    }
    const localpose rest = PoseAt(*node.track, scene.animStart, how, {}, node.name);
    if (node.track->keys.size() > 1 || posed[i]) {
      writer.AddNode(static_cast<int>(i), rest, posed[i]);
    }
    if (i < meshes.size() && meshes[i] >= 0) {
      if (const core::meshstate* mesh = MorphedMesh(*scene.Nodes()[i], skins); mesh != nullptr) {
        writer.AddMorph(static_cast<int>(i), *mesh);
      }
    }
    if (still < 0 && named) {
      still = static_cast<int>(i);
      stillRest = rest;
    }
  }
  writer.Finish(still, stillRest);
}

}  // namespace gltf
