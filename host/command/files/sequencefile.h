#pragma once

// The text files that name stretches of a skeletal model's frames: wolfanim.cfg for all mds models
// of a directory, NAME.aninc beside NAME.mdx.

#include <cstdint>
#include <string>
#include <vector>

#include "command/console.h"
#include "command/files/paths.h"
#include "command/run/answers.h"
#include "core/scene.h"

namespace command {

struct sequenceline {
  std::string name;
  std::int64_t start = 0;  // the file's first frame
  std::int64_t frames = 0;
  int loop = 0;
  int rate = 0;
};

// Of an mds or mdx file.
std::string SequenceFileOf(const std::string& path, filekind kind);

// The scene's clips as far as they lie in the exported range, by the frames of the written file.
// Clips without a rate of their own get `fps`.
std::vector<sequenceline> SequencesOf(const core::scene& scene, const framerange& range,
                                      double fps);

// One sequence over all frames.
std::vector<sequenceline> WholeSequence(std::int64_t frames, double fps);

// Blanks in names become underscores. Fails, with an old file as it was, when it cannot be written.
void WriteSequenceFile(console& out, const std::string& path, filekind kind,
                       const std::vector<sequenceline>& lines);

}  // namespace command
