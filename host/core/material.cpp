#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "core/scene.h"
#include "core/state.h"

namespace {

// Room of a name's buffer, however short the name: the texts of a run have up to 128 bytes.
constexpr std::size_t kLeastNameRoom = 256 + core::kSpareNameBytes;
// Between a name and the number that makes it unique.
constexpr char kNumberMark = '.';

void StoreName(std::vector<char>& buffer, std::string_view name) {
  std::vector<char> made(std::max(kLeastNameRoom, name.size() + 1 + core::kSpareNameBytes));
  std::copy(name.begin(), name.end(), made.begin());
  buffer = std::move(made);
}

// The number behind the last mark of a name; -1 when it has none.
int NumberOf(std::string_view name) {
  const std::size_t mark = name.rfind(kNumberMark);
  if (mark == std::string_view::npos || mark + 1 == name.size()) {
    return -1;
  }
  int number = -1;
  const char* end = name.data() + name.size();
  const auto parsed = std::from_chars(name.data() + mark + 1, end, number);
  return parsed.ec == std::errc() && parsed.ptr == end ? number : -1;
}

}  // namespace

cmaterial::cmaterial() {
  auto made = std::make_unique<core::materialstate>();
  StoreName(made->name, "Material");
  state_ = made.release();
}

cmaterial::~cmaterial() {
  if (state_->owner != nullptr) {
    state_->owner->Forget(this);
  }
  delete state_;
}

cimage* cmaterial::GetImage(unsigned channel) { return channel == 0 ? &state_->image : nullptr; }

void cmaterial::SetImage(const cimage& image, unsigned channel) {
  if (channel == 0) {
    state_->image = image;
  }
}

char* cmaterial::GetName() { return state_->name.data(); }

void cmaterial::SetName(const char* name) {
  StoreName(state_->name, name == nullptr ? std::string_view() : std::string_view(name));
}

void cmaterial::Copy(cmaterial* source) {
  if (source == nullptr || source == this) {
    return;
  }
  state_->image = source->state_->image;
  std::copy_n(source->state_->colour, 4, state_->colour);
  state_->doubleSided = source->state_->doubleSided;
}

void cmaterial::Delete() { delete this; }

void UniqueNameForMaterial(char* name, int /*mode*/) {
  const core::scene* scene = core::scene::CurrentOrNull();
  if (name == nullptr || scene == nullptr) {
    return;
  }
  // A number that an earlier call added makes way for the new one, so that the text never
  // outgrows the buffer however often it is made unique.
  const std::string_view text(name);
  const std::string_view base = NumberOf(text) < 0 ? text : text.substr(0, text.rfind(kNumberMark));
  bool taken = false;
  std::vector<int> numbers;
  for (cmaterial* material : scene->Materials()) {
    const char* other = material->GetName();
    if (other == name || std::strncmp(other, base.data(), base.size()) != 0) {
      continue;
    }
    const std::string_view found(other);
    taken = taken || found == text;
    const int number = NumberOf(found);
    if (number >= 0 && found.rfind(kNumberMark) == base.size()) {
      numbers.push_back(number);
    }
  }
  if (!taken) {
    return;
  }
  std::sort(numbers.begin(), numbers.end());
  int free = 1;
  for (const int number : numbers) {
    free += number == free ? 1 : 0;
  }
  char* const end = name + base.size();
  std::snprintf(end, core::kSpareNameBytes, "%c%d", kNumberMark, free);
}
