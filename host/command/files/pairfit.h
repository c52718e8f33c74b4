#pragma once

#include <string>
#include <vector>

namespace command {

// What speaks against an mdx being the skeleton that an mdm was made for, where all bones that the
// vertices name are there; a text each, none where nothing does. Either file may not hold: then
// nothing is said.
std::vector<std::string> DoubtsOfPair(const std::string& mdmPath, const std::string& mdxPath);

}  // namespace command
