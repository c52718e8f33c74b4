#include "gltf/figure.h"

#include <cmath>

namespace {

struct bonedesign {
  const char* name;
  int parent;
  cpoint3 place;  // from the parent
};

const bonedesign kBones[] = {
    {"hips", -1, {0.0F, 0.0F, 30.0F}},       {"spine", 0, {0.0F, 0.0F, 10.0F}},
    {"head", 1, {0.0F, 0.0F, 12.0F}},        {"arm left", 1, {0.0F, 6.0F, 9.0F}},
    {"hand left", 3, {0.0F, 12.0F, 0.0F}},   {"arm right", 1, {0.0F, -6.0F, 9.0F}},
    {"hand right", 5, {0.0F, -12.0F, 0.0F}}, {"leg left", 0, {0.0F, 4.0F, -2.0F}},
    {"foot left", 7, {0.0F, 0.0F, -24.0F}},  {"leg right", 0, {0.0F, -4.0F, -2.0F}},
};
constexpr int kFrames = 31;

cmatrix4 Turned(const cpoint3& angles, const cpoint3& place) {
  cmatrix4 x;
  cmatrix4 y;
  cmatrix4 z;
  x.FromAngleX(angles.x);
  y.FromAngleY(angles.y);
  z.FromAngleZ(angles.z);
  cmatrix4 result = x * y * z;
  result.m[3][0] = place.x;
  result.m[3][1] = place.y;
  result.m[3][2] = place.z;
  return result;
}

// Vertices around the way from one bone to another, with weights that pass from the first over to
// the second and a little on `third` and `fourth`.
void AddTube(std::size_t from, std::size_t to, std::size_t third, std::size_t fourth,
             const std::vector<cmatrix4>& binds, std::vector<cpoint3>& places,
             std::vector<std::vector<pull>>& weights) {
  constexpr int kRings = 6;
  constexpr int kSides = 5;
  const cpoint3 start = binds[from].GetTrans();
  const cpoint3 way = binds[to].GetTrans() - start;
  for (int ring = 0; ring < kRings; ++ring) {
    const float along = static_cast<float>(ring) / static_cast<float>(kRings - 1);
    for (int side = 0; side < kSides; ++side) {
      const float angle = 6.2831853F * static_cast<float>(side) / static_cast<float>(kSides);
      places.push_back(
          start + way * along +
          MakePt3(2.0F * std::cos(angle), 2.0F * std::sin(angle) * 0.7F, 1.5F * std::sin(angle)));
      if (ring == 0) {
        weights.push_back({{from, 1.0F}});
      } else if (side % 2 == 0) {
        weights.push_back({{from, 1.0F - along}, {to, along}});
      } else {
        weights.push_back(
            {{from, 0.8F * (1.0F - along)}, {to, 0.8F * along}, {third, 0.15F}, {fourth, 0.05F}});
      }
    }
  }
}

}  // namespace

cskin* AddBoundSkin(const std::string& name, const std::vector<cpoint3>& places,
                    const std::vector<std::vector<pull>>& weights, const std::vector<cnode*>& bones,
                    const std::vector<cmatrix4>& binds) {
  std::vector<corners> triangles;
  for (int v = 0; v + 2 < static_cast<int>(places.size()); ++v) {
    triangles.push_back({v, v + 1 + v % 2, v + 2 - v % 2});
  }
  cmesh* mesh = MakeMesh(name, places, triangles);
  cskin* skin = CreateNewSkin();
  skin->Init(mesh);
  mesh->Destroy();
  skin->SetName(name.c_str());
  for (std::size_t v = 0; v < places.size(); ++v) {
    int index = 0;
    for (const pull& each : weights[v]) {
      if (each.weight == 0.0F) {
        continue;
      }
      cmatrix4 toBone = binds[each.bone];
      toBone.Invert();
      cskinweight weight;
      weight.weight = each.weight;
      weight.offset = places[v] * toBone;
      weight.normal = MakePt3(1.0F, 0.0F, 0.0F);
      weight.bone = bones[each.bone];
      skin->SetVertWeight(static_cast<int>(v), index++, weight);
    }
  }
  Interface::AddToScene(skin, 0);
  return skin;
}

figure AddFigure() {
  figure made;
  std::vector<cmatrix4>& binds = made.binds;
  float phase = 0.0F;
  for (const bonedesign& bone : kBones) {
    phase += 1.3F;
    cmatrix4 bind = Turned(MakePt3(7.0F * phase, -5.0F * phase, 11.0F * phase), bone.place);
    std::vector<ckey> keys;
    for (int frame = 0; frame < kFrames; ++frame) {
      const float t = static_cast<float>(frame) * 0.2F + phase;
      keys.push_back(KeyAt(frame, bone.place,
                           MakePt3(25.0F * std::sin(t), 200.0F * std::cos(0.7F * t), 15.0F * t)));
    }
    cnode* parent = nullptr;
    if (bone.parent >= 0) {
      parent = made.bones[static_cast<std::size_t>(bone.parent)];
      bind = bind * binds[static_cast<std::size_t>(bone.parent)];
    }
    binds.push_back(bind);
    made.bones.push_back(AddBone(bone.name, parent, keys));
  }
  std::vector<cpoint3> places;
  std::vector<std::vector<pull>> weights;
  AddTube(0, 1, 7, 9, binds, places, weights);
  AddTube(1, 2, 0, 3, binds, places, weights);
  AddTube(7, 8, 0, 9, binds, places, weights);
  AddTube(9, 0, 7, 1, binds, places, weights);
  made.body = AddBoundSkin("body", places, weights, made.bones, binds);
  places.clear();
  weights.clear();
  AddTube(3, 4, 1, 2, binds, places, weights);
  AddTube(5, 6, 1, 0, binds, places, weights);
  made.arms = AddBoundSkin("arms", places, weights, made.bones, binds);
  core::scene::Current().animEnd = kFrames;
  return made;
}
