#pragma once

#include <cstdint>

#include "plugin/host/api.h"

// Arrays that the host fills and the module reads. They own their elements and are not copied.

class CORE_API culongarray {
 public:
  culongarray();
  ~culongarray();
  culongarray(const culongarray&) = delete;
  culongarray& operator=(const culongarray&) = delete;

  unsigned long operator[](int index) const;

  // Host side: makes room for `count` elements, all 0, and gives access to them.
  void Resize(std::int32_t count);
  std::uint32_t* Data();
  const std::uint32_t* Data() const;
  std::int32_t Count() const;

 private:
  std::int32_t room_ = 0;
  std::int32_t count_ = 0;
  std::uint32_t* elements_ = nullptr;
};

class CORE_API cbooleanarray {
 private:
  std::int32_t room_ = 0;

 public:
  // Number of entries: the second 32-bit field of the object, which a module reads directly.
  std::int32_t count = 0;

  cbooleanarray();
  ~cbooleanarray();
  cbooleanarray(const cbooleanarray&) = delete;
  cbooleanarray& operator=(const cbooleanarray&) = delete;

  int operator[](int index) const;
  int NumNonZero() const;
  void Zero(int index);

  // Host side: makes room for `size` entries, all 0, and sets one.
  void Resize(std::int32_t size);
  void Set(int index, bool value);

 private:
  std::uint8_t* elements_ = nullptr;
};
