// The program as the Explorer and as a console start it.

#include <gtest/gtest.h>

#include <filesystem>

#include "support/moduletest.h"
#include "support/scenebuild.h"
#include "windows/realdesktop.h"

namespace {

class started {
 public:
  started(const std::string& arguments, DWORD console) {
    std::string line = "\"" MARROW_PROGRAM_PATH "\" " + arguments;
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    EXPECT_NE(CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, console, nullptr,
                             nullptr, &startup, &process_),
              FALSE);
  }
  ~started() {
    TerminateProcess(process_.hProcess, 99);  // what has ended stays as it is
    CloseHandle(process_.hThread);
    CloseHandle(process_.hProcess);
  }
  started(const started&) = delete;
  started& operator=(const started&) = delete;

  // The dialog whose caption begins so, once it takes input; others are passed over.
  realwindow Dialog(const std::string& caption) const {
    std::vector<HWND> others;
    HWND found = WaitForDialog(process_.dwThreadId);
    while (found != nullptr && !realwindow(found).Caption().starts_with(caption)) {
      others.push_back(found);
      found = WaitForDialog(process_.dwThreadId, others);
    }
    return realwindow(found);
  }

  // Its exit code, where it ends by itself.
  DWORD End() const {
    constexpr DWORD kLongest = 60000;  // milliseconds
    DWORD code = STILL_ACTIVE;
    EXPECT_EQ(WaitForSingleObject(process_.hProcess, kLongest), WAIT_OBJECT_0);
    GetExitCodeProcess(process_.hProcess, &code);
    return code;
  }

 private:
  PROCESS_INFORMATION process_{};
};

class Dropped : public moduletest {
 protected:
  Dropped() {
    AddBone("hip", nullptr, {KeyAt(0, {}), KeyAt(3, {8.0F, 0.0F, 4.0F})});
    AddTriangle("crate");
    EXPECT_EQ(Export(model), 1);
  }
  static bool Exists(const std::string& path) { return std::filesystem::exists(path); }

  const std::string model = directory.File("walk.mdc");
  const std::string other = directory.File("other.txt");
};

TEST_F(Dropped, FilesAreAskedForAndWrittenBesideThem) {
  const started run("\"" + model + "\"", CREATE_NEW_CONSOLE);
  run.Dialog("Write walk.mdc as").Ok();
  run.Dialog("MDC Importer").Ok();
  realwindow box = run.Dialog("Marrow");
  EXPECT_NE(box.Text(kMessageText).find("walk.glb: written"), std::string::npos)
      << box.Text(kMessageText);
  box.Ok();
  EXPECT_EQ(run.End(), 0U);
  const std::string glb = directory.File("walk.glb");
  EXPECT_TRUE(Exists(glb));

  // The scene is there now: it is replaced only where that is wanted.
  const auto before = std::filesystem::last_write_time(glb);
  const started again("\"" + model + "\"", CREATE_NEW_CONSOLE);
  again.Dialog("Write walk.mdc as").Ok();
  again.Dialog("Marrow").Click(IDNO);
  EXPECT_EQ(again.End(), 0U);
  EXPECT_EQ(std::filesystem::last_write_time(glb), before);

  const started back("\"" + glb + "\"", CREATE_NEW_CONSOLE);
  realwindow save = back.Dialog("Write walk.glb as");
  save.SetText(kFileName, "new.mdc");
  save.Ok();
  back.Dialog("MDC/MDS Exporter").Ok();
  back.Dialog("Marrow").Ok();
  EXPECT_EQ(back.End(), 0U);
  EXPECT_TRUE(Exists(directory.File("new.mdc")));
}

TEST_F(Dropped, WhatIsNoModelIsTold) {
  std::filesystem::copy_file(model, other);
  const started run("\"" + other + "\"", CREATE_NEW_CONSOLE);
  realwindow box = run.Dialog("Marrow");
  EXPECT_NE(box.Text(kMessageText).find("error: "), std::string::npos) << box.Text(kMessageText);
  box.Ok();
  EXPECT_EQ(run.End(), 2U);
}

// Nobody answers a dialog here, so a run with one would not end.
TEST_F(Dropped, AConsoleIsNotAskedIn) {
  const std::string glb = directory.File("a.glb");
  EXPECT_EQ(started("import \"" + model + "\" -o \"" + glb + "\"", CREATE_NEW_CONSOLE).End(), 0U);
  EXPECT_TRUE(Exists(glb));
  EXPECT_EQ(started("\"" + model + "\"", DETACHED_PROCESS).End(), 2U);
}

}  // namespace
