#pragma once

// What the C++ library of Debian's emscripten (libc++ 13) lacks of C++20, for the files of the
// project alone. Each has the meaning of the standard for ranges that are lvalues, without the
// constraints. A library that has them makes this header empty.

#include <version>

#if defined(_LIBCPP_VERSION) && _LIBCPP_VERSION < 15000

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <iterator>
#include <ranges>
#include <utility>

namespace std {

template <class To, class From>
To bit_cast(const From& from) noexcept {
  static_assert(sizeof(To) == sizeof(From));
  To to;
  memcpy(&to, &from, sizeof(to));
  return to;
}

namespace ranges {

// A predicate behind a projection, and a comparison of what both sides are projected to.
template <class Function, class Projection>
auto oldprojected(Function& function, Projection& projection) {
  return [&]<class... Values>(Values&&... values) -> decltype(auto) {
    return invoke(function, invoke(projection, forward<Values>(values))...);
  };
}

template <class Range, class Predicate, class Projection = identity>
auto find_if(Range&& range, Predicate predicate, Projection projection = {}) {
  return std::find_if(begin(range), end(range), oldprojected(predicate, projection));
}

template <class Range, class Value, class Projection = identity>
auto find(Range&& range, const Value& value, Projection projection = {}) {
  const auto equals = [&](const auto& entry) { return invoke(projection, entry) == value; };
  return std::find_if(begin(range), end(range), equals);
}

template <class Range, class Predicate, class Projection = identity>
bool any_of(Range&& range, Predicate predicate, Projection projection = {}) {
  return std::any_of(begin(range), end(range), oldprojected(predicate, projection));
}

template <class Range, class Predicate, class Projection = identity>
bool all_of(Range&& range, Predicate predicate, Projection projection = {}) {
  return std::all_of(begin(range), end(range), oldprojected(predicate, projection));
}

template <class Range, class Predicate, class Projection = identity>
bool none_of(Range&& range, Predicate predicate, Projection projection = {}) {
  return std::none_of(begin(range), end(range), oldprojected(predicate, projection));
}

template <class Range, class Predicate, class Projection = identity>
auto count_if(Range&& range, Predicate predicate, Projection projection = {}) {
  return std::count_if(begin(range), end(range), oldprojected(predicate, projection));
}

template <class Range, class Value>
auto count(Range&& range, const Value& value) {
  return std::count(begin(range), end(range), value);
}

template <class Left, class Right, class Predicate = equal_to>
bool equal(Left&& left, Right&& right, Predicate predicate = {}) {
  return std::equal(begin(left), end(left), begin(right), end(right), predicate);
}

template <class Range, class Output>
auto copy(Range&& range, Output output) {
  return std::copy(begin(range), end(range), output);
}

template <class Range, class Output, class Operation, class Projection = identity>
auto transform(Range&& range, Output output, Operation operation, Projection projection = {}) {
  return std::transform(begin(range), end(range), output, oldprojected(operation, projection));
}

template <class Range>
void reverse(Range&& range) {
  std::reverse(begin(range), end(range));
}

template <class Range, class Value>
void fill(Range&& range, const Value& value) {
  std::fill(begin(range), end(range), value);
}

template <class Range, class Value>
void replace(Range&& range, const Value& from, const Value& to) {
  std::replace(begin(range), end(range), from, to);
}

template <class Range, class Predicate, class Value>
void replace_if(Range&& range, Predicate predicate, const Value& value) {
  std::replace_if(begin(range), end(range), predicate, value);
}

template <class Range, class Compare = less, class Projection = identity>
void sort(Range&& range, Compare compare = {}, Projection projection = {}) {
  std::sort(begin(range), end(range), oldprojected(compare, projection));
}

template <class Range, class Compare = less, class Projection = identity>
void stable_sort(Range&& range, Compare compare = {}, Projection projection = {}) {
  std::stable_sort(begin(range), end(range), oldprojected(compare, projection));
}

template <class Range, class Compare = less, class Projection = identity>
auto max_element(Range&& range, Compare compare = {}, Projection projection = {}) {
  return std::max_element(begin(range), end(range), oldprojected(compare, projection));
}

template <class Range, class Compare = less, class Projection = identity>
auto min_element(Range&& range, Compare compare = {}, Projection projection = {}) {
  return std::min_element(begin(range), end(range), oldprojected(compare, projection));
}

template <class Range, class Value, class Compare = less, class Projection = identity>
auto lower_bound(Range&& range, const Value& value, Compare compare = {},
                 Projection projection = {}) {
  const auto below = [&](const auto& entry, const Value& limit) {
    return invoke(compare, invoke(projection, entry), limit);
  };
  return std::lower_bound(begin(range), end(range), value, below);
}

template <class Range, class Value, class Compare = less, class Projection = identity>
auto upper_bound(Range&& range, const Value& value, Compare compare = {},
                 Projection projection = {}) {
  const auto above = [&](const Value& limit, const auto& entry) {
    return invoke(compare, limit, invoke(projection, entry));
  };
  return std::upper_bound(begin(range), end(range), value, above);
}

template <class Range, class Value>
bool binary_search(Range&& range, const Value& value) {
  return std::binary_search(begin(range), end(range), value);
}

template <class Range>
bool is_sorted(Range&& range) {
  return std::is_sorted(begin(range), end(range));
}

}  // namespace ranges
}  // namespace std

#endif
