#include "mdc/mdcfile.h"

#include <new>
#include <utility>

namespace {

std::string SurfacePlace(std::size_t index) { return "surface " + std::to_string(index); }

// Bytes of the blocks that an import of the surface goes through whole, whatever the frame.
std::int64_t BlockBytes(const cmdcsurfentry& entry, std::int64_t numFrames) {
  constexpr std::int64_t kTableBytesPerFrame = 2 * sizeof(std::uint16_t);
  const auto bytes = [](std::int64_t count, std::size_t size) {
    return count * static_cast<std::int64_t>(size);
  };
  return bytes(1, sizeof(mdcSurface)) + bytes(entry.numShaders, sizeof(mdcShader)) +
         bytes(entry.numTriangles, sizeof(mdcTriangle)) + bytes(entry.numVerts, sizeof(mdcSt)) +
         numFrames * kTableBytesPerFrame;
}

}  // namespace

bool cmdcfile::Load(const char* path) { return LoadWholeFile(path, data_) && Parse(data_.View()); }

bool cmdcfile::Parse(fileview block) {
  block_ = block;
  try {
    return ParseBlock();
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool cmdcfile::Refuse(const std::string& fault) {
  fault_ += fault_.empty() ? fault : "; " + fault;
  return false;
}

bool cmdcfile::ParseBlock() {
  header = block_.Records<mdcHeader>(0);
  if (header == nullptr) {
    return Refuse("the header does not fit into the file");
  }
  // Without frames nothing else of the file has a meaning.
  if (!ParseFrames()) {
    return false;
  }
  const bool tagsHold = ParseTags();
  return ParseSurfaces() && tagsHold;
}

bool cmdcfile::ParseFrames() {
  const std::int32_t numFrames = header->numFrames;
  if (numFrames < 1) {
    return Refuse("numFrames is " + std::to_string(numFrames) + ": a model has at least 1 frame");
  }
  frames = block_.Records<mdcFrame>(header->ofsFrames, numFrames);
  return frames != nullptr ||
         Refuse("the frames do not lie inside the file (numFrames, ofsFrames)");
}

bool cmdcfile::ParseTags() {
  const std::int64_t numFrames = header->numFrames;
  const std::int64_t numTags = CountOf(header->numTags);
  if (!block_.List(header->ofsTagNames, numTags, tagNames) ||
      !block_.List(header->ofsTags, numTags * numFrames, tags)) {
    return Refuse("the tags do not lie inside the file (numTags, ofsTagNames, ofsTags)");
  }
  tagTable.reserve(static_cast<std::size_t>(numTags));
  for (std::int64_t t = 0; t < numTags; ++t) {
    tagTable.push_back({tagNames + t, tags + t * numFrames});
  }
  return true;
}

bool cmdcfile::ParseSurfaces() {
  claimlimit limit(block_);
  std::int64_t offset = header->ofsSurfaces;
  for (std::int32_t s = 0; s < header->numSurfaces; ++s) {
    const auto index = static_cast<std::size_t>(s);
    if (!ParseSurface(offset, index)) {
      return false;
    }
    if (!limit.Claim(BlockBytes(surfaces.back(), header->numFrames))) {
      return Refuse(SurfacePlace(index) + ": the surfaces so far share blocks for more than " +
                    "a scene takes");
    }
    // Surfaces may lie in any order, so that a step may lead back.
    offset += surfaces.back().surface->ofsEnd;
  }
  return true;
}

bool cmdcfile::ParseSurface(std::int64_t offset, std::size_t index) {
  const std::string place = SurfacePlace(index);
  const auto* surface = block_.Records<mdcSurface>(offset);
  if (surface == nullptr) {
    return Refuse(place + ": its header does not lie inside the file");
  }
  cmdcsurfentry entry;
  entry.surface = surface;
  entry.numVerts = CountOf(surface->numVerts);
  entry.numTriangles = CountOf(surface->numTriangles);
  entry.numShaders = CountOf(surface->numShaders);
  if (!block_.List(offset + surface->ofsTriangles, entry.numTriangles, entry.triangles)) {
    return Refuse(place + ": the triangles do not lie inside the file");
  }
  if (!block_.List(offset + surface->ofsShaders, entry.numShaders, entry.shaders)) {
    return Refuse(place + ": the shaders do not lie inside the file");
  }
  if (!block_.List(offset + surface->ofsSt, entry.numVerts, entry.st)) {
    return Refuse(place + ": the texture coordinates do not lie inside the file");
  }
  const std::int32_t numFrames = header->numFrames;
  if (!block_.List(offset + surface->ofsFrameBaseFrames, numFrames, entry.frameBaseFrames) ||
      !block_.List(offset + surface->ofsFrameCompFrames, numFrames, entry.frameCompFrames)) {
    return Refuse(place + ": the frame tables do not lie inside the file");
  }
  FindFrames(entry, offset);
  surfaces.push_back(std::move(entry));
  return true;
}

// The table entries decide which vertices are reached, so each is looked at by itself.
void cmdcfile::FindFrames(cmdcsurfentry& entry, std::int64_t offset) const {
  if (entry.numVerts == 0) {
    return;
  }
  const std::int64_t normals = offset + entry.surface->ofsXyzNormals;
  const std::int64_t compressed = offset + entry.surface->ofsXyzCompressed;
  const std::int64_t numVerts = entry.numVerts;
  const auto numFrames = static_cast<std::size_t>(header->numFrames);
  entry.baseByFrame.reserve(numFrames);
  entry.compByFrame.reserve(numFrames);
  for (std::size_t f = 0; f < numFrames; ++f) {
    const std::int64_t base = entry.frameBaseFrames[f];
    entry.baseByFrame.push_back(block_.Records<mdcXyzNormal>(
        normals + base * numVerts * static_cast<std::int64_t>(sizeof(mdcXyzNormal)), numVerts));
    const std::uint16_t comp = entry.frameCompFrames[f];
    entry.compByFrame.push_back(
        comp == kMdcNoCompressedFrame
            ? nullptr
            : block_.Records<mdcXyzCompressed>(
                  compressed +
                      comp * numVerts * static_cast<std::int64_t>(sizeof(mdcXyzCompressed)),
                  numVerts));
  }
}

bool cmdcfile::HoldsFrame(int frame, std::string& fault) const {
  const auto f = static_cast<std::size_t>(frame);
  for (std::size_t s = 0; s < surfaces.size(); ++s) {
    const cmdcsurfentry& entry = surfaces[s];
    const auto refuse = [&](const char* kind, std::uint16_t number) {
      fault = SurfacePlace(s) + ": frame " + std::to_string(frame) + " names " + kind + " frame " +
              std::to_string(number) + ", which does not lie inside the file";
      return false;
    };
    if (entry.numVerts == 0) {
      continue;
    }
    if (entry.baseByFrame[f] == nullptr) {
      return refuse("base", entry.frameBaseFrames[f]);
    }
    if (const std::uint16_t comp = entry.frameCompFrames[f];
        comp != kMdcNoCompressedFrame && entry.compByFrame[f] == nullptr) {
      return refuse("compressed", comp);
    }
  }
  return true;
}

std::array<float, 3> cmdcfile::VertexPosition(const cmdcsurfentry& surface, int frame,
                                              int vertex) const {
  const auto f = static_cast<std::size_t>(frame);
  const mdcXyzNormal& base = surface.baseByFrame[f][vertex];
  std::array<float, 3> position{};
  for (std::size_t c = 0; c < 3; ++c) {
    position[c] = static_cast<float>(base.xyz[c]) * kMdcUnitsPerStep + frames[frame].localOrigin[c];
  }
  if (const mdcXyzCompressed* compressed = surface.compByFrame[f]; compressed != nullptr) {
    for (std::size_t c = 0; c < 3; ++c) {
      // 8-bit arithmetic: bytes 0 to 254 give -127 to 127, byte 255 gives -128.
      const auto offset = static_cast<std::int8_t>(
          static_cast<std::uint8_t>(compressed[vertex][c] - std::uint8_t{127}));
      position[c] += static_cast<float>(offset) * kMdcUnitsPerCompressedStep;
    }
  }
  return position;
}

std::array<float, 3> cmdcfile::TagPosition(const cmdctagentry& tag, int frame) const {
  std::array<float, 3> position{};
  for (std::size_t c = 0; c < 3; ++c) {
    position[c] = static_cast<float>(tag.poses[frame].xyz[c]) * kMdcUnitsPerStep +
                  frames[frame].localOrigin[c];
  }
  return position;
}

std::array<float, 3> cmdcfile::TagAngles(const cmdctagentry& tag, int frame) {
  std::array<float, 3> angles{};
  for (std::size_t c = 0; c < 3; ++c) {
    angles[c] = static_cast<float>(tag.poses[frame].angles[c] * kMdcDegreesPerStep);
  }
  return angles;
}
