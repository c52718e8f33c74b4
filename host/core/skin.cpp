#include <algorithm>
#include <utility>

#include "core/deform.h"
#include "core/nodeaccess.h"
#include "core/state.h"
#include "plugin/host/scene.h"

core::skinstate::skinstate() = default;
core::skinstate::~skinstate() = default;

namespace {

// The vertex's stretch, with room for `wanted` weights: at the end of the list it grows in
// place, otherwise it moves there.
core::skinstretch& WithRoom(core::skinstate& skin, int vertex, std::uint32_t wanted) {
  core::skinstretch& stretch = skin.stretches[static_cast<std::size_t>(vertex)];
  if (wanted <= stretch.capacity) {
    return stretch;
  }
  const std::size_t size = skin.weights.size();
  if (stretch.capacity != 0 && stretch.first + stretch.capacity != size) {
    const std::uint32_t capacity = std::max(wanted, 2 * stretch.capacity);
    skin.weights.resize(size + capacity);
    std::copy_n(skin.weights.begin() + static_cast<std::ptrdiff_t>(stretch.first), stretch.capacity,
                skin.weights.begin() + static_cast<std::ptrdiff_t>(size));
    stretch.first = size;
    stretch.capacity = capacity;
  } else {
    const std::size_t first = stretch.capacity == 0 ? size : stretch.first;
    skin.weights.resize(first + wanted);
    stretch.first = first;
    stretch.capacity = wanted;
  }
  return stretch;
}

bool HasVertex(const core::skinstate& skin, int vertex) {
  return vertex >= 0 && static_cast<std::size_t>(vertex) < skin.stretches.size();
}

}  // namespace

cskin::cskin() : cnode(kNodeSkin) {
  core::nodeaccess::MakeTrack(*this);
  skin_ = new core::skinstate;
}

cskin::~cskin() { delete skin_; }

int cskin::GetBBoxAtFrame(int frame, cpoint3& minimum, cpoint3& maximum) {
  return core::BoxAtFrame(*this, frame, minimum, maximum) ? 1 : 0;
}

int cskin::Init(cmesh* mesh) {
  if (mesh == nullptr) {
    return 0;
  }
  std::vector<core::skinstretch> stretches(mesh->Mesh().verts.size());
  mesh->Mesh().normals.resize(mesh->Mesh().verts.size(), MakePt3(0.0F, 0.0F, 1.0F));
  skin_->prepared.reset();
  skin_->weights.clear();
  skin_->stretches = std::move(stretches);
  skin_->mesh = std::exchange(mesh->Mesh(), core::meshstate());
  numFaces = static_cast<std::int32_t>(skin_->mesh.faces.size());
  mesh->numFaces = 0;
  SetMaterial(mesh->GetMaterial());
  return 1;
}

cpoint3 cskin::GetNormal(int vertex) {
  return HasVertex(*skin_, vertex) ? skin_->mesh.normals[static_cast<std::size_t>(vertex)]
                                   : cpoint3();
}

void cskin::SetVertNumWeights(int vertex, int count) {
  if (!HasVertex(*skin_, vertex) || count < 0) {
    return;
  }
  WithRoom(*skin_, vertex, static_cast<std::uint32_t>(count)).count =
      static_cast<std::uint32_t>(count);
  skin_->prepared.reset();
}

void cskin::SetVertWeight(int vertex, int index, const cskinweight& weight) {
  if (!HasVertex(*skin_, vertex) || index < 0) {
    return;
  }
  const std::uint32_t needed = static_cast<std::uint32_t>(index) + 1;
  core::skinstretch& stretch = WithRoom(*skin_, vertex, needed);
  stretch.count = std::max(stretch.count, needed);
  skin_->weights[stretch.first + needed - 1] = weight;
  skin_->prepared.reset();
}

int cskin::GetVertNumWeights(int vertex) {
  return HasVertex(*skin_, vertex)
             ? static_cast<int>(skin_->stretches[static_cast<std::size_t>(vertex)].count)
             : 0;
}

int cskin::GetVertWeight(int vertex, int index, cskinweight& weight) {
  if (index < 0 || index >= GetVertNumWeights(vertex)) {
    return 0;
  }
  weight = skin_->weights[skin_->stretches[static_cast<std::size_t>(vertex)].first +
                          static_cast<std::size_t>(index)];
  return 1;
}
