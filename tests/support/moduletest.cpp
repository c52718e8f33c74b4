#include "support/moduletest.h"

namespace {

std::string Suffix(const std::string& path) { return path.substr(path.rfind('.') + 1); }

}  // namespace

void NoteStep(std::vector<progressstep>& steps, const progressstep& step) {
  if (!steps.empty() && steps.back().text == step.text && steps.back().high == step.high &&
      steps.back().position <= step.position) {
    steps.back() = step;
  } else {
    steps.push_back(step);
  }
}

std::vector<std::string> runlog::Texts() const {
  std::vector<std::string> texts;
  for (const progressstep& step : steps) {
    if (texts.empty() || texts.back() != step.text) {
      texts.push_back(step.text);
    }
  }
  return texts;
}

moduletest::moduletest() {
  std::string error;
  module = module::library::Load(MARROW_MODULE_PATH, error);
  EXPECT_NE(module, nullptr) << error;
  desk.onMessage = [this](const std::string& text, const std::string& caption, int style) {
    log.messages.push_back({text, caption, style});
    log.events.push_back("message " + text);
  };
  desk.onProgress = [this](const desktop::scriptedwindow& window) {
    if (log.caption.empty()) {
      log.caption = window.Caption();
      log.events.emplace_back("window");
    }
    NoteStep(log.steps, {window.Text(1014), window.BarHigh(), window.BarPosition()});
  };
  desk.onSleep = [this](int milliseconds) {
    log.events.push_back("sleep " + std::to_string(milliseconds));
  };
  desk.onCursor = [this](bool waiting) {
    if (!waiting && desk.OpenWindows() == 0) {
      log.events.emplace_back("window closed");
    }
    log.events.emplace_back(waiting ? "wait cursor" : "old cursor");
  };
  desktop::MakeCurrent(&desk);
  NewScene();
}

moduletest::~moduletest() {
  core::scene::MakeCurrent(nullptr);
  desktop::MakeCurrent(nullptr);
}

void moduletest::NewScene() {
  scene = std::make_unique<core::scene>();
  core::scene::MakeCurrent(scene.get());
}

int moduletest::Import(const std::string& path) {
  log = {};
  return module->FindImporter(Suffix(path))->importer->Import(path.c_str());
}

int moduletest::Export(const std::string& path) {
  log = {};
  return module->FindExporter(Suffix(path))->exporter->Export(path.c_str());
}
