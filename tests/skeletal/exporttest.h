#pragma once

#include <bit>
#include <cmath>
#include <memory>
#include <numbers>
#include <string>

#include "mdmmdx/mdmfile.h"
#include "mdmmdx/mdxfile.h"
#include "mds/mdsfile.h"
#include "support/moduletest.h"
#include "support/scenebuild.h"

// Runs exporters over the current scene and reads what they wrote.
class exporttest : public moduletest {
 protected:
  void SetRange(int start, int end, const std::string& origin = "") {
    const auto play = [=](int startId, int endId, int originId) {
      return [=](desktop::scriptedwindow& window) {
        window.Type(startId, std::to_string(start));
        window.Type(endId, std::to_string(end));
        window.Type(originId, origin);
        window.Ok();
      };
    };
    desk.scripts[103] = play(1010, 1011, 1015);
    desk.scripts[105] = play(1020, 1021, 1018);
  }

  // A file that holds whole and ends where its header says.
  std::unique_ptr<cmdsfile> Mds() { return Written<cmdsfile>("Out.MDS"); }
  std::unique_ptr<cmdmfile> Mdm() { return Written<cmdmfile>("Out.MDM"); }
  std::unique_ptr<cmdxfile> Mdx() { return Written<cmdxfile>("Out.MDX"); }

  template <class File>
  std::unique_ptr<File> Written(const std::string& name) {
    const std::string path = directory.File(name);
    EXPECT_EQ(Export(path), 1);
    auto file = std::make_unique<File>();
    EXPECT_TRUE(file->Load(path.c_str())) << file->Fault();
    EXPECT_EQ(file->header->ofsEnd, static_cast<std::int32_t>(file->Size()));
    return file;
  }
};

template <std::size_t Size>
std::string Text(const namefield<Size>& field) {
  return NameText(field).data();
}

inline std::vector<int> BoneReferences(const skelSurface& surface) {
  const auto* first = reinterpret_cast<const little<std::int32_t>*>(
      reinterpret_cast<const char*>(&surface) + surface.ofsBoneReferences);
  return {first, first + surface.numBoneReferences};
}

inline cbone* AddStill(const char* name, cnode* parent, const cpoint3& position,
                       const cpoint3& angles = {}) {
  return AddBone(name, parent, {KeyAt(0, position, angles)});
}

// A bone in the world, as a game has it: the rows of its rotation, and its place.
struct placedbone {
  double rows[3][3];
  double position[3];
};

// Decodes a frame by the games' own angles: pitch, yaw and roll turn the world into forward, left
// and up, which are the columns of the bone's rotation.
inline std::vector<placedbone> Decode(const skelrig& rig, std::size_t frame) {
  const skelFrame* head = rig.frames[frame];
  std::vector<placedbone> world(static_cast<std::size_t>(rig.numBones));
  for (std::size_t b = 0; b < world.size(); ++b) {
    const skelBoneFrame& pose = skelrig::BoneFrames(head)[b];
    const auto sine = [](int unit) { return std::sin(unit * std::numbers::pi / 32768.0); };
    const auto cosine = [](int unit) { return std::cos(unit * std::numbers::pi / 32768.0); };
    const double sp = sine(pose.angles[0]), cp = cosine(pose.angles[0]);
    const double sy = sine(pose.angles[1]), cy = cosine(pose.angles[1]);
    const double sr = sine(pose.angles[2]), cr = cosine(pose.angles[2]);
    const int pitch = pose.ofsAngles[0], yaw = pose.ofsAngles[1];
    const double forward[] = {cp * cy, cp * sy, -sp};
    const double left[] = {sr * sp * cy - cr * sy, sr * sp * sy + cr * cy, sr * cp};
    const double up[] = {cr * sp * cy + sr * sy, cr * sp * sy - sr * cy, cr * cp};
    const double way[] = {cosine(pitch) * cosine(yaw), cosine(pitch) * sine(yaw), -sine(pitch)};
    const int parent = rig.bones[b].parent;
    for (std::size_t i = 0; i < 3; ++i) {
      world[b].rows[i][0] = forward[i];
      world[b].rows[i][1] = left[i];
      world[b].rows[i][2] = up[i];
      const double from = parent < 0 ? double{head->parentOffset[i]}
                                     : world[static_cast<std::size_t>(parent)].position[i];
      world[b].position[i] = from + double{rig.bones[b].parentDist} * way[i];
    }
  }
  return world;
}
