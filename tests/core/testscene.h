#pragma once

#include <gtest/gtest.h>

#include "core/scene.h"
#include "support/scenebuild.h"

// A scene that is the current one for as long as the test.
class scenetest : public testing::Test {
 protected:
  scenetest() { core::scene::MakeCurrent(&scene); }

  core::scene scene;
};
