#pragma once

// What the module needs of a desktop's dialogs. A dialog is a table of controls (its template)
// and rules that work on the open window through cdialogwindow. The same rules run behind a real
// window and behind a scripted one.

#include <cstddef>

enum class ccontrolkind {
  Button,
  DefaultButton,
  CheckBox,
  Edit,
  NumberEdit,  // digits only
  ReadOnlyEdit,
  ListBox,       // single selection, no partial rows, not sorted
  MultiListBox,  // extended selection, no partial rows, not sorted
  Label,
  GroupBox,
  ProgressBar,
};

// Position and size are in dialog units.
struct cdialogcontrol {
  ccontrolkind kind;
  int id;  // -1: none
  const char* text;
  int x, y, width, height;
};

struct cdialogtemplate {
  int id;  // the resource's number
  const char* caption;
  int width, height;
  bool toolWindow;  // a modeless window without a system menu: the progress window
  const cdialogcontrol* controls;
  std::size_t numControls;
  // Where the module keeps its instance handle, in whose resources the dialog is found.
  void* const* module;
};

// Ids of the two standard commands.
inline constexpr int kDialogOk = 1;
inline constexpr int kDialogCancel = 2;

// An open dialog. Texts are 8-bit and zero-terminated. An operation on an id that the dialog
// does not have does nothing and gives 0 (-1 for a list's selection).
class cdialogwindow {
 public:
  virtual void SetCaption(const char* text) = 0;
  virtual void SetText(int id, const char* text) = 0;
  // The control's first line, at most size - 1 characters and a zero; gives their number.
  virtual int GetLine(int id, char* buffer, int size) = 0;
  virtual void SetCheck(int id, bool checked) = 0;
  virtual bool GetCheck(int id) = 0;
  virtual void Enable(int id, bool enabled) = 0;
  virtual void AddRow(int id, const char* text) = 0;
  // Single selection: the index of the selected row, -1 for none.
  virtual void SelectRow(int id, int row) = 0;
  virtual int SelectedRow(int id) = 0;
  // Extended selection.
  virtual void SelectRows(int id, int first, int last, bool selected) = 0;
  virtual bool IsRowSelected(int id, int row) = 0;
  // Range keeps the low 16 bits of high; the bar runs from 0 to it.
  virtual void SetBarRange(int id, int high) = 0;
  virtual void SetBarPosition(int id, int position) = 0;
  virtual void SetFocus() = 0;
  // Ends a modal dialog with the result.
  virtual void End(int result) = 0;

 protected:
  ~cdialogwindow() = default;
};

// The rules of one dialog.
class cdialogrules {
 public:
  // The window has been created and shows its template.
  virtual void OnInit(cdialogwindow& window) = 0;
  // The user pressed a button, clicked a check box, or gave OK or Cancel.
  virtual void OnCommand(cdialogwindow& window, int id) = 0;

 protected:
  ~cdialogrules() = default;
};
