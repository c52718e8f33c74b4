#pragma once

#include <string>
#include <utility>

#include "benchscene.h"

enum class measuredrun {
  Export,
  Import,
  BareExport,  // WriteBareMdc or WriteBareMds on the scene that an export would write
  Scene,       // an mdc's every frame into a scene file
  BareLoop,    // DecodeBare on the file that an import would read
  BareScene,   // WriteBareFrames on the same
  // Of the scene as a scene file, see scenefilecase.
  ReadFile,
  BareRead,
  WriteFile,    // without giving the file its name
  ReplaceFile,  // the whole of it: brought to the disk and put in the older file's place
  BareWrite,
};

inline constexpr std::pair<const char*, measuredrun> kMeasuredRuns[] = {
    {"export", measuredrun::Export},         {"import", measuredrun::Import},
    {"bareexport", measuredrun::BareExport}, {"scene", measuredrun::Scene},
    {"bare", measuredrun::BareLoop},         {"barescene", measuredrun::BareScene},
    {"read", measuredrun::ReadFile},         {"bareread", measuredrun::BareRead},
    {"write", measuredrun::WriteFile},       {"replace", measuredrun::ReplaceFile},
    {"barewrite", measuredrun::BareWrite},
};

// Whether it reads or writes a scene file, without a model's.
inline bool IsOfSceneFile(measuredrun what) { return what >= measuredrun::ReadFile; }

// Measures one case in this process and prints it as one line of JSON. 0: the runs gave 1.
int MeasureCase(const modelsize& size, const std::string& format, measuredrun what);
