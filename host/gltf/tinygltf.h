#pragma once

// The glTF library as this project uses it: it parses and writes the document and its buffers.
// Images are left to core/decode.h and the writer, so that a JPEG or PNG passes through unchanged.

#define TINYGLTF_NO_STB_IMAGE
#define TINYGLTF_NO_STB_IMAGE_WRITE
#include <tiny_gltf.h>
