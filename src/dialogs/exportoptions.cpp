// Dialogs 103 and 105: what stands before an export.

#include <cstdio>
#include <initializer_list>

#include "desktop/currentdesktop.h"
#include "dialogs/fields.h"
#include "dialogs/options.h"
#include "dialogs/templates.h"
#include "plugin/host/scene.h"

namespace {

char pickedname[kFieldSize];
int optstart;
int optend;
int enablemodels = 1;
int enablemdx = 1;
// These two keep their state for as long as the module stays loaded.
int optusemodels = 1;
int optexportmdx = 1;

int PickFilter(cnode* node) { return static_cast<int>(node != nullptr); }

void PickOrigin(cnode* node) {
  if (node != nullptr) {
    std::snprintf(pickedname, sizeof pickedname, "%s", node->GetName());
  }
}

// What the two dialogs have in common, with each one's controls and caption.
class exportrules : public cdialogrules {
 public:
  struct controls {
    int start;
    int end;
    int origin;
    int select;
    const char* message;  // caption of the message box
  };

  explicit exportrules(const controls& ids) : ids_(ids) {}

  void OnInit(cdialogwindow& window) override {
    WriteNumber(window, ids_.start, optstart);
    WriteNumber(window, ids_.end, optend);
    window.SetText(ids_.origin, "");
    InitChoice(window);
  }

  void OnCommand(cdialogwindow& window, int id) override {
    if (id == kDialogOk) {
      Accept(window);
    } else if (id == kDialogCancel) {
      window.End(0);
    } else if (id == ids_.select) {
      Select(window);
    } else {
      ChoiceClicked(window, id);
    }
  }

 protected:
  ~exportrules() = default;
  const controls& Ids() const { return ids_; }

  virtual void InitChoice(cdialogwindow& window) = 0;
  virtual void ChoiceClicked(cdialogwindow& window, int id) = 0;
  virtual void AcceptChoice(cdialogwindow& window) = 0;

 private:
  void Select(cdialogwindow& window) {
    constexpr unsigned kFirst = 0;
    constexpr unsigned kSecond = 63;
    char title[] = "Select Origin Object";
    char button[] = "Select";
    if (Interface::PickFromList(kFirst, kSecond, title, button, PickFilter, PickOrigin) != 0) {
      window.SetText(ids_.origin, pickedname);
    }
    window.SetFocus();
  }

  void Accept(cdialogwindow& window) {
    optstart = NotNegative(ReadNumber(window, ids_.start));
    optend = NotNegative(ReadNumber(window, ids_.end));
    if (optstart > optend) {
      CurrentDesktop().ShowMessage("Start Frame must not be greater than End Frame!", ids_.message,
                                   kMessageExclamation);
      return;
    }
    pickedname[0] = '\0';
    window.GetLine(ids_.origin, pickedname, kFieldSize);
    AcceptChoice(window);
    window.End(1);
  }

  static int NotNegative(int number) { return number < 0 ? 0 : number; }

  controls ids_;
};

class mdcmdsrules final : public exportrules {
 public:
  mdcmdsrules() : exportrules({1010, 1011, 1015, 1016, "Export MDC/MDS"}) {}

 protected:
  void InitChoice(cdialogwindow& window) override {
    if (enablemodels == 0) {
      window.Enable(kUseModels, false);
    } else {
      window.SetCheck(kUseModels, optusemodels != 0);
    }
  }
  void ChoiceClicked(cdialogwindow& /*window*/, int /*id*/) override {}
  void AcceptChoice(cdialogwindow& window) override {
    if (enablemodels != 0) {
      optusemodels = static_cast<int>(window.GetCheck(kUseModels));
    }
  }

 private:
  static constexpr int kUseModels = 1012;
};

class mdmmdxrules final : public exportrules {
 public:
  mdmmdxrules() : exportrules({1020, 1021, 1018, 1019, "Export MDM/MDX"}) {}

 protected:
  void InitChoice(cdialogwindow& window) override {
    if (enablemdx == 0) {
      window.SetCheck(kExportMdx, true);
      window.Enable(kExportMdx, false);
      return;
    }
    window.SetCheck(kExportMdx, optexportmdx != 0);
    if (optexportmdx == 0) {
      EnableFields(window, false);
    }
  }
  void ChoiceClicked(cdialogwindow& window, int id) override {
    if (id == kExportMdx) {
      EnableFields(window, window.GetCheck(kExportMdx));
    }
  }
  void AcceptChoice(cdialogwindow& window) override {
    optexportmdx = static_cast<int>(window.GetCheck(kExportMdx));
  }

 private:
  static constexpr int kExportMdx = 1023;

  void EnableFields(cdialogwindow& window, bool enabled) {
    for (const int id : {Ids().start, Ids().end, Ids().origin, Ids().select}) {
      window.Enable(id, enabled);
    }
  }
};

mdcmdsrules mdcMdsRules;
mdmmdxrules mdmMdxRules;

// Runs a dialog over the fields above and hands back what both dialogs have.
bool RunExportDialog(const cdialogtemplate& dialog, cdialogrules& rules, int* start, int* end,
                     char* origin) {
  pickedname[0] = '\0';
  origin[0] = '\0';
  optstart = *start;
  optend = *end;
  if (CurrentDesktop().RunDialog(dialog, rules, Interface::GetMainHWND()) != 1) {
    return false;
  }
  *start = optstart;
  *end = optend;
  std::snprintf(origin, kFieldSize, "%s", pickedname);
  return true;
}

}  // namespace

int ShowExportOptions(int* start, int* end, int* usemodels, char* origin, int enable) {
  enablemodels = enable;
  if (!RunExportDialog(MdcMdsExportDialog(), mdcMdsRules, start, end, origin)) {
    return 0;
  }
  *usemodels = optusemodels;
  return 1;
}

int ShowMDXExportOptions(int* start, int* end, char* origin, int* exportmdx, int enable) {
  enablemdx = enable;
  if (!RunExportDialog(MdmMdxExportDialog(), mdmMdxRules, start, end, origin)) {
    return 0;
  }
  *exportmdx = optexportmdx;
  return 1;
}
