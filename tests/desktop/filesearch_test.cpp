#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "plugin/platform/services.h"
#include "samples/tempdirectory.h"

namespace {

// The names that a search gives, directories with a slash behind; sorted.
std::set<std::string> Found(const std::string& pattern) {
  std::set<std::string> names;
  desktop::cfilesearch* const search = desktop::OpenFileSearch(pattern.c_str());
  if (search == nullptr) {
    return {"nothing"};
  }
  desktop::cfoundfile file{};
  while (desktop::NextFile(search, file)) {
    names.insert(std::string(file.name) + (file.directory ? "/" : ""));
  }
  EXPECT_FALSE(desktop::NextFile(search, file));
  desktop::CloseFileSearch(search);
  return names;
}

TEST(FileSearch, FindsByWildcardsWithoutRegardToCase) {
  const tempdirectory directory;
  for (const char* name : {"body.skin", "HEAD.SKIN", "a.skin.bak", "body_sk.skin", "skin"}) {
    directory.Write(name, std::string("x"));
  }
  std::filesystem::create_directory(directory.Path() + "/dir.skin");
  const std::string at = directory.Path() + "/";
  using names = std::set<std::string>;
  EXPECT_EQ(Found(at + "*.skin"), (names{"HEAD.SKIN", "body.skin", "body_sk.skin", "dir.skin/"}));
  EXPECT_EQ(Found(at + "b?DY.s*n"), (names{"body.skin"}));
  EXPECT_EQ(Found(at + "*sk*sk*"), (names{"body_sk.skin"}));
  for (const char* none : {"?.skin", "", "missing/*.skin", "body.skin/*"}) {
    EXPECT_EQ(Found(at + none), (names{"nothing"}));
  }
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(directory.Path());
  EXPECT_EQ(Found("h*"), (names{"HEAD.SKIN"}));
  std::filesystem::current_path(before);
}

}  // namespace
