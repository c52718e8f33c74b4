#pragma once

#include <string>

namespace command {

// The text as a terminal may get it: with a question mark for what could steer one, control
// characters, those of eight bits too, and bytes that are no UTF-8. Line feeds and tabs stay.
std::string Printable(const std::string& text);

}  // namespace command
