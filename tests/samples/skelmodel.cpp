#include "samples/skelmodel.h"

namespace {

void PutBones(bytewriter& file, const skelmodel& model) {
  for (const skelmodel::bone& bone : model.bones) {
    file.Name(bone.name, 64);
    file.I32(bone.parent);
    file.F32({0.5F, bone.parentDist});
    file.I32(0);
  }
}

void PutFrames(bytewriter& file, const skelmodel& model) {
  for (const skelmodel::frame& frame : model.frames) {
    file.F32({-1, -2, -3, 1, 2, 3, 7, 8, 9, 6});
    file.F32(frame.parentOffset);
    file.I16(frame.bones);
  }
}

// Both formats have these surfaces; they differ in their number and in what follows a vertex's
// count of weights.
void PutSurface(bytewriter& file, const skelmodel::surface& surface, bool mds) {
  const std::int64_t start = file.Position();
  const auto offset = [&](std::int64_t field) {
    file.Patch(start + field, file.Position() - start);
  };
  file.I32(mds ? 8 : 9);
  file.Name(surface.name, 64);
  file.Name("models/never read.tga", 64);
  file.I32(
      {0, 0, -start, std::ssize(surface.verts), 0, std::ssize(surface.triangles), 0, 0, 0, 0, 0});
  offset(148);
  for (const skelmodel::vertex& vertex : surface.verts) {
    file.F32({0, 0, 1, vertex.st[0], vertex.st[1]});
    file.I32(std::ssize(vertex.weights));
    file.Name("", mds ? 8 : 0);
    for (const skelmodel::weight& weight : vertex.weights) {
      file.I32(weight.bone);
      file.F32(weight.share);
      file.F32(weight.offset);
    }
  }
  offset(156);
  file.I32(surface.triangles);
  offset(172);
}

}  // namespace

bytes skelmodel::WriteMds() const {
  bytewriter file;
  file.Name("MDSW", 4);
  file.I32(4);
  file.Name(name, 64);
  file.F32({lodScale, lodBias});
  file.I32({std::ssize(frames), std::ssize(bones), 120, 0, 0, std::ssize(surfaces), 0,
            std::ssize(tags), 0, 0});
  PutFrames(file, *this);
  file.Patch(92, file.Position());
  PutBones(file, *this);
  file.Patch(104, file.Position());
  for (const surface& each : surfaces) {
    PutSurface(file, each, true);
  }
  file.Patch(112, file.Position());
  for (const tag& each : tags) {
    file.Name(each.name, 64);
    file.F32(0);
    file.I32(each.bone);
  }
  file.Patch(116, file.Position());
  return file.Content();
}

bytes skelmodel::WriteMdm() const {
  bytewriter file;
  file.Name("MDMW", 4);
  file.I32(3);
  file.Name(name, 64);
  file.F32({lodBias, lodScale});
  file.I32({std::ssize(surfaces), 100, std::ssize(tags), 0, 0});
  for (const surface& each : surfaces) {
    PutSurface(file, each, false);
  }
  file.Patch(92, file.Position());
  for (const tag& each : tags) {
    file.Name(each.name, 64);
    file.F32(each.axis);
    file.I32(each.bone);
    file.F32(each.offset);
    file.I32({1, 128, 132, each.bone});
  }
  file.Patch(96, file.Position());
  return file.Content();
}

bytes skelmodel::WriteMdx() const {
  bytewriter file;
  file.Name("MDXW", 4);
  file.I32(2);
  file.Name(name, 64);
  file.I32({std::ssize(frames), std::ssize(bones), 96, 0, 0, 0});
  PutFrames(file, *this);
  file.Patch(84, file.Position());
  PutBones(file, *this);
  file.Patch(92, file.Position());
  return file.Content();
}

skelmodel SmallSkelModel() {
  skelmodel model;
  model.bones = {{"Pelvis", -1, 0.0F}, {"Spine", 0, 10.0F}, {"tag_head", 1, 4.0F}};
  for (int f = 0; f < 5; ++f) {
    model.frames.push_back({{static_cast<float>(f), 2.0F, 30.0F},
                            {{0, 1000 * f, 0, 0, 0, 0},
                             {2000 + 500 * f, -3000 * f, 700, 0, -16384 + 900 * f, 4000},
                             {-5000, 6000, 7000 + 800 * f, 0, -9000, -2000 * f}}});
  }
  model.surfaces = {
      {"body",
       {{{0.0F, 0.0F}, {{0, 1.0F, {1, 0, 0}}}},
        {{1.0F, 0.25F}, {{0, 0.25F, {0, 2, 0}}, {1, 0.75F, {-1, 2, 3}}}},
        {{0.5F, 1.0F}, {{1, 1.0F, {0, 0, 4}}}},
        {{0.5F, 0.5F}, {{2, 0.5F, {3, 1, 0}}, {1, 0.25F, {1, 1, 1}}, {0, 0.25F, {5, 0, 2}}}}},
       {{0, 1, 2}, {2, 1, 3}}},
      {"hat",
       {{{0, 0}, {{2, 1, {0, 0, 1}}}},
        {{1, 0}, {{2, 1, {1, 0, 1}}}},
        {{0, 1}, {{2, 1, {0, 1, 1}}}}},
       {{0, 1, 2}}}};
  model.tags = {{"tag_head", 2, {0, 0, 0}},
                {"tag_back", 1, {1, 2, 3}, {{{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}}}}};
  return model;
}

bytes SmallSkelPair() {
  bytes both = SmallSkelModel().WriteMdm();
  const bytes skeleton = SmallSkelModel().WriteMdx();
  both.insert(both.end(), skeleton.begin(), skeleton.end());
  return both;
}
