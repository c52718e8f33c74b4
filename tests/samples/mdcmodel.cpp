#include "samples/mdcmodel.h"

namespace {

void WriteSurface(bytewriter& file, const mdcmodel::surface& surface) {
  const std::int64_t start = file.Position();
  const auto offset = [&](std::int64_t field) {
    file.Patch(start + field, file.Position() - start);
  };
  file.I32(7);
  file.Name(surface.name, 64);
  file.I32({0, std::ssize(surface.compFrames), std::ssize(surface.baseFrames),
            std::ssize(surface.shaders), std::ssize(surface.st), std::ssize(surface.triangles)});
  file.I32(std::array<int, 8>{});
  offset(96);
  for (const std::string& shader : surface.shaders) {
    file.Name(shader, 68);
  }
  offset(92);
  file.I32(surface.triangles);
  offset(100);
  file.F32(surface.st);
  offset(112);
  file.I16(surface.baseByFrame);
  offset(116);
  file.I16(surface.compByFrame);
  offset(104);
  file.I16(surface.baseFrames);
  offset(108);
  file.I8(surface.compFrames);
  offset(120);
}

}  // namespace

bytes mdcmodel::Write() const {
  bytewriter file;
  file.Name(ident, 4);
  file.I32(version);
  file.Name(name, 64);
  file.I32({0, std::ssize(frames), std::ssize(tags), std::ssize(surfaces), numSkins});
  file.I32(std::array<int, 5>{});
  file.Patch(92, file.Position());
  for (const auto& frame : frames) {
    file.F32(frame);
    file.Name(frameName, 16);
  }
  file.Patch(96, file.Position());
  for (const tag& each : tags) {
    file.Name(each.name, 64);
  }
  file.Patch(100, file.Position());
  for (const tag& each : tags) {
    file.I16(each.poses);
  }
  file.Patch(104, file.Position());
  for (const surface& each : surfaces) {
    WriteSurface(file, each);
  }
  file.Patch(108, file.Position());
  return file.Content();
}

mdcmodel SmallMdcModel() {
  mdcmodel model;
  model.frames = {{-1, -1, -1, 1, 1, 1, 0, 0, 0, 2}, {-1, -1, -1, 1, 1, 1, 10, 20, 30, 2}};
  model.tags = {{"tag_head", {{64, 128, 192, 0, 0, 0}, {-64, 0, 32, 0, 16384, 0}}},
                {"tag_weapon", {{0, 0, 0, 8192, 0, 0}, {1, 2, 3, 0, 0, -8192}}}};
  model.surfaces = {
      {"body",
       {"models/players/test/body.tga"},
       {{0, 1, 2}},
       {{0.0F, 0.0F}, {1.0F, 0.25F}, {0.5F, 1.0F}},
       {{{0, 0, 0, 0x1234}, {64, 0, 0}, {0, 64, 0}}, {{64, 64, 64}, {128, 0, 0}, {0, 128, 0, 9}}},
       {},
       {0, 1},
       {0xFFFF, 0xFFFF}},
      {"cape",
       {"models/players/test/cape.jpg", "models/players/test/lining.jpg"},
       {{0, 1, 2}, {2, 1, 3}},
       {{0.0F, 0.0F}, {1.0F, 0.0F}, {0.0F, 1.0F}, {1.0F, 1.0F}},
       {{{0, 0, 0}, {640, 0, 0}, {0, 640, 0}, {640, 640, 0, 77}}},
       {{{127, 127, 127, 0}, {128, 126, 127, 9}, {0, 254, 127, 0}, {255, 127, 1, 0}}},
       {0, 0},
       {0xFFFF, 0}}};
  return model;
}
