#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "core/decode.h"
#include "core/findfile.h"
#include "core/scene.h"
#include "core/state.h"
#include "core/utf8path.h"

namespace {

// Longest path that GetPathName gives, without its final zero.
constexpr std::size_t kLongestPath = 511;
// No image of a game comes near; it keeps a wrong path from filling the memory.
constexpr std::uintmax_t kLargestFile = std::uintmax_t{256} << 20;

struct fileclose {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

std::vector<std::uint8_t> ReadWhole(const std::string& path) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(core::PathOf(path), error);
  if (error || size > kLargestFile) {
    return {};
  }
  const std::unique_ptr<std::FILE, fileclose> file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    return {};
  }
  std::vector<std::uint8_t> content(static_cast<std::size_t>(size));
  content.resize(std::fread(content.data(), 1, content.size(), file.get()));
  return content;
}

// The decoded file. What a scene file takes as it is has no use for its pixels, of which a scene of
// many images would be full.
std::shared_ptr<const core::pixels> DecodeFile(const std::string& path) {
  std::shared_ptr<const core::pixels> decoded = core::DecodeImage(ReadWhole(path));
  return decoded == nullptr || decoded->encoded.empty() ? decoded
                                                        : core::KeepImage(decoded->encoded);
}

std::shared_ptr<const core::pixels> LoadOnce(const std::string& path) {
  core::scene* const scene = core::scene::CurrentOrNull();
  std::error_code error;
  const std::filesystem::path whole = std::filesystem::canonical(core::PathOf(path), error);
  if (scene == nullptr || error) {
    return DecodeFile(path);
  }
  std::weak_ptr<const core::pixels>& known = scene->images[whole.string()];
  std::shared_ptr<const core::pixels> content = known.lock();
  if (content == nullptr) {
    known = content = DecodeFile(path);
  }
  return content;
}

}  // namespace

cimage::cimage() : state_(new core::imagestate{kNoImagePath, nullptr}) {}
cimage::~cimage() { delete state_; }
cimage::cimage(const cimage& other) : state_(new core::imagestate(*other.state_)) {}

cimage& cimage::operator=(const cimage& other) {
  if (this != &other) {
    core::imagestate copy = *other.state_;
    *state_ = std::move(copy);
  }
  return *this;
}

int cimage::Load(const char* path) {
  if (path == nullptr) {
    return 0;
  }
  const std::string found = core::FindFile(path);
  if (found.empty()) {
    return 0;
  }
  auto content = LoadOnce(found);
  if (!content) {
    return 0;
  }
  state_->path = path;
  state_->content = std::move(content);
  return 1;
}

int cimage::GetPathName(char* buffer) const {
  const std::string& path = state_->path;
  const std::size_t length = std::min(path.size(), kLongestPath);
  std::memcpy(buffer, path.data(), length);
  buffer[length] = '\0';
  return 1;
}

void cimage::SetPathName(const char* path) { state_->path = path == nullptr ? "" : path; }
