// Whole runs of the loaded module with every window real.

#include "windows/realdesktop.h"

#include <filesystem>

#include "core/assertion.h"
#include "core/picker.h"
#include "desktop/currentdesktop.h"
#include "desktop/win32picker.h"
#include "dialogs/templates.h"
#include "support/moduletest.h"
#include "support/scenebuild.h"

namespace {

constexpr int kList = 1000;  // of the picker

class norules final : public cdialogrules {
 public:
  void OnInit(cdialogwindow& /*window*/) override {}
  void OnCommand(cdialogwindow& /*window*/, int /*id*/) override {}
};

// The progress window after each message that changed it, read back from its controls.
struct watched {
  HWND window = nullptr;
  std::string caption;
  std::vector<progressstep> steps;
};
watched progress;

progressstep ReadBack(const realwindow& window) {
  HWND const bar = GetDlgItem(window.Handle(), kProgressBar);
  return {window.Text(kProgressText), static_cast<int>(SendMessageA(bar, PBM_GETRANGE, FALSE, 0)),
          static_cast<int>(SendMessageA(bar, PBM_GETPOS, 0, 0))};
}

LRESULT CALLBACK WatchMessages(int code, WPARAM sender, LPARAM parameter) {
  const auto& sent = *reinterpret_cast<const CWPRETSTRUCT*>(parameter);
  const int id = GetDlgCtrlID(sent.hwnd);
  if ((id == kProgressBar && sent.message == PBM_SETPOS) ||
      (id == kProgressText && sent.message == WM_SETTEXT)) {
    progress.window = GetParent(sent.hwnd);
    NoteStep(progress.steps, ReadBack(realwindow(progress.window)));
  }
  return CallNextHookEx(nullptr, code, sender, parameter);
}

class RealRun : public moduletest {
 protected:
  RealRun() {
    progress = {};
    hook_ = SetWindowsHookExA(WH_CALLWNDPROCRET, WatchMessages, nullptr, GetCurrentThreadId());
    real.onSleep = [this](int milliseconds) {
      log.events.push_back("sleep " + std::to_string(milliseconds));
      progress.caption = realwindow(progress.window).Caption();
      waiting = GetCursor() == LoadCursorA(nullptr, reinterpret_cast<const char*>(IDC_WAIT));
      focused = progress.window != nullptr && realwindow(progress.window).HasFocus();
    };
    cbone* hip = AddBone("hip", nullptr, {KeyAt(0, {}), KeyAt(3, {8.0F, 0.0F, 4.0F}, {0, 60, 0})});
    AddBone("tag_head", hip, {KeyAt(0, {0.0F, 0.0F, 16.0F})});
    AddSkin("body", {{}, {1.0F, 0.0F, 0.0F}, {0.0F, 2.0F, 0.0F}}, {hip, hip, hip}, {{0, 1, 2}});
    AddTriangle("crate");
    scene->animEnd = 3;
    SetCursor(LoadCursorA(nullptr, reinterpret_cast<const char*>(IDC_ARROW)));
  }
  ~RealRun() override { UnhookWindowsHookEx(hook_); }

  void UseReal() { desktop::MakeCurrent(&real); }
  static bool Exists(const std::string& path) { return std::filesystem::exists(path); }

  realdesktop real;
  bool waiting = false;
  bool focused = false;

