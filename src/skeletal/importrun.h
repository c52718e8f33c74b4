#pragma once

#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "binary/namefield.h"
#include "plugin/host/scene.h"
#include "plugin/run/allocation.h"
#include "plugin/run/owned.h"
#include "plugin/run/progress.h"
#include "sidefiles/filelist.h"
#include "sidefiles/materials.h"
#include "sidefiles/sequences.h"
#include "sidefiles/skinfile.h"
#include "skeletal/pose.h"

// What tells the importers of skeletal models apart, beside their files.
struct importformat {
  const char* source;  // the importer's name for the host's assertion
  const char* game;    // as the notes name it
  const char* title;   // of the options dialog
  skinform form;
};

// The steps of an import that belong to the importer, as the run calls them.
struct importsteps {
  std::function<void(const char* path)> loadSkinFile;
  std::function<void()> addModelNote;
  // Behind the bones; none where tags are bones of the list.
  std::function<void()> createTags;
  std::function<void(unsigned long frame)> calcBoneFrame;
  std::function<void()> createSurfMaterials;
  std::function<cmaterial*(const char* surface)> findMatBySurface;
};

// The data of an import of a skeletal model and what the formats share of it. An importer's run
// object has one: it begins it, loads the side files, asks for the options and runs the steps. Its
// destruction releases the tables.
class cskelimport {
 public:
  // The window is the run's and outlives this object.
  cskelimport(const importformat& format, cprogress& progress)
      : format_(&format), progress_(&progress) {}

  // Directories and tables. Both views outlive this object.
  void Begin(const char* path, const skelrig& rig, const skelmesh& mesh);

  // The .skin files of the model's directory.
  void CacheSkinFiles();

  // From the options dialog to the scene's range; the result is that of the run.
  int Run(const importsteps& steps);

  bool LoadSkinFile(const char* path);
  // What the headers say, whatever that is: that of the surfaces and that of the skeleton.
  template <class Header, class RigHeader>
  void AddModelNote(const Header& header, const RigHeader& rig) const;
  // A bone that hangs from a bone of the list, or from nothing where the index leads outside it.
  ownednode<cbone> CreateBone(const char* name, std::int32_t parent,
                              const allocationname& assertion) const;
  void CreateSurfMaterials();
  cmaterial* FindMatBySurface(const char* surface) const {
    return surfmats_.FindMatBySurface(surface);
  }

  canimsequences& Sequences() { return animsequence_; }
  const std::string& Modeldir() const { return modeldir_; }
  // One entry for each bone of the list.
  std::vector<cimpbone>& Poses() { return pBone_; }

 private:
  bool AskOptions();
  // Whether the user's choice needs the pose of the file's first frame.
  bool AsksForFirstFrame() const;
  int NumSelected() const;
  void CreateBones();
  // The keys of the frames that the user's choice of sequences asks for.
  void CreateKeys(const importsteps& steps);
  void SetSingleKeys(const importsteps& steps);
  void SetAllKeys(const importsteps& steps);
  void SetSequenceKeys(const importsteps& steps);
  // A key a bone; `room`, where above 0, is given to each track before its key.
  void SetBoneKeys(int frame, int room);

  // A mesh for each surface in the pose that was computed last and, with bones, a skin from it.
  void CreateSurfaces(const importsteps& steps);
  void CreateSurface(const skelsurfentry& entry, const importsteps& steps);
  void FillMesh(cmesh& mesh, const skelsurfentry& entry) const;
  void SetWeights(cskin& skin, const skelsurfentry& entry);
  const cmatrix4& FromWorldRotation(std::size_t bone);
  void SetSceneRange() const;

  const importformat* format_;
  const skelrig* rig_ = nullptr;
  const skelmesh* mesh_ = nullptr;

  std::string modeldir_;
  std::string gamedir_;
  cfilelist skinfiles_;
  canimsequences animsequence_{format_->source};
  csurfmats surfmats_;
  cmaterials materials_{format_->source};
  std::vector<cimpbone> pBone_;
  // For each bone that a surface was bound to, the inverse of its world rotation in the scene's
  // frame 0; the flags say which are known.
  std::vector<cmatrix4> fromWorldRotation_;
  std::vector<bool> knownRotation_;

  int importMeshes_ = 1;
  int importBones_ = 1;
  int importMaterials_ = 1;
  int importAnimation_ = 1;
  int skinChoice_ = -1;
  int animEnd_ = 100;
  cprogress* progress_;
};

template <class Header, class RigHeader>
void cskelimport::AddModelNote(const Header& header, const RigHeader& rig) const {
  const std::string ident(header.ident.data(), header.ident.size());
  char text[1024];
  const int length = std::snprintf(
      text, sizeof text,
      "%s Model: %s\nident:        %s\nversion:      %d\nlodScale:     %f\nlodBias:      %f\n"
      "Num Frames:   %d\nNum Bones:    %d\nNum Surfaces: %d\nNum Tags:     %d\n\n",
      format_->game, NameText(header.name).data(), ident.c_str(), std::int32_t{header.version},
      double{header.lodScale}, double{header.lodBias}, std::int32_t{rig.numFrames},
      std::int32_t{rig.numBones}, std::int32_t{header.numSurfaces}, std::int32_t{header.numTags});
  Interface::AddNotes(text, length);
}
