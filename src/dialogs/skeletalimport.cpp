// Dialog 101: what to import of a skeletal model.

#include <cstdio>

#include "desktop/currentdesktop.h"
#include "dialogs/options.h"
#include "dialogs/templates.h"
#include "plugin/host/scene.h"

namespace {

constexpr int kSequences = 1000;
constexpr int kMeshes = 1001;
constexpr int kBones = 1002;
constexpr int kMaterials = 1003;
constexpr int kAnimation = 1004;
constexpr int kAll = 1005;
constexpr int kNone = 1006;
constexpr int kSkins = 1007;

const char* opttitle;
int optmeshes;
int optbones;
int optmaterials;
int optanimation;
animseq** optseqs;
int optnumseqs;
char** optskins;
int optnumskins;
int optskinchoice;

class skeletalimportrules final : public cdialogrules {
 public:
  void OnInit(cdialogwindow& window) override {
    if (opttitle != nullptr) {
      window.SetCaption(opttitle);
    }
    window.SetCheck(kMeshes, optmeshes != 0);
    window.SetCheck(kMaterials, optmaterials != 0);
    window.SetCheck(kBones, optbones != 0);
    window.SetCheck(kAnimation, optanimation != 0);
    for (int i = 0; i < optnumseqs; ++i) {
      animseq& sequence = *optseqs[i];
      sequence.selected = false;
      char row[sizeof sequence.name + 64];
      std::snprintf(row, sizeof row, "%s    %d    %d", sequence.name, sequence.startframe,
                    sequence.numframes);
      window.AddRow(kSequences, row);
    }
    for (int i = 0; i < optnumskins; ++i) {
      window.AddRow(kSkins, optskins[i]);
    }
    window.SelectRow(kSkins, 0);
  }

  void OnCommand(cdialogwindow& window, int id) override {
    switch (id) {
      case kMeshes:
        optmeshes = Checked(window, kMeshes);
        break;
      case kBones:
        optbones = Checked(window, kBones);
        window.Enable(kAnimation, optbones != 0);
        window.Enable(kSequences, optbones != 0 && optanimation != 0);
        break;
      case kMaterials:
        optmaterials = Checked(window, kMaterials);
        window.Enable(kSkins, optmaterials != 0);
        break;
      case kAnimation:
        optanimation = Checked(window, kAnimation);
        window.Enable(kSequences, optanimation != 0);
        break;
      case kAll:
      case kNone:
        if (optnumseqs > 0) {
          window.SelectRows(kSequences, 0, optnumseqs - 1, id == kAll);
        }
        break;
      case kDialogOk:
        for (int i = 0; i < optnumseqs; ++i) {
          optseqs[i]->selected = window.IsRowSelected(kSequences, i);
        }
        optskinchoice = window.SelectedRow(kSkins);
        window.End(1);
        break;
      case kDialogCancel:
        window.End(0);
        break;
      default:
        break;
    }
  }

 private:
  static int Checked(cdialogwindow& window, int id) {
    return static_cast<int>(window.GetCheck(id));
  }
};

skeletalimportrules rules;

}  // namespace

int ShowImportOptions(const char* title, int* meshes, int* materials, int* bones, int* animation,
                      animseq** sequences, int numsequences, char** skins, int numskins,
                      int* skinchoice) {
  opttitle = title;
  optmeshes = optbones = optmaterials = optanimation = 1;
  optseqs = sequences;
  optnumseqs = numsequences;
  optskins = skins;
  optnumskins = numskins;
  optskinchoice = -1;
  if (CurrentDesktop().RunDialog(SkeletalImportDialog(), rules, Interface::GetMainHWND()) != 1) {
    return 0;
  }
  *meshes = optmeshes;
  *materials = optmaterials;
  *bones = optbones;
  *animation = optanimation;
  *skinchoice = optskinchoice;
  return 1;
}
