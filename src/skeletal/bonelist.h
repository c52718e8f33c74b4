#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "binary/namefield.h"
#include "plugin/run/allocation.h"
#include "skeletal/records.h"

class cnode;
class culongarray;

// Where a format has the bone nodes that are tags.
enum class tagbones {
  Listed,  // in the bone list among the others (mds)
  Apart,   // in a list of their own (mdm, mdx)
};

// The bones of the current scene as a model file numbers them: parents before their children. Made
// once for a run; the nodes belong to the scene.
class bonelist {
 public:
  // hierarchy: filled with the scene's nodes in their order.
  bonelist(tagbones choice, culongarray& hierarchy);

  const std::vector<cnode*>& Bones() const { return bones_; }
  std::vector<std::string> Names() const;  // of the bones
  // The tag bones that stand apart; none where there is no bone.
  const std::vector<cnode*>& Tags() const { return tags_; }

  // The node's number; -1 for null, for a node that is not in the list of bones and for one that
  // the host's flags take out of it, which keeps its number among the others for all that.
  int GetBoneIndex(const cnode* node) const;

 private:
  std::vector<cnode*> bones_;
  std::vector<cnode*> tags_;
  std::unordered_map<const cnode*, int> numbers_;
};

// A bone as it goes to a file, with its node.
struct expbone {
  skelBoneInfo info{};
  cnode* node = nullptr;
};

// Gives `Bones` an entry for each of the nodes, with name, parent and flags.
void CollectBones(const bonelist& list, const std::vector<cnode*>& nodes,
                  std::vector<expbone>& Bones, const allocationname& name);
