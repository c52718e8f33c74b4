#include "gltf/read/morphs.h"

#include "gltf/read/badfile.h"

namespace gltf {

namespace {

// Frames and weights that are not 0 of one scene: 128 MB.
constexpr std::size_t kMostKeptWeights = std::size_t{1} << 24;
// Weights that are sampled for a scene: some seconds.
constexpr std::int64_t kMostSamples = std::int64_t{1} << 28;

struct weightchannel {
  const animation* from;
  const channel* moved;
  std::size_t clip;
};

std::vector<float> StillWeights(const document& doc, const node& from) {
  const mesh& shown = doc.meshes[At(from.mesh)];
  const std::vector<double>& weights = from.weights.empty() ? shown.weights : from.weights;
  std::vector<float> made(weights.begin(), weights.end());
  made.resize(shown.NumTargets());
  return made;
}

// Appends a frame's weights.
void AddFrame(core::morphweights& list, const std::vector<float>& weights) {
  for (std::size_t t = 0; t < weights.size(); ++t) {
    if (weights[t] != 0.0F) {
      list.entries.push_back({static_cast<std::uint32_t>(t), weights[t]});
    }
  }
  list.starts.push_back(list.entries.size());
}

}  // namespace

std::vector<nodemorph> MakeMorphs(const document& doc, const plan& nodes, const timeline& line,
                                  valuereader& values) {
  std::vector<std::vector<weightchannel>> channels(doc.nodes.size());
  for (std::size_t clip = 0; clip < doc.animations.size(); ++clip) {
    for (const channel& moved : doc.animations[clip].channels) {
      if (moved.path == target::Weights) {
        channels[At(moved.node)].push_back({&doc.animations[clip], &moved, clip});
      }
    }
  }
  std::vector<nodemorph> morphs(doc.nodes.size());
  std::size_t total = 0;
  std::int64_t samples = 0;
  for (const int index : nodes.order) {
    const node& from = doc.nodes[At(index)];
    if (from.mesh < 0 || doc.meshes[At(from.mesh)].NumTargets() == 0) {
      continue;
    }
    nodemorph& made = morphs[At(index)];
    made.still = StillWeights(doc, from);
    if (channels[At(index)].empty()) {
      continue;
    }
    const auto refuse = [index] {
      throw badfile("node " + std::to_string(index) +
                    ": the weights of the morph targets are more than a scene can hold");
    };
    samples += std::int64_t{line.frames} * static_cast<std::int64_t>(made.still.size());
    if (samples > kMostSamples) {
      refuse();
    }
    auto list = std::make_shared<core::morphweights>();
    list->starts.push_back(0);
    std::vector<float> first;
    bool changes = false;
    const auto take = [&](const std::vector<float>& weights) {
      if (first.empty()) {
        first = weights;
      }
      changes = changes || weights != first;
      AddFrame(*list, weights);
      if (total + list->entries.size() + list->starts.size() > kMostKeptWeights) {
        refuse();
      }
    };
    auto next = channels[At(index)].begin();
    for (std::size_t c = 0; c < line.clips.size(); ++c) {
      if (next == channels[At(index)].end() || next->clip != c) {
        for (int frame = 0; frame < line.clips[c].frames; ++frame) {
          take(made.still);
        }
        continue;
      }
      SampleWeights(*next->from, *next->moved, line.clips[c], line.lengths[c], line.rates[c],
                    made.still.size(), values, take);
      // A clip has one channel for a node's weights; further ones say nothing.
      while (next != channels[At(index)].end() && next->clip == c) {
        ++next;
      }
    }
    if (changes) {
      total += list->entries.size() + list->starts.size();
      made.changing = std::move(list);
    } else if (!first.empty()) {
      made.still = std::move(first);
    }
  }
  return morphs;
}

}  // namespace gltf
