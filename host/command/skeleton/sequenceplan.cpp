#include "command/skeleton/sequenceplan.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "command/failure.h"
#include "command/wording.h"
#include "core/state.h"
#include "core/timeline.h"
#include "core/track.h"

namespace command {

namespace {

// As in a scene file: at 20 a second they last for half a day.
constexpr std::int64_t kMostFrames = std::int64_t{1} << 20;

// The old frame that each frame of a new time line shows; -1 for none.
struct relayout {
  std::vector<int> source;
  std::vector<std::pair<int, int>> shared;  // old frames that two clips have for one new frame

  void Lay(const core::clip& clip, std::int64_t start, std::int64_t frames) {
    for (std::int64_t k = 0; k < frames; ++k) {
      const int from = clip.start + static_cast<int>(std::min<std::int64_t>(k, clip.frames - 1));
      int& frame = source[static_cast<std::size_t>(start + k)];
      if (frame < 0) {
        frame = from;
      } else if (frame != from) {
        shared.emplace_back(frame, from);
      }
    }
  }

  void Fill() {
    const auto first = std::ranges::find_if(source, [](int frame) { return frame >= 0; });
    int before = *first;
    for (int& frame : source) {
      frame = before = frame < 0 ? before : frame;
    }
  }
};

bool Agree(const ckey& a, const ckey& b) {
  constexpr float kFar = 1e-3F;     // units
  constexpr float kTurned = 1e-5F;  // half the angle between, in radians
  const float dot = a.rot.x * b.rot.x + a.rot.y * b.rot.y + a.rot.z * b.rot.z + a.rot.w * b.rot.w;
  const float sign = dot < 0.0F ? -1.0F : 1.0F;
  return std::abs(a.pos.x - b.pos.x) < kFar && std::abs(a.pos.y - b.pos.y) < kFar &&
         std::abs(a.pos.z - b.pos.z) < kFar && std::abs(a.rot.x - sign * b.rot.x) < kTurned &&
         std::abs(a.rot.y - sign * b.rot.y) < kTurned &&
         std::abs(a.rot.z - sign * b.rot.z) < kTurned &&
         std::abs(a.rot.w - sign * b.rot.w) < kTurned;
}

bool SharedAgree(const core::scene& scene, const relayout& frames) {
  return std::ranges::all_of(scene.Nodes(), [&](const cnode* node) {
    const core::trackstate& track = node->State().track->State();
    return track.keys.size() < 2 || std::ranges::all_of(frames.shared, [&](const auto& pair) {
             return Agree(core::KeyAtFrame(track, pair.first),
                          core::KeyAtFrame(track, pair.second));
           });
  });
}

void Apply(const relayout& frames, std::vector<core::clip> clips, core::scene& scene) {
  for (cnode* node : scene.Nodes()) {
    const core::trackstate& track = node->State().track->State();
    if (track.keys.size() < 2) {
      continue;
    }
    std::vector<ckey> keys;
    keys.reserve(frames.source.size());
    for (const int from : frames.source) {
      keys.push_back(core::KeyAtFrame(track, from));
      keys.back().frame = static_cast<std::int32_t>(keys.size() - 1);
    }
    core::SetKeys(*node, std::move(keys));
  }
  scene.clips = std::move(clips);
  scene.animStart = 0;
  scene.animEnd = static_cast<int>(frames.source.size()) - 1;
  scene.frameBounds.clear();
}

// Clips by their names in a sequence file.
std::unordered_map<std::string, core::clip> ClipsByName(const core::scene& scene) {
  std::unordered_map<std::string, core::clip> clips;
  for (const core::clip& clip : core::NamedClips(scene)) {
    clips.emplace(SequenceName(clip.name), clip);
  }
  return clips;
}

}  // namespace

std::vector<std::string> LayOutBy(const std::string& path, const std::vector<sequenceline>& lines,
                                  core::scene& scene) {
  std::unordered_map<std::string, core::clip> clips = ClipsByName(scene);
  std::int64_t end = 0;
  bool any = false;
  for (const sequenceline& line : lines) {
    if (line.start < 0 || line.frames < 1 || line.start > kMostFrames ||
        line.frames > kMostFrames - line.start) {
      throw failure(path, "sequence " + line.name + ": frame " + std::to_string(line.start) +
                              " and " + std::to_string(line.frames) + " frames are out of range");
    }
    end = std::max(end, line.start + line.frames);
    any = any || clips.contains(line.name);
  }
  if (!any) {
    throw failure(path, "has no sequence of the name of a clip of the scene");
  }
  relayout frames;
  frames.source.resize(static_cast<std::size_t>(end), -1);
  std::vector<core::clip> laid;
  std::vector<std::string> missing;
  std::vector<std::string> changed;
  std::unordered_set<std::string> used;
  for (const sequenceline& line : lines) {
    const auto found = clips.find(line.name);
    if (found == clips.end()) {
      missing.push_back(line.name);
    } else {
      used.insert(line.name);
      frames.Lay(found->second, line.start, line.frames);
      if (found->second.frames != line.frames) {
        changed.push_back(line.name + " (" + std::to_string(found->second.frames) + ", not " +
                          std::to_string(line.frames) + ")");
      }
    }
    laid.push_back({line.name, static_cast<int>(line.start), static_cast<int>(line.frames),
                    line.loop, line.rate});
  }
  std::vector<std::string> others;
  for (const core::clip& clip : core::NamedClips(scene)) {
    if (!used.contains(SequenceName(clip.name))) {
      others.push_back(clip.name);
    }
  }
  std::vector<std::string> told;
  const auto tell = [&](const std::string& what, const std::vector<std::string>& names) {
    if (!names.empty()) {
      told.push_back(what + ": " + JoinedFew(names));
    }
  };
  tell("the scene has no clip for sequences of " + path + ", whose frames are filled", missing);
  tell("clips are held or cut to the frames of " + path, changed);
  tell("clips are left out, since " + path + " does not name them", others);
  if (!SharedAgree(scene, frames)) {
    told.push_back("clips differ where sequences of " + path +
                   " share frames: the first in the file is taken");
  }
  frames.Fill();
  Apply(frames, std::move(laid), scene);
  return told;
}

void RestoreLayout(core::scene& scene) {
  const std::vector<core::clip> noted = core::NotedSequences(scene.notes);
  std::vector<core::clip> clips = core::NamedClips(scene);
  std::int64_t end = 0;
  bool moved = false;
  if (noted.empty() || noted.size() != clips.size()) {
    return;
  }
  for (std::size_t i = 0; i < clips.size(); ++i) {
    if (noted[i].name != clips[i].name || noted[i].frames != clips[i].frames ||
        noted[i].start < 0) {
      return;
    }
    end = std::max(end, std::int64_t{noted[i].start} + noted[i].frames);
    moved = moved || noted[i].start != clips[i].start;
  }
  if (!moved || end > kMostFrames) {
    return;
  }
  relayout frames;
  frames.source.resize(static_cast<std::size_t>(end), -1);
  for (std::size_t i = 0; i < clips.size(); ++i) {
    frames.Lay(clips[i], noted[i].start, noted[i].frames);
    clips[i].start = noted[i].start;
  }
  if (!SharedAgree(scene, frames)) {
    return;
  }
  frames.Fill();
  Apply(frames, std::move(clips), scene);
}

std::function<const core::clip*(const std::string& name)> SequenceFinder(
    const std::vector<sequenceline>& lines) {
  std::unordered_map<std::string, core::clip> clips;
  for (const sequenceline& line : lines) {
    const std::int64_t frames = std::clamp<std::int64_t>(line.frames, 0, kMostFrames);
    clips.emplace(line.name,
                  core::clip{line.name, 0, static_cast<int>(frames), line.loop, line.rate});
  }
  return [clips = std::move(clips)](const std::string& name) {
    const auto found = clips.find(SequenceName(name));
    return found == clips.end() ? nullptr : &found->second;
  };
}

void SetLoops(const std::string& path, const std::vector<loopchoice>& loops, core::scene& scene) {
  if (loops.empty()) {
    return;
  }
  std::vector<core::clip> clips = core::NamedClips(scene);
  for (const loopchoice& loop : loops) {
    bool found = false;
    std::vector<std::string> names;
    for (core::clip& clip : clips) {
      names.push_back(clip.name);
      if (clip.name == loop.name || SequenceName(clip.name) == loop.name) {
        found = true;
        if (loop.frames > clip.frames) {
          throw failure(path, "--loop " + loop.name + "=" + std::to_string(loop.frames) +
                                  ": the clip has " + Counted(clip.frames, "frame"));
        }
        clip.loop = loop.frames < 0 ? clip.frames : loop.frames;
      }
    }
    if (!found) {
      throw failure(path,
                    "--loop: the scene has no clip " + loop.name + NearOrAll(loop.name, names));
    }
  }
  scene.clips = std::move(clips);
}

}  // namespace command
