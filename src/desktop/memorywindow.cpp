#include "desktop/memorywindow.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

bool IsList(ccontrolkind kind) {
  return kind == ccontrolkind::ListBox || kind == ccontrolkind::MultiListBox;
}

}  // namespace

memorywindow::memorywindow(const cdialogtemplate& dialog, cdialogrules& rules)
    : template_(&dialog), rules_(&rules), caption_(dialog.caption) {
  for (std::size_t i = 0; i < dialog.numControls; ++i) {
    const cdialogcontrol& item = dialog.controls[i];
    if (item.id >= 0) {
      controls_[item.id] = {item.kind, item.text, false, true, {}};
    }
  }
  rules.OnInit(*this);
}

memorywindow::control* memorywindow::Find(int id) {
  const auto found = controls_.find(id);
  return found == controls_.end() ? nullptr : &found->second;
}

const memorywindow::control* memorywindow::Find(int id) const {
  const auto found = controls_.find(id);
  return found == controls_.end() ? nullptr : &found->second;
}

std::string memorywindow::Text(int id) const {
  const control* item = Find(id);
  return item != nullptr ? item->text : std::string();
}

bool memorywindow::Checked(int id) const {
  const control* box = Find(id);
  return box != nullptr && box->checked;
}

bool memorywindow::Enabled(int id) const {
  const control* item = Find(id);
  return item != nullptr && item->enabled;
}

std::vector<std::string> memorywindow::Rows(int id) const {
  std::vector<std::string> texts;
  if (const control* list = Find(id); list != nullptr) {
    for (const listrow& entry : list->rows) {
      texts.push_back(entry.text);
    }
  }
  return texts;
}

void memorywindow::SetCaption(const char* text) { caption_ = text; }

void memorywindow::SetText(int id, const char* text) {
  if (control* item = Find(id); item != nullptr) {
    item->text = text;
    Changed();
  }
}

int memorywindow::GetLine(int id, char* buffer, int size) {
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

void memorywindow::SetCheck(int id, bool checked) {
  if (control* box = Find(id); box != nullptr) {
    box->checked = checked;
  }
}

void memorywindow::Enable(int id, bool enabled) {
  if (control* item = Find(id); item != nullptr) {
    item->enabled = enabled;
  }
}

void memorywindow::AddRow(int id, const char* text) {
  if (control* list = Find(id); list != nullptr && IsList(list->kind)) {
    list->rows.push_back({text, false});
  }
}

void memorywindow::SelectRow(int id, int row) {
  if (control* list = Find(id); list != nullptr) {
    for (std::size_t i = 0; i < list->rows.size(); ++i) {
      list->rows[i].selected = static_cast<int>(i) == row;
    }
  }
}

int memorywindow::SelectedRow(int id) {
  if (const control* list = Find(id); list != nullptr) {
    const auto selected =
        std::ranges::find_if(list->rows, [](const listrow& entry) { return entry.selected; });
    if (selected != list->rows.end()) {
      return static_cast<int>(selected - list->rows.begin());
    }
  }
  return -1;
}

void memorywindow::SelectRows(int id, int first, int last, bool selected) {
  if (control* list = Find(id); list != nullptr) {
    const int end = std::min(last, static_cast<int>(list->rows.size()) - 1);
    for (int i = std::max(first, 0); i <= end; ++i) {
      list->rows[static_cast<std::size_t>(i)].selected = selected;
    }
  }
}

bool memorywindow::IsRowSelected(int id, int row) {
  const control* list = Find(id);
  return list != nullptr && row >= 0 && static_cast<std::size_t>(row) < list->rows.size() &&
         list->rows[static_cast<std::size_t>(row)].selected;
}

void memorywindow::SetBarRange(int id, int high) {
  if (Find(id) != nullptr) {
    barHigh_ = static_cast<std::uint16_t>(high);
  }
}

void memorywindow::SetBarPosition(int id, int position) {
  if (Find(id) != nullptr) {
    barPosition_ = position;
    Changed();
  }
}

void memorywindow::End(int result) {
  ended_ = true;
  result_ = result;
}
