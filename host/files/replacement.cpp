#include "files/replacement.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <set>
#include <string_view>
#include <system_error>

#include "core/utf8path.h"
#include "files/disk.h"

namespace files {

// A file of a set that is being committed.
struct member {
  std::string target;
  bool existed = false;  // when the commit began

  bool operator==(const member&) const = default;
};

namespace {

namespace fs = std::filesystem;

constexpr char kNew[] = ".marrow-new";
constexpr char kOld[] = ".marrow-old";
constexpr char kLock[] = ".marrow-lock";
constexpr char kJournal[] = ".marrow-journal";
// First line of a journal, what stands before the paths of its list, the list's end, and what the
// first file's journal has behind it.
constexpr char kJournalHead[] = "marrow journal 2";
constexpr std::string_view kJournalReplaces = "replaces ";
constexpr std::string_view kJournalCreates = "creates ";
constexpr char kJournalEnd[] = "end";
constexpr char kJournalCommitted[] = "committed";
constexpr char kJournalUndoing[] = "undoing";
constexpr std::uintmax_t kLargestJournal = 1 << 20;  // bytes
// Bytes of a target's name in the names beside it: file systems end at 255.
constexpr std::size_t kLongestStem = 200;

std::string Text(const fs::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

bool Exists(const std::string& path) {
  std::error_code error;
  return fs::exists(fs::symlink_status(core::PathOf(path), error));
}

void Remove(const std::string& path) {
  std::error_code error;
  fs::remove(core::PathOf(path), error);
}

std::string FolderOf(const std::string& path) { return Text(core::PathOf(path).parent_path()); }

bool HasFolder(const std::string& path) {
  std::error_code error;
  return fs::is_directory(core::PathOf(FolderOf(path)), error);
}

std::string Beside(const std::string& target, const char* tail) {
  const fs::path path = core::PathOf(target);
  std::string name = Text(path.filename());
  if (name.size() > kLongestStem) {
    const std::size_t hash = std::hash<std::string>()(name);
    std::size_t cut = kLongestStem;
    while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0U) == 0x80U) {
      --cut;  // between characters
    }
    name = name.substr(0, cut) + "-" + std::to_string(hash);
  }
  return Text(path.parent_path() / core::PathOf(name + tail));
}

// The absolute path of the file behind the name.
std::string Resolved(const std::string& path) {
  std::error_code error;
  const fs::path named = core::PathOf(path);
  const fs::file_status status = fs::status(named, error);
  if (!fs::exists(status)) {
    if (fs::is_symlink(fs::symlink_status(named, error))) {
      throw fault(path, "the link leads nowhere");
    }
    const fs::path folder = named.has_parent_path() ? named.parent_path() : fs::path(".");
    const fs::path whole = fs::canonical(folder, error);
    if (error || !fs::is_directory(whole, error)) {
      throw fault(path, "the folder " + Text(folder) + " does not exist");
    }
    return Text(whole / named.filename());
  }
  if (fs::is_directory(status)) {
    throw fault(path, "is a folder, not a file");
  }
  if (!fs::is_regular_file(status)) {
    throw fault(path, "is not a regular file");
  }
  if (const int reason = CheckWritable(path); reason != 0) {
    throw fault(path, "cannot be written: " + SystemMessage(reason));
  }
  return Text(fs::canonical(named, error));
}

// What a set leaves beside each of its files while it is committed. The first one's journal says
// how far the set has come: committed, when all journals are there and the new files are to take
// their names; undoing, when that failed and the old files are to have theirs again.
struct journal {
  enum class state { Written, Committed, Undoing };

