#include "gltf/read/jsonobject.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>

#include "gltf/read/badfile.h"

namespace gltf {

namespace {

// As JSON has it.
std::string Written(const jsonvalue& number) {
  return (number.IsInt64()    ? nlohmann::json(number.GetInt64())
          : number.IsUint64() ? nlohmann::json(number.GetUint64())
                              : nlohmann::json(number.GetDouble()))
      .dump();
}

}  // namespace

jsonplace jsonplace::With(const char* name, std::int64_t number) const {
  jsonplace made = *this;
  if (made.count_ < kMost) {
    made.steps_[made.count_++] = {name, number};
  }
  return made;
}

std::string jsonplace::Text() const {
  std::string text;
  for (std::size_t i = 0; i < count_; ++i) {
    text.append(i == 0 ? "" : ", ").append(steps_[i].name);
    if (steps_[i].number >= 0) {
      text.append(" ").append(std::to_string(steps_[i].number));
    }
  }
  return text;
}

jsonobject::jsonobject(const jsonvalue& value, const jsonplace& place)
    : value_(&value), place_(place) {
  if (!value.IsObject()) {
    Fail("not an object");
  }
}

void jsonobject::Fail(const std::string& what) const {
  const std::string place = Place();
  throw badfile(place.empty() ? what : place + ": " + what);
}

// The last of the name counts.
const jsonvalue* jsonobject::Member(const jsonvalue& of, std::string_view key) {
  for (auto at = of.MemberEnd(); at != of.MemberBegin();) {
    --at;
    if (std::string_view(at->name.GetString(), at->name.GetStringLength()) == key) {
      return &at->value;
    }
  }
  return nullptr;
}

std::string jsonobject::Text(const char* key) const {
  const jsonvalue* value = Find(key);
  if (value == nullptr) {
    return {};
  }
  if (!value->IsString()) {
    Fail(std::string(key) + " is not a string");
  }
  return TextOf(*value);
}

bool jsonobject::Flag(const char* key) const {
  const jsonvalue* value = Find(key);
  if (value != nullptr && !value->IsBool()) {
    Fail(std::string(key) + " is neither true nor false");
  }
  return value != nullptr && value->GetBool();
}

double jsonobject::Number(const char* key, double missing) const {
  const jsonvalue* value = Find(key);
  if (value == nullptr) {
    return missing;
  }
  if (!value->IsNumber()) {
    Fail(std::string(key) + " is not a number");
  }
  return value->GetDouble();
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

int jsonobject::IndexOf(const jsonvalue& value, const char* key, std::size_t size) const {
  if (!value.IsNumber()) {
    Fail(std::string(key) + " is not a number");
  }
  const double index = value.GetDouble();
  if (!(index >= 0.0) || index >= static_cast<double>(size) || index != std::floor(index)) {
    Fail(std::string(key) + ": index " + Written(value) + " does not exist (the file has " +
         std::to_string(size) + ")");
  }
  return static_cast<int>(index);
}

int jsonobject::Index(const char* key, std::size_t size) const {
  const jsonvalue* value = Find(key);
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
  if (const jsonvalue* list = Find(key)) {
    if (!list->IsArray()) {
      Fail(std::string(key) + " is not an array");
    }
    indices.reserve(list->Size());
    for (const jsonvalue& value : list->GetArray()) {
      indices.push_back(IndexOf(value, key, size));
    }
  }
  return indices;
}

bool jsonobject::Numbers(const char* key, std::span<double> numbers) const {
  const jsonvalue* list = Find(key);
  if (list == nullptr) {
    return false;
  }
  const auto isNumber = [](const jsonvalue& value) { return value.IsNumber(); };
  if (!list->IsArray() || list->Size() != numbers.size() ||
      !std::all_of(list->Begin(), list->End(), isNumber)) {
    Fail(std::string(key) + " is not an array of " + std::to_string(numbers.size()) + " numbers");
  }
  std::transform(list->Begin(), list->End(), numbers.begin(),
                 [](const jsonvalue& value) { return value.GetDouble(); });
  return true;
}

std::vector<std::string> jsonobject::Texts(const char* key) const {
  std::vector<std::string> texts;
  if (const jsonvalue* list = Find(key)) {
    if (!list->IsArray()) {
      Fail(std::string(key) + " is not an array");
    }
    for (const jsonvalue& value : list->GetArray()) {
      if (!value.IsString()) {
        Fail(std::string(key) + " is not an array of strings");
      }
      texts.push_back(TextOf(value));
    }
  }
  return texts;
}

jsonobject jsonobject::Object(const char* key) const {
  static const jsonvalue kNone(rapidjson::kObjectType);
  const jsonvalue* value = Find(key);
  return {value == nullptr ? kNone : *value, place_.With(key)};
}

jsonlist jsonobject::Objects(const char* key, const char* name) const {
  const jsonvalue* list = Find(key);
  if (list != nullptr && !list->IsArray()) {
    Fail(std::string(key) + " is not an array");
  }
  const jsonlist objects(list, place_, name);
  for (std::size_t i = 0; i < objects.Size(); ++i) {
    if (!(*list)[static_cast<rapidjson::SizeType>(i)].IsObject()) {
      static_cast<void>(objects[i]);  // tells its place
    }
  }
  return objects;
}

jsonobject jsonlist::operator[](std::size_t index) const {
  return {(*list_)[static_cast<rapidjson::SizeType>(index)],
          place_.With(name_, static_cast<std::int64_t>(index))};
}

std::size_t jsonobject::ListSize(const char* key) const {
  const jsonvalue* list = Find(key);
  return list != nullptr && list->IsArray() ? list->Size() : 0;
}

const jsonvalue* jsonobject::Extra(const char* key) const {
  const jsonvalue* extras = Find("extras");
  if (extras == nullptr || !extras->IsObject()) {
    return nullptr;
  }
  return Member(*extras, key);
}

std::vector<std::pair<std::string, int>> jsonobject::IndexMap(const char* key,
                                                              std::size_t size) const {
  const jsonobject map = Object(key);
  std::map<std::string, const jsonvalue*> members;  // the last of a name counts
  for (const auto& member : map.value_->GetObject()) {
    members[TextOf(member.name)] = &member.value;
  }
  std::vector<std::pair<std::string, int>> indices;
  indices.reserve(members.size());
  for (const auto& [name, value] : members) {
    indices.emplace_back(name, map.IndexOf(*value, name.c_str(), size));
  }
  return indices;
}

}  // namespace gltf
