#pragma once

#include <gtest/gtest.h>

#include <initializer_list>

#include "core/scene.h"
#include "core/state.h"

// A scene that is the current one for as long as the test.
class scenetest : public testing::Test {
 protected:
  scenetest() { core::scene::MakeCurrent(&scene); }

  cbone* AddBone(const char* name, cnode* parent, std::initializer_list<ckey> keys) {
    cbone* bone = CreateNewBone();
    bone->SetName(name);
    bone->anim.SetNumKeys(static_cast<int>(keys.size()), 0);
    int index = 0;
    for (ckey key : keys) {
      bone->anim.SetKeyAt(index++, key, 0);
    }
    if (parent != nullptr) {
      parent->AttachChild(bone, 1);
    }
    bone->UpdateAnim();
    Interface::AddToScene(bone, 0);
    return bone;
  }

  core::scene scene;
};

inline ckey KeyAt(int frame, const cpoint3& position, const cpoint3& angles = {},
                  const cpoint3& scale = MakePt3(1.0F, 1.0F, 1.0F)) {
  ckey key;
  key.frame = frame;
  key.pos = position;
  key.rot = EulerToQuat(angles);
  key.scale = scale;
  return key;
}

inline void ExpectPoint(const cpoint3& actual, const cpoint3& expected, float tolerance) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

inline void SetTriangle(cmesh& mesh, int index, int a, int b, int c) {
  cface face;
  face.v[0] = face.tv[0] = a;
  face.v[1] = face.tv[1] = b;
  face.v[2] = face.tv[2] = c;
  mesh.SetFace(index, face);
}
