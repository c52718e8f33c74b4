#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "files/replacement.h"
#include "gltf/write/jsonwriter.h"

namespace gltf {

// A file being put together: its lists, its binary data, the files beside it. The library that
// reads documents writes them as well, but neither says when the disk was full nor leaves an older
// file alone, and holds the data three times over.
class scenefile {
 public:
  // A path that ends in .gltf, in any case of letters, has its data and images beside it.
  explicit scenefile(std::string path);

  // Adds to a list of the file's root, as "skins", and gives the index there.
  int Add(const char* list, ordered_json entry);
  // The same for a list that may be long: the caller writes the entry. A list gets its entries in
  // one of the two ways.
  jsonwriter& AddWritten(const char* list);
  void SetScene(ordered_json scene);

  // What a view is for: the file says so of a mesh's data and of nothing else.
  enum class use { Nothing, Vertices, Indices };
  int AddView(use purpose);

  // Adds the values behind what the view has, and an accessor for them. `type` is "VEC3" and the
  // like; not empty. Bounds are the least and largest of each component.
  enum class bounds { None, Written };
  int AddFloats(int view, std::span<const float> values, const char* type, bounds wanted);
  // Three for each element, from -1 to 1, in normalized bytes or shorts, each element at a multiple
  // of 4 bytes in a view that all of the kind share. The file then needs KHR_mesh_quantization.
  enum class packing { Int8, Int16 };
  int AddPacked(std::span<const float> values, packing how, bounds wanted);
  // Three floats of 0 for each element, which take no bytes.
  int AddZeros(std::size_t count);
  // Scalars that are 0 but for those at the ascending places.
  struct placedvalue {
    std::uint32_t place;
    float value;
  };
  int AddSparse(std::size_t count, std::span<const placedvalue> values);
  // The smallest type that holds the values and leaves its largest one free.
  int AddIndices(std::span<const std::uint32_t> values);
  // Four to a vertex. The smallest type that holds them.
  int AddJoints(std::span<const std::uint32_t> values);

  int AddImage(const std::string& name, const std::string& mimeType,
               std::vector<std::uint8_t> bytes);

  // Writes all files, the scene's own last, without committing them. Throws writefault and
  // files::fault.
  void Save(files::replacement& into);

 private:
  struct viewdata {
    use purpose = use::Nothing;
    // Pieces that never move: with all frames of a model a view holds most of the file.
    std::vector<std::vector<std::uint8_t>> pieces;
    std::size_t size = 0;
    int stride = 0;  // 0: elements stand close together

    // Room for so many bytes behind the others, zeros at first.
    std::span<std::uint8_t> Grow(std::size_t bytes);
    std::vector<std::uint8_t>& PieceFor(std::size_t bytes);
    void Append(std::span<const std::uint8_t> bytes);
  };
  struct sidefile {
    std::string name;
    std::vector<std::uint8_t> bytes;
  };

  struct writtenlist {
    jsonwriter text;
    int count = 0;
  };

  template <class T>
  int Pack(int& view, std::span<const float> values, int componentType, bounds wanted);
  template <class T>
  int AddWhole(use purpose, std::span<const std::uint32_t> values, int componentType,
               const char* type);
  // Starts an accessor's object, which the caller ends.
  jsonwriter& StartAccessor();
  jsonwriter& StartAccessor(int view, std::size_t offset, int componentType, std::size_t count,
                            const char* type);
  int EndAccessor(jsonwriter& entry);
  std::string RootText();
  std::string NameBeside(const std::string& tail) const;

  std::string path_;
  bool split_;         // data and images in files of their own
  ordered_json root_;  // null in place of a list of written_
  std::map<std::string, writtenlist> written_;
  std::vector<viewdata> views_;
  int byteView_ = -1;  // of AddPacked
  int shortView_ = -1;
  std::vector<sidefile> images_;
};

}  // namespace gltf
