#include "sidefiles/sequences.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "plugin/run/allocation.h"
#include "sidefiles/cfgline.h"

namespace {

constexpr std::int32_t kWolfanimVersion = 2;

// A decimal number behind any white space; one that 32 bits do not hold becomes the nearest.
// Moves `text` behind it. False: there is no number.
bool TakeNumber(const char*& text, std::int32_t& number) {
  char* end = nullptr;
  const long long value = std::strtoll(text, &end, 10);
  if (end == text) {
    return false;
  }
  number = static_cast<std::int32_t>(std::clamp<long long>(
      value, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
  text = end;
  return true;
}

bool IsBlank(char letter) { return std::isspace(static_cast<unsigned char>(letter)) != 0; }

bool ParseVersion(const char* line, std::int32_t& version) {
  constexpr char kKeyword[] = "VERSION";
  constexpr std::size_t kLength = sizeof kKeyword - 1;
  const char* number = line + kLength;
  return std::strncmp(line, kKeyword, kLength) == 0 && TakeNumber(number, version);
}

cfguse Add(const char* line, bool skeletal, canimsequences& sequences) {
  animseq sequence;
  if (!ParseSequence(line, sequence)) {
    return cfguse::NoSequence;
  }
  sequence.skeletal = skeletal;
  sequences.AddAnimSequence(sequence);
  return cfguse::Sequence;
}

}  // namespace

bool ParseSequence(const char* line, animseq& sequence) {
  while (IsBlank(*line)) {
    ++line;
  }
  std::size_t length = 0;
  while (line[length] != '\0' && !IsBlank(line[length])) {
    ++length;
  }
  std::memcpy(sequence.name, line, std::min(length, sizeof sequence.name - 1));
  line += length;
  return length > 0 && TakeNumber(line, sequence.startframe) &&
         TakeNumber(line, sequence.numframes) && TakeNumber(line, sequence.param3) &&
         TakeNumber(line, sequence.param4);
}

void canimsequences::AddAnimSequence(const animseq& sequence) {
  animseq* const record = &records_.emplace_back(sequence);
  AppendGrowing(animsequence_, record, {"animsequence", source_}, {"seqs", source_});
}

cfguse cwolfanimparser::Take(const char* line) {
  if (std::int32_t version = 0; ParseVersion(line, version)) {
    return version == kWolfanimVersion ? cfguse::Keyword : cfguse::OtherVersion;
  }
  if (std::strstr(line, "SKELETAL") != nullptr) {
    skeletal_ = true;
    return cfguse::Keyword;
  }
  if (std::strstr(line, "STARTANIMS") != nullptr) {
    begun_ = true;
    return cfguse::Keyword;
  }
  if (std::strstr(line, "ENDANIMS") != nullptr) {
    return cfguse::End;
  }
  return begun_ ? Add(line, skeletal_, *sequences_) : cfguse::Early;
}

cfguse TakeAnincLine(const char* line, canimsequences& sequences) {
  return Add(line, true, sequences);
}

bool LoadWolfanim(const std::string& modeldir, canimsequences& sequences) {
  cwolfanimparser parser(sequences);
  return ReadCfgFile((modeldir + "wolfanim.cfg").c_str(), [&](const cfgline& line) {
    const cfguse use = parser.Take(line.text);
    return use != cfguse::End && use != cfguse::OtherVersion;
  });
}

bool LoadAninc(const std::string& mdxPath, canimsequences& sequences) {
  const std::size_t stop = mdxPath.rfind('.');
  return stop != std::string::npos &&
         ReadCfgFile((mdxPath.substr(0, stop) + ".aninc").c_str(), [&](const cfgline& line) {
           TakeAnincLine(line.text, sequences);
           return true;
         });
}
