#include "command/finish/finishmodel.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <stdexcept>

#include "binary/filewriter.h"
#include "command/failure.h"
#include "command/finish/normals.h"
#include "command/finish/openmodel.h"
#include "command/finish/shaders.h"
#include "command/finish/torso.h"
#include "files/disk.h"
#include "mdmmdx/mdmfile.h"
#include "mdmmdx/mdxfile.h"
#include "mds/mdsfile.h"

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

}  // namespace

void FinishModel(console& out, const std::string& told, const std::string& path, filekind kind,
                 const finishsteps& steps, const core::scene& scene,
                 const std::optional<framerange>& range) {
  const auto skins = [&](const auto& file) {
    if (steps.normals) {
      SetSkinNormals(file, scene);
    }
    return SetShaders(file, scene) || steps.normals;
  };
  const auto torso = [&](const auto& file) {
    if (steps.torso) {
      SetTorso(file, *steps.torso);
    }
    return steps.torso.has_value();
  };
  if (kind == filekind::Mdc) {
    Rewrite<cmdcfile>(told, path, [&](const cmdcfile& file) {
      const std::optional<int> start = FirstFrame(file, scene, range);
      if (start) {
        SetFrameBounds(file, scene, *start);
        if (steps.normals) {
          SetMdcNormals(file, scene, *start);
        }
      } else if (steps.normals) {
        out.Warning(told,
                    "its normals are not set, since the window does not tell which frames "
                    "were chosen; --start and --end do");
      }
      return SetShaders(file, scene) || start.has_value();
    });
  } else if (kind == filekind::Mds) {
    Rewrite<cmdsfile>(told, path, [&](const cmdsfile& file) {
      const bool lit = skins(file);
      return torso(file) || lit;
    });
  } else if (kind == filekind::Mdm) {
    Rewrite<cmdmfile>(told, path, skins);
  } else if (kind == filekind::Mdx) {
    Rewrite<cmdxfile>(told, path, torso);
  }
}

}  // namespace command
