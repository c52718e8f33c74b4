#include "command/files/formats.h"

#include <algorithm>
#include <iterator>

#include "command/files/paths.h"

namespace command {

namespace {

using enum filekind;
constexpr auto kNoTags = tagsource::None;

// In the order of filekind: kind, skeleton, suffixes, text, tags, surfaces, vertexFrames, skeletal.
constexpr format kFormats[] = {
    {Other, Other, {}, "an unknown kind of file", kNoTags, false, false, false},
    {Scene, Other, {"glb", "gltf"}, "a glTF scene", kNoTags, false, false, false},
    {Mdc, Other, {"mdc"}, "an mdc model", tagsource::Nodes, true, true, false},
    {Mds, Mds, {"mds"}, "an mds model", tagsource::Bones, true, false, true},
    {Mdm, Mdx, {"mdm"}, "an mdm model", tagsource::OtherBones, true, false, true},
    {Mdx, Mdx, {"mdx"}, "an mdx skeleton", kNoTags, false, false, true},
};

constexpr bool InOrder() {
  for (std::size_t i = 0; i < std::size(kFormats); ++i) {
    if (static_cast<std::size_t>(kFormats[i].kind) != i) {
      return false;
    }
  }
  return true;
}
static_assert(InOrder());

}  // namespace

const format& FormatOf(filekind kind) { return kFormats[static_cast<std::size_t>(kind)]; }

filekind KindOf(const std::string& path) {
  const std::string suffix = SuffixOf(path);
  const auto* const found = std::ranges::find_if(kFormats, [&](const format& row) {
    return !suffix.empty() && std::ranges::find(row.suffixes, suffix) != row.suffixes.end();
  });
  return found == std::end(kFormats) ? Other : found->kind;
}

std::string KindText(filekind kind) { return std::string(FormatOf(kind).text); }

bool IsSkeletal(filekind kind) { return FormatOf(kind).skeletal; }

std::vector<filekind> KindsThat(bool (*holds)(const format&)) {
  std::vector<filekind> kinds;
  for (const format& row : kFormats) {
    if (holds(row)) {
      kinds.push_back(row.kind);
    }
  }
  return kinds;
}

std::vector<std::string> SuffixesOf(const std::vector<filekind>& kinds) {
  std::vector<std::string> suffixes;
  for (const filekind kind : kinds) {
    for (const std::string_view suffix : FormatOf(kind).suffixes) {
      if (!suffix.empty()) {
        suffixes.emplace_back(suffix);
      }
    }
  }
  return suffixes;
}

}  // namespace command
