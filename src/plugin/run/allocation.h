#pragma once

#include <cstddef>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "plugin/host/scene.h"

// What the host's assertion is told when a list finds no memory: the list's name, and the source
// file and line that wanted it.
struct allocationname {
  const char* expression;
  const char* file;
  int line;

  // The line is that of the caller. (clang 14 has no std::source_location.)
  allocationname(const char* list, const char* source, int sourceLine = __builtin_LINE())
      : expression(list), file(source), line(sourceLine) {}
};

[[noreturn]] inline void ReportNoMemory(const allocationname& name) {
  MyAssertFailedLine(name.expression, name.file, name.line);
}

// Gives the list `count` value-initialised entries.
template <class T>
void AllocateNamed(std::vector<T>& list, std::size_t count, const allocationname& name) {
  bool room = true;
  try {
    list.assign(count, T());
  } catch (const std::bad_alloc&) {
    room = false;
  } catch (const std::length_error&) {
    room = false;
  }
  if (!room) {
    ReportNoMemory(name);
  }
}

// Makes room for the next entry of a list that has room for 16 entries at its first use and doubles
// when the next entry does not fit. The two names stand for the first array and for a grown one.
template <class T>
void MakeRoom(std::vector<T>& list, const allocationname& first, const allocationname& grown) {
  constexpr std::size_t kFirstRoom = 16;
  const bool empty = list.empty();
  if (empty || list.size() == list.capacity()) {
    bool room = true;
    try {
      list.reserve(empty ? kFirstRoom : 2 * list.capacity());
    } catch (const std::bad_alloc&) {
      room = false;
    }
    if (!room) {
      ReportNoMemory(empty ? first : grown);
    }
  }
}

// Appends to a list that grows as MakeRoom tells.
template <class T>
void AppendGrowing(std::vector<T>& list, T entry, const allocationname& first,
                   const allocationname& grown) {
  MakeRoom(list, first, grown);
  list.push_back(std::move(entry));
}

// Passes on what a CreateNew function gave; null goes to the host's assertion.
template <class T>
T* RequireNew(T* made, const allocationname& name) {
  if (made == nullptr) {
    ReportNoMemory(name);
  }
  return made;
}
