#pragma once

#include <memory>
#include <vector>

#include "binary/filewriter.h"
#include "skeletal/bonelist.h"

class cprogress;

// A skin of the scene as it stands at scene frame 0.
struct expsurface {
  skelSurface header{};
  std::vector<skelVertex> verts;
  // Those of all vertices, one behind the other.
  std::vector<skelWeight> weights;
  std::vector<skelTriangle> triangles;
  // All 0: the formats have a place for it, and nothing is computed.
  std::vector<little<std::int32_t>> collapseMap;
  // The bones that a weight names and all their ancestors, ascending.
  std::vector<little<std::int32_t>> boneReferences;
};

using expsurfaces = std::vector<std::unique_ptr<expsurface>>;

// Turns the scene's skins, in scene order, into surfaces with the format's ident. `Bones` are the
// list's bones. Weights are taken as the host has them; one whose bone is not in the list gets the
// number -1. `source` is the source file that the host's assertion is told of.
void CollectSurfaces(const bonelist& list, const std::vector<expbone>& Bones, std::int32_t ident,
                     const char* source, cprogress& progress, expsurfaces& Surfaces);

// Writes a surface at the file's position, its head twice: again when the offsets are known.
// Vertex is the format's record before a vertex's weights.
template <class Vertex>
void WriteSurface(filewriter& file, expsurface& surface) {
  skelSurface& header = surface.header;
  const std::int32_t start = file.Position();
  const auto here = [&] { return file.Position() - start; };
  header.ofsHeader = -start;
  file.Put(header);
  header.ofsVerts = here();
  const skelWeight* weights = surface.weights.data();
  for (const skelVertex& vertex : surface.verts) {
    const std::int32_t numWeights = vertex.numWeights;
    Vertex record{};
    record.normal = vertex.normal;
    record.texCoords = vertex.texCoords;
    record.numWeights = numWeights;
    file.Put(record);
    file.PutBytes(weights, static_cast<std::size_t>(numWeights) * sizeof(skelWeight));
    weights += numWeights;
  }
  header.ofsTriangles = here();
  file.PutAll(surface.triangles);
  header.ofsCollapseMap = here();
  file.PutAll(surface.collapseMap);
  header.ofsBoneReferences = here();
  file.PutAll(surface.boneReferences);
  header.ofsEnd = here();
  const std::int32_t end = file.Position();
  file.Seek(start);
  file.Put(header);
  file.Seek(end);
}
