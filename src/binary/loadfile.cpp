#include "binary/loadfile.h"

#include <cstdio>
#include <limits>
#include <new>

#include "binary/directory.h"

bool LoadWholeFile(const char* path, loadedfile& file) {
  if (EntryAt(path) != diskentry::File) {
    return false;
  }
  const auto close = [](std::FILE* stream) { std::fclose(stream); };
  const std::unique_ptr<std::FILE, decltype(close)> stream(std::fopen(path, "rb"), close);
  if (!stream || std::fseek(stream.get(), 0, SEEK_END) != 0) {
    return false;
  }
  const long length = std::ftell(stream.get());
  if (length <= 0 || length > std::numeric_limits<std::int32_t>::max() ||
      std::fseek(stream.get(), 0, SEEK_SET) != 0) {
    return false;
  }
  const auto size = static_cast<std::size_t>(length);
  file.data.reset(new (std::nothrow) unsigned char[size]);
  if (!file.data || std::fread(file.data.get(), 1, size, stream.get()) != size) {
    file.data.reset();
    return false;
  }
  file.size = static_cast<std::uint32_t>(size);
  return true;
}
