#include "core/timeline.h"

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <unordered_map>
#include <utility>

#include "core/state.h"

namespace core {

namespace {

// A sequence as an import wrote it into the notes.
struct notedsequence {
  std::string name;
  std::int64_t first = 0;
  std::int64_t frames = 0;
  int loop = 0;
  int rate = 0;
};

// The sequences of the last import that the notes tell of.
std::vector<notedsequence> ReadNotes(const std::string& notes) {
  std::vector<notedsequence> sequences;
  std::istringstream lines(notes);
  bool begun = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.find("anim sequences: ") != std::string::npos) {
      sequences.clear();
      begun = true;
      continue;
    }
    std::istringstream fields(line);
    notedsequence sequence;
    std::int32_t first = 0;
    std::int32_t frames = 0;
    if (begun && fields >> sequence.name >> first >> frames >> sequence.loop >> sequence.rate) {
      sequence.first = first;
      sequence.frames = frames;
      sequences.push_back(std::move(sequence));
    }
  }
  return sequences;
}

// Whether the numbers are those of sequences laid one behind the other: each line then has the
// last key of its sequence, and together they fill the range to its end.
bool AreLastKeys(const std::vector<notedsequence>& sequences, std::int64_t animEnd) {
  std::int64_t end = 0;
  for (const notedsequence& sequence : sequences) {
    end += sequence.frames;
    if (sequence.frames > 0 && sequence.first + 1 != end) {
      return false;
    }
  }
  return end == animEnd;
}

// What the scene's own clips do not say themselves.
std::vector<clip> WithNotedNumbers(std::vector<clip> clips,
                                   const std::vector<notedsequence>& sequences) {
  std::unordered_map<std::string, const notedsequence*> byName;
  for (const notedsequence& sequence : sequences) {
    byName.emplace(sequence.name, &sequence);
  }
  for (clip& own : clips) {
    const auto noted = byName.find(own.name);
    if (noted != byName.end() && own.rate == 0) {
      own.loop = noted->second->loop;
      own.rate = noted->second->rate;
    }
  }
  return clips;
}

}  // namespace

std::vector<clip> NotedSequences(const std::string& notes) {
  const std::vector<notedsequence> sequences = ReadNotes(notes);
  std::int64_t frames = 0;
  for (const notedsequence& sequence : sequences) {
    frames += sequence.frames;
  }
  const bool lastKeys = AreLastKeys(sequences, frames);
  std::vector<clip> clips;
  clips.reserve(sequences.size());
  for (const notedsequence& sequence : sequences) {
    clips.push_back({sequence.name, lastKeys ? -1 : static_cast<int>(sequence.first),
                     static_cast<int>(sequence.frames), sequence.loop, sequence.rate});
  }
  return clips;
}

int LastKeyFrame(const scene& scene) {
  int last = scene.animStart;
  for (const cnode* node : scene.Nodes()) {
    const trackstate& track = node->State().track->State();
    if (!track.keys.empty()) {
      last = std::max(last, track.keys.back().frame);
    }
    if (node->State().type == kNodeSkin) {
      const meshstate& mesh = static_cast<const cskin*>(node)->Skin().mesh;
      last = std::max(last, mesh.morph != nullptr ? mesh.morph->NumFrames() - 1 : 0);
    }
  }
  return std::min(last, std::max(scene.animStart, scene.animEnd));
}

std::vector<clip> NamedClips(const scene& scene) {
  const std::vector<notedsequence> sequences = ReadNotes(scene.notes);
  if (!scene.clips.empty()) {
    return WithNotedNumbers(scene.clips, sequences);
  }
  const bool lastKeys = AreLastKeys(sequences, scene.animEnd);
  const std::int64_t end = std::int64_t{LastKeyFrame(scene)} + 1;
  std::vector<clip> clips;
  for (const notedsequence& sequence : sequences) {
    const std::int64_t start =
        lastKeys ? sequence.first + 1 - sequence.frames : std::int64_t{sequence.first};
    const std::int64_t from = std::max<std::int64_t>(start, 0);
    const std::int64_t to = std::min(start + sequence.frames, end);
    if (from < to) {
      clips.push_back({sequence.name, static_cast<int>(from), static_cast<int>(to - from),
                       sequence.loop, sequence.rate});
    }
  }
  return clips;
}

}  // namespace core
