#pragma once

// Words that the command's lines are made of.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace command {

// Of a line in a terminal.
inline constexpr std::size_t kColumns = 79;

// "it has 3 triangles instead of 4"; empty for equal numbers.
std::string FaultOfCount(const std::string& what, std::int64_t found, std::int64_t wanted);

// "1 node", "2 nodes"
std::string Counted(std::int64_t number, const std::string& one);
// "a, b, c"
std::string Joined(const std::vector<std::string>& names);
// "a, b, c, d, and 12 more"
std::string JoinedFew(std::vector<std::string> names);
// "; did you mean a or b?": those of the names that are spelt nearly as the wanted one, in any case
// of letters and with any dashes before them, the nearest first, at most three. Empty for none.
std::string DidYouMean(const std::string& wanted, const std::vector<std::string>& names);
// The same, or where nothing is near the first of all: "; there are: a, b and 12 more".
std::string NearOrAll(const std::string& wanted, const std::vector<std::string>& names);

}  // namespace command