 private:
  HHOOK hook_;
};

TEST_F(RealRun, TheProgressWindowShowsWhatTheScriptedOneIsTold) {
  for (const char* name : {"a.mdc", "a.mds", "a.mdx"}) {
    SCOPED_TRACE(name);
    desktop::MakeCurrent(&desk);
    ASSERT_EQ(Export(directory.File(name)), 1);
    const runlog scripted = log;
    ASSERT_GT(scripted.steps.size(), 3U);
    UseReal();
    HCURSOR const before = GetCursor();
    const ULONGLONG start = GetTickCount64();
    progress = {};
    ASSERT_EQ(Export(directory.File(name)), 1);
    EXPECT_GE(GetTickCount64() - start, 490U);
    EXPECT_EQ(progress.caption, scripted.caption);
    // At first the window stands as its template has it.
    ASSERT_FALSE(progress.steps.empty());
    EXPECT_EQ(progress.steps.front(), (progressstep{"Static", 100, 0}));
    progress.steps.erase(progress.steps.begin());
    EXPECT_EQ(progress.steps, scripted.steps);
    EXPECT_TRUE(waiting);
    EXPECT_EQ(GetCursor(), before);
    EXPECT_FALSE(IsWindow(progress.window));
  }
}

TEST_F(RealRun, TheBarHasSixteenBits) {
  norules rules;
  UseReal();
  cdesktop& shown = CurrentDesktop();
  cdialogwindow* const window = shown.OpenDialog(ProgressDialog(), rules, "wide");
  window->SetBarRange(kProgressBar, 65536 + 5);
  window->SetBarPosition(kProgressBar, 3);
  EXPECT_EQ(ReadBack(realwindow(progress.window)), (progressstep{"Static", 5, 3}));
  EXPECT_TRUE(IsWindowVisible(progress.window));
  shown.CloseDialog(window);
}

TEST_F(RealRun, TheMdxDialogsGiveAFileAndTheProgressWindowGetsTheFocus) {
  UseReal();
  const std::string mdm = directory.File("a.mdm");
  real.onSaveFile = [&](const cfiledialog& dialog, std::string& path) {
    EXPECT_EQ(dialog.flags, 0x1806U);
    path = directory.File("walk");  // the dialog adds its default extension
    return true;
  };
  const std::filesystem::path here = std::filesystem::current_path();
  ASSERT_EQ(Export(mdm), 1);
  EXPECT_TRUE(focused);
  EXPECT_TRUE(Exists(directory.File("walk.mdx")));
  EXPECT_EQ(std::filesystem::current_path(), here);

  const std::string other = directory.File("other.mdm");
  real.onSaveFile = nullptr;
  EXPECT_EQ(Export(other), 1);
  EXPECT_TRUE(Exists(other));
  EXPECT_FALSE(Exists(directory.File("other.mdx")));

  NewScene();
  EXPECT_EQ(Import(mdm), -1);
  EXPECT_TRUE(scene->Nodes().empty());
  real.onOpenFile = [&](const cfiledialog& dialog, std::string& path) {
    EXPECT_EQ(dialog.flags, 0x1804U);
    path = directory.File("walk.mdx");
    return true;
  };
  ASSERT_EQ(Import(mdm), 1);
  EXPECT_NE(Node("tag_head"), nullptr);
}

TEST_F(RealRun, ThePickerIsAListOfTheScene) {
  UseReal();
  std::function<void(realwindow&)> user;
  core::SetPicker([&](const std::vector<cnode*>& nodes, const char* title, const char* button) {
    cnode* chosen = nullptr;
    WithUser(user, [&] { chosen = desktop::PickFromWindow(nodes, title, button); });
    LoseFocus();
    return chosen;
  });
  real.scripts[103] = [&](realwindow& dialog) {
    user = [&](realwindow& picker) {
      EXPECT_EQ(picker.Caption(), "Select Origin Object");
      EXPECT_EQ(picker.Text(IDOK), "Select");
      EXPECT_EQ(picker.Rows(kList), (std::vector<std::string>{"hip", "tag_head", "body", "crate"}));
      EXPECT_FALSE(IsWindowEnabled(dialog.Handle()));
      EXPECT_FALSE(picker.Enabled(IDOK));
      picker.PickRow(kList, 2);
      EXPECT_TRUE(picker.Enabled(IDOK));
      picker.Ok();
    };
    dialog.Click(1016);
    EXPECT_EQ(dialog.Text(1015), "body");
    EXPECT_TRUE(dialog.HasFocus());
    user = [](realwindow& picker) {
      picker.PickRow(kList, 0);
      picker.Cancel();
    };
    dialog.Click(1016);
    EXPECT_EQ(dialog.Text(1015), "body");
    user = [](realwindow& picker) { picker.DoubleClickRow(kList, 3); };
    dialog.Click(1016);
    EXPECT_EQ(dialog.Text(1015), "crate");
    dialog.Cancel();
  };
  EXPECT_EQ(Export(directory.File("a.mdc")), -1);
  core::SetPicker(nullptr);
}

// Thrown in Core.dll, caught here, with frames of the module and of Core.dll between.
TEST_F(RealRun, TheHostsEndOfARunCrossesTheLibraries) {
  desk.scripts[103] = [](desktop::scriptedwindow& window) { window.Click(1016); };
  core::SetPicker([](const std::vector<cnode*>&, const char*, const char*) -> cnode* {
    MyAssertFailedLine("picked", "host", 7);
  });
  EXPECT_THROW(Export(directory.File("a.mdc")), core::assertionfailure);
  core::SetPicker(nullptr);
  desk.scripts.clear();
  EXPECT_EQ(Export(directory.File("a.mdc")), 1);
}

}  // namespace
