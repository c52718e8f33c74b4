#include "command/files/modellimits.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "command/wording.h"

namespace command {

namespace {

constexpr std::int64_t kMostBones = 128;
constexpr std::int64_t kMostSkeletalTags = 128;
constexpr std::int64_t kMostMdcTags = 16;
constexpr std::int64_t kMostSurfaces = 32;
constexpr std::int64_t kMostTriangles = 8000;  // of a surface
constexpr std::int64_t kMostVertices = 4000;
constexpr std::int64_t kMostMdcFrames = 1024;
constexpr std::size_t kMostNameBytes = 63;

class limits {
 public:
  void Count(std::int64_t number, std::int64_t most, const char* what) {
    if (number > most) {
      lines_.push_back("has " + std::to_string(number) + " " + what + "; the games take at most " +
                       std::to_string(most));
    }
  }
  void Name(const namefield<64>& field) {
    const auto text = NameText(field);
    if (const std::string_view name = text.data(); name.size() >= kMostNameBytes) {
      names_.emplace_back(name);
    }
  }
  template <class Surface>
  void AddSurface(const Surface& surface) {
    const std::string name = NameText(surface.name).data();
    Name(surface.name);
    Each(triangles_, name, surface.numTriangles, kMostTriangles);
    Each(vertices_, name, surface.numVerts, kMostVertices);
  }

  std::vector<std::string> Lines() {
    Tell("surfaces with more than 8000 triangles, the most that the games take", triangles_);
    Tell("surfaces with more than 4000 vertices, the most that the games take", vertices_);
    Tell("names of 63 bytes, the most that a file holds: they may be cut", names_);
    return std::move(lines_);
  }

 private:
  static void Each(std::vector<std::string>& list, const std::string& name, std::int64_t number,
                   std::int64_t most) {
    if (number > most) {
      list.push_back(name + " (" + std::to_string(number) + ")");
    }
  }
  void Tell(const char* what, const std::vector<std::string>& list) {
    if (!list.empty()) {
      lines_.push_back("has " + std::string(what) + ": " + JoinedFew(list));
    }
  }

  std::vector<std::string> lines_;
  std::vector<std::string> triangles_;
  std::vector<std::string> vertices_;
  std::vector<std::string> names_;
};

void AddBones(limits& found, const skelrig& rig) {
  found.Count(rig.numBones, kMostBones, "bones");
  for (std::int32_t b = 0; b < rig.numBones; ++b) {
    found.Name(rig.bones[b].name);
  }
}

void AddSurfaces(limits& found, const skelmesh& mesh) {
  found.Count(std::ssize(mesh.surfaces), kMostSurfaces, "surfaces");
  for (const skelsurfentry& entry : mesh.surfaces) {
    found.AddSurface(*entry.surface);
    found.Name(entry.surface->shader);
  }
}

}  // namespace

std::vector<std::string> PassedLimits(const cmdcfile& file) {
  limits found;
  found.Count(file.header->numFrames, kMostMdcFrames, "frames");
  found.Count(std::ssize(file.tagTable), kMostMdcTags, "tags");
  found.Count(std::ssize(file.surfaces), kMostSurfaces, "surfaces");
  found.Name(file.header->name);
  for (const cmdctagentry& tag : file.tagTable) {
    found.Name(*tag.name);
  }
  for (const cmdcsurfentry& entry : file.surfaces) {
    found.AddSurface(*entry.surface);
    for (std::int32_t s = 0; s < entry.numShaders; ++s) {
      found.Name(entry.shaders[s].name);
    }
  }
  return found.Lines();
}

std::vector<std::string> PassedLimits(const cmdsfile& file) {
  limits found;
  found.Name(file.header->name);
  AddBones(found, file);
  // Every tag is a bone too, whose name counts already.
  found.Count(file.header->numTags, kMostSkeletalTags, "tags");
  AddSurfaces(found, file);
  return found.Lines();
}

std::vector<std::string> PassedLimits(const cmdmfile& file) {
  limits found;
  found.Name(file.header->name);
  found.Count(std::ssize(file.tags), kMostSkeletalTags, "tags");
  for (const mdmTag* tag : file.tags) {
    found.Name(tag->name);
  }
  AddSurfaces(found, file);
  return found.Lines();
}

std::vector<std::string> PassedLimits(const cmdxfile& file) {
  limits found;
  found.Name(file.header->name);
  AddBones(found, file);
  return found.Lines();
}

}  // namespace command
