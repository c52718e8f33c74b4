#include "bareexport.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "mdc/mdcfile.h"

namespace {

using bare::Bytes;
using bare::float4;
using bare::matrix;

struct surface {
  matrix world = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
  std::vector<mdcTriangle> triangles;
  std::vector<mdcSt> st;
  std::vector<mdcXyzNormal> vertices;  // frame by frame
};

std::array<little<float>, 3> Stored(float4 p) { return {p[0], p[1], p[2]}; }

mdcFrame FrameOf(const bare::box& box) {
  mdcFrame frame{};
  frame.bounds = {Stored(box.low), Stored(box.high)};
  frame.radius = box.LongestEdge();
  return frame;
}

void Quantise(const bare::skin& from, const std::vector<matrix>& posed, std::size_t numJoints,
              surface& to) {
  const std::size_t numFrames = posed.size() / numJoints;
  to.vertices.resize(from.NumVerts() * numFrames);
  mdcXyzNormal* out = to.vertices.data();
  for (std::size_t f = 0; f < numFrames; ++f) {
    for (std::size_t v = 0; v < from.NumVerts(); ++v, ++out) {
      const float4 p =
          bare::Times(from.Skinned(v, &posed[f * numJoints]), to.world) * kMdcStepsPerUnit;
      for (std::size_t c = 0; c < 3; ++c) {
        out->xyz[c] = static_cast<std::int16_t>(static_cast<std::int32_t>(p[c]));
      }
    }
  }
}

surface SurfaceOf(const bare::skin& from, const std::vector<matrix>& posed, std::size_t numJoints) {
  surface made;
  for (const cface& face : from.source->mesh.faces) {
    made.triangles.push_back({face.v[0], face.v[1], face.v[2]});
  }
  for (const cpoint3& t : from.source->mesh.tverts) {
    made.st.push_back({t.x, t.y});
  }
  Quantise(from, posed, numJoints, made);
  return made;
}

mdcSurface HeaderOf(const surface& from, std::int32_t numVerts, std::int32_t numFrames) {
  mdcSurface header{};
  header.ident = kMdcSurfaceIdent;
  header.numBaseFrames = numFrames;
  header.numVerts = numVerts;
  header.numTriangles = static_cast<std::int32_t>(from.triangles.size());
  std::int32_t at = sizeof header;
  header.ofsShaders = header.ofsTriangles = at;
  header.ofsSt = at += Bytes(from.triangles);
  header.ofsFrameBaseFrames = at += Bytes(from.st);
  header.ofsFrameCompFrames = at += 2 * numFrames;
  header.ofsXyzNormals = at += 2 * numFrames;
  header.ofsXyzCompressed = header.ofsEnd = at + Bytes(from.vertices);
  return header;
}

}  // namespace

std::size_t WriteBareMdc(const bare::model& model, const std::string& path) {
  const std::size_t numJoints = model.joints.size();
  std::vector<matrix> posed(model.numFrames * numJoints);
  std::vector<mdcFrame> frames;
  frames.reserve(model.numFrames);
  for (std::size_t f = 0; f < model.numFrames; ++f) {
    model.PoseInto(&posed[f * numJoints], f);
    frames.push_back(FrameOf(model.BoxOf(&posed[f * numJoints])));
  }
  std::vector<surface> surfaces;
  for (const bare::skin& each : model.skins) {
    surfaces.push_back(SurfaceOf(each, posed, numJoints));
  }

  std::vector<mdcHeader> header(1);
  std::ranges::copy(kMdcIdent, header[0].ident.begin());
  header[0].version = kMdcVersion;
  header[0].numFrames = static_cast<std::int32_t>(frames.size());
  header[0].numSurfaces = static_cast<std::int32_t>(surfaces.size());
  header[0].ofsFrames = sizeof(mdcHeader);
  header[0].ofsTagNames = header[0].ofsTags = header[0].ofsSurfaces =
      static_cast<std::int32_t>(sizeof(mdcHeader)) + Bytes(frames);
  std::vector<little<std::uint16_t>> baseFrames;
  for (std::size_t f = 0; f < frames.size(); ++f) {
    baseFrames.emplace_back(static_cast<std::uint16_t>(f));
  }
  const std::vector<little<std::uint16_t>> compFrames(frames.size(), kMdcNoCompressedFrame);
  bare::output out(path);
  out.Put(header);
  out.Put(frames);
  for (std::size_t s = 0; s < surfaces.size(); ++s) {
    const auto numVerts = static_cast<std::int32_t>(model.skins[s].NumVerts());
    out.Put(std::vector{HeaderOf(surfaces[s], numVerts, header[0].numFrames)});
    out.Put(surfaces[s].triangles);
    out.Put(surfaces[s].st);
    out.Put(baseFrames);
    out.Put(compFrames);
    out.Put(surfaces[s].vertices);
  }
  return out.Written();
}

int StepsApart(const std::string& a, const std::string& b) {
  cmdcfile one;
  cmdcfile other;
  if (!one.Load(a.c_str()) || !other.Load(b.c_str()) ||
      one.surfaces.size() != other.surfaces.size() ||
      std::int32_t{one.header->numFrames} != other.header->numFrames) {
    return -1;
  }
  int most = 0;
  for (std::size_t s = 0; s < one.surfaces.size(); ++s) {
    if (one.surfaces[s].numVerts != other.surfaces[s].numVerts) {
      return -1;
    }
    for (std::size_t f = 0; f < one.surfaces[s].baseByFrame.size(); ++f) {
      for (std::int32_t v = 0; v < one.surfaces[s].numVerts; ++v) {
        for (std::size_t c = 0; c < 3; ++c) {
          most = std::max(most, std::abs(one.surfaces[s].baseByFrame[f][v].xyz[c] -
                                         other.surfaces[s].baseByFrame[f][v].xyz[c]));
        }
      }
    }
  }
  return most;
}
