#pragma once

#include <array>
#include <cmath>
#include <memory>
#include <numbers>
#include <random>
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
  template <class File>
  std::unique_ptr<File> Written(const std::string& name) {
    const std::string path = directory.File(name);
    EXPECT_EQ(Export(path), 1);
    auto file = std::make_unique<File>();
    EXPECT_TRUE(file->Load(path.c_str())) << file->Fault();
    EXPECT_EQ(file->header->ofsEnd, static_cast<std::int32_t>(file->Size()));
    return file;
  }
  auto Mds() { return Written<cmdsfile>("Out.MDS"); }
  auto Mdm() { return Written<cmdmfile>("Out.MDM"); }
  auto Mdx() { return Written<cmdxfile>("Out.MDX"); }

  // Keys of frames from 0, each turned any way as far as `most` degrees about every axis.
  std::vector<ckey> Turning(int lastFrame, float most, const cpoint3& at) {
    std::uniform_real_distribution<float> degrees(-most, most);
    std::vector<ckey> keys;
    for (int frame = 0; frame <= lastFrame; ++frame) {
      keys.push_back(KeyAt(frame, at, {degrees(random_), degrees(random_), degrees(random_)}));
    }
    return keys;
  }

 private:
  std::mt19937 random_{7};
};

template <std::size_t Size>
std::string Text(const namefield<Size>& field) {
  return NameText(field).data();
}

inline std::string Text(const cfiledialog& dialog) {
  return std::string(dialog.title) + ", " + dialog.filterName + ", " + dialog.filterPattern + ", " +
         dialog.defaultExtension + ", " + std::to_string(dialog.flags);
}

using numbers = std::vector<int>;

// 32-bit numbers, `offset` bytes behind the start of a record.
inline numbers NumbersAt(const void* record, int offset, int count) {
  const auto* first = reinterpret_cast<const little<std::int32_t>*>(
      static_cast<const unsigned char*>(record) + offset);
  return {first, first + count};
}
inline numbers BoneReferences(const skelSurface& surface) {
  return NumbersAt(&surface, surface.ofsBoneReferences, surface.numBoneReferences);
}

inline cbone* AddStill(const char* name, cnode* parent, const cpoint3& position,
                       const cpoint3& angles = {}) {
  return AddBone(name, parent, {KeyAt(0, position, angles)});
}

// A bone in the world, as a game has it: the rows of its rotation, and its place behind them.
using placedbone = std::array<std::array<double, 3>, 4>;

// Decodes a frame by the games' own angles: pitch, yaw and roll turn the world into forward, left
// and up, which are the columns of the bone's rotation.
inline std::vector<placedbone> Decode(const skelrig& rig, std::size_t frame) {
  const auto sine = [](int unit) { return std::sin(unit * std::numbers::pi / 32768.0); };
  const auto cosine = [](int unit) { return std::cos(unit * std::numbers::pi / 32768.0); };
  const skelFrame* head = rig.frames[frame];
  std::vector<placedbone> world;
  for (int b = 0; b < rig.numBones; ++b) {
    const skelBoneFrame& pose = skelrig::BoneFrames(head)[b];
    const double sp = sine(pose.angles[0]), cp = cosine(pose.angles[0]);
    const double sy = sine(pose.angles[1]), cy = cosine(pose.angles[1]);
    const double sr = sine(pose.angles[2]), cr = cosine(pose.angles[2]);
    const int pitch = pose.ofsAngles[0], yaw = pose.ofsAngles[1], parent = rig.bones[b].parent;
    world.push_back({{{cp * cy, sr * sp * cy - cr * sy, cr * sp * cy + sr * sy},
                      {cp * sy, sr * sp * sy + cr * cy, cr * sp * sy - sr * cy},
                      {-sp, sr * cp, cr * cp},
                      {cosine(pitch) * cosine(yaw), cosine(pitch) * sine(yaw), -sine(pitch)}}});
    for (std::size_t i = 0; i < 3; ++i) {
      double& place = world.back()[3][i];
      place = place * double{rig.bones[b].parentDist} +
              (parent < 0 ? double{head->parentOffset[i]}
                          : world[static_cast<std::size_t>(parent)][3][i]);
    }
  }
  return world;
}

// Each time that they are written, three stored angles turn a bone by less than sqrt(5) units, of
// which a full turn has 65536, and two move it by sqrt(2) of them, here on a way of some 20.
inline void ExpectPlaced(const placedbone& bone, const auto& rows, int writings = 1) {
  for (std::size_t i = 0; i < 12; ++i) {
    EXPECT_NEAR(bone[i / 3][i % 3], double{rows[i / 3][i % 3]},
                (i < 9 ? 2.2e-4 : 2.8e-3) * writings)
        << i;
  }
}
