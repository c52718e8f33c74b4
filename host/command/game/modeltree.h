#pragma once

// The files of models gathered for another machine.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "command/game/gamefiles.h"
#include "core/scene.h"

namespace command {

// Files in a tree of their own, where the command finds what belongs to a model as it does on the
// disk. The folder above the first model's models folder is the tree's root, or where it has none
// the model's own; models of other games get folders with numbers.
class modeltree {
 public:
  struct file {
    std::string path;  // relative, with forward slashes
    std::vector<std::uint8_t> content;
  };

  // `gameFolders` are further ones to look for images in, later ones first.
  explicit modeltree(std::vector<std::string> gameFolders) : gameFolders_(std::move(gameFolders)) {}

  // The model's file, its sequence and skin files and the mdx of an mdm, which gets the mdm's name;
  // `mdx` is the user's choice or empty. Gives the model's path in the tree. This and the other
  // calls fail where a file cannot be read.
  std::string AddModel(const std::string& model, const std::string& mdx);
  // The images that the scene's materials name, then those of other skins and of the shaders in the
  // models' files, up to a bound. False where some are left out by that.
  bool AddImages(const core::scene& scene);
  // A .glb or .gltf file, and of the latter the files that it names in its folder and below.
  std::string AddScene(const std::string& path);
  // A file that nothing looks for.
  std::string AddFile(const std::string& path);

  const std::vector<file>& Files() const { return files_; }
  // Of all files.
  std::uint64_t Bytes() const { return bytes_; }

 private:
  struct game {
    std::string folder;  // on the disk
    std::string prefix;  // of its files in the tree
    // Of models outside of a models folder: where images lie last.
    std::string beside;
    std::unique_ptr<gamefiles> files;
  };

  game& GameOf(const std::string& fullPath);
  void Add(const std::string& path, std::vector<std::uint8_t> content);
  void AddFrom(const std::string& from, const std::string& path);
  bool AddIfThere(const std::string& from, const std::string& path);
  void AddImage(game& of, const std::string& wanted);

  std::vector<std::string> gameFolders_;
  std::vector<game> games_;
  std::vector<std::string> shaders_;  // of the models and their skins
  std::vector<file> files_;
  std::unordered_set<std::string> taken_;
  std::uint64_t bytes_ = 0;
};

}  // namespace command
