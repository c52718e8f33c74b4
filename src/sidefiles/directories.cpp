#include "sidefiles/directories.h"

namespace {

std::size_t FindModelsFolder(const std::string& path) {
  const std::size_t forward = path.find("models/");
  return forward != std::string::npos ? forward : path.find("models\\");
}

// The path up to and with its last `first` or, failing that, its last `second`.
std::string CutBehind(const std::string& path, char first, char second) {
  std::size_t separator = path.rfind(first);
  if (separator == std::string::npos) {
    separator = path.rfind(second);
  }
  return separator == std::string::npos ? path : path.substr(0, separator + 1);
}

}  // namespace

std::string ModelDirectory(const std::string& path) { return CutBehind(path, '\\', '/'); }

std::string GameDirectory(const std::string& path) {
  const std::size_t folder = FindModelsFolder(path);
  return folder == std::string::npos ? std::string() : path.substr(0, folder);
}

std::string GameDirectoryOrOwn(const std::string& path) {
  const std::size_t folder = FindModelsFolder(path);
  return folder == std::string::npos ? CutBehind(path, '/', '\\') : path.substr(0, folder);
}
