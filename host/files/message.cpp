#include <cctype>
#include <system_error>

#include "files/disk.h"

namespace files {

namespace {

std::string InSentence(std::string text) {
  if (text.size() > 1 && std::islower(static_cast<unsigned char>(text[1])) != 0) {
    text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  }
  return text;
}

}  // namespace

std::string SystemMessage(int error) { return InSentence(std::system_category().message(error)); }

std::string ErrnoMessage(int error) { return InSentence(std::generic_category().message(error)); }

}  // namespace files
