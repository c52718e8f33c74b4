#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "gltf/read/document.h"

namespace gltf {

// Where the files that a document names are looked for.
struct surroundings {
  const std::string& path;  // of the document
  bool allowOutside;        // of its folder, too
};

// Gives every buffer its content: the binary chunk, a data URI, or a file beside the document.
// Throws badfile.
void LoadBuffers(document& doc, const surroundings& around);

// The stretch of a buffer that a view has. Throws badfile with the place.
fileview ViewOf(const document& doc, int view, const std::string& place);

// The bytes of an image, wherever they are; empty where they cannot be had, which is no fault of
// the document. Throws badfile for a view that is not whole.
std::vector<std::uint8_t> ImageBytes(const document& doc, int image, const surroundings& around);
// What to tell of a file that cannot be had because of where it lies; empty for any other.
std::string WhyOutside(const std::string& uri, const surroundings& around);

bool IsDataUri(const std::string& uri);
// A URI without its escapes: "a%20b" is "a b".
std::string WithoutEscapes(const std::string& uri);

}  // namespace gltf
