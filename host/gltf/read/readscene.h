#pragma once

#include <string>

#include "binary/loadfile.h"
#include "gltf/gltf.h"

namespace gltf {

// ReadScene of a file that is in memory; what it needs beside it is looked for beside `path`.
bool ReadLoaded(loadedfile file, const std::string& path, const options& how, core::scene& scene,
                report& told);

}  // namespace gltf
