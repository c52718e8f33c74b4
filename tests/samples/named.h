#pragma once

#include <string>

// The first node of the name; null when a list has none.
template <class Nodes>
auto NodeNamed(const Nodes& nodes, const std::string& name) {
  for (const auto& node : nodes) {
    if (name == node->GetName()) {
      return node;
    }
  }
  return typename Nodes::value_type{};
}
