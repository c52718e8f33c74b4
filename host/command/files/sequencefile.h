#pragma once

// The text files that name stretches of a skeletal model's frames: wolfanim.cfg for all mds models
// of a directory, NAME.aninc beside NAME.mdx.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "command/console.h"
#include "command/files/linelosses.h"
#include "command/files/paths.h"
#include "command/run/answers.h"
#include "core/scene.h"
#include "files/replacement.h"

namespace command {

struct sequenceline {
  std::string name;
  std::int64_t start = 0;  // the file's first frame
  std::int64_t frames = 0;
  int loop = 0;
  int rate = 0;
};

// The frames a second of a sequence, which are whole.
int WholeRate(double fps);

// A clip's name as it stands in a file: one word.
std::string SequenceName(std::string name);

struct sequencelist {
  std::vector<sequenceline> lines;  // in the file's order
  linelosses losses;
};
// A file of either kind and of any version. Fails when it cannot be read or has no sequence.
sequencelist ReadSequenceFile(const std::string& path);
// As the importers read it, for a model with so many frames; nothing where it cannot be read to its
// end.
std::optional<sequencelist> ReadAsImporter(const std::string& path, filekind kind,
                                           std::int64_t frames);

// Of an mds or mdx file.
std::string SequenceFileOf(const std::string& path, filekind kind);

// The scene's clips as far as they lie in the exported range, by the frames of the written file.
// Clips without a rate of their own get `fps`.
std::vector<sequenceline> SequencesOf(const core::scene& scene, const framerange& range,
                                      double fps);

// One sequence over all frames.
std::vector<sequenceline> WholeSequence(std::int64_t frames, double fps);

// Adds the file to the set, which it becomes part of. Blanks in names become underscores. Throws
// files::fault when it cannot be written.
void WriteSequenceFile(files::replacement& set, const std::string& path, filekind kind,
                       const std::vector<sequenceline>& lines);
void TellSequenceFile(console& out, const std::string& path,
                      const std::vector<sequenceline>& lines);

}  // namespace command
