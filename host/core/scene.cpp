#include "core/scene.h"

#include <algorithm>
#include <new>
#include <string>

#include "core/changes.h"
#include "core/deform.h"
#include "core/nodeaccess.h"
#include "core/pose.h"
#include "core/state.h"

namespace core {

namespace {

scene* current = nullptr;

// Weights of a destroyed joint count for nothing.
void ForgetJoint(skinstate& skin, const cnode* joint) {
  for (cskinweight& weight : skin.weights) {
    if (weight.bone == joint) {
      weight.bone = nullptr;
    }
  }
  std::erase_if(skin.displacements, [joint](const auto& each) { return each.joint == joint; });
  skin.prepared.reset();
}

// Faces of the node's mesh that name vertices which it does not have; their number.
std::size_t LeaveOutFaces(cnode& node) {
  const auto leaveOut = [](meshstate& mesh, std::int32_t& numFaces) {
    const std::size_t count =
        std::erase_if(mesh.faces, [](const cface& face) { return face.v[0] == kNoVertex; });
    numFaces = static_cast<std::int32_t>(mesh.faces.size());
    return count;
  };
  if (node.GetType() == kNodeMesh) {
    auto& mesh = static_cast<cmesh&>(node);
    return leaveOut(mesh.Mesh(), mesh.numFaces);
  }
  if (node.GetType() == kNodeSkin) {
    auto& skin = static_cast<cskin&>(node);
    return leaveOut(skin.Skin().mesh, skin.numFaces);
  }
  return 0;
}

}  // namespace

scene::scene() : poses_(std::make_unique<posecache>()) {}

scene::~scene() {
  if (current == this) {
    current = nullptr;
  }
  // Take the bonds apart first, all at once; one by one they would be searched for each node.
  for (cnode* node : nodes_) {
    nodestate& state = nodeaccess::Of(*node);
    for (cnode* child : state.children) {
      nodeaccess::Of(*child).parent = nullptr;
    }
    state.children.clear();
  }
  for (cnode* node : nodes_) {
    nodeaccess::Of(*node).owner = nullptr;
    node->Destroy();
  }
  for (cmaterial* material : materials_) {
    material->State().owner = nullptr;
    material->Delete();
  }
}

scene& scene::Current() {
  if (current == nullptr) {
    MyAssertFailedLine("scene::Current", __FILE__, __LINE__);
  }
  return *current;
}

scene* scene::CurrentOrNull() { return current; }
void scene::MakeCurrent(scene* made) { current = made; }

void scene::Add(cnode* node) {
  if (node == nullptr || node->State().owner != nullptr) {
    return;
  }
  try {
    if (const std::size_t faces = LeaveOutFaces(*node); faces > 0) {
      warnings.push_back(std::string(node->GetName()) + ": " + std::to_string(faces) +
                         (faces == 1 ? " triangle names a vertex that does not exist and is"
                                     : " triangles name vertices that do not exist and are") +
                         " left out");
    }
    nodes_.push_back(node);
  } catch (const std::bad_alloc&) {
    node->Destroy();
    throw;
  }
  nodeaccess::Of(*node).owner = this;
  nodeaccess::Of(*node).index = static_cast<int>(nodes_.size()) - 1;
  ForgetPoses();
}

void scene::Add(cmaterial* material) {
  if (material == nullptr || material->State().owner != nullptr) {
    return;
  }
  try {
    materials_.push_back(material);
  } catch (const std::bad_alloc&) {
    material->Delete();
    throw;
  }
  material->State().owner = this;
}

void scene::Replace(cnode* old, cnode* made) {
  nodestate& from = nodeaccess::Of(*old);
  nodestate& to = nodeaccess::Of(*made);
  for (cnode* child : std::vector<cnode*>(from.children)) {
    made->AttachChild(child, 1);
  }
  if (from.parent != nullptr) {
    from.parent->AttachChild(made, 1);
  }
  made->SetName(from.name.c_str());
  nodeaccess::Of(*to.track).keys = from.track->State().keys;
  to.stretches = std::move(from.stretches);
  to.index = from.index;
  to.owner = this;
  nodes_[static_cast<std::size_t>(from.index)] = made;
  from.owner = nullptr;
  old->Destroy();
  ForgetPoses();
}

void scene::Adopt(scene& other) {
  nodes_.reserve(nodes_.size() + other.nodes_.size());
  materials_.reserve(materials_.size() + other.materials_.size());
  for (cnode* node : other.nodes_) {
    nodeaccess::Of(*node).owner = this;
    nodeaccess::Of(*node).index = static_cast<int>(nodes_.size());
    nodes_.push_back(node);
  }
  for (cmaterial* material : other.materials_) {
    material->State().owner = this;
    materials_.push_back(material);
  }
  other.nodes_.clear();
  other.materials_.clear();
  ForgetPoses();
}

std::uint64_t scene::PosesEvaluated() const { return poses_->evaluated; }

void scene::Forget(cnode* node) {
  const auto place = nodes_.begin() + node->State().index;
  for (auto later = nodes_.erase(place); later != nodes_.end(); ++later) {
    --nodeaccess::Of(**later).index;
  }
  nodeaccess::Of(*node).owner = nullptr;
  for (cnode* other : nodes_) {
    if (other->GetType() == kNodeSkin) {
      ForgetJoint(static_cast<cskin*>(other)->Skin(), node);
    }
  }
  ForgetPoses();
}

void scene::Forget(cmaterial* material) {
  std::erase(materials_, material);
  material->State().owner = nullptr;
  for (cnode* node : nodes_) {
    if (node->GetMaterial() == material) {
      node->SetMaterial(nullptr);
    }
  }
}

}  // namespace core
