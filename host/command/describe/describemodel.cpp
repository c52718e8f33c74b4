#include <algorithm>

#include "command/describe/describe.h"
#include "command/failure.h"
#include "mdc/mdcfile.h"
#include "mdmmdx/mdmfile.h"
#include "mdmmdx/mdxfile.h"
#include "mds/mdsfile.h"

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

description Surfaces(const skelmesh& mesh) {
  description list = description::array();
  for (const skelsurfentry& entry : mesh.surfaces) {
    const skelSurface& surface = *entry.surface;
    std::int64_t weights = 0;
    std::int32_t most = 0;
    cvertexwalk walk = mesh.Vertices(entry);
    for (std::int32_t v = 0; v < surface.numVerts; ++v, walk.Next()) {
      const std::int32_t count = walk.Vertex().numWeights;
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
    for (std::int32_t s = 0; s < surface.numShaders; ++s) {
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
  for (std::int32_t f = 0; f < file.header->numFrames; ++f) {
    const mdcFrame& frame = file.frames[f];
    frames.push_back({{"name", Value(frame.name)},
                      {"bounds", Value(frame.bounds)},
                      {"localOrigin", Value(frame.localOrigin)},
                      {"radius", Value(frame.radius)}});
  }
  return whole;
}

description Describe(const cmdsfile& file) {
  description whole = Header(*file.header);
  whole["bones"] = Bones(file);
  description& tags = whole["tags"] = description::array();
  for (std::int32_t t = 0; t < file.header->numTags; ++t) {
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

template <class File>
description DescribeFile(const std::string& path) {
  File file;
  if (!file.Load(path.c_str())) {
    throw failure(path,
                  "is refused: " + (file.Fault().empty() ? "it cannot be read" : file.Fault()));
  }
  return Describe(file);
}

}  // namespace

description DescribeModel(const std::string& path, filekind kind) {
  switch (kind) {
    case filekind::Mdc:
      return DescribeFile<cmdcfile>(path);
    case filekind::Mds:
      return DescribeFile<cmdsfile>(path);
    case filekind::Mdm:
      return DescribeFile<cmdmfile>(path);
    default:
      return DescribeFile<cmdxfile>(path);
  }
}

}  // namespace command
