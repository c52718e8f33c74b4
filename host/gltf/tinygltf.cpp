// The body of the glTF library.

#define TINYGLTF_IMPLEMENTATION
#include "gltf/tinygltf.h"
