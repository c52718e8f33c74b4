#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "gltf/read/document.h"

namespace gltf {

std::int64_t NumComponents(shape form);

// Reads the accessors of a document whose buffers are loaded. What an accessor reaches is checked
// before anything is read or room is made for it; places in faults are the caller's, such as
// "mesh 2, primitive 0: POSITION". Throws badfile.
class valuereader {
 public:
  explicit valuereader(const document& doc);

  // Component after component, element after element. Normalized integers become fractions, other
  // integers stay what they are; every number is finite.
  std::vector<float> Floats(int index, shape form, const std::string& place);
  // For a caller who has kept the values of an accessor that it had read:
  // counts as reading it.
  void Reread(int index, shape form, const std::string& place);
  // Unsigned integers that are not normalized.
  std::vector<std::uint32_t> Indices(int index, shape form, const std::string& place);

 private:
  // Where elements lie; no data where they are all zero.
  struct elements {
    const unsigned char* data = nullptr;
    std::int64_t stride = 0;
  };

  const accessor& Checked(int index, shape form, const std::string& place);
  elements Locate(int view, std::int64_t offset, std::int64_t count, std::int64_t size,
                  bool strided, const std::string& place) const;
  template <class T>
  std::vector<T> Read(const accessor& from, const std::string& place);
  template <class T>
  void ReadSparse(const accessor& from, const std::string& place, std::vector<T>& values);

  const document& doc_;
  std::int64_t bytes_;
  std::int64_t room_;  // components that may still be read
};

}  // namespace gltf
