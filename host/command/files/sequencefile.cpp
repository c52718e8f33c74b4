#include "command/files/sequencefile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include "command/failure.h"
#include "command/wording.h"
#include "core/timeline.h"
#include "core/utf8path.h"
#include "sidefiles/cfgline.h"
#include "sidefiles/sequences.h"
#include "sidefiles/textfile.h"

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

bool SaysNothing(const std::string& line) {
  const std::size_t first = line.find_first_not_of(" \t\r\n");
  return first == std::string::npos || line.compare(first, 2, "//") == 0;
}

// What importers make of the lines, over their parsers, and what they pass over in silence.
class sequencereader {
 public:
  // frames: of the model that the file lies beside. Without one a file of any version is read.
  sequencereader(filekind kind, std::optional<std::int64_t> frames)
      : kind_(kind), frames_(frames) {}

  bool Take(const cfgline& line) {
    const bool rest = continued_;
    continued_ = line.cut;
    if (line.cut && !rest) {
      Lose(line, "is longer than the " + std::to_string(kCfgLineSize - 1) +
                     " bytes that are read as one line");
    }
    if (SaysNothing(line.text)) {
      return true;
    }
    if (ended_) {
      LoseSequence(line, "stands after ENDANIMS, not read");
      return true;
    }
    switch (kind_ == filekind::Mds ? wolfanim_.Take(line.text) : TakeAnincLine(line.text, taken_)) {
      case cfguse::Sequence:
        Add(line);
        break;
      case cfguse::Early:
        LoseSequence(line, "stands before STARTANIMS, not read");
        break;
      case cfguse::NoSequence:
        Lose(line, "not read: a sequence is a name and four numbers");
        break;
      case cfguse::OtherVersion:
        if (frames_) {
          Lose(line, "not VERSION 2, the only one that is read: the rest of the file is ignored");
        }
        return !frames_;
      case cfguse::End:
        ended_ = true;
        break;
      case cfguse::Keyword:
        break;
    }
    return true;
  }

  const sequencelist& Result() const { return result_; }

 private:
  void Lose(const cfgline& line, const std::string& what) { result_.losses.Add(line.number, what); }
  void LoseSequence(const cfgline& line, const std::string& what) {
    if (animseq sequence; ParseSequence(line.text, sequence)) {
      Lose(line, "sequence " + std::string(sequence.name) + " " + what);
    }
  }

  void Add(const cfgline& line) {
    const animseq& made = taken_[taken_.Count() - 1];
    const sequenceline& added = result_.lines.emplace_back(
        sequenceline{made.name, made.startframe, made.numframes, made.param3, made.param4});
    const std::int64_t last = added.start + added.frames - 1;
    if (frames_ && added.frames < 1) {
      Lose(line, "sequence " + added.name + " has no frames");
    } else if (frames_ && (added.start < 0 || last >= *frames_)) {
      Lose(line, "sequence " + added.name + ": frames " + std::to_string(added.start) + " to " +
                     std::to_string(last) + " are not all in the model, which has " +
                     Counted(*frames_, "frame"));
    }
  }

  filekind kind_;
  std::optional<std::int64_t> frames_;
  canimsequences taken_{"the sequence file"};
  cwolfanimparser wolfanim_{taken_};
  sequencelist result_;
  bool ended_ = false;
  bool continued_ = false;
};

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

sequencelist ReadSequenceFile(const std::string& path) {
  RequireReadable(path);
  std::string text;
  if (!LoadText(path.c_str(), text)) {
    throw failure(path, "cannot be read to its end");
  }
  const bool keywords = text.find("STARTANIMS") != std::string::npos;
  sequencereader reader(keywords ? filekind::Mds : filekind::Mdx, std::nullopt);
  ReadCfgLines(text, [&](const cfgline& line) { return reader.Take(line); });
  if (reader.Result().lines.empty()) {
    throw failure(path, "has no sequences: lines of a name and four numbers");
  }
  return reader.Result();
}

std::optional<sequencelist> ReadAsImporter(const std::string& path, filekind kind,
                                           std::int64_t frames) {
  sequencereader reader(kind, frames);
  const bool whole =
      ReadCfgFile(path.c_str(), [&](const cfgline& line) { return reader.Take(line); });
  return whole ? std::optional(reader.Result()) : std::nullopt;
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
