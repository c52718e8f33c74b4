#pragma once

// A scene of the host from and to a glTF 2.0 file, .glb or .gltf with its resources.
//
// glTF's front is +Z, its up +Y, its left +X; a scene's are +X, +Z, +Y. So the scene's (x, y, z) is
// glTF's (z, x, y), exactly, on everything, both ways. A scene's faces run clockwise seen from
// their front, glTF's counter-clockwise: corners 1 and 2 of a face change places. File units x
// scale are scene units. Frames are `fps` a second.

#include <functional>
#include <string>
#include <vector>

#include "core/scene.h"
#include "files/replacement.h"

namespace gltf {

// The axis of the file that its front looks along: what becomes the scene's +X.
enum class facing { PlusZ, MinusZ, PlusX, MinusX };

struct options {
  double scale = 1.0;  // above 0
  double fps = 20.0;   // above 0
  facing front = facing::PlusZ;
  // A clip's own rate goes before `fps`. Reading: the whole one, of 20 or more or its sequence's in
  // the notes, that all of its keys stand at, a channel's at each frame; it becomes the clip's.
  // Writing: the clip's, from 1 to 1000.
  bool ownRates = false;
  // Reading, with ownRates: the sequence that a clip of the name is to be; null for none, and then
  // that of the file's notes counts. A clip that lasts as long as its sequence does, to less than a
  // frame, has its rate and frames.
  std::function<const core::clip*(const std::string& name)> sequenceOf = nullptr;

  // Reading: what changes a mesh's points over the frames and is no pose. A mesh that has such a
  // change becomes a node of type skin, with joints or without. What is not kept stays as it is at
  // rest, with a warning.
  bool keepMorphTargets = false;
  bool keepChangingScale = false;
  // Reading: coordinates of what no joint moves, and of nodes at the top, that lie within a tenth
  // of a step from a multiple of this, in scene units, become that multiple, so that a format which
  // cuts them to whole steps gets those that came from it. 0: none.
  double grid = 0.0;

  // Reading: a .gltf may name files that do not lie in its own folder or below it.
  bool allowOutside = false;

  // Writing: clips hold each frame until the next, in place of blending linearly.
  bool stepped = false;
};

// How well the recovered bind pose of a scene's skins agrees with the weights' offsets: the
// distance between the rest position that a weight's offset gives and the vertex's, in scene
// units. Zero without skins.
struct bindresidual {
  double largest = 0.0;
  double mean = 0.0;
};

struct report {
  // What is wrong and where, without the file's name; empty when the call gave true.
  std::string fault;
  bool noMemory = false;  // whether that is a lack of memory
  // What the file has and the other side cannot carry, one line each, each said once.
  std::vector<std::string> warnings;
  // Of a written file.
  bindresidual bind;
};

// Fills the empty scene with what the file has: nodes, skins, meshes, materials, clips laid one
// behind the other on the time line from frame 0, notes. False when the file cannot be read or is
// not whole; the scene is then to be thrown away.
bool ReadScene(const std::string& path, const options& how, core::scene& scene, report& told);

// Writes the scene. One animation for each of `NamedClips`; without any, one for all frames of a
// scene in which something moves. A name that ends in .gltf gets its buffer and images in files of
// their own beside it, every other name one binary file. False when the file cannot be written or
// the scene has what no file can hold; older files under the names are then as they were.
bool WriteScene(const core::scene& scene, const std::string& path, const options& how,
                report& told);

// The same into a set of files that the caller commits.
bool WriteScene(const core::scene& scene, const std::string& path, const options& how,
                files::replacement& into, report& told);

}  // namespace gltf
