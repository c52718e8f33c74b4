#include <algorithm>
#include <cstdint>
#include <cstring>

#include "desktop/scripted.h"

namespace desktop {

namespace {

bool IsEdit(ccontrolkind kind) {
  return kind == ccontrolkind::Edit || kind == ccontrolkind::NumberEdit;
}

bool IsButton(ccontrolkind kind) {
  return kind == ccontrolkind::Button || kind == ccontrolkind::DefaultButton ||
         kind == ccontrolkind::CheckBox;
}

bool IsList(ccontrolkind kind) {
  return kind == ccontrolkind::ListBox || kind == ccontrolkind::MultiListBox;
}

}  // namespace

scriptedwindow::scriptedwindow(const cdialogtemplate& dialog, cdialogrules& rules)
    : template_(&dialog), rules_(&rules), caption_(dialog.caption) {
  for (std::size_t i = 0; i < dialog.numControls; ++i) {
    const cdialogcontrol& item = dialog.controls[i];
    if (item.id >= 0) {
      controls_[item.id] = {item.kind, item.text, false, true, {}};
    }
  }
  rules.OnInit(*this);
}

scriptedwindow::control* scriptedwindow::Find(int id) {
  const auto found = controls_.find(id);
  return found == controls_.end() ? nullptr : &found->second;
}

const scriptedwindow::control* scriptedwindow::Find(int id) const {
  const auto found = controls_.find(id);
  return found == controls_.end() ? nullptr : &found->second;
}

bool scriptedwindow::Type(int id, const std::string& text) {
  control* edit = Find(id);
  if (edit == nullptr || !edit->enabled || !IsEdit(edit->kind)) {
    return false;
  }
  edit->text = text;
  if (edit->kind == ccontrolkind::NumberEdit) {
    std::erase_if(edit->text, [](char letter) { return letter < '0' || letter > '9'; });
  }
  return true;
}

bool scriptedwindow::Click(int id) {
  control* button = Find(id);
  if (button == nullptr || !button->enabled || !IsButton(button->kind) || ended_) {
    return false;
  }
  if (button->kind == ccontrolkind::CheckBox) {
    button->checked = !button->checked;
  }
  rules_->OnCommand(*this, id);
  return true;
}

bool scriptedwindow::PickRow(int id, int row) {
  const control* list = Find(id);
  if (list == nullptr || !list->enabled) {
    return false;
  }
  SelectRow(id, row);
  return SelectedRow(id) == row;
}

bool scriptedwindow::PickRows(int id, const std::vector<int>& rows) {
  const control* list = Find(id);
  if (list == nullptr || !list->enabled || list->kind != ccontrolkind::MultiListBox) {
    return false;
  }
  SelectRows(id, 0, static_cast<int>(list->rows.size()) - 1, false);
  for (const int row : rows) {
    SelectRows(id, row, row, true);
  }
  return true;
}

std::string scriptedwindow::Text(int id) const {
  const control* item = Find(id);
  return item != nullptr ? item->text : std::string();
}

bool scriptedwindow::Checked(int id) const {
  const control* box = Find(id);
  return box != nullptr && box->checked;
}

bool scriptedwindow::Enabled(int id) const {
  const control* item = Find(id);
  return item != nullptr && item->enabled;
}

std::vector<std::string> scriptedwindow::Rows(int id) const {
  std::vector<std::string> texts;
  if (const control* list = Find(id); list != nullptr) {
    for (const listrow& entry : list->rows) {
      texts.push_back(entry.text);
    }
  }
  return texts;
}

void scriptedwindow::SetCaption(const char* text) { caption_ = text; }

void scriptedwindow::SetText(int id, const char* text) {
  if (control* item = Find(id); item != nullptr) {
    item->text = text;
    Changed();
  }
}

int scriptedwindow::GetLine(int id, char* buffer, int size) {
  const control* item = Find(id);
  if (item == nullptr || size < 1) {
    return 0;
  }
  const std::size_t length = std::min(
      {item->text.size(), item->text.find_first_of("\r\n"), static_cast<std::size_t>(size) - 1});
  std::memcpy(buffer, item->text.data(), length);
  buffer[length] = '\0';
  return static_cast<int>(length);
}

void scriptedwindow::SetCheck(int id, bool checked) {
  if (control* box = Find(id); box != nullptr) {
    box->checked = checked;
  }
}

void scriptedwindow::Enable(int id, bool enabled) {
  if (control* item = Find(id); item != nullptr) {
    item->enabled = enabled;
  }
}

void scriptedwindow::AddRow(int id, const char* text) {
  if (control* list = Find(id); list != nullptr && IsList(list->kind)) {
    list->rows.push_back({text, false});
  }
}

void scriptedwindow::SelectRow(int id, int row) {
  if (control* list = Find(id); list != nullptr) {
    for (std::size_t i = 0; i < list->rows.size(); ++i) {
      list->rows[i].selected = static_cast<int>(i) == row;
    }
  }
}

int scriptedwindow::SelectedRow(int id) {
  if (const control* list = Find(id); list != nullptr) {
    const auto selected =
        std::ranges::find_if(list->rows, [](const listrow& entry) { return entry.selected; });
    if (selected != list->rows.end()) {
      return static_cast<int>(selected - list->rows.begin());
    }
  }
  return -1;
}

void scriptedwindow::SelectRows(int id, int first, int last, bool selected) {
  if (control* list = Find(id); list != nullptr) {
    const int end = std::min(last, static_cast<int>(list->rows.size()) - 1);
    for (int i = std::max(first, 0); i <= end; ++i) {
      list->rows[static_cast<std::size_t>(i)].selected = selected;
    }
  }
}

bool scriptedwindow::IsRowSelected(int id, int row) {
  const control* list = Find(id);
  return list != nullptr && row >= 0 && static_cast<std::size_t>(row) < list->rows.size() &&
         list->rows[static_cast<std::size_t>(row)].selected;
}

void scriptedwindow::SetBarRange(int id, int high) {
  if (Find(id) != nullptr) {
    barHigh_ = static_cast<std::uint16_t>(high);
  }
}

void scriptedwindow::SetBarPosition(int id, int position) {
  if (Find(id) != nullptr) {
    barPosition_ = position;
    Changed();
  }
}

void scriptedwindow::End(int result) {
  ended_ = true;
  result_ = result;
}

void scriptedwindow::Changed() {
  if (onChange) {
    onChange(*this);
  }
}

}  // namespace desktop
