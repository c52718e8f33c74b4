#pragma once

#include <stdexcept>

namespace gltf {

// Why a scene cannot be written, in the words that the user reads.
class writefault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace gltf
