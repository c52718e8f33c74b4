#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "gltf/read/document.h"

namespace gltf {

// Gives every buffer its content: the binary chunk, a data URI, or a file beside the document at
// `path`. Throws badfile.
void LoadBuffers(document& doc, const std::string& path);

// The stretch of a buffer that a view has. Throws badfile with the place.
fileview ViewOf(const document& doc, int view, const std::string& place);

// The bytes of an image, wherever they are; empty where they cannot be had, which is no fault of
// the document. Throws badfile for a view that is not whole.
std::vector<std::uint8_t> ImageBytes(const document& doc, int image, const std::string& path);

bool IsDataUri(const std::string& uri);
// A URI without its escapes: "a%20b" is "a b".
std::string WithoutEscapes(const std::string& uri);

}  // namespace gltf
