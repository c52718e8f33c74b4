#pragma once

#include <memory>
#include <string>

#include "bareskin.h"
#include "core/scene.h"
#include "desktop/scripted.h"
#include "module/module.h"

// What one measured model is made of.
struct modelsize {
  int frames = 0;
  int surfaces = 0;
  int vertsPerSurface = 0;
  int joints = 0;
  int weights = 2;  // of each vertex

  double Vertices() const { return static_cast<double>(surfaces) * vertsPerSurface; }
  double VertexFrames() const { return Vertices() * frames; }
  double JointFrames() const { return static_cast<double>(joints) * frames; }
  // Keys, vertices with their normals and texture vertices, faces and weights as the scene holds
  // them, in bytes: what no import can do without.
  double SceneBytes() const;
};

// A file of a format in a directory of its own that is removed at the end of its scope. Beside a
// skeletal model stands a sequence file that covers its frames.
class benchfile {
 public:
  benchfile(const std::string& format, int frames);
  ~benchfile();
  benchfile(const benchfile&) = delete;
  benchfile& operator=(const benchfile&) = delete;

  const std::string& Path() const { return path_; }
  const std::string& Format() const { return format_; }
  std::string BarePath() const { return directory_ + "/bare." + format_; }
  std::string ScenePath() const { return directory_ + "/bench.glb"; }
  std::string BareScenePath() const { return directory_ + "/bare.glb"; }
  // The skeleton beside an mdm file.
  std::string SkeletonPath() const { return directory_ + "/bench.mdx"; }

 private:
  std::string directory_;
  std::string format_;
  std::string path_;
};

// A host with the module loaded and a scene of skinned surfaces on chains of up to 128 joints that
// all move. A surface is bound to the few joints beside it, as a part of a character is.
class benchhost {
 public:
  // Ends the program with a message when the module cannot be loaded.
  explicit benchhost(const modelsize& size);
  ~benchhost();
  benchhost(const benchhost&) = delete;
  benchhost& operator=(const benchhost&) = delete;

  // Results are those of a run.
  int Export(const benchfile& file);
  // Into an empty scene of its own, which is gone afterwards. All of a skeletal model's frames
  // become keys.
  int Import(const benchfile& file);
  // Of an mdc: the normals that the command sets after an export of so many frames.
  void SetNormals(const benchfile& file, int frames);
  // Of an mdc: all frames into a scene file, as the command does it.
  int WriteScene(const benchfile& file);
  // What the bare loops of the exports take out of the scene.
  bare::model Bare() const { return bare::ModelOf(scene_); }
  const core::scene& Scene() const { return scene_; }
  void SetFrames(int frames) { scene_.animEnd = frames - 1; }

 private:
  void AddJoints(const modelsize& size);
  void AddSurface(const modelsize& size, int surface);

  std::unique_ptr<module::library> module_;
  desktop::scripteddesktop desktop_;
  core::scene scene_;
};
