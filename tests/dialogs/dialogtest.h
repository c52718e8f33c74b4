#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "core/picker.h"
#include "core/scene.h"
#include "desktop/scripted.h"
#include "dialogs/options.h"
#include "dialogs/templates.h"
#include "support/scenebuild.h"

using desktop::scriptedwindow;
using script = std::function<void(scriptedwindow&)>;

// A desktop and a scene for a dialog.
class dialogtest : public testing::Test {
 protected:
  dialogtest() {
    core::scene::MakeCurrent(&scene);
    desktop::MakeCurrent(&desk);
    desk.onMessage = [this](const std::string& text, const std::string& caption, int style) {
      messages.push_back(caption + ": " + text + " " + std::to_string(style));
    };
  }
  ~dialogtest() override {
    core::SetPicker(nullptr);
    desktop::MakeCurrent(nullptr);
  }

  core::scene scene;
  desktop::scripteddesktop desk;
  std::vector<std::string> messages;
};
