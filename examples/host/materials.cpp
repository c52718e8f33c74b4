// Materials and their images, of which this host knows the paths alone.

#include <cstdio>
#include <cstring>

#include "host.h"

cimage::cimage() : state_(new core::imagestate) {}
cimage::~cimage() { delete state_; }
cimage::cimage(const cimage& other) : state_(new core::imagestate(*other.state_)) {}
cimage& cimage::operator=(const cimage& other) {
  *state_ = *other.state_;
  return *this;
}
int cimage::Load(const char* path) {
  std::FILE* const file = std::fopen(path, "rb");
  if (file == nullptr) {
    return 0;
  }
  std::fclose(file);
  state_->path = path;
  return 1;
}
int cimage::GetPathName(char* buffer) const {
  std::snprintf(buffer, 512, "%s", state_->path.empty() ? kNoImagePath : state_->path.c_str());
  return 1;
}
void cimage::SetPathName(const char* path) { state_->path = path; }

cmaterial::cmaterial() : state_(new core::materialstate) {}
cmaterial::~cmaterial() { delete state_; }
cimage* cmaterial::GetImage(unsigned /*channel*/) { return &state_->image; }
void cmaterial::SetImage(const cimage& image, unsigned /*channel*/) { state_->image = image; }
char* cmaterial::GetName() { return state_->name; }
void cmaterial::SetName(const char* name) {
  std::snprintf(state_->name, sizeof state_->name, "%s", name);
}
void cmaterial::Copy(cmaterial* source) { state_->image = source->state_->image; }
void cmaterial::Delete() { delete this; }

// Names of more than one material get a number behind them.
void UniqueNameForMaterial(char* name, int /*mode*/) {
  const std::string wanted(name);
  const auto taken = [name] {
    for (cmaterial* material : Scene().materials) {
      if (material->GetName() != name && std::strcmp(material->GetName(), name) == 0) {
        return true;
      }
    }
    return false;
  };
  for (int number = 1; taken(); ++number) {
    std::snprintf(name, sizeof core::materialstate::name, "%.50s %d", wanted.c_str(), number);
  }
}
