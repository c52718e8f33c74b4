#include "skeletal/modelfile.h"

#include <new>
#include <utility>

std::string SurfacePlace(std::size_t index) { return "surface " + std::to_string(index); }

bool cmodelfile::Load(const char* path) {
  return LoadWholeFile(path, data_) && Parse(data_.View());
}

bool cmodelfile::Parse(fileview block) {
  block_ = block;
  try {
    return ParseBlock();
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool cmodelfile::Refuse(std::string fault) {
  fault_ = std::move(fault);
  return false;
}

bool cmodelfile::ParseRig(skelrig& rig, std::int32_t numBones, std::int32_t ofsBones,
                          std::int32_t numFrames, std::int32_t ofsFrames) {
  rig.numBones = numBones;
  rig.bones = block_.Records<skelBoneInfo>(ofsBones, numBones);
  if (rig.bones == nullptr) {
    return Refuse("the bones do not lie inside the file (numBones, ofsBones)");
  }
  for (std::int32_t b = 0; b < numBones; ++b) {
    const std::int32_t parent = rig.bones[b].parent;
    if (parent < -1 || parent >= b) {
      return Refuse("bone " + std::to_string(b) + " names parent " + std::to_string(parent) +
                    ": a parent is -1 or stands before its child");
    }
  }
  rig.numFrames = numFrames;
  if (numFrames < 0 || (numFrames == 0 && numBones > 0)) {
    return Refuse("numFrames is " + std::to_string(numFrames) +
                  ": a skeleton has at least 1 frame");
  }
  // The bones lie inside the file, so a frame is smaller than 2^29 bytes and 64 bits suffice.
  const std::int64_t stride = static_cast<std::int64_t>(sizeof(skelFrame)) +
                              static_cast<std::int64_t>(sizeof(skelBoneFrame)) * numBones;
  const auto* frames = block_.Records<unsigned char>(ofsFrames, stride * numFrames);
  if (frames == nullptr) {
    return numBones == 0 || Refuse("the frames do not lie inside the file (numFrames, ofsFrames)");
  }
  rig.frames.reserve(static_cast<std::size_t>(numFrames));
  for (std::int32_t f = 0; f < numFrames; ++f, frames += stride) {
    rig.frames.push_back(reinterpret_cast<const skelFrame*>(frames));
  }
  return true;
}

bool cmodelfile::ParseMesh(skelmesh& mesh, std::int32_t numSurfaces, std::int32_t ofsSurfaces,
                           std::int32_t surfaceIdent, std::int32_t boneLimit) {
  // Each surface takes at least its header, so their number is bound by the file's size.
  if (numSurfaces < 0 || ofsSurfaces < 0 ||
      numSurfaces > block_.Size() / static_cast<std::int64_t>(sizeof(skelSurface))) {
    return Refuse("the surfaces do not lie inside the file (numSurfaces, ofsSurfaces)");
  }
  // Surfaces do not share their vertices and triangles. Without this a small file could claim the
  // same ones for thousands of surfaces and take time and memory far beyond its size.
  std::int64_t vertexBytesLeft = block_.Size();
  std::int64_t trianglesLeft = block_.Size() / static_cast<std::int64_t>(sizeof(skelTriangle));
  mesh.surfaces.reserve(static_cast<std::size_t>(numSurfaces));
  std::int64_t offset = ofsSurfaces;
  for (std::int32_t s = 0; s < numSurfaces; ++s) {
    if (!ParseSurface(mesh, offset, surfaceIdent, boneLimit, vertexBytesLeft)) {
      return false;
    }
    const skelSurface& surface = *mesh.surfaces.back().surface;
    // From the last surface nothing is stepped to.
    if (s + 1 < numSurfaces && surface.ofsEnd < static_cast<std::int32_t>(sizeof(skelSurface))) {
      return Refuse(SurfacePlace(mesh.surfaces.size() - 1) +
                    ": ofsEnd is smaller than the surface's header");
    }
    offset += surface.ofsEnd;
    trianglesLeft -= surface.numTriangles;
    if (trianglesLeft < 0) {
      return Refuse(SurfacePlace(mesh.surfaces.size() - 1) +
                    ": the triangles so far are larger than the file");
    }
  }
  return true;
}

bool cmodelfile::ParseSurface(skelmesh& mesh, std::int64_t offset, std::int32_t surfaceIdent,
                              std::int32_t boneLimit, std::int64_t& vertexBytesLeft) {
  const auto fault = [&](const std::string& text) {
    return Refuse(SurfacePlace(mesh.surfaces.size()) + ": " + text);
  };
  skelsurfentry entry;
  entry.surface = block_.Records<skelSurface>(offset);
  if (entry.surface == nullptr) {
    return fault("its header does not lie inside the file");
  }
  const skelSurface& surface = *entry.surface;
  if (surface.ident != surfaceIdent) {
    return fault("ident is " + std::to_string(surface.ident) + " in place of " +
                 std::to_string(surfaceIdent));
  }
  const std::int32_t numVerts = surface.numVerts;
  const std::int64_t ofsVerts = offset + surface.ofsVerts;
  entry.verts = block_.Records<skelVertex>(ofsVerts, 0);
  if (entry.verts == nullptr || numVerts < 0) {
    return fault("the vertices do not lie inside the file (numVerts, ofsVerts)");
  }
  const auto vertexSize = static_cast<std::int64_t>(mesh.vertexSize);
  std::int64_t at = ofsVerts;
  for (std::int32_t v = 0; v < numVerts; ++v) {
    const auto place = [v] { return "vertex " + std::to_string(v); };
    if (block_.Records<unsigned char>(at, vertexSize) == nullptr) {
      return fault(place() + " does not lie inside the file");
    }
    const std::int32_t numWeights = block_.Records<skelVertex>(at)->numWeights;
    at += vertexSize;
    const auto* weights = block_.Records<skelWeight>(at, numWeights);
    if (weights == nullptr) {
      return fault("the weights of " + place() + " do not lie inside the file");
    }
    for (std::int32_t w = 0; w < numWeights; ++w) {
      const std::int32_t bone = weights[w].boneIndex;
      if (bone < -1 || bone >= boneLimit) {
        return fault(place() + " names bone " + std::to_string(bone) + " of " +
                     std::to_string(boneLimit));
      }
    }
    at += static_cast<std::int64_t>(sizeof(skelWeight)) * numWeights;
    if (at - ofsVerts > vertexBytesLeft) {
      return fault("the vertices so far are larger than the file");
    }
  }
  vertexBytesLeft -= at - ofsVerts;
  entry.triangles =
      block_.Records<skelTriangle>(offset + surface.ofsTriangles, surface.numTriangles);
  if (entry.triangles == nullptr) {
    return fault("the triangles do not lie inside the file (numTriangles, ofsTriangles)");
  }
  for (std::int32_t t = 0; t < surface.numTriangles; ++t) {
    for (const std::int32_t vertex : entry.triangles[t]) {
      if (vertex < 0 || vertex >= numVerts) {
        return fault("triangle " + std::to_string(t) + " names vertex " + std::to_string(vertex) +
                     " of " + std::to_string(numVerts));
      }
    }
  }
  mesh.surfaces.push_back(entry);
  return true;
}
