#include "command/wording.h"

#include <algorithm>
#include <numeric>
#include <string_view>
#include <utility>

#include "command/files/paths.h"

namespace command {

namespace {

// Letters to insert, leave out, replace or swap with the next one.
std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> before;
  std::vector<std::size_t> above(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(above.begin(), above.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      row[j] = std::min({above[j] + 1, row[j - 1] + 1,
                         above[j - 1] + (a[i - 1] == b[j - 1] ? std::size_t{0} : 1)});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        row[j] = std::min(row[j], before[j - 2] + 1);
      }
    }
    before = above;
    above = row;
  }
  return above[b.size()];
}

std::string WithoutDashes(const std::string& name) {
  const std::size_t first = name.find_first_not_of('-');
  return first == std::string::npos ? std::string() : Folded(name.substr(first));
}

}  // namespace

std::string FaultOfCount(const std::string& what, std::int64_t found, std::int64_t wanted) {
  return found == wanted ? ""
                         : "it has " + std::to_string(found) + " " + what + " instead of " +
                               std::to_string(wanted);
}

std::string Counted(std::int64_t number, const std::string& one) {
  return std::to_string(number) + " " + one + (number == 1 ? "" : "s");
}

std::string Joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return text;
}

std::string JoinedFew(std::vector<std::string> names) {
  constexpr std::size_t kMost = 4;
  if (names.size() > kMost) {
    const std::size_t more = names.size() - kMost;
    names.resize(kMost);
    names.push_back("and " + std::to_string(more) + " more");
  }
  return Joined(names);
}

std::string DidYouMean(const std::string& wanted, const std::vector<std::string>& names) {
  constexpr std::size_t kMost = 3;
  constexpr std::size_t kShortestPart = 3;
  const std::string typed = WithoutDashes(wanted);
  const std::size_t farthest = std::max<std::size_t>(typed.size() / 3, 1);
  std::vector<std::pair<std::size_t, std::string>> near;
  for (const std::string& name : names) {
    const std::string plain = WithoutDashes(name);
    const std::size_t longer = std::max(plain.size(), typed.size());
    const std::size_t shorter = std::min(plain.size(), typed.size());
    if (typed.size() >= kShortestPart && plain.starts_with(typed)) {
      near.emplace_back(0, name);
    } else if (shorter > 1 && longer - shorter <= farthest) {
      if (const std::size_t distance = EditDistance(typed, plain); distance <= farthest) {
        near.emplace_back(distance, name);
      }
    }
  }
  std::ranges::stable_sort(near, {}, &std::pair<std::size_t, std::string>::first);
  near.resize(std::min(near.size(), kMost));
  std::string text;
  for (const auto& [distance, name] : near) {
    text += (text.empty() ? "; did you mean " : " or ") + name;
  }
  return text.empty() ? text : text + "?";
}

std::string NearOrAll(const std::string& wanted, const std::vector<std::string>& names) {
  const std::string near = DidYouMean(wanted, names);
  return near.empty() ? "; there are: " + JoinedFew(names) : near;
}

}  // namespace command
