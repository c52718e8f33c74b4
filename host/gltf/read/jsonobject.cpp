#include "gltf/read/jsonobject.h"

#include <cmath>

#include "gltf/read/badfile.h"

namespace gltf {

using nlohmann::json;

jsonobject::jsonobject(const json& value, std::string place)
    : value_(&value), place_(std::move(place)) {
  if (!value.is_object()) {
    Fail("not an object");
  }
}

void jsonobject::Fail(const std::string& what) const {
  throw badfile(place_.empty() ? what : place_ + ": " + what);
}

const json* jsonobject::Find(const char* key) const {
  const auto found = value_->find(key);
  return found == value_->end() ? nullptr : &*found;
}

std::string jsonobject::Text(const char* key) const {
  const json* value = Find(key);
  if (value == nullptr) {
    return {};
  }
  if (!value->is_string()) {
    Fail(std::string(key) + " is not a string");
  }
  return value->get<std::string>();
}

bool jsonobject::Flag(const char* key) const {
  const json* value = Find(key);
  if (value != nullptr && !value->is_boolean()) {
    Fail(std::string(key) + " is neither true nor false");
  }
  return value != nullptr && value->get<bool>();
}

double jsonobject::Number(const char* key, double missing) const {
  const json* value = Find(key);
  if (value == nullptr) {
    return missing;
  }
  if (!value->is_number()) {
    Fail(std::string(key) + " is not a number");
  }
  return value->get<double>();
}

std::int64_t jsonobject::Whole(const char* key, std::int64_t missing) const {
  const double number = Number(key, static_cast<double>(missing));
  if (!(number >= 0.0) || number >= static_cast<double>(kMostWhole) ||
      number != std::floor(number)) {
    Fail(std::string(key) + " is not a whole number in range");
  }
  return static_cast<std::int64_t>(number);
}

std::int64_t jsonobject::Whole(const char* key) const {
  if (!Has(key)) {
    Fail(std::string(key) + " is missing");
  }
  return Whole(key, 0);
}

int jsonobject::IndexOf(const json& value, const char* key, std::size_t size) const {
  if (!value.is_number()) {
    Fail(std::string(key) + " is not a number");
  }
  const double index = value.get<double>();
  if (!(index >= 0.0) || index >= static_cast<double>(size) || index != std::floor(index)) {
    Fail(std::string(key) + ": index " + value.dump() + " does not exist (the file has " +
         std::to_string(size) + ")");
  }
  return static_cast<int>(index);
}

int jsonobject::Index(const char* key, std::size_t size) const {
  const json* value = Find(key);
  return value == nullptr ? -1 : IndexOf(*value, key, size);
}

int jsonobject::NeededIndex(const char* key, std::size_t size) const {
  const int index = Index(key, size);
  if (index < 0) {
    Fail(std::string(key) + " is missing");
  }
  return index;
}

std::vector<int> jsonobject::Indices(const char* key, std::size_t size) const {
  std::vector<int> indices;
  if (const json* list = Find(key)) {
    if (!list->is_array()) {
      Fail(std::string(key) + " is not an array");
    }
    indices.reserve(list->size());
    for (const json& value : *list) {
      indices.push_back(IndexOf(value, key, size));
    }
  }
  return indices;
}

std::vector<double> jsonobject::Numbers(const char* key, std::size_t count) const {
  std::vector<double> numbers;
  if (const json* list = Find(key)) {
    if (!list->is_array() || list->size() != count) {
      Fail(std::string(key) + " is not an array of " + std::to_string(count) + " numbers");
    }
    for (const json& value : *list) {
      if (!value.is_number()) {
        Fail(std::string(key) + " is not an array of " + std::to_string(count) + " numbers");
      }
      numbers.push_back(value.get<double>());
    }
  }
  return numbers;
}

std::vector<std::string> jsonobject::Texts(const char* key) const {
  std::vector<std::string> texts;
  if (const json* list = Find(key)) {
    if (!list->is_array()) {
      Fail(std::string(key) + " is not an array");
    }
    for (const json& value : *list) {
      if (!value.is_string()) {
        Fail(std::string(key) + " is not an array of strings");
      }
      texts.push_back(value.get<std::string>());
    }
  }
  return texts;
}

jsonobject jsonobject::Object(const char* key, const std::string& place) const {
  static const json kNone = json::object();
  const json* value = Find(key);
  return {value == nullptr ? kNone : *value, place.empty() ? key : place + ", " + key};
}

std::vector<jsonobject> jsonobject::Objects(const char* key, const char* name) const {
  std::vector<jsonobject> objects;
  if (const json* list = Find(key)) {
    if (!list->is_array()) {
      Fail(std::string(key) + " is not an array");
    }
    objects.reserve(list->size());
    const std::string before = (place_.empty() ? "" : place_ + ", ") + name + " ";
    for (const json& value : *list) {
      objects.emplace_back(value, before + std::to_string(objects.size()));
    }
  }
  return objects;
}

std::size_t jsonobject::ListSize(const char* key) const {
  const json* list = Find(key);
  return list != nullptr && list->is_array() ? list->size() : 0;
}

const json* jsonobject::Extra(const char* key) const {
  const json* extras = Find("extras");
  if (extras == nullptr || !extras->is_object()) {
    return nullptr;
  }
  const auto found = extras->find(key);
  return found == extras->end() ? nullptr : &*found;
}

std::vector<std::pair<std::string, int>> jsonobject::IndexMap(const char* key,
                                                              std::size_t size) const {
  const jsonobject map = Object(key);
  std::vector<std::pair<std::string, int>> indices;
  for (const auto& [name, value] : map.value_->items()) {
    indices.emplace_back(name, map.IndexOf(value, name.c_str(), size));
  }
  return indices;
}

}  // namespace gltf
