#include <algorithm>
#include <cstdio>
#include <vector>

#include "command/describe/describe.h"

namespace command {

namespace {

constexpr std::size_t kMostRows = 40;
using textrow = std::vector<std::string>;

std::string ValueText(const description& value) {
  if (value.is_string()) {
    std::string text = value.get<std::string>();
    std::ranges::replace(text, '\n', ' ');
    return text;
  }
  if (value.is_null()) {
    return "-";
  }
  if (value.is_number_float()) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value.get<double>());
    return text;
  }
  if (value.is_array()) {
    std::string text;
    for (const description& entry : value) {
      const std::string one = ValueText(entry);
      text += (text.empty() ? "" : " ") + (entry.is_array() ? "(" + one + ")" : one);
    }
    return text;
  }
  return value.dump();
}

// Columns of UTF-8 text, one for each character.
std::size_t Columns(const std::string& text) {
  return static_cast<std::size_t>(std::ranges::count_if(
      text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }));
}

std::string TableText(const std::vector<textrow>& rows) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const textrow& row : rows) {
    for (std::size_t c = 0; c < row.size(); ++c) {
      widths[c] = std::max(widths[c], Columns(row[c]));
    }
  }
  std::string text;
  for (const textrow& row : rows) {
    std::string line = " ";
    for (std::size_t c = 0; c < row.size(); ++c) {
      line += " " + row[c] + std::string(widths[c] - Columns(row[c]) + 1, ' ');
    }
    text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
  }
  return text;
}

std::string ListText(const std::string& name, const description& list) {
  std::string text = name + ": " + std::to_string(list.size()) + "\n";
  if (list.empty()) {
    return text;
  }
  std::vector<textrow> rows(1, {"#"});
  for (const auto& field : list.front().items()) {
    rows.front().push_back(field.key());
  }
  for (std::size_t i = 0; i < std::min(list.size(), kMostRows); ++i) {
    textrow row{std::to_string(i)};
    for (const description& value : list[i]) {
      row.push_back(ValueText(value));
    }
    rows.push_back(std::move(row));
  }
  text += TableText(rows);
  if (list.size() > kMostRows) {
    text += "  and " + std::to_string(list.size() - kMostRows) + " more (--json lists them all)\n";
  }
  return text;
}

}  // namespace

std::string DescriptionText(const description& whole) {
  std::string fields;
  std::string lists;
  for (const auto& item : whole.items()) {
    if (item.value().is_array()) {
      lists += ListText(item.key(), item.value());
    } else if (item.key() == "notes") {
      const auto& notes = item.value().get_ref<const std::string&>();
      lists += notes.empty() ? "" : "notes:\n" + notes;
    } else {
      fields += item.key() + ": " + ValueText(item.value()) + "\n";
    }
  }
  return fields + lists;
}

}  // namespace command
