#pragma once

#include <rapidjson/document.h>

#include <cstddef>
#include <memory>
#include <string>

#include "binary/fileview.h"

namespace gltf {

// Memory for a text's values. The library would go on without it where there is none: this throws
// bad_alloc.
class jsonmemory {
 public:
  static constexpr bool kNeedFree = true;

  void* Malloc(std::size_t size);
  void* Realloc(void* old, std::size_t oldSize, std::size_t size);
  static void Free(void* memory);
};

using jsonpool = rapidjson::MemoryPoolAllocator<jsonmemory>;
using jsonvalue = rapidjson::GenericValue<rapidjson::UTF8<>, jsonpool>;
using jsonvalues = rapidjson::GenericDocument<rapidjson::UTF8<>, jsonpool, jsonmemory>;

// Of a string; empty for all else.
inline std::string TextOf(const jsonvalue& value) {
  return value.IsString() ? std::string(value.GetString(), value.GetStringLength()) : std::string();
}

// The values of a text, of any depth.
class jsontext {
 public:
  // Throws badfile where the text is no JSON in UTF-8.
  explicit jsontext(const fileview& text);

  const jsonvalue& Root() const { return values_; }

 private:
  std::unique_ptr<char[]> copy_;  // has the strings
  jsonvalues values_;
};

}  // namespace gltf
