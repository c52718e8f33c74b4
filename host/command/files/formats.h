#pragma once

// The kinds of files that the program knows, a row each in formats.cpp.

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace command {

enum class filekind { Other, Scene, Mdc, Mds, Mdm, Mdx };

// What the tags of a model come from.
enum class tagsource {
  None,
  Nodes,      // nodes with a tag's name, of any type
  Bones,      // bones with a tag's name, which are bones of the file too
  OtherBones  // bones with a tag's name, which are no bones of the file
};

// What files of a kind have in them; a scene has none of it.
struct format {
  filekind kind;
  filekind skeleton;  // the kind of the file that has its bones and their frames
  std::array<std::string_view, 2> suffixes;  // without the dot; the second may be empty
  std::string_view text;                     // with its article
  tagsource tags;
  bool surfaces;
  // Each frame has the positions of all vertices. Only an mdc has: what goes by this reads its
  // records.
  bool vertexFrames;
  bool skeletal;  // its vertices follow bones, of this file or of another

  bool IsModel() const { return surfaces || skeletal; }
  bool HasBones() const { return skeletal && skeleton == kind; }
  // Its bones are in a file of their own.
  bool IsPair() const { return skeletal && skeleton != kind; }
};

const format& FormatOf(filekind kind);
// By the suffix, in any case of letters.
filekind KindOf(const std::string& path);
// "an mds model", "a glTF scene".
std::string KindText(filekind kind);
bool IsSkeletal(filekind kind);

// The formats that the predicate holds for, in the table's order.
std::vector<filekind> KindsThat(bool (*holds)(const format&));
// The suffixes of these.
std::vector<std::string> SuffixesOf(const std::vector<filekind>& kinds);

}  // namespace command
