#include <cstring>
#include <new>
#include <unordered_set>
#include <utility>

#include "core/picker.h"
#include "core/scene.h"
#include "core/state.h"

namespace {

core::picker& Picker() {
  static core::picker choose;
  return choose;
}

template <class T>
T EntryAt(const std::vector<T>& list, int index) {
  return index >= 0 && static_cast<std::size_t>(index) < list.size()
             ? list[static_cast<std::size_t>(index)]
             : nullptr;
}

// The nodes that are made.
class bonenode final : public cbone {
  void Destroy() override { delete this; }
};
class meshnode final : public cmesh {
  void Destroy() override { delete this; }
};
class skinnode final : public cskin {
  void Destroy() override { delete this; }
};

template <class T>
T* NewOrNull() {
  try {
    return new T;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

void core::SetPicker(picker choose) { Picker() = std::move(choose); }

int Interface::NumNodes() {
  const core::scene* scene = core::scene::CurrentOrNull();
  return scene == nullptr ? 0 : static_cast<int>(scene->Nodes().size());
}

cnode* Interface::GetNodeAt(int index) {
  const core::scene* scene = core::scene::CurrentOrNull();
  return scene == nullptr ? nullptr : EntryAt(scene->Nodes(), index);
}

// The nodes keep the scene's order, except that a parent that stands behind its child comes
// directly before it.
int Interface::GetNodesHierarchy(culongarray& indices) {
  const int count = NumNodes();
  indices.Resize(count);
  if (count == 0) {
    return 1;
  }
  const core::scene& scene = core::scene::Current();
  std::vector<bool> listed(static_cast<std::size_t>(count));
  std::vector<int> chain;
  std::uint32_t* next = indices.Data();
  for (const cnode* node : scene.Nodes()) {
    for (const cnode* at = node; at != nullptr; at = at->State().parent) {
      if (at->State().owner == &scene) {
        if (listed[static_cast<std::size_t>(at->State().index)]) {
          break;
        }
        chain.push_back(at->State().index);
      }
    }
    for (; !chain.empty(); chain.pop_back()) {
      listed[static_cast<std::size_t>(chain.back())] = true;
      *next++ = static_cast<std::uint32_t>(chain.back());
    }
  }
  return 1;
}

int Interface::GetAnimStart() { return core::scene::Current().animStart; }
int Interface::GetAnimEnd() { return core::scene::Current().animEnd; }
void Interface::SetAnimStart(int frame) { core::scene::Current().animStart = frame; }
void Interface::SetAnimEnd(int frame) { core::scene::Current().animEnd = frame; }
void Interface::SetAnimTime(int frame) { core::scene::Current().animTime = frame; }
void Interface::SetAnimTPF(int ticks) { core::scene::Current().ticksPerFrame = ticks; }

void Interface::AddToScene(cnode* node, int /*mode*/) { core::scene::Current().Add(node); }
void Interface::AddToScene(cmaterial* material, int /*mode*/) {
  core::scene::Current().Add(material);
}

void Interface::AddNotes(const char* text, int length) {
  if (text != nullptr && length > 0) {
    const void* zero = std::memchr(text, '\0', static_cast<std::size_t>(length));
    const auto* end = zero == nullptr ? text + length : static_cast<const char*>(zero);
    core::scene::Current().notes.append(text, end);
  }
}

// No window of its own.
void* Interface::GetMainHWND() { return nullptr; }

cmaterial* Interface::GetMaterialAt(int index) {
  const core::scene* scene = core::scene::CurrentOrNull();
  return scene == nullptr ? nullptr : EntryAt(scene->Materials(), index);
}

void Interface::GetUnusedMaterials(cbooleanarray& unused) {
  const core::scene& scene = core::scene::Current();
  std::unordered_set<const cmaterial*> used;
  for (cnode* node : scene.Nodes()) {
    used.insert(node->GetMaterial());
  }
  const std::vector<cmaterial*>& materials = scene.Materials();
  unused.Resize(static_cast<std::int32_t>(materials.size()));
  for (std::size_t i = 0; i < materials.size(); ++i) {
    unused.Set(static_cast<int>(i), !used.contains(materials[i]));
  }
}

int Interface::PickFromList(unsigned /*first*/, unsigned /*second*/, char* title, char* button,
                            int (*filter)(cnode*), void (*pick)(cnode*)) {
  const core::scene* scene = core::scene::CurrentOrNull();
  if (scene == nullptr || !Picker()) {
    return 0;
  }
  std::vector<cnode*> candidates;
  for (cnode* node : scene->Nodes()) {
    if (filter == nullptr || filter(node) != 0) {
      candidates.push_back(node);
    }
  }
  cnode* chosen = Picker()(candidates, title, button);
  if (chosen == nullptr) {
    return 0;
  }
  pick(chosen);
  return 1;
}

cbone* CreateNewBone() { return NewOrNull<bonenode>(); }
cmesh* CreateNewMesh() { return NewOrNull<meshnode>(); }
cskin* CreateNewSkin() { return NewOrNull<skinnode>(); }
cmaterial* CreateNewMaterial() { return NewOrNull<cmaterial>(); }