  std::vector<member> set;  // empty: there is no journal, or it was not written whole
  state reached = state::Written;
};

std::string JournalText(const std::vector<member>& set) {
  std::string text = std::string(kJournalHead) + "\n";
  for (const member& each : set) {
    text.append(each.existed ? kJournalReplaces : kJournalCreates).append(each.target).append("\n");
  }
  return text + kJournalEnd + "\n";
}

journal ReadJournal(const std::string& target) {
  const fs::path path = core::PathOf(Beside(target, kJournal));
  std::error_code error;
  if (!fs::is_regular_file(fs::symlink_status(path, error)) ||
      fs::file_size(path, error) > kLargestJournal || error) {
    return {};
  }
  std::ifstream file(path, std::ios::binary);
  std::string line;
  const bool headed = std::getline(file, line) && line == kJournalHead;
  journal read;
  bool own = false;
  while (headed && std::getline(file, line) && line != kJournalEnd) {
    const bool existed = line.starts_with(kJournalReplaces);
    if (!existed && !line.starts_with(kJournalCreates)) {
      return {};
    }
    line.erase(0, existed ? kJournalReplaces.size() : kJournalCreates.size());
    own = own || line == target;
    read.set.push_back({line, existed});
  }
  // Taken for none, it would let go of the old files.
  if (!file.is_open() || file.bad()) {
    throw fault(target, "what an interrupted run left beside it cannot be read");
  }
  if (!headed || !file || !own) {
    return {};
  }
  if (std::getline(file, line) && line == kJournalCommitted) {
    const bool undoing = std::getline(file, line) && line == kJournalUndoing;
    read.reached = undoing ? journal::state::Undoing : journal::state::Committed;
  }
  return read;
}

// Writes and closes the file; the system's error, 0 for success.
int WriteFile(const std::string& path, std::span<const std::span<const std::uint8_t>> pieces,
              bool append = false) {
  errno = 0;
#ifdef _WIN32
  std::FILE* const stream = _wfopen(core::PathOf(path).c_str(), append ? L"ab" : L"wb");
#else
  std::FILE* const stream = std::fopen(path.c_str(), append ? "ab" : "wb");
#endif
  bool good = stream != nullptr;
  int reason = LastError();
  for (std::size_t i = 0; good && i < pieces.size(); ++i) {
    good = std::fwrite(pieces[i].data(), 1, pieces[i].size(), stream) == pieces[i].size();
    reason = LastError();
  }
  if (stream != nullptr && std::fclose(stream) != 0 && good) {
    good = false;
    reason = LastError();
  }
  return good ? 0 : std::max(reason, 1);
}

// Writes or continues a small file and brings it to the disk.
int WriteText(const std::string& path, const std::string& text, bool append = false) {
  const std::span<const std::uint8_t> bytes(reinterpret_cast<const std::uint8_t*>(text.data()),
                                            text.size());
  const int error = WriteFile(path, {{bytes}}, append);
  return error != 0 ? error : FlushFile(path);
}

// The error of the first folder that cannot be flushed, 0 for none.
int FlushFolders(const std::vector<member>& set) {
  std::set<std::string> folders;
  int error = 0;
  for (const member& each : set) {
    const std::string folder = FolderOf(each.target);
    if (error == 0 && folders.insert(folder).second) {
      error = FlushFolder(folder);
    }
  }
  return error;
}

void WriteJournals(const std::vector<member>& set) {
  const std::string text = JournalText(set);
  const auto require = [](const member& each, int error) {
    if (error != 0) {
      throw fault(each.target, "cannot be written: " + SystemMessage(error));
    }
  };
  for (const member& each : set) {
    require(each, WriteText(Beside(each.target, kJournal), text));
  }
  require(set.front(), FlushFolders(set));
  require(set.front(), WriteText(Beside(set.front().target, kJournal),
                                 std::string(kJournalCommitted) + "\n", true));
}

// The first file's journal goes last: without it the others' say nothing.
void RemoveTraces(const std::vector<member>& set) {
  for (std::size_t i = set.size(); i-- > 0;) {
    for (const char* tail : {kOld, kNew, kJournal}) {
      Remove(Beside(set[i].target, tail));
    }
  }
}

// Gives a file of a set that is undone its old content again, or none; the system's error. A new
// file goes back to the name that it had, and is only removed when all have theirs.
int MoveBack(const member& undone) {
  const std::string old = Beside(undone.target, kOld);
  const std::string fresh = Beside(undone.target, kNew);
  if (undone.existed) {
    return Exists(old) ? RenameOver(old, undone.target) : 0;
  }
  return !Exists(fresh) && Exists(undone.target) ? RenameOver(undone.target, fresh) : 0;
}

// A file whose journal is gone, or another's, has been seen to already.
bool IsMember(const member& each, const std::vector<member>& set) {
  return ReadJournal(each.target).set == set;
}

void FinishCommit(const std::vector<member>& set) {
  for (const member& each : set) {
    const std::string fresh = Beside(each.target, kNew);
    if (!IsMember(each, set) || !Exists(fresh)) {
      continue;
    }
    CopyAttributes(each.target, fresh);
    if (const int error = RenameOver(fresh, each.target); error != 0) {
      throw fault(each.target, "an interrupted run cannot be finished: " + SystemMessage(error));
    }
  }
}

void FinishUndo(const std::vector<member>& set) {
  for (std::size_t i = set.size(); i-- > 0;) {
    if (const int error = IsMember(set[i], set) ? MoveBack(set[i]) : 0; error != 0) {
      throw fault(set[i].target, "an interrupted run cannot be undone: " + SystemMessage(error));
    }
  }
}

}  // namespace

