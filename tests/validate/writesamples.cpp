// Writes scenes of many kinds to glTF files in a folder, and beside each what a viewer has to
// show: NAME.expected.json with the places of every mesh's vertices, taken from the scene's own
// deformation, at frames of every clip. check.mjs compares.

#include <cstdio>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

#include "gltf/figure.h"
#include "gltf/gltf.h"

namespace {

constexpr double kFps = 24.0;

struct sample {
  const char* file;
  double scale;
  std::function<void(core::scene&)> fill;
};

std::shared_ptr<const core::pixels> Pixels(int size) {
  auto made = std::make_shared<core::pixels>();
  made->width = size;
  made->height = size;
  for (int i = 0; i < size * size; ++i) {
    const int square = (i % size / 4 + i / size / 4) % 2;
    made->rgba.insert(made->rgba.end(), {static_cast<std::uint8_t>(square * 200 + 40),
                                         static_cast<std::uint8_t>(i % size * 7), 90, 255});
  }
  return made;
}

cmaterial* AddPainted(const char* name, const char* path) {
  cmaterial* material = AddMaterial(name, path);
  material->State().image.State().content = Pixels(32);
  return material;
}

void FillFigure(core::scene& scene) {
  const figure made = AddFigure();
  cmaterial* cloth = AddPainted("cloth", "models\\players\\w\xF6lf\\cloth.tga");
  cmaterial* skin = AddMaterial("skin", "models/players/skin.jpg");
  skin->State().doubleSided = true;
  skin->State().colour[0] = 0.5F;
  AddMaterial("unused", "<empty>");
  made.body->SetMaterial(cloth);
  made.arms->SetMaterial(skin);
  AddDummy("tag_head", made.bones[2], {KeyAt(0, MakePt3(0.0F, 0.0F, 6.0F))});
  cmesh* hat = AddTriangle("hat");
  SetKeys(*hat, {KeyAt(0, MakePt3(0.0F, 0.0F, 4.0F), {}, MakePt3(2.0F, 3.0F, 0.5F)),
                 KeyAt(30, MakePt3(1.0F, 0.0F, 8.0F), MakePt3(0.0F, 90.0F, 0.0F))});
  made.bones[2]->AttachChild(hat, 1);
  scene.notes = "of the figure\nand its \"clips\"\n";
  scene.clips = {{"stand", 0, 1}, {"walk on", 1, 20}, {"walk again", 11, 20}, {"hold", 30, 9}};
}

// Several trees of bones, a skin that moves itself and has children, vertices without weights,
// two weights of one bone, weights on a node that is no bone.
void FillLoose(core::scene& scene) {
  const std::vector<ckey> turning{
      KeyAt(0, MakePt3(3.0F, 2.0F, 1.0F)),
      KeyAt(20, MakePt3(0.0F, 9.0F, 1.0F), MakePt3(80.0F, 10.0F, 5.0F))};
  cnode* first = AddBone("first", nullptr, turning);
  cnode* second = AddBone("second", nullptr, {KeyAt(0, {}, MakePt3(0.0F, 30.0F, 0.0F))});
  cnode* third = AddDummy("third", first, turning);
  const std::vector<cmatrix4> binds(3);
  cskin* skin = AddBoundSkin(
      "loose",
      {MakePt3(0.0F, 0.0F, 0.0F), MakePt3(9.0F, 0.0F, 1.0F), MakePt3(0.0F, 9.0F, 2.0F),
       MakePt3(5.0F, 5.0F, 5.0F), MakePt3(7.0F, 3.0F, 9.0F)},
      {{{0, 0.5F}, {1, 0.5F}}, {}, {{0, 0.25F}, {2, 0.5F}, {0, 0.25F}}, {{2, 1.0F}}, {}},
      {first, second, third}, binds);
  third->AttachChild(skin, 1);
  SetKeys(*skin, turning);
  cmesh* hanging = AddTriangle("hanging", MakePt3(1.0F, 1.0F, 1.0F));
  skin->AttachChild(hanging, 1);
  cskin* stiff = AddBoundSkin("stiff", {{}, MakePt3(4.0F, 0.0F, 0.0F), MakePt3(0.0F, 4.0F, 0.0F)},
                              {{}, {}, {}}, {}, {});
  first->AttachChild(stiff, 1);
  scene.animEnd = 20;
}

void FillStill(core::scene& scene) {
  SetKeys(*AddTriangle("still", MakePt3(5.0F, 6.0F, 7.0F)),
          {KeyAt(0, MakePt3(1.0F, 2.0F, 3.0F), MakePt3(10.0F, 20.0F, 30.0F))});
  AddMesh("nothing", {}, {});
  scene.clips = {{"held", 0, 12}};
}

void FillMany(core::scene& /*scene*/) {
  std::vector<cnode*> bones;
  std::vector<cmatrix4> binds(300);
  std::vector<cpoint3> places;
  std::vector<std::vector<pull>> weights;
  for (std::size_t i = 0; i < 300; ++i) {
    const auto at = static_cast<float>(i);
    bones.push_back(AddBone("bone " + std::to_string(i), i == 0 ? nullptr : bones[i / 2],
                            {KeyAt(0, MakePt3(0.1F * at, 1.0F, 0.0F), MakePt3(at, at, at))}));
    places.push_back(MakePt3(std::sin(at) * 20.0F, at * 0.2F, std::cos(at) * 20.0F));
    weights.push_back({{i, 0.5F}, {(i + 1) % 300, 0.5F}});
  }
  AddBoundSkin("many", places, weights, bones, binds);
}

const sample kSamples[] = {
    {"figure.glb", 40.0, FillFigure}, {"two w\xC3\xB6rds.gltf", 1.0, FillFigure},
    {"loose.glb", 1.0, FillLoose},    {"still.gltf", 0.5, FillStill},
    {"many.glb", 1.0, FillMany},      {"empty.glb", 1.0, [](core::scene&) {}},
};

nlohmann::json Shown(const core::scene& scene, int frame, double scale) {
  nlohmann::json meshes = nlohmann::json::array();
  for (std::size_t i = 0; i < scene.Nodes().size(); ++i) {
    cnode& node = *scene.Nodes()[i];
    if (node.GetType() != kNodeMesh && node.GetType() != kNodeSkin) {
      continue;
    }
    std::vector<double> places;
    for (const cpoint3& p : PlacesAt(node, frame)) {
      places.insert(places.end(), {p.x / scale, p.z / scale, -p.y / scale});
    }
    if (!places.empty()) {
      meshes.push_back({{"node", i}, {"positions", places}});
    }
  }
  return meshes;
}

bool Write(const sample& each, const std::string& folder) {
  core::scene scene;
  core::scene::MakeCurrent(&scene);
  each.fill(scene);
  const std::string path = folder + "/" + each.file;
  gltf::report told;
  if (!gltf::WriteScene(scene, path, {each.scale, kFps}, told)) {
    std::fprintf(stderr, "%s: %s\n", path.c_str(), told.fault.c_str());
    return false;
  }
  std::vector<core::clip> clips = scene.clips;
  if (clips.empty() && scene.animEnd > 0) {
    clips.push_back({"all", 0, scene.animEnd + 1});
  }
  nlohmann::json expected = {{"file", each.file}, {"clips", nlohmann::json::array()}};
  nlohmann::json& shown = expected["shown"];
  shown.push_back({{"clip", nullptr}, {"time", 0.0}, {"meshes", Shown(scene, 0, each.scale)}});
  for (std::size_t c = 0; c < clips.size(); ++c) {
    expected["clips"].push_back(
        {{"name", clips[c].name}, {"duration", (clips[c].frames - 1) / kFps}});
    for (int k = 0; k < clips[c].frames; k += 3) {
      shown.push_back({{"clip", c},
                       {"time", k / kFps},
                       {"meshes", Shown(scene, clips[c].start + k, each.scale)}});
    }
  }
  std::ofstream(path + ".expected.json") << expected;
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: writesamples FOLDER\n");
    return 2;
  }
  bool good = true;
  for (const sample& each : kSamples) {
    good = Write(each, argv[1]) && good;
  }
  return good ? 0 : 1;
}
