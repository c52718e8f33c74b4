#include "command/finish/finishmodel.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <stdexcept>

#include "binary/filewriter.h"
#include "command/failure.h"
#include "command/files/readers.h"
#include "command/finish/normals.h"
#include "command/finish/openmodel.h"
#include "command/finish/shaders.h"
#include "command/finish/torso.h"
#include "core/utf8path.h"
#include "files/disk.h"

namespace command {

namespace {

// The scene's frame that is the file's first, if it can be told.
std::optional<int> FirstFrame(const cmdcfile& file, const core::scene& scene,
                              const std::optional<framerange>& range) {
  if (range) {
    return static_cast<int>(range->start);
  }
  const std::int64_t all = std::int64_t{scene.animEnd} - scene.animStart + 1;
  return file.header->numFrames == all ? std::optional(scene.animStart) : std::nullopt;
}

// Where the scene knows the boxes of its frames and the file's lie within a step of them, the file
// gets them: what lies between is what cutting vertices to steps has taken. Frames of the file
// begin at the scene's frame `start`.
void SetFrameBounds(const cmdcfile& file, const core::scene& scene, int start) {
  const int before = start - scene.animStart;
  for (std::int32_t f = 0; f < file.header->numFrames; ++f) {
    const std::int64_t known = std::int64_t{before} + f;
    if (known < 0 || known >= std::ssize(scene.frameBounds)) {
      continue;
    }
    const core::scene::box& box = scene.frameBounds[static_cast<std::size_t>(known)];
    mdcFrame& frame = Changed(file.frames[f]);
    std::array<std::array<float, 3>, 2> wanted{};
    bool near = true;
    for (std::size_t i = 0; i < 2; ++i) {
      for (std::size_t c = 0; c < 3; ++c) {
        wanted[i][c] = box[3 * i + c] - float{frame.localOrigin[c]};
        near = near && std::abs(wanted[i][c] - float{frame.bounds[i][c]}) < kMdcUnitsPerStep;
      }
    }
    if (!near) {
      continue;
    }
    float radius = 0.0F;
    for (std::size_t c = 0; c < 3; ++c) {
      frame.bounds[0][c] = wanted[0][c];
      frame.bounds[1][c] = wanted[1][c];
      radius = std::max(radius, wanted[1][c] - wanted[0][c]);
    }
    frame.radius = radius;
  }
}

// Loads the file, changes it and writes it again, unless it does not hold or `change` gives false.
// Fails under the name `told`.
template <class File, class Change>
void Rewrite(const std::string& told, const std::string& path, Change&& change) {
  std::error_code error;
  if (std::filesystem::is_empty(core::PathOf(path), error)) {
    return;  // a write of the run failed: reading the file back tells which
  }
  openmodel<File> model;
  if (!model.Load(told, path)) {
    return;
  }
  try {
    if (!change(model.file)) {
      return;
    }
  } catch (const std::runtime_error& differs) {
    throw failure(told, std::string("is not what the scene has: ") + differs.what());
  }
  filewriter writer;
  const bool opened = writer.Open(path.c_str());
  if (opened) {
    writer.PutBytes(model.block.data.get(), model.block.size);
  }
  if (!opened || !writer.Close()) {
    throw failure(told, "not written: " + files::ErrnoMessage(errno));
  }
}

// What is done in a file of each format; whether anything was.
struct finisher {
  console& out;
  const std::string& told;
  const finishsteps& steps;
  const core::scene& scene;
  const std::optional<framerange>& range;

  bool Finish(const cmdcfile& file) const {
    const std::optional<int> start = FirstFrame(file, scene, range);
    if (start) {
      SetFrameBounds(file, scene, *start);
      if (steps.normals) {
        SetMdcNormals(file, scene, *start);
      }
    } else if (steps.normals) {
      out.Warning(told,
                  "its normals are not set, since the window does not tell which frames were "
                  "chosen; --start and --end do");
    }
    return SetShaders(file, scene) || start.has_value();
  }
  bool Finish(const cmdsfile& file) const {
    const bool skins = FinishSkins(file);
    return FinishTorso(file) || skins;
  }
  bool Finish(const cmdmfile& file) const { return FinishSkins(file); }
  bool Finish(const cmdxfile& file) const { return FinishTorso(file); }

 private:
  bool FinishSkins(const skelmesh& file) const {
    if (steps.normals) {
      SetSkinNormals(file, scene);
    }
    return SetShaders(file, scene) || steps.normals;
  }
  template <class File>
  bool FinishTorso(const File& file) const {
    if (steps.torso) {
      SetTorso(file, *steps.torso);
    }
    return steps.torso.has_value();
  }
};

}  // namespace

void FinishModel(console& out, const std::string& told, const std::string& path, filekind kind,
                 const finishsteps& steps, const core::scene& scene,
                 const std::optional<framerange>& range) {
  const finisher finish{out, told, steps, scene, range};
  WithReader(kind, [&]<class File>(File&& /*empty*/) {
    Rewrite<File>(told, path, [&](const File& file) { return finish.Finish(file); });
  });
}

}  // namespace command
