#pragma once

// Looks into model files with the formats' own readers.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "command/content/contentcheck.h"
#include "command/files/paths.h"
#include "command/run/answers.h"
#include "core/scene.h"

namespace command {

// What an export of the scene has to write; nothing where a format has no such count.
struct expectedmodel {
  std::optional<std::int64_t> frames;
  std::optional<std::int64_t> bones;
  std::optional<std::int64_t> tags;
  std::optional<std::int64_t> surfaces;
};
expectedmodel ExpectedOf(const core::scene& scene, filekind kind,
                         const std::optional<framerange>& range);

struct writtenmodel {
  std::string summary;  // what is in it
  // Of an mdc: how far it reaches from its frames' origins along an axis, in units. Coordinates
  // beyond kMdcReach are wrong in the file.
  double reach = 0.0;
  std::vector<std::string> limits;  // of the games that it passes
};
inline constexpr double kMdcReach = 512.0;

// Reads the file whole. What does not hold in it, or is not what it was written from; empty when
// all is well. `name` is the one in its header; "" where it is not known.
std::string FaultOfWritten(const std::string& path, filekind kind, const std::string& name,
                           const writtenfrom& from, writtenmodel& written);
// What does not fit between the two files of a model; empty when they fit.
std::string FaultOfPair(const std::string& mdmPath, const std::string& mdxPath);

// Why an importer gave 0 for the file. The mdx is that of an mdm, the frame that of an mdc.
std::string WhyRefused(const std::string& path, const std::string& mdxPath,
                       const std::optional<int>& frame);

// Frames of a skeletal model: of an mds or mdx file. Fails when it cannot be read.
std::int64_t FramesOf(const std::string& path, filekind kind);

}  // namespace command
