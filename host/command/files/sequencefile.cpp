#include "command/files/sequencefile.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "command/failure.h"
#include "command/files/keptfiles.h"
#include "command/wording.h"
#include "core/timeline.h"
#include "core/utf8path.h"

namespace command {

namespace {

// Longest name that an importer takes.
constexpr std::size_t kLongestName = 127;

// A clip's name as one word that the file's grammar does not take for anything else.
std::string SequenceName(std::string name) {
  std::ranges::replace_if(
      name, [](char letter) { return static_cast<unsigned char>(letter) <= ' '; }, '_');
  if (name.empty()) {
    name = "unnamed";
  }
  if (name.starts_with("//")) {
    name[0] = '_';
  }
  for (const char* keyword : {"VERSION", "SKELETAL", "STARTANIMS", "ENDANIMS"}) {
    if (name.find(keyword) != std::string::npos) {
      name = Folded(name);
    }
  }
  return name.substr(0, kLongestName);
}

int WholeRate(double fps) { return std::max(static_cast<int>(std::lround(fps)), 1); }

std::string FileText(filekind kind, const std::vector<sequenceline>& lines) {
  std::string text = "// name, first frame, frames, frames that loop, frames a second\n";
  if (kind == filekind::Mds) {
    text += "VERSION 2\nSKELETAL\nSTARTANIMS\n";
  }
  for (const sequenceline& line : lines) {
    text += SequenceName(line.name);
    for (const std::int64_t number :
         {line.start, line.frames, std::int64_t{line.loop}, std::int64_t{line.rate}}) {
      text += " " + std::to_string(number);
    }
    text += "\n";
  }
  return text + (kind == filekind::Mds ? "ENDANIMS\n" : "");
}

}  // namespace

std::string SequenceFileOf(const std::string& path, filekind kind) {
  if (kind == filekind::Mds) {
    return (core::PathOf(path).parent_path() / "wolfanim.cfg").string();
  }
  return WithSuffix(path, ".aninc");
}

std::vector<sequenceline> SequencesOf(const core::scene& scene, const framerange& range,
                                      double fps) {
  std::vector<sequenceline> lines;
  for (const core::clip& clip : core::NamedClips(scene)) {
    const std::int64_t from = std::max<std::int64_t>(clip.start, range.start);
    const std::int64_t to =
        std::min(std::int64_t{clip.start} + clip.frames, range.start + range.frames);
    if (from < to) {
      lines.push_back({clip.name, from - range.start, to - from, clip.loop,
                       clip.rate != 0 ? clip.rate : WholeRate(fps)});
    }
  }
  return lines;
}

std::vector<sequenceline> WholeSequence(std::int64_t frames, double fps) {
  return {{"all", 0, frames, 0, WholeRate(fps)}};
}

void WriteSequenceFile(console& out, const std::string& path, filekind kind,
                       const std::vector<sequenceline>& lines) {
  keptfiles kept(out);
  kept.Add(path);
  const std::string text = FileText(kind, lines);
  std::FILE* stream = std::fopen(path.c_str(), "wb");
  bool written = stream != nullptr;
  if (written) {
    written = std::fwrite(text.data(), 1, text.size(), stream) == text.size();
    written = std::fclose(stream) == 0 && written;
  }
  if (!written) {
    throw failure(path, std::string("could not be written: ") + std::strerror(errno));
  }
  kept.Keep();
  out.Result(path, "written: " + Counted(std::ssize(lines), "sequence"));
}

}  // namespace command
