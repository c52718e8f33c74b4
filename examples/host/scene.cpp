// The scene, the makers of its objects, and what the host says to a failed check.

#include <cstdio>
#include <functional>
#include <stdexcept>

#include "host.h"

namespace {

// The nodes that this host makes. What they override is what a module's calls reach.
class bone final : public cbone {
  void Destroy() override { delete this; }
};
class mesh final : public cmesh {
  void Destroy() override { delete this; }
};
class skin final : public cskin {
  void Destroy() override { delete this; }
};

}  // namespace

hostscene& Scene() {
  static hostscene scene;
  return scene;
}

void hostscene::Clear() {
  for (cnode* node : nodes) {
    node->Destroy();
  }
  for (cmaterial* material : materials) {
    material->Delete();
  }
  *this = {};
}

int Interface::NumNodes() { return static_cast<int>(Scene().nodes.size()); }
cnode* Interface::GetNodeAt(int index) { return Scene().nodes[static_cast<std::size_t>(index)]; }

int Interface::GetNodesHierarchy(culongarray& indices) {
  const std::vector<cnode*>& nodes = Scene().nodes;
  indices.Resize(NumNodes());
  std::uint32_t* next = indices.Data();
  const std::function<void(cnode*)> add = [&](const cnode* parent) {
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      if (nodes[i]->GetParent() == parent) {
        *next++ = static_cast<std::uint32_t>(i);
        add(nodes[i]);
      }
    }
  };
  add(nullptr);
  return 1;
}

int Interface::GetAnimStart() { return Scene().animStart; }
int Interface::GetAnimEnd() { return Scene().animEnd; }
void Interface::SetAnimStart(int frame) { Scene().animStart = frame; }
void Interface::SetAnimEnd(int frame) { Scene().animEnd = frame; }
void Interface::SetAnimTime(int /*frame*/) {}
void Interface::SetAnimTPF(int /*ticks*/) {}
void Interface::AddToScene(cnode* node, int /*mode*/) { Scene().nodes.push_back(node); }
void Interface::AddToScene(cmaterial* material, int /*mode*/) {
  Scene().materials.push_back(material);
}
void Interface::AddNotes(const char* text, int length) {
  Scene().notes.append(text, static_cast<std::size_t>(length));
}
void* Interface::GetMainHWND() { return nullptr; }
cmaterial* Interface::GetMaterialAt(int index) {
  return Scene().materials[static_cast<std::size_t>(index)];
}
void Interface::GetUnusedMaterials(cbooleanarray& unused) {
  unused.Resize(static_cast<std::int32_t>(Scene().materials.size()));
  for (int i = 0; i < unused.count; ++i) {
    bool used = false;
    for (cnode* node : Scene().nodes) {
      used = used || node->GetMaterial() == GetMaterialAt(i);
    }
    unused.Set(i, !used);
  }
}
// Nobody to ask: nothing is picked.
int Interface::PickFromList(unsigned /*first*/, unsigned /*second*/, char* /*title*/,
                            char* /*button*/, int (* /*filter*/)(cnode*),
                            void (* /*pick*/)(cnode*)) {
  return 0;
}

cbone* CreateNewBone() { return new bone; }
cmesh* CreateNewMesh() { return new mesh; }
cskin* CreateNewSkin() { return new skin; }
cmaterial* CreateNewMaterial() { return new cmaterial; }

// It must not return. An exception that is no std::exception would pass through the module to the
// host's own call of the handler; one that is makes the handler's result 0.
void MyAssertFailedLine(const char* expression, const char* file, int line) {
  std::fprintf(stderr, "host: check failed: %s (%s, line %d)\n", expression, file, line);
  throw std::runtime_error(expression);
}

void array_assert(int condition) {
  if (condition == 0) {
    MyAssertFailedLine("index in bounds", "array", 0);
  }
}
