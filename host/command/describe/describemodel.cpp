#include <algorithm>
#include <set>

#include "command/describe/describe.h"
#include "command/files/modellimits.h"
#include "command/files/readers.h"

namespace command {

namespace {

template <class T>
T Value(const little<T>& number) {
  return number;
}

template <std::size_t Size>
std::string Value(const namefield<Size>& field) {
  return NameText(field).data();
}

template <std::size_t Size>
description Value(const std::array<little<float>, Size>& numbers) {
  description list = description::array();
  for (const float number : numbers) {
    list.push_back(number);
  }
  return list;
}

template <std::size_t Rows, std::size_t Columns>
description Value(const std::array<std::array<little<float>, Columns>, Rows>& rows) {
  description list = description::array();
  for (const auto& row : rows) {
    list.push_back(Value(row));
  }
  return list;
}

std::string Ident(const std::array<char, 4>& ident) { return {ident.data(), ident.size()}; }

description Header(const mdcHeader& header) {
  return {{"ident", Ident(header.ident)},
          {"version", Value(header.version)},
          {"name", Value(header.name)},
          {"flags", Value(header.flags)},
          {"numFrames", Value(header.numFrames)},
          {"numTags", Value(header.numTags)},
          {"numSurfaces", Value(header.numSurfaces)},
          {"numSkins", Value(header.numSkins)},
          {"ofsFrames", Value(header.ofsFrames)},
          {"ofsTagNames", Value(header.ofsTagNames)},
          {"ofsTags", Value(header.ofsTags)},
          {"ofsSurfaces", Value(header.ofsSurfaces)},
          {"ofsEnd", Value(header.ofsEnd)}};
}

description Header(const mdsHeader& header) {
  return {{"ident", Ident(header.ident)},
          {"version", Value(header.version)},
          {"name", Value(header.name)},
          {"lodScale", Value(header.lodScale)},
          {"lodBias", Value(header.lodBias)},
          {"numFrames", Value(header.numFrames)},
          {"numBones", Value(header.numBones)},
          {"ofsFrames", Value(header.ofsFrames)},
          {"ofsBones", Value(header.ofsBones)},
          {"torsoParent", Value(header.torsoParent)},
          {"numSurfaces", Value(header.numSurfaces)},
          {"ofsSurfaces", Value(header.ofsSurfaces)},
          {"numTags", Value(header.numTags)},
          {"ofsTags", Value(header.ofsTags)},
          {"ofsEnd", Value(header.ofsEnd)}};
}

description Header(const mdmHeader& header) {
  return {{"ident", Ident(header.ident)},
          {"version", Value(header.version)},
          {"name", Value(header.name)},
          {"lodBias", Value(header.lodBias)},
          {"lodScale", Value(header.lodScale)},
          {"numSurfaces", Value(header.numSurfaces)},
          {"ofsSurfaces", Value(header.ofsSurfaces)},
          {"numTags", Value(header.numTags)},
          {"ofsTags", Value(header.ofsTags)},
          {"ofsEnd", Value(header.ofsEnd)}};
}

description Header(const mdxHeader& header) {
  return {{"ident", Ident(header.ident)},       {"version", Value(header.version)},
          {"name", Value(header.name)},         {"numFrames", Value(header.numFrames)},
          {"numBones", Value(header.numBones)}, {"ofsFrames", Value(header.ofsFrames)},
          {"ofsBones", Value(header.ofsBones)}, {"torsoParent", Value(header.torsoParent)},
          {"ofsEnd", Value(header.ofsEnd)}};
}

description Bones(const skelrig& rig) {
  description list = description::array();
  for (std::int32_t b = 0; b < rig.numBones; ++b) {
    const skelBoneInfo& bone = rig.bones[b];
    list.push_back({{"name", Value(bone.name)},
                    {"parent", Value(bone.parent)},
                    {"torsoWeight", Value(bone.torsoWeight)},
                    {"parentDist", Value(bone.parentDist)},
                    {"flags", Value(bone.flags)}});
  }
  return list;
}

description Frames(const skelrig& rig) {
  description list = description::array();
  for (const skelFrame* frame : rig.frames) {
    list.push_back({{"bounds", Value(frame->bounds)},
                    {"localOrigin", Value(frame->localOrigin)},
                    {"radius", Value(frame->radius)},
                    {"parentOffset", Value(frame->parentOffset)}});
  }
  return list;
}

void CountNormals(description& whole, std::int64_t all, std::int64_t set) {
  whole["normals"] = all;
  whole["normalsSet"] = set;
}

void CountNormals(description& whole, const skelmesh& mesh) {
  std::int64_t all = 0;
  std::int64_t set = 0;
  for (const skelsurfentry& entry : mesh.surfaces) {
    all += entry.numVerts;
    cvertexwalk walk = mesh.Vertices(entry);
    for (std::int32_t v = 0; v < entry.numVerts; ++v, walk.Next()) {
      const auto& normal = walk.Vertex().normal;
      set += normal[0] != 0.0F || normal[1] != 0.0F || normal[2] != 0.0F ? 1 : 0;
    }
  }
  CountNormals(whole, all, set);
}

// Those of the base frames that a frame names.
void CountNormals(description& whole, const cmdcfile& file) {
  std::int64_t all = 0;
  std::int64_t set = 0;
  for (const cmdcsurfentry& entry : file.surfaces) {
    std::set<const mdcXyzNormal*> bases(entry.baseByFrame.begin(), entry.baseByFrame.end());
    bases.erase(nullptr);  // of a frame that names none inside the file
    for (const mdcXyzNormal* base : bases) {
      all += entry.numVerts;
      set += std::count_if(base, base + entry.numVerts,
                           [](const mdcXyzNormal& vertex) { return vertex.normal != 0; });
    }
  }
  CountNormals(whole, all, set);
}

description Surfaces(const skelmesh& mesh) {
  description list = description::array();
  for (const skelsurfentry& entry : mesh.surfaces) {
    const skelSurface& surface = *entry.surface;
    std::int64_t weights = 0;
    std::int32_t most = 0;
    cvertexwalk walk = mesh.Vertices(entry);
    for (std::int32_t v = 0; v < entry.numVerts; ++v, walk.Next()) {
      const std::int32_t count = walk.NumWeights();
      weights += count;
      most = std::max(most, count);
    }
    list.push_back({{"name", Value(surface.name)},
                    {"shader", Value(surface.shader)},
                    {"numVerts", Value(surface.numVerts)},
                    {"numTriangles", Value(surface.numTriangles)},
                    {"weights", weights},
                    {"mostWeights", most},
                    {"numBoneReferences", Value(surface.numBoneReferences)},
                    {"minLod", Value(surface.minLod)}});
  }
  return list;
}

description Describe(const cmdcfile& file) {
  description whole = Header(*file.header);
  CountNormals(whole, file);
  description& tags = whole["tags"] = description::array();
  for (const cmdctagentry& tag : file.tagTable) {
    tags.push_back({{"name", Value(*tag.name)},
                    {"position at frame 0", file.TagPosition(tag, 0)},
                    {"angles at frame 0", cmdcfile::TagAngles(tag, 0)}});
  }
  description& surfaces = whole["surfaces"] = description::array();
  for (const cmdcsurfentry& entry : file.surfaces) {
    const mdcSurface& surface = *entry.surface;
    description shaders = description::array();
    for (std::int32_t s = 0; s < entry.numShaders; ++s) {
      shaders.push_back(Value(entry.shaders[s].name));
    }
    surfaces.push_back({{"name", Value(surface.name)},
                        {"shaders", std::move(shaders)},
                        {"flags", Value(surface.flags)},
                        {"numVerts", Value(surface.numVerts)},
                        {"numTriangles", Value(surface.numTriangles)},
                        {"numBaseFrames", Value(surface.numBaseFrames)},
                        {"numCompFrames", Value(surface.numCompFrames)}});
  }
  description& frames = whole["frames"] = description::array();
  description refused = description::array();
  for (std::int32_t f = 0; file.frames != nullptr && f < file.header->numFrames; ++f) {
    const mdcFrame& frame = file.frames[f];
    frames.push_back({{"name", Value(frame.name)},
                      {"bounds", Value(frame.bounds)},
                      {"localOrigin", Value(frame.localOrigin)},
                      {"radius", Value(frame.radius)}});
    if (std::string fault; !file.HoldsFrame(f, fault)) {
      refused.push_back({{"frame", f}, {"why", std::move(fault)}});
    }
  }
  if (!refused.empty()) {
    whole["refusedFrames"] = std::move(refused);
  }
  return whole;
}

description Describe(const cmdsfile& file) {
  description whole = Header(*file.header);
  CountNormals(whole, file);
  whole["bones"] = Bones(file);
  description& tags = whole["tags"] = description::array();
  for (std::int32_t t = 0; t < file.numTags; ++t) {
    const mdsTag& tag = file.tags[t];
    tags.push_back({{"name", Value(tag.name)},
                    {"torsoWeight", Value(tag.torsoWeight)},
                    {"boneIndex", Value(tag.boneIndex)}});
  }
  whole["surfaces"] = Surfaces(file);
  whole["frames"] = Frames(file);
  return whole;
}

description Describe(const cmdmfile& file) {
  description whole = Header(*file.header);
  CountNormals(whole, file);
  description& tags = whole["tags"] = description::array();
  for (const mdmTag* tag : file.tags) {
    tags.push_back({{"name", Value(tag->name)},
                    {"boneIndex", Value(tag->boneIndex)},
                    {"axis", Value(tag->axis)},
                    {"offset", Value(tag->offset)},
                    {"numBoneReferences", Value(tag->numBoneReferences)}});
  }
  whole["surfaces"] = Surfaces(file);
  return whole;
}

description Describe(const cmdxfile& file) {
  description whole = Header(*file.header);
  whole["bones"] = Bones(file);
  whole["frames"] = Frames(file);
  return whole;
}

}  // namespace

description DescribeModel(const std::string& path, filekind kind, modelfindings& found) {
  description whole = description::object();
  WithReader(kind, [&](auto&& file) {
    // A file that is refused has its tables up to what does not hold.
    if (!file.Load(path.c_str())) {
      found.fault = file.Fault().empty() ? "cannot be read" : file.Fault();
    }
    if (found.fault.empty()) {
      found.limits = PassedLimits(file);
    }
    if (file.header != nullptr) {
      whole = Describe(file);
    }
  });
  return whole;
}

}  // namespace command
