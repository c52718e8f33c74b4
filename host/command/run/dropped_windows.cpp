#include <windows.h>

#include <commdlg.h>

#include <algorithm>
#include <array>
#include <filesystem>

#include "command/failure.h"
#include "command/files/paths.h"
#include "command/run/dropped.h"
#include "core/utf8path.h"

namespace command {

namespace {

constexpr char kTitle[] = "Marrow";

// What the dialog offers, in the order of the suffixes.
constexpr char kSceneTypes[] = "glTF scene (*.glb)\0*.glb\0";
constexpr char kModelTypes[] =
    "Skeletal model (*.mds)\0*.mds\0Skeletal model with its mdx (*.mdm)\0*.mdm\0"
    "Vertex animation (*.mdc)\0*.mdc\0";
constexpr std::array kModelSuffixes{".mds", ".mdm", ".mdc"};

bool IsFile(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(core::PathOf(path), error);
}

// The Explorer gives the program a console that it shares with nobody, and full paths alone.
bool AreDropped(const std::vector<std::string>& arguments) {
  std::array<DWORD, 2> sharing{};
  return !arguments.empty() && std::ranges::all_of(arguments, IsFile) &&
         GetConsoleProcessList(sharing.data(), sharing.size()) == 1;
}

bool MayReplace(const std::string& path) {
  return !IsFile(path) ||
         MessageBoxA(nullptr, (path + "\nis there already. Replace it?").c_str(), kTitle,
                     MB_YESNO | MB_ICONQUESTION | MB_SETFOREGROUND) == IDYES;
}

// The file to write for a dropped one; empty where its user wants none.
std::string AskForTarget(const std::string& dropped) {
  const bool scene = KindOf(dropped) == filekind::Scene;
  const std::filesystem::path path = core::PathOf(dropped);
  const std::string folder = path.parent_path().string();
  const std::string title = "Write " + path.filename().string() + " as";
  std::array<char, 1024> chosen{};
  path.stem().string().copy(chosen.data(), chosen.size() - 1);
  OPENFILENAMEA dialog{};
  dialog.lStructSize = sizeof dialog;
  dialog.lpstrFilter = scene ? kModelTypes : kSceneTypes;
  dialog.nFilterIndex = 1;
  dialog.lpstrFile = chosen.data();
  dialog.nMaxFile = static_cast<DWORD>(chosen.size());
  dialog.lpstrInitialDir = folder.c_str();
  dialog.lpstrTitle = title.c_str();
  dialog.Flags = OFN_EXPLORER | OFN_HIDEREADONLY | OFN_NOCHANGEDIR | OFN_PATHMUSTEXIST;
  if (GetSaveFileNameA(&dialog) == FALSE) {
    return {};
  }
  std::string target = chosen.data();
  if (KindOf(target) == filekind::Other) {
    target += scene ? kModelSuffixes[dialog.nFilterIndex - 1] : ".glb";
  }
  return MayReplace(target) ? target : std::string();
}

}  // namespace

std::optional<int> ConvertDropped(console& out, const std::vector<std::string>& arguments,
                                  const std::function<int(const std::vector<std::string>&)>& run) {
  if (!AreDropped(arguments)) {
    return std::nullopt;
  }
  std::string lines;
  out.SetListener([&](const std::string& line) { lines += line + "\n"; });
  int worst = kExitDone;
  for (const std::string& file : arguments) {
    const filekind kind = KindOf(file);
    const bool convertible = kind != filekind::Other && kind != filekind::Mdx;
    // The command tells what is wrong with the others.
    const std::string target = convertible ? AskForTarget(file) : WithSuffix(file, ".glb");
    if (!target.empty()) {
      const int code = run({"convert", file, target, "--ask"});
      worst = code == kExitDone ? worst : code;
    }
  }
  out.SetListener({});
  if (worst == kExitNothing) {
    lines += "Nothing was written.\n";
  }
  if (!lines.empty()) {
    MessageBoxA(nullptr, lines.c_str(), kTitle,
                MB_SETFOREGROUND |
                    static_cast<UINT>(worst == kExitDone ? MB_ICONINFORMATION : MB_ICONWARNING));
  }
  return worst;
}

}  // namespace command
