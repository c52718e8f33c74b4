#include <algorithm>
#include <utility>

#include "core/changes.h"
#include "core/nodeaccess.h"
#include "core/pose.h"
#include "core/scene.h"
#include "core/state.h"
#include "core/track.h"

namespace {

bool IsAncestor(const cnode* node, const cnode* of) {
  while (of != nullptr && of != node) {
    of = of->State().parent;
  }
  return of == node;
}

}  // namespace

cnode::cnode(int type) : state_(new core::nodestate) { state_->type = type; }

cnode::~cnode() {
  if (state_->owner != nullptr) {
    state_->owner->Forget(this);
  }
  if (state_->parent != nullptr) {
    std::erase(core::nodeaccess::Of(*state_->parent).children, this);
  }
  for (cnode* child : state_->children) {
    core::nodeaccess::Of(*child).parent = nullptr;
  }
  core::ForgetPoses();
  delete state_;
}

// Every kind of node that is made destroys itself; there is no plain node.
void cnode::Destroy() {}

void cnode::SetName(const char* name) { state_->name = name == nullptr ? "" : name; }
const char* cnode::GetName() { return state_->name.c_str(); }
int cnode::GetType() { return state_->type; }
int cnode::GetFlags() { return state_->flags; }

// A node without a shape is a point.
int cnode::GetBBoxAtFrame(int /*frame*/, cpoint3& minimum, cpoint3& maximum) {
  minimum = cpoint3();
  maximum = cpoint3();
  return 0;
}

cnode* cnode::GetParent() { return state_->parent; }

int cnode::AttachChild(cnode* child, int /*mode*/) {
  if (child == nullptr || child == this) {
    return 0;
  }
  core::nodestate& below = core::nodeaccess::Of(*child);
  if (below.parent == this) {
    return 1;
  }
  if (!below.children.empty() && IsAncestor(child, this)) {
    return 0;
  }
  state_->children.push_back(child);
  if (below.parent != nullptr) {
    std::erase(core::nodeaccess::Of(*below.parent).children, child);
  }
  below.parent = this;
  core::ForgetPoses();
  return 1;
}

void cnode::SetMaterial(cmaterial* material) { state_->material = material; }
cmaterial* cnode::GetMaterial() { return state_->material; }

cpoint3 cnode::GetPosAtFrame(int frame) {
  return core::ToPoint(core::WorldAtFrame(*this, frame).translation);
}

cquat cnode::GetRotAtFrame(int frame) {
  return core::ToQuat(core::RotationOf(core::WorldAtFrame(*this, frame)));
}

cmatrix4 cnode::GetTMAtFrame(int frame, int mask) {
  const core::affine world = core::WorldAtFrame(*this, frame);
  return core::ToMatrix(mask == kRotationOnly ? core::RotationOf(world) : world);
}

void cnode::UpdateAnim() {
  core::SortKeys(core::nodeaccess::Of(*state_->track));
  core::ForgetPoses();
}

cbone::cbone() : cnode(kNodeBone) { StateOf(*this).track = &anim; }

core::cdummy::cdummy() : cnode(kNodeDummy) { nodeaccess::MakeTrack(*this); }
void core::cdummy::Destroy() { delete this; }

namespace core {

void SetKeys(cnode& node, std::vector<ckey> keys) {
  nodeaccess::Of(*nodeaccess::Of(node).track).keys = std::move(keys);
  node.UpdateAnim();
}

void SetStretches(cnode& node, std::vector<affine> stretches) {
  nodeaccess::Of(node).stretches = std::move(stretches);
  ForgetPoses();
}

void SetFlags(cnode& node, int flags) { nodeaccess::Of(node).flags = flags; }

void MakeDummy(cnode& bone) { nodeaccess::Of(bone).type = kNodeDummy; }

}  // namespace core
