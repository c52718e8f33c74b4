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

bool cmodelfile::Refuse(const std::string& fault) {
  fault_ += fault_.empty() ? fault : "; " + fault;
  return false;
}

bool cmodelfile::ParseRig(skelrig& rig, std::int32_t numBones, std::int32_t ofsBones,
                          std::int32_t numFrames, std::int32_t ofsFrames) {
  rig.numBones = CountOf(numBones);
  rig.numFrames = CountOf(numFrames);
  if (!block_.List(ofsBones, rig.numBones, rig.bones)) {
    rig.numBones = 0;
    return Refuse("the bones do not lie inside the file (numBones, ofsBones)");
  }
  for (std::int32_t b = 0; b < rig.numBones; ++b) {
    if (const std::int32_t parent = rig.Parent(static_cast<std::size_t>(b)); parent >= b) {
      return Refuse("bone " + std::to_string(b) + " names parent " + std::to_string(parent) +
                    ": a parent stands before its child");
    }
  }
  if (rig.numBones == 0 || rig.numFrames == 0) {
    return true;
  }
  // The bones lie inside the file, so a frame is smaller than 2^29 bytes and 64 bits suffice.
  const std::int64_t stride = static_cast<std::int64_t>(sizeof(skelFrame)) +
                              static_cast<std::int64_t>(sizeof(skelBoneFrame)) * rig.numBones;
  const auto* frames = block_.Records<unsigned char>(ofsFrames, stride * rig.numFrames);
  if (frames == nullptr) {
    return Refuse("the frames do not lie inside the file (numFrames, ofsFrames)");
  }
  rig.frames.reserve(static_cast<std::size_t>(rig.numFrames));
  for (std::int32_t f = 0; f < rig.numFrames; ++f, frames += stride) {
    rig.frames.push_back(reinterpret_cast<const skelFrame*>(frames));
  }
  return true;
}

bool cmodelfile::ParseMesh(skelmesh& mesh, std::int32_t numSurfaces, std::int32_t ofsSurfaces,
                           std::int32_t surfaceIdent, std::int32_t boneLimit) {
  claimlimit limit(block_);
  std::int64_t offset = ofsSurfaces;
  for (std::int32_t s = 0; s < numSurfaces; ++s) {
    if (!ParseSurface(mesh, offset, surfaceIdent, boneLimit, limit)) {
      return false;
    }
    // Surfaces may lie in any order, so that a step may lead back.
    offset += mesh.surfaces.back().surface->ofsEnd;
  }
  return true;
}

bool cmodelfile::ParseSurface(skelmesh& mesh, std::int64_t offset, std::int32_t surfaceIdent,
                              std::int32_t boneLimit, claimlimit& limit) {
  const std::size_t index = mesh.surfaces.size();
  const auto fault = [&](const std::string& text) {
    return Refuse(SurfacePlace(index) + ": " + text);
  };
  skelsurfentry entry;
  entry.surface = block_.Records<skelSurface>(offset);
  if (entry.surface == nullptr) {
    return fault("its header does not lie inside the file");
  }
  const skelSurface& surface = *entry.surface;
  if (surface.ident != surfaceIdent) {
    return fault("ident is " + std::to_string(surface.ident) + " instead of " +
                 std::to_string(surfaceIdent));
  }
  entry.numVerts = CountOf(surface.numVerts);
  entry.numTriangles = CountOf(surface.numTriangles);
  const std::int64_t ofsVerts = offset + surface.ofsVerts;
  if (!block_.List(ofsVerts, entry.numVerts > 0 ? 1 : 0, entry.verts)) {
    return fault("the vertices do not lie inside the file (numVerts, ofsVerts)");
  }
  if (!ParseVertices(entry, ofsVerts, static_cast<std::int64_t>(mesh.vertexSize), boneLimit, index,
                     limit)) {
    return false;
  }
  if (!block_.List(offset + surface.ofsTriangles, entry.numTriangles, entry.triangles)) {
    return fault("the triangles do not lie inside the file (numTriangles, ofsTriangles)");
  }
  if (!limit.Claim(static_cast<std::int64_t>(sizeof(skelSurface)) +
                   static_cast<std::int64_t>(sizeof(skelTriangle)) * entry.numTriangles)) {
    return fault("the surfaces so far share blocks for more than a scene takes");
  }
  mesh.surfaces.push_back(entry);
  return true;
}

bool cmodelfile::ParseVertices(const skelsurfentry& entry, std::int64_t ofsVerts,
                               std::int64_t vertexSize, std::int32_t boneLimit, std::size_t surface,
                               claimlimit& limit) {
  std::int64_t at = ofsVerts;
  for (std::int32_t v = 0; v < entry.numVerts; ++v) {
    const auto fault = [&](const char* before, const std::string& behind) {
      return Refuse((SurfacePlace(surface) + ": ")
                        .append(before)
                        .append("vertex ")
                        .append(std::to_string(v))
                        .append(behind));
    };
    if (block_.Records<unsigned char>(at, vertexSize) == nullptr) {
      return fault("", " does not lie inside the file");
    }
    const std::int32_t numWeights = CountOf(block_.Records<skelVertex>(at)->numWeights);
    const skelWeight* weights = nullptr;
    if (!block_.List(at + vertexSize, numWeights, weights)) {
      return fault("the weights of ", " do not lie inside the file");
    }
    for (std::int32_t w = 0; w < numWeights; ++w) {
      const std::int32_t bone = weights[w].boneIndex;
      if (bone < -1 || bone >= boneLimit) {
        return fault("",
                     " names bone " + std::to_string(bone) + " of " + std::to_string(boneLimit));
      }
    }
    const std::int64_t size =
        vertexSize + static_cast<std::int64_t>(sizeof(skelWeight)) * numWeights;
    if (!limit.Claim(size)) {
      return fault("up to ", " the surfaces share blocks for more than a scene takes");
    }
    at += size;
  }
  return true;
}
