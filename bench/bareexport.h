#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "core/scene.h"

// The least that an mdc export of skinned surfaces has to compute: joints posed from their keys,
// vertices skinned for the frames' boxes, skinned again, moved by the surface's matrix, quantised
// and written. No host, no checks, no scene: what such an export's time is measured against.
class bareexport {
 public:
  // Takes what it needs out of the scene: bones with a key for each frame, parents before their
  // children, and skins that stand at the origin.
  explicit bareexport(const core::scene& scene);
  ~bareexport();

  // The number of bytes written.
  std::size_t Write(const std::string& path) const;

 private:
  struct model;
  std::shared_ptr<const model> model_;
};

// The most that a coordinate of the one mdc file lies from that of the other, in steps of the
// format; below 0 where the files do not hold the same surfaces and frames.
int StepsApart(const std::string& a, const std::string& b);
