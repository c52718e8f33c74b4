#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/scene.h"
#include "desktop/scripted.h"
#include "module/module.h"
#include "samples/named.h"
#include "samples/tempdirectory.h"

struct shownmessage {
  std::string text;
  std::string caption;
  int style = 0;

  bool operator==(const shownmessage&) const = default;
};

// A state of the progress window: the text, the bar's end and its position.
struct progressstep {
  std::string text;
  int high = 0;
  int position = 0;

  bool operator==(const progressstep&) const = default;
};

// Appends a state; a higher position alone changes the last one.
void NoteStep(std::vector<progressstep>& steps, const progressstep& step);

// What a run showed and asked of the desktop.
struct runlog {
  std::vector<shownmessage> messages;
  // The states of the progress window in their order.
  std::vector<progressstep> steps;
  std::string caption;  // of the progress window; empty when there was none
  // Everything in the order in which it came: "wait cursor", "window", "sleep 500",
  // "window closed" (or still open: seen when the cursor is restored), "old cursor",
  // "message TEXT", "open dialog", "save dialog".
  std::vector<std::string> events;

  // The texts alone, each once.
  std::vector<std::string> Texts() const;
};

// The module as a host loads it, anew for each test, with a scene and a desktop that are the
// current ones. Dialogs are played by desk.scripts and get OK without a script.
class moduletest : public testing::Test {
 protected:
  moduletest();
  ~moduletest() override;

  // One run of the importer or exporter of the path's suffix; clears the log first.
  int Import(const std::string& path);
  int Export(const std::string& path);
  // Empties the scene, as a host does with a new file.
  void NewScene();

  const std::string& Notes() const { return scene->notes; }
  cnode* Node(const std::string& name) const { return NodeNamed(scene->Nodes(), name); }

  tempdirectory directory;
  desktop::scripteddesktop desk;
  runlog log;
  // Before the scene, whose nodes may be destroyed by code of any module.
  std::unique_ptr<module::library> module;
  std::unique_ptr<core::scene> scene;
};
