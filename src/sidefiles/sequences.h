#pragma once

#include <deque>
#include <string>
#include <vector>

#include "sidefiles/animseq.h"

// The sequences beside a model, in the order of their file.
class canimsequences {
 public:
  // source: the importer's name for the host's assertion.
  explicit canimsequences(const char* source) : source_(source) {}
  canimsequences(const canimsequences&) = delete;
  canimsequences& operator=(const canimsequences&) = delete;

  void AddAnimSequence(const animseq& sequence);

  // Records stay where they are as long as the list.
  animseq** Records() { return animsequence_.data(); }
  int Count() const { return static_cast<int>(animsequence_.size()); }
  const animseq& operator[](int index) const {
    return *animsequence_[static_cast<std::size_t>(index)];
  }

 private:
  const char* source_;
  std::deque<animseq> records_;
  std::vector<animseq*> animsequence_;
};

// What a parser made of a line.
enum class cfguse {
  Sequence,
  Keyword,
  Early,         // wolfanim.cfg: it stands before STARTANIMS
  NoSequence,    // it is no word and four numbers
  End,           // wolfanim.cfg: ENDANIMS, where reading stops
  OtherVersion,  // wolfanim.cfg: likewise
};

// Line by line. Whole files are read with the functions below.
class cwolfanimparser {
 public:
  explicit cwolfanimparser(canimsequences& sequences) : sequences_(&sequences) {}
  cfguse Take(const char* line);

 private:
  canimsequences* sequences_;
  bool skeletal_ = false;
  bool begun_ = false;
};
cfguse TakeAnincLine(const char* line, canimsequences& sequences);

// A word and four numbers, apart by white space; what follows is ignored. A longer name than the
// record holds is cut, a number that 32 bits do not hold becomes the nearest.
bool ParseSequence(const char* line, animseq& sequence);

// wolfanim.cfg in the model's directory. False when it cannot be opened or not be read to its end;
// what came before that is in the list.
bool LoadWolfanim(const std::string& modeldir, canimsequences& sequences);
// The same of the file beside an mdx file, whose path has .aninc for all from the last full stop
// on. False when there is no full stop, too.
bool LoadAninc(const std::string& mdxPath, canimsequences& sequences);
