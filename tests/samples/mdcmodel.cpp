#include "samples/mdcmodel.h"

namespace {

void WriteSurface(bytewriter& file, const mdcmodel::surface& surface) {
  const std::int64_t start = file.Position();
  const auto offset = [&](std::int64_t field) {
    file.Patch(start + field, file.Position() - start);
  };
  file.I32(7);
  file.Name(surface.name, 64);
  file.I32(0);
  file.I32(static_cast<int>(surface.compFrames.size()));
  file.I32(static_cast<int>(surface.baseFrames.size()));
  file.I32(static_cast<int>(surface.shaders.size()));
  file.I32(static_cast<int>(surface.st.size()));
  file.I32(static_cast<int>(surface.triangles.size()));
  for (int i = 0; i < 8; ++i) {
    file.I32(0);
  }
  offset(96);
  for (const std::string& shader : surface.shaders) {
    file.Name(shader, 64);
    file.I32(0);
  }
  offset(92);
  for (const mdcmodel::steps& triangle : surface.triangles) {
    for (const int vertex : triangle) {
      file.I32(vertex);
    }
  }
  offset(100);
  for (const auto& [u, v] : surface.st) {
    file.F32({u, v});
  }
  offset(112);
  for (const int base : surface.baseByFrame) {
    file.I16(base);
  }
  offset(116);
  for (const int comp : surface.compByFrame) {
    file.I16(comp);
  }
  offset(104);
  for (const auto& frame : surface.baseFrames) {
    for (const mdcmodel::steps& vertex : frame) {
      for (const int step : vertex) {
        file.I16(step);
      }
      file.I16(0x1234);
    }
  }
  offset(108);
  for (const auto& frame : surface.compFrames) {
    for (const auto& vertex : frame) {
      for (const int byte : vertex) {
        file.I8(byte);
      }
    }
  }
  offset(120);
}

}  // namespace

bytes mdcmodel::Write() const {
  bytewriter file;
  file.Name(ident, 4);
  file.I32(version);
  file.Name(name, 64);
  file.I32(0);
  file.I32(static_cast<int>(origins.size()));
  file.I32(static_cast<int>(tags.size()));
  file.I32(static_cast<int>(surfaces.size()));
  file.I32(numSkins);
  for (int i = 0; i < 5; ++i) {
    file.I32(0);
  }
  file.Patch(92, file.Position());
  for (const auto& [x, y, z] : origins) {
    file.F32({-1.0F, -1.0F, -1.0F, 1.0F, 1.0F, 1.0F, x, y, z, 2.0F});
    file.Name("frame", 16);
  }
  file.Patch(96, file.Position());
  for (const tag& each : tags) {
    file.Name(each.name, 64);
  }
  file.Patch(100, file.Position());
  for (const tag& each : tags) {
    for (std::size_t f = 0; f < origins.size(); ++f) {
      for (const steps& values : {each.positions[f], each.angles[f]}) {
        for (const int value : values) {
          file.I16(value);
        }
      }
    }
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
  model.origins = {{0.0F, 0.0F, 0.0F}, {10.0F, 20.0F, 30.0F}};
  model.tags = {{"tag_head", {{64, 128, 192}, {-64, 0, 32}}, {{0, 0, 0}, {0, 16384, 0}}},
                {"tag_weapon", {{0, 0, 0}, {1, 2, 3}}, {{8192, 0, 0}, {0, 0, -8192}}}};
  model.surfaces = {
      {"body",
       {"models/players/test/body.tga"},
       {{0, 1, 2}},
       {{0.0F, 0.0F}, {1.0F, 0.25F}, {0.5F, 1.0F}},
       {{{0, 0, 0}, {64, 0, 0}, {0, 64, 0}}, {{64, 64, 64}, {128, 0, 0}, {0, 128, 0}}},
       {},
       {0, 1},
       {0xFFFF, 0xFFFF}},
      {"cape",
       {"models/players/test/cape.jpg", "models/players/test/lining.jpg"},
       {{0, 1, 2}, {2, 1, 3}},
       {{0.0F, 0.0F}, {1.0F, 0.0F}, {0.0F, 1.0F}, {1.0F, 1.0F}},
       {{{0, 0, 0}, {640, 0, 0}, {0, 640, 0}, {640, 640, 0}}},
       {{{127, 127, 127, 0}, {128, 126, 127, 9}, {0, 254, 127, 0}, {255, 127, 1, 0}}},
       {0, 0},
       {0xFFFF, 0}}};
  return model;
}
