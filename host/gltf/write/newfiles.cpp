#include "gltf/write/newfiles.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "core/utf8path.h"
#include "gltf/write/fault.h"

namespace gltf {

namespace {

namespace fs = std::filesystem;

constexpr int kMostNames = 1000;

std::string NameOf(const std::string& place) { return core::PathOf(place).filename().string(); }

writefault Unwritable(const std::string& place, int reason) {
  return writefault("\"" + NameOf(place) +
                    "\" cannot be written: " + std::generic_category().message(reason));
}

// The file that the name leads to, so that a link goes on leading there.
std::string Resolved(const std::string& place) {
  std::error_code error;
  const fs::file_status status = fs::status(core::PathOf(place), error);
  if (!fs::exists(status)) {
    return place;
  }
  if (!fs::is_regular_file(status)) {
    throw writefault("\"" + NameOf(place) + "\" is there and no file that can be replaced");
  }
  // Taking a file's place asks nothing of the file.
  if (access(place.c_str(), W_OK) != 0) {
    throw Unwritable(place, errno);
  }
  const fs::path target = fs::canonical(core::PathOf(place), error);
  return error ? place : target.string();
}

std::string FreeNameBeside(const std::string& place) {
  for (int n = 0; n < kMostNames; ++n) {
    std::string name = place + ".part" + std::to_string(n);
    std::error_code error;
    if (fs::symlink_status(core::PathOf(name), error).type() == fs::file_type::not_found) {
      return name;
    }
  }
  throw writefault("no name is free for writing beside \"" + NameOf(place) + "\"");
}

}  // namespace

newfiles::~newfiles() {
  for (const pending& file : files_) {
    std::error_code error;
    fs::remove(core::PathOf(file.written), error);
  }
}

void newfiles::Write(const std::string& place,
                     std::span<const std::span<const std::uint8_t>> pieces) {
  const std::string target = Resolved(place);
  const std::string name = FreeNameBeside(target);
  std::error_code error;
  files_.push_back({name, target, fs::status(core::PathOf(target), error).permissions()});
  std::FILE* const stream = std::fopen(name.c_str(), "wb");
  bool good = stream != nullptr;
  int reason = errno;
  for (std::size_t i = 0; good && i < pieces.size(); ++i) {
    good = std::fwrite(pieces[i].data(), 1, pieces[i].size(), stream) == pieces[i].size();
    reason = errno;
  }
  if (stream != nullptr && std::fclose(stream) != 0 && good) {
    good = false;
    reason = errno;
  }
  if (!good) {
    throw Unwritable(place, reason);
  }
}

void newfiles::Commit() {
  for (const pending& file : files_) {
    std::error_code error;
    if (file.permissions != fs::perms::unknown) {
      fs::permissions(core::PathOf(file.written), file.permissions, error);
    }
    fs::rename(core::PathOf(file.written), core::PathOf(file.place), error);
    if (error) {
      throw writefault("\"" + NameOf(file.place) + "\" cannot be replaced: " + error.message());
    }
  }
  files_.clear();
}

}  // namespace gltf
