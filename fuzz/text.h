#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "samples/bytes.h"
#include "sidefiles/textfile.h"

inline bytes TextOf(const std::string& text) { return {text.begin(), text.end()}; }

// Hands the input to `read` as a side file's text, without its first byte, which says what kind of
// text it is.
template <class Read>
void ReadText(const std::uint8_t* data, std::size_t size, Read&& read) {
  if (size >= 2) {
    read(DecodedText({data + 1, data + size}), int{data[0]});
  }
}
