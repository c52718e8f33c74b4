// The two arrays that the host fills and a module reads.

#include <algorithm>

#include "host.h"

culongarray::culongarray() = default;
culongarray::~culongarray() { delete[] elements_; }

unsigned long culongarray::operator[](int index) const { return elements_[index]; }

void culongarray::Resize(std::int32_t count) {
  delete[] elements_;
  elements_ = new std::uint32_t[static_cast<std::size_t>(count)]();
  room_ = count_ = count;
}
std::uint32_t* culongarray::Data() { return elements_; }

cbooleanarray::cbooleanarray() = default;
cbooleanarray::~cbooleanarray() { delete[] elements_; }

int cbooleanarray::operator[](int index) const { return elements_[index]; }
int cbooleanarray::NumNonZero() const {
  return count - static_cast<int>(std::count(elements_, elements_ + count, 0));
}
void cbooleanarray::Zero(int index) { elements_[index] = 0; }

void cbooleanarray::Resize(std::int32_t size) {
  delete[] elements_;
  elements_ = new std::uint8_t[static_cast<std::size_t>(size)]();
  room_ = count = size;
}
void cbooleanarray::Set(int index, bool value) { elements_[index] = value ? 1 : 0; }
