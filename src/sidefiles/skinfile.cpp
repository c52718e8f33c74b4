#include "sidefiles/skinfile.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "sidefiles/cfgline.h"

namespace {

constexpr std::size_t kLongestSurface = 127;
constexpr std::size_t kLongestImage = 511;
constexpr std::array<const char*, 4> kImageSuffixes{".tga", ".TGA", ".jpg", ".JPG"};

bool NamesImage(const char* line) {
  const char* const stop = std::strchr(line, '.');
  return stop != nullptr &&
         std::any_of(kImageSuffixes.begin(), kImageSuffixes.end(),
                     [stop](const char* suffix) { return std::strstr(stop, suffix) != nullptr; });
}

void CutAt(std::string& text, std::size_t place) {
  if (place < text.size()) {
    text.resize(place);
  }
}

std::string QuotedImage(const char* field, const std::string& gamedir) {
  const char* const quote = std::strchr(field, '"');
  if (quote == nullptr) {
    return {};
  }
  std::string image = gamedir + (quote + 1);
  CutAt(image, image.rfind('"'));
  return image;
}

}  // namespace

bool ParseSkinLine(const char* line, skinform form, const std::string& gamedir, surfmat& row) {
  const char* const comma = std::strchr(line, ',');
  if (comma == nullptr || !NamesImage(line)) {
    return false;
  }
  const char* const field = comma + 1;
  row.surface.assign(line, std::min(static_cast<std::size_t>(comma - line), kLongestSurface));
  row.image = form == skinform::Quoted ? QuotedImage(field, gamedir) : gamedir + field;
  CutAt(row.image, row.image.find_first_of("\n\r"));
  CutAt(row.image, kLongestImage);
  return true;
}

bool csurfmats::LoadSkinFile(const char* path, skinform form, const std::string& gamedir) {
  Clear();
  const bool whole = !gamedir.empty() && ReadCfgFile(path, [&](const cfgline& line) {
    if (surfmat row; ParseSkinLine(line.text, form, gamedir, row)) {
      Add(std::move(row));
    }
    return true;
  });
  if (!whole) {
    Clear();
  }
  return whole;
}

void csurfmats::Clear() {
  rows_.clear();
  firstRow_.clear();
}

void csurfmats::Add(surfmat row) {
  firstRow_.emplace(row.surface, rows_.size());
  rows_.push_back(std::move(row));
}

cmaterial* csurfmats::FindMatBySurface(const char* surface) const {
  const auto found = firstRow_.find(surface);
  return found == firstRow_.end() ? nullptr : rows_[found->second].mat;
}
