#pragma once

#include <memory>
#include <string>

#include "core/scene.h"
#include "desktop/scripted.h"
#include "module/module.h"

// What one measured model is made of.
struct modelsize {
  int frames = 0;
  int surfaces = 0;
  int vertsPerSurface = 0;
  int joints = 0;

  double Vertices() const { return static_cast<double>(surfaces) * vertsPerSurface; }
  double VertexFrames() const { return Vertices() * frames; }
};

// A host with the module loaded and a scene of skinned surfaces on a chain of joints that all
// move. Each vertex has two weights; a surface is bound to the few joints beside it, as a part of
// a character is.
class benchhost {
 public:
  // Ends the program with a message when the module cannot be loaded.
  explicit benchhost(const modelsize& size);
  ~benchhost();
  benchhost(const benchhost&) = delete;
  benchhost& operator=(const benchhost&) = delete;

  // Results are those of a run.
  int Export(const std::string& path);
  // Into an empty scene of its own, which is gone afterwards.
  int Import(const std::string& path);
  void SetFrames(int frames) { scene_.animEnd = frames - 1; }

 private:
  void AddJoints(const modelsize& size);
  void AddSurface(const modelsize& size, int surface);

  std::unique_ptr<module::library> module_;
  desktop::scripteddesktop desktop_;
  core::scene scene_;
};

// A file that is removed at the end of its scope.
class benchfile {
 public:
  benchfile();
  ~benchfile();
  benchfile(const benchfile&) = delete;
  benchfile& operator=(const benchfile&) = delete;
  const std::string& Path() const { return path_; }

 private:
  std::string directory_;
  std::string path_;
};
