#pragma once

// The glTF library as this project uses it: it writes documents. Images are left to the writer, so
// that a JPEG or PNG passes through unchanged. Reading has a checked document of its own
// (read/document.h).

#define TINYGLTF_NO_STB_IMAGE
#define TINYGLTF_NO_STB_IMAGE_WRITE
#include <tiny_gltf.h>
