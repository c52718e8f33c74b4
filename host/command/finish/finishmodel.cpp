#include "command/finish/finishmodel.h"

#include <stdexcept>

#include "binary/filewriter.h"
#include "command/failure.h"
#include "command/finish/normals.h"
#include "command/finish/openmodel.h"
#include "mdmmdx/mdmfile.h"
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

// Loads the file, changes it and writes it again. False: it did not hold, or `change` gave false.
template <class File, class Change>
void Rewrite(const std::string& path, Change&& change) {
  openmodel<File> model;
  if (!model.Load(path)) {
    return;
  }
  try {
    if (!change(model.file)) {
      return;
    }
  } catch (const std::runtime_error& differs) {
    throw failure(path, std::string("is not what the scene has: ") + differs.what());
  }
  filewriter writer;
  const bool opened = writer.Open(path.c_str());
  if (opened) {
    writer.PutBytes(model.block.data.get(), model.block.size);
  }
  if (!opened || !writer.Close()) {
    throw failure(path, "could not be written whole, so everything is as it was before");
  }
}

}  // namespace

void FinishModel(console& out, const std::string& told, const std::string& path, filekind kind,
                 const finishsteps& steps, const core::scene& scene,
                 const std::optional<framerange>& range) {
  if (!steps.normals) {
    return;
  }
  const auto skins = [&](const auto& file) {
    SetSkinNormals(file, scene);
    return true;
  };
  if (kind == filekind::Mdc) {
    Rewrite<cmdcfile>(path, [&](const cmdcfile& file) {
      const std::optional<int> start = FirstFrame(file, scene, range);
      if (start) {
        SetMdcNormals(file, scene, *start);
      } else {
        out.Warning(told,
                    "its normals are not set, since the window does not tell which frames "
                    "were chosen; --start and --end do");
      }
      return start.has_value();
    });
  } else if (kind == filekind::Mds) {
    Rewrite<cmdsfile>(path, skins);
  } else if (kind == filekind::Mdm) {
    Rewrite<cmdmfile>(path, skins);
  }
}

}  // namespace command
