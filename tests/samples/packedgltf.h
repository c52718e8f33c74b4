#pragma once

#include "samples/gltfmodel.h"

// SmallGltf compressed with the libraries' own encoders.

// Every buffer view of an accessor, each filter of the extension once, the triangles in the mode
// TRIANGLES or INDICES; the uncompressed views lie in a buffer without content.
gltfmodel MeshoptGltf(const std::string& trianglesMode = "TRIANGLES");

enum class dracomethod { Sequential, Edgebreaker };

// The skin's triangles, without sparse values.
gltfmodel DracoGltf(dracomethod method);
