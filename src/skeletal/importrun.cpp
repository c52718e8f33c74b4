#include "skeletal/importrun.h"

#include "dialogs/options.h"
#include "plugin/host/handlers.h"
#include "sidefiles/directories.h"

namespace {

constexpr int kTicksPerFrame = 50;

}  // namespace

void cskelimport::Begin(const char* path, const skelrig& rig, const skelmesh& mesh) {
  rig_ = &rig;
  mesh_ = &mesh;
  modeldir_ = ModelDirectory(path);
  gamedir_ = GameDirectory(path);
  pBone_.resize(static_cast<std::size_t>(rig.numBones));
  surfmats_.Allocate(mesh.surfaces.size());
}

void cskelimport::CacheSkinFiles() {
  ListFiles(kListPlainFiles, (modeldir_ + "*.skin").c_str(), skinfiles_);
}

int cskelimport::Run(const importsteps& steps) {
  if (!AskOptions()) {
    return kRunNothing;
  }
  if (AsksForFirstFrame() && !rig_->HasFirstFrame()) {
    return kRunFailed;
  }
  progress_->Open("Importing - Please wait...");
  if (importMaterials_ != 0 && skinChoice_ >= 0 && skinChoice_ < skinfiles_.Count()) {
    steps.loadSkinFile((modeldir_ + skinfiles_.Names()[skinChoice_]).c_str());
  }
  steps.addModelNote();
  if (importBones_ != 0) {
    CreateBones();
    if (steps.createTags) {
      steps.createTags();
    }
    CreateKeys(steps);
  } else {
    steps.calcBoneFrame(0);
  }
  if (importMaterials_ != 0) {
    steps.createSurfMaterials();
  }
  if (importMeshes_ != 0) {
    CreateSurfaces(steps);
  }
  SetSceneRange();
  return kRunDone;
}

bool cskelimport::AskOptions() {
  return ShowImportOptions(format_->title, &importMeshes_, &importMaterials_, &importBones_,
                           &importAnimation_, animsequence_.Records(), animsequence_.Count(),
                           skinfiles_.Names(), skinfiles_.Count(), &skinChoice_) != 0;
}

bool cskelimport::AsksForFirstFrame() const {
  return importBones_ == 0 || importAnimation_ == 0 || NumSelected() == 0;
}

int cskelimport::NumSelected() const {
  int count = 0;
  for (int i = 0; i < animsequence_.Count(); ++i) {
    count += animsequence_[i].selected ? 1 : 0;
  }
  return count;
}

bool cskelimport::LoadSkinFile(const char* path) {
  return surfmats_.LoadSkinFile(path, format_->form, gamedir_);
}

void cskelimport::CreateBones() {
  progress_->SetRange(rig_->numBones);
  progress_->SetPosition(0);
  progress_->SetText("Creating Bones...\n");
  for (std::size_t ul = 0; ul < pBone_.size(); ++ul) {
    const skelBoneInfo& info = rig_->bones[ul];
    pBone_[ul].bone = HandOver(
        CreateBone(NameText(info.name).data(), info.parent, {"pBone[ul].bone", format_->source}));
  }
}

ownednode<cbone> cskelimport::CreateBone(const char* name, std::int32_t parent,
                                         const allocationname& assertion) const {
  ownednode<cbone> bone(RequireNew(CreateNewBone(), assertion));
  bone->SetName(name);
  if (parent >= 0 && static_cast<std::size_t>(parent) < pBone_.size()) {
    pBone_[static_cast<std::size_t>(parent)].bone->AttachChild(bone.get(), 1);
  }
  return bone;
}

void cskelimport::CreateSurfMaterials() {
  materials_.FindUnused();
  const int nsurfmats = static_cast<int>(surfmats_.Rows().size());
  progress_->SetRange(nsurfmats);
  progress_->SetPosition(0);
  int index = 0;
  for (surfmat& row : surfmats_.Rows()) {
    progress_->SetText("Creating Materials: %d of %d\n", index, nsurfmats);
    progress_->SetPosition(index++);
    row.mat = materials_.Require(row.image);
  }
}

void cskelimport::SetSceneRange() const {
  Interface::SetAnimStart(0);
  Interface::SetAnimEnd(animEnd_);
  Interface::SetAnimTime(0);
  Interface::SetAnimTPF(kTicksPerFrame);
}
