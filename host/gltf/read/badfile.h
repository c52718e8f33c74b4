#pragma once

#include <exception>
#include <string>
#include <utility>

namespace gltf {

// What is wrong with a file and where. Thrown anywhere in reading, caught by ReadScene.
class badfile : public std::exception {
 public:
  explicit badfile(std::string told) : told_(std::move(told)) {}
  const char* what() const noexcept override { return told_.c_str(); }

 private:
  std::string told_;
};

}  // namespace gltf
