#pragma once

#include <functional>
#include <memory>
#include <string>

#include "desktop/desktop.h"

namespace command {

// What a command wants to know of a run whose dialogs the user answers.
struct askhooks {
  std::function<void()> onMessage;
  std::function<void(const std::string& path)> onOpenFile;
  // The file to write in its place. Empty: it cannot be written, and counts as not chosen.
  std::function<std::string(const std::string& path)> onSaveFile;
};

// Whether the platform has windows to ask in.
bool CanAsk();

// The desktop that shows its dialogs as windows; null where CanAsk is false.
std::unique_ptr<desktop::idesktop> DesktopThatAsks(const askhooks& hooks);

}  // namespace command
