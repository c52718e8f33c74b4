#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "gltf/read/json.h"

namespace gltf {

// Where an object stands, from the outside in: names, with a number where they name a list's entry.
// It is made a text only where somebody reads it.
class jsonplace {
 public:
  jsonplace With(const char* name, std::int64_t number = -1) const;
  std::string Text() const;

 private:
  struct step {
    const char* name;
    std::int64_t number;
  };
  static constexpr std::size_t kMost = 6;  // deeper than any object of a document is looked into
  std::array<step, kMost> steps_;
  std::size_t count_ = 0;
};

class jsonlist;

// An object of the JSON text together with the words that name it in a fault, such as
// "accessor 3". A member that is there with the wrong type is a fault; throws badfile.
class jsonobject {
 public:
  // value must be an object.
  jsonobject(const jsonvalue& value, const jsonplace& place);

  std::string Place() const { return place_.Text(); }
  [[noreturn]] void Fail(const std::string& what) const;

  bool Has(const char* key) const { return Find(key) != nullptr; }
  std::string Text(const char* key) const;  // empty when it is missing
  bool Flag(const char* key) const;
  double Number(const char* key, double missing) const;
  // Not negative and below kMostWhole.
  std::int64_t Whole(const char* key, std::int64_t missing) const;
  std::int64_t Whole(const char* key) const;
  // A place in a list of `size` entries; -1 when it is missing.
  int Index(const char* key, std::size_t size) const;
  int NeededIndex(const char* key, std::size_t size) const;
  std::vector<int> Indices(const char* key, std::size_t size) const;
  // As many as there is room for; false when they are missing.
  bool Numbers(const char* key, std::span<double> numbers) const;
  std::vector<std::string> Texts(const char* key) const;

  // An object without members when it is missing.
  jsonobject Object(const char* key) const;
  // The objects of a list, named by `name` and their place in it; none when it is missing.
  jsonlist Objects(const char* key, const char* name) const;
  std::size_t ListSize(const char* key) const;
  // What the file's maker keeps under `extras`, which may be of any kind: null where there is no
  // member of the name.
  const jsonvalue* Extra(const char* key) const;
  // Keys and list places, as in the attributes of a primitive.
  std::vector<std::pair<std::string, int>> IndexMap(const char* key, std::size_t size) const;

  // Far above what any file holds, far below what overflows in products with a stride.
  static constexpr std::int64_t kMostWhole = std::int64_t{1} << 40;

 private:
  const jsonvalue* Find(const char* key) const { return Member(*value_, key); }
  static const jsonvalue* Member(const jsonvalue& of, std::string_view key);
  int IndexOf(const jsonvalue& value, const char* key, std::size_t size) const;

  const jsonvalue* value_;
  jsonplace place_;
};

// The objects are made one by one, as they are asked for.
class jsonlist {
 public:
  class iterator {
   public:
    iterator(const jsonlist& list, std::size_t index) : list_(&list), index_(index) {}
    jsonobject operator*() const { return (*list_)[index_]; }
    iterator& operator++() {
      ++index_;
      return *this;
    }
    bool operator==(const iterator&) const = default;

   private:
    const jsonlist* list_;
    std::size_t index_;
  };

  // `list` is an array of objects, or null for none.
  jsonlist(const jsonvalue* list, const jsonplace& place, const char* name)
      : list_(list), place_(place), name_(name) {}

  std::size_t Size() const { return list_ == nullptr ? 0 : list_->Size(); }
  jsonobject operator[](std::size_t index) const;
  iterator begin() const { return {*this, 0}; }
  iterator end() const { return {*this, Size()}; }

 private:
  const jsonvalue* list_;
  jsonplace place_;  // of what has the list
  const char* name_;
};

}  // namespace gltf
