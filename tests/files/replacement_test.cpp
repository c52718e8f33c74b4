#include "files/replacement.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "samples/tempdirectory.h"

namespace {

namespace fs = std::filesystem;

class Replacement : public testing::Test {
 protected:
  std::string At(const std::string& name) const { return folder_.Path() + "/" + name; }
  void Put(const std::string& name, const std::string& text) const { folder_.Write(name, text); }
  std::map<std::string, std::string> Files() const { return folder_.Files(); }
  void Write(files::replacement& set, const std::string& name, const std::string& text) const {
    std::ofstream(set.Add(At(name)), std::ios::binary) << text;
  }

  // Leaves what a run leaves that is killed with these files between its names: `a` is replaced,
  // the others are new.
  void LeaveJournals(const std::vector<std::string>& names, std::size_t written,
                     const std::string& reached) const {
    std::string text = "marrow journal 2\n";
    for (const std::string& name : names) {
      text += (name == "a" ? "replaces " : "creates ") + At(name) + "\n";
    }
    for (std::size_t i = 0; i < written; ++i) {
      Put(names[i] + ".marrow-journal", text + "end\n" + (i == 0 ? reached : ""));
    }
  }

  std::vector<std::string> told_;
  files::replacement::teller tell_ = [this](const std::string&, const std::string& text) {
    told_.push_back(text);
  };

 private:
  tempdirectory folder_;
};

using filemap = std::map<std::string, std::string>;

TEST_F(Replacement, NothingIsTouchedBeforeTheCommit) {
  Put("a", "old");
  fs::permissions(At("a"), fs::perms(0640));
  fs::create_symlink("a", At("link"));
  {
    files::replacement set(tell_);
    Write(set, "link", "lost");
    EXPECT_EQ(Files()["a"], "old");
  }
  EXPECT_EQ(Files(), (filemap{{"a", "old"}, {"link", "old"}}));
  files::replacement set(tell_);
  Write(set, "link", "new");
  Write(set, "b", "first");
  set.Commit();
  EXPECT_TRUE(fs::is_symlink(At("link")));
  EXPECT_EQ(fs::status(At("a")).permissions(), fs::perms(0640));
  const filemap files = Files();
  EXPECT_EQ(files.at("a"), "new");
  EXPECT_EQ(files.at("b"), "first");
  EXPECT_TRUE(told_.empty());
}

TEST_F(Replacement, AFailedRenameTakesTheOthersBack) {
  Put("a", "old");
  {
    files::replacement set(tell_);
    Write(set, "a", "new");
    Write(set, "b", "new");
    Write(set, "c", "new");
    fs::create_directory(At("c"));
    EXPECT_THROW(set.Commit(), files::fault);
  }
  fs::remove(At("c"));
  EXPECT_EQ(Files(), (filemap{{"a", "old"}}));
}

TEST_F(Replacement, TheNextRunEndsWhatAKilledOneLeft) {
  static const std::string kDone = "committed\n";
  static const std::string kUndo = "committed\nundoing\n";
  const filemap old{{"a", "old"}};
  const filemap all{{"a", "new"}, {"b", "new"}};
  struct row {
    std::size_t journals;  // that the killed run had written
    std::string reached;
    std::vector<std::string> renamed;
    std::vector<std::string> undone;
    filemap left;
  };
  for (const row& killed : {row{0, "", {}, {}, old},  // before it was sure: as it was
                            row{1, "", {}, {}, old}, row{2, "", {}, {}, old},
                            row{2, kDone, {}, {}, all},  // after: as it was to be
                            row{2, kDone, {"a"}, {}, all}, row{2, kDone, {"a", "b"}, {}, all},
                            row{1, kDone, {"a", "b"}, {}, all},
                            row{2, kUndo, {"a", "b"}, {}, old},  // while it took them back
                            row{2, kUndo, {"a", "b"}, {"b"}, old}, row{2, kUndo, {"a"}, {}, old},
                            row{2, kUndo, {"a", "b"}, {"a", "b"}, old}}) {
    for (const char* next : {"a", "b"}) {
      Put("a", "old");
      Put("a.marrow-old", "old");
      for (const char* name : {"a", "b"}) {
        Put(std::string(name) + ".marrow-new", "new");
      }
      LeaveJournals({"a", "b"}, killed.journals, killed.reached);
      for (const std::string& name : killed.renamed) {
        fs::rename(At(name + ".marrow-new"), At(name));
      }
      for (const std::string& name : killed.undone) {
        name == "a" ? fs::rename(At("a.marrow-old"), At("a"))
                    : fs::rename(At(name), At(name + ".marrow-new"));
      }
      files::replacement(tell_).Add(At(next));
      files::replacement(tell_).Add(At("a"));
      files::replacement(tell_).Add(At("b"));
      EXPECT_EQ(Files(), killed.left)
          << killed.journals << " journals " << killed.reached << next << " first";
      for (const auto& [name, text] : Files()) {
        fs::remove(At(name));
      }
    }
  }
}

// A journal that came with somebody's folder names files elsewhere, or is endless.
TEST_F(Replacement, AStrangersJournalMovesNothing) {
  Put("victim", "old");
  Put("victim.marrow-new", "evil");
  Put("a", "old");
  LeaveJournals({"a", "victim"}, 1, "committed\n");
  files::replacement(tell_).Add(At("a"));
  EXPECT_EQ(Files()["victim"], "old");
  LeaveJournals({"a"}, 1, "committed\n");
  Put("a.marrow-new", "evil");
  fs::resize_file(At("a.marrow-journal"), std::uintmax_t{1} << 40);
  files::replacement(tell_).Add(At("a"));
  EXPECT_EQ(Files()["a"], "old");
}

TEST_F(Replacement, SaysWhatCannotBeWritten) {
  fs::create_directory(At("folder"));
  fs::create_symlink("nowhere", At("link"));
  Put("twice", "old");
  fs::create_hard_link(At("twice"), At("again"));
  for (const auto& [name, cause] : filemap{{"folder", "is a folder, not a file"},
                                           {"link", "the link leads nowhere"},
                                           {"none/a", "does not exist"}}) {
    files::replacement set(tell_);
    try {
      set.Add(At(name));
      ADD_FAILURE() << name;
    } catch (const files::fault& wrong) {
      EXPECT_EQ(wrong.Path(), At(name));
      EXPECT_NE(std::string(wrong.what()).find(cause), std::string::npos) << wrong.what();
    }
  }
  files::replacement(tell_).Add(At("twice"));
  ASSERT_EQ(told_.size(), 1U);
  EXPECT_NE(told_[0].find("2 hard links"), std::string::npos);
}

}  // namespace
