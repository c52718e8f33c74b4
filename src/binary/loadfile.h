#pragma once

#include <cstdint>
#include <memory>

#include "binary/fileview.h"

// A whole file in one heap block.
struct loadedfile {
  std::unique_ptr<unsigned char[]> data;
  std::uint32_t size = 0;

  fileview View() const { return {data.get(), size}; }
};

// False when the file is no plain one, cannot be opened or read whole, is empty, is larger than a
// 32-bit offset reaches, or finds no memory.
bool LoadWholeFile(const char* path, loadedfile& file);
