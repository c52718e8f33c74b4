#include "faults/failingnew.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

long live = 0;
long untilFailure = -1;  // allocations that still succeed; negative: all
failingnew::shortage duration = failingnew::shortage::Once;
std::size_t largest = kNoLimit;
bool failed = false;

void* Allocate(std::size_t size) {
  bool refuse = size > largest;
  if (untilFailure == 0) {
    refuse = true;
    untilFailure = duration == failingnew::shortage::Once ? -1 : 0;
  } else if (untilFailure > 0) {
    --untilFailure;
  }
  void* const memory = refuse ? nullptr : std::malloc(size == 0 ? 1 : size);
  live += memory != nullptr ? 1 : 0;
  failed = failed || memory == nullptr;
  return memory;
}

void* Required(std::size_t size) {
  void* const memory = Allocate(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void Release(void* memory) noexcept {
  live -= memory != nullptr ? 1 : 0;
  std::free(memory);
}

}  // namespace

void failingnew::FailAfter(long successes, shortage lasting) {
  untilFailure = successes;
  duration = lasting;
}

void failingnew::FailAbove(std::size_t size) { largest = size; }

bool failingnew::Stop() {
  untilFailure = -1;
  largest = kNoLimit;
  const bool hit = failed;
  failed = false;
  return hit;
}

long failingnew::Live() { return live; }

void* operator new(std::size_t size) { return Required(size); }
void* operator new[](std::size_t size) { return Required(size); }
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return Allocate(size);
}
void operator delete(void* memory) noexcept { Release(memory); }
void operator delete[](void* memory) noexcept { Release(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { Release(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { Release(memory); }
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept { Release(memory); }
void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept { Release(memory); }
