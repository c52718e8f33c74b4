#pragma once

#include <cstddef>

// operator new of this program, which all loaded modules use too, can be told to fail.
namespace failingnew {

// How long memory stays short once an allocation has failed.
enum class shortage { Once, FromThenOn };

// Lets `successes` allocations pass and fails the next one.
void FailAfter(long successes, shortage duration);
// Fails every allocation of more than this many bytes.
void FailAbove(std::size_t size);
// Ends both. True when an allocation has failed since they were set.
bool Stop();

// Allocations that are not released yet.
long Live();

}  // namespace failingnew
