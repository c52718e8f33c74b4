#pragma once

#include <map>
#include <string>
#include <vector>

#include "plugin/host/api.h"
#include "plugin/platform/dialogs.h"

// An open dialog in memory: what the rules set is what it holds. The host's library and the module
// have one each.
class CORE_API memorywindow : public cdialogwindow {
 public:
  memorywindow(const cdialogtemplate& dialog, cdialogrules& rules);
  virtual ~memorywindow() = default;

  const cdialogtemplate& Template() const { return *template_; }
  const std::string& Caption() const { return caption_; }
  std::string Text(int id) const;
  bool Checked(int id) const;
  bool Enabled(int id) const;
  std::vector<std::string> Rows(int id) const;
  int BarHigh() const { return barHigh_; }
  int BarPosition() const { return barPosition_; }
  bool HasFocus() const { return focus_; }
  bool Ended() const { return ended_; }
  int Result() const { return result_; }

  // The rules' side.
  void SetCaption(const char* text) override;
  void SetText(int id, const char* text) override;
  int GetLine(int id, char* buffer, int size) override;
  void SetCheck(int id, bool checked) override;
  bool GetCheck(int id) override { return Checked(id); }
  void Enable(int id, bool enabled) override;
  void AddRow(int id, const char* text) override;
  void SelectRow(int id, int row) override;
  int SelectedRow(int id) override;
  void SelectRows(int id, int first, int last, bool selected) override;
  bool IsRowSelected(int id, int row) override;
  void SetBarRange(int id, int high) override;
  void SetBarPosition(int id, int position) override;
  void SetFocus() override { focus_ = true; }
  void End(int result) override;

 protected:
  struct listrow {
    std::string text;
    bool selected = false;
  };
  struct control {
    ccontrolkind kind;
    std::string text;
    bool checked = false;
    bool enabled = true;
    std::vector<listrow> rows;
  };

  control* Find(int id);
  const control* Find(int id) const;
  // The progress bar or the text of a control has changed.
  virtual void Changed() {}

  cdialogrules& Rules() { return *rules_; }

 private:
  const cdialogtemplate* template_;
  cdialogrules* rules_;
  std::string caption_;
  std::map<int, control> controls_;
  int barHigh_ = 0;
  int barPosition_ = 0;
  bool focus_ = false;
  bool ended_ = false;
  int result_ = 0;
};
