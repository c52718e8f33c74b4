#include "samples/tempdirectory.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <system_error>

namespace fs = std::filesystem;

tempdirectory::tempdirectory() {
  do {
    const std::string name = "marrow-test-" + std::to_string(std::random_device()());
    path_ = (fs::canonical(fs::temp_directory_path()) / name).generic_string();
  } while (!fs::create_directories(path_));
}

tempdirectory::~tempdirectory() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string tempdirectory::File(const std::string& name) const {
  const fs::path file = fs::path(path_) / name;
  fs::create_directories(file.parent_path());
  return file.generic_string();
}

std::string tempdirectory::Write(const std::string& name, const bytes& content) const {
  const std::string path = File(name);
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(content.data()),
             static_cast<std::streamsize>(content.size()));
  return path;
}

std::string tempdirectory::Write(const std::string& name, const std::string& text) const {
  return Write(name, bytes(text.begin(), text.end()));
}

std::map<std::string, std::string> tempdirectory::Files() const {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::directory_iterator(path_)) {
    const bytes content = ReadBytes(entry.path().string());
    files[entry.path().filename().string()].assign(content.begin(), content.end());
  }
  return files;
}

bytes ReadBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
