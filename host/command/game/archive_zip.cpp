#include <zip.h>

#include "command/files/paths.h"
#include "command/game/archive.h"
#include "command/game/gamepath.h"

namespace command {

namespace {

// A deflated block makes no more than 1032 bytes of one.
constexpr std::uint64_t kMostExpansion = 1032;

struct fileclose {
  void operator()(zip_file_t* file) const { zip_fclose(file); }
};

std::string TextOf(int code) {
  zip_error_t error;
  zip_error_init_with_code(&error, code);
  std::string text = zip_error_strerror(&error);
  zip_error_fini(&error);
  return text;
}

}  // namespace

struct archive::opened {
  explicit opened(zip_t* from) : handle(from) {}
  ~opened() { zip_discard(handle); }
  opened(const opened&) = delete;
  opened& operator=(const opened&) = delete;

  zip_t* handle;
};

archive::archive(std::unique_ptr<opened> from) : opened_(std::move(from)) {
  const zip_int64_t count = zip_get_num_entries(opened_->handle, 0);
  for (zip_int64_t i = 0; i < count; ++i) {
    const auto index = static_cast<zip_uint64_t>(i);
    const char* const name = zip_get_name(opened_->handle, index, ZIP_FL_ENC_RAW);
    if (name != nullptr && StaysBelow(name)) {
      entries_.insert_or_assign(Folded(Slashed(name)), index);
    }
  }
}

archive::~archive() = default;

bool ReadsArchives() { return true; }

std::unique_ptr<archive> archive::Open(const std::string& path, std::string& fault) {
  int code = 0;
  zip_t* const handle = zip_open(path.c_str(), ZIP_RDONLY, &code);
  if (handle == nullptr) {
    fault = TextOf(code);
    return nullptr;
  }
  return std::unique_ptr<archive>(new archive(std::make_unique<opened>(handle)));
}

std::unique_ptr<archive> archive::Of(std::span<const std::uint8_t> block, std::string& fault) {
  zip_error_t error;
  zip_error_init(&error);
  zip_source_t* const source = zip_source_buffer_create(block.data(), block.size(), 0, &error);
  zip_t* const handle =
      source == nullptr ? nullptr : zip_open_from_source(source, ZIP_RDONLY, &error);
  if (handle == nullptr) {
    zip_source_free(source);
    fault = zip_error_strerror(&error);
  }
  zip_error_fini(&error);
  return handle == nullptr
             ? nullptr
             : std::unique_ptr<archive>(new archive(std::make_unique<opened>(handle)));
}

std::optional<std::uint64_t> archive::Find(const std::string& path) const {
  const auto found = entries_.find(Folded(Slashed(path)));
  return found == entries_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::vector<std::uint8_t>> archive::Read(std::uint64_t entry, budget& left,
                                                       std::string& fault) const {
  zip_stat_t stat;
  zip_stat_init(&stat);
  constexpr zip_uint64_t kSizes = ZIP_STAT_SIZE | ZIP_STAT_COMP_SIZE;
  if (zip_stat_index(opened_->handle, entry, 0, &stat) != 0 || (stat.valid & kSizes) != kSizes) {
    fault = "has no size";
    return std::nullopt;
  }
  if (stat.size > kLargestEntry || stat.size > left ||
      stat.size / kMostExpansion > stat.comp_size) {
    fault = "claims " + std::to_string(stat.size) + " bytes of " + std::to_string(stat.comp_size) +
            ", which are too many";
    return std::nullopt;
  }
  left -= stat.size;
  const std::unique_ptr<zip_file_t, fileclose> file(zip_fopen_index(opened_->handle, entry, 0));
  if (!file) {
    fault = "is not readable: " + std::string(zip_strerror(opened_->handle));
    return std::nullopt;
  }
  std::vector<std::uint8_t> content(static_cast<std::size_t>(stat.size));
  std::uint8_t beyond = 0;
  // The read behind the end has the checksum tested, too.
  if (zip_fread(file.get(), content.data(), content.size()) !=
          static_cast<zip_int64_t>(content.size()) ||
      zip_fread(file.get(), &beyond, 1) != 0) {
    fault = "is damaged: " + std::string(zip_file_strerror(file.get()));
    return std::nullopt;
  }
  return content;
}

}  // namespace command
