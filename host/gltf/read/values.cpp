#include "gltf/read/values.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "binary/little.h"
#include "gltf/read/badfile.h"
#include "gltf/read/resources.h"

namespace gltf {

namespace {

// Components that may be read in all, beside some for each byte of the file: a scene may use an
// accessor many times, but a small file cannot ask for more work than this.
constexpr std::int64_t kFreeComponents = std::int64_t{1} << 26;
constexpr std::int64_t kComponentsPerByte = 8;
// Elements that may be 0 without a byte of the file, as most weights of many morph targets are.
constexpr std::int64_t kFreeZeros = std::int64_t{1} << 22;

constexpr std::int64_t kNumComponents[] = {1, 2, 3, 4, 4, 9, 16};

std::int64_t SizeOf(component type) {
  switch (type) {
    case component::Int8:
    case component::Uint8:
      return 1;
    case component::Int16:
    case component::Uint16:
      return 2;
    default:
      return 4;
  }
}

// Copies elements of `each` components of type File, and turns each with `turn`.
template <class File, class T, class Turn>
void CopyElements(const unsigned char* data, std::int64_t stride, std::size_t count,
                  std::size_t each, T* to, Turn turn) {
  for (std::size_t i = 0; i < count; ++i, data += stride) {
    const auto* from = reinterpret_cast<const little<File>*>(data);
    for (std::size_t c = 0; c < each; ++c) {
      *to++ = turn(static_cast<File>(from[c]));
    }
  }
}

// Floats that are in the file as they are wanted.
void CopyFloats(const unsigned char* data, std::int64_t stride, std::size_t count, std::size_t each,
                float* to) {
  static_assert(std::endian::native == std::endian::little);
  const std::size_t size = each * sizeof(float);
  if (stride == static_cast<std::int64_t>(size)) {
    std::memcpy(to, data, count * size);
    return;
  }
  for (std::size_t i = 0; i < count; ++i, data += stride, to += each) {
    std::memcpy(to, data, size);
  }
}

template <class File>
void CopyNumbers(const unsigned char* data, std::int64_t stride, std::size_t count,
                 std::size_t each, bool normalized, float* to) {
  if (normalized) {
    constexpr auto kOne = static_cast<float>(std::numeric_limits<File>::max());
    CopyElements<File>(data, stride, count, each, to, [](File value) {
      return std::max(static_cast<float>(value) / kOne, -1.0F);
    });
  } else {
    CopyElements<File>(data, stride, count, each, to,
                       [](File value) { return static_cast<float>(value); });
  }
}

void Copy(component type, bool normalized, const unsigned char* data, std::int64_t stride,
          std::size_t count, std::size_t each, float* to) {
  switch (type) {
    case component::Int8:
      return CopyNumbers<std::int8_t>(data, stride, count, each, normalized, to);
    case component::Uint8:
      return CopyNumbers<std::uint8_t>(data, stride, count, each, normalized, to);
    case component::Int16:
      return CopyNumbers<std::int16_t>(data, stride, count, each, normalized, to);
    case component::Uint16:
      return CopyNumbers<std::uint16_t>(data, stride, count, each, normalized, to);
    case component::Uint32:
      return CopyNumbers<std::uint32_t>(data, stride, count, each, normalized, to);
    case component::Float:
      return CopyFloats(data, stride, count, each, to);
  }
}

void Copy(component type, bool /*normalized*/, const unsigned char* data, std::int64_t stride,
          std::size_t count, std::size_t each, std::uint32_t* to) {
  const auto same = [](auto value) { return static_cast<std::uint32_t>(value); };
  switch (type) {
    case component::Uint8:
      return CopyElements<std::uint8_t>(data, stride, count, each, to, same);
    case component::Uint16:
      return CopyElements<std::uint16_t>(data, stride, count, each, to, same);
    default:
      return CopyElements<std::uint32_t>(data, stride, count, each, to, same);
  }
}

// The first that is no finite number, or the end: blocks that have none go by as one.
std::size_t FirstNotFinite(const std::vector<float>& values) {
  constexpr std::size_t kBlock = 16;
  std::size_t i = 0;
  for (; i + kBlock <= values.size(); i += kBlock) {
    std::array<float, kBlock> parts;
    for (std::size_t k = 0; k < kBlock; ++k) {
      parts[k] = values[i + k] * 0.0F;  // 0 or not a number
    }
    float sum = 0.0F;
    for (const float part : parts) {
      sum += part;
    }
    if (sum != 0.0F) {
      break;
    }
  }
  while (i < values.size() && std::isfinite(values[i])) {
    ++i;
  }
  return i;
}

bool IsUnsigned(component type) {
  return type == component::Uint8 || type == component::Uint16 || type == component::Uint32;
}

}  // namespace

std::int64_t NumComponents(shape form) { return kNumComponents[static_cast<std::size_t>(form)]; }

valuereader::valuereader(const document& doc)
    : doc_(doc), bytes_(doc.Bytes()), room_(kFreeComponents + kComponentsPerByte * bytes_) {}

const accessor& valuereader::Checked(int index, shape form, const std::string& place) {
  const accessor& from = doc_.accessors[static_cast<std::size_t>(index)];
  if (from.form != form) {
    throw badfile(place + " is of the wrong type (accessor " + std::to_string(index) + ")");
  }
  if (from.count > room_ / NumComponents(form) ||
      (from.view < 0 && from.count > std::max(bytes_, kFreeZeros))) {
    throw badfile(place + " has more values than the file can have");
  }
  room_ -= from.count * NumComponents(form);
  return from;
}

valuereader::elements valuereader::Locate(int view, std::int64_t offset, std::int64_t count,
                                          std::int64_t size, bool strided,
                                          const std::string& place) const {
  const fileview bytes = ViewOf(doc_, view, place);
  const std::int64_t own = doc_.views[static_cast<std::size_t>(view)].stride;
  const std::int64_t stride = strided && own != 0 ? own : size;
  if (count > 0 && (count > bytes.Size() || offset + (count - 1) * stride + size > bytes.Size())) {
    throw badfile(place + " reaches past buffer view " + std::to_string(view));
  }
  return {count > 0 ? bytes.Data() + offset : nullptr, stride};
}

template <class T>
void valuereader::ReadSparse(const accessor& from, const std::string& place,
                             std::vector<T>& values) {
  const sparsevalues& sparse = from.sparse;
  if (sparse.count > from.count || !IsUnsigned(sparse.indexType)) {
    throw badfile(place + ": its sparse indices are wrong");
  }
  const std::int64_t each = NumComponents(from.form);
  const auto count = static_cast<std::size_t>(sparse.count);
  const elements indices = Locate(sparse.indexView, sparse.indexOffset, sparse.count,
                                  SizeOf(sparse.indexType), false, place);
  const elements news = Locate(sparse.valueView, sparse.valueOffset, sparse.count,
                               SizeOf(from.type) * each, false, place);
  std::vector<std::uint32_t> places(count);
  Copy(sparse.indexType, false, indices.data, indices.stride, count, 1, places.data());
  std::vector<T> changed(count * static_cast<std::size_t>(each));
  Copy(from.type, from.normalized, news.data, news.stride, count, static_cast<std::size_t>(each),
       changed.data());
  for (std::size_t i = 0; i < count; ++i) {
    if (places[i] >= from.count) {
      throw badfile(place + ": a sparse index is out of range");
    }
    std::copy_n(changed.begin() + static_cast<std::ptrdiff_t>(i) * each, each,
                values.begin() + static_cast<std::ptrdiff_t>(places[i]) * each);
  }
}

template <class T>
std::vector<T> valuereader::Read(const accessor& from, const std::string& place) {
  const std::int64_t each = NumComponents(from.form);
  elements at;
  if (from.view >= 0) {
    at = Locate(from.view, from.offset, from.count, SizeOf(from.type) * each, true, place);
  }
  std::vector<T> values(static_cast<std::size_t>(from.count * each));
  if (at.data != nullptr) {
    Copy(from.type, from.normalized, at.data, at.stride, static_cast<std::size_t>(from.count),
         static_cast<std::size_t>(each), values.data());
  }
  if (from.sparse.count > 0) {
    ReadSparse(from, place, values);
  }
  return values;
}

std::vector<float> valuereader::Floats(int index, shape form, const std::string& place) {
  const accessor& from = Checked(index, form, place);
  std::vector<float> values = Read<float>(from, place);
  if (const std::size_t bad = FirstNotFinite(values); bad != values.size()) {
    throw badfile(place + ": element " +
                  std::to_string(static_cast<std::int64_t>(bad) / NumComponents(form)) +
                  " is not a number");
  }
  return values;
}

void valuereader::Reread(int index, shape form, const std::string& place) {
  Checked(index, form, place);
}

std::vector<std::uint32_t> valuereader::Indices(int index, shape form, const std::string& place) {
  const accessor& from = Checked(index, form, place);
  if (!IsUnsigned(from.type)) {
    throw badfile(place + " is of the wrong type (accessor " + std::to_string(index) + ")");
  }
  return Read<std::uint32_t>(from, place);
}

}  // namespace gltf
