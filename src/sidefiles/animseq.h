#pragma once

#include <cstdint>

// A named stretch of a skeletal model's frames, as a line of its sequence file has it.
struct animseq {
  // wolfanim.cfg: whether a SKELETAL line came before. aninc: always.
  bool skeletal = false;
  char name[128] = {};
  std::int32_t startframe = 0;
  std::int32_t numframes = 0;
  // Carried into the notes and used for nothing else.
  std::int32_t param3 = 0;
  std::int32_t param4 = 0;
  // The user's choice in the options dialog.
  bool selected = false;
};
