#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "core/picker.h"
#include "core/scene.h"
#include "dialogs/options.h"
#include "dialogs/templates.h"
#include "support/scenebuild.h"

// The same tests before real windows and before scripted ones.
#if defined(MARROW_REAL_WINDOWS)
#include "windows/realdesktop.h"
using userdesktop = realdesktop;
using userwindow = realwindow;
#else
#include "desktop/scripted.h"
using userdesktop = desktop::scripteddesktop;
using userwindow = desktop::scriptedwindow;
#endif

using script = std::function<void(userwindow&)>;

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
  userdesktop desk;
  std::vector<std::string> messages;
};
