#include "plugin/host/arrays.h"

#include <algorithm>

#include "plugin/host/scene.h"

namespace {

// Gives the array `count` zero entries. What it held stays when there is no memory.
template <class T>
void Renew(T*& elements, std::int32_t& capacity, std::int32_t& held, std::int32_t count) {
  count = std::max(count, 0);
  if (count > capacity) {
    T* renewed = new T[static_cast<std::size_t>(count)];
    delete[] elements;
    elements = renewed;
    capacity = count;
  }
  std::fill_n(elements, count, T{0});
  held = count;
}

void CheckIndex(int index, std::int32_t count) {
  array_assert(index >= 0 && index < count ? 1 : 0);
}

}  // namespace

culongarray::culongarray() = default;
culongarray::~culongarray() { delete[] elements_; }

unsigned long culongarray::operator[](int index) const {
  CheckIndex(index, count_);
  return elements_[index];
}

void culongarray::Resize(std::int32_t count) { Renew(elements_, room_, count_, count); }
std::uint32_t* culongarray::Data() { return elements_; }
const std::uint32_t* culongarray::Data() const { return elements_; }
std::int32_t culongarray::Count() const { return count_; }

cbooleanarray::cbooleanarray() = default;
cbooleanarray::~cbooleanarray() { delete[] elements_; }

int cbooleanarray::operator[](int index) const {
  CheckIndex(index, count);
  return elements_[index];
}

int cbooleanarray::NumNonZero() const {
  return count - static_cast<int>(std::count(elements_, elements_ + count, std::uint8_t{0}));
}

void cbooleanarray::Zero(int index) { Set(index, false); }

void cbooleanarray::Resize(std::int32_t size) { Renew(elements_, room_, count, size); }

void cbooleanarray::Set(int index, bool value) {
  CheckIndex(index, count);
  elements_[index] = value ? 1 : 0;
}
