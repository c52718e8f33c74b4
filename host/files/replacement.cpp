#include "files/replacement.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <system_error>

#include "core/utf8path.h"
#include "files/disk.h"

namespace files {

namespace {

namespace fs = std::filesystem;

constexpr char kNew[] = ".marrow-new";
constexpr char kOld[] = ".marrow-old";
constexpr char kLock[] = ".marrow-lock";
constexpr char kJournal[] = ".marrow-journal";
// First line of a journal, the last of its list, and what the first file's has behind it.
constexpr char kJournalHead[] = "marrow journal 1";
constexpr char kJournalEnd[] = "end";
constexpr char kJournalCommitted[] = "committed";
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

// What a set of files leaves beside each of them while it is committed. The first one's journal
// says when all of them are there: from then on the new files are to take their names.
struct journal {
  std::vector<std::string> targets;  // empty: there is none, or it was not written whole
  bool committed = false;
};

std::string JournalText(const std::vector<std::string>& targets) {
  std::string text = std::string(kJournalHead) + "\n";
  for (const std::string& target : targets) {
    text += target + "\n";
  }
  return text + kJournalEnd + "\n";
}

journal ReadJournal(const std::string& target) {
  std::ifstream file(core::PathOf(Beside(target, kJournal)), std::ios::binary);
  std::string line;
  if (!std::getline(file, line) || line != kJournalHead) {
    return {};
  }
  journal read;
  bool whole = false;
  while (!whole && std::getline(file, line)) {
    whole = line == kJournalEnd;
    if (!whole) {
      read.targets.push_back(line);
    }
  }
  read.committed = whole && std::getline(file, line) && line == kJournalCommitted;
  const bool own = std::ranges::find(read.targets, target) != read.targets.end();
  return whole && own ? read : journal();
}

// Writes and closes the file; the system's error, 0 for success.
int WriteFile(const std::string& path, std::span<const std::span<const std::uint8_t>> pieces) {
  errno = 0;
#ifdef _WIN32
  std::FILE* const stream = _wfopen(core::PathOf(path).c_str(), L"wb");
#else
  std::FILE* const stream = std::fopen(path.c_str(), "wb");
#endif
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
  return good ? 0 : std::max(reason, 1);
}

// Writes or continues a small file and brings it to the disk.
int WriteText(const std::string& path, const std::string& text) {
  const std::span<const std::uint8_t> bytes(reinterpret_cast<const std::uint8_t*>(text.data()),
                                            text.size());
  const int error = WriteFile(path, {{bytes}});
  return error != 0 ? error : FlushFile(path);
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
    throw fault(asked, "cannot be written: " + error.code().message());
  }
  if (lock == nullptr) {
    throw fault(asked, "not written: another run is writing it (waited " +
                           std::to_string(kLockWait.count()) + " s)");
  }
  locks_.push_back(std::move(lock));
}

// Files whose journals are gone have been seen to already.
void replacement::Recover(const std::string& target, const std::string& asked) {
  const journal own = ReadJournal(target);
  for (const std::string& each : own.targets) {
    Lock(each, asked);
  }
  if (!own.targets.empty() && ReadJournal(own.targets.front()).committed) {
    FinishCommit(own.targets, asked);
  }
  for (const char* tail : {kJournal, kNew, kOld}) {
    Remove(Beside(target, tail));
  }
}

void replacement::FinishCommit(const std::vector<std::string>& targets, const std::string& asked) {
  for (const std::string& each : targets) {
    const std::string fresh = Beside(each, kNew);
    if (ReadJournal(each).targets != targets || !Exists(fresh)) {
      continue;
    }
    CopyAttributes(each, fresh);
    if (const int error = RenameOver(fresh, each); error != 0) {
      throw fault(each, "an interrupted run cannot be finished: " + SystemMessage(error));
    }
  }
  RemoveTraces(targets);
  warn_(asked, "finished what an interrupted run had begun to write");
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
    throw fault(target, "cannot be written: " + std::generic_category().message(reason));
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
    }
    if (error) {
      throw fault(each->asked, "the old file cannot be kept for a failure: " + error.message());
    }
  }
}

void replacement::WriteJournals(const std::vector<std::string>& targets) {
  const std::string text = JournalText(targets);
  for (const std::string& target : targets) {
    if (const int error = WriteText(Beside(target, kJournal), text); error != 0) {
      throw fault(target, "cannot be written: " + SystemMessage(error));
    }
    FlushFolder(FolderOf(target));
  }
  const std::string first = Beside(targets.front(), kJournal);
  if (const int error = WriteText(first, text + kJournalCommitted + "\n"); error != 0) {
    throw fault(targets.front(), "cannot be written: " + SystemMessage(error));
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

void replacement::Undo() {
  for (const auto& each : parts_) {
    Remove(each->fresh);
    if (!each->renamed) {
      continue;
    }
    if (!each->existed) {
      Remove(each->target);
      continue;
    }
    const std::string old = Beside(each->target, kOld);
    if (const int error = RenameOver(old, each->target); error != 0) {
      const std::string aside = Beside(each->target, ".marrow-kept");
      RenameOver(old, aside);
      warn_(each->asked, "the old file is now " + aside + ": " + SystemMessage(error));
    }
  }
}

// The first file's journal goes last: without it the others' say nothing.
void replacement::RemoveTraces(const std::vector<std::string>& targets) {
  for (std::size_t i = targets.size(); i-- > 0;) {
    FlushFolder(FolderOf(targets[i]));
    Remove(Beside(targets[i], kOld));
    Remove(Beside(targets[i], kJournal));
  }
}

void replacement::Commit() {
  std::vector<std::string> targets;
  for (const auto& each : parts_) {
    each->existed = Exists(each->target);
    if (each->existed) {
      CopyAttributes(each->target, each->fresh);
    }
    if (const int error = FlushFile(each->fresh); error != 0) {
      throw fault(each->asked, "cannot be written: " + SystemMessage(error));
    }
    targets.push_back(each->target);
  }
  const signalpause whole;
  try {
    if (targets.size() > 1) {
      KeepOld();
      WriteJournals(targets);
    }
    RenameAll();
  } catch (const fault&) {
    Undo();
    RemoveTraces(targets);
    throw;
  }
  RemoveTraces(targets);
}

}  // namespace files
