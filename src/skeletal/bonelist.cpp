#include "skeletal/bonelist.h"

#include "sampling/names.h"

bonelist::bonelist(tagbones choice, culongarray& hierarchy) {
  Interface::GetNodesHierarchy(hierarchy);
  const int numNodes = Interface::NumNodes();
  for (int i = 0; i < numNodes; ++i) {
    cnode* node = Interface::GetNodeAt(static_cast<int>(hierarchy[i]));
    if (node->GetType() != kNodeBone) {
      continue;
    }
    if (choice == tagbones::Apart && IsTagName(node->GetName())) {
      tags_.push_back(node);
      continue;
    }
    if ((node->GetFlags() & kNodeFlagNoBone) == 0) {
      numbers_.emplace(node, static_cast<int>(bones_.size()));
    }
    bones_.push_back(node);
  }
  if (bones_.empty()) {
    tags_.clear();
  }
}

std::vector<std::string> bonelist::Names() const {
  std::vector<std::string> names;
  names.reserve(bones_.size());
  for (cnode* bone : bones_) {
    names.emplace_back(bone->GetName());
  }
  return names;
}

int bonelist::GetBoneIndex(const cnode* node) const {
  const auto place = numbers_.find(node);
  return place == numbers_.end() ? -1 : place->second;
}

void CollectBones(const bonelist& list, const std::vector<cnode*>& nodes,
                  std::vector<expbone>& Bones, const allocationname& name) {
  AllocateNamed(Bones, nodes.size(), name);
  for (std::size_t b = 0; b < nodes.size(); ++b) {
    cnode* node = nodes[b];
    skelBoneInfo& info = Bones[b].info;
    Bones[b].node = node;
    SetName(info.name, node->GetName());
    info.parent = list.GetBoneIndex(node->GetParent());
    info.flags = IsTagName(node->GetName()) ? 1 : 0;
  }
}
