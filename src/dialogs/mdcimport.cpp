// Dialog 102: the one frame of an mdc model to import.

#include "desktop/currentdesktop.h"
#include "dialogs/fields.h"
#include "dialogs/options.h"
#include "dialogs/templates.h"
#include "plugin/host/scene.h"

namespace {

constexpr int kNumFramesField = 1008;
constexpr int kFrameField = 1009;

int optnumframes;
int optframe;

class mdcimportrules final : public cdialogrules {
 public:
  void OnInit(cdialogwindow& window) override {
    WriteNumber(window, kNumFramesField, optnumframes);
    window.SetText(kFrameField, "0");
  }

  void OnCommand(cdialogwindow& window, int id) override {
    if (id == kDialogOk) {
      optframe = ReadNumber(window, kFrameField);
      if (optframe < 0) {
        optframe = 0;
      }
      if (optframe >= optnumframes) {
        optframe = optnumframes - 1;
      }
      window.End(1);
    } else if (id == kDialogCancel) {
      window.End(0);
    }
  }
};

mdcimportrules rules;

}  // namespace

int ShowMDCImportOptions(int numframes, int* frame) {
  optnumframes = numframes;
  if (CurrentDesktop().RunDialog(MdcImportDialog(), rules, Interface::GetMainHWND()) != 1) {
    return 0;
  }
  *frame = optframe;
  return 1;
}
