#include "command/files/paths.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "command/failure.h"
#include "command/wording.h"
#include "core/utf8path.h"

namespace command {

namespace {

namespace fs = std::filesystem;

// The mdx files of a directory, ascending.
std::vector<fs::path> SkeletonsIn(const fs::path& directory) {
  std::vector<fs::path> found;
  std::error_code error;
  fs::directory_iterator entry(directory.empty() ? fs::path(".") : directory, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    if (KindOf(entry->path().filename().string()) == filekind::Mdx) {
      found.push_back(directory / entry->path().filename());
    }
  }
  std::ranges::sort(found);
  return found;
}

}  // namespace

std::string Folded(std::string_view text) { return LowerCase(text); }

std::string SuffixOf(const std::string& path) {
  const std::string extension = Folded(core::PathOf(path).extension().string());
  return extension.empty() ? extension : extension.substr(1);
}

void RequireReadable(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(core::PathOf(path), error);
  if (!fs::exists(status)) {
    throw failure(path, status.type() == fs::file_type::not_found ? "there is no such file"
                                                                  : error.message());
  }
  if (!fs::is_regular_file(status)) {
    throw failure(
        path, fs::is_directory(status) ? "is a directory, not a file" : "is not a regular file");
  }
  const auto close = [](std::FILE* stream) { std::fclose(stream); };
  const std::unique_ptr<std::FILE, decltype(close)> stream(std::fopen(path.c_str(), "rb"), close);
  if (!stream) {
    throw failure(path, std::string("cannot be opened: ") + std::strerror(errno));
  }
  if (fs::file_size(core::PathOf(path), error) == 0) {
    throw failure(path, "is empty");
  }
}

std::string FullPath(const std::string& path) {
  std::error_code error;
  const fs::path whole = fs::absolute(core::PathOf(path), error);
  if (error) {
    return path;
  }
  // "a/../b" is b, unless a is a link to elsewhere.
  const fs::path plain = whole.lexically_normal();
  return (fs::equivalent(whole.parent_path(), plain.parent_path(), error) ? plain : whole).string();
}

std::string MdxToWrite(const std::string& mdx) {
  return mdx.empty() || FullPath(mdx).find('.') != std::string::npos ? mdx : mdx + ".mdx";
}

std::string MdxForModule(const std::string& told, const std::string& mdx, std::size_t longest) {
  std::string whole = mdx.empty() ? mdx : FullPath(mdx);
  if (whole.size() <= longest) {
    return whole;
  }
  std::error_code error;
  const fs::path nearby = fs::path(".") / fs::proximate(core::PathOf(whole), error);
  if (error || nearby.string().size() > longest) {
    throw failure(told,
                  "its path is longer than the " + std::to_string(longest) +
                      " bytes that the path of an mdx file may have, from the current directory "
                      "on, too",
                  kExitUsage);
  }
  return nearby.string();
}

std::string SkeletonOf(const std::string& mdmPath, const std::string& chosen) {
  if (!chosen.empty()) {
    RequireReadable(chosen);
    return chosen;
  }
  const fs::path model = core::PathOf(mdmPath);
  const std::string stem = Folded(model.stem().string());
  const std::vector<fs::path> skeletons = SkeletonsIn(model.parent_path());
  std::vector<std::string> names;
  std::string fitting;
  for (const fs::path& skeleton : skeletons) {
    names.push_back(skeleton.string());
    const bool exact = skeleton.stem() == model.stem();
    if (exact || (fitting.empty() && Folded(skeleton.stem().string()) == stem)) {
      fitting = skeleton.string();
    }
  }
  if (!fitting.empty()) {
    RequireReadable(fitting);
    return fitting;
  }
  throw failure(mdmPath, "needs the mdx file with its skeleton (--mdx FILE): there is no " +
                             model.stem().string() + ".mdx beside it" +
                             (names.empty() ? ", nor any other mdx"
                                            : "; it could be one of: " + Joined(names)));
}

std::string WithSuffix(const std::string& path, const std::string& suffix) {
  return path.substr(0, path.rfind('.')) + suffix;
}

}  // namespace command
