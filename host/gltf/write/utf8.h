#pragma once

#include <string>

namespace gltf {

// The text as the file may have it. Scenes take names and paths byte for byte from model files;
// what is no UTF-8 is taken for Latin-1.
std::string ToUtf8(const std::string& text);

}  // namespace gltf