replacement::replacement(teller warn) : warn_(std::move(warn)) {}

replacement::~replacement() {
  for (const auto& each : parts_) {
    if (!each->renamed) {
      Remove(each->fresh);
    }
  }
}

void replacement::Lock(const std::string& target, const std::string& asked) {
  const std::string path = Beside(target, kLock);
  if (std::ranges::any_of(locks_, [&](const auto& held) { return held->Path() == path; })) {
    return;
  }
  std::unique_ptr<lockfile> lock;
  try {
    lock = lockfile::Acquire(path, kLockWait);
  } catch (const std::system_error& error) {
    throw fault(asked, "cannot be written: " + SystemMessage(error.code().value()));
  }
  if (lock == nullptr) {
    throw fault(asked, "not written: another run is writing it (waited " +
                           std::to_string(kLockWait.count()) + " s)");
  }
  locks_.push_back(std::move(lock));
}

void replacement::Recover(const std::string& target, const std::string& asked) {
  const std::vector<member> set = ReadJournal(target).set;
  for (const member& each : set) {
    if (HasFolder(each.target)) {
      Lock(each.target, asked);
    }
  }
  const journal::state reached =
      set.empty() ? journal::state::Written : ReadJournal(set.front().target).reached;
  if (reached != journal::state::Written) {
    const bool undo = reached == journal::state::Undoing;
    undo ? FinishUndo(set) : FinishCommit(set);
    if (const int error = FlushFolders(set); error != 0) {
      throw fault(asked, "an interrupted run cannot be finished: " + SystemMessage(error));
    }
    RemoveTraces(set);
    warn_(asked, undo ? "undid what an interrupted run had begun to write"
                      : "finished what an interrupted run had begun to write");
  }
  for (const char* tail : {kJournal, kNew, kOld}) {
    Remove(Beside(target, tail));
  }
}

const std::string& replacement::Add(const std::string& target) {
  const std::string resolved = Resolved(target);
  for (const auto& each : parts_) {
    if (each->target == resolved) {
      return each->fresh;
    }
  }
  Lock(resolved, target);
  Recover(resolved, target);
  std::error_code error;
  if (const auto links = fs::hard_link_count(core::PathOf(resolved), error); !error && links > 1) {
    warn_(target, "is one of " + std::to_string(links) +
                      " hard links to a file; the others keep the old content");
  }
  auto added = std::make_unique<part>();
  added->asked = target;
  added->target = resolved;
  added->fresh = Beside(resolved, kNew);
  added->cleanup = std::make_unique<cleanupentry>(added->fresh);
  parts_.push_back(std::move(added));
  const std::string& fresh = parts_.back()->fresh;
  if (const int reason = WriteFile(fresh, {}); reason != 0) {
    Remove(fresh);
    parts_.pop_back();
    throw fault(target, "cannot be written: " + SystemMessage(reason));
  }
  return fresh;
}

