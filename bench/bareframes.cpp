#include "bareframes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <numbers>
#include <vector>

#include "mdc/mdcfile.h"

namespace {

constexpr float kMetres = 1.0F / 64.0F / 40.0F;  // of a stored step, at 40 units to the metre

using triple = std::array<float, 3>;

struct turns {
  std::array<float, 256> cosine;
  std::array<float, 256> sine;

  turns() {
    for (std::size_t i = 0; i < cosine.size(); ++i) {
      const float angle = static_cast<float>(i) * (std::numbers::pi_v<float> / 128.0F);
      cosine[i] = std::cos(angle);
      sine[i] = std::sin(angle);
    }
  }
};

// The games' axes X, Y, Z are the scene's Z, X, Y.
triple Position(const mdcXyzNormal& from, const mdcFrame& frame) {
  const auto along = [&](std::size_t axis) {
    return static_cast<float>(std::int16_t{from.xyz[axis]}) * kMetres +
           float{frame.localOrigin[axis]} / 40.0F;
  };
  return {along(1), along(2), along(0)};
}

triple Normal(const mdcXyzNormal& from, const turns& table) {
  const std::uint16_t code = from.normal;
  const float across = table.sine[code & 0xFFU];
  return {table.sine[code >> 8U] * across, table.cosine[code & 0xFFU],
          table.cosine[code >> 8U] * across};
}

template <class T>
void Append(std::vector<std::uint8_t>& bytes, const T& values) {
  const auto* raw = reinterpret_cast<const std::uint8_t*>(&values);
  bytes.insert(bytes.end(), raw, raw + sizeof values);
}

// A sink of what the scene file's binary part has.
class output {
 public:
  void AddPositions(const std::vector<triple>& values) {
    triple low = values.front();
    triple high = low;
    for (const triple& each : values) {
      for (std::size_t c = 0; c < 3; ++c) {
        low[c] = std::min(low[c], each[c]);
        high[c] = std::max(high[c], each[c]);
      }
    }
    Append(bounds_, low);
    Append(bounds_, high);
    const auto within = [](float value) { return std::abs(value) <= 1.0F; };
    if (std::ranges::all_of(low, within) && std::ranges::all_of(high, within)) {
      for (const triple& each : values) {
        Append(shorts_, Quantised<std::int16_t>(each, 32767.0F));
      }
      return;
    }
    for (const triple& each : values) {
      Append(floats_, each);
    }
  }

  void AddNormals(const std::vector<triple>& values) {
    for (const triple& each : values) {
      Append(normals_, Quantised<std::int8_t>(each, 127.0F));
    }
  }

  std::size_t Write(const std::string& path) const {
    const auto close = [](std::FILE* file) { std::fclose(file); };
    const std::unique_ptr<std::FILE, decltype(close)> file(std::fopen(path.c_str(), "wb"), close);
    std::size_t written = 0;
    for (const auto* part : {&shorts_, &floats_, &normals_, &bounds_}) {
      written += file ? std::fwrite(part->data(), 1, part->size(), file.get()) : 0;
    }
    return written;
  }

 private:
  // Padded to a multiple of 4 bytes.
  template <class T>
  static std::array<T, 4> Quantised(const triple& from, float steps) {
    std::array<T, 4> made{};
    for (std::size_t c = 0; c < 3; ++c) {
      made[c] = static_cast<T>(std::lround(from[c] * steps));
    }
    return made;
  }

  std::vector<std::uint8_t> shorts_;
  std::vector<std::uint8_t> floats_;
  std::vector<std::uint8_t> normals_;
  std::vector<std::uint8_t> bounds_;
};

}  // namespace

std::size_t WriteBareFrames(const std::string& path, const std::string& target) {
  cmdcfile file;
  if (!file.Load(path.c_str())) {
    std::fprintf(stderr, "%s: %s\n", path.c_str(), file.Fault().c_str());
    std::exit(EXIT_FAILURE);
  }
  const turns table;
  output made;
  for (const cmdcsurfentry& surface : file.surfaces) {
    const auto count = static_cast<std::size_t>(surface.numVerts);
    std::vector<triple> rest(count);
    std::vector<triple> positions(count);
    std::vector<triple> normals(count);
    for (std::int32_t f = 0; f < file.header->numFrames; ++f) {
      const mdcXyzNormal* const stored = surface.baseByFrame[static_cast<std::size_t>(f)];
      for (std::size_t v = 0; v < count; ++v) {
        positions[v] = Position(stored[v], file.frames[f]);
        normals[v] = Normal(stored[v], table);
        for (std::size_t c = 0; c < 3 && f > 0; ++c) {
          positions[v][c] -= rest[v][c];
        }
      }
      if (f == 0) {
        rest = positions;
      }
      made.AddPositions(positions);
      made.AddNormals(normals);
    }
  }
  return made.Write(target);
}
