#pragma once

// What is in a file, as one ordered document: for --json as it is, for a reader as text.

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "command/files/paths.h"
#include "core/scene.h"

namespace command {

using description = nlohmann::ordered_json;

// Every field of the header under its name, then lists of bones, tags, surfaces and frames, as far
// as the format has them; "normals" counts those that the file has room for, "normalsSet" those of
// them that are not 0.
struct modelfindings {
  std::string fault;                // why an importer would refuse the file; empty: it does not
  std::vector<std::string> limits;  // a line for each limit of the games that the model passes
};
// Of a file that an importer would refuse, what comes before the fault is described.
description DescribeModel(const std::string& path, filekind kind, modelfindings& found);

// "fps", "clips" as they lie on the time line, "nodes", "skins", "meshes", "materials", "notes".
description DescribeScene(const core::scene& scene, double fps);

// Fields one a line, lists as tables. Of a long list the first rows are shown.
std::string DescriptionText(const description& whole);

}  // namespace command