void replacement::Write(const std::string& target,
                        std::span<const std::span<const std::uint8_t>> pieces) {
  if (const int reason = WriteFile(Add(target), pieces); reason != 0) {
    throw fault(target, "cannot be written: " + SystemMessage(reason));
  }
}

const std::string& replacement::NewPath(const std::string& target) const {
  const auto found = std::ranges::find_if(
      parts_, [&](const auto& each) { return each->asked == target || each->target == target; });
  return found == parts_.end() ? target : (*found)->fresh;
}

void replacement::KeepOld() {
  for (const auto& each : parts_) {
    if (!each->existed) {
      continue;
    }
    const std::string old = Beside(each->target, kOld);
    std::error_code error;
    fs::create_hard_link(core::PathOf(each->target), core::PathOf(old), error);
    if (error) {
      fs::copy_file(core::PathOf(each->target), core::PathOf(old), error);
      CopyAttributes(each->target, old);
      if (const int reason = error ? 0 : FlushFile(old); reason != 0) {
        error.assign(reason, std::system_category());
      }
    }
    if (error) {
      throw fault(each->asked, "the old file cannot be kept for a failure: " + error.message());
    }
  }
}

void replacement::RenameAll() {
  for (const auto& each : parts_) {
    if (const int error = RenameOver(each->fresh, each->target); error != 0) {
      throw fault(each->asked, "cannot be replaced: " + SystemMessage(error));
    }
    each->renamed = true;
  }
}

void replacement::Undo(const std::vector<member>& set) {
  const bool any = std::ranges::any_of(parts_, [](const auto& each) { return each->renamed; });
  if (any) {
    // Without room for the word a kill from here on would finish what this undoes.
    WriteText(Beside(set.front().target, kJournal), std::string(kJournalUndoing) + "\n", true);
  }
  bool whole = true;
  for (std::size_t i = parts_.size(); i-- > 0;) {
    part& each = *parts_[i];
    if (!each.renamed) {
      continue;
    }
    if (const int error = MoveBack(set[i]); error != 0) {
      whole = false;
      warn_(each.asked, (set[i].existed ? "the old file is " + Beside(each.target, kOld)
                                        : std::string("is new and stays")) +
                            " until the next run to this target: " + SystemMessage(error));
    } else {
      each.renamed = false;
    }
  }
  if (const int error = whole && any ? FlushFolders(set) : 0; error != 0) {
    whole = false;
    warn_(parts_.front()->asked,
          "is as it was, but its journal stays until the next run to this target: " +
              SystemMessage(error));
  }
  if (whole) {
    RemoveTraces(set);
  }
}

void replacement::Commit() {
  std::vector<member> set;
  for (const auto& each : parts_) {
    each->existed = Exists(each->target);
    if (each->existed) {
      CopyAttributes(each->target, each->fresh);
    }
    if (const int error = FlushFile(each->fresh); error != 0) {
      throw fault(each->asked, "cannot be written: " + SystemMessage(error));
    }
    set.push_back({each->target, each->existed});
  }
  const signalpause whole;
  if (set.size() < 2) {
    RenameAll();
    if (const int error = FlushFolders(set); error != 0) {
      warn_(parts_.front()->asked,
            "its name may not have reached the disk: " + SystemMessage(error));
    }
    return;
  }
  try {
    KeepOld();
    WriteJournals(set);
    RenameAll();
    if (const int error = FlushFolders(set); error != 0) {
      throw fault(parts_.front()->asked, "cannot be replaced: " + SystemMessage(error));
    }
  } catch (const std::exception&) {
    Undo(set);
    throw;
  }
  RemoveTraces(set);
}

}  // namespace files
