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

}  // namespace

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
  if (button == nullptr || !button->enabled || !IsButton(button->kind) || Ended()) {
    return false;
  }
  if (button->kind == ccontrolkind::CheckBox) {
    button->checked = !button->checked;
  }
  Rules().OnCommand(*this, id);
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

void scriptedwindow::Changed() {
  if (onChange) {
    onChange(*this);
  }
}

}  // namespace desktop
