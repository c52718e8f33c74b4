#include "command/files/sequencefile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <span>
#include <sstream>

#include "command/failure.h"
#include "command/wording.h"
#include "core/timeline.h"
#include "core/utf8path.h"

namespace command {

namespace {

// Longest name that an importer takes.
constexpr std::size_t kLongestName = 127;

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

int WholeRate(double fps) { return std::max(static_cast<int>(std::lround(fps)), 1); }

// Nothing that the file's grammar takes for anything else.
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

std::vector<sequenceline> ReadSequenceFile(const std::string& path) {
  RequireReadable(path);
  std::ifstream file(core::PathOf(path), std::ios::binary);
  std::vector<sequenceline> lines;
  for (std::string line; std::getline(file, line);) {
    std::istringstream fields(line);
    sequenceline made;
    if (line.find("STARTANIMS") != std::string::npos) {
      lines.clear();
    } else if (line.find("ENDANIMS") != std::string::npos) {
      break;
    } else if (fields >> made.name >> made.start >> made.frames >> made.loop >> made.rate &&
               !made.name.starts_with("//")) {
      lines.push_back(std::move(made));
    }
  }
  if (lines.empty()) {
    throw failure(path, "has no sequences: lines of a name and four numbers");
  }
  return lines;
}

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

void WriteSequenceFile(files::replacement& set, const std::string& path, filekind kind,
                       const std::vector<sequenceline>& lines) {
  const std::string text = FileText(kind, lines);
  const std::span bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  set.Write(path, std::array{bytes});
}

void TellSequenceFile(console& out, const std::string& path,
                      const std::vector<sequenceline>& lines) {
  out.Result(path, "written: " + Counted(std::ssize(lines), "sequence"));
}

}  // namespace command
