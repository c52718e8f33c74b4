#include "command/files/modelcheck.h"

#include <algorithm>
#include <cmath>

#include "command/content/surfaces.h"
#include "command/failure.h"
#include "command/files/modellimits.h"
#include "command/files/readers.h"
#include "command/surfaces.h"
#include "command/wording.h"
#include "core/state.h"

namespace command {

namespace {

struct foundmodel {
  std::optional<std::int64_t> frames;
  std::optional<std::int64_t> bones;
  std::optional<std::int64_t> tags;
  std::optional<std::int64_t> surfaces;
  std::int64_t end = 0;  // ofsEnd
};

std::string FaultText(const std::string& fault) {
  return fault.empty() ? "cannot be read, or is larger than 2 GiB" : fault;
}

foundmodel Found(const cmdcfile& file) {
  const mdcHeader& header = *file.header;
  return {header.numFrames, {}, header.numTags, header.numSurfaces, header.ofsEnd};
}
foundmodel Found(const cmdsfile& file) {
  const mdsHeader& header = *file.header;
  return {header.numFrames, header.numBones, header.numTags, header.numSurfaces, header.ofsEnd};
}
foundmodel Found(const cmdmfile& file) {
  const mdmHeader& header = *file.header;
  return {{}, {}, header.numTags, header.numSurfaces, header.ofsEnd};
}
foundmodel Found(const cmdxfile& file) {
  const mdxHeader& header = *file.header;
  return {header.numFrames, header.numBones, {}, {}, header.ofsEnd};
}

// Loads the file and hands it on; the fault where it does not hold.
template <class File, class Use>
std::string Load(File& file, const std::string& path, Use&& use) {
  return file.Load(path.c_str()) ? use(file) : FaultText(file.Fault());
}

template <class Use>
std::string LoadKind(const std::string& path, filekind kind, Use&& use) {
  std::string fault = "is not a model";
  WithReader(kind, [&](auto&& file) { fault = Load(file, path, use); });
  return fault;
}

std::string Difference(const char* what, const std::optional<std::int64_t>& expected,
                       const std::optional<std::int64_t>& found) {
  return expected && found ? FaultOfCount(what, *found, *expected) : "";
}

std::string Summary(const foundmodel& found, std::uint32_t size) {
  std::string text;
  const auto add = [&](const std::optional<std::int64_t>& number, const char* one) {
    if (number) {
      text += Counted(*number, one) + ", ";
    }
  };
  add(found.frames, "frame");
  add(found.bones, "bone");
  add(found.tags, "tag");
  add(found.surfaces, "surface");
  return text + Counted(size, "byte");
}

// Why a file that holds cannot be imported with this frame, or without its first frame.
template <class File>
std::string FaultOfFrame(const File& file, int frame) {
  std::string fault;
  if constexpr (requires { file.HoldsFrame(frame, fault); }) {
    file.HoldsFrame(frame, fault);
  } else if constexpr (requires { file.HasFirstFrame(); }) {
    fault = file.HasFirstFrame() ? "" : "numFrames is 0, and the first frame is asked for";
  }
  return fault;
}

template <class File>
double Reach(const File& /*file*/) {
  return 0.0;
}
double Reach(const cmdcfile& file) {
  double reach = 0.0;
  // Without surfaces the boxes are those of nothing, inside out and far away.
  for (std::int32_t f = 0; !file.surfaces.empty() && f < file.header->numFrames; ++f) {
    for (const auto& corner : file.frames[f].bounds) {
      for (const float coordinate : corner) {
        reach = std::max(reach, std::fabs(double{coordinate}));
      }
    }
  }
  return reach;
}

bool IsTag(cnode& node) { return IsTagName(node.GetName()); }

template <class Predicate>
std::int64_t CountNodes(const core::scene& scene, Predicate&& counts) {
  return std::ranges::count_if(scene.Nodes(), [&](cnode* node) { return counts(*node); });
}

}  // namespace

expectedmodel ExpectedOf(const core::scene& scene, filekind kind,
                         const std::optional<framerange>& range) {
  const auto bones = CountNodes(scene, [](cnode& node) { return node.GetType() == kNodeBone; });
  const auto tagBones =
      CountNodes(scene, [](cnode& node) { return node.GetType() == kNodeBone && IsTag(node); });
  const format& kept = FormatOf(kind);
  expectedmodel expected;
  if (range && (kept.vertexFrames || kept.HasBones())) {
    expected.frames = range->frames;
  }
  if (kept.HasBones()) {
    expected.bones = kept.tags == tagsource::Bones ? bones : bones - tagBones;
  }
  if (kept.surfaces) {
    expected.surfaces = kept.skeletal ? std::ssize(SkinsOf(scene)) : std::ssize(SurfacesOf(scene));
  }
  switch (kept.tags) {
    case tagsource::Nodes:
      expected.tags = CountNodes(scene, IsTag);
      break;
    case tagsource::Bones:
      expected.tags = tagBones;
      break;
    case tagsource::OtherBones:
      expected.tags = bones == tagBones ? 0 : tagBones;
      break;
    case tagsource::None:
      break;
  }
  return expected;
}

std::string FaultOfWritten(const std::string& path, filekind kind, const std::string& name,
                           const writtenfrom& from, writtenmodel& written) {
  const expectedmodel expected = ExpectedOf(from.scene, kind, from.range);
  return LoadKind(path, kind, [&](const auto& file) -> std::string {
    const foundmodel found = Found(file);
    for (const std::string& fault : {Difference("frames", expected.frames, found.frames),
                                     Difference("bones", expected.bones, found.bones),
                                     Difference("tags", expected.tags, found.tags),
                                     Difference("surfaces", expected.surfaces, found.surfaces)}) {
      if (!fault.empty()) {
        return fault;
      }
    }
    // The header gets its offsets last of all.
    if (found.end != file.Size()) {
      return "it ends at byte " + std::to_string(file.Size()) + " instead of " +
             std::to_string(found.end);
    }
    if (!name.empty() && !HasName(file.header->name, name)) {
      return "its name is " + std::string(NameText(file.header->name).data());
    }
    if (std::string fault = ContentFault(file, from); !fault.empty()) {
      return fault;
    }
    written = {Summary(found, file.Size()), Reach(file), PassedLimits(file)};
    return {};
  });
}

std::string FaultOfPair(const std::string& mdmPath, const std::string& mdxPath) {
  cmdmfile mesh;
  cmdxfile skeleton;
  return Load(mesh, mdmPath, [&](const cmdmfile& /*mesh*/) {
    return Load(skeleton, mdxPath, [&](const cmdxfile& /*skeleton*/) {
      std::string fault;
      mesh.FitsTo(skeleton, fault);
      return fault;
    });
  });
}

std::string WhyRefused(const std::string& path, const std::string& mdxPath,
                       const std::optional<int>& frame) {
  const filekind kind = KindOf(path);
  const auto holds = [&](const auto& file) { return FaultOfFrame(file, frame.value_or(0)); };
  std::string fault = LoadKind(path, kind, holds);
  if (!fault.empty()) {
    return fault;
  }
  if (FormatOf(kind).IsPair()) {
    fault = LoadKind(mdxPath, FormatOf(kind).skeleton, holds);
    if (!fault.empty()) {
      return "cannot be imported with " + mdxPath + ": " + fault;
    }
    fault = FaultOfPair(path, mdxPath);
    if (!fault.empty()) {
      return "does not match " + mdxPath + ": " + fault;
    }
  }
  return "the run failed; perhaps there was not enough memory";
}

std::int64_t FramesOf(const std::string& path, filekind kind) {
  std::int64_t frames = 0;
  const std::string fault = LoadKind(path, kind, [&](const auto& file) {
    frames = Found(file).frames.value_or(0);
    return std::string();
  });
  if (!fault.empty()) {
    throw failure(path, fault);
  }
  return frames;
}

}  // namespace command
