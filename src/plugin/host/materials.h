#pragma once

#include "plugin/host/api.h"

namespace core {
struct imagestate;
struct materialstate;
}  // namespace core

// The path that stands for "no image", in any case of letters.
inline constexpr char kNoImagePath[] = "<empty>";

class CORE_API cimage {
 public:
  cimage();
  ~cimage();
  cimage(const cimage& other);
  cimage& operator=(const cimage& other);

  // Reads a JPEG, TGA or PNG file. Nonzero when the image could be read. Separators of the path
  // may be of either kind, and on a case-sensitive disk the letters' case need not fit.
  int Load(const char* path);
  // Copies the path into the buffer, which has at least 512 bytes; "<empty>" without an image.
  int GetPathName(char* buffer) const;
  // Stores a path without loading anything.
  void SetPathName(const char* path);

  core::imagestate& State() { return *state_; }
  const core::imagestate& State() const { return *state_; }

 private:
  core::imagestate* state_;
};

class CORE_API cmaterial final {
 public:
  // A material that never reached the scene is destroyed with Delete.
  cmaterial();
  cmaterial(const cmaterial&) = delete;
  cmaterial& operator=(const cmaterial&) = delete;

  // Channel 0 is the colour image. The material owns the image.
  cimage* GetImage(unsigned channel);
  void SetImage(const cimage& image, unsigned channel);
  // The name's buffer belongs to the material and may be rewritten in place.
  char* GetName();
  void SetName(const char* name);
  // Takes over the source's settings and images; the name stays.
  void Copy(cmaterial* source);
  void Delete();

  core::materialstate& State() { return *state_; }
  const core::materialstate& State() const { return *state_; }

 protected:
  ~cmaterial();

 private:
  core::materialstate* state_;
};
