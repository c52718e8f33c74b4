#include "mdc/mdcfile.h"

#include <new>
#include <utility>

namespace {

std::string SurfacePlace(std::size_t index) { return "surface " + std::to_string(index); }

// Bytes of the blocks that an import of the surface goes through whole, whatever the frame.
std::int64_t BlockBytes(const mdcSurface& surface, std::int64_t numFrames) {
  constexpr std::int64_t kTableBytesPerFrame = 2 * sizeof(std::uint16_t);
  const auto bytes = [](std::int64_t count, std::size_t size) {
    return count * static_cast<std::int64_t>(size);
  };
  return bytes(surface.numShaders, sizeof(mdcShader)) +
         bytes(surface.numTriangles, sizeof(mdcTriangle)) + bytes(surface.numVerts, sizeof(mdcSt)) +
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

bool cmdcfile::Refuse(std::string fault) {
  fault_ = std::move(fault);
  return false;
}

bool cmdcfile::ParseBlock() {
  header = block_.Records<mdcHeader>(0);
  if (header == nullptr) {
    return Refuse("the header does not fit into the file");
  }
  const std::int64_t numFrames = header->numFrames;
  const std::int64_t numTags = header->numTags;
  if (numFrames < 1) {
    return Refuse("numFrames is " + std::to_string(numFrames) + ": a model has at least 1 frame");
  }
  frames = block_.Records<mdcFrame>(header->ofsFrames, numFrames);
  if (frames == nullptr) {
    return Refuse("the frames do not lie inside the file (numFrames, ofsFrames)");
  }
  tagNames = block_.Records<namefield<64>>(header->ofsTagNames, numTags);
  tags =
      tagNames != nullptr ? block_.Records<mdcTag>(header->ofsTags, numTags * numFrames) : nullptr;
  if (tags == nullptr) {
    return Refuse("the tags do not lie inside the file (numTags, ofsTagNames, ofsTags)");
  }
  tagTable.reserve(static_cast<std::size_t>(numTags));
  for (std::int64_t t = 0; t < numTags; ++t) {
    tagTable.push_back({tagNames + t, tags + t * numFrames});
  }

  // Each surface takes at least its header, so their number is bound by the file's size.
  const std::int64_t numSurfaces = header->numSurfaces;
  std::int64_t offset = header->ofsSurfaces;
  if (numSurfaces < 0 || offset < 0 ||
      numSurfaces > block_.Size() / static_cast<std::int64_t>(sizeof(mdcSurface))) {
    return Refuse("the surfaces do not lie inside the file (numSurfaces, ofsSurfaces)");
  }
  // Surfaces may share a block, but not so that together they claim more than the file has: a small
  // file could name the same blocks thousands of times and take memory far beyond its size.
  std::int64_t bytesLeft = block_.Size();
  surfaces.reserve(static_cast<std::size_t>(numSurfaces));
  for (std::int64_t s = 0; s < numSurfaces; ++s) {
    if (!ParseSurface(offset, static_cast<std::size_t>(s))) {
      return false;
    }
    const mdcSurface& surface = *surfaces.back().surface;
    // From the last surface nothing is stepped to.
    if (s + 1 < numSurfaces && surface.ofsEnd < static_cast<std::int32_t>(sizeof(mdcSurface))) {
      return Refuse(SurfacePlace(static_cast<std::size_t>(s)) +
                    ": ofsEnd is smaller than the surface's header");
    }
    offset += surface.ofsEnd;
    bytesLeft -= BlockBytes(surface, numFrames);
    if (bytesLeft < 0) {
      return Refuse(SurfacePlace(static_cast<std::size_t>(s)) +
                    ": the surfaces' blocks so far are larger than the file");
    }
  }
  return true;
}

bool cmdcfile::ParseSurface(std::int64_t offset, std::size_t index) {
  const std::string place = SurfacePlace(index);
  const auto* surface = block_.Records<mdcSurface>(offset);
  if (surface == nullptr) {
    return Refuse(place + ": its header does not lie inside the file");
  }
  const std::int64_t numVerts = surface->numVerts;
  cmdcsurfentry entry;
  entry.surface = surface;
  entry.triangles =
      block_.Records<mdcTriangle>(offset + surface->ofsTriangles, surface->numTriangles);
  if (entry.triangles == nullptr) {
    return Refuse(place + ": the triangles do not lie inside the file");
  }
  entry.shaders = block_.Records<mdcShader>(offset + surface->ofsShaders, surface->numShaders);
  if (entry.shaders == nullptr) {
    return Refuse(place + ": the shaders do not lie inside the file");
  }
  entry.st = block_.Records<mdcSt>(offset + surface->ofsSt, numVerts);
  if (entry.st == nullptr) {
    return Refuse(place + ": the texture coordinates do not lie inside the file");
  }
  const std::int64_t numFrames = header->numFrames;
  entry.frameBaseFrames =
      block_.Records<little<std::uint16_t>>(offset + surface->ofsFrameBaseFrames, numFrames);
  entry.frameCompFrames =
      block_.Records<little<std::uint16_t>>(offset + surface->ofsFrameCompFrames, numFrames);
  if (entry.frameBaseFrames == nullptr || entry.frameCompFrames == nullptr) {
    return Refuse(place + ": the frame tables do not lie inside the file");
  }
  // The table entries decide which vertices are reached; those are checked one by one below.
  entry.xyzNormals = block_.Records<mdcXyzNormal>(offset + surface->ofsXyzNormals, 0);
  entry.xyzCompressed = block_.Records<mdcXyzCompressed>(offset + surface->ofsXyzCompressed, 0);
  if (entry.xyzNormals == nullptr || entry.xyzCompressed == nullptr) {
    return Refuse(place + ": the vertices do not lie inside the file");
  }
  if (!ParseFrameTables(entry, place)) {
    return false;
  }
  for (std::int32_t t = 0; t < surface->numTriangles; ++t) {
    for (const std::int32_t vertex : entry.triangles[t]) {
      if (vertex < 0 || vertex >= numVerts) {
        return Refuse(place + ": triangle " + std::to_string(t) + " names vertex " +
                      std::to_string(vertex) + " of " + std::to_string(numVerts));
      }
    }
  }
  surfaces.push_back(std::move(entry));
  return true;
}

bool cmdcfile::ParseFrameTables(cmdcsurfentry& entry, const std::string& place) {
  const std::int64_t numVerts = entry.surface->numVerts;
  const std::int64_t normals =
      reinterpret_cast<const unsigned char*>(entry.xyzNormals) - block_.Data();
  const std::int64_t compressed =
      reinterpret_cast<const unsigned char*>(entry.xyzCompressed) - block_.Data();
  const auto numFrames = static_cast<std::size_t>(header->numFrames);
  entry.baseByFrame.reserve(numFrames);
  entry.compByFrame.reserve(numFrames);
  for (std::size_t f = 0; f < numFrames; ++f) {
    const std::int64_t base = entry.frameBaseFrames[f];
    const auto* baseVerts = block_.Records<mdcXyzNormal>(
        normals + base * numVerts * static_cast<std::int64_t>(sizeof(mdcXyzNormal)), numVerts);
    if (baseVerts == nullptr) {
      return Refuse(place + ": frame " + std::to_string(f) + " names base frame " +
                    std::to_string(base) + ", which does not lie inside the file");
    }
    const std::uint16_t comp = entry.frameCompFrames[f];
    const mdcXyzCompressed* compVerts = nullptr;
    if (comp != kMdcNoCompressedFrame) {
      compVerts = block_.Records<mdcXyzCompressed>(
          compressed + comp * numVerts * static_cast<std::int64_t>(sizeof(mdcXyzCompressed)),
          numVerts);
      if (compVerts == nullptr) {
        return Refuse(place + ": frame " + std::to_string(f) + " names compressed frame " +
                      std::to_string(comp) + ", which does not lie inside the file");
      }
    }
    entry.baseByFrame.push_back(baseVerts);
    entry.compByFrame.push_back(compVerts);
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
